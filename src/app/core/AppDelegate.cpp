#include "app/core/AppDelegate.h"

#include "app/core/AppInfo.h"
#include "app/core/AppSettings.h"
#include "app/core/Delays.h"
#include "app/core/DesktopIntegration.h"
#include "app/core/DocumentController.h"
#include "app/core/InstanceChannel.h"
#include "app/core/OpenElsewhereAlert.h"
#include "app/core/QuitCoordinator.h"
#include "app/core/UrlRouter.h"
#include "app/news/NewsWindow.h"
#include "app/translation/KVLocalizer.h"
#include "app/util/MessageBox.h"
#include "app/window/ArchiveWindow.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

namespace {
AppDelegate* currentDelegate = nullptr;

QString key(const char* text)
{
    return QString::fromUtf8(text);
}

/// A package folder, its database file, or a name that says it is one.
bool namesArchive(const QString& path)
{
    const QFileInfo info(path);
    return info.fileName().endsWith(QLatin1String(".quillarc"))
        || info.fileName() == QLatin1String(Document::databaseName)
        || (info.isDir() && QFileInfo::exists(QDir(path).filePath(QLatin1String(Document::databaseName))));
}

bool isCommandUrl(const QString& argument)
{
    return argument.startsWith(AppInfo::urlScheme() + QStringLiteral(":"), Qt::CaseInsensitive);
}
} // namespace

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
    , m_documentController(new DocumentController(this))
    , m_quitCoordinator(new QuitCoordinator(m_documentController, this))
    , m_openElsewhere(std::make_unique<OpenElsewhereAlert>())
    , m_desktop(new DesktopIntegration(this))
{
    currentDelegate = this;
    m_documentController->setOpenElsewhereQuestion(m_openElsewhere.get());
    connect(m_documentController, &DocumentController::quitRequested, this, &AppDelegate::terminate);
    connect(m_documentController, &DocumentController::documentsChanged, this, &AppDelegate::lastWindowMayHaveClosed);
    connect(m_quitCoordinator, &QuitCoordinator::replied, this, [this](bool shouldTerminate) {
        if (!shouldTerminate)
            return;
        // The chain is done; the windows still open save as they close.
        m_quitting = true;
        m_documentController->closeAll([this](bool allClosed) {
            m_quitting = false;
            if (allClosed)
                quitNow();
        });
    });
}

AppDelegate::~AppDelegate()
{
    if (currentDelegate == this)
        currentDelegate = nullptr;
    // Windows reach back to the delegate while they close.
    delete m_documentController;
    m_documentController = nullptr;
}

AppDelegate* AppDelegate::instance()
{
    return currentDelegate;
}

void AppDelegate::setInstanceChannel(InstanceChannel* channel)
{
    m_channel = channel;
    connect(channel, &InstanceChannel::messageReceived, this, &AppDelegate::openArguments);
}

void AppDelegate::launch(const QStringList& arguments, const QString& workingDirectory)
{
    applicationWillFinishLaunching();
    QStringList urls;
    QStringList files;
    for (const QString& argument : arguments)
        (isCommandUrl(argument) ? urls : files).append(argument);

    bool opened = false;
    for (const QString& file : std::as_const(files))
        opened = openArchiveArgument(QDir(workingDirectory).absoluteFilePath(file), true) || opened;
    // A start with nothing to open (or nothing that opened and nothing to
    // explain) asks the untitled question.
    if (!opened && urls.isEmpty() && !m_launchFailurePending && applicationShouldOpenUntitledFile())
        m_documentController->openUntitledDocumentAndDisplay();
    applicationDidFinishLaunching();
    if (!urls.isEmpty()) {
        QTimer::singleShot(0, this, [this, urls] {
            for (const QString& url : urls)
                handleURL(url);
        });
    }
}

void AppDelegate::applicationWillFinishLaunching()
{
    // The URL scheme belongs to the desktop entry; other processes' links
    // and archives arrive through the instance channel set by main.
}

void AppDelegate::applicationDidFinishLaunching()
{
    qCInfo(lcQuillarc).noquote() << QStringLiteral("Application Short Language: %1")
                                        .arg(KVLocalizationDictionary::sharedLocalizationDictionary().language());
    qCInfo(lcQuillarc).noquote() << localizedString(key("Info_General"));
    if (m_installOfferEnabled)
        m_desktop->offerInstallIfNeeded(m_documentController->currentDocument());
    m_applicationHasStarted = true;
    QTimer::singleShot(Delays::ms(1.08), this, &AppDelegate::checkForNews);
}

bool AppDelegate::applicationShouldOpenUntitledFile()
{
    if (m_applicationHasStarted)
        return true;
    const QStringList recent = m_documentController->recentDocumentURLs();
    if (recent.isEmpty())
        return true;
    const QString path = recent.first();
    m_documentController->openDocumentWithContentsOfURL(
        path, true, [this, path](ArchiveWindow*, const DocumentError& error, bool quitting) {
            if (error.isNull())
                return;
            qCWarning(lcQuillarc).noquote() << QStringLiteral("Unable to open document: %1").arg(error.text());
            if (!quitting)
                presentLaunchFailure(path, error.text());
        });
    return false;
}

bool AppDelegate::applicationOpenFile(const QString& path)
{
    if (QFileInfo(path).fileName() != QLatin1String("quillarcdoc"))
        return false;
    m_documentController->openDocumentWithContentsOfURL(
        path, true, [path](ArchiveWindow*, const DocumentError& error, bool) {
            if (!error.isNull())
                qCWarning(lcQuillarc).noquote()
                    << QStringLiteral("Unable to open document: %1, %2").arg(path, error.text());
        });
    return true;
}

bool AppDelegate::openArchiveArgument(const QString& path, bool atLaunch)
{
    if (!namesArchive(path)) {
        if (applicationOpenFile(path))
            return true;
        qCWarning(lcQuillarc).noquote() << QStringLiteral("Not a Quillarc archive: %1").arg(path);
        return false;
    }
    m_documentController->openDocumentWithContentsOfURL(
        path, true, [this, path, atLaunch](ArchiveWindow*, const DocumentError& error, bool quitting) {
            if (error.isNull() || quitting)
                return;
            qCWarning(lcQuillarc).noquote()
                << QStringLiteral("Unable to open document: %1, %2").arg(path, error.text());
            if (atLaunch)
                presentLaunchFailure(path, error.text());
            else
                DocumentController::presentError(error, m_documentController->currentDocument());
        });
    return true;
}

void AppDelegate::presentLaunchFailure(const QString& path, const QString& reason)
{
    // Started for an archive that does not open: say so and offer a way on
    // instead of leaving the user without any window.
    m_launchFailurePending = true;
    QTimer::singleShot(0, this, [this, path, reason] {
        m_launchFailurePending = false;
        if (!m_documentController->documents().isEmpty())
            return;
        MessageBox::alert(nullptr, MessageBox::Icon::Warning, localizedString(key("DOCUMENT_OPEN_ERROR.")),
            QStringLiteral("%1\n\n%2").arg(path, reason),
            { localizedString(key("MENU_NEW")), localizedString(key("MENU_OPEN")), localizedString(key("Quit_App")) },
            [self = QPointer<AppDelegate>(this)](int answer) {
                if (!self)
                    return;
                if (answer == 0)
                    self->newDocument();
                else if (answer == 1)
                    self->openDocument(nullptr);
                else
                    self->terminate();
            });
    });
}

bool AppDelegate::handleURL(const QString& urlText)
{
    const QUrl url(urlText);
    if (m_documentController->documents().isEmpty()) {
        const QStringList recent = m_documentController->recentDocumentURLs();
        if (!recent.isEmpty()) {
            m_documentController->openDocumentWithContentsOfURL(
                recent.first(), true, [](ArchiveWindow*, const DocumentError& error, bool) {
                    if (!error.isNull())
                        qCWarning(lcQuillarc).noquote()
                            << QStringLiteral("Unable to open document: %1").arg(error.text());
                });
        }
    }
    const UrlRouter::Command command = UrlRouter::commandFor(url);
    qCInfo(lcQuillarc).noquote() << QStringLiteral("URL command: %1").arg(url.host().toLower());
    // Parsed for every command; no command reads a parameter yet.
    UrlRouter::queryDictionary(urlText);
    const QString name = url.host().toLower();
    auto walk = [this, name] {
        // A hook kept on purpose: commands will act on each open archive here.
        for (ArchiveWindow* window : m_documentController->documents())
            Q_UNUSED(window);
        Q_EMIT urlCommandDone(name);
    };
    switch (command) {
    case UrlRouter::Command::UserDefaults:
        return true;
    case UrlRouter::Command::Action:
        QTimer::singleShot(0, this, walk);
        return true;
    case UrlRouter::Command::Preferences:
        QTimer::singleShot(Delays::ms(0.1), this, walk);
        return true;
    case UrlRouter::Command::Unknown:
        break;
    }
    return false;
}

void AppDelegate::openArguments(const QStringList& arguments, const QString& workingDirectory)
{
    if (arguments.isEmpty()) {
        // Started again with nothing to open: like a click on the application.
        if (m_documentController->documents().isEmpty()) {
            if (applicationShouldOpenUntitledFile())
                m_documentController->openUntitledDocumentAndDisplay();
        }
    }
    for (const QString& argument : arguments) {
        if (isCommandUrl(argument))
            handleURL(argument);
        else
            openArchiveArgument(QDir(workingDirectory).absoluteFilePath(argument), false);
    }
    if (ArchiveWindow* window = m_documentController->currentDocument())
        window->bringToFront();
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() const
{
    return m_documentController->documents().isEmpty() && AppSettings::flag(AppSettings::lastWindowClosingAllowed)
        && AppSettings::flag(AppSettings::companyCheck);
}

void AppDelegate::lastWindowMayHaveClosed()
{
    if (m_quitting || !m_applicationHasStarted || !m_documentController->documents().isEmpty())
        return;
    if (applicationShouldTerminateAfterLastWindowClosed())
        quitNow();
}

void AppDelegate::terminate()
{
    if (m_quitting)
        return;
    m_quitCoordinator->requestTermination();
}

void AppDelegate::terminateByHand()
{
    if (m_quitting)
        return;
    m_quitCoordinator->terminateByHand();
}

void AppDelegate::quitNow()
{
    applicationWillTerminate();
    if (m_quitHandler)
        m_quitHandler();
    else
        QCoreApplication::quit();
}

void AppDelegate::newDocument()
{
    m_documentController->openUntitledDocumentAndDisplay();
}

void AppDelegate::openDocument(QWidget* parent)
{
    m_documentController->openDocument(parent);
}

void AppDelegate::openRecentDocument(const QString& path, QWidget* parent)
{
    m_documentController->openRecentDocument(path, parent);
}

void AppDelegate::clearRecentDocuments()
{
    m_documentController->clearRecentDocuments();
}

void AppDelegate::showAbout(QWidget* parent)
{
    MessageBox::alert(parent, MessageBox::Icon::Information,
        QStringLiteral("%1 %2").arg(localizedString(key("APPNAME")), AppInfo::version()),
        localizedString(key("Info_General")) + QStringLiteral("\n\n") + AppInfo::startupCopyright(),
        { localizedString(key("OK")) });
}

void AppDelegate::showLocalizer()
{
    KVLocalizer::showLocalizer();
    Q_EMIT localizerRequested();
}

void AppDelegate::openSupportWebsite()
{
    const QUrl address(localizedString(key("TARNWELL_SUPPORT_URL")));
    m_urlOpener ? m_urlOpener(address) : QDesktopServices::openUrl(address);
}

void AppDelegate::openManualWebsite()
{
    const QUrl address(localizedString(key("QUILLARC_MANUAL_URL")));
    m_urlOpener ? m_urlOpener(address) : QDesktopServices::openUrl(address);
}

NewsWindow* AppDelegate::newsWindow()
{
    if (!m_newsWindow)
        m_newsWindow = std::make_unique<NewsWindow>();
    return m_newsWindow.get();
}

void AppDelegate::checkForNews()
{
    // The window compares "currentNewsNumber" with the published number and
    // comes up by itself when there is something new.
    newsWindow()->checkForNews();
}

void AppDelegate::loadNEWS()
{
    NewsWindow* window = newsWindow();
    window->loadNEWS();
    window->show();
    window->raise();
    window->activateWindow();
}
