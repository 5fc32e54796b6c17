#pragma once

#include "model/Value.h"
#include "output/DocumentOrdering.h"
#include "output/SearchIndex.h"
#include "output/SearchPredicate.h"

#include <QDateTime>
#include <QList>
#include <QString>

class Document;

/// The search over every document of an archive: the flat document list, the
/// file kinds, the three filters (text, period, kind) combined with AND, and
/// the list's order. The search popover of the window shows this state;
/// everything here is free of widgets so the command line and tests share it.
///
/// The filter state survives between showings of the popover and is cleared
/// only by resetArrayAndFilter(). The window defers that reset by 0.36 seconds
/// on the main queue so that it also works while the popover is being loaded;
/// here it runs at once.
class DocumentSearch
{
public:
    DocumentSearch();

    QString searchText() const { return m_searchText; }
    void setSearchText(const QString& text) { m_searchText = text; }
    QString fileKind() const { return m_fileKind; }
    void setFileKind(const QString& kind) { m_fileKind = kind; }
    /// First and last day of the period; a null date stands for nil.
    QDateTime startDate() const { return m_startDate; }
    void setStartDate(const QDateTime& date) { m_startDate = date; }
    QDateTime endDate() const { return m_endDate; }
    void setEndDate(const QDateTime& date) { m_endDate = date; }
    bool filterPeriod() const { return m_filterPeriod; }
    void setFilterPeriod(bool on) { m_filterPeriod = on; }
    bool filterKind() const { return m_filterKind; }
    void setFilterKind(bool on) { m_filterKind = on; }

    /// The last combined predicate searchDocuments() built; null after a reset.
    const SearchPredicate& predicate() const { return m_predicate; }
    /// The predicate the documents list is filtered with now; null = unfiltered.
    const SearchPredicate& filterPredicate() const { return m_filterPredicate; }

    /// Reloads the documents (allDocuments) and kinds (allFileKinds) of
    /// @p archive and clears every filter: both check boxes off, the period set
    /// to the smallest and largest fileDate (nil for an empty archive), the
    /// predicate, the text and the list's filter cleared. False when the
    /// search index could not be built: the list then shows nothing and
    /// errorString() says why.
    bool resetArrayAndFilter(const Document& archive);
    /// The same with the lists given directly.
    bool resetArrayAndFilter(const QList<DocumentPtr>& documents, const QList<ValueMap>& fileKinds);

    /// Rebuilds the filter from the text and the filter settings and applies
    /// it. False when the search failed: the list then shows nothing and
    /// errorString() says why.
    bool searchDocuments();

    /// Reads an edited document of the list again, so the filter sees its new
    /// texts and dates (the list itself and its order stay as they are).
    /// False, as searchDocuments(), when the filter could not be applied again.
    bool refreshDocument(const DocumentPtr& document);

    /// Why the last reset, search or refresh failed (localized, then the cause).
    QString errorString() const { return m_errorString; }

    /// Searches through @p index, an index of the archive that is kept current
    /// elsewhere (ArchiveSearchIndex), instead of building one of its own at
    /// every reset; nullptr while that index is still being built. Documents
    /// the index does not hold (all of them while there is none) are found
    /// by evaluating the filter on them, with the same result.
    void useSharedIndex(const SearchIndex* index);
    /// Back to an index of its own, built at every reset (the default).
    void useOwnIndex();
    bool usesSharedIndex() const { return m_sharedMode; }

    /// Longest time, in milliseconds, that searchDocuments() and
    /// continueSearch() spend asking documents directly (those no index
    /// holds); 0, the default, for no limit. With a limit, a search over an
    /// archive whose index is still being built returns at once with the
    /// hits decided so far, and continueSearch() decides the rest.
    void setDirectTimeBudget(int milliseconds) { m_directBudgetMs = qMax(0, milliseconds); }
    /// True when every document has been decided for the current filter.
    bool isComplete() const { return m_pending.empty(); }
    /// Decides more of the documents still open, within the time budget;
    /// true once every document is decided.
    bool continueSearch();

    /// The order of the list (the main view's current sort descriptor).
    void setSortDescriptor(const SortDescriptor& descriptor);
    SortDescriptor sortDescriptor() const { return m_sortDescriptor; }

    /// The documents that pass the filter, in the list's order.
    QList<DocumentPtr> arrangedObjects() const;
    /// The same as positions in content(), without touching the documents
    /// (what a list model over content() needs).
    std::vector<quint32> arrangedPositions() const;
    const QList<DocumentPtr>& content() const { return m_content; }
    const QList<ValueMap>& fileKinds() const { return m_fileKinds; }
    /// The index of its own (unused while a shared one is used).
    const SearchIndex& index() const { return m_index; }
    SearchIndex& index() { return m_index; }

    /// Runs of two spaces folded to one until none is left, then one leading
    /// and one trailing space removed. Only U+0020 is touched.
    static QString normalizedSearchText(const QString& text);
    /// The OR-group of one word over the eight text fields; the note field is
    /// tested against @p phrase.
    static SearchPredicate textPredicate(const QString& word, const QString& phrase);
    /// "fileDate >= %@ AND fileDate <= %@" from the start of @p start's day to
    /// 23:59:59 of @p end's day.
    static SearchPredicate periodPredicate(const QDateTime& start, const QDateTime& end);
    static SearchPredicate kindPredicate(const QString& kind);

private:
    /// The index the filter goes through: its own, the shared one, or none.
    const SearchIndex* currentIndex() const { return m_sharedMode ? m_shared : &m_index; }
    /// Which content positions pass the current filter; false, with the
    /// reason in errorString(), when the index could not answer.
    bool applyFilter();
    /// Builds the index of its own over the list, keeping why it failed.
    void buildOwnIndex();
    /// Empties the hits and keeps the localized reason; returns false.
    bool fail(const QString& failure);
    /// Reads every position's slot again when the index changed since.
    void mapPositionsToSlots();

    QString m_searchText;
    QString m_fileKind;
    QDateTime m_startDate;
    QDateTime m_endDate;
    bool m_filterPeriod = false;
    bool m_filterKind = false;
    SearchPredicate m_predicate;
    SearchPredicate m_filterPredicate;
    SearchPredicate m_evaluatedPredicate; ///< the filter without repeated words: what is evaluated
    QList<DocumentPtr> m_content;
    QList<ValueMap> m_fileKinds;
    SearchIndex m_index;
    const SearchIndex* m_shared = nullptr;
    bool m_sharedMode = false;
    quint64 m_mappedRevision = 0;
    const SearchIndex* m_mappedIndex = nullptr;
    SearchSlotSet m_hits; ///< content positions that pass the filter (among those decided)
    std::vector<quint32> m_pending; ///< positions still to be asked directly, in list order
    size_t m_pendingNext = 0;
    int m_directBudgetMs = 0;
    SortDescriptor m_sortDescriptor;
    std::vector<quint32> m_order;
    std::vector<quint32> m_slotOfPosition; ///< index slot of each content position; noSlot when not indexed
    QString m_buildError; ///< why the index of its own could not be built
    QString m_errorString;
};
