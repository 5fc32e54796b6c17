#include "app/window/MainView.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"

#include <QVBoxLayout>

// The screen's panes are filled in step by step; until then it is a frame
// with an empty toolbar strip and every command a no-op.

MainView::MainView(Document* document, QWidget* parent)
    : QWidget(parent)
    , m_document(document)
    , m_toolbarView(new QWidget(this))
{
    new QVBoxLayout(this);
}

MainView::~MainView() = default;

void MainView::viewActions() {}

std::shared_ptr<QuillarcGroup> MainView::currentGroup() const
{
    return nullptr;
}

std::shared_ptr<QuillarcDocument> MainView::currentDocument() const
{
    return nullptr;
}

std::pair<qint64, qint64> MainView::selectionIndexes() const
{
    return { -1, -1 };
}

bool MainView::validateUserInterfaceItem(const QString& action, bool windowIsKey) const
{
    Q_UNUSED(action);
    Q_UNUSED(windowIsKey);
    return true;
}

void MainView::addGroup() {}
void MainView::addFolderGroup() {}
void MainView::editGroup() {}
void MainView::deleteGroup() {}
void MainView::addDocument() {}
void MainView::addBatchDocuments() {}
void MainView::editDocument() {}
void MainView::deleteDocument() {}
void MainView::createFileCopy() {}
void MainView::exportGroup() {}
void MainView::exportDocument() {}
void MainView::exportLogAction() {}
void MainView::generateQuickLook() {}
void MainView::showSearchPopover() {}
void MainView::showSortOrderPopover() {}
void MainView::showInfoPopover() {}
void MainView::showScannerSheet() {}
void MainView::selectSearchResultForQuillarcDocument(const std::shared_ptr<QuillarcDocument>&) {}
void MainView::addScanDocumentWithURL(const QString&) {}
