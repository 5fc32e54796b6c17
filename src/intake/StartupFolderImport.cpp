#include "intake/StartupFolderImport.h"

#include "intake/DocumentIntake.h"
#include "intake/MonitoredFolders.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QMetaObject>
#include <QTimer>

StartupFolderImport::StartupFolderImport(Document& archive, RecordBuilder builder, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
    , m_builder(std::move(builder))
{
    m_pool.setMaxThreadCount(1);
}

StartupFolderImport::~StartupFolderImport()
{
    // The pool thread only lists folders and posts to us; posts to a dead
    // object are dropped, so waiting for the listing is enough.
    m_pool.waitForDone();
}

bool StartupFolderImport::doTheStartupFolderImport()
{
    const PreferencesPtr preferences = m_archive.preferences();
    const ContainerPtr container = m_archive.container();
    if (m_running || !preferences || !container || !preferences->autoVoucherNumbering() || !m_builder)
        return false;
    const QList<GroupPtr> folderGroups = container->folderGroupsArray();
    if (folderGroups.isEmpty())
        return false;

    m_running = true;
    m_imported.clear();
    setFolderImportString(localizedString(QStringLiteral("MONITORED_FOLDER_IMPORT_START")));
    m_archive.checkForFilesWrapper();
    m_runningNumber = preferences->voucherNumber();

    QList<GroupScan> scans;
    for (const GroupPtr& group : folderGroups)
        scans.append({ group, group->isLocked() || preferences->autoLockDocuments() });

    const bool offMainThread = m_buildsOffMainThread;
    m_pool.start([this, scans, offMainThread] {
        for (const GroupScan& scan : scans) {
            const QString title = scan.group->groupTitle();
            QMetaObject::invokeMethod(
                this, [this, title] { setFolderImportString(title); }, Qt::QueuedConnection);
            // Queued calls run in the order posted, so the records keep the
            // order of the groups and of each folder's listing.
            for (const QString& path : MonitoredFolders::importFilePathsForGroup(*scan.group)) {
                if (offMainThread) {
                    const DocumentPtr record = m_builder(path, scan.group);
                    QMetaObject::invokeMethod(
                        this, [this, scan, path, record] { fileDocument(scan, path, record); }, Qt::QueuedConnection);
                } else {
                    QMetaObject::invokeMethod(
                        this, [this, scan, path] { importDocument(scan, path); }, Qt::QueuedConnection);
                }
            }
        }
        QMetaObject::invokeMethod(
            this, [this] { finish(); }, Qt::QueuedConnection);
    });
    return true;
}

void StartupFolderImport::setFolderImportString(const QString& text)
{
    m_folderImportString = text;
    Q_EMIT folderImportStringChanged(text);
}

void StartupFolderImport::importDocument(const GroupScan& scan, const QString& filePath)
{
    fileDocument(scan, filePath, m_builder(filePath, scan.group));
}

void StartupFolderImport::fileDocument(const GroupScan& scan, const QString& filePath, const DocumentPtr& record)
{
    if (!record)
        return;
    setFolderImportString(record->title());
    record->setParent(scan.group.get());
    record->setValue(QuillarcDocument::IsLocked, Value::boolean(scan.lockValue));
    const PreferencesPtr preferences = m_archive.preferences();
    record->setValue(QuillarcDocument::SlipNumber,
        Value::string(DocumentIntake::slipNumber(preferences->field(QuillarcPreferences::VoucherPrefix),
            Value::integer(m_runningNumber), preferences->field(QuillarcPreferences::VoucherSuffix))));
    ++m_runningNumber;
    m_archive.createLogObjectForDocument(record, 0);
    scan.group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(record));
    scan.group->valuesChanged(); // "documentCount"
    m_imported.append(record);
    Q_EMIT documentImported(record, filePath);
}

void StartupFolderImport::finish()
{
    m_archive.preferences()->setValue(QuillarcPreferences::VoucherNumber, Value::integer(m_runningNumber));
    m_archive.updateChangeCount();
    const bool saved = m_archive.save();
    m_running = false;
    Q_EMIT folderImportFinished(int(m_imported.size()), saved);
    QTimer::singleShot(rearrangeDelay, this, [this] { Q_EMIT documentsRearranged(); });
}
