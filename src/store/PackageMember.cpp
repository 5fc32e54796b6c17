#include "store/PackageMember.h"

#include "model/Value.h"
#include "store/Fingerprint.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {
/// Maps (or, for tiny and special files, reads) a member. The returned bytes
/// are valid while `file` stays open.
bool loadMember(QFile& file, QByteArray* bytes)
{
    const QFileInfo info(file.fileName());
    if (!info.isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    const qint64 size = file.size();
    if (size <= 0)
        return false;
    if (uchar* mapped = file.map(0, size)) {
        *bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(mapped), qsizetype(size));
        return true;
    }
    *bytes = file.readAll();
    return !bytes->isEmpty();
}
} // namespace

QString PackageMember::resolve(const QString& packagePath, const QString& relativePath)
{
    if (packagePath.isEmpty() || QDir::isAbsolutePath(relativePath))
        return QString();
    const QStringList parts = relativePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (parts.contains(QLatin1String("..")))
        return QString();
    const QString joined = relativePath.isEmpty() ? packagePath : QDir(packagePath).filePath(relativePath);
    // A link inside the package must not lead out of it.
    const QString canonical = QFileInfo(joined).canonicalFilePath();
    if (!canonical.isEmpty()) {
        const QString root = QFileInfo(packagePath).canonicalFilePath();
        if (canonical != root && !canonical.startsWith(root + QLatin1Char('/')))
            return QString();
    }
    return joined;
}

PackageMember::Contents PackageMember::read(const QString& memberPath)
{
    Contents contents;
    if (memberPath.isEmpty() || !QFileInfo::exists(memberPath))
        return contents;
    contents.status = Status::Undecodable;
    QFile file(memberPath);
    QByteArray bytes;
    if (!loadMember(file, &bytes))
        return contents;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(bytes);
    if (root.kind() != Value::Kind::Dictionary)
        return contents;
    const ValueMap& entries = root.toDictionary();
    contents.status = Status::Ok;
    contents.hasData = entries.value(QStringLiteral("data")).kind() == Value::Kind::Data;
    contents.data = entries.value(QStringLiteral("data")).toData();
    contents.quickLook = entries.value(QStringLiteral("quickLook")).toData();
    contents.fileIcon = entries.value(QStringLiteral("fileIcon")).toData();
    return contents;
}

PackageMember::Status PackageMember::fingerprint(const QString& memberPath, const QString& salt, QString* fingerprint)
{
    fingerprint->clear();
    if (memberPath.isEmpty() || !QFileInfo::exists(memberPath))
        return Status::Missing;
    QFile file(memberPath);
    QByteArray bytes;
    if (!loadMember(file, &bytes))
        return Status::Undecodable;
    KeyedUnarchiver unarchiver;
    unarchiver.setDataAsView(true);
    if (!unarchiver.decode(bytes) || unarchiver.root().kind() != Value::Kind::Dictionary)
        return Status::Undecodable;
    const Value data = unarchiver.root().toDictionary().value(QStringLiteral("data"));
    if (data.kind() == Value::Kind::Data)
        *fingerprint = Fingerprint::saltedFingerprint(data.toData(), salt);
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
