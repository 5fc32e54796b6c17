#include "controls/KVSeparator.h"

#include "controls/ControlStyle.h"

#include <QPainter>

KVSeparator::KVSeparator(Qt::Orientation orientation, QWidget* parent)
    : QWidget(parent)
    , m_orientation(orientation)
{
    ControlStyle::ensureAccessibility();
    setOrientation(orientation);
}

Qt::Orientation KVSeparator::orientation() const
{
    return m_orientation;
}

void KVSeparator::setOrientation(Qt::Orientation orientation)
{
    m_orientation = orientation;
    if (orientation == Qt::Horizontal)
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    else
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
    updateGeometry();
    update();
}

QSize KVSeparator::sizeHint() const
{
    return m_orientation == Qt::Horizontal ? QSize(16, 1) : QSize(1, 16);
}

void KVSeparator::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QColor color = ControlStyle::hairlineColor(palette());
    if (m_orientation == Qt::Horizontal)
        ControlStyle::fillHairline(&painter, true, height() / 2.0, 0, width(), color);
    else
        ControlStyle::fillHairline(&painter, false, width() / 2.0, 0, height(), color);
}
