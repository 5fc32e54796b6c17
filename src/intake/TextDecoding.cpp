#include "intake/TextDecoding.h"

#include <QStringDecoder>
#include <array>
#include <memory>
#include <uchardet/uchardet.h>

namespace {

// 0x80..0x9F of Windows-1252; zero marks the five undefined positions.
// clang-format off
constexpr std::array<char16_t, 32> kWindows1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};
// clang-format on

// The detector only needs a sample; feeding whole large files costs time for nothing.
constexpr qsizetype kDetectorSample = 64 * 1024;

bool decodeStrict(QStringDecoder& decoder, QByteArrayView bytes, QString* text)
{
    if (!decoder.isValid())
        return false;
    QString decoded = decoder.decode(bytes);
    // A lone surrogate at the very end is not reported as an error by the decoder.
    if (decoder.hasError() || !QStringView(decoded).isValidUtf16())
        return false;
    *text = std::move(decoded);
    return true;
}

// Junk that some single-byte code page happens to accept is still no text:
// real text files hold no NUL and only few other C0 controls.
bool looksLikeText(const QString& text)
{
    qsizetype controls = 0;
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u == 0)
            return false;
        if (u < 0x20 && u != '\t' && u != '\n' && u != '\r' && u != '\f' && u != '\v' && u != 0x1B)
            ++controls;
    }
    return controls * 100 <= text.size();
}

} // namespace

QString TextDecoding::decodeWindows1252(const char* bytes, qsizetype size)
{
    QString text(size, Qt::Uninitialized);
    QChar* out = text.data();
    for (qsizetype i = 0; i < size; ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        char16_t u = b;
        if (b >= 0x80 && b <= 0x9F && kWindows1252High[b - 0x80] != 0)
            u = kWindows1252High[b - 0x80];
        out[i] = QChar(u);
    }
    return text;
}

bool TextDecoding::decodeWithCodec(const QByteArray& bytes, const QByteArray& name, QString* text)
{
    if (name.isEmpty())
        return false;
    const QByteArray lower = name.toLower();
    if (lower == "windows-1252" || lower == "cp1252") {
        *text = decodeWindows1252(bytes.constData(), bytes.size());
        return true;
    }
    QStringDecoder decoder(name.constData(), QStringConverter::Flag::Stateless);
    return decodeStrict(decoder, bytes, text);
}

QByteArray TextDecoding::codecNameForCodePage(int codePage)
{
    switch (codePage) {
    case 874:
        return "windows-874";
    case 932:
        return "Shift_JIS";
    case 936:
        return "GBK";
    case 949:
        return "windows-949";
    case 950:
        return "Big5";
    case 437:
        return "IBM437";
    case 850:
        return "IBM850";
    case 866:
        return "IBM866";
    case 10000:
        return "macintosh";
    case 20127:
        return "US-ASCII";
    case 28591:
        return "ISO-8859-1";
    case 65001:
        return "UTF-8";
    default:
        break;
    }
    if (codePage >= 1250 && codePage <= 1258)
        return "windows-" + QByteArray::number(codePage);
    return {};
}

QByteArray TextDecoding::guessCharset(const QByteArray& bytes)
{
    std::unique_ptr<std::remove_pointer_t<uchardet_t>, decltype(&uchardet_delete)> detector(
        uchardet_new(), &uchardet_delete);
    if (!detector)
        return {};
    const qsizetype sample = std::min(bytes.size(), kDetectorSample);
    if (uchardet_handle_data(detector.get(), bytes.constData(), size_t(sample)) != 0)
        return {};
    uchardet_data_end(detector.get());
    const char* name = uchardet_get_charset(detector.get());
    return name ? QByteArray(name) : QByteArray();
}

bool TextDecoding::decodeDetected(const QByteArray& bytes, QString* text, QString* error)
{
    if (bytes.isEmpty()) {
        text->clear();
        return true;
    }

    // A byte-order mark decides; UTF-32 LE is tested before UTF-16 LE, whose mark it begins with.
    struct Mark
    {
        QByteArrayView bytes;
        QStringConverter::Encoding encoding;
    };
    static const Mark marks[] = {
        { QByteArrayView("\xEF\xBB\xBF", 3), QStringConverter::Utf8 },
        { QByteArrayView("\xFF\xFE\x00\x00", 4), QStringConverter::Utf32LE },
        { QByteArrayView("\x00\x00\xFE\xFF", 4), QStringConverter::Utf32BE },
        { QByteArrayView("\xFF\xFE", 2), QStringConverter::Utf16LE },
        { QByteArrayView("\xFE\xFF", 2), QStringConverter::Utf16BE },
    };
    for (const Mark& mark : marks) {
        if (!QByteArrayView(bytes).startsWith(mark.bytes))
            continue;
        QStringDecoder decoder(mark.encoding, QStringConverter::Flag::Stateless);
        if (decodeStrict(decoder, QByteArrayView(bytes).sliced(mark.bytes.size()), text))
            return true;
        *error = QStringLiteral("The text has a byte-order mark but is not valid in its encoding.");
        return false;
    }

    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    QString decoded;
    if (decodeStrict(utf8, bytes, &decoded) && looksLikeText(decoded)) {
        *text = std::move(decoded);
        return true;
    }

    const QByteArray guess = guessCharset(bytes);
    if (!guess.isEmpty() && decodeWithCodec(bytes, guess, &decoded) && looksLikeText(decoded)) {
        *text = std::move(decoded);
        return true;
    }
    *error = QStringLiteral("The text encoding of the contents can’t be determined.");
    return false;
}
