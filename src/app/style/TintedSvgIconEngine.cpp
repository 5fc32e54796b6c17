#include "app/style/TintedSvgIconEngine.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPainter>
#include <QSvgRenderer>
#include <QWidget>
#include <QtMath>

TintedSvgIconEngine::TintedSvgIconEngine(const QString& path)
    : m_path(path)
{
}

void TintedSvgIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state)
{
    const QTransform t = painter->deviceTransform();
    const qreal scale = qMax<qreal>(1.0, qSqrt(t.m11() * t.m11() + t.m12() * t.m12()));
    const QSize deviceSize(qRound(rect.width() * scale), qRound(rect.height() * scale));
    if (deviceSize.isEmpty())
        return;
    // Painting into a widget: tint from that widget's palette, which may differ from the application's.
    QPaintDevice* device = painter->device();
    const QPalette palette = device && device->devType() == QInternal::Widget ? static_cast<QWidget*>(device)->palette()
                                                                              : QGuiApplication::palette();
    painter->drawImage(QRectF(rect), render(deviceSize, mode, state, palette));
}

QPixmap TintedSvgIconEngine::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state)
{
    return QPixmap::fromImage(render(size, mode, state, QGuiApplication::palette()));
}

QPixmap TintedSvgIconEngine::scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale)
{
    // QIcon asks with the size already in device pixels; the scale only labels the result.
    QPixmap result = pixmap(size, mode, state);
    result.setDevicePixelRatio(scale);
    return result;
}

QSize TintedSvgIconEngine::actualSize(const QSize& size, QIcon::Mode, QIcon::State)
{
    // A vector drawing fits any square; keep it square inside the requested box.
    const int side = qMin(size.width(), size.height());
    return QSize(side, side);
}

QList<QSize> TintedSvgIconEngine::availableSizes(QIcon::Mode, QIcon::State)
{
    return { QSize(16, 16), QSize(24, 24), QSize(32, 32), QSize(48, 48), QSize(64, 64), QSize(128, 128),
        QSize(256, 256) };
}

QIconEngine* TintedSvgIconEngine::clone() const
{
    return new TintedSvgIconEngine(*this);
}

QString TintedSvgIconEngine::key() const
{
    return QStringLiteral("TintedSvgIconEngine");
}

QString TintedSvgIconEngine::iconName()
{
    return QFileInfo(m_path).completeBaseName();
}

bool TintedSvgIconEngine::isNull()
{
    load();
    return m_svg.isEmpty();
}

QColor TintedSvgIconEngine::tint(QIcon::Mode mode, QIcon::State, const QPalette& palette)
{
    switch (mode) {
    case QIcon::Disabled:
        return palette.color(QPalette::Disabled, QPalette::WindowText);
    case QIcon::Selected:
        return palette.color(QPalette::Active, QPalette::HighlightedText);
    case QIcon::Active:
    case QIcon::Normal:
        break;
    }
    return palette.color(QPalette::Active, QPalette::WindowText);
}

QImage TintedSvgIconEngine::render(
    const QSize& deviceSize, QIcon::Mode mode, QIcon::State state, const QPalette& palette)
{
    load();
    if (m_svg.isEmpty())
        return QImage();

    const QColor color = m_tinted ? tint(mode, state, palette) : QColor();
    const QString cacheKey = QStringLiteral("%1x%2:%3:%4")
                                 .arg(deviceSize.width())
                                 .arg(deviceSize.height())
                                 .arg(int(mode))
                                 .arg(color.name(QColor::HexArgb));
    const auto cached = m_cache.constFind(cacheKey);
    if (cached != m_cache.constEnd())
        return *cached;

    QByteArray svg = m_svg;
    if (m_tinted) {
        svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
        if (color.alpha() < 255)
            svg.replace("<svg ", QByteArray("<svg opacity=\"" + QByteArray::number(color.alphaF(), 'f', 3) + "\" "));
    }
    QSvgRenderer renderer(svg);
    QImage image(deviceSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        renderer.render(&painter, QRectF(QPointF(0, 0), deviceSize));
        // A drawing in its own colours fades when disabled, like any other icon.
        if (!m_tinted && mode == QIcon::Disabled) {
            painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
            painter.fillRect(image.rect(), QColor(0, 0, 0, 110));
        }
    }
    // A handful of sizes and states per icon; start over rather than track use.
    if (m_cache.size() >= 24)
        m_cache.clear();
    m_cache.insert(cacheKey, image);
    return image;
}

void TintedSvgIconEngine::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    QFile file(m_path);
    if (file.open(QIODevice::ReadOnly))
        m_svg = file.readAll();
    m_tinted = m_svg.contains("currentColor");
}
