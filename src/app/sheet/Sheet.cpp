#include "app/sheet/Sheet.h"

#include "app/i18n/Localizer.h"
#include "controls/KVButton.h"

#include <QBoxLayout>
#include <QLabel>

Sheet::Sheet(QWidget* window)
    : QDialog(window)
{
    setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
}

QLabel* Sheet::addHeading(QBoxLayout* layout, const QString& text)
{
    auto* heading = new QLabel(text, this);
    QFont font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    heading->setFont(font);
    layout->addWidget(heading);
    return heading;
}

void Sheet::addButtons(QBoxLayout* layout, KVButton* cancel, KVButton* ok)
{
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    ok->setDefault(true);
    buttons->addWidget(cancel);
    buttons->addWidget(ok);
    layout->addLayout(buttons);
    connect(ok, &KVButton::clicked, this, &QDialog::accept);
    connect(cancel, &KVButton::clicked, this, &QDialog::reject);
}

void Sheet::showEvent(QShowEvent* event)
{
    Localizer::localize(this);
    QDialog::showEvent(event);
}
