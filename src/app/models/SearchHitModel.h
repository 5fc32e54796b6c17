#pragma once

#include "output/DocumentSearch.h"
#include "output/SearchExcerpt.h"

#include <QAbstractListModel>
#include <QHash>

class QTimer;

class Document;
class QuillarcDocument;

/// The search popover's flat hit list: every document of the archive that
/// passes the search filter, in the main view's sort order, one row each.
///
/// The model owns the search state (DocumentSearch) and shows its result;
/// every filter change goes through searchDocuments(), which re-runs the
/// engine's filter and resets the rows at once, so the list narrows on every
/// keystroke. Where a hit's words occur (field and marked excerpt) is worked
/// out only for the rows that are shown, and only once per search text.
class SearchHitModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role
    {
        DocumentRole = Qt::UserRole + 1, ///< the QuillarcDocument (DocumentPtr in a QVariant)
        TitleRole, ///< title, or the file name when the title is empty
        SlipNumberRole,
        FileDateRole, ///< the file date in the short date style
        FileKindRole,
        MatchFieldRole, ///< localized name of the field holding the words ("" without one)
        ExcerptRole, ///< the excerpt of that field
        MarksRole ///< QList<QPoint>: (start, length) of each marked range of the excerpt
    };

    explicit SearchHitModel(QObject* parent = nullptr);

    /// The filter state the popover's controls write to.
    DocumentSearch& search() { return m_search; }
    const DocumentSearch& search() const { return m_search; }

    /// Reloads the documents and kinds of @p archive and clears every filter.
    void resetArrayAndFilter(const Document& archive);
    void resetArrayAndFilter(const QList<DocumentPtr>& documents, const QList<ValueMap>& fileKinds);
    /// Applies the text and filter settings now in search().
    void searchDocuments();
    /// Lists the hits in @p descriptor's order (the main view's order).
    void setSortDescriptor(const SortDescriptor& descriptor);
    /// Searches through the archive's shared index (nullptr while it is built).
    void useSharedIndex(const SearchIndex* index);

    DocumentPtr documentAt(int row) const;
    /// The row of @p document, or -1 when it is not among the hits.
    int rowOf(const QuillarcDocument* document) const;
    /// The hits in list order.
    QList<DocumentPtr> hits() const;
    /// Where the words of the current search occur in the hit at @p row.
    SearchExcerpt::Match matchAt(int row) const;

    /// True while documents are still being decided (the archive's index is
    /// being built): the rows grow as they are.
    bool isSearching() const { return !m_search.isComplete(); }

    /// Main-thread time one step of deciding documents directly may take.
    static constexpr int directStepMs = 12;

    /// The localization key naming a searchable field ("SEARCH_FIELD_title").
    static QString fieldNameKey(const QString& fieldKey);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    /// The rows were replaced (a search, a reset or a new order).
    void hitsChanged();

private:
    void takeHits();
    /// Shows the hits after a search step; more steps follow while some are open.
    void showHits();
    void continueSearch();

    DocumentSearch m_search;
    std::vector<quint32> m_positions; ///< content positions of the rows
    mutable QHash<quint32, SearchExcerpt::Match> m_matches; ///< by content position, for m_matchText
    QString m_matchText;
    QTimer* m_continue;
};
