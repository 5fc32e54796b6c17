#pragma once

#include "model/Value.h"
#include "output/DocumentOrdering.h"

#include <QPointer>
#include <QToolButton>
#include <QWidget>

#include <memory>

class BatchFlow;
class DeletionFlow;
class Document;
class DocumentListModel;
class DocumentsTableView;
class FileCopyFlow;
class FolderFlow;
class GroupFlow;
class GroupListModel;
class GroupsListView;
class IntakeFlow;
class MainSplitView;
class MainViewArchiveHeader;
class MainViewInfoArea;
class MainViewSelection;
class MainViewStartArea;
#include "app/window/MainViewToolbar.h"
#include "app/preview/PreviewWindow.h"
class KVTessaryProgress;
class QLineEdit;
class QPlainTextEdit;
class QStackedWidget;
class QuillarcDatabaseObject;
class QuillarcDocument;
class QuillarcGroup;
class SegmentedControl;
class ThumbnailCache;

/// An archive's main screen: the groups list, the documents list of the
/// current group, the information, search and start areas, and the toolbar
/// strip the archive window shows in its title area.
///
/// The archive window reaches every command of the screen through the slots
/// below, named after the commands; which of them are enabled follows from
/// validateUserInterfaceItem() and the selection, announced by
/// selectionChanged(). The screen itself lays out and wires its parts; the
/// flows behind the commands (intake, batches, groups, folders, deletion,
/// file copies) and the selection are classes of their own.
class MainView : public QWidget
{
    Q_OBJECT

public:
    explicit MainView(Document* document, QWidget* parent = nullptr);
    ~MainView() override;

    Document* document() const { return m_document; }
    /// The strip placed into the archive window's title area while this screen shows.
    QWidget* toolbarView() const { return m_toolbar; }

    /// Once the screen is in place: toolbar segments, the toolbar buttons'
    /// alignment, the sort order, and the start-up folder import 0.72 s later.
    void viewActions();

    /// The first selected group or document, or nullptr.
    std::shared_ptr<QuillarcGroup> currentGroup() const;
    std::shared_ptr<QuillarcDocument> currentDocument() const;
    bool hasSelectedGroup() const { return currentGroup() != nullptr; }
    bool hasSelectedDocument() const { return currentDocument() != nullptr; }
    /// Selected rows of the groups and documents lists (-1 for none), stored on every save.
    std::pair<qint64, qint64> selectionIndexes() const;

    /// Enabling of the screen's own commands (by command name, e.g.
    /// "addDocument:"); commands it does not know are enabled.
    bool validateUserInterfaceItem(const QString& action, bool windowIsKey) const;

    // The screen's state for the flows and the archive window.
    /// True while records are built, a sheet of this screen is open or the
    /// monitored folders are scanned: intake and deletion wait.
    bool isBusy() const;
    /// Replaces the lists by the progress view (with Cancel for a batch).
    void beginProgress(bool cancellable);
    void endProgress();
    KVTessaryProgress* progressIndicator() const { return m_progress; }
    /// Saves through the archive's background save; a never-saved archive
    /// asks the window for its first save (saveRequested()).
    void saveDocument();
    void selectGroup(const std::shared_ptr<QuillarcGroup>& group);
    void selectDocument(const std::shared_ptr<QuillarcDocument>& document);
    void clearDocumentSelection();
    /// Asks an open search popover to start afresh (the documents changed).
    void requestSearchFilterReset();

    /// Builds the sort descriptor from the archive's preferences and sorts the list with it.
    void applySortDescriptor();
    const SortDescriptor& sortDescriptor() const { return m_sortDescriptor; }
    /// x of the toolbar's button group = floor(origin + first pane's width − 180).
    void alignToolbarButtonView();
    /// The counts beside the groups refresh.
    void updateDocumentsCount();
    /// Ends the first start: set up, and saved 0.36 s later.
    void letsDoIt();
    /// Selects the stored rows again (0.36 s after clearing the selection).
    void setSelectionIndex();
    /// A date in the medium or short date style of the user's locale, without
    /// time, formatted afresh on every call (other screens use them too).
    static QString mediumDateFormatter(const Value& date);
    static QString shortDateFormatter(const Value& date);
    /// Every tag of the archive, for completion.
    QStringList allTags() const;
    /// Number of records of the batch being taken in.
    qsizetype batchArrayCount() const;
    /// A drop of files on the view: one is a single intake, more a batch.
    void receivedDroppedFiles(const QStringList& paths);
    /// A folder group from a dropped folder.
    void createFolderGroupFromFolderPath(const QString& folderPath);
    /// The scan of the monitored folders; false when nothing runs.
    bool doTheStartupFolderImport();

    // The screen's parts.
    GroupListModel* groupsModel() const { return m_groups; }
    DocumentListModel* documentsModel() const { return m_documents; }
    GroupsListView* groupsTableView() const { return m_groupsView; }
    DocumentsTableView* documentsTableView() const { return m_documentsView; }
    MainSplitView* mainSplitView() const { return m_splitView; }
    MainViewToolbar* toolbar() const { return m_toolbar; }
    SegmentedControl* toolbarActionSegment() const { return m_toolbar->actionSegment(); }
    SegmentedControl* toolbarSecondaryActionSegment() const { return m_toolbar->secondaryActionSegment(); }
    QWidget* toolbarButtonView() const { return m_toolbar->toolbarButtonView(); }
    QToolButton* searchButton() const { return m_toolbar->searchButton(); }
    QToolButton* sortButton() const { return m_toolbar->sortButton(); }
    QToolButton* infoButton() const { return m_toolbar->infoButton(); }
    QLineEdit* containerTitleTextField() const { return m_containerTitle; }
    QPlainTextEdit* containerDescriptionTextField() const { return m_containerDescription; }
    QPlainTextEdit* notesTextField() const;
    MainViewInfoArea* infoContainerView() const { return m_infoArea; }
    MainViewStartArea* startContainerView() const { return m_startArea; }
    MainViewSelection* selection() const { return m_selection; }
    ThumbnailCache* thumbnails() const { return m_thumbnails; }
    PreviewWindow* previewWindow() const { return m_preview; }
    IntakeFlow* intakeFlow() const { return m_intake; }
    BatchFlow* batchFlow() const { return m_batch; }
    GroupFlow* groupFlow() const { return m_groupFlow; }
    FolderFlow* folderFlow() const { return m_folders; }
    DeletionFlow* deletionFlow() const { return m_deletion; }
    FileCopyFlow* fileCopyFlow() const { return m_fileCopy; }

public Q_SLOTS:
    // Commands of the archive window, forwarded here.
    void addGroup();
    void addFolderGroup();
    void editGroup();
    void deleteGroup();
    void addDocument();
    void addBatchDocuments();
    void editDocument();
    void deleteDocument();
    void createFileCopy();
    void exportGroup();
    void exportDocument();
    void exportLogAction();
    void generateQuickLook();
    void showSearchPopover();
    void showSortOrderPopover();
    void showInfoPopover();
    void showScannerSheet();
    /// Selects the group and the document of a search hit.
    void selectSearchResultForQuillarcDocument(const std::shared_ptr<QuillarcDocument>& document);
    /// Archives a finished scan like a single file and opens its sheet.
    void addScanDocumentWithURL(const QString& filePath);

    void toolbarActionSegmentAction(int tag);
    void toolbarSecondaryActionSegmentAction(int tag);

Q_SIGNALS:
    /// The selected group or document changed: command enabling follows.
    void selectionChanged();
    /// A never-saved archive should be saved for the first time (the archive
    /// window runs its Save As dialog with the archive's title).
    void saveRequested();
    /// The documents changed under an open search popover: it starts afresh.
    void searchFilterResetRequested();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildLayout();
    void updatePixelRatio();
    void wire();
    void onObjectChanged(QuillarcDatabaseObject* object);
    void onGroupSelectionChanged();
    void onDocumentSelectionChanged();
    void setPreviewControl(bool controlling);
    void focusTitleForFirstStart();

    Document* m_document;
    GroupListModel* m_groups;
    DocumentListModel* m_documents;
    ThumbnailCache* m_thumbnails;
    QPointer<MainViewToolbar> m_toolbar; ///< owned here until the window takes it
    QStackedWidget* m_busyStack = nullptr;
    QStackedWidget* m_documentsStack = nullptr;
    MainSplitView* m_splitView = nullptr;
    GroupsListView* m_groupsView = nullptr;
    DocumentsTableView* m_documentsView = nullptr;
    MainViewArchiveHeader* m_header = nullptr;
    QLineEdit* m_containerTitle = nullptr;
    QPlainTextEdit* m_containerDescription = nullptr;
    MainViewInfoArea* m_infoArea = nullptr;
    MainViewStartArea* m_startArea = nullptr;
    KVTessaryProgress* m_progress = nullptr;
    QWidget* m_progressView = nullptr;
    MainViewSelection* m_selection = nullptr;
    QPointer<PreviewWindow> m_preview;
    QPointer<QWidget> m_scanner; ///< the scanner window whose scans come here
    IntakeFlow* m_intake = nullptr;
    BatchFlow* m_batch = nullptr;
    GroupFlow* m_groupFlow = nullptr;
    FolderFlow* m_folders = nullptr;
    DeletionFlow* m_deletion = nullptr;
    FileCopyFlow* m_fileCopy = nullptr;
    SortDescriptor m_sortDescriptor;
    bool m_startupImportScheduled = false;
};
