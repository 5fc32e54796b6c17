#include "app/views/SegmentedControl.h"

#include "app/i18n/Localizer.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>

SegmentedControl::SegmentedControl(const QStringList& labelKeys, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (int tag = 0; tag < labelKeys.size(); ++tag) {
        auto* button = new QToolButton(this);
        button->setText(labelKeys.at(tag));
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        button->setAutoRaise(false);
        button->setMinimumWidth(64);
        button->setProperty("segmentTag", tag);
        connect(button, &QToolButton::clicked, this, [this, tag] { Q_EMIT segmentClicked(tag); });
        layout->addWidget(button);
        m_segments.append(button);
    }
}

int SegmentedControl::count() const
{
    return int(m_segments.size());
}

QToolButton* SegmentedControl::segment(int tag) const
{
    return m_segments.value(tag);
}

void SegmentedControl::setSegmentEnabled(int tag, bool enabled)
{
    if (QToolButton* button = segment(tag))
        button->setEnabled(enabled);
}

bool SegmentedControl::isSegmentEnabled(int tag) const
{
    const QToolButton* button = segment(tag);
    return button && button->isEnabled();
}

void SegmentedControl::setLabelKey(int tag, const QString& key)
{
    if (QToolButton* button = segment(tag)) {
        Localizer::setKey(button, key);
        if (key.isEmpty())
            button->setText(QString());
    }
}

void SegmentedControl::setIcon(int tag, const QIcon& icon)
{
    if (QToolButton* button = segment(tag)) {
        button->setIcon(icon);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    }
}

void SegmentedControl::setMenu(int tag, QMenu* menu)
{
    if (QToolButton* button = segment(tag)) {
        button->setMenu(menu);
        button->setPopupMode(QToolButton::MenuButtonPopup);
    }
}
