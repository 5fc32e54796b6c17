#include "store/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QRandomGenerator>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {
/// Bytes a large file is handed to the disk in while it is written.
constexpr qint64 writebackBlock = 8 << 20;

struct Fault
{
    bool active = false;
    AtomicFile::Stage stage = AtomicFile::Stage::Write;
    int errorNumber = 0;
    qint64 afterBytes = 0;
};

QMutex faultMutex;
Fault fault;
std::atomic<bool> faultActive { false }; ///< read without the lock on every write

Fault currentFault()
{
    if (!faultActive.load(std::memory_order_relaxed))
        return {};
    const QMutexLocker locker(&faultMutex);
    return fault;
}

/// A failure injected for this stage once @p written bytes are reached, else 0.
int injected(AtomicFile::Stage stage, qint64 written)
{
    const Fault now = currentFault();
    return now.active && now.stage == stage && written >= now.afterBytes ? now.errorNumber : 0;
}

QByteArray encoded(const QString& path)
{
    return QFile::encodeName(path);
}
} // namespace

AtomicFile::AtomicFile(const QString& path)
    : m_path(path)
{
}

AtomicFile::~AtomicFile()
{
    discard();
}

QString AtomicFile::systemError(const QString& path, int errorNumber)
{
    return QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), QString::fromLocal8Bit(std::strerror(errorNumber)));
}

bool AtomicFile::fail(int errorNumber)
{
    m_errorString = systemError(m_path, errorNumber);
    discard();
    return false;
}

bool AtomicFile::open()
{
    discard();
    m_written = 0;
    m_errorString.clear();
    const QFileInfo target(m_path);
    // A hidden name beside the target: same file system, so the rename is
    // atomic. The target's name is shortened so the temporary one still fits
    // the file system's limit when the target's own name is close to it.
    QString stem = target.fileName();
    while (encoded(stem).size() > 200)
        stem.chop(stem.size() >= 2 && stem.back().isLowSurrogate() ? 2 : 1);
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = QStringLiteral(".%1.tmp-%2").arg(stem).arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
        const QString candidate = target.dir().filePath(name);
        const int fd = ::open(encoded(candidate).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            m_fd = fd;
            m_temporaryPath = candidate;
            return true;
        }
        if (errno != EEXIST)
            return fail(errno);
    }
    return fail(EEXIST);
}

bool AtomicFile::write(const char* data, qint64 size)
{
    if (m_fd < 0)
        return m_errorString.isEmpty() ? fail(EBADF) : false;
    while (size > 0) {
        qint64 chunk = qMin<qint64>(size, 1 << 30);
        const Fault now = currentFault();
        if (now.active && now.stage == Stage::Write) {
            // An injected fault strikes exactly at its byte, as a full disk would.
            if (m_written >= now.afterBytes)
                return fail(now.errorNumber);
            chunk = qMin(chunk, now.afterBytes - m_written);
        }
        const ssize_t done = ::write(m_fd, data, size_t(chunk));
        if (done < 0) {
            if (errno == EINTR)
                continue;
            return fail(errno);
        }
        if (done == 0)
            return fail(ENOSPC);
        data += done;
        size -= done;
        m_written += done;
    }
    // Large files are handed to the disk while they are still being written,
    // so that the sync in commit() waits only for the last few blocks.
    if (m_written - m_writebackStart >= writebackBlock) {
        ::sync_file_range(m_fd, m_writebackStart, m_written - m_writebackStart, SYNC_FILE_RANGE_WRITE);
        m_writebackStart = m_written;
    }
    return true;
}

bool AtomicFile::commit()
{
    if (m_fd < 0)
        return m_errorString.isEmpty() ? fail(EBADF) : false;
    if (const int error = injected(Stage::Sync, m_written))
        return fail(error);
    // Delayed allocation may only now find the disk full: fsync and close both count.
    if (::fsync(m_fd) != 0)
        return fail(errno);
    const int fd = std::exchange(m_fd, -1);
    if (::close(fd) != 0 && errno != EINTR) {
        m_fd = -1;
        return fail(errno);
    }
    if (const int error = injected(Stage::Rename, m_written))
        return fail(error);
    if (::rename(encoded(m_temporaryPath).constData(), encoded(m_path).constData()) != 0)
        return fail(errno);
    m_temporaryPath.clear();
    QString error;
    if (!syncDirectory(QFileInfo(m_path).absolutePath(), &error)) {
        // The bytes are complete under the final name; only their folder entry may not be durable yet.
        m_errorString = error;
        return false;
    }
    return true;
}

void AtomicFile::discard()
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (!m_temporaryPath.isEmpty()) {
        ::unlink(encoded(m_temporaryPath).constData());
        m_temporaryPath.clear();
    }
}

bool AtomicFile::writeFile(const QString& path, const QByteArray& bytes, QString* error)
{
    AtomicFile file(path);
    const bool ok = file.open() && file.write(bytes) && file.commit();
    if (!ok && error)
        *error = file.errorString();
    return ok;
}

namespace {
bool syncOpened(const QString& path, int flags, QString* error)
{
    const int fd = ::open(encoded(path).constData(), O_RDONLY | O_CLOEXEC | flags);
    const bool synced = fd >= 0 && ::fsync(fd) == 0;
    const int errorNumber = errno;
    if (fd >= 0)
        ::close(fd);
    if (!synced && error)
        *error = AtomicFile::systemError(path, errorNumber);
    return synced;
}
} // namespace

bool AtomicFile::syncDirectory(const QString& path, QString* error)
{
    return syncOpened(path, O_DIRECTORY, error);
}

bool AtomicFile::syncPath(const QString& path, QString* error)
{
    return syncOpened(path, 0, error);
}

void AtomicFile::injectFault(Stage stage, int errorNumber, qint64 afterBytes)
{
    const QMutexLocker locker(&faultMutex);
    fault = { true, stage, errorNumber, afterBytes };
    faultActive = true;
}

void AtomicFile::clearFault()
{
    const QMutexLocker locker(&faultMutex);
    fault = {};
    faultActive = false;
}
