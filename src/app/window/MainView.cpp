#include "app/window/MainView.h"

#include "app/i18n/Localizer.h"
#include "app/intake/BatchFlow.h"
#include "app/intake/Delay.h"
#include "app/intake/DeletionFlow.h"
#include "app/intake/FileCopyFlow.h"
#include "app/intake/FolderFlow.h"
#include "app/intake/GroupFlow.h"
#include "app/intake/IntakeFlow.h"
#include "app/models/DateFormatters.h"
#include "app/models/DocumentListModel.h"
#include "app/models/GroupListModel.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverController.h"
#include "app/popover/PopoverRegistry.h"
#include "app/preview/PreviewWindow.h"
#include "app/scanner/ScannerWindow.h"
#include "app/util/MessageBox.h"
#include "app/views/DocumentItemDelegate.h"
#include "app/views/DocumentsTableView.h"
#include "app/views/GroupItemDelegate.h"
#include "app/views/GroupsListView.h"
#include "app/views/MainSplitView.h"
#include "controls/KVTessaryProgress.h"
#include "app/views/SegmentedControl.h"
#include "app/views/ThumbnailCache.h"
#include "app/window/MainViewCommands.h"
#include "app/window/MainViewArchiveHeader.h"
#include "app/window/MainViewInfoArea.h"
#include "app/window/MainViewLayout.h"
#include "app/window/MainViewSelection.h"
#include "app/window/MainViewStartArea.h"
#include "app/window/MainViewToolbar.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "output/CompletionAids.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>
#include <cmath>

MainView::MainView(Document* document, QWidget* parent)
    : QWidget(parent)
    , m_document(document)
    , m_groups(new GroupListModel(document, this))
    , m_documents(new DocumentListModel(document, this))
    , m_thumbnails(new ThumbnailCache(this))
    , m_toolbar(new MainViewToolbar)
{
    setObjectName(QStringLiteral("MainView"));
    m_thumbnails->setSide(DocumentItemDelegate::thumbnailSide);
    m_thumbnails->setDevicePixelRatio(devicePixelRatioF());
    m_documents->setThumbnailCache(m_thumbnails);
    buildLayout();
    m_batch = new BatchFlow(this);
    m_intake = new IntakeFlow(this, m_batch);
    m_groupFlow = new GroupFlow(this);
    m_folders = new FolderFlow(this, m_intake, m_batch);
    m_deletion = new DeletionFlow(this);
    m_fileCopy = new FileCopyFlow(this);
    m_selection = new MainViewSelection(m_document, m_groupsView, m_groups, m_documentsView, m_documents, this);
    wire();
    Localizer::localize(this);
    Localizer::localize(m_toolbar);
    focusTitleForFirstStart();
}

MainView::~MainView()
{
    delete m_preview;
    delete m_toolbar;
}

void MainView::buildLayout()
{
    const MainViewLayout parts(this, m_document, m_groups, m_documents);
    m_busyStack = parts.busyStack;
    m_documentsStack = parts.documentsStack;
    m_splitView = parts.splitView;
    m_groupsView = parts.groupsView;
    m_documentsView = parts.documentsView;
    m_header = parts.header;
    m_containerTitle = parts.containerTitle;
    m_containerDescription = parts.containerDescription;
    m_infoArea = parts.infoArea;
    m_startArea = parts.startArea;
    m_progress = parts.progress;
    m_progressView = parts.progressView;

    QMenu* menu = m_toolbar->newMenu();
    menu->addAction(QStringLiteral("NEW_GROUP_MENU"), this, &MainView::addGroup);
    menu->addAction(QStringLiteral("NEW_FOLDER_GROUP_MENU"), this, &MainView::addFolderGroup);
    menu->addSeparator();
    menu->addAction(QStringLiteral("NEW_DOCUMENT_MENU"), this, &MainView::addDocument);
    menu->addAction(QStringLiteral("NEW_BATCH_MENU"), this, &MainView::addBatchDocuments);
}

void MainView::wire()
{
    connect(m_groupsView, &GroupsListView::doubleClickedRow, this, &MainView::editGroup);
    connect(m_documentsView, &DocumentsTableView::doubleClickedRow, this, &MainView::editDocument);
    connect(m_documentsView, &DocumentsTableView::spacePressed, this, &MainView::generateQuickLook);
    connect(m_documentsView, &DocumentsTableView::filesDropped, this, &MainView::receivedDroppedFiles);
    connect(m_groups, &GroupListModel::folderDropped, this, [this](const QString& folder) {
        window()->raise();
        window()->activateWindow();
        createFolderGroupFromFolderPath(folder);
    });
    connect(m_groups, &GroupListModel::documentMovedToGroup, this, &MainView::updateDocumentsCount);
    connect(m_selection, &MainViewSelection::groupSelectionChanged, this, &MainView::onGroupSelectionChanged);
    connect(m_selection, &MainViewSelection::documentSelectionChanged, this, &MainView::onDocumentSelectionChanged);
    connect(m_selection, &MainViewSelection::selectionChanged, this, &MainView::selectionChanged);
    connect(m_splitView, &MainSplitView::layoutChanged, this, &MainView::alignToolbarButtonView);
    connect(m_toolbar->actionSegment(), &SegmentedControl::segmentClicked, this, &MainView::toolbarActionSegmentAction);
    connect(m_toolbar->secondaryActionSegment(), &SegmentedControl::segmentClicked, this,
        &MainView::toolbarSecondaryActionSegmentAction);
    connect(m_toolbar->sortButton(), &QToolButton::clicked, this, &MainView::showSortOrderPopover);
    connect(m_toolbar->searchButton(), &QToolButton::clicked, this, &MainView::showSearchPopover);
    connect(m_toolbar->infoButton(), &QToolButton::clicked, this, &MainView::showInfoPopover);
    connect(m_progress, &KVTessaryProgress::cancelRequested, m_batch, &BatchFlow::cancelBuilding);
    connect(m_startArea, &MainViewStartArea::letsDoIt, this, &MainView::letsDoIt);
    connect(m_document, &Document::objectChanged, this, &MainView::onObjectChanged);
    // The stored selection comes back when the screen opens, its rows counted
    // in the archive's order.
    applySortDescriptor();
    m_selection->setSelectionIndex();
    m_groups->syncNow();
    onGroupSelectionChanged();
}

void MainView::focusTitleForFirstStart()
{
    const PreferencesPtr preferences = m_document->preferences();
    const bool setUp = preferences && preferences->isSetupDone();
    m_documentsStack->setCurrentIndex(setUp ? 0 : 1);
    if (setUp)
        return;
    // The user names the archive first.
    Delay::after(Delay::stepMs, this, [this] {
        m_containerTitle->setFocus(Qt::OtherFocusReason);
        m_containerTitle->selectAll();
    });
}

void MainView::onObjectChanged(QuillarcDatabaseObject* object)
{
    if (object == m_document->preferences().get()) {
        // The sort popover writes the order into the preferences.
        if (DocumentOrdering::applySortDescriptor(*m_document->preferences()) != m_sortDescriptor)
            applySortDescriptor();
    }
}

void MainView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    updatePixelRatio();
    if (QWindow* handle = window()->windowHandle())
        connect(handle, &QWindow::screenChanged, this, &MainView::updatePixelRatio, Qt::UniqueConnection);
}

void MainView::updatePixelRatio()
{
    // Thumbnails are made for the pixel ratio of the screen the window is on.
    m_thumbnails->setDevicePixelRatio(devicePixelRatioF());
    m_documentsView->viewport()->update();
}

void MainView::viewActions()
{
    // The toolbar's segments carry their tags from construction; they follow the selection.
    toolbarActionSegment()->setSegmentEnabled(1, hasSelectedGroup());
    alignToolbarButtonView();
    applySortDescriptor();
    if (!m_startupImportScheduled) {
        m_startupImportScheduled = true;
        Delay::after(Delay::startupImportMs, this, [this] { doTheStartupFolderImport(); });
    }
}

void MainView::alignToolbarButtonView()
{
    const int firstPane = m_splitView->count() > 0 ? m_splitView->widget(0)->width() : 0;
    m_toolbar->setButtonViewX(
        int(std::floor(MainViewToolbar::toolbarButtonViewOriginX + firstPane - 180)));
}

void MainView::applySortDescriptor()
{
    if (!m_document->preferences())
        return;
    m_sortDescriptor = DocumentOrdering::applySortDescriptor(*m_document->preferences());
    m_documents->setSortDescriptor(m_sortDescriptor);
}

void MainView::updateDocumentsCount()
{
    if (m_groups->rowCount() > 0)
        Q_EMIT m_groups->dataChanged(m_groups->index(0, 0), m_groups->index(m_groups->rowCount() - 1, 0),
            { GroupListModel::DocumentCountRole, Qt::AccessibleTextRole });
}

void MainView::letsDoIt()
{
    const PreferencesPtr preferences = m_document->preferences();
    if (!preferences)
        return;
    // The title typed last is the save dialog's proposed name.
    m_header->commitTitle();
    preferences->setValue(QStringLiteral("isSetupDone"), Value::boolean(true));
    m_documentsStack->setCurrentIndex(0);
    Delay::after(Delay::stepMs, this, [this] { saveDocument(); });
}

void MainView::setSelectionIndex()
{
    m_selection->setSelectionIndex();
}

std::shared_ptr<QuillarcGroup> MainView::currentGroup() const
{
    return m_selection->currentGroup();
}

std::shared_ptr<QuillarcDocument> MainView::currentDocument() const
{
    return m_selection->currentDocument();
}

std::pair<qint64, qint64> MainView::selectionIndexes() const
{
    return m_selection->selectionIndexes();
}

bool MainView::validateUserInterfaceItem(const QString& action, bool windowIsKey) const
{
    MainViewCommands::State state;
    state.windowIsKey = windowIsKey;
    state.hasGroup = hasSelectedGroup();
    state.hasDocument = hasSelectedDocument();
    state.groupCount = m_groups->rowCount();
    state.busy = m_busyStack->currentWidget() == m_progressView;
    return MainViewCommands::validateUserInterfaceItem(action, state);
}

bool MainView::isBusy() const
{
    return m_busyStack->currentWidget() == m_progressView || m_intake->isBusy() || m_batch->isBusy()
        || m_groupFlow->isBusy() || m_folders->isImporting();
}

void MainView::beginProgress(bool cancellable)
{
    m_progress->setIndeterminate(!cancellable);
    m_progress->setValue(0);
    m_progress->setText(QString());
    m_progress->setCancelVisible(cancellable);
    m_busyStack->setCurrentWidget(m_progressView);
    Q_EMIT selectionChanged();
}

void MainView::endProgress()
{
    m_busyStack->setCurrentWidget(m_splitView);
    Q_EMIT selectionChanged();
}

void MainView::saveDocument()
{
    if (m_document->packagePath().isEmpty()) {
        Q_EMIT saveRequested();
        return;
    }
    const QString path = m_document->packagePath();
    m_document->saveToURL(path, [this, path](const QString& error) {
        if (!error.isEmpty())
            MessageBox::alert(window(), MessageBox::Icon::Critical, localizedString(QStringLiteral("Error!")),
                QStringLiteral("%1: %2").arg(path, error), { localizedString(QStringLiteral("OK")) });
    });
}

void MainView::selectGroup(const std::shared_ptr<QuillarcGroup>& group)
{
    m_selection->selectGroup(group);
}

void MainView::selectDocument(const std::shared_ptr<QuillarcDocument>& document)
{
    m_selection->selectDocument(document);
}

void MainView::clearDocumentSelection()
{
    m_selection->clearDocumentSelection();
}

void MainView::requestSearchFilterReset()
{
    Q_EMIT searchFilterResetRequested();
}

QString MainView::mediumDateFormatter(const Value& date)
{
    return DateFormatters::mediumDate(date);
}

QString MainView::shortDateFormatter(const Value& date)
{
    return DateFormatters::shortDate(date);
}

QStringList MainView::allTags() const
{
    return CompletionAids::allTags(m_document->allGroups());
}

qsizetype MainView::batchArrayCount() const
{
    return m_batch->batchArrayCount();
}

void MainView::receivedDroppedFiles(const QStringList& paths)
{
    m_intake->receivedDroppedFiles(paths);
}

void MainView::createFolderGroupFromFolderPath(const QString& folderPath)
{
    m_folders->createFolderGroupFromFolderPath(folderPath);
}

bool MainView::doTheStartupFolderImport()
{
    return m_folders->doTheStartupFolderImport();
}

void MainView::onGroupSelectionChanged()
{
    const GroupPtr group = currentGroup();
    toolbarActionSegment()->setSegmentEnabled(1, group != nullptr);
    m_infoArea->setCompletionTags(allTags());
}

void MainView::onDocumentSelectionChanged()
{
    const DocumentPtr document = currentDocument();
    m_infoArea->setDocument(document);
    toolbarSecondaryActionSegment()->setSegmentEnabled(1, document != nullptr);
}

void MainView::setPreviewControl(bool controlling)
{
    // While the preview follows the list, the first segment shows no label.
    toolbarActionSegment()->setLabelKey(0, controlling ? QString() : QStringLiteral("NEW_MAIN_BUTTON"));
}

void MainView::toolbarActionSegmentAction(int tag)
{
    if (tag == 1)
        showScannerSheet();
}

void MainView::toolbarSecondaryActionSegmentAction(int tag)
{
    if (tag == 1)
        createFileCopy();
    else if (tag == 0)
        generateQuickLook();
}

void MainView::addGroup()
{
    m_groupFlow->addGroup();
}

void MainView::addFolderGroup()
{
    m_folders->addFolderGroup();
}

void MainView::editGroup()
{
    m_groupFlow->editGroup();
}

void MainView::deleteGroup()
{
    m_deletion->deleteGroup();
}

void MainView::addDocument()
{
    if (isBusy()) {
        MessageBox::beep();
        return;
    }
    m_intake->addDocument();
}

void MainView::addBatchDocuments()
{
    if (isBusy()) {
        MessageBox::beep();
        return;
    }
    m_batch->addBatchDocuments(m_intake->checkFirstSave());
}

void MainView::editDocument()
{
    m_intake->editDocument();
}

void MainView::deleteDocument()
{
    m_deletion->deleteDocument();
}

void MainView::createFileCopy()
{
    m_fileCopy->createFileCopy();
}

void MainView::exportGroup() {}
void MainView::exportDocument() {}
void MainView::exportLogAction() {}

void MainView::generateQuickLook()
{
    m_documentsView->setFocus(Qt::OtherFocusReason);
    if (m_preview && m_preview->isVisible()) {
        m_preview->close();
        return;
    }
    if (!m_preview) {
        m_preview = new PreviewWindow(window());
        m_preview->attachTo(m_documentsView, m_documents);
        connect(m_preview, &PreviewWindow::visibilityChanged, this, &MainView::setPreviewControl);
    }
    m_preview->showDocument(currentDocument());
    m_preview->show();
    m_preview->raise();
}

void MainView::showSearchPopover() {}

void MainView::showSortOrderPopover()
{
    PopoverController* content = PopoverRegistry::create(QStringLiteral("SortOrder_Popover"));
    if (!content)
        return;
    content->setDocument(m_document);
    auto* popover = new Popover(content, Popover::Behavior::Transient, window());
    popover->showRelativeTo(m_toolbar->sortButton());
    content->popoverViewActions();
}

void MainView::showInfoPopover() {}

void MainView::showScannerSheet()
{
    if (!currentGroup() || isBusy()) {
        MessageBox::beep();
        return;
    }
    // One scanner window per archive, kept and shown again; its scans are filed here.
    ScannerWindow* scanner = ScannerWindow::showScannerSheet(m_document, window());
    if (scanner && scanner != m_scanner) {
        m_scanner = scanner;
        connect(scanner, &ScannerWindow::scannedToURL, this, &MainView::addScanDocumentWithURL);
    }
}

void MainView::selectSearchResultForQuillarcDocument(const std::shared_ptr<QuillarcDocument>& document)
{
    m_selection->selectSearchResult(document);
}

void MainView::addScanDocumentWithURL(const QString& filePath)
{
    m_intake->addScanDocumentWithURL(filePath);
}

QPlainTextEdit* MainView::notesTextField() const
{
    return m_infoArea->notesTextField();
}
