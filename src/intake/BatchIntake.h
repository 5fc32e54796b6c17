#pragma once

#include "model/ModelPointers.h"
#include "model/Value.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

class DocumentIntake;
class Document;

/// Many files taken in at once with shared values (the batch sheet).
///
/// start() builds one record per file; the records stay outside every group
/// until closeAddBatchDocumentsSheet() gives them the shared values, writes
/// their audit entries and appends them to the group in one step. Until then
/// the archive's tree is as it was before the batch; a batch that is stopped
/// or cancelled leaves only member folders, which are removed (stopped) or
/// queued for removal at the next save (cancelled).
class BatchIntake
{
public:
    BatchIntake(Document& archive, DocumentIntake& intake);

    /// Asked before each file with the count done so far; false stops the batch.
    using Progress = std::function<bool(int done, int total)>;

    /// Builds the records of the files in the given order, skipping paths
    /// that do not exist, folders, packages and refused files (each with a
    /// "SKIP FILE: %@" line), then fills the shared values from the archive.
    /// Members are staged and put in place together at the end. Returns
    /// false when stopped or when the members cannot be flushed to disk: the
    /// members written so far are removed and the batch is empty.
    bool start(const QStringList& paths, const GroupPtr& group, const Progress& progress = {});

    /// Applies the shared values to every record, writes their audit entries,
    /// advances the counter by the batch size and appends the records to the group.
    void closeAddBatchDocumentsSheet();
    /// Drops the batch: the records' members go at the next save; a new
    /// monitored-folder group made for the batch is removed as well.
    void cancelAddBatchDocumentsSheet();

    const QList<DocumentPtr>& batchDocuments() const { return m_batchDocuments; }
    qsizetype batchArrayCount() const { return m_batchDocuments.size(); }
    /// Paths skipped by start(), each with its reason.
    const QStringList& skipped() const { return m_skipped; }
    QString batchSheetTitle() const;

    /// The shared values the batch sheet shows and edits.
    struct SheetValues
    {
        QStringList tagsBatchDocuments;
        Value colorTagBatchDocuments = Value::integer(7);
        QString commentBatchDocuments;
        bool lockBatchDocuments = false;
        bool voucherNumberingBatchDocuments = false;
        QString voucherPrefixBatchDocuments;
        Value voucherNumberBatchDocuments; ///< the start number; may be edited
        QString voucherSuffixBatchDocuments;
        bool isFolderGroupBatchAction = false;
    };
    SheetValues& values() { return m_values; }

private:
    Document& m_archive;
    DocumentIntake& m_intake;
    GroupPtr m_group;
    QList<DocumentPtr> m_batchDocuments;
    QStringList m_skipped;
    SheetValues m_values;
};
