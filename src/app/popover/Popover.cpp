#include "app/popover/Popover.h"

#include "app/popover/PopoverController.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>

namespace {
constexpr int arrowHeight = 8;
constexpr int cornerRadius = 8;

Qt::WindowFlags flagsFor(Popover::Behavior behavior)
{
    // Only a transient popover grabs the pointer: the others let the user
    // keep working in the window while they are open.
    if (behavior == Popover::Behavior::Transient)
        return Qt::Popup | Qt::FramelessWindowHint;
    return Qt::Tool | Qt::FramelessWindowHint;
}
} // namespace

Popover::Popover(PopoverController* content, Behavior behavior, QWidget* window)
    : QFrame(window, flagsFor(behavior))
    , m_content(content)
    , m_behavior(behavior)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(cornerRadius / 2, arrowHeight + cornerRadius / 2, cornerRadius / 2, cornerRadius / 2);
    content->setParent(this);
    layout->addWidget(content);
    connect(content, &PopoverController::closeRequested, this, &QWidget::close);
    if (behavior == Behavior::SemiTransient)
        qApp->installEventFilter(this);
}

Popover::~Popover()
{
    if (m_behavior == Behavior::SemiTransient)
        qApp->removeEventFilter(this);
}

void Popover::showRelativeTo(QWidget* anchor)
{
    adjustSize();
    const QRect anchorRect(anchor->mapToGlobal(QPoint(0, 0)), anchor->size());
    const QRect available = anchor->screen() ? anchor->screen()->availableGeometry() : QRect();
    QPoint origin(anchorRect.center().x() - width() / 2, anchorRect.bottom() + 1);
    m_above = available.isValid() && origin.y() + height() > available.bottom();
    if (m_above) {
        origin.setY(anchorRect.top() - height());
        layout()->setContentsMargins(cornerRadius / 2, cornerRadius / 2, cornerRadius / 2, arrowHeight + cornerRadius / 2);
    }
    if (available.isValid()) {
        origin.setX(qBound(available.left(), origin.x(), qMax(available.left(), available.right() - width())));
        origin.setY(qMax(available.top(), origin.y()));
    }
    move(origin);
    // The arrow points at the anchor even where the screen's edge pushed the popover aside.
    m_arrowX = qBound<qreal>(cornerRadius + arrowHeight, anchorRect.center().x() - origin.x() + 0.5,
        width() - cornerRadius - arrowHeight);
    show();
    raise();
    activateWindow();
}

PopoverController* Popover::takeContent()
{
    PopoverController* content = m_content;
    if (content) {
        disconnect(content, nullptr, this, nullptr);
        content->hide();
        content->setParent(nullptr);
    }
    m_content = nullptr;
    return content;
}

void Popover::closeEvent(QCloseEvent* event)
{
    Q_EMIT closed();
    QFrame::closeEvent(event);
}

void Popover::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QFrame::keyPressEvent(event);
}

bool Popover::eventFilter(QObject* watched, QEvent* event)
{
    // Semi-transient: a click on another widget of this application closes it.
    if (event->type() == QEvent::MouseButtonPress) {
        auto* widget = qobject_cast<QWidget*>(watched);
        if (widget && widget->window() != this && !isAncestorOf(widget) && !qobject_cast<QWidget*>(widget->window()->parent()))
            close();
    }
    return QFrame::eventFilter(watched, event);
}

void Popover::paintEvent(QPaintEvent*)
{
    // A rounded panel with a small arrow pointing at the anchor.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF panel = QRectF(rect()).adjusted(0.5, m_above ? 0.5 : arrowHeight + 0.5, -0.5, m_above ? -arrowHeight - 0.5 : -0.5);
    QPainterPath path;
    path.addRoundedRect(panel, cornerRadius, cornerRadius);
    const qreal middle = m_arrowX >= 0 ? m_arrowX : width() / 2.0;
    QPolygonF arrow;
    if (m_above)
        arrow << QPointF(middle - arrowHeight, panel.bottom()) << QPointF(middle, height() - 0.5) << QPointF(middle + arrowHeight, panel.bottom());
    else
        arrow << QPointF(middle - arrowHeight, panel.top()) << QPointF(middle, 0.5) << QPointF(middle + arrowHeight, panel.top());
    path = path.united([&] { QPainterPath a; a.addPolygon(arrow); a.closeSubpath(); return a; }());
    painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    painter.setBrush(palette().color(QPalette::Window));
    painter.drawPath(path);
}
