#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

class BatchFlow;
class DocumentIntake;
#include "app/sheet/DocumentSheet.h"
#include "model/ModelPointers.h"
class MainView;

/// Taking single files in: the open dialog for one file, a drop (one file
/// here, several handed to the batch), a finished scan, and the sheet of the
/// new record whose confirmation writes the audit entry and whose Cancel
/// gives the voucher number back.
///
/// The record is built off the main thread while the lists are replaced by a
/// progress view; numbering it and adding it to the group happen on the main
/// thread, with the delays that let the progress view and the sheet appear.
class IntakeFlow : public QObject
{
    Q_OBJECT

public:
    IntakeFlow(MainView* view, BatchFlow* batch);
    ~IntakeFlow() override;

    /// `addDocument:`: the open dialog for one file, then single-file intake.
    void addDocument();
    /// `view:receivedDroppedFiles:`: one path is a single intake, more a batch.
    void receivedDroppedFiles(const QStringList& paths);
    /// A finished scan: taken in like one file, its audit entry written at once.
    void addScanDocumentWithURL(const QString& filePath);
    /// `editDocument:`: the sheet of the selected record.
    void editDocument();

    /// True while a record is being built or its sheet is open.
    bool isBusy() const;
    DocumentSheet* documentSheet() const { return m_sheet; }

    /// The archive must have been saved once before anything is taken in;
    /// false (with the alert shown) when it was not.
    bool checkFirstSave();

Q_SIGNALS:
    void documentSheetOpened(DocumentSheet* sheet);
    /// The record's sheet was closed (@p kept: confirmed).
    void singleIntakeFinished(const DocumentPtr& record, bool kept);

private:
    enum class Origin
    {
        OpenDialog,
        Drop,
        Scan
    };

    void buildRecord(const QString& filePath, Origin origin);
    void recordBuilt(const DocumentPtr& record, const QString& refusal, const GroupPtr& group, Origin origin);
    void openDocumentSheet(const DocumentPtr& record, bool isNewRecord);
    void closeDocumentSheet(int result);
    void restoreView();

    MainView* m_view;
    BatchFlow* m_batch;
    std::unique_ptr<DocumentIntake> m_intake; ///< numbering and filing on the main thread
    QPointer<DocumentSheet> m_sheet;
    bool m_building = false;
};
