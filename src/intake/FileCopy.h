#pragma once

#include "model/ModelPointers.h"

#include <QObject>
#include <QString>
#include <memory>

/// Writes a plain copy of an archived file for other applications: the bytes
/// exactly as they were taken in, then, a moment later, the record's tags and
/// comment as the file's extended attributes.
class FileCopy : public QObject
{
    Q_OBJECT

public:
    enum class Result
    {
        Written,
        NoFile,
        Corrupted,
        WriteFailed
    };

    /// Delay between writing the bytes and writing the attributes, in ms.
    static constexpr int attributesDelay = 180;

    explicit FileCopy(QObject* parent = nullptr);

    /// Writes the record's file into @p folder under its copy name
    /// (QuillarcDocument::fileCopyName()).
    Result createFileCopy(const DocumentPtr& record, const QString& folder);
    /// Writes the record's file to @p filePath, for a name the user chose.
    Result createFileCopyAtPath(const DocumentPtr& record, const QString& filePath);

    /// The path of the last copy written.
    QString filePath() const { return m_filePath; }
    /// Why the last copy was not written (for WriteFailed: the device's error).
    QString errorString() const { return m_errorString; }
    /// True while the attribute write is still pending.
    bool isWritingAttributes() const { return m_pending > 0; }

    /// Alert texts of the two refusals: title "Error!", these texts, button "OK".
    static QString noFileErrorText() { return QStringLiteral("File not found."); }
    static QString fileCorruptedErrorText() { return QStringLiteral("File appears to be corrupted."); }

Q_SIGNALS:
    /// The tags and comment of a copy were written (or failed and were logged).
    void attributesWritten(const QString& filePath, bool ok);

private:
    void writeAttributes(const DocumentPtr& record, const QString& filePath);

    QString m_filePath;
    QString m_errorString;
    int m_pending = 0;
};
