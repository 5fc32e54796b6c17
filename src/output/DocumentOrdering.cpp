#include "output/DocumentOrdering.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"

#include <QCollatorSortKey>
#include <QLocale>
#include <numeric>
#include <optional>

SortDescriptor DocumentOrdering::sortDescriptorFor(qint64 sortOrder, qint64 sortKind)
{
    static const char* const keys[] = { "fileDate", "dateAdded", "creationDate", "modificationDate", "slipNumber",
        "title", "tagsAsString", "fileKind", "fileSize" };
    SortDescriptor descriptor;
    descriptor.key = QLatin1String(sortOrder >= 0 && sortOrder <= 8 ? keys[sortOrder] : "dateAdded");
    descriptor.ascending = sortKind != 0;
    descriptor.localizedStandard = sortOrder == 4 || sortOrder == 5;
    return descriptor;
}

SortDescriptor DocumentOrdering::applySortDescriptor(const QuillarcPreferences& preferences)
{
    return sortDescriptorFor(
        preferences.sortOrder(), preferences.field(QuillarcPreferences::SortKind).toBool() ? 1 : 0);
}

QCollator DocumentOrdering::standardCollator()
{
    // The C locale collates by code point and knows no numeric mode; English
    // rules (the root order) stand in for it.
    const QLocale locale
        = QLocale().language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : QLocale();
    QCollator collator { locale };
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

namespace {
int kindRank(const Value& value)
{
    if (value.isNil())
        return 0;
    if (value.isNumber())
        return 1;
    if (value.kind() == Value::Kind::Date)
        return 2;
    if (value.kind() == Value::Kind::String)
        return 3;
    return 4;
}

template<typename T> int threeWay(const T& left, const T& right)
{
    return left < right ? -1 : right < left ? 1 : 0;
}
} // namespace

int DocumentOrdering::compareNatural(const Value& left, const Value& right)
{
    const int leftRank = kindRank(left);
    const int rightRank = kindRank(right);
    if (leftRank != rightRank)
        return threeWay(leftRank, rightRank);
    switch (leftRank) {
    case 1:
        if (left.kind() != Value::Kind::Real && right.kind() != Value::Kind::Real)
            return threeWay(left.toInteger(), right.toInteger());
        return threeWay(left.toReal(), right.toReal());
    case 2:
        return threeWay(left.toDate(), right.toDate());
    case 3:
        return threeWay(left.toString().compare(right.toString()), 0);
    default:
        return 0;
    }
}

int DocumentOrdering::compareLocalizedStandard(const QCollator& collator, const QString& left, const QString& right)
{
    return threeWay(collator.compare(left, right), 0);
}

std::vector<quint32> DocumentOrdering::sortedPositions(
    const QList<DocumentPtr>& documents, const SortDescriptor& descriptor)
{
    std::vector<quint32> positions(size_t(documents.size()));
    std::iota(positions.begin(), positions.end(), 0u);
    const int direction = descriptor.ascending ? 1 : -1;

    if (descriptor.localizedStandard) {
        // A nil text sorts before every text, as in the natural order.
        const QCollator collator = standardCollator();
        std::vector<std::optional<QCollatorSortKey>> keys;
        keys.reserve(positions.size());
        for (const DocumentPtr& document : documents) {
            const Value value = document->valueForKey(descriptor.key);
            if (value.kind() == Value::Kind::String)
                keys.emplace_back(collator.sortKey(value.toString()));
            else
                keys.emplace_back(std::nullopt);
        }
        std::stable_sort(positions.begin(), positions.end(), [&](quint32 a, quint32 b) {
            const auto& left = keys[a];
            const auto& right = keys[b];
            int order;
            if (!left || !right)
                order = threeWay(bool(left), bool(right));
            else
                order = threeWay(left->compare(*right), 0);
            return order * direction < 0;
        });
        return positions;
    }

    std::vector<Value> values;
    values.reserve(positions.size());
    for (const DocumentPtr& document : documents)
        values.push_back(document->valueForKey(descriptor.key));
    std::stable_sort(positions.begin(), positions.end(),
        [&](quint32 a, quint32 b) { return compareNatural(values[a], values[b]) * direction < 0; });
    return positions;
}

QList<DocumentPtr> DocumentOrdering::sorted(const QList<DocumentPtr>& documents, const SortDescriptor& descriptor)
{
    QList<DocumentPtr> result;
    result.reserve(documents.size());
    for (const quint32 position : sortedPositions(documents, descriptor))
        result.append(documents.at(position));
    return result;
}
