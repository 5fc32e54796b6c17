#pragma once

class DocumentListModel;
class DocumentsTableView;
class GroupListModel;
class GroupsListView;
class MainSplitView;
class MainViewArchiveHeader;
class MainViewInfoArea;
class MainViewStartArea;
class KVTessaryProgress;
class QLineEdit;
class QPlainTextEdit;
class QStackedWidget;
class QWidget;
class Document;

/// The widgets of the main view, built once into it: the split view with the
/// groups pane (archive title and description above the groups list) and the
/// documents pane (the list above the information area, or the start area of
/// a new archive), and the progress view that replaces them while records
/// are built.
struct MainViewLayout
{
    MainViewLayout(QWidget* host, Document* document, GroupListModel* groups, DocumentListModel* documents);

    QStackedWidget* busyStack;
    QStackedWidget* documentsStack;
    QWidget* documentsPage;
    MainSplitView* splitView;
    GroupsListView* groupsView;
    DocumentsTableView* documentsView;
    MainViewArchiveHeader* header;
    QLineEdit* containerTitle;
    QPlainTextEdit* containerDescription;
    MainViewInfoArea* infoArea;
    MainViewStartArea* startArea;
    KVTessaryProgress* progress;
    QWidget* progressView; ///< the page holding the progress view

private:
    QWidget* buildGroupsPane(Document* document, GroupListModel* groups);
    QWidget* buildDocumentsPage(Document* document, DocumentListModel* documents);
};
