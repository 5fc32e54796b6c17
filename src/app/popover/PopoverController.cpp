#include "app/popover/PopoverController.h"

PopoverController::PopoverController(QWidget* parent)
    : QWidget(parent)
{
}
