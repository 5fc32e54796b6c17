#include "output/TextFolding.h"

#include <QChar>
#include <QList>

namespace {

bool isHangulSyllable(char32_t code)
{
    return code >= 0xAC00 && code <= 0xD7A3;
}

bool isDroppedMark(char32_t code)
{
    const QChar::Category category = QChar::category(code);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

/// Emits the case-folded form of one code point that is not a mark.
template<typename Sink> void emitFolded(char32_t code, Sink& sink)
{
    if (code == 0x00DF || code == 0x1E9E) { // full folding of the sharp s
        sink('s');
        sink('s');
        return;
    }
    sink(QChar::toCaseFolded(code));
}

/// Decomposes (compatibility decomposition, applied until nothing changes),
/// drops marks and folds case; the fast path covers ASCII.
template<typename Sink> void decomposeAndFold(char32_t code, Sink& sink, int depth = 0)
{
    if (code < 0x80) {
        sink(code >= 'A' && code <= 'Z' ? code + 32 : code);
        return;
    }
    if (!isHangulSyllable(code) && depth < 8) {
        const QString decomposition = QChar::decomposition(code);
        if (!decomposition.isEmpty()) {
            for (const char32_t part : decomposition.toUcs4())
                decomposeAndFold(part, sink, depth + 1);
            return;
        }
    }
    if (isDroppedMark(code))
        return;
    emitFolded(code, sink);
}

/// Folds @p text into @p sink; @p onSource is told the index of each
/// character (code point) before its folded units are emitted.
template<typename Sink, typename Source> void foldText(QStringView text, Sink& sink, Source onSource)
{
    const qsizetype size = text.size();
    const char16_t* data = text.utf16();
    for (qsizetype i = 0; i < size; ++i) {
        onSource(i);
        char32_t code = data[i];
        if (code < 0x80) {
            sink(code >= 'A' && code <= 'Z' ? code + 32 : code);
            continue;
        }
        if (QChar::isHighSurrogate(code) && i + 1 < size && QChar::isLowSurrogate(data[i + 1])) {
            code = QChar::surrogateToUcs4(char16_t(code), data[i + 1]);
            ++i;
        } else if (QChar::isSurrogate(code)) {
            code = 0xFFFD;
        }
        decomposeAndFold(code, sink);
    }
}

template<typename Sink> void foldText(QStringView text, Sink& sink)
{
    foldText(text, sink, [](qsizetype) {});
}

void appendUtf8(char32_t code, std::string& out)
{
    if (code < 0x80) {
        out.push_back(char(code));
    } else if (code < 0x800) {
        out.push_back(char(0xC0 | (code >> 6)));
        out.push_back(char(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(char(0xE0 | (code >> 12)));
        out.push_back(char(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(char(0x80 | (code & 0x3F)));
    } else {
        out.push_back(char(0xF0 | (code >> 18)));
        out.push_back(char(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(char(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(char(0x80 | (code & 0x3F)));
    }
}

} // namespace

QString TextFolding::fold(QStringView text)
{
    QString result;
    result.reserve(text.size());
    auto sink = [&result](char32_t code) {
        if (QChar::requiresSurrogates(code)) {
            result.append(QChar(QChar::highSurrogate(code)));
            result.append(QChar(QChar::lowSurrogate(code)));
        } else {
            result.append(QChar(char16_t(code)));
        }
    };
    foldText(text, sink);
    return result;
}

QString TextFolding::foldMapped(QStringView text, std::vector<qsizetype>& sourceIndexes)
{
    QString result;
    result.reserve(text.size());
    sourceIndexes.clear();
    sourceIndexes.reserve(size_t(text.size()));
    qsizetype source = 0;
    auto sink = [&](char32_t code) {
        if (QChar::requiresSurrogates(code)) {
            result.append(QChar(QChar::highSurrogate(code)));
            result.append(QChar(QChar::lowSurrogate(code)));
            sourceIndexes.push_back(source);
            sourceIndexes.push_back(source);
        } else {
            result.append(QChar(char16_t(code)));
            sourceIndexes.push_back(source);
        }
    };
    foldText(text, sink, [&source](qsizetype index) { source = index; });
    return result;
}

void TextFolding::appendFoldedUtf8(QStringView text, std::string& out)
{
    auto sink = [&out](char32_t code) { appendUtf8(code, out); };
    foldText(text, sink);
}

std::string TextFolding::foldedUtf8(QStringView text)
{
    std::string out;
    out.reserve(size_t(text.size()));
    appendFoldedUtf8(text, out);
    return out;
}

bool TextFolding::containsCD(const QString& haystack, const QString& needle)
{
    if (haystack.isNull())
        return false;
    const QString foldedNeedle = fold(needle);
    return !foldedNeedle.isEmpty() && fold(haystack).contains(foldedNeedle);
}

bool TextFolding::beginsWithCD(const QString& text, const QString& prefix)
{
    if (text.isNull())
        return false;
    const QString foldedPrefix = fold(prefix);
    return !foldedPrefix.isEmpty() && fold(text).startsWith(foldedPrefix);
}

QString TextFolding::foldCase(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (const char32_t code : text.toUcs4()) {
        if (code == 0x00DF || code == 0x1E9E) {
            result.append(QLatin1String("ss"));
            continue;
        }
        const char32_t folded = QChar::toCaseFolded(code);
        if (QChar::requiresSurrogates(folded)) {
            result.append(QChar(QChar::highSurrogate(folded)));
            result.append(QChar(QChar::lowSurrogate(folded)));
        } else {
            result.append(QChar(char16_t(folded)));
        }
    }
    return result;
}

bool TextFolding::beginsWithC(const QString& text, const QString& prefix)
{
    if (text.isNull())
        return false;
    // Decomposed on both sides, so a composed "é" and "e" + accent are one letter.
    const QString foldedPrefix = foldCase(prefix.normalized(QString::NormalizationForm_D));
    return !foldedPrefix.isEmpty() && foldCase(text.normalized(QString::NormalizationForm_D)).startsWith(foldedPrefix);
}
