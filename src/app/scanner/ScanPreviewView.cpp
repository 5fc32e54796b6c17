#include "app/scanner/ScanPreviewView.h"

#include "text/KVLocalizationDictionary.h"

#include <QPainter>

ScanPreviewView::ScanPreviewView(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(210, 297);
}

void ScanPreviewView::setImage(const QImage& image)
{
    m_image = image;
    update();
}

void ScanPreviewView::setPlaceholderKey(const QString& key)
{
    m_placeholderKey = key;
    update();
}

QSize ScanPreviewView::sizeHint() const
{
    return { 300, 424 }; // an A4 page at a readable size
}

void ScanPreviewView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect area = rect().adjusted(1, 1, -1, -1);
    // The paper keeps its proportions: an A4 outline until a scan shows the real one.
    const QSizeF paper = m_image.isNull() ? QSizeF(210, 297) : QSizeF(m_image.size());
    const QSizeF fitted = paper.scaled(area.size(), Qt::KeepAspectRatio);
    const QRectF page(area.left() + (area.width() - fitted.width()) / 2, area.top() + (area.height() - fitted.height()) / 2,
        fitted.width(), fitted.height());
    painter.fillRect(page, Qt::white);
    if (!m_image.isNull()) {
        painter.drawImage(page, m_image);
    } else if (!m_placeholderKey.isEmpty()) {
        painter.setPen(QColor(120, 120, 120));
        painter.drawText(page.adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap, localizedString(m_placeholderKey));
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(page.adjusted(0, 0, -1, -1));
}
