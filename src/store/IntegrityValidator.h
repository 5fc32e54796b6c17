#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>

class Document;
class QSocketNotifier;
class QTimer;
class ValidationRun;

/// Proves that nothing in an archive was changed, replaced or removed since
/// it was written: the database bytes read at opening against their stored
/// fingerprint, then every archived member against its document's. This is
/// the engine behind the archive's information popover; the command line
/// drives it the same way.
///
/// The checks run on the shared serial background queue, one run after the
/// other; inside a run the members are read and hashed on every core. Every
/// state change (and the archive's integrityString) is applied on the main
/// thread. On failure the findings are written to the integrity log file,
/// which a later success leaves in place.
///
/// The background work never touches this object or the archive: what it
/// needs is copied when a run is asked for, and its end is seen here through
/// a descriptor the run makes readable. Destroying the validator, or the archive
/// it validates, in the middle of a run stops the run at the next member;
/// nothing of it is applied or written afterwards.
class IntegrityValidator : public QObject
{
    Q_OBJECT

public:
    explicit IntegrityValidator(Document* archive, QObject* parent = nullptr);
    ~IntegrityValidator() override;

    /// Validates the given database bytes (the archive's clientData) and
    /// every document. An archive never reopened since it was made cannot be
    /// validated yet and only says so.
    void validateIntegrety(const QByteArray& databaseBytes);

    /// Threads that check members at once; 0 (the default) is one per core.
    /// 1 checks them one after the other.
    void setThreadCount(int threads) { m_threadCount = qMax(0, threads); }

    /// Given to every later run, see ValidationRun::setMemberProbe(); for tests.
    void setMemberProbe(std::function<void(qint64 member)> probe) { m_memberProbe = std::move(probe); }

    bool isValidating() const { return m_isValidating; }
    bool isDataInteger() const { return m_isDataInteger; }
    QString integrityString() const { return m_integrityString; }
    /// The findings of the last failed run ("" after a success).
    QString logText() const { return m_logText; }

    /// "~/Documents/Quillarc_Integrity_Log.txt".
    static QString integrityLogPath();
    /// Milliseconds between two progress reports of a running validation.
    static constexpr int progressInterval = 250;

    /// One document's verdict: missing member, undecodable member, or changed bytes.
    enum class MemberState
    {
        Intact,
        Missing,
        Undecodable,
        Changed
    };
    static MemberState checkMember(
        const QString& packagePath, const QString& relativePath, const QString& storedFingerprint, const QString& salt);

Q_SIGNALS:
    void stateChanged();
    /// Members checked so far by the oldest unfinished run, and its member
    /// count; at most one report per progressInterval, and a last one when
    /// the run ends, just before finished().
    void progressChanged(qint64 checked, qint64 total);
    /// The run has ended; `intact` is false when anything failed. Not emitted
    /// for an archive that cannot be validated yet, nor for a cancelled run.
    void finished(bool intact);

private:
    struct PendingRun
    {
        std::shared_ptr<ValidationRun> run;
        QSocketNotifier* endNotifier = nullptr; ///< watches the run's end descriptor
        qint64 reported = -1; ///< the last checked count reported
    };

    void setIntegrityString(const QString& text);
    /// Applies the runs that have ended, oldest first, up to the first still running.
    void applyEndedRuns();
    void reportProgress(PendingRun& pending);
    static void dropRun(PendingRun& pending);
    /// Stops every queued or running run; none of them reports anything.
    void cancelRuns();
    void finish(bool intact, const QString& logText);
    void writeIntegrityLog(const QString& logText);

    QPointer<Document> m_archive;
    QList<PendingRun> m_runs; ///< in the order they were queued
    QTimer* m_progressTimer;
    int m_threadCount = 0;
    std::function<void(qint64)> m_memberProbe;
    bool m_isValidating = false;
    bool m_isDataInteger = false;
    QString m_integrityString;
    QString m_logText;
};
