#include "ScreenRegistry.h"
#include "app/core/InstallOfferDialog.h"

QUILLARC_SCREEN("install-offer", [](ScreenContext&) -> QWidget* {
    auto* dialog = new InstallOfferDialog;
    dialog->show();
    return dialog;
});
