#include "output/CompletionAids.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/TextFolding.h"

#include <QSet>
#include <algorithm>

QStringList CompletionAids::allTags(const QList<GroupPtr>& groups)
{
    QStringList tags;
    tags.reserve(100000);
    for (const GroupPtr& group : groups) {
        for (const DocumentPtr& document : group->documents())
            tags.append(document->tags());
    }
    const QSet<QString> distinct(tags.cbegin(), tags.cend());
    QStringList result(distinct.cbegin(), distinct.cend());
    std::sort(result.begin(), result.end(), [](const QString& left, const QString& right) {
        const int order = left.compare(right, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : left < right;
    });
    return result;
}

QStringList CompletionAids::tokenFieldCompletions(const QStringList& allTags, const QString& substring)
{
    QStringList result = allTags;
    result.removeIf([&substring](const QString& tag) { return !tag.startsWith(substring) || tag == substring; });
    return result;
}

namespace {
void sortByLength(QStringList& values)
{
    std::stable_sort(values.begin(), values.end(),
        [](const QString& left, const QString& right) { return left.size() < right.size(); });
}
} // namespace

QStringList CompletionAids::filteredItems(const QStringList& values, const QString& text)
{
    if (text.isEmpty())
        return values;
    QStringList result;
    for (const QString& value : values) {
        if (TextFolding::beginsWithC(value, text))
            result.append(value);
    }
    sortByLength(result);
    return result;
}

QString CompletionAids::completedString(const QStringList& values, const QString& text)
{
    if (text.isNull())
        return QString();
    QStringList candidates;
    for (const QString& value : values) {
        const QString composed = value.normalized(QString::NormalizationForm_C);
        if (TextFolding::beginsWithCD(composed, text))
            candidates.append(composed);
    }
    sortByLength(candidates);
    return candidates.isEmpty() ? QString() : candidates.first();
}
