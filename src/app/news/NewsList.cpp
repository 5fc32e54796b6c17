#include "app/news/NewsList.h"

#include "store/BinaryPlistReader.h"
#include "store/XmlPlistReader.h"

#include <cmath>
#include <limits>

namespace {
bool fail(QString* error, const QString& message)
{
    if (error)
        *error = message;
    return false;
}

qint64 integerOf(const BinaryPlistReader& reader, const BinaryPlistReader::Object& value)
{
    using Type = BinaryPlistReader::Type;
    switch (value.type) {
    case Type::Integer:
        return reader.integerValue(value);
    case Type::Bool:
        return value.boolean ? 1 : 0;
    case Type::Real: {
        const double real = reader.realValue(value);
        if (std::isnan(real))
            return 0;
        // Outside the range a conversion would be undefined: clamp instead.
        if (real >= 9.2233720368547758e18)
            return std::numeric_limits<qint64>::max();
        if (real <= -9.2233720368547758e18)
            return std::numeric_limits<qint64>::min();
        return qint64(real);
    }
    case Type::AsciiString:
    case Type::Utf8String:
    case Type::Utf16String:
        return NewsList::leadingInteger(reader.stringValue(value));
    default:
        return 0;
    }
}
} // namespace

bool NewsList::readNewsUpdateNumber(const QByteArray& bytes, qint64* number, QString* error)
{
    *number = 0;
    QByteArray binary = bytes;
    if (XmlPlistReader::looksLikeXml(bytes) && !XmlPlistReader::toBinary(bytes, &binary, error))
        return false;

    BinaryPlistReader reader;
    if (!reader.open(binary))
        return fail(error, reader.errorString());
    BinaryPlistReader::Object root;
    if (!reader.object(reader.topObject(), &root))
        return fail(error, reader.errorString());
    if (root.type != BinaryPlistReader::Type::Dictionary)
        return fail(error, QStringLiteral("the news list is not a dictionary"));

    const QString wanted = QString::fromLatin1(numberKey);
    for (quint64 i = 0; i < root.count; ++i) {
        BinaryPlistReader::Object key;
        if (!reader.object(reader.ref(root, i), &key))
            return fail(error, reader.errorString());
        if (!BinaryPlistReader::isString(key.type) || reader.stringValue(key) != wanted)
            continue;
        BinaryPlistReader::Object value;
        if (!reader.object(reader.ref(root, root.count + i), &value))
            return fail(error, reader.errorString());
        // A key written twice keeps its last value, as a dictionary built from the list would.
        *number = integerOf(reader, value);
    }
    return true;
}

qint64 NewsList::leadingInteger(const QString& text)
{
    qsizetype at = 0;
    while (at < text.size() && text.at(at).isSpace())
        ++at;
    bool negative = false;
    if (at < text.size() && (text.at(at) == QLatin1Char('-') || text.at(at) == QLatin1Char('+')))
        negative = text.at(at++) == QLatin1Char('-');
    quint64 magnitude = 0;
    const quint64 limit
        = negative ? quint64(std::numeric_limits<qint64>::max()) + 1 : quint64(std::numeric_limits<qint64>::max());
    for (; at < text.size(); ++at) {
        const QChar c = text.at(at);
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            break;
        const quint64 digit = quint64(c.unicode() - '0');
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    if (negative)
        return magnitude == limit ? std::numeric_limits<qint64>::min() : -qint64(magnitude);
    return qint64(magnitude);
}
