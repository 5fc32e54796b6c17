#include "app/intake/BatchFlow.h"

#include "app/intake/Delay.h"
#include "app/intake/IntakeFlow.h"
#include "app/models/DocumentListModel.h"
#include "app/models/GroupListModel.h"
#include "app/sheet/BatchSheet.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "controls/KVTessaryProgress.h"
#include "app/views/TokenField.h"
#include "app/window/MainView.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/GroupEditing.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QThread>

BatchFlow::BatchFlow(MainView* view)
    : QObject(view)
    , m_view(view)
    , m_intake(std::make_unique<DocumentIntake>(*view->document()))
    , m_batch(std::make_unique<BatchIntake>(*view->document(), *m_intake))
{
}

BatchFlow::~BatchFlow()
{
    if (m_thread) {
        // The worker stops at the next file; members it staged are removed.
        m_thread->requestInterruption();
        m_thread->wait();
        delete m_thread;
    }
}

bool BatchFlow::isBusy() const
{
    return m_thread || m_sheet;
}

qsizetype BatchFlow::batchArrayCount() const
{
    return m_batch->batchArrayCount();
}

void BatchFlow::addBatchDocuments(bool checkedFirstSave)
{
    if (!checkedFirstSave)
        return;
    FileDialog::Options options;
    options.title = localizedString(QStringLiteral("Select File"));
    FileDialog::openFiles(m_view->window(), options, [this](const QStringList& paths) {
        if (!paths.isEmpty() && m_view->currentGroup())
            startBatch(paths, m_view->currentGroup(), false);
    });
}

void BatchFlow::startBatch(const QStringList& paths, const GroupPtr& group, bool isFolderGroup)
{
    if (m_thread || m_sheet || !group)
        return;
    m_group = group;
    m_isFolderGroup = isFolderGroup;
    m_built = false;
    m_view->beginProgress(true);
    KVTessaryProgress* progress = m_view->progressIndicator();
    progress->setRange(0, paths.size());
    progress->setValue(0);

    BatchIntake* batch = m_batch.get();
    m_thread = QThread::create([this, batch, paths, group] {
        QThread* self = QThread::currentThread();
        const bool built = batch->start(paths, group, [this, self, &paths](int done, int total) {
            const QString name = QFileInfo(paths.at(done)).fileName();
            QMetaObject::invokeMethod(
                this,
                [this, done, total, name] {
                    KVTessaryProgress* pane = m_view->progressIndicator();
                    pane->setRange(0, total);
                    pane->setValue(done);
                    pane->setText(QStringLiteral("%1 / %2  %3").arg(done + 1).arg(total).arg(name));
                },
                Qt::QueuedConnection);
            return !self->isInterruptionRequested();
        });
        m_built = built;
    });
    connect(m_thread, &QThread::finished, this, &BatchFlow::onBuilt);
    m_thread->start();
}

void BatchFlow::cancelBuilding()
{
    if (m_thread)
        m_thread->requestInterruption();
}

void BatchFlow::onBuilt()
{
    m_thread->deleteLater();
    m_thread = nullptr;
    if (!m_built) {
        // Stopped: nothing of the batch stays, not even a group made for it.
        if (m_isFolderGroup)
            GroupEditing(*m_view->document()).cancelAddGroup(m_group);
        m_view->endProgress();
        finish(false);
        return;
    }
    m_batch->values().isFolderGroupBatchAction = m_isFolderGroup;
    m_view->document()->updateChangeCount();
    m_view->saveDocument();
    Delay::after(Delay::stepMs, this, [this] { openBatchSheet(); });
}

void BatchFlow::openBatchSheet()
{
    m_view->endProgress();
    if (m_batch->batchArrayCount() == 0 && !m_isFolderGroup) {
        // Nothing could be taken in (only folders, say): there is nothing to confirm.
        MessageBox::beep();
        finish(false);
        return;
    }
    m_sheet = new BatchSheet(m_view->window(), m_batch->batchSheetTitle(), m_batch->values(), m_batch->skipped(),
        m_view->allTags());
    m_sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_sheet, &QDialog::finished, this, &BatchFlow::closeBatchSheet);
    m_sheet->open();
    const QPointer<BatchSheet> sheet = m_sheet;
    Delay::after(Delay::focusMs, this, [sheet] {
        if (sheet)
            sheet->commentField()->setFocus(Qt::OtherFocusReason);
    });
    Q_EMIT batchSheetOpened(m_sheet);
}

void BatchFlow::closeBatchSheet(int result)
{
    BatchSheet* sheet = m_sheet;
    if (!sheet)
        return;
    m_sheet = nullptr;
    if (result != QDialog::Accepted) {
        m_batch->cancelAddBatchDocumentsSheet();
        m_view->groupsModel()->syncNow();
        finish(false);
        return;
    }
    const bool isFolderGroup = m_batch->values().isFolderGroupBatchAction;
    m_batch->values() = sheet->values();
    m_batch->values().isFolderGroupBatchAction = isFolderGroup;
    m_batch->closeAddBatchDocumentsSheet();
    m_view->documentsModel()->rearrangeObjects();
    m_view->clearDocumentSelection();
    m_view->requestSearchFilterReset();
    m_view->document()->updateChangeCount();
    finish(true);
}

void BatchFlow::finish(bool filed)
{
    m_group.reset();
    m_isFolderGroup = false;
    Q_EMIT batchFinished(filed);
}
