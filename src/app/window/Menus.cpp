#include "app/window/Menus.h"

#include "app/core/AppDelegate.h"
#include "app/core/DocumentController.h"
#include "app/core/RecentDocuments.h"
#include "app/i18n/Localizer.h"
#include "app/window/ArchiveCommands.h"
#include "app/window/ArchiveWindow.h"

#include <QAction>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>

namespace {
constexpr const char* commandProperty = "command";
const QString separator = QStringLiteral("-");
const QString recentSubmenu = QStringLiteral("openRecentDocument:");
} // namespace

Menus::Menus(ArchiveWindow* window)
    : QObject(window)
    , m_window(window)
    , m_menuBar(new QMenuBar(window))
{
    auto list = [](std::initializer_list<const char*> names) {
        QStringList commands;
        for (const char* name : names)
            commands.append(QString::fromLatin1(name));
        return commands;
    };
    addMenu("MENU_APP",
        list({ "orderFrontStandardAboutPanel:", "-",
            "showPreferencesWindow:", "checkForUpdates:", "showLocalizer:", "-", "terminateByHand:" }));
    addMenu("MENU_FILE",
        list({ "newDocument:", "openDocument:", "openRecentDocument:", "-",
            "performClose:", "saveDocument:", "saveDocumentAs:", "-", "exportDocument:", "exportLogAction:" }));
    addMenu("MENU_EDIT", list({ "cut:", "copy:", "paste:", "selectAll:", "-", "showSearchPopover:" }));
    addMenu("MENU_ARCHIVE",
        list({ "mainViewNewGroupAction:", "mainViewNewFolderGroupAction:", "mainViewEditGroupAction:",
            "mainViewDeleteGroupAction:", "-", "mainViewExportGroupAction:", "-",
            "showInfoPopover:", "showSortOrderPopover:" }));
    addMenu("MENU_DOCUMENT",
        list({ "mainViewNewDocumentAction:", "mainViewNewBatchDocumentsAction:", "showScannerSheet:", "-",
            "mainViewEditDocumentAction:", "mainViewQuickLookDocumentAction:", "mainViewCopyDocumentAction:",
            "mainViewCreateFileCopyAction:", "-", "mainViewDeleteDocumentAction:" }));
    addMenu("MENU_VIEW", list({ "toggleFullScreen:" }));
    m_windowMenu = addMenu("MENU_WINDOW", list({ "performMiniaturize:", "performZoom:", "-", "arrangeInFront:" }));
    addMenu("MENU_HELP",
        list({ "showInfoPopoverWithTag:", "-", "openManualWebsite:", "openSupportWebsite:", "loadNEWS:" }));
    window->setMenuBar(m_menuBar);

    connect(m_windowMenu, &QMenu::aboutToShow, this, &Menus::rebuildWindowMenu);
    connect(window, &ArchiveWindow::commandStateChanged, this, &Menus::validateAll);
    connect(window, &ArchiveWindow::mainViewLoaded, this, &Menus::validateAll);
    if (AppDelegate* app = AppDelegate::instance()) {
        connect(
            app->documentController(), &DocumentController::recentDocumentsChanged, this, &Menus::rebuildRecentMenu);
    }
    rebuildRecentMenu();
    Localizer::localize(m_menuBar);
    validateAll();
}

QMenu* Menus::addMenu(const char* titleKey, const QStringList& commands)
{
    QMenu* menu = m_menuBar->addMenu(QString::fromLatin1(titleKey));
    for (const QString& command : commands) {
        if (command == separator) {
            menu->addSeparator();
        } else if (command == recentSubmenu) {
            m_recentMenu = menu->addMenu(QStringLiteral("MENU_OPEN_RECENT"));
        } else {
            addCommand(menu, command);
        }
    }
    // The archive's state may have changed since the last check: ask again before showing.
    connect(menu, &QMenu::aboutToShow, this, &Menus::validateAll);
    return menu;
}

QAction* Menus::addCommand(QMenu* menu, const QString& command)
{
    const ArchiveCommands::Info* info = ArchiveCommands::info(command);
    QAction* action = menu->addAction(info ? info->textKey : command);
    action->setProperty(commandProperty, command);
    if (info && !info->shortcut.isEmpty()) {
        action->setShortcut(info->shortcut);
        // Shortcuts work in the window whether or not the menu bar has the focus.
        m_window->addAction(action);
    }
    if (command == QLatin1String("toggleFullScreen:"))
        action->setMenuRole(QAction::NoRole);
    connect(action, &QAction::triggered, this, [this, command] { m_window->commands()->perform(command); });
    m_actions.insert(command, action);
    return action;
}

QList<QMenu*> Menus::menus() const
{
    QList<QMenu*> menus;
    for (QAction* action : m_menuBar->actions()) {
        if (action->menu())
            menus.append(action->menu());
    }
    return menus;
}

void Menus::validateAll()
{
    for (auto it = m_actions.cbegin(); it != m_actions.cend(); ++it)
        it.value()->setEnabled(m_window->commands()->validateUserInterfaceItem(it.key()));
    // Clearing an empty list is pointless.
    if (QAction* clear = m_actions.value(QStringLiteral("clearRecentDocuments:")))
        clear->setEnabled(m_recentMenu->actions().size() > 2);
}

void Menus::rebuildRecentMenu()
{
    m_recentMenu->clear();
    const QStringList paths = RecentDocuments::recentDocumentURLs();
    for (const QString& path : paths) {
        QAction* entry = m_recentMenu->addAction(QFileInfo(path).completeBaseName());
        entry->setToolTip(path);
        entry->setProperty("_quillarcShowsData", true);
        connect(entry, &QAction::triggered, this,
            [this, path] { m_window->commands()->perform(QStringLiteral("openRecentDocument:"), path); });
    }
    m_recentMenu->addSeparator();
    addCommand(m_recentMenu, QStringLiteral("clearRecentDocuments:"))->setEnabled(!paths.isEmpty());
    Localizer::localize(m_recentMenu);
}

void Menus::rebuildWindowMenu()
{
    qDeleteAll(m_windowEntries);
    m_windowEntries.clear();
    AppDelegate* app = AppDelegate::instance();
    const QList<ArchiveWindow*> windows
        = app ? app->documentController()->documents() : QList<ArchiveWindow*> { m_window };
    QAction* before = m_actions.value(QStringLiteral("arrangeInFront:"));
    for (ArchiveWindow* window : windows) {
        auto* entry = new QAction(window->archiveTitle(), m_windowMenu);
        entry->setProperty("_quillarcShowsData", true);
        entry->setCheckable(true);
        entry->setChecked(window == m_window);
        connect(entry, &QAction::triggered, window, &ArchiveWindow::bringToFront);
        m_windowMenu->insertAction(before, entry);
        m_windowEntries.append(entry);
    }
    if (!m_windowEntries.isEmpty())
        m_windowEntries.append(m_windowMenu->insertSeparator(before));
}
