#pragma once

#include "app/window/MainView.h"
#include "app/window/WelcomeView.h"

#include <QMainWindow>
#include <QPointer>

class ArchiveCommands;
class ArchiveSaving;
class Document;
class Menus;
class PopoverPresenter;
class PreferencesWindow;
class QStackedWidget;
class QTimer;
class TitleStrip;

/// The window of one open archive. It owns the archive's Document for as long
/// as it is open, sets it up, shows the welcome screen and then the main view,
/// tracks edits, saves before it closes, and enables the commands of its menus.
///
/// The work is shared with helpers of the same lifetime: ArchiveSaving (saving,
/// the save dialog, closing), ArchiveCommands (command enabling and dispatch),
/// Menus (the menu bar), PopoverPresenter (popovers and help popovers).
class ArchiveWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// The change types that updateChangeCount() distinguishes.
    enum class ChangeType
    {
        Done,
        Undone,
        Redone,
        Cleared,
        ReadOtherContents,
        Autosaved,
        Discardable
    };

    /// Takes ownership of @p document. Call windowControllerDidLoadNib() next.
    explicit ArchiveWindow(Document* document, QWidget* parent = nullptr);
    ~ArchiveWindow() override;

    /// Shows the window while the archive at @p packagePath is still being
    /// read elsewhere (a spinner); closing it then closes it at once.
    void beginLoading(const QString& packagePath);
    /// The package being read, "" once the archive is in the window.
    QString loadingPath() const { return m_loadingPath; }
    bool isLoading() const { return !m_loadingPath.isEmpty(); }
    /// Takes the archive that was read and replaces the stand-in the window
    /// was made with; windowControllerDidLoadNib() follows.
    void adoptDocument(Document* document);

    /// The set-up after the window is made: update check 9 s later, views,
    /// deletion list, auto-save timer, initial data or validation allowed,
    /// files folder and parents, change count, fonts.
    void windowControllerDidLoadNib();

    Document* document() const { return m_document; }
    MainView* mainView() const { return m_mainView; }
    WelcomeView* welcomeView() const { return m_welcomeView; }
    TitleStrip* titlebarView() const { return m_titlebarView; }
    QStackedWidget* docView() const { return m_docView; }
    ArchiveSaving* saving() const { return m_saving; }
    ArchiveCommands* commands() const { return m_commands; }
    Menus* menus() const { return m_menus; }
    PopoverPresenter* popovers() const { return m_popovers; }

    bool isDirty() const { return m_isDirty; }
    bool isMainViewLoaded() const { return m_isMainViewLoaded; }
    bool isDataLoaded() const { return m_isDataLoaded; }
    /// The archive has no location yet (a new archive never saved).
    bool isUntitled() const;
    /// The archive's title shown in the title strip: its container title.
    QString archiveTitle() const;

    /// Edit tracking: done, undone, redone and read-other-contents mark the
    /// window edited; autosaved clears the mark; cleared leaves it alone.
    void updateChangeCount(ChangeType change);

    /// The window never shows a file name: the title strip stands in for it.
    QString displayName() const { return QString(); }
    void setDisplayName(const QString&) { setWindowTitle(QStringLiteral("[*]")); }

    // Welcome sequence.
    void setupViews();
    void showWelcomeView();
    void doTheEndWelcome();
    void endWelcome();

    /// Shows the preferences window for this archive (created on first use).
    void showPreferencesWindow();
    /// The preferences window once it was shown, else nullptr.
    PreferencesWindow* preferencesWindow() const;
    /// There is no update service: nothing to do.
    void checkForUpdates() { }

    /// Brings the window to the front and gives it the keyboard.
    void bringToFront();

Q_SIGNALS:
    /// The welcome screen's time is up; the main view is being made.
    void welcomeEnding();
    void mainViewLoaded();
    void dirtyChanged(bool dirty);
    /// Something that command enabling depends on changed.
    void commandStateChanged();
    /// The window closed for good (after its closing save).
    void closed(ArchiveWindow* window);
    /// A close request ended with the window still open.
    void closeCancelled(ArchiveWindow* window);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void attachDocument(Document* document);
    void swapInto(QWidget* view, QWidget* toolbar, bool zoom);
    void refreshTitle();
    void finishClose(bool approved);

    friend class ArchiveSaving;

    Document* m_document = nullptr;
    QString m_loadingPath;
    TitleStrip* m_titlebarView = nullptr;
    QStackedWidget* m_docView = nullptr;
    QPointer<WelcomeView> m_welcomeView;
    QPointer<MainView> m_mainView;
    QPointer<PreferencesWindow> m_preferencesWindow; ///< made on first use
    ArchiveSaving* m_saving = nullptr;
    ArchiveCommands* m_commands = nullptr;
    Menus* m_menus = nullptr;
    PopoverPresenter* m_popovers = nullptr;
    QTimer* m_tickTimer = nullptr;
    bool m_isDirty = false;
    bool m_isMainViewLoaded = false;
    bool m_isDataLoaded = false;
    bool m_hasController = false;
    bool m_closeApproved = false;
    bool m_closePending = false;
};
