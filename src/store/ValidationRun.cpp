#include "store/ValidationRun.h"

#include "store/Fingerprint.h"
#include "store/PackageMember.h"
#include "text/Logging.h"

#include <QFileInfo>
#include <exception>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>

ValidationRun::ValidationRun(const QString& packagePath, const QString& salt, const QByteArray& databaseBytes,
    const QString& storedDatabaseFingerprint, const QList<Member>& members, const Labels& labels, int threadCount)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_packagePath = packagePath;
    m_salt = salt;
    m_databaseBytes = databaseBytes;
    m_storedDatabaseFingerprint = storedDatabaseFingerprint;
    m_members = members;
    m_memberCount = members.size();
    m_labels = labels;
    m_threadCount = qMax(1, threadCount);
    m_states.assign(size_t(members.size()), IntegrityValidator::MemberState::Intact);
    m_endDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

ValidationRun::~ValidationRun()
{
    if (m_endDescriptor >= 0)
        ::close(m_endDescriptor);
}

bool ValidationRun::hasEnded() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_ended;
}

void ValidationRun::setMemberProbe(std::function<void(qint64)> probe)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_memberProbe = std::move(probe);
}

void ValidationRun::run()
{
    {
        // Pairs with the constructor: the inputs are seen complete.
        const std::lock_guard<std::mutex> lock(m_mutex);
    }
    bool intact = false;
    QString log;
    // A changed database makes the stored member fingerprints untrustworthy:
    // it is checked first and reported alone.
    const bool databaseIntact
        = !isCancelled() && Fingerprint::saltedFingerprint(m_databaseBytes, m_salt) == m_storedDatabaseFingerprint;
    if (databaseIntact) {
        m_canonicalPackagePath = QFileInfo(m_packagePath).canonicalFilePath();
        checkMembers();
    }
    // A cancelled run has no verdict: members not checked are not intact.
    if (!isCancelled()) {
        bool anyFailed = !databaseIntact;
        for (const IntegrityValidator::MemberState state : m_states)
            anyFailed = anyFailed || state != IntegrityValidator::MemberState::Intact;
        intact = !anyFailed;
        if (anyFailed)
            log = databaseIntact ? composeMemberLog() : m_labels.databaseFail;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_intact = intact;
        m_log = log;
        m_ended = true;
    }
    if (m_endDescriptor >= 0) {
        const quint64 one = 1;
        // Cannot fail short of a closed descriptor, and the run holds it open.
        [[maybe_unused]] const ssize_t written = ::write(m_endDescriptor, &one, sizeof one);
    }
}

void ValidationRun::checkMembers()
{
    if (m_memberCount == 0)
        return;
    // Helpers of the run's own, joined before it goes on: every hand-over is
    // a thread start or join, which race checkers see.
    const int workers = int(qMin<qint64>(m_threadCount, m_memberCount));
    std::vector<std::thread> helpers;
    for (int i = 1; i < workers; ++i) {
        try {
            helpers.emplace_back([this] { checkNextMembers(); });
        } catch (const std::system_error&) {
            break; // no more threads to be had: the others take the members
        }
    }
    checkNextMembers();
    for (std::thread& helper : helpers)
        helper.join();
}

void ValidationRun::checkNextMembers()
{
    for (;;) {
        const qint64 index = m_next.fetch_add(1, std::memory_order_relaxed);
        if (index >= m_memberCount || isCancelled())
            return;
        if (m_memberProbe) {
            m_memberProbe(index);
            if (isCancelled())
                return;
        }
        const Member& member = m_members.at(index);
        bool stopped = false;
        IntegrityValidator::MemberState state = IntegrityValidator::MemberState::Undecodable;
        try {
            state = checkMember(PackageMember::resolve(m_packagePath, member.path, m_canonicalPackagePath),
                member.fingerprint, m_salt, &m_cancelled, &stopped);
        } catch (const std::exception& exception) {
            // A member that cannot even be checked (out of memory) is reported, not skipped.
            qCWarning(lcQuillarc).noquote()
                << QStringLiteral("SKIP FILE: %1 (%2)").arg(member.path, QString::fromLocal8Bit(exception.what()));
        }
        if (stopped)
            return;
        m_states[size_t(index)] = state;
        m_checked.fetch_add(1, std::memory_order_relaxed);
    }
}

IntegrityValidator::MemberState ValidationRun::checkMember(const QString& memberPath, const QString& storedFingerprint,
    const QString& salt, const std::atomic<bool>* stop, bool* stopped)
{
    QString fingerprint;
    switch (PackageMember::fingerprint(memberPath, salt, &fingerprint, stop)) {
    case PackageMember::Status::Missing:
        return IntegrityValidator::MemberState::Missing;
    case PackageMember::Status::Undecodable:
        return IntegrityValidator::MemberState::Undecodable;
    case PackageMember::Status::Stopped:
        if (stopped)
            *stopped = true;
        return IntegrityValidator::MemberState::Intact;
    case PackageMember::Status::Ok:
        break;
    }
    return !fingerprint.isNull() && fingerprint == storedFingerprint ? IntegrityValidator::MemberState::Intact
                                                                     : IntegrityValidator::MemberState::Changed;
}

QString ValidationRun::composeMemberLog() const
{
    // One block per failed member, in the members' order; the two blanks and
    // the colon tell a missing or undecodable member from a changed one.
    QString log;
    for (qint64 i = 0; i < m_memberCount; ++i) {
        const QString& path = m_members.at(i).path;
        switch (m_states[size_t(i)]) {
        case IntegrityValidator::MemberState::Intact:
            break;
        case IntegrityValidator::MemberState::Missing:
            log += QStringLiteral("%1  %2\n\n").arg(m_labels.missingFail, path);
            break;
        case IntegrityValidator::MemberState::Undecodable:
            log += QStringLiteral("%1  %2\n\n").arg(m_labels.corruptedFail, path);
            break;
        case IntegrityValidator::MemberState::Changed:
            log += QStringLiteral("%1: %2\n\n").arg(m_labels.corruptedFail, path);
            break;
        }
    }
    return log;
}

bool ValidationRun::isIntact() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_intact;
}

QString ValidationRun::logText() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_log;
}
