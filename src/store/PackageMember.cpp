#include "store/PackageMember.h"

#include "model/Value.h"
#include "store/Fingerprint.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"
#include "store/MemberMapping.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sys/stat.h>

namespace {
/// Large members are hashed in pieces of this size; after each piece the
/// pages read are given back and a request to stop is honoured.
constexpr qint64 hashPiece = 8 * 1024 * 1024;

/// True when every step of @p parts below @p packagePath exists and none is a symbolic link.
bool hasNoLinkBelow(const QString& packagePath, const QStringList& parts)
{
    QString path = packagePath;
    for (const QString& part : parts) {
        path += QLatin1Char('/') + part;
        struct stat info = {};
        if (::lstat(QFile::encodeName(path).constData(), &info) != 0 || S_ISLNK(info.st_mode))
            return false;
    }
    return true;
}
} // namespace

QString PackageMember::resolve(const QString& packagePath, const QString& relativePath)
{
    return resolve(packagePath, relativePath, QString());
}

QString PackageMember::resolve(
    const QString& packagePath, const QString& relativePath, const QString& canonicalPackagePath)
{
    if (packagePath.isEmpty() || QDir::isAbsolutePath(relativePath))
        return QString();
    const QStringList parts = relativePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (parts.contains(QLatin1String("..")))
        return QString();
    const QString joined = relativePath.isEmpty() ? packagePath : QDir(packagePath).filePath(relativePath);
    // Without "..", a path with no link below the package stays inside it:
    // a few lstat calls instead of resolving every folder of the full path.
    if (!canonicalPackagePath.isEmpty() && !parts.isEmpty() && hasNoLinkBelow(packagePath, parts))
        return joined;
    // A link inside the package must not lead out of it.
    const QString canonical = QFileInfo(joined).canonicalFilePath();
    if (!canonical.isEmpty()) {
        const QString root
            = canonicalPackagePath.isEmpty() ? QFileInfo(packagePath).canonicalFilePath() : canonicalPackagePath;
        if (canonical != root && !canonical.startsWith(root + QLatin1Char('/')))
            return QString();
    }
    return joined;
}

PackageMember::Contents PackageMember::read(const QString& memberPath)
{
    Contents contents;
    const MemberMapping mapping(memberPath);
    if (mapping.status() == MemberMapping::Status::Missing)
        return contents;
    contents.status = Status::Undecodable;
    if (mapping.status() != MemberMapping::Status::Loaded)
        return contents;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(mapping.bytes());
    // A member cut short while it was read is not what was archived.
    if (root.kind() != Value::Kind::Dictionary || mapping.wasCutShort())
        return contents;
    const ValueMap& entries = root.toDictionary();
    contents.status = Status::Ok;
    contents.hasData = entries.value(QStringLiteral("data")).kind() == Value::Kind::Data;
    contents.data = entries.value(QStringLiteral("data")).toData();
    contents.quickLook = entries.value(QStringLiteral("quickLook")).toData();
    contents.fileIcon = entries.value(QStringLiteral("fileIcon")).toData();
    return contents;
}

PackageMember::Status PackageMember::fingerprint(
    const QString& memberPath, const QString& salt, QString* fingerprint, const std::atomic<bool>* stop)
{
    fingerprint->clear();
    MemberMapping mapping(memberPath);
    if (mapping.status() == MemberMapping::Status::Missing)
        return Status::Missing;
    if (mapping.status() != MemberMapping::Status::Loaded)
        return Status::Undecodable;
    const QByteArray bytes = mapping.bytes();
    KeyedUnarchiver unarchiver;
    unarchiver.setDataAsView(true);
    if (!unarchiver.decode(bytes) || unarchiver.root().kind() != Value::Kind::Dictionary)
        return Status::Undecodable;
    const Value data = unarchiver.root().toDictionary().value(QStringLiteral("data"));
    if (data.kind() != Value::Kind::Data)
        return Status::Ok;
    // The data is a view into the mapping: hashed where it lies, piece by piece.
    const QByteArray view = data.toData();
    const qint64 start = view.constData() - bytes.constData();
    mapping.adviseSequential(start, view.size());
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (qint64 done = 0; done < view.size(); done += hashPiece) {
        if (stop && stop->load(std::memory_order_relaxed))
            return Status::Stopped;
        const qint64 length = qMin(hashPiece, view.size() - done);
        hash.addData(QByteArrayView(view.constData() + done, length));
        mapping.release(start + done, length);
    }
    if (!mapping.wasCutShort())
        *fingerprint = Fingerprint::saltedFingerprintOfDigest(QString::fromLatin1(hash.result().toHex()), salt);
    return Status::Ok;
}

QByteArray PackageMember::encode(const QByteArray& data, const QByteArray& quickLook, const QByteArray& fileIcon)
{
    ValueMap entries;
    entries.insert(QStringLiteral("data"), Value::data(data));
    entries.insert(QStringLiteral("quickLook"), Value::data(quickLook));
    entries.insert(QStringLiteral("fileIcon"), Value::data(fileIcon));
    return KeyedArchiver::archivedDataWithRootObject(Value::dictionary(entries, false));
}
