#include "app/popover/PopoverRegistry.h"
#include "app/popover/SortOrderPopover.h"

// Each popover screen of the application, registered under its class name.
// A screen's header is included here and one line added below.

void PopoverRegistry::registerBuiltIns()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    registerFactory(QStringLiteral("SortOrder_Popover"), [] { return new SortOrderPopover; });
}
