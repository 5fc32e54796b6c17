#pragma once

#include <functional>

#include "report/PrinterAttributedString.h"
#include "report/PrinterView.h"

#include <QColor>
#include <QSizeF>
#include <memory>

class QTextDocument;

/// A block of styled text on a report page; it can fill in variable tags such
/// as "<pageNumber/>". The text is laid out at the view's width with 72-dpi
/// metrics, so what is measured is what is drawn. A view can also show only a
/// horizontal slice of its text (from contentOffset() down), which is how a
/// block taller than a page continues on the next one.
class PrinterTextView : public PrinterView
{
public:
    /// Space kept between the text and the view's left and right sides, as a
    /// rich-text view keeps it.
    static constexpr double linePadding = 5.0;
    /// Distance between default tab stops in points.
    static constexpr double defaultTabInterval = 28.0;
    /// Upper bound of replacements in one replaceText() call, so that
    /// pathological values can never keep it busy.
    static constexpr int maximumReplacements = 100000;

    explicit PrinterTextView(const QRectF& frame = QRectF());
    ~PrinterTextView() override;

    const PrinterAttributedString& attributedString() const { return m_text; }
    void setAttributedString(const PrinterAttributedString& text);
    QString string() const { return m_text.string(); }

    /// Inset of the text inside the view (horizontal, vertical).
    QSizeF textContainerInset() const { return m_inset; }
    void setTextContainerInset(const QSizeF& inset);

    /// Fills the view; an invalid colour leaves it transparent.
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(const QColor& color) { m_backgroundColor = color; }

    /// Height of the laid-out text in points (without insets).
    double usedHeight() const;

    /// Where the view's visible text starts, measured from the top of the laid-out text.
    double contentOffset() const { return m_contentOffset; }
    void setContentOffset(double offset) { m_contentOffset = offset; }

    /// The bottom of the last text line that ends at or above `limit` and below
    /// contentOffset() (both in text coordinates), or -1 when no line does.
    double lineBoundaryAtOrAbove(double limit) const;

    /// Fills in every variable whose value is a QString or PrinterAttributedString
    /// at the tag "<name/>"; stops as soon as the text holds no "<" at all.
    void substituteVariables(const QVariantHash& variables) override;

    /// Replaces every occurrence of the tag (found case-insensitively) by the
    /// value. A plain value takes the attributes of the replaced characters; an
    /// attributed value takes the colour, face and size (keeping its own bold and
    /// italic), paragraph style and letter spacing found at the tag. A value that
    /// holds the tag itself puts "Error: Recursion" in the tag's place and stops.
    void replaceText(const QString& tag, const QString& value);
    void replaceText(const QString& tag, const PrinterAttributedString& value);

protected:
    std::unique_ptr<PrinterView> copyWithoutSubviews() const override;
    void draw(QPainter* painter) const override;
    void releaseOwnCaches() override;

private:
    /// Replaces every occurrence of tag (any case) through replaceAt; a value
    /// that holds its own tag is replaced once by the recursion text instead.
    void replaceTag(const QString& tag, bool valueHoldsTag, const std::function<void(qsizetype)>& replaceAt);
    QTextDocument* document() const;
    double textWidth() const;
    void invalidateLayout();

    PrinterAttributedString m_text;
    QSizeF m_inset;
    QColor m_backgroundColor;
    double m_contentOffset = 0;
    mutable std::unique_ptr<QTextDocument> m_document;
    mutable double m_layoutWidth = -1;
};
