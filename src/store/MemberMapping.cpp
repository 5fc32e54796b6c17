#include "store/MemberMapping.h"

#include <QFile>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
/// The mappings alive on this thread, newest first. Constant-initialised, so
/// the fault handler can read it without any set-up of thread-local storage.
thread_local MemberMapping* t_newest = nullptr;
struct sigaction g_previousAction;
std::once_flag g_installed;

/// Members up to this size are read into memory rather than mapped.
constexpr qint64 readLimit = 128 * 1024;

qint64 pageSize()
{
    static const qint64 size = sysconf(_SC_PAGESIZE);
    return size;
}
} // namespace

/// The SIGBUS handler shared by every mapping.
struct MemberMappingFaults
{
    static void handle(int signal, siginfo_t* info, void* context)
    {
        const int savedErrno = errno;
        char* address = static_cast<char*>(info->si_addr);
        for (MemberMapping* mapping = t_newest; mapping; mapping = mapping->m_below) {
            char* start = mapping->m_address;
            if (!mapping->m_mappedLength || address < start || address >= start + mapping->m_mappedLength)
                continue;
            // Everything from the faulting page on lies past the file's new
            // end: it reads as zeros from now on. mmap is a plain system call
            // on Linux and safe to make here.
            char* page = start + ((address - start) & ~(pageSize() - 1));
            const size_t rest = size_t(start + mapping->m_mappedLength - page);
            if (mmap(page, rest, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
                mapping->m_cutShort = 1;
                errno = savedErrno;
                return;
            }
            break;
        }
        // Not a member mapping: whoever handled SIGBUS before decides.
        if ((g_previousAction.sa_flags & SA_SIGINFO) && g_previousAction.sa_sigaction) {
            g_previousAction.sa_sigaction(signal, info, context);
        } else if (g_previousAction.sa_handler != SIG_DFL && g_previousAction.sa_handler != SIG_IGN) {
            g_previousAction.sa_handler(signal);
        } else {
            // The faulting access repeats on return and now ends the process as usual.
            struct sigaction fallback = {};
            fallback.sa_handler = SIG_DFL;
            sigaction(SIGBUS, &fallback, nullptr);
        }
        errno = savedErrno;
    }

    static void install()
    {
        std::call_once(g_installed, [] {
            struct sigaction action = {};
            action.sa_sigaction = &MemberMappingFaults::handle;
            action.sa_flags = SA_SIGINFO;
            sigemptyset(&action.sa_mask);
            // The previous disposition is known before the handler can run.
            sigaction(SIGBUS, nullptr, &g_previousAction);
            sigaction(SIGBUS, &action, nullptr);
        });
    }
};

MemberMapping::MemberMapping(const QString& path)
{
    struct stat info = {};
    const QByteArray name = QFile::encodeName(path);
    if (path.isEmpty() || ::stat(name.constData(), &info) != 0)
        return; // Missing
    m_status = Status::Unreadable;
    // Folders, pipes and devices are never members; reading a pipe could block.
    if (!S_ISREG(info.st_mode))
        return;
    const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= 0) {
        ::close(fd);
        return;
    }
    m_size = info.st_size;
    // Small members are read: cheaper than setting up and tearing down a
    // mapping, and a copy cannot change while it is decoded.
    if (m_size > readLimit) {
        MemberMappingFaults::install();
        void* mapped = ::mmap(nullptr, size_t(m_size), PROT_READ, MAP_SHARED, fd, 0);
        if (mapped != MAP_FAILED) {
            m_address = static_cast<char*>(mapped);
            m_mappedLength = (m_size + pageSize() - 1) & ~(pageSize() - 1);
            m_below = t_newest;
            // The handler must see the finished fields before it sees this mapping.
            std::atomic_signal_fence(std::memory_order_seq_cst);
            t_newest = this;
            m_status = Status::Loaded;
        }
    }
    // Also for a file system that cannot map.
    if (m_status != Status::Loaded && readFrom(fd))
        m_status = Status::Loaded;
    ::close(fd);
}

bool MemberMapping::readFrom(int fd)
{
    m_copy.resize(qsizetype(m_size));
    qint64 done = 0;
    while (done < m_size) {
        const ssize_t got = ::read(fd, m_copy.data() + done, size_t(m_size - done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0) {
            // Shorter than it was a moment ago: what was read is what there is.
            m_cutShort = 1;
            break;
        }
        done += got;
    }
    m_copy.truncate(qsizetype(done));
    m_size = done;
    m_address = m_copy.data();
    return done > 0;
}

MemberMapping::~MemberMapping()
{
    if (!m_mappedLength)
        return;
    // Unlinked before unmapping; usually this is the newest mapping.
    MemberMapping** link = &t_newest;
    while (*link && *link != this)
        link = &(*link)->m_below;
    if (*link)
        *link = m_below;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    ::munmap(m_address, size_t(m_mappedLength));
}

QByteArray MemberMapping::bytes() const
{
    return m_status == Status::Loaded ? QByteArray::fromRawData(m_address, qsizetype(m_size)) : QByteArray();
}

void MemberMapping::release(qint64 offset, qint64 length)
{
    if (!m_mappedLength || length <= 0)
        return;
    // Only whole pages inside the range.
    const qint64 first = (offset + pageSize() - 1) & ~(pageSize() - 1);
    const qint64 end = qMin(offset + length, m_mappedLength) & ~(pageSize() - 1);
    if (end > first)
        ::madvise(m_address + first, size_t(end - first), MADV_DONTNEED);
}

void MemberMapping::adviseSequential(qint64 offset, qint64 length)
{
    if (!m_mappedLength || length <= 0)
        return;
    const qint64 first = offset & ~(pageSize() - 1);
    const qint64 end = qMin(offset + length, m_mappedLength);
    ::madvise(m_address + first, size_t(end - first), MADV_SEQUENTIAL);
}
