#include "output/SearchExcerpt.h"

#include "model/QuillarcDatabaseObject.h"
#include "output/DocumentSearch.h"
#include "output/SearchIndex.h"
#include "output/TextFolding.h"
#include "text/KVLocalizationDictionary.h"

#include <algorithm>

namespace {

/// Occurrences looked for per needle: the excerpt shows only a few, and a
/// one-letter needle in a long text must not cost more than the folding.
constexpr int occurrenceLimit = 256;
/// How far a cut may move to land on a word boundary.
constexpr qsizetype snapDistance = 12;

/// A field's text folded once, for several needles.
struct FoldedText
{
    const QString& text;
    std::vector<qsizetype> sources; ///< filled while folded is made: declared first
    QString folded;

    explicit FoldedText(const QString& original)
        : text(original)
        , sources()
        , folded(TextFolding::foldMapped(original, sources))
    {
    }

    /// The end (exclusive, in the original) of the character that folded unit @p unit came from.
    qsizetype sourceEnd(qsizetype unit) const
    {
        const qsizetype start = sources[size_t(unit)];
        for (size_t k = size_t(unit) + 1; k < sources.size(); ++k) {
            if (sources[k] != start)
                return sources[k];
        }
        return text.size();
    }

    void find(const QString& needle, QList<SearchExcerpt::Mark>& out) const
    {
        const QString foldedNeedle = TextFolding::fold(needle);
        if (foldedNeedle.isEmpty())
            return;
        qsizetype position = 0;
        for (int found = 0; found < occurrenceLimit; ++found) {
            position = folded.indexOf(foldedNeedle, position);
            if (position < 0)
                return;
            const qsizetype start = sources[size_t(position)];
            const qsizetype end = sourceEnd(position + foldedNeedle.size() - 1);
            out.append({ start, end - start });
            position += foldedNeedle.size();
        }
    }
};

QList<SearchExcerpt::Mark> merged(QList<SearchExcerpt::Mark> marks)
{
    std::sort(marks.begin(), marks.end(),
        [](const SearchExcerpt::Mark& a, const SearchExcerpt::Mark& b) { return a.start < b.start; });
    QList<SearchExcerpt::Mark> result;
    for (const SearchExcerpt::Mark& mark : marks) {
        if (!result.isEmpty() && mark.start <= result.back().start + result.back().length) {
            SearchExcerpt::Mark& last = result.back();
            last.length = qMax(last.start + last.length, mark.start + mark.length) - last.start;
        } else {
            result.append(mark);
        }
    }
    return result;
}

bool isBlank(QChar c)
{
    return c.isSpace() || c.category() == QChar::Other_Control;
}

} // namespace

QStringList SearchExcerpt::needlesForField(const QString& key, const QString& searchText)
{
    const QString text = DocumentSearch::normalizedSearchText(searchText);
    if (text.isEmpty())
        return {};
    QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.size() <= 1 || key == QLatin1String("note"))
        return { text };
    words.removeDuplicates();
    return words;
}

QList<SearchExcerpt::Mark> SearchExcerpt::occurrences(const QString& text, const QStringList& needles)
{
    if (text.isEmpty() || needles.isEmpty())
        return {};
    const FoldedText folded(text);
    QList<Mark> marks;
    for (const QString& needle : needles)
        folded.find(needle, marks);
    return merged(marks);
}

SearchExcerpt::Match SearchExcerpt::match(const QuillarcDatabaseObject& document, const QString& searchText, int length)
{
    QString bestKey;
    QString bestText;
    QList<Mark> bestMarks;
    int bestCount = 0;
    for (const QLatin1StringView key : SearchIndex::fieldKeys()) {
        const QStringList needles = needlesForField(QString(key), searchText);
        if (needles.isEmpty())
            return {};
        const QString text = document.valueForKey(QString(key)).toString();
        if (text.isEmpty())
            continue;
        const FoldedText folded(text);
        QList<Mark> marks;
        int count = 0;
        for (const QString& needle : needles) {
            const qsizetype before = marks.size();
            folded.find(needle, marks);
            count += marks.size() > before ? 1 : 0;
        }
        if (count > bestCount) {
            bestCount = count;
            bestKey = QString(key);
            bestText = text;
            bestMarks = merged(marks);
        }
    }
    if (!bestCount)
        return {};
    return excerpt(bestKey, bestText, bestMarks, length);
}

SearchExcerpt::Match SearchExcerpt::excerpt(
    const QString& fieldKey, const QString& text, const QList<Mark>& marks, int length)
{
    Match result;
    result.fieldKey = fieldKey;
    length = qMax(length, 8);
    const Mark first = marks.isEmpty() ? Mark() : marks.first();

    // Only a stretch around the first mark is looked at, however long the field.
    const qsizetype windowStart = qMax<qsizetype>(0, first.start - 2 * length);
    const qsizetype windowEnd = qMin(text.size(), first.start + first.length + 2 * length);

    // White space runs (line breaks, tabs) become one space; positions are kept in step.
    QString line;
    line.reserve(windowEnd - windowStart);
    std::vector<qsizetype> lineOf(size_t(windowEnd - windowStart + 1));
    for (qsizetype i = windowStart; i < windowEnd; ++i) {
        lineOf[size_t(i - windowStart)] = line.size();
        const QChar c = text.at(i);
        if (isBlank(c)) {
            if (!line.isEmpty() && line.back() != QLatin1Char(' '))
                line.append(QLatin1Char(' '));
        } else {
            line.append(c);
        }
    }
    lineOf.back() = line.size();
    auto toLine = [&](qsizetype index) { return lineOf[size_t(qBound(windowStart, index, windowEnd) - windowStart)]; };

    const qsizetype markStart = toLine(first.start);
    const qsizetype markEnd = toLine(first.start + first.length);
    qsizetype start = qMax<qsizetype>(0, markStart - length / 3);
    qsizetype end = qMin(line.size(), start + length);
    if (end == line.size())
        start = qMax<qsizetype>(0, end - length);
    // Cut between words where one is near, never inside the first mark.
    if (start > 0) {
        const qsizetype space = line.indexOf(QLatin1Char(' '), start);
        if (space >= 0 && space < markStart && space - start <= snapDistance)
            start = space + 1;
    }
    if (end < line.size()) {
        const qsizetype space = line.lastIndexOf(QLatin1Char(' '), end - 1);
        if (space >= markEnd && end - space <= snapDistance)
            end = space;
    }
    if (start < line.size() && line.at(start).isLowSurrogate())
        ++start;
    if (end > start && line.at(end - 1).isHighSurrogate())
        --end;

    const QString ellipsis = localizedString(QStringLiteral("PRINTOUT_LOCALIZED_ELLIPSES"));
    const bool cutBefore = start > 0 || windowStart > 0;
    const bool cutAfter = end < line.size() || windowEnd < text.size();
    QString body = line.mid(start, end - start);
    // A leading or trailing space left by the cut would only widen the line.
    qsizetype lead = 0;
    while (lead < body.size() && body.at(lead) == QLatin1Char(' '))
        ++lead;
    body.remove(0, lead);
    while (body.endsWith(QLatin1Char(' ')))
        body.chop(1);
    start += lead;

    const qsizetype offset = cutBefore ? ellipsis.size() : 0;
    result.excerpt = (cutBefore ? ellipsis : QString()) + body + (cutAfter ? ellipsis : QString());
    for (const Mark& mark : marks) {
        const qsizetype from = qMax(toLine(mark.start), start);
        const qsizetype to = qMin(toLine(mark.start + mark.length), start + body.size());
        if (to > from)
            result.marks.append({ from - start + offset, to - from });
    }
    return result;
}
