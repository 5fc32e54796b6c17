#pragma once

#include "model/ModelPointers.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <functional>
#include <memory>

class Document;

/// The scan of every monitored folder when an archive opens: new files are
/// archived into their groups, numbered with one running voucher number
/// across the groups, logged, and saved once at the end.
///
/// Listing the folders and comparing file numbers runs on a pool thread;
/// building the records, numbering and logging them run on the main thread,
/// where record building belongs, in the order the scan found the files. The
/// window keeps the user away from the lists with a modal sheet meanwhile.
class StartupFolderImport : public QObject
{
    Q_OBJECT

public:
    /// Builds one archived record for a file, its parent set to the group
    /// (DocumentIntake::quillarcDocumentForURL(), or a stand-in in tests).
    /// Called on the main thread; nullptr skips the file.
    using RecordBuilder = std::function<DocumentPtr(const QString& filePath, const GroupPtr& group)>;

    /// Delay between the final save and re-sorting the documents list, in ms.
    static constexpr int rearrangeDelay = 180;

    StartupFolderImport(Document& archive, RecordBuilder builder, QObject* parent = nullptr);
    ~StartupFolderImport() override;

    /// Builds the records on the scan's thread as well, so that text
    /// extraction and recognition never hold up the main thread; numbering,
    /// logging and filing stay on the main thread, in the order the files were
    /// found. The builder must then be safe off the main thread (DocumentIntake is).
    void setBuildsRecordsOffMainThread(bool offMainThread) { m_buildsOffMainThread = offMainThread; }

    /// Starts the scan. Does nothing (and returns false) unless automatic
    /// voucher numbering is on and at least one group is monitored: every
    /// imported file must get a slip number.
    bool doTheStartupFolderImport();

    bool isRunning() const { return m_running; }
    /// The status line of the import sheet.
    QString folderImportString() const { return m_folderImportString; }
    /// Records taken in by the last scan, in order.
    const QList<DocumentPtr>& importedDocuments() const { return m_imported; }

Q_SIGNALS:
    void folderImportStringChanged(const QString& text);
    void documentImported(const DocumentPtr& record, const QString& filePath);
    /// The scan is over and the archive saved (or not: @p saved).
    void folderImportFinished(int importedCount, bool saved);
    /// The documents list should sort itself again.
    void documentsRearranged();

private:
    struct GroupScan
    {
        GroupPtr group;
        bool lockValue = false;
    };

    void setFolderImportString(const QString& text);
    void importDocument(const GroupScan& scan, const QString& filePath);
    void fileDocument(const GroupScan& scan, const QString& filePath, const DocumentPtr& record);
    void finish();

    Document& m_archive;
    RecordBuilder m_builder;
    QThreadPool m_pool; ///< one thread, so the destructor can wait for just this scan
    QString m_folderImportString;
    QList<DocumentPtr> m_imported;
    qint64 m_runningNumber = 0;
    bool m_running = false;
    bool m_buildsOffMainThread = false;
};
