#include "output/ReportStyle.h"

#include "model/Value.h"
#include "report/PrinterDocument.h"
#include "report/PrinterFont.h"
#include "report/PrinterTextView.h"
#include "text/KVLocalizationDictionary.h"

#include <QRegularExpression>

QColor ReportStyle::darkGray()
{
    return QColor::fromRgbF(1.0f / 3, 1.0f / 3, 1.0f / 3);
}

QColor ReportStyle::gray()
{
    return QColor::fromRgbF(0.5f, 0.5f, 0.5f);
}

QColor ReportStyle::lightGray()
{
    return QColor::fromRgbF(2.0f / 3, 2.0f / 3, 2.0f / 3);
}

QString ReportStyle::mediumDateFormat(const QLocale& locale)
{
    QString format = locale.dateFormat(QLocale::LongFormat);
    // The weekday and its separator go; the full month name becomes the abbreviated one.
    static const QRegularExpression weekday(QStringLiteral("d{4}[,.]?\\s*"));
    format.remove(weekday);
    static const QRegularExpression fullMonth(QStringLiteral("M{4}"));
    format.replace(fullMonth, QStringLiteral("MMM"));
    format = format.trimmed();
    return format.isEmpty() ? locale.dateFormat(QLocale::ShortFormat) : format;
}

QString ReportStyle::mediumDate(ReferenceTime time)
{
    return mediumDate(Clock::toDateTime(time).date());
}

QString ReportStyle::mediumDate(const QDate& date)
{
    const QLocale locale;
    return locale.toString(date, mediumDateFormat(locale));
}

QString ReportStyle::mediumDate(const Value& date)
{
    return date.kind() == Value::Kind::Date ? mediumDate(date.toDate()) : QString();
}

QString ReportStyle::shortDate(const QDate& date)
{
    return QLocale().toString(date, QLocale::ShortFormat);
}

void ReportStyle::DateSpan::include(const Value& date)
{
    if (date.kind() != Value::Kind::Date)
        return;
    const ReferenceTime time = date.toDate();
    if (!m_earliest || time < *m_earliest)
        m_earliest = time;
    if (!m_latest || time > *m_latest)
        m_latest = time;
}

QString ReportStyle::DateSpan::text() const
{
    return QStringLiteral("%1 - %2").arg(m_earliest ? mediumDate(*m_earliest) : QString(), m_latest ? mediumDate(*m_latest) : QString());
}

std::shared_ptr<PrinterItem> ReportStyle::textItem(const QString& text, const QTextCharFormat& format, double left, double top)
{
    auto item = std::make_shared<PrinterItem>(PrinterAttributedString(text, format));
    item->setLeftMargin(left);
    item->setRightMargin(40);
    item->setTopMargin(top);
    return item;
}

std::unique_ptr<PrinterTextView> ReportStyle::footer(const QTextCharFormat& creditFormat, const QString& pageLine,
    const QTextCharFormat& pageLineFormat)
{
    PrinterAttributedString line(localizedString(QStringLiteral("CEATED_WITH_APPNAME")), creditFormat);
    // Two line breaks in a 1-point face: a small gap rather than two empty lines.
    const QTextCharFormat gap = PrinterFont::format(PrinterFont::systemFont(1));
    line.append(QStringLiteral("\n"), gap);
    line.append(QStringLiteral("\n"), gap);
    line.append(pageLine, pageLineFormat);
    auto view = std::make_unique<PrinterTextView>(QRectF(72, 0, 554, 40));
    view->setAttributedString(line);
    return view;
}

QByteArray ReportStyle::pdf(const PrinterItemList& items, std::unique_ptr<PrinterTextView> footer, int* pageCount)
{
    PrinterDocument report(items, 0);
    report.setTopMargin(72);
    report.setBottomMargin(60);
    report.setFooterView(std::move(footer));
    const QByteArray bytes = report.plainPDFDocument();
    if (pageCount)
        *pageCount = int(report.pages().size());
    return bytes;
}
