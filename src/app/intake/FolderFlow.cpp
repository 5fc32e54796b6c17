#include "app/intake/FolderFlow.h"

#include "app/intake/BatchFlow.h"
#include "app/intake/Delay.h"
#include "app/intake/IntakeFlow.h"
#include "app/models/DocumentListModel.h"
#include "app/models/GroupListModel.h"
#include "app/sheet/FolderImportSheet.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/window/MainView.h"
#include "intake/DocumentIntake.h"
#include "intake/MonitoredFolders.h"
#include "intake/StartupFolderImport.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

FolderFlow::FolderFlow(MainView* view, IntakeFlow* intake, BatchFlow* batch)
    : QObject(view)
    , m_view(view)
    , m_intake(intake)
    , m_batch(batch)
{
}

FolderFlow::~FolderFlow() = default;

bool FolderFlow::isImporting() const
{
    return m_import && m_import->isRunning();
}

void FolderFlow::addFolderGroup()
{
    if (m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    if (!m_intake->checkFirstSave())
        return;
    FileDialog::Options options;
    options.title = localizedString(QStringLiteral("Select Folder"));
    FileDialog::chooseDirectory(m_view->window(), options, [this](const QString& folder) {
        if (folder.isEmpty())
            return;
        Delay::after(Delay::stepMs, this, [this, folder] { createFolderGroup(folder); });
    });
}

void FolderFlow::createFolderGroupFromFolderPath(const QString& folderPath)
{
    Delay::after(Delay::folderDropMs, this, [this, folderPath] { createFolderGroup(folderPath); });
}

void FolderFlow::createFolderGroup(const QString& folderPath)
{
    if (m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    if (!m_intake->checkFirstSave())
        return;
    QString refusal;
    const GroupPtr group = MonitoredFolders(*m_view->document()).createFolderGroup(folderPath, &refusal);
    if (!group) {
        MessageBox::alert(m_view->window(), MessageBox::Icon::Critical, localizedString(QStringLiteral("Error!")),
            refusal, { localizedString(QStringLiteral("OK")) });
        return;
    }
    // The records are built while the new group is current, so the sheet files them there.
    m_view->selectGroup(group);
    m_batch->startBatch(MonitoredFolders::folderEntries(folderPath), group, true);
}

bool FolderFlow::doTheStartupFolderImport()
{
    Document* archive = m_view->document();
    if (m_import && m_import->isRunning())
        return false;
    auto intake = std::make_shared<DocumentIntake>(*archive);
    m_import = std::make_unique<StartupFolderImport>(
        *archive, [intake](const QString& path, const GroupPtr& group) { return intake->quillarcDocumentForURL(path, group); });
    // Text extraction and recognition run beside the status sheet, which keeps moving.
    m_import->setBuildsRecordsOffMainThread(true);
    StartupFolderImport* import = m_import.get();
    connect(import, &StartupFolderImport::folderImportStringChanged, this, [this](const QString& text) {
        if (m_sheet)
            m_sheet->setFolderImportString(text);
    });
    connect(import, &StartupFolderImport::folderImportFinished, this, [this](int imported, bool) {
        if (m_sheet) {
            m_sheet->accept();
            m_sheet = nullptr;
        }
        m_view->updateDocumentsCount();
        Q_EMIT startupImportFinished(imported);
    });
    connect(import, &StartupFolderImport::documentsRearranged, this, [this] {
        m_view->groupsModel()->syncNow();
        m_view->documentsModel()->rearrangeObjects();
    });
    m_sheet = new FolderImportSheet(m_view->window());
    m_sheet->setAttribute(Qt::WA_DeleteOnClose);
    if (!import->doTheStartupFolderImport()) {
        delete m_sheet;
        m_import.reset();
        return false;
    }
    m_sheet->setFolderImportString(import->folderImportString());
    m_sheet->open();
    return true;
}
