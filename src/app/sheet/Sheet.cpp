#include "app/sheet/Sheet.h"

#include "app/i18n/Localizer.h"

Sheet::Sheet(QWidget* window)
    : QDialog(window)
{
    setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
}

void Sheet::showEvent(QShowEvent* event)
{
    Localizer::localize(this);
    QDialog::showEvent(event);
}
