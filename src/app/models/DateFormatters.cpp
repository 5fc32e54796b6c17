#include "app/models/DateFormatters.h"

#include <QLocale>
#include <QRegularExpression>

QString DateFormatters::mediumDateFormat()
{
    QString format = QLocale().dateFormat(QLocale::LongFormat);
    // The weekday and whatever separates it from the date go.
    static const QRegularExpression weekday(QStringLiteral("d{4}[,.]?\\s*"));
    format.remove(weekday);
    format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return format.trimmed();
}

QString DateFormatters::mediumDate(const Value& date)
{
    if (date.kind() != Value::Kind::Date)
        return {};
    return QLocale().toString(Clock::toDateTime(date.toDate()).toLocalTime().date(), mediumDateFormat());
}

QString DateFormatters::shortDate(const Value& date)
{
    if (date.kind() != Value::Kind::Date)
        return {};
    return QLocale().toString(Clock::toDateTime(date.toDate()).toLocalTime().date(), QLocale::ShortFormat);
}
