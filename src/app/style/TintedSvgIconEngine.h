#pragma once

#include <QHash>
#include <QIconEngine>
#include <QImage>
#include <QPalette>

/// Draws one SVG file as an icon. Every "currentColor" in the drawing is
/// replaced by a colour of the application palette chosen at paint time by
/// the icon's mode (from the widget painted into, else the application), so one file serves light, dark, disabled and
/// selected states. A drawing without "currentColor" (the application icon) keeps its own colours. Rendering happens at
/// the device size, never by scaling a smaller bitmap.
class TintedSvgIconEngine : public QIconEngine
{
public:
    explicit TintedSvgIconEngine(const QString& path);

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override;
    QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override;
    QIconEngine* clone() const override;
    QString key() const override;
    QString iconName() override;
    bool isNull() override;

    /// The colour "currentColor" takes in @p mode and @p state under @p palette.
    static QColor tint(QIcon::Mode mode, QIcon::State state, const QPalette& palette);

private:
    /// The drawing rendered at @p deviceSize pixels in the colours of @p palette;
    /// cached per size, mode and colour.
    QImage render(const QSize& deviceSize, QIcon::Mode mode, QIcon::State state, const QPalette& palette);
    void load();

    QString m_path;
    QByteArray m_svg;
    bool m_loaded = false;
    bool m_tinted = false;
    QHash<QString, QImage> m_cache;
};
