#pragma once

#include "model/Clock.h"
#include "report/PrinterItem.h"

#include <QColor>
#include <QLocale>
#include <QString>
#include <QTextCharFormat>

#include <memory>
#include <optional>

class PrinterTextView;
class Value;

/// What the archive's own reports share: the grey tones of their texts and
/// the medium date style (abbreviated month name, no weekday) of the user's
/// locale, which QLocale does not offer by itself.
class ReportStyle
{
public:
    /// One third white: descriptions.
    static QColor darkGray();
    /// Half white: totals, the period and state lines, report footers.
    static QColor gray();
    /// Two thirds white: the export summary's footer.
    static QColor lightGray();

    /// The date format of the medium style of a locale, derived from its long
    /// style: "MMM d, yyyy" in English, "d. MMM yyyy" in German.
    static QString mediumDateFormat(const QLocale& locale = QLocale());
    /// A moment in the medium style of the current locale (date only).
    static QString mediumDate(ReferenceTime time);
    static QString mediumDate(const QDate& date);
    /// The medium-style date of a date value; "" for anything else.
    static QString mediumDate(const Value& date);
    /// Today in the short date style of the current locale.
    static QString shortDate(const QDate& date);

    /// The earliest and latest of a set of dates, written "first - last".
    class DateSpan
    {
    public:
        /// Takes a date value into the span; other values take no part.
        void include(const Value& date);
        QString text() const;

    private:
        std::optional<ReferenceTime> m_earliest;
        std::optional<ReferenceTime> m_latest;
    };

    /// A block of text in the given format, 40 points clear of the right edge.
    static std::shared_ptr<PrinterItem> textItem(const QString& text, const QTextCharFormat& format, double left, double top = 0);
    /// The footer of every report page: the credit line, a small gap, then
    /// @p pageLine, in which "<pageNumber/>" and "<pageCount/>" are filled in.
    static std::unique_ptr<PrinterTextView> footer(const QTextCharFormat& creditFormat, const QString& pageLine,
        const QTextCharFormat& pageLineFormat);
    /// Lays the items out on A4 pages with the reports' margins and footer.
    static QByteArray pdf(const PrinterItemList& items, std::unique_ptr<PrinterTextView> footer, int* pageCount);
};
