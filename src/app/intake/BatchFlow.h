#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <atomic>
#include <memory>

class BatchIntake;
#include "app/sheet/BatchSheet.h"
#include "model/ModelPointers.h"
class DocumentIntake;
class MainView;
class QThread;

/// Taking many files in at once: the open dialog allowing several files, a
/// drop of several, and the files of a new folder group.
///
/// The records are built on a worker thread, file by file with the progress
/// shown and a Cancel that stops between files; a cancelled batch leaves the
/// archive as it was. Built records wait outside every group until the batch
/// sheet is confirmed, which files them all on the main thread in the files'
/// order; Cancel in the sheet drops them.
class BatchFlow : public QObject
{
    Q_OBJECT

public:
    explicit BatchFlow(MainView* view);
    ~BatchFlow() override;

    /// `addBatchDocuments:`: the open dialog for several files, then the batch.
    void addBatchDocuments(bool checkedFirstSave);
    /// Builds the records of @p paths for @p group and opens the batch sheet;
    /// @p isFolderGroup: @p group was made for the batch and goes with a cancel.
    void startBatch(const QStringList& paths, const GroupPtr& group, bool isFolderGroup);
    /// Stops building the batch (the progress view's Cancel).
    void cancelBuilding();

    /// True while records are built or the batch sheet is open.
    bool isBusy() const;
    bool isBuilding() const { return m_thread != nullptr; }
    qsizetype batchArrayCount() const;
    BatchIntake* batch() const { return m_batch.get(); }
    BatchSheet* batchSheet() const { return m_sheet; }

Q_SIGNALS:
    void batchSheetOpened(BatchSheet* sheet);
    /// The batch ended: confirmed (@p filed), cancelled in the sheet, or stopped while built.
    void batchFinished(bool filed);

private:
    void onBuilt();
    void openBatchSheet();
    void closeBatchSheet(int result);
    void finish(bool filed);

    MainView* m_view;
    std::unique_ptr<DocumentIntake> m_intake;
    std::unique_ptr<BatchIntake> m_batch;
    QThread* m_thread = nullptr;
    std::atomic<bool> m_built { false };
    GroupPtr m_group;
    bool m_isFolderGroup = false;
    QPointer<BatchSheet> m_sheet;
};
