#include "app/popover/InfoPopover.h"
#include "app/popover/PopoverRegistry.h"
#include "app/popover/SearchPopover.h"
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
    registerFactory(QStringLiteral("DocumentInfo_Popover"), [] { return new InfoPopover; });
    // Archive windows keep one search popover per archive (SearchPopover::forDocument);
    // this one is for showing it by name.
    registerFactory(QStringLiteral("Search_Popover"), [] { return new SearchPopover; });
}
