#pragma once

#include "model/ModelPointers.h"

#include <QObject>
#include <memory>
#include <utility>

class Document;
class DocumentListModel;
class DocumentsTableView;
class GroupListModel;
class GroupsListView;

/// The selection of the main view's two lists: which group and document are
/// current, what a change of either does (the documents list follows the
/// group, the row scrolls into view, the archive is marked edited because it
/// stores the selection), and the stored selection read back when the view
/// opens and written on every save.
class MainViewSelection : public QObject
{
    Q_OBJECT

public:
    MainViewSelection(Document* archive, GroupsListView* groupsView, GroupListModel* groups,
        DocumentsTableView* documentsView, DocumentListModel* documents, QObject* parent = nullptr);
    ~MainViewSelection() override;

    GroupPtr currentGroup() const;
    DocumentPtr currentDocument() const;
    /// Selected rows of the groups and documents lists (-1 for none).
    std::pair<qint64, qint64> selectionIndexes() const;

    void selectGroup(const GroupPtr& group);
    void selectGroupRow(int row);
    void selectDocument(const DocumentPtr& document);
    void selectDocumentRow(int row);
    void clearDocumentSelection();
    /// Selects a search hit: its group, then the record itself.
    void selectSearchResult(const DocumentPtr& document);

    /// Clears both selections, then 0.36 s later selects the stored group
    /// row and then the stored document row.
    void setSelectionIndex();

Q_SIGNALS:
    void groupSelectionChanged(const GroupPtr& group);
    void documentSelectionChanged(const DocumentPtr& document);
    /// Either selection changed.
    void selectionChanged();

private:
    void onGroupSelectionChanged();
    void onDocumentSelectionChanged();
    int selectedRow(bool groups) const;

    Document* m_archive;
    GroupsListView* m_groupsView;
    GroupListModel* m_groups;
    DocumentsTableView* m_documentsView;
    DocumentListModel* m_documents;
    GroupPtr m_shownGroup;
};
