#pragma once

#include "model/ModelPointers.h"
#include "output/SearchPredicate.h"
#include "output/SearchSlotSet.h"

#include <QHash>
#include <QLatin1StringView>
#include <QList>
#include <QStringList>
#include <array>
#include <functional>
#include <memory>
#include <vector>

class SearchSegment;

/// In-memory structure that answers the search filter over every document of
/// an archive quickly enough to run on every keystroke, with exactly the
/// semantics of SearchPredicate::evaluate().
///
/// Documents get consecutive slots and are kept in segments (SearchSegment):
/// the folded text of the eight searchable fields of their documents, a token
/// vocabulary (TokenVocabulary) that answers needles without white space from
/// the tokens containing them, and per-byte and per-pair document sets
/// (ShortNeedleTables) for the one- and two-byte needles of the first
/// keystrokes. A needle with white space narrows the candidates through its
/// pieces and is then checked in the folded text. A predicate is prepared
/// and evaluated per segment by SearchQuery; segments are searched in
/// parallel.
///
/// New documents go to a tail segment that is searched by scanning alone
/// until it has tailCapacity documents; then it gets its token index. An
/// edited document is given a new slot and its old slot is dropped.
class SearchIndex
{
public:
    static constexpr int fieldCount = 8;
    static constexpr quint32 tailCapacity = 4096;

    /// A set of slots, one bit each.
    using SlotSet = SearchSlotSet;

    struct Statistics
    {
        qint64 documents = 0;
        qint64 textBytes = 0; ///< UTF-8 size of the searchable fields as stored
        qint64 foldedBytes = 0;
        qint64 vocabularyBytes = 0;
        qint64 tokens = 0;
        qint64 postings = 0;
        qint64 memoryBytes = 0; ///< everything the structure holds
        int segments = 0;
    };

    /// What the index keeps of one document, read on the thread that owns
    /// the documents; building from records reads no document, so it may run
    /// on any thread.
    struct Record
    {
        DocumentPtr document;
        std::array<QString, fieldCount> texts; ///< the searchable fields in fieldKeys() order
        double fileDate = 0; ///< NaN for nil
        QString fileKind; ///< null for nil
    };

    SearchIndex();
    ~SearchIndex();
    SearchIndex(const SearchIndex&) = delete;
    SearchIndex& operator=(const SearchIndex&) = delete;

    /// The searchable fields in the order of the search text form.
    static const std::array<QLatin1StringView, fieldCount>& fieldKeys();
    /// Position of a key in fieldKeys(), or -1.
    static int fieldIndex(const QString& key);

    /// Threads used for building and searching (at least 1; default 2).
    void setThreadCount(int threads) { m_threads = qMax(1, threads); }

    /// Replaces the contents with @p documents; slots follow the list order.
    /// When a part cannot be built (a worker fails, say for want of memory)
    /// the index is left empty and false is returned with the reason.
    bool build(const QList<DocumentPtr>& documents, QString* error = nullptr);
    /// The same from records taken before (see records()); reads no document.
    bool build(std::vector<Record> records, QString* error = nullptr);
    /// The records of @p documents, for a build elsewhere.
    static std::vector<Record> records(const QList<DocumentPtr>& documents);
    static Record recordOf(const DocumentPtr& document);
    /// Changes with every build, addition, refresh and removal, so a user of
    /// the index can tell that slots may have moved.
    quint64 revision() const { return m_revision; }
    void clear();
    /// Takes in one document (it gets the next slot).
    void addDocument(const DocumentPtr& document);
    /// Reads an edited document's fields again.
    void refreshDocument(const DocumentPtr& document);
    void removeDocument(const DocumentPtr& document);

    quint32 slotCount() const { return quint32(m_documents.size()); }
    const DocumentPtr& documentAt(quint32 slot) const { return m_documents[slot]; }
    /// Slots that hold a current document.
    const SlotSet& liveSlots() const { return m_live; }
    /// The current slot of a document, or -1.
    qint64 slotOf(const QuillarcDocument* document) const { return m_slotOf.value(document, -1); }

    /// The live slots whose documents satisfy @p predicate (the null predicate
    /// takes every live slot). Keys outside the indexed ones are evaluated on
    /// the documents themselves. When a part cannot be searched the result is
    /// empty and *@p error says why.
    SlotSet filter(const SearchPredicate& predicate, QString* error = nullptr) const;

    /// Called with the part's number on the thread that builds or searches
    /// each part, before it starts; for tests that make a part fail.
    void setPartProbe(std::function<void(int part)> probe) { m_partProbe = std::move(probe); }

    Statistics statistics() const;

private:
    void appendSlot(const Record& record);
    void indexTailIfFull();

    std::vector<std::unique_ptr<SearchSegment>> m_segments;
    std::vector<DocumentPtr> m_documents;
    std::vector<double> m_fileDates; ///< NaN for nil
    std::vector<qint32> m_kindIds; ///< -1 for nil
    QStringList m_kinds;
    QHash<QString, qint32> m_kindLookup;
    QHash<const QuillarcDocument*, qint64> m_slotOf;
    SlotSet m_live;
    int m_threads = 2;
    std::function<void(int)> m_partProbe;
    quint64 m_revision = 0;
};
