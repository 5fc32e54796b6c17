#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "app/popover/PopoverPresenter.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/TitleStrip.h"

#include <QToolButton>

namespace {
QWidget* helpPopover(ScreenContext& context, int tag)
{
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Belege"), 1, 1);
    ArchiveWindow* window = ScreenFixtures::openWindow(context, path, true);
    window->popovers()->showInfoWithTag(tag, window->titlebarView()->infoButton());
    return window->popovers()->kvPopover();
}
} // namespace

QUILLARC_SCREEN("help-popover-main", [](ScreenContext& context) { return helpPopover(context, 0); });
QUILLARC_SCREEN("help-popover-group", [](ScreenContext& context) { return helpPopover(context, 3); });
QUILLARC_SCREEN("help-popover-default", [](ScreenContext& context) { return helpPopover(context, 7); });
