#include "app/translation/KVLocalizerFilterModel.h"

#include "app/translation/KVLocalizerModel.h"
#include "output/TextFolding.h"

KVLocalizerFilterModel::KVLocalizerFilterModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    // An edited text may stop or start matching; the row follows at once.
    setDynamicSortFilter(true);
    setFilterRole(KVLocalizerModel::SearchTextRole);
}

void KVLocalizerFilterModel::setFilterText(const QString& text)
{
    if (text == m_filterText)
        return;
    m_filterText = text;
    m_folded = TextFolding::fold(text.trimmed());
    invalidateRowsFilter();
}

bool KVLocalizerFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    if (m_folded.isEmpty())
        return true;
    const QModelIndex index = sourceModel()->index(sourceRow, 0, sourceParent);
    return sourceModel()->data(index, KVLocalizerModel::SearchTextRole).toString().contains(m_folded);
}
