#pragma once

#include "store/IntegrityValidator.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

/// The background side of one integrity validation: everything the checks
/// need, copied on the main thread when the run is asked for, and the
/// findings. It never refers to the archive or to the validator, so either
/// may go away while it runs; the validator then cancels it and drops it.
///
/// run() checks the database bytes first and alone. When they are intact it
/// checks the members on threadCount threads (the queue's thread and helpers
/// of the run's own), each taking the next unchecked member, so only that
/// many members are mapped at a time; it writes the log in the members'
/// order, whatever order their checks end in.
///
/// Inputs and findings are handed between threads under a standard mutex,
/// and the end of the run is told through an event descriptor that the main
/// thread watches: no Qt object is touched off the main thread, so the
/// hand-overs are plain to a race checker, and either side may go first.
class ValidationRun
{
public:
    struct Member
    {
        QString path; ///< package-relative
        QString fingerprint; ///< as stored in the document
    };

    /// The localized labels of the log, looked up on the main thread.
    struct Labels
    {
        QString databaseFail;
        QString missingFail;
        QString corruptedFail;
    };

    ValidationRun(const QString& packagePath, const QString& salt, const QByteArray& databaseBytes,
        const QString& storedDatabaseFingerprint, const QList<Member>& members, const Labels& labels, int threadCount);
    ~ValidationRun();
    ValidationRun(const ValidationRun&) = delete;
    ValidationRun& operator=(const ValidationRun&) = delete;

    /// Called on the checking thread with a member's position before it is
    /// checked; lets a test hold a run part-way. Set before run().
    void setMemberProbe(std::function<void(qint64 member)> probe);

    /// Does the checks; called once, on the shared serial queue. Returns at
    /// once when the run was cancelled before it began.
    void run();

    /// Asks the run to stop at the next member (or piece of a large member).
    /// Any thread.
    void cancel() { m_cancelled.store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return m_cancelled.load(std::memory_order_relaxed); }

    /// Members checked so far and in all. Any thread.
    qint64 checkedCount() const { return m_checked.load(std::memory_order_relaxed); }
    qint64 memberCount() const { return m_memberCount; }

    /// Becomes readable when run() has returned (-1 when the system had no
    /// descriptor to give; hasEnded() then has to be asked).
    int endDescriptor() const { return m_endDescriptor; }
    /// True once run() has returned. Any thread.
    bool hasEnded() const;

    /// After run() has returned: the verdict and the log text ("" when intact).
    bool isIntact() const;
    QString logText() const;

    /// One member's verdict. @p stop is looked at while a large member is
    /// hashed; when it cut the check short, *@p stopped is set and the
    /// verdict means nothing.
    static IntegrityValidator::MemberState checkMember(const QString& memberPath, const QString& storedFingerprint,
        const QString& salt, const std::atomic<bool>* stop = nullptr, bool* stopped = nullptr);

private:
    void checkMembers();
    /// Checks members, taking the next unchecked one each time, until none is left.
    void checkNextMembers();
    /// The log of a run whose database check passed: one block per failed member.
    QString composeMemberLog() const;

    mutable std::mutex m_mutex;
    std::atomic<bool> m_cancelled { false };
    std::atomic<qint64> m_checked { 0 };
    std::atomic<qint64> m_next { 0 };
    qint64 m_memberCount = 0;

    // Inputs: written before the run is queued, read only afterwards.
    QString m_packagePath;
    QString m_salt;
    QByteArray m_databaseBytes;
    QString m_storedDatabaseFingerprint;
    QList<Member> m_members;
    Labels m_labels;
    int m_threadCount = 1;
    QString m_canonicalPackagePath; ///< worked out once, before the members are checked
    std::function<void(qint64)> m_memberProbe;

    // Findings: each member's state is written by the thread that checked it.
    std::vector<IntegrityValidator::MemberState> m_states;
    bool m_intact = false;
    QString m_log;
    bool m_ended = false;
    int m_endDescriptor = -1;
};
