#include "intake/SourceFile.h"

#include <QCryptographicHash>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

ReferenceTime referenceTime(const struct statx_timestamp& stamp)
{
    return double(stamp.tv_sec) - double(Clock::referenceEpochMSecs / 1000) + double(stamp.tv_nsec) / 1e9;
}

constexpr qint64 kChunk = 1 << 20;

} // namespace

SourceFile::SourceFile(const QString& path)
    : m_path(path)
{
    struct statx attributes;
    const QByteArray native = QFile::encodeName(path);
    if (::statx(AT_FDCWD, native.constData(), AT_STATX_SYNC_AS_STAT,
            STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME | STATX_INO, &attributes)
        != 0) {
        m_statError = errno;
        return;
    }
    m_hasAttributes = true;
    if (S_ISREG(attributes.stx_mode))
        m_kind = Kind::Regular;
    else if (S_ISDIR(attributes.stx_mode))
        m_kind = Kind::Directory;
    else
        m_kind = Kind::Other;
    m_size = qint64(attributes.stx_size);
    m_modificationDate = referenceTime(attributes.stx_mtime);
    m_creationDate = (attributes.stx_mask & STATX_BTIME) ? referenceTime(attributes.stx_btime) : m_modificationDate;
    m_inode = attributes.stx_ino;
}

QString SourceFile::refusal() const
{
    if (!m_hasAttributes) {
        // A vanished file is archived with empty bytes; anything else that
        // keeps the path from naming a file is no file to archive.
        if (m_statError == ENOENT && !m_path.contains(QChar::ReplacementCharacter))
            return {};
        if (m_statError == ENOENT)
            return QStringLiteral("%1: no file by this name; names that are not valid UTF-8 cannot be reached by their text form")
                .arg(m_path);
        return QStringLiteral("%1: %2").arg(m_path, QString::fromLocal8Bit(std::strerror(m_statError)));
    }
    switch (m_kind) {
    case Kind::Directory:
        return QStringLiteral("%1: is a folder, not a file").arg(m_path);
    case Kind::Other:
        return QStringLiteral("%1: is not a regular file (device, FIFO or socket)").arg(m_path);
    default:
        break;
    }
    if (m_size > kMaximumSize)
        return QStringLiteral("%1: %2 bytes is more than the largest file an archive takes (%3 bytes)")
            .arg(m_path)
            .arg(m_size)
            .arg(kMaximumSize);
    const qint64 available = availableMemory();
    if (available >= 0 && 3 * m_size + (qint64(64) << 20) > available)
        return QStringLiteral("%1: %2 bytes cannot be held in the memory available now (%3 bytes)")
            .arg(m_path)
            .arg(m_size)
            .arg(available);
    return {};
}

bool SourceFile::readAll(QByteArray* bytes, QString* md5Hex, QString* error) const
{
    bytes->clear();
    QCryptographicHash hash(QCryptographicHash::Md5);
    auto fail = [&](const QString& message) {
        bytes->clear();
        *md5Hex = QString::fromLatin1(QCryptographicHash::hash(QByteArray(), QCryptographicHash::Md5).toHex());
        if (error)
            *error = message;
        return false;
    };
    // O_NONBLOCK: should the path have become a FIFO since it was looked at,
    // opening it must not wait for a writer.
    const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return fail(QString::fromLocal8Bit(std::strerror(errno)));
    struct stat opened;
    if (::fstat(fd, &opened) != 0 || !S_ISREG(opened.st_mode)) {
        ::close(fd);
        return fail(QStringLiteral("not a regular file"));
    }
    bytes->reserve(qMin<qint64>(qMax<qint64>(opened.st_size, 0), kMaximumSize) + 1);
    QByteArray chunk(kChunk, Qt::Uninitialized);
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), size_t(kChunk));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            const int code = errno;
            ::close(fd);
            return fail(QString::fromLocal8Bit(std::strerror(code)));
        }
        if (got == 0)
            break;
        if (bytes->size() + got > kMaximumSize) {
            ::close(fd);
            return fail(QStringLiteral("the file grew past the largest size an archive takes"));
        }
        hash.addData(QByteArrayView(chunk.constData(), got));
        bytes->append(chunk.constData(), got);
    }
    ::close(fd);
    *md5Hex = QString::fromLatin1(hash.result().toHex());
    return true;
}

qint64 SourceFile::availableMemory()
{
    QFile meminfo(QStringLiteral("/proc/meminfo"));
    if (!meminfo.open(QIODevice::ReadOnly))
        return -1;
    while (!meminfo.atEnd()) {
        const QByteArray line = meminfo.readLine();
        if (line.startsWith("MemAvailable:")) {
            bool ok = false;
            const qint64 kib = line.mid(13).trimmed().split(' ').value(0).toLongLong(&ok);
            return ok ? kib * 1024 : -1;
        }
    }
    return -1;
}
