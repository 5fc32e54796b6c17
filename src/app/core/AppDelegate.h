#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <memory>

class DesktopIntegration;
class DocumentController;
class InstanceChannel;
class NewsWindow;
class OpenElsewhereAlert;
class QuitCoordinator;
class QWidget;

/// The application object's side of Quillarc: what the launch opens, the
/// quillarc:// commands, other processes' arguments, quitting, the last-window
/// rule and the help links. Owns the document controller; owns nothing of an
/// archive.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    /// The delegate of the running application, or nullptr (window tests).
    static AppDelegate* instance();

    DocumentController* documentController() const { return m_documentController; }
    QuitCoordinator* quitCoordinator() const { return m_quitCoordinator; }
    bool applicationHasStarted() const { return m_applicationHasStarted; }

    /// The launch in its order: will-finish, the open-file or open-untitled
    /// question for the arguments, did-finish; URLs are handled right after.
    void launch(const QStringList& arguments, const QString& workingDirectory);
    void applicationWillFinishLaunching();
    void applicationDidFinishLaunching();
    /// Later: a new archive. During launch: the most recent archive when the
    /// list has one (answer NO), else YES (a new archive is made by the caller).
    bool applicationShouldOpenUntitledFile();
    /// Opens only a file whose last path component is exactly "quillarcdoc".
    bool applicationOpenFile(const QString& path);
    /// One quillarc:// command, as written; the answer says whether it was known.
    bool handleURL(const QString& urlText);
    /// Arguments of this or another process: archives are opened, URLs handled.
    void openArguments(const QStringList& arguments, const QString& workingDirectory);

    /// YES only with no archive open and both settings "lastWindowClosingAllowed"
    /// and "tessarysCompanyCheck" on.
    bool applicationShouldTerminateAfterLastWindowClosed() const;
    void applicationWillTerminate() { }
    /// Asks to quit: the save chain, then every window closes (saving first).
    void terminate();
    /// The Quit command: saves every edited archive, then asks to quit.
    void terminateByHand();

    // Commands of the application.
    void newDocument();
    void openDocument(QWidget* parent);
    void openRecentDocument(const QString& path, QWidget* parent);
    void clearRecentDocuments();
    void showAbout(QWidget* parent);
    void showLocalizer();
    void openSupportWebsite();
    void openManualWebsite();
    /// Shows the news window when the makers published something newer.
    void checkForNews();
    /// Shows the news window with the news page.
    void loadNEWS();

    /// The single-instance channel this process listens on (set by main).
    void setInstanceChannel(InstanceChannel* channel);
    /// Offer to install the desktop entry on launch (off unless main turns it on).
    void setInstallOfferEnabled(bool enabled) { m_installOfferEnabled = enabled; }
    DesktopIntegration* desktopIntegration() const { return m_desktop; }

    // Test seams.
    /// What quitting finally does (QCoreApplication::quit by default).
    void setQuitHandler(std::function<void()> handler) { m_quitHandler = std::move(handler); }
    /// What opening a web address does (QDesktopServices::openUrl by default).
    void setUrlOpener(std::function<bool(const QUrl&)> opener) { m_urlOpener = std::move(opener); }

Q_SIGNALS:
    /// The translation editor was brought up.
    void localizerRequested();
    /// A quillarc:// command walked the open archives.
    void urlCommandDone(const QString& command);

private:
    NewsWindow* newsWindow();
    void quitNow();
    void lastWindowMayHaveClosed();
    void presentLaunchFailure(const QString& path, const QString& reason);
    /// True when an archive was asked for (it may still fail to open).
    bool openArchiveArgument(const QString& path, bool atLaunch);

    DocumentController* m_documentController;
    QuitCoordinator* m_quitCoordinator;
    std::unique_ptr<OpenElsewhereAlert> m_openElsewhere;
    DesktopIntegration* m_desktop = nullptr;
    QPointer<InstanceChannel> m_channel;
    std::unique_ptr<NewsWindow> m_newsWindow; ///< made on the first news check
    bool m_applicationHasStarted = false;
    bool m_installOfferEnabled = false;
    bool m_quitting = false;
    bool m_launchFailurePending = false;
    std::function<void()> m_quitHandler;
    std::function<bool(const QUrl&)> m_urlOpener;
};
