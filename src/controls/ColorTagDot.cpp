#include "controls/ColorTagDot.h"

#include "controls/ControlStyle.h"
#include "model/QuillarcDocument.h"
#include "model/Value.h"
#include "text/KVLocalizationDictionary.h"

#include <QPainter>

namespace {

struct DotColor
{
    const char* imageName;
    QRgb light;
    QRgb dark;
    const char* nameKey;
};

// Indexed by tag; the image names are those of the archive's colour-tag table.
constexpr DotColor dotColors[] = {
    { "redDot", 0xffe5484d, 0xfff2555a, "COLOR_TAG_RED" },
    { "orangeDot", 0xffef7d22, 0xffff8f40, "COLOR_TAG_ORANGE" },
    { "yellowDot", 0xffe8b600, 0xfff5c518, "COLOR_TAG_YELLOW" },
    { "greenDot", 0xff30a46c, 0xff3dd68c, "COLOR_TAG_GREEN" },
    { "blueDot", 0xff2f7fe0, 0xff4c9aff, "COLOR_TAG_BLUE" },
    { "purpleDot", 0xff8e4ec6, 0xffa875f0, "COLOR_TAG_PURPLE" },
    { "grayDot", 0xff8b8d98, 0xff9ea0aa, "COLOR_TAG_GRAY" },
};

} // namespace

ColorTagDot::ColorTagDot(QWidget* parent)
    : QWidget(parent)
{
    ControlStyle::ensureAccessibility();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

int ColorTagDot::colorTag() const
{
    return m_tag;
}

void ColorTagDot::setColorTag(int tag)
{
    if (m_tag == tag)
        return;
    m_tag = tag;
    update();
}

QSize ColorTagDot::sizeHint() const
{
    return QSize(14, 14);
}

QColor ColorTagDot::tagColor(int tag, const QPalette& palette)
{
    return imageColor(colorTagImageName(Value::integer(tag)), ControlStyle::isDark(palette));
}

QColor ColorTagDot::imageColor(const QString& imageName, bool dark)
{
    for (const DotColor& dot : dotColors) {
        if (imageName == QLatin1String(dot.imageName))
            return QColor::fromRgba(dark ? dot.dark : dot.light);
    }
    return QColor();
}

QString ColorTagDot::tagName(int tag)
{
    const QString imageName = colorTagImageName(Value::integer(tag));
    for (const DotColor& dot : dotColors) {
        if (imageName == QLatin1String(dot.imageName))
            return localizedString(QString::fromLatin1(dot.nameKey));
    }
    return localizedString(QStringLiteral("COLOR_TAG_NONE"));
}

void ColorTagDot::paintDot(QPainter* painter, const QRectF& rect, int tag, const QPalette& palette)
{
    const QColor color = tagColor(tag, palette);
    if (!color.isValid())
        return;
    const qreal scale = ControlStyle::deviceScale(*painter);
    const qreal side = qMin(rect.width(), rect.height());
    const QRectF dot
        = ControlStyle::snapRect(QRectF(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side), scale);
    const qreal ring = ControlStyle::hairlineWidth(scale);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(color);
    // A slightly darker rim keeps light colours (yellow) visible on light backgrounds.
    painter->setPen(QPen(ControlStyle::mix(color, Qt::black, 0.22), ring));
    painter->drawEllipse(dot.adjusted(ring / 2, ring / 2, -ring / 2, -ring / 2));
    painter->restore();
}

void ColorTagDot::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintDot(&painter, QRectF(rect()).adjusted(1, 1, -1, -1), m_tag, palette());
}
