#include "text/StringHelpers.h"

#include "text/KVLocalizationDictionary.h"

#include <QByteArray>
#include <QChar>
#include <QStringDecoder>
#include <QTime>

namespace {

// Letters, marks and numbers of every script, so umlauts, accents and combining marks stay.
bool isLetterOrDigit(char32_t codePoint)
{
    switch (QChar::category(codePoint)) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Lowercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Modifier:
    case QChar::Letter_Other:
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Number_DecimalDigit:
    case QChar::Number_Letter:
    case QChar::Number_Other:
        return true;
    default:
        return false;
    }
}

// Walks code points, so characters outside the basic plane are judged (and kept) whole.
template<typename Keep> QString keepOnly(const QString& text, Keep keep)
{
    QString result;
    result.reserve(text.size());
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size;) {
        char32_t codePoint = text.at(i).unicode();
        qsizetype length = 1;
        if (QChar::isHighSurrogate(codePoint) && i + 1 < size && text.at(i + 1).isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
            length = 2;
        }
        if (keep(codePoint))
            result.append(QStringView(text).mid(i, length));
        i += length;
    }
    return result;
}

// The first @p count code points of @p text.
QString leftCodePoints(const QString& text, qsizetype count)
{
    qsizetype i = 0;
    for (qsizetype taken = 0; taken < count && i < text.size(); ++taken)
        i += (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) ? 2 : 1;
    return text.left(i);
}

int hexValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    return -1;
}

} // namespace

QString nonNilString(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QString csvString(const QString& text)
{
    return nonNilString(keepOnly(text, [](char32_t c) {
        return isLetterOrDigit(c) || (c <= 0xFFFF && csvShorteningCharacters.contains(QChar(char16_t(c))));
    }));
}

QString csvStringIsShortened(const QString& text, bool shorten, int index)
{
    const QString cleaned = csvString(text);
    const QList<uint> codePoints = cleaned.toUcs4();
    if (!shorten || codePoints.size() <= qsizetype(index) + 1)
        return cleaned;

    qsizetype capitals = 0;
    for (const uint c : codePoints) {
        const QChar::Category category = QChar::category(char32_t(c));
        if (category == QChar::Letter_Uppercase || category == QChar::Letter_Titlecase)
            ++capitals;
    }
    // Capitals are wider, so a capital-heavy text is cut shorter to fit the same column.
    qsizetype keep = index;
    if (capitals >= 11)
        keep = index < 26 ? 10 : index - 25;
    return leftCodePoints(cleaned, qMax<qsizetype>(keep, 0))
        + localizedString(QStringLiteral("PRINTOUT_LOCALIZED_ELLIPSES"));
}

QString allowedPathString(const QString& text)
{
    return nonNilString(keepOnly(
        text, [](char32_t c) { return isLetterOrDigit(c) || c == U'.' || c == U'-' || c == U'_' || c == U' '; }));
}

QString extensionUPPERCASEString(const QString& extension)
{
    QString result = extension;
    if (result.size() >= 6)
        result = result.left(3) + localizedString(QStringLiteral("PRINTOUT_LOCALIZED_ELLIPSES"));
    return result.toUpper();
}

QString URLDecodedString(const QString& text)
{
    if (text.isNull())
        return {};
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('%')) {
            const qsizetype start = i;
            while (i + 1 < text.size() && text.at(i + 1) != QLatin1Char('%'))
                ++i;
            bytes += QStringView(text).mid(start, i - start + 1).toUtf8();
            continue;
        }
        if (i + 2 >= text.size())
            return {};
        const int high = hexValue(text.at(i + 1));
        const int low = hexValue(text.at(i + 2));
        if (high < 0 || low < 0)
            return {};
        bytes += char(high * 16 + low);
        i += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(bytes);
    if (decoder.hasError())
        return {};
    return nonNilString(decoded);
}

QString boolStringValue(bool value)
{
    return localizedString(value ? QStringLiteral("BOOL_STRING_TRUE") : QStringLiteral("BOOL_STRING_FALSE"));
}

QString boolStringValueInverted(bool value)
{
    return boolStringValue(!value);
}

QDateTime dayStart(const QDateTime& date)
{
    if (!date.isValid())
        return {};
    return QDateTime(date.toLocalTime().date(), QTime(0, 0, 0), Qt::LocalTime);
}

QDateTime dayEnd(const QDateTime& date)
{
    if (!date.isValid())
        return {};
    return QDateTime(date.toLocalTime().date(), QTime(23, 59, 59), Qt::LocalTime);
}

const QCalendar& currentCalendar()
{
    static const QCalendar calendar;
    return calendar;
}
