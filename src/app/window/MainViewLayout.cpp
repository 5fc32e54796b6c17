#include "app/window/MainViewLayout.h"

#include "app/i18n/Localizer.h"
#include "app/models/DocumentListModel.h"
#include "app/models/GroupListModel.h"
#include "app/views/DocumentItemDelegate.h"
#include "app/views/DocumentsTableView.h"
#include "app/views/GroupItemDelegate.h"
#include "app/views/GroupsListView.h"
#include "app/views/MainSplitView.h"
#include "controls/KVTessaryProgress.h"
#include "app/window/MainViewArchiveHeader.h"
#include "app/window/MainViewInfoArea.h"
#include "app/window/MainViewStartArea.h"
#include "controls/KVSeparator.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QVBoxLayout>

MainViewLayout::MainViewLayout(QWidget* host, Document* document, GroupListModel* groups, DocumentListModel* documents)
{
    auto* outer = new QVBoxLayout(host);
    outer->setContentsMargins(0, 0, 0, 0);
    busyStack = new QStackedWidget(host);
    outer->addWidget(busyStack);

    splitView = new MainSplitView(busyStack);
    splitView->setObjectName(QStringLiteral("mainSplitView"));
    splitView->addWidget(buildGroupsPane(document, groups));
    documentsStack = new QStackedWidget(splitView);
    documentsPage = buildDocumentsPage(document, documents);
    startArea = new MainViewStartArea(documentsStack);
    documentsStack->addWidget(documentsPage);
    documentsStack->addWidget(startArea);
    splitView->addWidget(documentsStack);
    // The groups pane keeps its width; the documents take what the window gains.
    splitView->setStretchFactor(0, 0);
    splitView->setStretchFactor(1, 1);
    splitView->setSizes({ 260, 740 });
    busyStack->addWidget(splitView);

    // The progress view, centred where the lists were.
    auto* progressPage = new QWidget(busyStack);
    auto* progressLayout = new QVBoxLayout(progressPage);
    progressLayout->addStretch(2);
    progress = new KVTessaryProgress(progressPage);
    progress->setObjectName(QStringLiteral("progressIndicator"));
    progress->setMinimumWidth(360);
    progressLayout->addWidget(progress, 0, Qt::AlignHCenter);
    progressLayout->addStretch(3);
    busyStack->addWidget(progressPage);
    progressView = progressPage;
}

QWidget* MainViewLayout::buildGroupsPane(Document* document, GroupListModel* groups)
{
    auto* pane = new QWidget;
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    header = new MainViewArchiveHeader(document, pane);
    containerTitle = header->titleField();
    containerDescription = header->descriptionField();
    layout->addWidget(header);
    layout->addWidget(new KVSeparator(Qt::Horizontal, pane));
    groupsView = new GroupsListView(pane);
    groupsView->setObjectName(QStringLiteral("groupsTableView"));
    groupsView->setModel(groups);
    groupsView->setItemDelegate(new GroupItemDelegate(groupsView));
    Localizer::setAccessibleKeys(groupsView, QStringLiteral("GROUPS_LIST"));
    layout->addWidget(groupsView, 1);
    return pane;
}

QWidget* MainViewLayout::buildDocumentsPage(Document* document, DocumentListModel* documents)
{
    auto* page = new QWidget(documentsStack);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    documentsView = new DocumentsTableView(page);
    documentsView->setObjectName(QStringLiteral("documentsTableView"));
    documentsView->setModel(documents);
    documentsView->setItemDelegate(new DocumentItemDelegate(documentsView));
    QHeaderView* header = documentsView->header();
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setSectionResizeMode(DocumentListModel::TitleColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(DocumentListModel::ColorTagColumn, QHeaderView::Fixed);
    header->setSectionResizeMode(DocumentListModel::LockColumn, QHeaderView::Fixed);
    const int columnWidths[] = { 240, 90, 110, 160, 80, 140, 28, 28 };
    for (int column = 0; column < DocumentListModel::ColumnCount; ++column)
        header->resizeSection(column, columnWidths[column]);
    Localizer::setAccessibleKeys(documentsView, QStringLiteral("DOCUMENTS_LIST"));
    layout->addWidget(documentsView, 1);
    layout->addWidget(new KVSeparator(Qt::Horizontal, page));
    infoArea = new MainViewInfoArea(document, page);
    infoArea->setFixedHeight(168);
    layout->addWidget(infoArea);
    return page;
}
