#include "store/IntegrityValidator.h"

#include "model/Logging.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/KVDispatch.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QFile>
#include <QPointer>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThreadPool>
#include <QTimer>

namespace {
struct MemberToCheck
{
    QString path;
    QString fingerprint;
};
} // namespace

IntegrityValidator::IntegrityValidator(Document* archive, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
{
}

QString IntegrityValidator::integrityLogPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QStringLiteral("/Quillarc_Integrity_Log.txt");
}

IntegrityValidator::MemberState IntegrityValidator::checkMember(const QString& packagePath, const QString& relativePath,
    const QString& storedFingerprint, const QString& salt)
{
    QString fingerprint;
    switch (PackageMember::fingerprint(PackageMember::resolve(packagePath, relativePath), salt, &fingerprint)) {
    case PackageMember::Status::Missing:
        return MemberState::Missing;
    case PackageMember::Status::Undecodable:
        return MemberState::Undecodable;
    case PackageMember::Status::Ok:
        break;
    }
    return !fingerprint.isNull() && fingerprint == storedFingerprint ? MemberState::Intact : MemberState::Changed;
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
        QTimer::singleShot(1080, this, [this] { setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_NEW"))); });
        return;
    }

    m_isValidating = true;
    m_isDataInteger = false;
    setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_VALIDATING")));

    // What the checks need is taken now, on the main thread; the background
    // work never touches the object graph.
    const QString packagePath = m_archive->packagePath();
    const QString salt = m_archive->string().isEmpty() ? Fingerprint::salt() : m_archive->string();
    const QString storedDatabaseFingerprint = m_archive->companyString();
    QList<MemberToCheck> members;
    for (const DocumentPtr& document : m_archive->allDocuments())
        members.append({ document->path(), document->string() });
    const QString databaseFail = localizedString(QStringLiteral("INTEGRITY_LOG_DATABASE_FAIL"));
    const QString missingFail = localizedString(QStringLiteral("INTEGRITY_LOG_MISSING_FAIL"));
    const QString corruptedFail = localizedString(QStringLiteral("INTEGRITY_LOG_CORRUPTED_FAIL"));

    QPointer<IntegrityValidator> self(this);
    KVDispatch::sharedQueue()->start([=] {
        QString log;
        bool failed = false;
        if (Fingerprint::saltedFingerprint(databaseBytes, salt) != storedDatabaseFingerprint) {
            // A changed database makes the stored member fingerprints untrustworthy: reported alone.
            log = databaseFail;
            failed = true;
        } else {
            for (const MemberToCheck& member : members) {
                switch (checkMember(packagePath, member.path, member.fingerprint, salt)) {
                case MemberState::Intact:
                    break;
                case MemberState::Missing:
                    log += QStringLiteral("%1  %2\n\n").arg(missingFail, member.path);
                    failed = true;
                    break;
                case MemberState::Undecodable:
                    log += QStringLiteral("%1  %2\n\n").arg(corruptedFail, member.path);
                    failed = true;
                    break;
                case MemberState::Changed:
                    log += QStringLiteral("%1: %2\n\n").arg(corruptedFail, member.path);
                    failed = true;
                    break;
                }
            }
        }
        if (self)
            QMetaObject::invokeMethod(self, [self, failed, log] {
                if (self)
                    self->finish(!failed, log);
            }, Qt::BlockingQueuedConnection);
    });
}

void IntegrityValidator::finish(bool intact, const QString& logText)
{
    m_isValidating = false;
    m_isDataInteger = intact;
    m_logText = intact ? QString() : logText;
    if (intact) {
        // An integrity log from an earlier failure stays where it is.
        setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_DATABASE_VALID")));
    } else {
        setIntegrityString(localizedString(QStringLiteral("INTEGRITY_STRING_DATABASE_CORRUPT")));
        const QString path = integrityLogPath();
        QFile::remove(path);
        QSaveFile file(path);
        const QByteArray bytes = logText.toUtf8();
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
            qCWarning(lcQuillarc).noquote() << QStringLiteral("Integrity Log Error: %1").arg(file.errorString());
    }
    Q_EMIT finished(intact);
}
