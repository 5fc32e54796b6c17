#include "store/ValidationRun.h"

#include "store/Fingerprint.h"
#include "store/PackageMember.h"

#include <QThread>
#include <QThreadPool>
#include <condition_variable>

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
}

void ValidationRun::setMemberProbe(std::function<void(qint64)> probe)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_memberProbe = std::move(probe);
}

QThreadPool* ValidationRun::memberPool()
{
    static QThreadPool* pool = [] {
        auto* created = new QThreadPool;
        created->setMaxThreadCount(qMax(1, QThread::idealThreadCount()));
        return created;
    }();
    return pool;
}

void ValidationRun::run()
{
    {
        // Pairs with the constructor: the inputs are seen complete.
        const std::lock_guard<std::mutex> lock(m_mutex);
    }
    if (isCancelled())
        return;
    // A changed database makes the stored member fingerprints untrustworthy:
    // it is checked first and reported alone.
    const bool databaseIntact = Fingerprint::saltedFingerprint(m_databaseBytes, m_salt) == m_storedDatabaseFingerprint;
    if (databaseIntact)
        checkMembers();
    if (isCancelled())
        return;
    bool anyFailed = !databaseIntact;
    for (const IntegrityValidator::MemberState state : m_states)
        anyFailed = anyFailed || state != IntegrityValidator::MemberState::Intact;
    const QString log = databaseIntact ? composeMemberLog() : m_labels.databaseFail;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_intact = !anyFailed;
    m_log = anyFailed ? log : QString();
}

void ValidationRun::checkMembers()
{
    if (m_memberCount == 0)
        return;
    const int workers = int(qMin<qint64>(m_threadCount, m_memberCount));
    const int helpers = qMin(workers - 1, memberPool()->maxThreadCount());
    std::mutex doneMutex;
    std::condition_variable doneCondition;
    int running = helpers;
    for (int i = 0; i < helpers; ++i) {
        memberPool()->start([&] {
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
            }
            checkNextMembers();
            const std::lock_guard<std::mutex> lock(doneMutex);
            --running;
            doneCondition.notify_one();
        });
    }
    // This thread takes a share too, then waits for the helpers, which
    // write the states it reads below.
    checkNextMembers();
    std::unique_lock<std::mutex> lock(doneMutex);
    doneCondition.wait(lock, [&] { return running == 0; });
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
        const IntegrityValidator::MemberState state = checkMember(
            PackageMember::resolve(m_packagePath, member.path), member.fingerprint, m_salt, &m_cancelled, &stopped);
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
