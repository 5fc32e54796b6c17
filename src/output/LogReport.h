#pragma once

#include "model/Value.h"
#include "report/PrinterItem.h"

#include <QByteArray>
#include <QDate>
#include <QHash>
#include <QList>
#include <QString>
#include <memory>

class Document;
class PrinterTextView;

/// The archive's complete audit log as a PDF: a cover page with the period
/// of the log, the archive's title, creation date and integrity state and the
/// compliance statement, then from page 2 on every entry in stored order,
/// each under a mark saying whether the document's archived file is intact.
///
/// An entry about a document that no longer exists carries the valid mark:
/// only a document that is present and corrupted is marked corrupted.
///
/// What the report shows is taken from the archive in one go (Content, on
/// the main thread); laying it out, checking the documents' files and
/// writing the PDF touch no archive object, so a window can do them on
/// another thread.
class LogReport
{
public:
    /// Everything the report reads of an archive.
    struct Content
    {
        struct Entry
        {
            Value creationDate;
            QString objectUniqueID;
            QString logText;
        };
        /// A present document's archived member, to tell whether it is corrupted.
        struct Member
        {
            QString path; ///< relative to the package
            QString fingerprint;
        };
        QString containerTitle;
        Value containerCreationDate;
        QString integrityString;
        QString packagePath;
        QString salt;
        QList<Entry> entries; ///< in stored order
        QHash<QString, Member> documents; ///< by uniqueID
    };

    /// Takes the archive's content now.
    explicit LogReport(const Document& archive);
    explicit LogReport(Content content);
    /// The archive's content as the report reads it (cheap: texts are shared, no file is read).
    static Content capture(const Document& archive);

    /// The cover and entry items, built afresh on every call (layout consumes
    /// the entry heading's page break).
    PrinterItemList items() const;
    /// "✓<TAB>valid text" or "✗<TAB>corrupted text", a line break, the entry's stored text.
    static QString entryText(bool corrupted, const QString& logText);

    /// The footer template: the application line, a small gap and
    /// "<pageNumber/>/<pageCount/> | today | Complete log | archive title".
    std::unique_ptr<PrinterTextView> footer(const QDate& today) const;

    /// The finished PDF (A4, all pages); `pageCount` receives the number of pages.
    QByteArray plainPDFDocument(int* pageCount = nullptr, const QDate& today = QDate::currentDate()) const;
    /// Writes the PDF atomically to `path`.
    bool write(const QString& path, QString* error = nullptr, int* pageCount = nullptr) const;

private:
    Content m_content;
};
