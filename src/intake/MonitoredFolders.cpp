#include "intake/MonitoredFolders.h"

#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/GroupEditing.h"
#include "intake/SourceFile.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/Logging.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {
/// A list as the log has always shown it: one entry per indented line in parentheses.
QString listDescription(const QStringList& items)
{
    if (items.isEmpty())
        return QStringLiteral("(\n)");
    return QStringLiteral("(\n    ") + items.join(QStringLiteral(",\n    ")) + QStringLiteral("\n)");
}

enum class EntryKind
{
    Missing,
    Directory,
    File,
    Other
};

EntryKind entryKind(const QString& path)
{
    struct stat info
    {
    };
    // Links count as what they point to; a dangling link does not exist.
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return EntryKind::Missing;
    if (S_ISDIR(info.st_mode))
        return EntryKind::Directory;
    // Pipes, sockets and devices have no bytes to archive and could block a read.
    return S_ISREG(info.st_mode) ? EntryKind::File : EntryKind::Other;
}
} // namespace

MonitoredFolders::MonitoredFolders(Document& archive)
    : m_archive(archive)
{
}

QString MonitoredFolders::notSavedErrorText()
{
    return QStringLiteral("You need to name and save the current Quillarc document first.");
}

QStringList MonitoredFolders::folderEntries(const QString& folderPath)
{
    QStringList entries;
    if (folderPath.isEmpty())
        return entries;
    // Direct entries only, hidden ones left out, in the order the folder gives them.
    QDirIterator iterator(folderPath, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        if (entryKind(path) == EntryKind::File && !DocumentIntake::isFilePackage(path))
            entries.append(path);
    }
    return entries;
}

QString MonitoredFolders::fileIDForPath(const QString& path)
{
    // Read the way intake reads a file, so both arrive at the same number.
    const SourceFile source(path);
    if (!source.hasAttributes()) {
        qCWarning(lcQuillarc).noquote()
            << QStringLiteral("fileID ERROR: %1").arg(QString::fromLocal8Bit(std::strerror(source.statError())));
        return QStringLiteral("0");
    }
    return QString::number(static_cast<unsigned long>(source.inode()));
}

QStringList MonitoredFolders::importFilePathsForGroup(const QuillarcGroup& group)
{
    QStringList paths;
    const QStringList entries = folderEntries(group.folderPath());
    if (entries.isEmpty())
        return paths;
    // Nothing joins the group while its folder is listed, so its IDs are read once.
    const QStringList existingIDs = group.folderFileIDs();
    const QSet<QString> known(existingIDs.cbegin(), existingIDs.cend());
    QString existingDescription;
    for (const QString& path : entries) {
        const QString fileID = fileIDForPath(path);
        if (lcQuillarc().isDebugEnabled()) {
            if (existingDescription.isNull())
                existingDescription = listDescription(existingIDs);
            qCDebug(lcQuillarc).noquote() << QStringLiteral("existingIDsinGroupE: %1").arg(existingDescription);
        }
        if (known.contains(fileID)) {
            qCInfo(lcQuillarc).noquote() << QStringLiteral("SKIP FILE: %1").arg(path);
        } else {
            paths.append(path);
            qCInfo(lcQuillarc).noquote() << QStringLiteral("IMPORT FILE: %1").arg(path);
        }
    }
    return paths;
}

GroupPtr MonitoredFolders::createFolderGroup(const QString& folderPath, QString* refusal)
{
    if (!m_archive.preferences() || !m_archive.preferences()->isFirstSaveDone()) {
        if (refusal)
            *refusal = notSavedErrorText();
        return nullptr;
    }
    if (!QFileInfo(folderPath).isDir()) {
        if (refusal)
            *refusal = QStringLiteral("%1 is not a folder").arg(folderPath);
        return nullptr;
    }
    const GroupPtr group = GroupEditing(m_archive).addGroup();
    if (group)
        group->setValue(QuillarcGroup::GroupTitle, Value::string(QFileInfo(QDir::cleanPath(folderPath)).fileName()));
    return group;
}

GroupPtr MonitoredFolders::createFolderGroupFromFolderPath(
    const QString& folderPath, BatchIntake& batch, QString* refusal)
{
    const GroupPtr group = createFolderGroup(folderPath, refusal);
    if (!group)
        return nullptr;
    batch.start(folderEntries(folderPath), group);
    batch.values().isFolderGroupBatchAction = true;
    m_archive.updateChangeCount();
    m_archive.save();
    return group;
}

bool MonitoredFolders::selectFolderPath(const GroupPtr& group, const QString& chosenFolder)
{
    if (!group)
        return false;
    if (group->hasMonitoredFolder())
        return setFolderPath(group, chosenFolder);
    group->setValue(QuillarcGroup::FolderPath, Value::string(QString("")));
    m_archive.updateChangeCount();
    return m_archive.save();
}

bool MonitoredFolders::setFolderPath(const GroupPtr& group, const QString& chosenFolder)
{
    if (!group)
        return false;
    if (chosenFolder.isEmpty()) {
        group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(false));
        return false;
    }
    group->setValue(QuillarcGroup::FolderPath, Value::string(QFileInfo(chosenFolder).absoluteFilePath()));
    m_archive.updateChangeCount();
    return m_archive.save();
}
