#pragma once

#include <QByteArray>
#include <QString>

class QuillarcDocument;

/// A document's archived file in the open archive's package: where it lies,
/// whether it is still intact, its bytes, and the plain copies handed to
/// other applications. The record itself (QuillarcDocument) only holds values;
/// everything that touches the file system lives here.
class ArchivedFile
{
public:
    /// The archived member's location in the open archive's package; "" when
    /// the document belongs to no open archive or its `path` does not name a
    /// place inside the package.
    static QString fileURL(const QuillarcDocument& document);
    /// The preview image member's location, likewise.
    static QString imageURL(const QuillarcDocument& document);
    /// The bytes of the file as it was taken in (the member's "data" entry);
    /// empty when the member is missing or damaged.
    static QByteArray fileData(const QuillarcDocument& document);

    /// True when the archived member is missing, cannot be decoded, or its
    /// bytes no longer match the fingerprint taken at intake.
    static bool isFileCorrupted(const QuillarcDocument& document);
    /// The document's current-state block for the audit log, with the state
    /// line checked against the archived file.
    static QString logText(const QuillarcDocument& document);

    /// "~/.local/share/Quillarc", created when missing.
    static QString applicationSupportDirectory();
    /// A plain copy of the archived file for other applications (dragging a
    /// document out); an existing copy is reused as it is. When the archive
    /// writes tags, the copy gets the document's tags a moment later. "" with
    /// @p error set when the copy could not be written.
    static QString fileRepresentationPath(const QuillarcDocument& document, QString* error = nullptr);
    /// A plain copy for the preview window, always written afresh.
    static QString previewItemURL(const QuillarcDocument& document, QString* error = nullptr);
};
