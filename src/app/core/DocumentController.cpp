#include "app/core/DocumentController.h"

#include "app/core/Delays.h"
#include "app/core/RecentDocuments.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/util/Task.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/ArchiveWindow.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>

namespace {
QString key(const char* text)
{
    return QString::fromUtf8(text);
}
} // namespace

DocumentController::DocumentController(QObject* parent)
    : QObject(parent)
{
}

DocumentController::~DocumentController()
{
    // Windows still open when the controller goes (tests) go with it, unsaved.
    const QList<ArchiveWindow*> windows = m_documents;
    m_documents.clear();
    for (ArchiveWindow* window : windows) {
        disconnect(window, nullptr, this, nullptr);
        delete window;
    }
}

ArchiveWindow* DocumentController::documentForPath(const QString& path) const
{
    const QString package = Document::packagePathFor(path);
    for (ArchiveWindow* window : m_documents) {
        if (window->isLoading() ? window->loadingPath() == package
                                : !window->isUntitled() && window->document()->packagePath() == package)
            return window;
    }
    return nullptr;
}

ArchiveWindow* DocumentController::currentDocument() const
{
    for (ArchiveWindow* window : m_documents) {
        if (window->isActiveWindow())
            return window;
    }
    return m_documents.isEmpty() ? nullptr : m_documents.last();
}

QStringList DocumentController::recentDocumentURLs() const
{
    return RecentDocuments::recentDocumentURLs();
}

namespace {
/// An archive read off the main thread. If nobody takes it (its window closed
/// meanwhile) it is deleted on the main thread, where it lives.
struct ReadArchive
{
    Document* document = nullptr;
    Document::ReadResult result = Document::ReadResult::Failed;
    DocumentError error;
    ~ReadArchive()
    {
        if (document)
            document->deleteLater();
    }
    Document* take() { return std::exchange(document, nullptr); }
};
} // namespace

void DocumentController::openDocumentWithContentsOfURL(
    const QString& path, bool display, const OpenCompletion& completion)
{
    if (ArchiveWindow* open = documentForPath(path)) {
        if (display)
            open->bringToFront();
        if (open->isLoading())
            m_waiting[open].append(completion);
        else if (completion)
            completion(open, {}, false);
        return;
    }

    // The window comes at once; the archive is read beside it, so a large
    // archive never holds up the application.
    ArchiveWindow* window = addWindow(new Document, Document::packagePathFor(path));
    if (display)
        window->show();
    m_waiting[window].append(completion);
    OpenElsewhereQuestion* question = m_question;
    QThread* mainThread = thread();
    Task::run(
        window,
        [path, question, mainThread] {
            auto read = std::make_shared<ReadArchive>();
            auto* document = new Document;
            document->setOpenElsewhereQuestion(question);
            read->result = document->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &read->error);
            document->setOpenElsewhereQuestion(nullptr);
            document->moveToThread(mainThread);
            read->document = document;
            return read;
        },
        [this, window](const std::shared_ptr<ReadArchive>& read) {
            finishOpening(window, read->result, read->result == Document::ReadResult::Success ? read->take() : nullptr,
                read->error);
        });
}

void DocumentController::finishOpening(
    ArchiveWindow* window, Document::ReadResult result, Document* document, const DocumentError& error)
{
    const QList<OpenCompletion> waiting = m_waiting.take(window);
    if (!document) {
        window->close(); // still loading: goes at once, nothing to save
        if (result == Document::ReadResult::QuitRequested)
            QTimer::singleShot(Delays::ms(0.35), this, &DocumentController::quitRequested);
        for (const OpenCompletion& completion : waiting) {
            if (completion)
                completion(nullptr, error, result == Document::ReadResult::QuitRequested);
        }
        return;
    }

    window->adoptDocument(document);
    window->windowControllerDidLoadNib();
    RecentDocuments::noteNewRecentDocument(document->packagePath());
    Q_EMIT recentDocumentsChanged();
    // Opening works on a read-only package, saving will not: say so now, not at closing time.
    const QString package = document->packagePath();
    if (!QFileInfo(package).isWritable()
        || !QFileInfo(QDir(package).filePath(QLatin1String(Document::databaseName))).isWritable()) {
        MessageBox::alert(window, MessageBox::Icon::Warning, localizedString(key("ARCHIVE_READ_ONLY_TITLE")),
            QStringLiteral("%1\n\n%2").arg(package, localizedString(key("ARCHIVE_READ_ONLY_TEXT"))),
            { localizedString(key("OK")) });
    }
    for (const OpenCompletion& completion : waiting) {
        if (completion)
            completion(window, {}, false);
    }
}

ArchiveWindow* DocumentController::openUntitledDocumentAndDisplay()
{
    ArchiveWindow* window = addWindow(new Document, QString());
    window->windowControllerDidLoadNib();
    window->show();
    return window;
}

ArchiveWindow* DocumentController::addWindow(Document* document, const QString& loadingPath)
{
    auto* window = new ArchiveWindow(document);
    if (!loadingPath.isEmpty())
        window->beginLoading(loadingPath);
    m_documents.append(window);
    connect(window, &ArchiveWindow::closed, this, [this](ArchiveWindow* closed) {
        m_documents.removeAll(closed);
        // A window closed while its archive was read: its openers hear nothing more.
        m_waiting.remove(closed);
        Q_EMIT documentsChanged();
    });
    connect(window->saving(), &ArchiveSaving::saved, this, [this](const QString& packagePath) {
        RecentDocuments::noteNewRecentDocument(packagePath);
        Q_EMIT recentDocumentsChanged();
    });
    Q_EMIT documentsChanged();
    return window;
}

void DocumentController::openDocument(QWidget* parent)
{
    FileDialog::Options options;
    options.title = localizedString(key("OPEN_PANEL_TITLE"));
    options.directory = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    options.nameFilters
        = { localizedString(key("ARCHIVE_FILE_FILTER")) + QStringLiteral(" (*.quillarc Quillarc.qldb)") };
    options.acceptPackages = true;
    FileDialog::openFile(parent, options, [this, parent = QPointer<QWidget>(parent)](const QString& path) {
        if (!path.isEmpty())
            openRecentDocument(path, parent);
    });
}

void DocumentController::openRecentDocument(const QString& path, QWidget* parent)
{
    openDocumentWithContentsOfURL(
        path, true, [path, parent](ArchiveWindow*, const DocumentError& error, bool quitting) {
            if (error.isNull())
                return;
            qCWarning(lcQuillarc).noquote()
                << QStringLiteral("Unable to open document: %1, %2").arg(path, error.text());
            if (!quitting)
                presentError(error, parent);
        });
}

void DocumentController::clearRecentDocuments()
{
    RecentDocuments::clearRecentDocuments();
    Q_EMIT recentDocumentsChanged();
}

void DocumentController::presentError(const DocumentError& error, QWidget* parent)
{
    QString details = error.localizedFailureReason;
    if (!error.localizedRecoverySuggestion.isEmpty())
        details += QStringLiteral("\n\n") + error.localizedRecoverySuggestion;
    MessageBox::alert(
        parent, MessageBox::Icon::Warning, error.localizedDescription, details, { localizedString(key("OK")) });
}

void DocumentController::closeAll(std::function<void(bool allClosed)> done)
{
    closeNext(m_documents, std::move(done));
}

void DocumentController::closeNext(QList<ArchiveWindow*> remaining, std::function<void(bool)> done)
{
    // Windows that closed meanwhile are skipped.
    while (!remaining.isEmpty() && !m_documents.contains(remaining.first()))
        remaining.removeFirst();
    if (remaining.isEmpty()) {
        if (done)
            done(true);
        return;
    }
    ArchiveWindow* window = remaining.takeFirst();
    auto connections = std::make_shared<QList<QMetaObject::Connection>>();
    auto finish = [connections] {
        for (const auto& connection : *connections)
            QObject::disconnect(connection);
    };
    *connections << connect(window, &ArchiveWindow::closed, this, [this, remaining, done, finish](ArchiveWindow*) {
        finish();
        closeNext(remaining, done);
    });
    *connections << connect(window, &ArchiveWindow::closeCancelled, this, [done, finish](ArchiveWindow*) {
        finish();
        if (done)
            done(false);
    });
    window->close();
}
