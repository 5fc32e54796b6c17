#pragma once

#include <QProxyStyle>

/// The Fusion style with the corrections the application's dark palette
/// needs: Fusion outlines check boxes and radio buttons in a shade of the
/// window colour, which on a dark window is as dark as the box itself, so an
/// unchecked box vanished. In a dark palette the outline is drawn in a shade
/// between the window and its text instead; a light palette is untouched.
class ArchiveStyle : public QProxyStyle
{
    Q_OBJECT

public:
    /// Wraps Fusion (or the style named @p baseStyle).
    explicit ArchiveStyle(const QString& baseStyle = QStringLiteral("Fusion"));

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
        const QWidget* widget = nullptr) const override;

    /// The window colour to hand Fusion so that the outline it derives from it
    /// (the window colour made 40 % darker) shows on @p palette's window.
    static QColor outlineSource(const QPalette& palette);
};
