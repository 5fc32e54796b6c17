#include "app/window/ArchiveCommands.h"

#include "app/core/AppDelegate.h"
#include "app/core/DocumentController.h"
#include "app/popover/PopoverPresenter.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/MainView.h"
#include "app/window/TitleStrip.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QApplication>
#include <QToolButton>
#include <QVariant>

namespace {
using Scope = ArchiveCommands::Scope;

/// Commands of the window's own table, by what they need.
const QStringList keyWindowCommands
    = { QStringLiteral("mainViewNewGroupAction:"), QStringLiteral("mainViewNewFolderGroupAction:") };
const QStringList groupCommands = { QStringLiteral("mainViewNewDocumentAction:"), QStringLiteral("showScannerSheet:"),
    QStringLiteral("mainViewNewBatchDocumentsAction:"), QStringLiteral("mainViewEditGroupAction:"),
    QStringLiteral("mainViewDeleteGroupAction:"), QStringLiteral("mainViewExportGroupAction:") };
const QStringList documentCommands = { QStringLiteral("mainViewCreateFileCopyAction:"),
    QStringLiteral("mainViewEditDocumentAction:"), QStringLiteral("mainViewDeleteDocumentAction:"),
    QStringLiteral("mainViewCopyDocumentAction:"), QStringLiteral("mainViewQuickLookDocumentAction:") };

ArchiveCommands::Info command(const char* name, const char* key, QKeySequence shortcut, Scope scope)
{
    return { QString::fromLatin1(name), QString::fromUtf8(key), shortcut, scope };
}
} // namespace

ArchiveCommands::ArchiveCommands(ArchiveWindow* window)
    : QObject(window)
    , m_window(window)
{
}

const QList<ArchiveCommands::Info>& ArchiveCommands::allCommands()
{
    static const QList<Info> commands = {
        command("orderFrontStandardAboutPanel:", "MENU_ABOUT", {}, Scope::Application),
        command("showPreferencesWindow:", "MENU_PREFERENCES", QKeySequence(Qt::CTRL | Qt::Key_Comma), Scope::Document),
        command("checkForUpdates:", "MENU_CHECK_UPDATES", {}, Scope::Document),
        command("showLocalizer:", "MENU_LOCALIZER", {}, Scope::Application),
        command("terminateByHand:", "MENU_QUIT", QKeySequence(Qt::CTRL | Qt::Key_Q), Scope::Application),
        command("newDocument:", "MENU_NEW", QKeySequence(Qt::CTRL | Qt::Key_N), Scope::Application),
        command("openDocument:", "MENU_OPEN", QKeySequence(Qt::CTRL | Qt::Key_O), Scope::Application),
        command("openRecentDocument:", "", {}, Scope::Application),
        command("clearRecentDocuments:", "MENU_CLEAR_RECENT", {}, Scope::Application),
        command("performClose:", "MENU_CLOSE", QKeySequence(Qt::CTRL | Qt::Key_W), Scope::Window),
        command("saveDocument:", "MENU_SAVE", QKeySequence(Qt::CTRL | Qt::Key_S), Scope::Document),
        command("saveDocumentAs:", "MENU_SAVE_AS", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), Scope::Document),
        command("exportDocument:", "MENU_EXPORT_ARCHIVE", {}, Scope::MainView),
        command("exportLogAction:", "MENU_EXPORT_LOG", {}, Scope::MainView),
        command("cut:", "MENU_CUT", QKeySequence::Cut, Scope::Window),
        command("copy:", "MENU_COPY", QKeySequence::Copy, Scope::Window),
        command("paste:", "MENU_PASTE", QKeySequence::Paste, Scope::Window),
        command("selectAll:", "MENU_SELECT_ALL", QKeySequence::SelectAll, Scope::Window),
        command("showSearchPopover:", "MENU_FIND", QKeySequence(Qt::CTRL | Qt::Key_F), Scope::MainView),
        command("mainViewNewGroupAction:", "MENU_NEW_GROUP", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N),
            Scope::Document),
        command("mainViewNewFolderGroupAction:", "MENU_NEW_FOLDER_GROUP", {}, Scope::Document),
        command("mainViewEditGroupAction:", "MENU_EDIT_GROUP", {}, Scope::Document),
        command("mainViewDeleteGroupAction:", "MENU_DELETE_GROUP", {}, Scope::Document),
        command("mainViewExportGroupAction:", "MENU_EXPORT_GROUP", {}, Scope::Document),
        command("showInfoPopover:", "MENU_ARCHIVE_INFO", QKeySequence(Qt::CTRL | Qt::Key_I), Scope::MainView),
        command("showSortOrderPopover:", "MENU_SORT_ORDER", {}, Scope::MainView),
        command("mainViewNewDocumentAction:", "MENU_NEW_DOCUMENT", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O),
            Scope::Document),
        command("mainViewNewBatchDocumentsAction:", "MENU_NEW_BATCH", {}, Scope::Document),
        command("showScannerSheet:", "MENU_SCAN", {}, Scope::Document),
        command(
            "mainViewEditDocumentAction:", "MENU_EDIT_DOCUMENT", QKeySequence(Qt::CTRL | Qt::Key_E), Scope::Document),
        command("mainViewQuickLookDocumentAction:", "MENU_QUICKLOOK", QKeySequence(Qt::Key_Space), Scope::Document),
        command("mainViewCopyDocumentAction:", "MENU_COPY_DOCUMENT", {}, Scope::Document),
        command("mainViewCreateFileCopyAction:", "MENU_FILE_COPY", {}, Scope::Document),
        command("mainViewDeleteDocumentAction:", "MENU_DELETE_DOCUMENT", QKeySequence(Qt::Key_Delete), Scope::Document),
        command("toggleFullScreen:", "MENU_FULL_SCREEN", QKeySequence(Qt::Key_F11), Scope::Window),
        command("performMiniaturize:", "MENU_MINIMIZE", QKeySequence(Qt::CTRL | Qt::Key_M), Scope::Window),
        command("performZoom:", "MENU_ZOOM", {}, Scope::Window),
        command("arrangeInFront:", "MENU_BRING_ALL", {}, Scope::Application),
        command("showInfoPopoverWithTag:", "MENU_HELP_INFO", {}, Scope::Document),
        command("openManualWebsite:", "MENU_MANUAL", QKeySequence(Qt::Key_F1), Scope::Application),
        command("openSupportWebsite:", "MENU_SUPPORT", {}, Scope::Application),
        command("loadNEWS:", "MENU_NEWS", {}, Scope::Application),
    };
    return commands;
}

const ArchiveCommands::Info* ArchiveCommands::info(const QString& name)
{
    for (const Info& entry : allCommands()) {
        if (entry.command == name)
            return &entry;
    }
    return nullptr;
}

bool ArchiveCommands::isEnabled(
    const QString& command, const State& state, const std::function<bool(const QString&)>& mainViewAnswer)
{
    const Info* entry = info(command);
    if (entry && (entry->scope == Scope::Application || entry->scope == Scope::Window))
        return true;
    // Everything of the archive waits for the main view.
    if (!state.mainViewLoaded)
        return false;
    if (command == QLatin1String("showPreferencesWindow:"))
        return state.setupDone;
    if (keyWindowCommands.contains(command))
        return state.windowIsKey;
    if (groupCommands.contains(command))
        return state.windowIsKey && state.groupSelected;
    if (documentCommands.contains(command))
        return state.windowIsKey && state.documentSelected;
    // An archive saved once is one folder with its files; it has no second place to go.
    if (command == QLatin1String("saveDocumentAs:"))
        return state.untitled;
    if (entry && entry->scope == Scope::MainView && mainViewAnswer)
        return mainViewAnswer(command);
    return true;
}

ArchiveCommands::State ArchiveCommands::currentState() const
{
    State state;
    state.mainViewLoaded = m_window->isMainViewLoaded();
    state.windowIsKey = m_window->isActiveWindow();
    if (m_selection) {
        std::tie(state.groupSelected, state.documentSelected) = m_selection();
    } else if (MainView* mainView = m_window->mainView()) {
        state.groupSelected = mainView->hasSelectedGroup();
        state.documentSelected = mainView->hasSelectedDocument();
    }
    const auto preferences = m_window->document()->preferences();
    state.setupDone = preferences && preferences->isSetupDone();
    state.untitled = m_window->isUntitled();
    return state;
}

bool ArchiveCommands::validateUserInterfaceItem(const QString& command) const
{
    const State state = currentState();
    MainView* mainView = m_window->mainView();
    return isEnabled(command, state, [mainView, key = state.windowIsKey](const QString& name) {
        return mainView && mainView->validateUserInterfaceItem(name, key);
    });
}

bool ArchiveCommands::perform(const QString& command, const QVariant& argument)
{
    const Info* entry = info(command);
    if (!entry || !validateUserInterfaceItem(command))
        return false;
    AppDelegate* app = AppDelegate::instance();
    switch (entry->scope) {
    case Scope::Application:
        if (command == QLatin1String("arrangeInFront:")) {
            if (app) {
                for (ArchiveWindow* window : app->documentController()->documents())
                    window->raise();
            }
            m_window->bringToFront();
        } else if (app) {
            if (command == QLatin1String("orderFrontStandardAboutPanel:"))
                app->showAbout(m_window);
            else if (command == QLatin1String("showLocalizer:"))
                app->showLocalizer();
            else if (command == QLatin1String("terminateByHand:"))
                app->terminateByHand();
            else if (command == QLatin1String("newDocument:"))
                app->newDocument();
            else if (command == QLatin1String("openDocument:"))
                app->openDocument(m_window);
            else if (command == QLatin1String("openRecentDocument:"))
                app->openRecentDocument(argument.toString(), m_window);
            else if (command == QLatin1String("clearRecentDocuments:"))
                app->clearRecentDocuments();
            else if (command == QLatin1String("openManualWebsite:"))
                app->openManualWebsite();
            else if (command == QLatin1String("openSupportWebsite:"))
                app->openSupportWebsite();
            else if (command == QLatin1String("loadNEWS:"))
                app->loadNEWS();
        }
        return true;
    case Scope::Window:
        performWindow(command);
        return true;
    case Scope::Document:
    case Scope::MainView:
        if (command == QLatin1String("showPreferencesWindow:"))
            m_window->showPreferencesWindow();
        else if (command == QLatin1String("checkForUpdates:"))
            m_window->checkForUpdates();
        else if (command == QLatin1String("saveDocument:"))
            m_window->saving()->saveDocument();
        else if (command == QLatin1String("saveDocumentAs:"))
            m_window->saving()->saveDocumentAs();
        else if (command == QLatin1String("showInfoPopoverWithTag:"))
            m_window->popovers()->showInfoPopoverWithTag(m_window->titlebarView()->infoButton());
        else
            performMainView(command);
        return true;
    }
    return false;
}

void ArchiveCommands::performMainView(const QString& command)
{
    MainView* view = m_window->mainView();
    if (!view)
        return;
    static const QHash<QString, void (MainView::*)()> slots = {
        { QStringLiteral("mainViewNewGroupAction:"), &MainView::addGroup },
        { QStringLiteral("mainViewNewFolderGroupAction:"), &MainView::addFolderGroup },
        { QStringLiteral("mainViewEditGroupAction:"), &MainView::editGroup },
        { QStringLiteral("mainViewDeleteGroupAction:"), &MainView::deleteGroup },
        { QStringLiteral("mainViewExportGroupAction:"), &MainView::exportGroup },
        { QStringLiteral("mainViewNewDocumentAction:"), &MainView::addDocument },
        { QStringLiteral("mainViewNewBatchDocumentsAction:"), &MainView::addBatchDocuments },
        { QStringLiteral("showScannerSheet:"), &MainView::showScannerSheet },
        { QStringLiteral("mainViewEditDocumentAction:"), &MainView::editDocument },
        { QStringLiteral("mainViewDeleteDocumentAction:"), &MainView::deleteDocument },
        { QStringLiteral("mainViewCreateFileCopyAction:"), &MainView::createFileCopy },
        { QStringLiteral("mainViewQuickLookDocumentAction:"), &MainView::generateQuickLook },
        { QStringLiteral("exportDocument:"), &MainView::exportDocument },
        { QStringLiteral("exportLogAction:"), &MainView::exportLogAction },
        { QStringLiteral("showSearchPopover:"), &MainView::showSearchPopover },
        { QStringLiteral("showSortOrderPopover:"), &MainView::showSortOrderPopover },
        { QStringLiteral("showInfoPopover:"), &MainView::showInfoPopover },
    };
    if (const auto slot = slots.value(command))
        (view->*slot)();
    else if (command == QLatin1String("mainViewCopyDocumentAction:")
        && view->metaObject()->indexOfMethod("copyDocument()") >= 0)
        // Copying a record to the clipboard belongs to the main view's lists.
        QMetaObject::invokeMethod(view, "copyDocument");
}

void ArchiveCommands::performWindow(const QString& command)
{
    if (command == QLatin1String("performClose:")) {
        m_window->close();
    } else if (command == QLatin1String("performMiniaturize:")) {
        m_window->showMinimized();
    } else if (command == QLatin1String("performZoom:")) {
        m_window->isMaximized() ? m_window->showNormal() : m_window->showMaximized();
    } else if (command == QLatin1String("toggleFullScreen:")) {
        m_window->isFullScreen() ? m_window->showNormal() : m_window->showFullScreen();
    } else if (QWidget* focus = QApplication::focusWidget()) {
        // Text commands go to the field that has the keyboard.
        const QByteArray slot = command.chopped(1).toLatin1();
        if (focus->metaObject()->indexOfMethod(QByteArray(slot + "()").constData()) >= 0)
            QMetaObject::invokeMethod(focus, slot.constData());
    }
}
