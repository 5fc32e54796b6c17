#include "app/views/ColorTagChooser.h"

#include "app/views/ListGlyphs.h"

#include <QPainter>

namespace {
const char* const tagKeys[] = { "COLOR_TAG_RED", "COLOR_TAG_ORANGE", "COLOR_TAG_YELLOW", "COLOR_TAG_GREEN",
    "COLOR_TAG_BLUE", "COLOR_TAG_PURPLE", "COLOR_TAG_GRAY", "COLOR_TAG_NONE" };

QIcon dotIcon(int tag, const QPalette& palette)
{
    QPixmap pixmap(QSize(32, 32));
    pixmap.setDevicePixelRatio(2);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    ListGlyphs::paintDot(&painter, QRectF(3, 3, 10, 10), tag, palette);
    return QIcon(pixmap);
}
} // namespace

ColorTagChooser::ColorTagChooser(QWidget* parent)
    : QComboBox(parent)
{
    // "No colour" first, then the colours in tag order.
    addItem(QString::fromLatin1(tagKeys[7]), 7);
    for (int tag = 0; tag < 7; ++tag)
        addItem(dotIcon(tag, palette()), QString::fromLatin1(tagKeys[tag]), tag);
    connect(this, &QComboBox::activated, this, [this](int) { Q_EMIT tagChosen(currentTag()); });
}

int ColorTagChooser::currentTag() const
{
    return currentData().toInt();
}

void ColorTagChooser::setCurrentTag(int tag)
{
    setCurrentIndex(qMax(0, findData(tag >= 0 && tag <= 6 ? tag : 7)));
}
