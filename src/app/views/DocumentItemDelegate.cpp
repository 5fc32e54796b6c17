#include "app/views/DocumentItemDelegate.h"

#include "app/models/DocumentListModel.h"
#include "app/views/ListGlyphs.h"
#include "controls/ColorTagDot.h"

#include <QPainter>

QSize DocumentItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const int height = thumbnailSide + 8;
    switch (index.column()) {
    case DocumentListModel::ColorTagColumn:
    case DocumentListModel::LockColumn:
        return QSize(24, height);
    default:
        return QSize(QStyledItemDelegate::sizeHint(option, index).width(), height);
    }
}

void DocumentItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const int column = index.column();
    if (column != DocumentListModel::TitleColumn && column != DocumentListModel::TagsColumn
        && column != DocumentListModel::ColorTagColumn && column != DocumentListModel::LockColumn) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    ListGlyphs::paintRowBackground(painter, item);

    const bool selected = option.state & QStyle::State_Selected;
    const QColor textColor = ListGlyphs::rowTextColor(option);
    const QRectF rect = QRectF(option.rect).adjusted(4, 0, -4, 0);
    painter->save();
    switch (column) {
    case DocumentListModel::TitleColumn: {
        const QRectF thumb(rect.left(), rect.center().y() - thumbnailSide / 2.0, thumbnailSide, thumbnailSide);
        const QPixmap pixmap = index.data(Qt::DecorationRole).value<QPixmap>();
        if (!pixmap.isNull()) {
            painter->drawPixmap(thumb.topLeft(), pixmap);
        } else {
            // Until the thumbnail arrives: a quiet page outline of the same size.
            QColor outline = textColor;
            outline.setAlphaF(0.2);
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(QPen(outline, 1));
            painter->drawRoundedRect(thumb.adjusted(6.5, 2.5, -6.5, -2.5), 2, 2);
        }
        const QRectF text = rect.adjusted(thumbnailSide + 8, 0, 0, 0);
        painter->setFont(option.font);
        painter->setPen(textColor);
        painter->drawText(text, Qt::AlignVCenter | Qt::AlignLeft,
            option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, int(text.width())));
        break;
    }
    case DocumentListModel::TagsColumn:
        painter->setFont(option.font);
        ListGlyphs::paintTokens(
            painter, rect, index.data(DocumentListModel::TagsRole).toStringList(), option.palette, selected);
        break;
    case DocumentListModel::ColorTagColumn:
        ColorTagDot::paintDot(painter, QRectF(rect.center().x() - 5, rect.center().y() - 5, 10, 10),
            index.data(DocumentListModel::ColorTagRole).toInt(), option.palette);
        break;
    case DocumentListModel::LockColumn:
        if (index.data(DocumentListModel::LockedRole).toBool())
            ListGlyphs::paintIcon(painter, QRectF(rect.center().x() - 7, rect.center().y() - 7, 14, 14),
                QStringLiteral("lock"), selected);
        break;
    }
    painter->restore();
}
