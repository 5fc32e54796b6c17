#include "app/intake/IntakeFlow.h"

#include "app/intake/BatchFlow.h"
#include "app/intake/Delay.h"
#include "app/models/DocumentListModel.h"
#include "app/sheet/DocumentSheet.h"
#include "app/util/FileDialog.h"
#include "controls/KVTessaryProgress.h"
#include "app/util/MessageBox.h"
#include "app/util/Task.h"
#include "app/window/MainView.h"
#include "intake/DocumentIntake.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QFileInfo>
#include <QLineEdit>

namespace {
QString text(const char* key)
{
    return localizedString(QString::fromUtf8(key));
}

void alertError(QWidget* parent, const QString& informativeText)
{
    MessageBox::alert(parent, MessageBox::Icon::Critical, text("Error!"), informativeText, { text("OK") });
}
} // namespace

IntakeFlow::IntakeFlow(MainView* view, BatchFlow* batch)
    : QObject(view)
    , m_view(view)
    , m_batch(batch)
    , m_intake(std::make_unique<DocumentIntake>(*view->document()))
{
}

IntakeFlow::~IntakeFlow() = default;

bool IntakeFlow::isBusy() const
{
    return m_building || m_sheet;
}

bool IntakeFlow::checkFirstSave()
{
    const PreferencesPtr preferences = m_view->document()->preferences();
    if (preferences && preferences->isFirstSaveDone())
        return true;
    alertError(m_view->window(), text("You need to name and save the current Quillarc document first."));
    return false;
}

void IntakeFlow::addDocument()
{
    if (!checkFirstSave())
        return;
    FileDialog::Options options;
    options.title = text("Select File");
    FileDialog::openFile(m_view->window(), options, [this](const QString& path) {
        if (path.isEmpty() || !m_view->currentGroup())
            return;
        m_view->beginProgress(false);
        Delay::after(Delay::stepMs, this, [this, path] {
            m_view->document()->checkForFilesWrapper();
            // The dialog's choice is taken in even after this alert: the
            // package becomes a record of its own, with nothing readable in it.
            if (DocumentIntake::isFilePackage(path))
                alertError(m_view->window(), text("File format not supported."));
            buildRecord(path, Origin::OpenDialog);
        });
    });
}

void IntakeFlow::receivedDroppedFiles(const QStringList& paths)
{
    if (m_view->isBusy()) {
        // A sheet is open or records are being built: the drop waits for nothing.
        MessageBox::beep();
        return;
    }
    if (!checkFirstSave())
        return;
    m_view->document()->checkForFilesWrapper();
    if (paths.isEmpty() || !m_view->currentGroup()) {
        MessageBox::beep();
        return;
    }
    if (paths.size() > 1) {
        m_batch->startBatch(paths, m_view->currentGroup(), false);
        return;
    }
    const QString path = paths.first();
    if (DocumentIntake::isFilePackage(path)) {
        alertError(m_view->window(), text("File format not supported."));
        return;
    }
    const QFileInfo info(path);
    if (!info.exists() || info.isDir()) {
        MessageBox::beep();
        return;
    }
    m_view->beginProgress(false);
    buildRecord(path, Origin::Drop);
}

void IntakeFlow::addScanDocumentWithURL(const QString& filePath)
{
    if (!checkFirstSave() || !m_view->currentGroup())
        return;
    m_view->beginProgress(false);
    buildRecord(filePath, Origin::Scan);
}

void IntakeFlow::buildRecord(const QString& filePath, Origin origin)
{
    const GroupPtr group = m_view->currentGroup();
    if (!group) {
        restoreView();
        return;
    }
    m_building = true;
    m_view->progressIndicator()->setText(QFileInfo(filePath).fileName());
    // Text extraction and recognition take their time: a builder of its own
    // works on a pool thread, and the record comes back to the main thread.
    auto builder = std::make_shared<DocumentIntake>(*m_view->document());
    builder->setTakesPackagesAsFiles(origin == Origin::OpenDialog);
    Task::run(
        this,
        [builder, filePath, group] {
            const DocumentPtr record = builder->quillarcDocumentForURL(filePath, group);
            return std::make_pair(record, record ? QString() : builder->errorString());
        },
        [this, group, origin](const std::pair<DocumentPtr, QString>& result) {
            m_building = false;
            recordBuilt(result.first, result.second, group, origin);
        });
}

void IntakeFlow::recordBuilt(const DocumentPtr& record, const QString& refusal, const GroupPtr& group, Origin origin)
{
    if (!record) {
        restoreView();
        alertError(m_view->window(), refusal);
        return;
    }
    m_intake->applyVoucherNumbering(record);
    if (origin == Origin::Drop) {
        m_view->document()->updateChangeCount();
        m_view->saveDocument();
    }
    m_intake->appendDocuments(group, { record });
    if (origin == Origin::Scan)
        m_view->document()->createLogObjectForDocument(record, 0);
    m_building = true;
    Delay::after(Delay::stepMs, this, [this, record] {
        m_building = false;
        m_view->documentsModel()->rearrangeObjects();
        m_view->selectDocument(record);
        m_view->endProgress();
        openDocumentSheet(record, true);
    });
}

void IntakeFlow::editDocument()
{
    const DocumentPtr record = m_view->currentDocument();
    if (!record || m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    openDocumentSheet(record, false);
}

void IntakeFlow::openDocumentSheet(const DocumentPtr& record, bool isNewRecord)
{
    m_sheet = new DocumentSheet(m_view->window(), record, isNewRecord);
    m_sheet->setAttribute(Qt::WA_DeleteOnClose);
    if (!isNewRecord && record->isFileLocked()) {
        m_sheet->titleField()->setReadOnly(true);
        m_sheet->voucherField()->setReadOnly(true);
    }
    connect(m_sheet, &QDialog::finished, this, &IntakeFlow::closeDocumentSheet);
    m_sheet->open();
    const bool voucher = m_view->document()->preferences()->autoVoucherNumbering();
    const QPointer<DocumentSheet> sheet = m_sheet;
    Delay::after(Delay::focusMs, this, [sheet, voucher] {
        if (sheet)
            sheet->focusField(voucher);
    });
    Q_EMIT documentSheetOpened(m_sheet);
}

void IntakeFlow::closeDocumentSheet(int result)
{
    DocumentSheet* sheet = m_sheet;
    if (!sheet)
        return;
    m_sheet = nullptr;
    const DocumentPtr record = sheet->record();
    const bool kept = result == QDialog::Accepted;
    if (kept && (sheet->isNewRecord() || !record->isFileLocked())) {
        // What the sheet shows is written before the audit entry, which quotes the title.
        if (sheet->title() != record->title())
            record->setValue(QStringLiteral("title"), Value::string(sheet->title()));
        if (sheet->slipNumber() != record->slipNumber())
            record->setValue(QStringLiteral("slipNumber"), Value::string(sheet->slipNumber()));
    }
    if (sheet->isNewRecord()) {
        if (kept) {
            m_view->requestSearchFilterReset();
            m_intake->closeAddDocumentSheet(record);
            m_view->document()->updateChangeCount();
        } else {
            m_intake->cancelAddDocumentSheet(record);
            m_view->documentsModel()->rearrangeObjects();
        }
        Q_EMIT singleIntakeFinished(record, kept);
    }
}

void IntakeFlow::restoreView()
{
    m_building = false;
    m_view->endProgress();
}
