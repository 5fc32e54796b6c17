#pragma once

#include <QStyledItemDelegate>

/// The cells of the documents list: the thumbnail beside the title, tags as
/// tokens, the colour tag as a dot and the lock as a padlock; the other
/// columns are plain text.
class DocumentItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// Thumbnails are this many points square; the rows are a little taller.
    static constexpr int thumbnailSide = 32;

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
