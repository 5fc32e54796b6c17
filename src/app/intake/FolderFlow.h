#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

class BatchFlow;
#include "app/sheet/FolderImportSheet.h"
class IntakeFlow;
class MainView;
class StartupFolderImport;

/// Groups made from folders and the scan of monitored folders: "New Folder
/// Group" from a folder dialog or a folder dropped on the groups list (its
/// files come in as a folder-group batch), and the scan that runs once,
/// shortly after the main view appears, behind a modal status sheet.
class FolderFlow : public QObject
{
    Q_OBJECT

public:
    FolderFlow(MainView* view, IntakeFlow* intake, BatchFlow* batch);
    ~FolderFlow() override;

    /// `addFolderGroup:`: the folder dialog, then the folder group.
    void addFolderGroup();
    /// `createFolderGroupFromFolderPath:`: a folder group for @p folderPath, 0.01 s later.
    void createFolderGroupFromFolderPath(const QString& folderPath);
    /// `doTheStartupFolderImport`: scans the monitored folders (only when the
    /// archive numbers vouchers and has a monitored group). False when nothing runs.
    bool doTheStartupFolderImport();

    bool isImporting() const;
    FolderImportSheet* folderImportSheet() const { return m_sheet; }

Q_SIGNALS:
    /// The scan ended and the lists were refreshed.
    void startupImportFinished(int importedCount);

private:
    void createFolderGroup(const QString& folderPath);

    MainView* m_view;
    IntakeFlow* m_intake;
    BatchFlow* m_batch;
    std::unique_ptr<StartupFolderImport> m_import;
    QPointer<FolderImportSheet> m_sheet;
};
