#include "output/SearchSegment.h"

#include "model/QuillarcDocument.h"
#include "output/SearchIndex.h"
#include "output/TextFolding.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <unordered_set>

namespace {

using Bits = SearchSlotSet::Bits;
constexpr int fieldCount = SearchIndex::fieldCount;

qint64 utf8Size(QStringView text)
{
    qint64 size = 0;
    const char16_t* units = text.utf16();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = units[i];
        size += unit < 0x80 ? 1 : unit < 0x800 ? 2 : QChar::isSurrogate(unit) ? 2 : 3;
    }
    return size;
}

} // namespace

SearchSegment::SearchSegment(quint32 firstSlot)
    : m_firstSlot(firstSlot)
{
}

qint64 SearchSegment::memoryBytes() const
{
    return qint64(m_folded.capacity()) + qint64(m_fieldStart.capacity() * sizeof(quint64)) + m_vocabulary.memoryBytes()
        + m_shortNeedles.memoryBytes();
}

void SearchSegment::reserve(size_t foldedBytes, quint32 documents)
{
    m_folded.reserve(foldedBytes);
    m_fieldStart.reserve(size_t(documents) * fieldCount + 1);
}

SearchSegment::Texts SearchSegment::textsOf(const QuillarcDocument& document)
{
    return {
        document.tagsAsString(),
        document.field(QuillarcDocument::Title).toString(),
        document.field(QuillarcDocument::Name).toString(),
        document.field(QuillarcDocument::Comment).toString(),
        document.field(QuillarcDocument::Note).toString(),
        document.field(QuillarcDocument::Extension).toString(),
        document.field(QuillarcDocument::SlipNumber).toString(),
        document.field(QuillarcDocument::ContentString).toString(),
    };
}

void SearchSegment::append(const Texts& texts)
{
    for (const QString& text : texts) {
        m_textBytes += utf8Size(text);
        TextFolding::appendFoldedUtf8(text, m_folded);
        m_folded.push_back('\0');
        m_fieldStart.push_back(m_folded.size());
    }
    ++m_count;
}

void SearchSegment::buildIndex()
{
    m_vocabulary.build(m_folded, m_fieldStart, m_count);
    if (m_folded.capacity() > m_folded.size() + m_folded.size() / 16)
        m_folded.shrink_to_fit();
    m_shortNeedles.build(m_folded, m_fieldStart, m_count);
    m_indexed = true;
}

void SearchSegment::scanField(std::string_view needle, int field, Bits& out) const
{
    const char* text = m_folded.data();
    for (quint32 doc = 0; doc < m_count; ++doc) {
        const quint64 begin = m_fieldStart[size_t(doc) * fieldCount + field];
        const quint64 end = m_fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
        if (end - begin >= needle.size() && memmem(text + begin, end - begin, needle.data(), needle.size()))
            SearchSlotSet::setBit(out, doc);
    }
}

void SearchSegment::scan(std::string_view needle, quint8 mask, Bits& out, const Bits* candidates) const
{
    const char* text = m_folded.data();
    if (candidates) {
        for (size_t word = 0; word < candidates->size(); ++word) {
            for (quint64 bits = (*candidates)[word]; bits; bits &= bits - 1) {
                const quint32 doc = quint32(word * 64 + size_t(std::countr_zero(bits)));
                for (int field = 0; field < fieldCount; ++field) {
                    if (!(mask & (1u << field)))
                        continue;
                    const quint64 begin = m_fieldStart[size_t(doc) * fieldCount + field];
                    const quint64 end = m_fieldStart[size_t(doc) * fieldCount + field + 1] - 1;
                    if (end - begin >= needle.size()
                        && memmem(text + begin, end - begin, needle.data(), needle.size())) {
                        SearchSlotSet::setBit(out, doc);
                        break;
                    }
                }
            }
        }
        return;
    }
    const size_t size = m_folded.size();
    size_t at = 0;
    while (at < size) {
        const void* hit = memmem(text + at, size - at, needle.data(), needle.size());
        if (!hit)
            break;
        const size_t offset = size_t(static_cast<const char*>(hit) - text);
        const size_t field
            = size_t(std::upper_bound(m_fieldStart.begin(), m_fieldStart.end(), offset) - m_fieldStart.begin()) - 1;
        const size_t doc = field / fieldCount;
        if (mask & (1u << (field % fieldCount))) {
            SearchSlotSet::setBit(out, quint32(doc));
            at = m_fieldStart[(doc + 1) * fieldCount];
        } else {
            at = m_fieldStart[field + 1];
        }
    }
}

void SearchSegment::contains(std::string_view needle, quint8 mask, Bits& out, TokenVocabulary::MatchCache& tokens) const
{
    if (needle.empty() || !mask || !m_count)
        return;
    if (!m_indexed)
        return scan(needle, mask, out, nullptr);
    if (ShortNeedleTables::answers(needle, mask)) {
        const quint8 unanswered = m_shortNeedles.addDocumentsContaining(needle, mask, out);
        for (int field = 0; field < fieldCount; ++field) {
            if (unanswered & (1u << field))
                scanField(needle, field, out);
        }
        return;
    }
    if (std::none_of(needle.begin(), needle.end(), TokenVocabulary::isSeparator))
        return m_vocabulary.addDocumentsContaining(needle, mask, out, tokens);

    // Each piece between separators lies inside one token of the matching field.
    Bits candidates = SearchSlotSet::fullBits(m_count);
    bool anyPiece = false;
    // A piece that comes again narrows nothing further (a pasted text may repeat one thousands of times).
    std::unordered_set<std::string_view> seen;
    size_t at = 0;
    while (at < needle.size()) {
        while (at < needle.size() && TokenVocabulary::isSeparator(needle[at]))
            ++at;
        const size_t begin = at;
        while (at < needle.size() && !TokenVocabulary::isSeparator(needle[at]))
            ++at;
        if (begin == at || !seen.insert(needle.substr(begin, at - begin)).second)
            continue;
        Bits piece = SearchSlotSet::emptyBits(m_count);
        m_vocabulary.addDocumentsContaining(needle.substr(begin, at - begin), mask, piece, tokens);
        for (size_t word = 0; word < candidates.size(); ++word)
            candidates[word] &= piece[word];
        anyPiece = true;
        if (SearchSlotSet::allZero(candidates))
            return;
    }
    scan(needle, mask, out, anyPiece ? &candidates : nullptr);
}
