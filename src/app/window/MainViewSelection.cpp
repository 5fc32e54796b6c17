#include "app/window/MainViewSelection.h"

#include "app/intake/Delay.h"
#include "app/models/DocumentListModel.h"
#include "app/models/GroupListModel.h"
#include "app/views/DocumentsTableView.h"
#include "app/views/GroupsListView.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"

#include <QItemSelectionModel>
#include <QPointer>

MainViewSelection::MainViewSelection(Document* archive, GroupsListView* groupsView, GroupListModel* groups,
    DocumentsTableView* documentsView, DocumentListModel* documents, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
    , m_groupsView(groupsView)
    , m_groups(groups)
    , m_documentsView(documentsView)
    , m_documents(documents)
{
    connect(m_groupsView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
        &MainViewSelection::onGroupSelectionChanged);
    connect(m_documentsView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
        &MainViewSelection::onDocumentSelectionChanged);
    // A removed row takes its selection with it; the lists show what is left.
    connect(m_groups, &QAbstractItemModel::rowsRemoved, this, &MainViewSelection::onGroupSelectionChanged);
    connect(m_groups, &QAbstractItemModel::modelReset, this, &MainViewSelection::onGroupSelectionChanged);
    connect(m_documents, &QAbstractItemModel::rowsRemoved, this, &MainViewSelection::onDocumentSelectionChanged);
    connect(m_documents, &QAbstractItemModel::modelReset, this, &MainViewSelection::onDocumentSelectionChanged);
    // After a drag the moved rows are selected.
    connect(m_groups, &GroupListModel::groupsMoved, this, [this](const QList<qsizetype>& rows) {
        if (!rows.isEmpty())
            selectGroupRow(int(rows.first()));
    });
    connect(m_groups, &GroupListModel::documentMovedToGroup, this, [this](const GroupPtr& target, const DocumentPtr& moved) {
        selectGroup(target);
        selectDocument(moved);
        m_groupsView->setFocus(Qt::OtherFocusReason);
    });
    // Every save stores the selection; a provider outliving the view answers "none".
    if (m_archive) {
        const QPointer<MainViewSelection> self = this;
        m_archive->setSelectionProvider([self]() -> std::pair<qint64, qint64> {
            return self ? self->selectionIndexes() : std::pair<qint64, qint64>(-1, -1);
        });
    }
}

MainViewSelection::~MainViewSelection() = default;

int MainViewSelection::selectedRow(bool groups) const
{
    const QItemSelectionModel* selection
        = groups ? m_groupsView->selectionModel() : m_documentsView->selectionModel();
    const QModelIndexList rows = selection->selectedRows();
    int first = -1;
    for (const QModelIndex& index : rows) {
        if (first < 0 || index.row() < first)
            first = index.row();
    }
    return first;
}

GroupPtr MainViewSelection::currentGroup() const
{
    return m_groups->groupAt(selectedRow(true));
}

DocumentPtr MainViewSelection::currentDocument() const
{
    return m_documents->documentAt(selectedRow(false));
}

std::pair<qint64, qint64> MainViewSelection::selectionIndexes() const
{
    return { selectedRow(true), selectedRow(false) };
}

void MainViewSelection::selectGroupRow(int row)
{
    QItemSelectionModel* selection = m_groupsView->selectionModel();
    if (row < 0 || row >= m_groups->rowCount()) {
        selection->clearSelection();
        return;
    }
    const QModelIndex index = m_groups->index(row, 0);
    selection->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void MainViewSelection::selectGroup(const GroupPtr& group)
{
    m_groups->syncNow();
    selectGroupRow(m_groups->rowOf(group.get()));
}

void MainViewSelection::selectDocumentRow(int row)
{
    QItemSelectionModel* selection = m_documentsView->selectionModel();
    if (row < 0 || row >= m_documents->rowCount()) {
        selection->clearSelection();
        return;
    }
    selection->setCurrentIndex(
        m_documents->index(row, 0), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void MainViewSelection::selectDocument(const DocumentPtr& document)
{
    m_documents->syncNow();
    selectDocumentRow(m_documents->rowOf(document.get()));
}

void MainViewSelection::selectSearchResult(const DocumentPtr& document)
{
    const int row = document ? m_groups->rowOfID(document->parentID()) : -1;
    if (row < 0)
        return;
    selectGroupRow(row);
    selectDocument(document);
}

void MainViewSelection::clearDocumentSelection()
{
    m_documentsView->selectionModel()->clearSelection();
}

void MainViewSelection::setSelectionIndex()
{
    m_groupsView->selectionModel()->clearSelection();
    m_documentsView->selectionModel()->clearSelection();
    Delay::after(Delay::stepMs, this, [this] {
        const ValueMap stored = m_archive ? m_archive->indexDictionary().toDictionary() : ValueMap();
        const qint64 group = stored.value(QStringLiteral("groupsSelection")).toInteger();
        const qint64 document = stored.value(QStringLiteral("documentsSelection")).toInteger();
        // The not-found value (and anything past the end) selects nothing.
        selectGroupRow(group >= 0 && group < m_groups->rowCount() ? int(group) : -1);
        selectDocumentRow(document >= 0 && document < m_documents->rowCount() ? int(document) : -1);
    });
}

void MainViewSelection::onGroupSelectionChanged()
{
    const GroupPtr group = currentGroup();
    if (group != m_shownGroup) {
        m_shownGroup = group;
        m_documents->setGroup(group);
    }
    if (group) {
        m_groupsView->scrollTo(m_groups->index(m_groups->rowOf(group.get()), 0));
        // The selection is stored in the archive, so changing it is an edit.
        if (m_archive)
            m_archive->updateChangeCount();
    }
    Q_EMIT groupSelectionChanged(group);
    Q_EMIT selectionChanged();
}

void MainViewSelection::onDocumentSelectionChanged()
{
    const DocumentPtr document = currentDocument();
    if (document) {
        m_documentsView->scrollTo(m_documents->index(m_documents->rowOf(document.get()), 0));
        if (m_archive)
            m_archive->updateChangeCount();
    }
    Q_EMIT documentSelectionChanged(document);
    Q_EMIT selectionChanged();
}
