#include "store/DatabaseWriter.h"

#include "model/Logging.h"
#include "store/ArchiveSnapshot.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/KeyedArchiver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {
bool isPlainName(const QString& name)
{
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && name != QLatin1String("..") && name != QLatin1String(".");
}

QString pendingDeletionsPath(const QString& packagePath)
{
    return QDir(packagePath).filePath(QLatin1String(DatabaseWriter::pendingDeletionsName));
}

QStringList readPendingDeletions(const QString& packagePath)
{
    QFile file(pendingDeletionsPath(packagePath));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
} // namespace

QByteArray DatabaseWriter::encodeCompanyData(const ArchiveSnapshot& snapshot)
{
    ValueMap company;
    company.insert(QStringLiteral("container"), snapshot.container);
    return KeyedArchiver::archivedDataWithRootObject(Value::dictionary(company, false), &snapshot);
}

Value DatabaseWriter::databaseDictionary(const ArchiveSnapshot& snapshot, const QByteArray& companyData)
{
    ValueMap database;
    database.insert(QStringLiteral("db_version"), Value::real(2.0, true));
    database.insert(QStringLiteral("db_kind"), Value::integer(0));
    database.insert(QStringLiteral("isInitialDataCreated"), Value::boolean(snapshot.isInitialDataCreated));
    database.insert(QStringLiteral("isAlreadyOpen"), Value::boolean(snapshot.isAlreadyOpen));
    database.insert(QStringLiteral("host"), Value::string(snapshot.host));
    database.insert(QStringLiteral("companyData"), Value::data(companyData));
    database.insert(QStringLiteral("companyString"), Value::string(Fingerprint::saltedFingerprint(companyData, Fingerprint::salt())));
    database.insert(QStringLiteral("preferences"), snapshot.preferences);
    database.insert(QStringLiteral("indexDictionary"),
        snapshot.indexDictionary.kind() == Value::Kind::Dictionary ? snapshot.indexDictionary : Value::dictionary());
    return Value::dictionary(database, false);
}

bool DatabaseWriter::write(const ArchiveSnapshot& snapshot, QString* error)
{
    const QString package = snapshot.packagePath;
    const QDir files(QDir(package).filePath(QLatin1String(Document::filesName)));

    // Folders to remove once the new database is on disk: those deleted now
    // and those a save cut off earlier left behind.
    QStringList doomed;
    const QStringList candidates = readPendingDeletions(package) + snapshot.deleteIDs;
    for (const QString& uniqueID : candidates) {
        const QFileInfo member(files.filePath(uniqueID));
        if (isPlainName(uniqueID) && !snapshot.documentIDs.contains(uniqueID) && !doomed.contains(uniqueID)
            && (member.exists() || member.isSymLink()))
            doomed.append(uniqueID);
    }
    if (!doomed.isEmpty() && !AtomicFile::writeFile(pendingDeletionsPath(package), doomed.join(QLatin1Char('\n')).toUtf8(), error))
        return false;

    const QByteArray companyData = encodeCompanyData(snapshot);
    const QByteArray bytes = KeyedArchiver::archivedDataWithRootObject(databaseDictionary(snapshot, companyData), &snapshot);
    if (!AtomicFile::writeFile(QDir(package).filePath(QLatin1String(Document::databaseName)), bytes, error))
        return false;

    // The new database no longer lists these documents: their folders may go.
    if (!doomed.isEmpty() || QFileInfo::exists(pendingDeletionsPath(package))) {
        removeMemberFolders(package, doomed, snapshot.documentIDs);
        QString syncError;
        if (AtomicFile::syncDirectory(files.path(), &syncError) && QFile::remove(pendingDeletionsPath(package)))
            AtomicFile::syncDirectory(package, &syncError);
        if (!syncError.isEmpty())
            qCWarning(lcQuillarc).noquote() << syncError;
    }
    return true;
}

void DatabaseWriter::removeMemberFolders(const QString& packagePath, const QStringList& uniqueIDs, const QSet<QString>& kept)
{
    const QDir files(QDir(packagePath).filePath(QLatin1String(Document::filesName)));
    for (const QString& uniqueID : uniqueIDs) {
        if (!isPlainName(uniqueID) || kept.contains(uniqueID))
            continue;
        const QString member = files.filePath(uniqueID);
        // A link is removed as a link: what it points to is not the archive's.
        if (QFileInfo(member).isSymLink())
            QFile::remove(member);
        else if (QFileInfo(member).isDir())
            QDir(member).removeRecursively();
    }
}
