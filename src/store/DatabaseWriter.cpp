#include "store/DatabaseWriter.h"

#include "store/ArchiveSnapshot.h"
#include "store/AtomicFile.h"
#include "store/DatabaseFileWriter.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/KeyedArchiver.h"
#include "text/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

namespace {
bool isPlainName(const QString& name)
{
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && name != QLatin1String("..")
        && name != QLatin1String(".");
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

Value DatabaseWriter::databaseDictionary(
    const ArchiveSnapshot& snapshot, const Value& companyData, const QString& companyString)
{
    ValueMap database;
    database.insert(QStringLiteral("db_version"), Value::real(2.0, true));
    database.insert(QStringLiteral("db_kind"), Value::integer(0));
    database.insert(QStringLiteral("isInitialDataCreated"), Value::boolean(snapshot.isInitialDataCreated));
    database.insert(QStringLiteral("isAlreadyOpen"), Value::boolean(snapshot.isAlreadyOpen));
    database.insert(QStringLiteral("host"), Value::string(snapshot.host));
    database.insert(QStringLiteral("companyData"), companyData);
    database.insert(QStringLiteral("companyString"), Value::string(companyString));
    database.insert(QStringLiteral("preferences"), snapshot.preferences);
    database.insert(QStringLiteral("indexDictionary"),
        snapshot.indexDictionary.kind() == Value::Kind::Dictionary ? snapshot.indexDictionary : Value::dictionary());
    return Value::dictionary(database, false);
}

bool DatabaseWriter::writeDatabase(const ArchiveSnapshot& snapshot, const QString& path, QString* error)
{
    // The records are encoded once and streamed straight into the file,
    // hashed on the way: "companyData" is never held in memory as a whole.
    KeyedArchiver records(&snapshot);
    ValueMap company;
    company.insert(QStringLiteral("container"), snapshot.container);
    const KeyedArchiver::Ref recordsTop = records.archive(Value::dictionary(company, false));
    if (!records.errorString().isEmpty()) {
        *error = records.errorString();
        return false;
    }
    const BinaryPlistWriter::Layout recordsLayout = records.writer().layout(recordsTop);

    // Around them, the database dictionary, with the records' bytes and
    // their fingerprint given only when the file reaches them.
    const QByteArray recordsMarker("companyData");
    const QString fingerprintMarker(32, QLatin1Char('0'));
    KeyedArchiver outer(&snapshot);
    outer.setDeferredData(recordsMarker, qint64(recordsLayout.totalSize));
    outer.setDeferredString(fingerprintMarker);
    const KeyedArchiver::Ref outerTop
        = outer.archive(databaseDictionary(snapshot, Value::data(recordsMarker), fingerprintMarker));
    if (!outer.errorString().isEmpty()) {
        *error = outer.errorString();
        return false;
    }
    const BinaryPlistWriter::Layout outerLayout = outer.writer().layout(outerTop);

    AtomicFile file(path);
    if (!file.open()) {
        *error = file.errorString();
        return false;
    }
    bool written;
    {
        DatabaseFileWriter stream(file);
        QString fingerprint;
        written = outer.writer().writeTo(
            outerLayout, stream.plain(),
            [&](BinaryPlistWriter::Sink&) {
                if (!records.writer().writeTo(recordsLayout, stream.hashed()))
                    return false;
                const QByteArray digest = stream.digest();
                fingerprint
                    = Fingerprint::saltedFingerprintOfDigest(QString::fromLatin1(digest.toHex()), Fingerprint::salt());
                return !digest.isEmpty();
            },
            outer.deferredStringNode(), [&] { return fingerprint; });
        written = stream.ok() && written;
    }
    if (!written || !file.commit()) {
        *error = file.errorString().isEmpty() ? AtomicFile::systemError(path, EIO) : file.errorString();
        return false;
    }
    return true;
}

bool DatabaseWriter::write(ArchiveSnapshot& snapshot, QString* error)
{
    const QString package = snapshot.packagePath;
    snapshot.prepareLookups();
    const QDir files(QDir(package).filePath(QLatin1String(Document::filesName)));

    // Folders to remove once the new database is on disk: those deleted now
    // and those a save cut off earlier left behind.
    QStringList doomed;
    const QStringList candidates = readPendingDeletions(package) + snapshot.deleteIDs;
    const QSet<QString> documentIDs = candidates.isEmpty() ? QSet<QString>() : snapshot.documentIDs();
    for (const QString& uniqueID : candidates) {
        const QFileInfo member(files.filePath(uniqueID));
        if (isPlainName(uniqueID) && !documentIDs.contains(uniqueID) && !doomed.contains(uniqueID)
            && (member.exists() || member.isSymLink()))
            doomed.append(uniqueID);
    }
    if (!doomed.isEmpty()
        && !AtomicFile::writeFile(pendingDeletionsPath(package), doomed.join(QLatin1Char('\n')).toUtf8(), error))
        return false;

    if (!writeDatabase(snapshot, QDir(package).filePath(QLatin1String(Document::databaseName)), error))
        return false;

    // The new database no longer lists these documents: their folders may go.
    if (!doomed.isEmpty() || QFileInfo::exists(pendingDeletionsPath(package))) {
        removeMemberFolders(package, doomed, documentIDs);
        QString syncError;
        if (AtomicFile::syncDirectory(files.path(), &syncError) && QFile::remove(pendingDeletionsPath(package)))
            AtomicFile::syncDirectory(package, &syncError);
        if (!syncError.isEmpty())
            qCWarning(lcQuillarc).noquote() << syncError;
    }
    return true;
}

void DatabaseWriter::removeMemberFolders(
    const QString& packagePath, const QStringList& uniqueIDs, const QSet<QString>& kept)
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
