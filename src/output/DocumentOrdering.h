#pragma once

#include "model/ModelPointers.h"
#include "model/Value.h"

#include <QCollator>
#include <QList>
#include <QString>
#include <algorithm>
#include <memory>
#include <vector>

/// One sort key of the documents list with its direction.
struct SortDescriptor
{
    QString key;
    bool ascending = false;
    /// Compared with the locale-aware standard comparison (numbers inside the
    /// text by value, case ignored) instead of the value's natural order.
    bool localizedStandard = false;

    bool operator==(const SortDescriptor& other) const = default;
};

/// The order of documents in the documents list and the search results, and
/// moving rows of an arranged list.
class DocumentOrdering
{
public:
    /// The sort key for a `sortOrder`: 0 fileDate, 1 dateAdded, 2 creationDate,
    /// 3 modificationDate, 4 slipNumber, 5 title, 6 tagsAsString, 7 fileKind,
    /// 8 fileSize, anything else dateAdded. @p sortKind non-zero sorts ascending.
    static SortDescriptor sortDescriptorFor(qint64 sortOrder, qint64 sortKind);
    /// The descriptor for an archive's preferences.
    static SortDescriptor applySortDescriptor(const QuillarcPreferences& preferences);

    /// The collator of the locale-aware standard comparison: the current
    /// locale (English rules under the C locale), numbers by value, case ignored.
    static QCollator standardCollator();
    /// Natural order of two values: nil first, numbers and dates by value,
    /// texts by plain comparison (UTF-16 code units); values of different
    /// kinds by kind.
    static int compareNatural(const Value& left, const Value& right);
    static int compareLocalizedStandard(const QCollator& collator, const QString& left, const QString& right);

    /// @p documents in the descriptor's order; equal keys keep their list order.
    static QList<DocumentPtr> sorted(const QList<DocumentPtr>& documents, const SortDescriptor& descriptor);
    /// Positions into @p documents in the descriptor's order (sort keys are
    /// computed once per document, so this suits long lists).
    static std::vector<quint32> sortedPositions(const QList<DocumentPtr>& documents, const SortDescriptor& descriptor);

    /// Moves the objects at @p indexes to the consecutive range that starts at
    /// @p toIndex minus the number of moved indexes below it, keeping their
    /// order, and returns the range (which the caller selects). Indexes out of
    /// range are ignored; @p toIndex is clamped to the list.
    template<typename T>
    static QList<qsizetype> moveObjectsInArrangedObjectsFromIndexes(
        QList<T>& objects, QList<qsizetype> indexes, qsizetype toIndex);
};

template<typename T>
QList<qsizetype> DocumentOrdering::moveObjectsInArrangedObjectsFromIndexes(
    QList<T>& objects, QList<qsizetype> indexes, qsizetype toIndex)
{
    std::sort(indexes.begin(), indexes.end());
    indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
    indexes.removeIf([&objects](qsizetype index) { return index < 0 || index >= objects.size(); });
    toIndex = std::clamp<qsizetype>(toIndex, 0, objects.size());
    const qsizetype below
        = std::count_if(indexes.begin(), indexes.end(), [toIndex](qsizetype index) { return index < toIndex; });
    QList<T> moved;
    for (const qsizetype index : indexes)
        moved.append(objects.at(index));
    for (auto it = indexes.crbegin(); it != indexes.crend(); ++it)
        objects.removeAt(*it);
    const qsizetype start = toIndex - below;
    QList<qsizetype> destination;
    for (qsizetype i = 0; i < moved.size(); ++i) {
        objects.insert(start + i, moved.at(i));
        destination.append(start + i);
    }
    return destination;
}
