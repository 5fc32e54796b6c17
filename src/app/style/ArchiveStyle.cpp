#include "app/style/ArchiveStyle.h"

#include <QStyleFactory>
#include <QStyleOption>

ArchiveStyle::ArchiveStyle(const QString& baseStyle)
    : QProxyStyle(QStyleFactory::create(baseStyle))
{
}

QColor ArchiveStyle::outlineSource(const QPalette& palette)
{
    const QColor window = palette.color(QPalette::Window);
    if (window.lightness() >= 128)
        return window;
    // Fusion draws the outline in window.darker(140); lightening by as much undoes it.
    // About a third of the way from the window to its text.
    const QColor text = palette.color(QPalette::WindowText);
    const auto between = [](int from, int to) { return from + (to - from) * 32 / 100; };
    const QColor outline(between(window.red(), text.red()), between(window.green(), text.green()),
        between(window.blue(), text.blue()));
    return outline.lighter(140);
}

void ArchiveStyle::drawPrimitive(
    PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const
{
    const bool indicator = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton
        || element == PE_IndicatorItemViewItemCheck;
    if (!indicator || !option || option->palette.color(QPalette::Window).lightness() >= 128) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    // Only the outline follows the window colour; the box's fill comes from Base.
    const auto copy = [&](auto typed) {
        typed.palette.setColor(QPalette::Window, outlineSource(option->palette));
        QProxyStyle::drawPrimitive(element, &typed, painter, widget);
    };
    if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option))
        copy(*button);
    else if (const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(option))
        copy(*item);
    else
        copy(*option);
}
