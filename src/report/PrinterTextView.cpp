#include "report/PrinterTextView.h"

#include "report/PrinterFont.h"
#include "report/PrinterMetricsDevice.h"
#include "text/Logging.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

namespace {

const QString recursionText = QStringLiteral("Error: Recursion");

bool hasFont(const QTextCharFormat& format)
{
    return format.hasProperty(QTextFormat::FontFamilies) || format.hasProperty(QTextFormat::FontPointSize)
        || format.hasProperty(QTextFormat::FontPixelSize);
}

/// Gives the value's runs the look of the text they replace, as described at replaceText().
void adoptTemplate(
    PrinterAttributedString& value, const QTextCharFormat& templateFormat, const QTextBlockFormat& templateParagraph)
{
    const bool templateHasFont = hasFont(templateFormat);
    const QFont templateFont = templateFormat.font();
    value.forEachRun([&](PrinterAttributedString::Run& run) {
        if (templateFormat.hasProperty(QTextFormat::ForegroundBrush))
            run.format.setForeground(templateFormat.foreground());
        if (templateHasFont) {
            // The template's face and size, with the run's bold and italic added.
            QFont font = templateFont;
            if (run.format.fontWeight() >= QFont::DemiBold && font.weight() < QFont::Bold)
                font.setWeight(QFont::Bold);
            if (run.format.fontItalic())
                font.setItalic(true);
            run.format.setFont(font, QTextCharFormat::FontPropertiesAll);
        }
        if (templateParagraph.propertyCount() > 0)
            run.paragraphStyle = templateParagraph;
        for (int property : { int(QTextFormat::FontLetterSpacing), int(QTextFormat::FontLetterSpacingType),
                 int(QTextFormat::FontKerning) }) {
            if (templateFormat.hasProperty(property))
                run.format.setProperty(property, templateFormat.property(property));
        }
    });
}

} // namespace

PrinterTextView::PrinterTextView(const QRectF& frame)
    : PrinterView(frame)
{
}

PrinterTextView::~PrinterTextView() = default;

void PrinterTextView::setAttributedString(const PrinterAttributedString& text)
{
    m_text = text;
    invalidateLayout();
}

void PrinterTextView::setTextContainerInset(const QSizeF& inset)
{
    m_inset = inset;
    invalidateLayout();
}

void PrinterTextView::invalidateLayout()
{
    m_document.reset();
    m_layoutWidth = -1;
}

void PrinterTextView::releaseOwnCaches()
{
    invalidateLayout();
}

double PrinterTextView::textWidth() const
{
    return qMax(1.0, frame().width() - 2 * m_inset.width() - 2 * linePadding);
}

QTextDocument* PrinterTextView::document() const
{
    const double width = textWidth();
    if (m_document && m_layoutWidth == width)
        return m_document.get();
    PrinterFont::installSubstitutions();
    m_document = std::make_unique<QTextDocument>();
    QTextDocument* document = m_document.get();
    document->setUndoRedoEnabled(false);
    document->setDocumentMargin(0);
    document->setUseDesignMetrics(true);
    document->setDefaultFont(PrinterFont::defaultFont());
    QTextOption option = document->defaultTextOption();
    option.setTabStopDistance(defaultTabInterval);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document->setDefaultTextOption(option);
    document->documentLayout()->setPaintDevice(PrinterMetricsDevice::instance());
    document->setTextWidth(width);
    QTextCursor cursor(document);
    // One edit block: the layout hears of the change once, not once per run and line.
    cursor.beginEditBlock();
    m_text.insertInto(cursor);
    // Keep each line's shaped glyphs, so drawing does not shape the text again.
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        block.layout()->setCacheEnabled(true);
    cursor.endEditBlock();
    m_layoutWidth = width;
    return document;
}

double PrinterTextView::usedHeight() const
{
    return document()->documentLayout()->documentSize().height();
}

double PrinterTextView::lineBoundaryAtOrAbove(double limit) const
{
    QTextDocument* document = this->document();
    QAbstractTextDocumentLayout* layout = document->documentLayout();
    double best = -1;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const QRectF blockRect = layout->blockBoundingRect(block);
        if (blockRect.top() > limit)
            break;
        const QTextLayout* textLayout = block.layout();
        for (int i = 0; i < textLayout->lineCount(); ++i) {
            const QTextLine line = textLayout->lineAt(i);
            const double bottom = blockRect.top() + line.y() + line.height();
            if (bottom > limit)
                return best;
            if (bottom > m_contentOffset)
                best = bottom;
        }
    }
    return best;
}

void PrinterTextView::substituteVariables(const QVariantHash& variables)
{
    for (auto it = variables.cbegin(); it != variables.cend(); ++it) {
        if (!m_text.string().contains(u'<'))
            return;
        const QString tag = u'<' + it.key() + QLatin1String("/>");
        if (it.value().metaType() == QMetaType::fromType<QString>())
            replaceText(tag, it.value().toString());
        else if (it.value().metaType() == QMetaType::fromType<PrinterAttributedString>())
            replaceText(tag, it.value().value<PrinterAttributedString>());
    }
}

void PrinterTextView::replaceTag(
    const QString& tag, bool valueHoldsTag, const std::function<void(qsizetype)>& replaceAt)
{
    if (tag.isEmpty())
        return;
    for (int count = 0;; ++count) {
        const qsizetype index = m_text.string().indexOf(tag, 0, Qt::CaseInsensitive);
        if (index < 0)
            break;
        if (valueHoldsTag) {
            m_text.replace(index, tag.size(), recursionText);
            break;
        }
        if (count == maximumReplacements) {
            qCWarning(lcQuillarc) << "Report text: gave up replacing" << tag << "after" << count << "replacements";
            break;
        }
        replaceAt(index);
    }
    invalidateLayout();
}

void PrinterTextView::replaceText(const QString& tag, const QString& value)
{
    replaceTag(tag, value.contains(tag, Qt::CaseInsensitive),
        [&](qsizetype index) { m_text.replace(index, tag.size(), value); });
}

void PrinterTextView::replaceText(const QString& tag, const PrinterAttributedString& value)
{
    replaceTag(tag, value.string().contains(tag, Qt::CaseInsensitive), [&](qsizetype index) {
        PrinterAttributedString styled = value;
        adoptTemplate(styled, m_text.formatAt(index), m_text.paragraphStyleAt(index));
        m_text.replace(index, tag.size(), styled);
    });
}

std::unique_ptr<PrinterView> PrinterTextView::copyWithoutSubviews() const
{
    auto copy = std::make_unique<PrinterTextView>(frame());
    copy->m_text = m_text;
    copy->m_inset = m_inset;
    copy->m_backgroundColor = m_backgroundColor;
    copy->m_contentOffset = m_contentOffset;
    return copy;
}

void PrinterTextView::draw(QPainter* painter) const
{
    const QRectF bounds(QPointF(0, 0), frame().size());
    if (m_backgroundColor.isValid() && m_backgroundColor.alpha() > 0)
        painter->fillRect(bounds, m_backgroundColor);
    if (m_text.isEmpty())
        return;
    painter->save();
    painter->setClipRect(bounds, Qt::IntersectClip);
    painter->translate(m_inset.width() + linePadding, m_inset.height() - m_contentOffset);
    painter->setPen(Qt::black);
    // Only lines inside the visible slice are drawn: a line that merely touches
    // it belongs to the neighbouring page, and drawing it clipped would still put
    // its text into this page's PDF content.
    constexpr double hair = 0.01;
    const double top = m_contentOffset - m_inset.height() + hair;
    const double bottom = m_contentOffset - m_inset.height() + bounds.height() - hair;
    QTextDocument* document = this->document();
    QAbstractTextDocumentLayout* layout = document->documentLayout();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const QRectF blockRect = layout->blockBoundingRect(block);
        if (blockRect.top() >= bottom)
            break;
        if (blockRect.bottom() <= top)
            continue;
        if (block.blockFormat().hasProperty(QTextFormat::BackgroundBrush))
            painter->fillRect(blockRect, block.blockFormat().background());
        const QTextLayout* textLayout = block.layout();
        for (int i = 0; i < textLayout->lineCount(); ++i) {
            const QTextLine line = textLayout->lineAt(i);
            const double lineTop = blockRect.top() + line.y();
            if (lineTop + line.height() <= top || lineTop >= bottom)
                continue;
            line.draw(painter, blockRect.topLeft());
        }
    }
    painter->restore();
}
