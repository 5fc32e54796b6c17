#include "app/popover/SearchPopoverDelegate.h"

#include "app/models/SearchHitModel.h"
#include "app/views/ListGlyphs.h"

#include <QPainter>
#include <QTextLayout>

namespace {
constexpr int horizontalPadding = 8;
constexpr int verticalPadding = 5;
constexpr int lineGap = 2;

QColor secondaryText(const QPalette& palette, bool selected)
{
    QColor color = selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text);
    color.setAlphaF(0.62f);
    return color;
}

QFont smallerFont(const QFont& font)
{
    QFont small = font;
    small.setPointSizeF(qMax(7.0, font.pointSizeF() - 1.0));
    return small;
}

/// A one-line layout of @p text with @p ranges drawn bold on a tinted ground.
void layoutLine(QTextLayout& layout, const QString& text, const QList<QTextLayout::FormatRange>& ranges)
{
    layout.setText(text);
    layout.setFormats(QList<QTextLayout::FormatRange>(ranges));
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    if (line.isValid())
        line.setLineWidth(1e6);
    layout.endLayout();
}
} // namespace

SearchPopoverDelegate::SearchPopoverDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

int SearchPopoverDelegate::rowHeight(const QFont& font)
{
    return QFontMetrics(font).height() + lineGap + QFontMetrics(smallerFont(font)).height() + 2 * verticalPadding;
}

QSize SearchPopoverDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    return QSize(option.rect.width() > 0 ? option.rect.width() : 200, rowHeight(option.font));
}

void SearchPopoverDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    ListGlyphs::paintRowBackground(painter, item);

    const bool selected = option.state & QStyle::State_Selected;
    const QPalette& palette = option.palette;
    const QRect area = option.rect.adjusted(horizontalPadding, verticalPadding, -horizontalPadding, -verticalPadding);
    painter->save();

    // First line: title, and the file date at the right.
    QFont titleFont = option.font;
    titleFont.setWeight(QFont::DemiBold);
    const QFontMetrics titleMetrics(titleFont);
    const QFont small = smallerFont(option.font);
    const QFontMetrics smallMetrics(small);
    const QString date = index.data(SearchHitModel::FileDateRole).toString();
    const int dateWidth = date.isEmpty() ? 0 : smallMetrics.horizontalAdvance(date) + horizontalPadding;
    const QRect firstLine(area.left(), area.top(), area.width(), titleMetrics.height());
    painter->setFont(titleFont);
    painter->setPen(selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text));
    const QString title = index.data(SearchHitModel::TitleRole).toString();
    painter->drawText(firstLine.adjusted(0, 0, -dateWidth, 0), Qt::AlignLeft | Qt::AlignVCenter,
        titleMetrics.elidedText(title, Qt::ElideRight, firstLine.width() - dateWidth));
    painter->setFont(small);
    painter->setPen(secondaryText(palette, selected));
    painter->drawText(firstLine, Qt::AlignRight | Qt::AlignVCenter, date);

    // Second line: where the words were found, or what else describes the hit.
    const QRect secondLine(area.left(), firstLine.bottom() + 1 + lineGap, area.width(), smallMetrics.height());
    const QString field = index.data(SearchHitModel::MatchFieldRole).toString();
    if (!field.isEmpty()) {
        drawMarkedLine(painter, secondLine, field + QStringLiteral(": "),
            index.data(SearchHitModel::ExcerptRole).toString(),
            index.data(SearchHitModel::MarksRole).value<QList<QPoint>>(), option, selected);
    } else {
        QStringList parts;
        for (const int role : { int(SearchHitModel::SlipNumberRole), int(SearchHitModel::FileKindRole) }) {
            const QString part = index.data(role).toString();
            if (!part.isEmpty())
                parts.append(part);
        }
        painter->drawText(secondLine, Qt::AlignLeft | Qt::AlignVCenter,
            smallMetrics.elidedText(parts.join(QStringLiteral(" · ")), Qt::ElideRight, secondLine.width()));
    }
    painter->restore();
}

void SearchPopoverDelegate::drawMarkedLine(QPainter* painter, const QRect& rect, const QString& prefix,
    const QString& text, const QList<QPoint>& marks, const QStyleOptionViewItem& option, bool selected)
{
    const QPalette& palette = option.palette;
    QTextCharFormat prefixFormat;
    prefixFormat.setForeground(secondaryText(palette, selected));
    QTextCharFormat markFormat;
    markFormat.setFontWeight(QFont::Bold);
    QColor markGround = palette.color(QPalette::Highlight);
    markGround.setAlphaF(selected ? 0.0f : 0.22f);
    markFormat.setBackground(markGround);

    const QFont font = painter->font();
    const QFontMetrics metrics(font);
    const QString ellipsis = QStringLiteral("…");
    QString excerpt = text;
    QList<QPoint> shifted = marks;
    // The first mark must be in sight: when it would end past the row, the
    // excerpt starts later, behind an ellipsis.
    if (!marks.isEmpty()) {
        const int room = rect.width() - metrics.horizontalAdvance(prefix);
        const QPoint first = marks.first();
        const int markEnd = metrics.horizontalAdvance(text.left(first.x() + first.y()));
        if (markEnd > room * 4 / 5) {
            int cut = first.x();
            while (
                cut > 0 && metrics.horizontalAdvance(text.mid(cut - 1, first.x() + first.y() - cut + 1)) < room * 3 / 5)
                --cut;
            if (cut > 0 && text.at(cut).isLowSurrogate())
                --cut;
            if (cut > 0) {
                excerpt = ellipsis + text.mid(cut);
                shifted.clear();
                for (const QPoint& mark : marks) {
                    const int start = qMax(mark.x(), cut);
                    const int end = mark.x() + mark.y();
                    if (end > start)
                        shifted.append(QPoint(start - cut + int(ellipsis.size()), end - start));
                }
            }
        }
    }

    QString line = prefix + excerpt;
    QList<QTextLayout::FormatRange> ranges { { 0, int(prefix.size()), prefixFormat } };
    for (const QPoint& mark : shifted)
        ranges.append({ int(prefix.size()) + mark.x(), mark.y(), markFormat });

    QTextLayout layout(line, font);
    layoutLine(layout, line, ranges);
    // Too long for the row: cut where it leaves the row and end with an ellipsis.
    if (layout.lineCount() && layout.lineAt(0).naturalTextWidth() > rect.width()) {
        const int room = rect.width() - metrics.horizontalAdvance(ellipsis);
        int cut = layout.lineAt(0).xToCursor(qMax(0, room), QTextLine::CursorOnCharacter);
        if (cut > 0 && line.at(cut - 1).isHighSurrogate())
            --cut;
        line = line.left(cut) + ellipsis;
        QList<QTextLayout::FormatRange> clipped;
        for (QTextLayout::FormatRange range : ranges) {
            range.length = qMin(range.start + range.length, cut) - range.start;
            if (range.length > 0)
                clipped.append(range);
        }
        layoutLine(layout, line, clipped);
    }
    painter->setPen(selected ? palette.color(QPalette::HighlightedText) : palette.color(QPalette::Text));
    painter->setClipRect(rect);
    const qreal y = rect.top() + (rect.height() - (layout.lineCount() ? layout.lineAt(0).height() : 0)) / 2;
    layout.draw(painter, QPointF(rect.left(), y));
}
