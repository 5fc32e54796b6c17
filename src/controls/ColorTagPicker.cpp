#include "controls/ColorTagPicker.h"

#include "controls/ColorTagDot.h"
#include "controls/ControlStyle.h"

#include <QAccessible>
#include <QFocusEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace {
constexpr int cellSize = 22;
constexpr int dotSize = 12;
constexpr int spacing = 2;
constexpr int choices = 8;
} // namespace

ColorTagPicker::ColorTagPicker(QWidget* parent)
    : QWidget(parent)
{
    ControlStyle::ensureAccessibility();
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

int ColorTagPicker::currentTag() const
{
    return m_tag;
}

void ColorTagPicker::setCurrentTag(int tag)
{
    const int normalized = tag >= 0 && tag < ColorTagDot::noColorTag ? tag : ColorTagDot::noColorTag;
    if (normalized == m_tag)
        return;
    m_tag = normalized;
    update();
    if (QAccessible::isActive()) {
        QAccessibleValueChangeEvent change(this, ColorTagDot::tagName(m_tag));
        QAccessible::updateAccessibility(&change);
    }
    Q_EMIT currentTagChanged(m_tag);
}

int ColorTagPicker::cellCount()
{
    return choices;
}

int ColorTagPicker::tagAt(int index)
{
    // "No colour" comes first, then the colours in tag order.
    return index == 0 ? ColorTagDot::noColorTag : index - 1;
}

int ColorTagPicker::indexOfTag(int tag)
{
    return tag >= 0 && tag < ColorTagDot::noColorTag ? tag + 1 : 0;
}

QRect ColorTagPicker::cellRect(int index) const
{
    const int m = ControlStyle::focusMargin;
    const int top = (height() - cellSize) / 2;
    return QRect(m + index * (cellSize + spacing), top, cellSize, cellSize);
}

QSize ColorTagPicker::sizeHint() const
{
    const int m = ControlStyle::focusMargin;
    return QSize(choices * cellSize + (choices - 1) * spacing + 2 * m, cellSize + 2 * m);
}

QSize ColorTagPicker::minimumSizeHint() const
{
    return sizeHint();
}

bool ColorTagPicker::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const int index = cellAt(help->pos());
        if (index >= 0)
            QToolTip::showText(help->globalPos(), ColorTagDot::tagName(tagAt(index)), this, cellRect(index));
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}

void ColorTagPicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const qreal scale = ControlStyle::deviceScale(painter);
    const int current = indexOfTag(m_tag);
    if (!isEnabled())
        painter.setOpacity(0.45);

    for (int index = 0; index < choices; ++index) {
        const QRectF cell = cellRect(index);
        if (index == current || (index == m_hoverIndex && isEnabled())) {
            // The chosen cell carries a ring, the hovered one a soft background.
            painter.setPen(Qt::NoPen);
            painter.setBrush(ControlStyle::faded(pal.color(QPalette::WindowText), index == current ? 0.14 : 0.07));
            painter.drawRoundedRect(ControlStyle::snapRect(cell, scale), 5, 5);
        }
        const QRectF dot(cell.center().x() - dotSize / 2.0, cell.center().y() - dotSize / 2.0, dotSize, dotSize);
        if (index == 0)
            paintNoColor(&painter, dot);
        else
            ColorTagDot::paintDot(&painter, dot, tagAt(index), pal);
        if (index == current)
            ControlStyle::strokeRoundedRect(&painter, cell, 5, ControlStyle::hairlineColor(pal));
    }

    if (ControlStyle::showsFocus(this, m_focusFromMouse))
        ControlStyle::drawFocusRing(&painter, ControlStyle::snapRect(cellRect(current), scale), 5, pal);
}

void ColorTagPicker::paintNoColor(QPainter* painter, const QRectF& rect) const
{
    // An empty circle crossed out: the record has no colour.
    const qreal scale = ControlStyle::deviceScale(*painter);
    const qreal line = qMax<qreal>(1.0, ControlStyle::hairlineWidth(scale) * 1.5);
    const QRectF circle = ControlStyle::snapRect(rect, scale).adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter->save();
    painter->setPen(QPen(ControlStyle::secondaryTextColor(palette()), line));
    painter->setBrush(Qt::NoBrush);
    painter->drawEllipse(circle);
    const qreal inset = circle.width() * 0.1464; // where the 45° diagonal meets the circle
    painter->drawLine(
        QPointF(circle.right() - inset, circle.top() + inset), QPointF(circle.left() + inset, circle.bottom() - inset));
    painter->restore();
}

void ColorTagPicker::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    const int index = cellAt(event->position().toPoint());
    if (index >= 0)
        chooseIndex(index);
}

void ColorTagPicker::mouseMoveEvent(QMouseEvent* event)
{
    const int index = cellAt(event->position().toPoint());
    if (index != m_hoverIndex) {
        m_hoverIndex = index;
        update();
    }
    QWidget::mouseMoveEvent(event);
}

void ColorTagPicker::leaveEvent(QEvent* event)
{
    m_hoverIndex = -1;
    update();
    QWidget::leaveEvent(event);
}

void ColorTagPicker::keyPressEvent(QKeyEvent* event)
{
    const int current = indexOfTag(m_tag);
    int index = -1;
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        index = qMax(0, current - 1);
        break;
    case Qt::Key_Right:
    case Qt::Key_Down:
        index = qMin(choices - 1, current + 1);
        break;
    case Qt::Key_Home:
        index = 0;
        break;
    case Qt::Key_End:
        index = choices - 1;
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    m_focusFromMouse = false;
    chooseIndex(index);
    event->accept();
}

void ColorTagPicker::focusInEvent(QFocusEvent* event)
{
    m_focusFromMouse = event->reason() == Qt::MouseFocusReason;
    QWidget::focusInEvent(event);
}

int ColorTagPicker::cellAt(const QPoint& position) const
{
    for (int index = 0; index < choices; ++index) {
        if (cellRect(index).contains(position))
            return index;
    }
    return -1;
}

void ColorTagPicker::chooseIndex(int index)
{
    setCurrentTag(tagAt(index));
    update();
}
