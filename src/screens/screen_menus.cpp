#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "app/window/ArchiveCommands.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/Menus.h"

#include <QMenu>

namespace {
/// Menu @p index of an archive window with a group selected, opened.
QWidget* openMenu(ScreenContext& context, int index)
{
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Belege"), 2, 2);
    ArchiveWindow* window = ScreenFixtures::openWindow(context, path, true);
    window->commands()->setSelectionOverride([] { return std::pair(true, false); });
    window->activateWindow();
    ScreenContext::waitFor([window] { return window->isActiveWindow(); });
    window->menus()->validateAll();
    QMenu* menu = window->menus()->menus().at(index);
    menu->popup(window->mapToGlobal(QPoint(0, 20)));
    return menu;
}
} // namespace

QUILLARC_SCREEN("menu-1-quillarc", [](ScreenContext& context) { return openMenu(context, 0); });
QUILLARC_SCREEN("menu-2-file", [](ScreenContext& context) { return openMenu(context, 1); });
QUILLARC_SCREEN("menu-3-edit", [](ScreenContext& context) { return openMenu(context, 2); });
QUILLARC_SCREEN("menu-4-archive", [](ScreenContext& context) { return openMenu(context, 3); });
QUILLARC_SCREEN("menu-5-document", [](ScreenContext& context) { return openMenu(context, 4); });
QUILLARC_SCREEN("menu-6-view", [](ScreenContext& context) { return openMenu(context, 5); });
QUILLARC_SCREEN("menu-7-window", [](ScreenContext& context) { return openMenu(context, 6); });
QUILLARC_SCREEN("menu-8-help", [](ScreenContext& context) { return openMenu(context, 7); });
