#include "ScreenTheme.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

void ScreenTheme::apply(bool dark)
{
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (!dark) {
        QApplication::setPalette(QApplication::style()->standardPalette());
        return;
    }
    QPalette palette;
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1f, 0x1f, 0x22);
    const QColor text(0xe8, 0xe8, 0xea);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3e));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0xa0));
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x7d, 0x87));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x6c, 0xc4, 0xd0));
    palette.setColor(QPalette::Mid, QColor(0x48, 0x48, 0x4c));
    palette.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    palette.setColor(QPalette::Light, QColor(0x50, 0x50, 0x55));
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x77, 0x77, 0x7c));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x77, 0x77, 0x7c));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x77, 0x77, 0x7c));
    QApplication::setPalette(palette);
}
