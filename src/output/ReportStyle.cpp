#include "output/ReportStyle.h"

#include "model/Value.h"

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
