#pragma once

#include "store/Document.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>

class ArchiveWindow;
class QWidget;

/// The open archives of the application, in the order they were opened, and
/// the recent-archive list. Opens archives (bringing one that is already open
/// to the front instead of opening it twice), makes new ones, and closes them
/// all when the application quits.
class DocumentController : public QObject
{
    Q_OBJECT

public:
    /// The window, or the error; @p quitting when the user chose to quit at
    /// the open-elsewhere question (nothing more is to be shown then).
    using OpenCompletion = std::function<void(ArchiveWindow* window, const DocumentError& error, bool quitting)>;

    explicit DocumentController(QObject* parent = nullptr);
    ~DocumentController() override;

    /// Open archive windows in opening order.
    QList<ArchiveWindow*> documents() const { return m_documents; }
    ArchiveWindow* documentForPath(const QString& path) const;
    /// The active archive window, else the one opened last, else nullptr.
    ArchiveWindow* currentDocument() const;
    QStringList recentDocumentURLs() const;

    /// Reads the archive at @p path (its package folder or the Quillarc.qldb
    /// inside it) and gives it a window, shown when @p display is set. The
    /// window shows at once; the archive is read off the main thread and
    /// @p completion runs on the main thread with the window or the error
    /// (at once when the archive is already open).
    void openDocumentWithContentsOfURL(const QString& path, bool display, const OpenCompletion& completion = {});
    /// A new archive without a location, in its own window.
    ArchiveWindow* openUntitledDocumentAndDisplay();

    /// "Open…": the open dialog, then the archive; failures are alerted.
    void openDocument(QWidget* parent);
    /// "Open Recent": the archive at @p path; failures are alerted.
    void openRecentDocument(const QString& path, QWidget* parent);
    void clearRecentDocuments();

    /// Closes every window one after the other, each saving first. @p done
    /// gets false as soon as one of them stays open.
    void closeAll(std::function<void(bool allClosed)> done);

    /// The question asked when an archive is marked open elsewhere.
    void setOpenElsewhereQuestion(OpenElsewhereQuestion* question) { m_question = question; }

    /// Shows an opening error as an alert on @p parent.
    static void presentError(const DocumentError& error, QWidget* parent);

Q_SIGNALS:
    void documentsChanged();
    void recentDocumentsChanged();
    /// The user chose to quit at the open-elsewhere question (0.35 s ago).
    void quitRequested();

private:
    ArchiveWindow* addWindow(Document* document, const QString& loadingPath);
    void finishOpening(
        ArchiveWindow* window, Document::ReadResult result, Document* document, const DocumentError& error);
    void closeNext(QList<ArchiveWindow*> remaining, std::function<void(bool)> done);

    QList<ArchiveWindow*> m_documents;
    /// Openers waiting for an archive that is still being read, by its window.
    QHash<ArchiveWindow*, QList<OpenCompletion>> m_waiting;
    OpenElsewhereQuestion* m_question = nullptr;
};
