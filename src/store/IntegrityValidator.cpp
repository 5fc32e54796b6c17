#include "store/IntegrityValidator.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/KVDispatch.h"
#include "store/PackageMember.h"
#include "store/SerialQueue.h"
#include "store/ValidationRun.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <fcntl.h>
#include <unistd.h>

IntegrityValidator::IntegrityValidator(Document* archive, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
    , m_progressTimer(new QTimer(this))
{
    m_progressTimer->setInterval(progressInterval);
    connect(m_progressTimer, &QTimer::timeout, this, [this] {
        // Also the way to see the end of a run that got no descriptor.
        applyEndedRuns();
        if (!m_runs.isEmpty())
            reportProgress(m_runs.first());
    });
    // Closing the archive ends its validation: nothing is reported about an
    // archive that is gone.
    if (archive) {
        connect(archive, &QObject::destroyed, this, [this] {
            cancelRuns();
            m_isValidating = false;
        });
    }
}

IntegrityValidator::~IntegrityValidator()
{
    cancelRuns();
}

QString IntegrityValidator::integrityLogPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
        + QStringLiteral("/Quillarc_Integrity_Log.txt");
}

IntegrityValidator::MemberState IntegrityValidator::checkMember(
    const QString& packagePath, const QString& relativePath, const QString& storedFingerprint, const QString& salt)
{
    return ValidationRun::checkMember(PackageMember::resolve(packagePath, relativePath), storedFingerprint, salt);
}

void IntegrityValidator::setIntegrityString(const QString& text)
{
    m_integrityString = text;
    if (m_archive)
        m_archive->setIntegrityString(text);
    Q_EMIT stateChanged();
}

void IntegrityValidator::validateIntegrety(const QByteArray& databaseBytes)
{
    if (!m_archive || !m_archive->preferences() || !m_archive->preferences()->validationPosssible()) {
        // A new archive that was never closed or reopened: nothing to prove yet.
        setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_VALIDATING")));
        QTimer::singleShot(
            1080, this, [this] { setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_NEW"))); });
        return;
    }

    m_isValidating = true;
    m_isDataInteger = false;
    setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_VALIDATING")));

    // What the checks need is copied now, on the main thread; the run never
    // touches the object graph.
    QList<ValidationRun::Member> members;
    for (const DocumentPtr& document : m_archive->allDocuments())
        members.append({ document->path(), document->string() });
    const ValidationRun::Labels labels { localizedString(QStringLiteral("INTEGRITY_LOG_DATABASE_FAIL")),
        localizedString(QStringLiteral("INTEGRITY_LOG_MISSING_FAIL")),
        localizedString(QStringLiteral("INTEGRITY_LOG_CORRUPTED_FAIL")) };
    const QString salt = m_archive->string().isEmpty() ? Fingerprint::salt() : m_archive->string();
    const int threads = m_threadCount > 0 ? m_threadCount : QThread::idealThreadCount();
    auto run = std::make_shared<ValidationRun>(
        m_archive->packagePath(), salt, databaseBytes, m_archive->companyString(), members, labels, threads);
    run->setMemberProbe(m_memberProbe);

    PendingRun pending { run };
    if (run->endDescriptor() >= 0) {
        // The notifier belongs to this object and goes with it, so a run
        // that ends later reaches nobody.
        pending.endNotifier = new QSocketNotifier(run->endDescriptor(), QSocketNotifier::Read, this);
        connect(pending.endNotifier, &QSocketNotifier::activated, this, &IntegrityValidator::applyEndedRuns);
    }
    m_runs.append(pending);
    if (!m_progressTimer->isActive())
        m_progressTimer->start();

    KVDispatch::sharedQueue()->dispatch([run] { run->run(); });
}

void IntegrityValidator::reportProgress(PendingRun& pending)
{
    const qint64 checked = pending.run->checkedCount();
    if (checked == pending.reported)
        return;
    pending.reported = checked;
    Q_EMIT progressChanged(checked, pending.run->memberCount());
}

void IntegrityValidator::applyEndedRuns()
{
    // Runs end in the order they were queued; an end seen out of turn waits
    // for the runs before it. Whoever listens may destroy this object.
    const QPointer<IntegrityValidator> self(this);
    while (self && !m_runs.isEmpty() && m_runs.first().run->hasEnded()) {
        PendingRun pending = m_runs.takeFirst();
        dropRun(pending);
        if (m_runs.isEmpty())
            m_progressTimer->stop();
        reportProgress(pending);
        if (self)
            finish(pending.run->isIntact(), pending.run->logText());
    }
}

void IntegrityValidator::dropRun(PendingRun& pending)
{
    if (pending.endNotifier) {
        // This may be the notifier whose signal is being handled.
        pending.endNotifier->setEnabled(false);
        pending.endNotifier->deleteLater();
        pending.endNotifier = nullptr;
    }
}

void IntegrityValidator::cancelRuns()
{
    for (PendingRun& pending : m_runs) {
        pending.run->cancel();
        dropRun(pending);
    }
    m_runs.clear();
    m_progressTimer->stop();
}

void IntegrityValidator::finish(bool intact, const QString& logText)
{
    m_isValidating = false;
    m_isDataInteger = intact;
    m_logText = intact ? QString() : logText;
    // A listener to the state line may close the window, and this object with it.
    const QPointer<IntegrityValidator> self(this);
    setIntegrityString(localizedString(intact ? QStringLiteral("INTEGRITY_STRING_DATABASE_VALID")
                                              : QStringLiteral("INTEGRITY_STRING_DATABASE_CORRUPT")));
    if (!self)
        return;
    // An integrity log from an earlier failure stays where a success leaves it.
    if (!intact)
        writeIntegrityLog(logText);
    Q_EMIT finished(intact);
}

void IntegrityValidator::writeIntegrityLog(const QString& logText)
{
    const QString path = integrityLogPath();
    // Written beside its final name, synced and renamed: never half a log.
    QString error;
    if (!AtomicFile::writeFile(path, logText.toUtf8(), &error))
        qCWarning(lcQuillarc).noquote() << QStringLiteral("Integrity Log Error: %1").arg(error);
}
