#include "store/Document.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchiveSnapshot.h"
#include "store/AtomicFile.h"
#include "store/DatabaseWriter.h"
#include "store/Fingerprint.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"
#include "store/RecordTree.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSet>
#include <QSysInfo>
#include <QThread>
#include <QTimer>
#include <cmath>
#include <fcntl.h>
#include <mutex>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace {
const QString versionErrorDomain = QStringLiteral("NSVarrowDomain");

QString key(const char* text)
{
    return QString::fromLatin1(text);
}

} // namespace

QString DocumentError::text() const
{
    QStringList parts;
    for (const QString& part : { localizedDescription, localizedFailureReason, localizedRecoverySuggestion }) {
        if (!part.isEmpty())
            parts.append(part);
    }
    return parts.join(QLatin1Char(' '));
}

Document::Document(QObject* parent)
    : QObject(parent)
{
    m_saveQueue.setMaxThreadCount(1);
    // The save thread stays for the archive's life instead of being made for every save.
    m_saveQueue.setExpiryTimeout(-1);
}

Document::~Document()
{
    // A save on its way still reads the package path and writes the package.
    m_saveQueue.waitForDone();
    // Objects may outlive the archive (a copy held by a list); they must not reach back.
    if (m_container)
        m_container->setParent(nullptr);
    if (m_preferences)
        m_preferences->setParent(nullptr);
}

QString Document::packagePathFor(const QString& path)
{
    QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    if (QFileInfo(clean).fileName() == QLatin1String(databaseName) && QFileInfo(clean).isFile())
        clean = QFileInfo(clean).absolutePath();
    return clean;
}

QString Document::currentHostText()
{
    QString fullName;
    QString login;
    if (const passwd* entry = getpwuid(getuid())) {
        login = QString::fromLocal8Bit(entry->pw_name);
        // The full name is the first comma-separated field of the comment.
        fullName = QString::fromLocal8Bit(entry->pw_gecos).section(QLatin1Char(','), 0, 0).trimmed();
    }
    if (fullName.isEmpty())
        fullName = login.isEmpty() ? qEnvironmentVariable("USER") : login;
    return QStringLiteral("%1 (%2)").arg(QSysInfo::machineHostName(), fullName);
}

Document::ReadResult Document::readFromFileWrapper(
    const QString& path, const QString& type, DocumentError* error, OpenMode mode)
{
    if (type != QLatin1String(typeName))
        return ReadResult::WrongType;

    const QString package = packagePathFor(path);
    auto damaged = [&](const QString& reason) {
        *error
            = { QStringLiteral("QuillarcDomain"), 1, localizedString(key("DOCUMENT_OPEN_ERROR.")), reason, QString() };
        return ReadResult::Failed;
    };
    if (!QFileInfo(package).isDir())
        return damaged(QStringLiteral("“%1” is not a Quillarc archive (no such folder).").arg(package));
    QFile databaseFile(QDir(package).filePath(QLatin1String(databaseName)));
    if (!databaseFile.exists())
        return damaged(QStringLiteral("“%1” is not a Quillarc archive (it holds no %2).")
                           .arg(package, QLatin1String(databaseName)));
    if (!databaseFile.open(QIODevice::ReadOnly))
        return damaged(
            QStringLiteral("%1 cannot be read: %2").arg(databaseFile.fileName(), databaseFile.errorString()));

    QString decodeError;
    const Value database = KeyedUnarchiver::unarchiveObjectWithData(databaseFile.readAll(), &decodeError);
    if (database.kind() != Value::Kind::Dictionary) {
        return damaged(QStringLiteral("%1 is damaged: %2")
                           .arg(databaseFile.fileName(),
                               decodeError.isEmpty() ? QStringLiteral("no database dictionary") : decodeError));
    }
    const ValueMap& entries = database.toDictionary();

    if (entries.value(QStringLiteral("db_version")).toReal() > 2.0) {
        *error = { versionErrorDomain, -57, localizedString(key("DOCUMENT_OPEN_ERROR.")),
            localizedString(key("APP_VERSION_TOO_OLD_ALERT")), localizedString(key("PLEASE_UPDATE_TO_LATEST_HINT")) };
        return ReadResult::Failed;
    }

    const Value kind = entries.value(QStringLiteral("db_kind"));
    if (kind.isNumber() && kind.toInteger() == 0)
        m_isTessary = false;
    else if (kind.isNumber() && kind.toInteger() == 3)
        m_isTessary = true;

    m_isAlreadyOpen = entries.value(QStringLiteral("isAlreadyOpen")).toBool();
    m_host = entries.value(QStringLiteral("host")).toString();
    bool markEdited = false;
    if (!m_isTessary && mode == OpenMode::ReadWrite) {
        const QString currentHost = currentHostText();
        if (!m_isAlreadyOpen) {
            m_host = currentHost;
            m_isAlreadyOpen = true;
            markEdited = true;
        } else if (m_host != currentHost) {
            const QString message = QStringLiteral("%1\"%2\"\n\n%3")
                                        .arg(localizedString(key("DOCUMENT_OPEN_CHECK_ALERT_PART_1")), m_host,
                                            localizedString(key("DOCUMENT_OPEN_CHECK_ALERT_PART_2")));
            const DocumentError prepared { versionErrorDomain, -57, localizedString(key("Warning!")), message,
                QString() };
            const OpenElsewhereQuestion::Answer answer = m_question
                ? m_question->askOpenElsewhere(localizedString(key("Warning!")), message,
                    localizedString(key("Quit_App")), localizedString(QStringLiteral("Continue…")))
                : OpenElsewhereQuestion::Quit;
            if (answer == OpenElsewhereQuestion::Quit) {
                *error = prepared;
                return ReadResult::QuitRequested;
            }
            m_host = currentHost;
            m_isAlreadyOpen = true;
            markEdited = true;
        }
    }

    const Value companyData = entries.value(QStringLiteral("companyData"));
    m_clientData = companyData.toData();
    m_container.reset();
    if (companyData.kind() == Value::Kind::Data) {
        const Value company = KeyedUnarchiver::unarchiveObjectWithData(m_clientData, &decodeError);
        if (company.isNil() && !m_clientData.isEmpty())
            return damaged(QStringLiteral("The archive's records are damaged: %1").arg(decodeError));
        m_container = company.toDictionary().value(QStringLiteral("container")).toObjectOf<QuillarcContainer>();
        if (m_container && !RecordTree::check(*m_container, &decodeError))
            return damaged(QStringLiteral("The archive's records are damaged: %1").arg(decodeError));
    } else if (!companyData.isNil()) {
        qCWarning(lcQuillarc).noquote() << "companyData is not data; the archive has no records";
    }

    m_companyString = entries.value(QStringLiteral("companyString")).toString();
    m_preferences = entries.value(QStringLiteral("preferences")).toObjectOf<QuillarcPreferences>();
    m_indexDictionary = entries.value(QStringLiteral("indexDictionary"));
    m_isInitialDataCreated = entries.value(QStringLiteral("isInitialDataCreated")).toBool();
    m_packagePath = package;

    if (markEdited)
        updateChangeCount();
    return ReadResult::Success;
}

void Document::setUpAfterReading(const QString& packagePath)
{
    m_string = Fingerprint::salt();
    m_deleteIDSArray.clear();
    if (m_isInitialDataCreated && m_preferences) {
        // The preferences have no parent yet, so this does not mark the archive edited.
        m_preferences->setValue(QuillarcPreferences::ValidationPosssible, Value::boolean(true));
    } else {
        createInitialData();
    }
    // A damaged database may lack either object; the archive still needs both.
    if (!m_container)
        m_container = QuillarcContainer::create();
    if (!m_preferences)
        m_preferences = QuillarcPreferences::create();
    if (m_indexDictionary.kind() != Value::Kind::Dictionary)
        m_indexDictionary = Value::dictionary();
    m_isDataLoaded = true;
    if (!packagePath.isEmpty())
        m_packagePath = packagePathFor(packagePath);
    if (!m_packagePath.isEmpty())
        checkForFilesWrappers();
    setParents();
    clearChangeCount();
}

void Document::createInitialData()
{
    m_container = QuillarcContainer::create();
    m_preferences = QuillarcPreferences::create();
    m_indexDictionary = Value::dictionary();
    m_isInitialDataCreated = true;
}

bool Document::checkForFilesWrappers()
{
    return checkForFilesWrapper();
}

bool Document::checkForFilesWrapper()
{
    if (m_packagePath.isEmpty())
        return false;
    return QDir().mkpath(filesPath());
}

QString Document::filesPath() const
{
    return m_packagePath.isEmpty() ? QString() : QDir(m_packagePath).filePath(QLatin1String(filesName));
}

void Document::setParents()
{
    if (m_preferences)
        m_preferences->setParent(this);
    if (!m_container)
        return;
    m_container->setParent(this);
    for (const GroupPtr& group : m_container->groups()) {
        group->setParent(m_container.get());
        for (const DocumentPtr& document : group->documents())
            document->setParent(group.get());
    }
}

void Document::deleteFiles()
{
    QSet<QString> kept;
    for (const DocumentPtr& document : allDocuments())
        kept.insert(document->uniqueID());
    if (!m_deleteIDSArray.isEmpty() && checkForFilesWrapper())
        DatabaseWriter::removeMemberFolders(m_packagePath, m_deleteIDSArray, kept);
}

void Document::saveSelectionIndexes()
{
    const QString documentsKey = QStringLiteral("documentsSelection");
    const QString groupsKey = QStringLiteral("groupsSelection");
    ValueMap& entries = m_indexDictionary.mutableDictionary();
    if (m_selectionProvider) {
        const auto [groups, documents] = m_selectionProvider();
        entries.insert(documentsKey, Value::integer(documents < 0 ? notFound : documents));
        entries.insert(groupsKey, Value::integer(groups < 0 ? notFound : groups));
        return;
    }
    // Without a window the stored selection stands; a key never stored means nothing selected.
    for (const QString& key : { documentsKey, groupsKey }) {
        if (!entries.value(key).isNumber())
            entries.insert(key, Value::integer(notFound));
    }
}

ArchiveSnapshot Document::fileWrapperOfType()
{
    if (m_preferences && !m_preferences->isFirstSaveDone())
        m_preferences->setField(QuillarcPreferences::IsFirstSaveDone, Value::boolean(true));
    checkForFilesWrapper();
    saveSelectionIndexes();

    ArchiveSnapshot snapshot;
    snapshot.packagePath = m_packagePath;
    snapshot.isInitialDataCreated = m_isInitialDataCreated;
    snapshot.isAlreadyOpen = m_isAlreadyOpen;
    snapshot.host = m_host;
    snapshot.container = Value::object(m_container);
    snapshot.preferences = Value::object(m_preferences);
    snapshot.indexDictionary = m_indexDictionary;
    snapshot.deleteIDs = m_deleteIDSArray;
    snapshot.captureObjects();
    return snapshot;
}

QString Document::preparePackage(const QString& packagePath)
{
    if (packagePath.isEmpty())
        return QStringLiteral("the archive has no location yet");
    m_packagePath = packagePathFor(packagePath);
    if (!QDir().mkpath(m_packagePath))
        return AtomicFile::systemError(m_packagePath, errno);
    return QString();
}

bool Document::save(QString* error)
{
    return saveToPath(m_packagePath, error);
}

bool Document::saveToPath(const QString& packagePath, QString* error)
{
    // A save written here must not overtake one still on its way.
    waitForSaves();
    const int changeCountAtSnapshot = m_changeCount;
    QString message = preparePackage(packagePath);
    if (message.isEmpty()) {
        ArchiveSnapshot snapshot = fileWrapperOfType();
        DatabaseWriter::write(snapshot, &message);
    }
    finishSave(message, changeCountAtSnapshot);
    if (error)
        *error = message;
    return message.isEmpty();
}

/// A save on the queue: until the save thread begins it, later requests
/// put their newer snapshot in its place and add their completion.
struct Document::QueuedSave
{
    std::mutex mutex;
    bool begun = false; ///< guarded by mutex
    std::shared_ptr<ArchiveSnapshot> snapshot;
    int changeCountAtSnapshot = 0;
    std::vector<std::function<void(const QString& error)>> completionHandlers;
};

void Document::saveToURL(const QString& packagePath, std::function<void(const QString& error)> completionHandler)
{
    const int changeCountAtSnapshot = m_changeCount;
    const QString problem = preparePackage(packagePath);
    if (!problem.isEmpty()) {
        ++m_pendingSaves;
        QTimer::singleShot(0, this, [this, problem, changeCountAtSnapshot, completionHandler] {
            --m_pendingSaves;
            finishSave(problem, changeCountAtSnapshot);
            if (completionHandler)
                completionHandler(problem);
        });
        return;
    }
    auto snapshot = std::make_shared<ArchiveSnapshot>(fileWrapperOfType());
    if (m_queuedSave) {
        // Many single drops in a row ask for as many saves: each would write
        // the whole database, so those not begun yet become one.
        const std::lock_guard<std::mutex> lock(m_queuedSave->mutex);
        if (!m_queuedSave->begun && m_queuedSave->snapshot->packagePath == snapshot->packagePath) {
            std::swap(m_queuedSave->snapshot, snapshot); // the older one is released here, on the main thread
            m_queuedSave->changeCountAtSnapshot = changeCountAtSnapshot;
            m_queuedSave->completionHandlers.push_back(std::move(completionHandler));
            return;
        }
    }
    auto save = std::make_shared<QueuedSave>();
    save->snapshot = std::move(snapshot);
    save->changeCountAtSnapshot = changeCountAtSnapshot;
    save->completionHandlers.push_back(std::move(completionHandler));
    m_queuedSave = save;
    ++m_pendingSaves;
    m_saveQueue.start([this, save] {
        std::shared_ptr<ArchiveSnapshot> written;
        {
            const std::lock_guard<std::mutex> lock(save->mutex);
            save->begun = true;
            written = save->snapshot;
        }
        QString error;
        DatabaseWriter::write(*written, &error);
        // The snapshot goes back with the answer: objects it alone still holds
        // are released on the main thread, where every archive object lives.
        QMetaObject::invokeMethod(
            this,
            [this, save, written = std::move(written), error]() mutable {
                save->snapshot.reset();
                written.reset();
                if (m_queuedSave == save)
                    m_queuedSave.reset();
                --m_pendingSaves;
                finishSave(error, save->changeCountAtSnapshot);
                for (const auto& handler : save->completionHandlers) {
                    if (handler)
                        handler(error);
                }
            },
            Qt::QueuedConnection);
    });
}

void Document::noteObjectChanged(QuillarcDatabaseObject* object)
{
    if (QThread::currentThread() == thread())
        Q_EMIT objectChanged(object);
}

void Document::waitForSaves()
{
    m_saveQueue.waitForDone();
    // Hand over the answers of the saves just finished, in order.
    if (m_pendingSaves > 0)
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

void Document::finishSave(const QString& error, int changeCountAtSnapshot)
{
    if (m_preferences && !m_preferences->isFirstSaveDone())
        m_preferences->setField(QuillarcPreferences::IsFirstSaveDone, Value::boolean(true));
    if (!error.isEmpty()) {
        qCWarning(lcQuillarc).noquote() << QStringLiteral("ERROR SAVING: %1").arg(error);
        return;
    }
    // Changes made while the save was written are not in it: they keep the archive edited.
    const bool wasEdited = isDocumentEdited();
    m_changeCount = qMax(0, m_changeCount - changeCountAtSnapshot);
    if (wasEdited && !isDocumentEdited())
        Q_EMIT editedChanged(false);
}

void Document::clearOpenMark()
{
    m_isAlreadyOpen = false;
    m_host = QString("");
}

bool Document::close(QString* error)
{
    clearOpenMark();
    if (m_preferences)
        m_preferences->setValue(QuillarcPreferences::ValidationPosssible, Value::boolean(true));
    return save(error);
}

namespace {
/// How a missing value shows inside a formatted text.
QString orNull(const QString& text)
{
    return text.isNull() ? QStringLiteral("(null)") : text;
}

/// A number as its plain decimal text: 1024 for 1024.0, 1024.5 for 1024.5.
QString plainDecimal(const Value& number)
{
    if (!number.isNumber())
        return QStringLiteral("(null)");
    const double value = number.toReal();
    if (number.kind() != Value::Kind::Real || (value == std::floor(value) && std::fabs(value) < 9.0e15))
        return QString::number(number.kind() == Value::Kind::Real ? qint64(value) : number.toInteger());
    return QString::number(value, 'g', 17);
}
} // namespace

QString Document::shortDateFormatter(const Value& date)
{
    if (date.kind() != Value::Kind::Date)
        return QString();
    return QLocale().toString(Clock::toDateTime(date.toDate()), QLocale::ShortFormat);
}

void Document::createLogObjectForDocument(const DocumentPtr& document, qint64 logKind)
{
    if (!m_container || !document)
        return;
    auto entry = QuillarcLogObject::create();
    entry->setField(QuillarcLogObject::LogKind, Value::integer(logKind));
    entry->setField(QuillarcLogObject::ObjectUniqueID, Value::string(document->uniqueID()));
    const QString action = localizedString(logKind == 1 ? key("LOG_ACTION_DELETED") : key("LOG_ACTION_CREATED"));

    // A moment before the day this check was introduced can only come from a
    // clock that was set back: the entry then says so instead of dating itself.
    const QDateTime cutoff = QDateTime::fromString(QStringLiteral("20200925"), QStringLiteral("yyyyMMdd"));
    const QDateTime created = Clock::toDateTime(entry->creationDate());
    auto line = [](const char* label, const QString& value) {
        return QStringLiteral("\t%1: %2\n").arg(localizedString(QString::fromLatin1(label)), orNull(value));
    };
    QString text;
    if (created < cutoff) {
        text += QStringLiteral("\tID: %1\n").arg(orNull(document->field(QuillarcDocument::UniqueID).toString()));
        text += QStringLiteral("\nFILE ITSELF MAY BE VALID.\nDATE STAMP TAMPERED WITH.\nCOMPLIANCE WITH Quillarc AND "
                               "OTHER LEGAL REQUIREMENTS NOT GUARANTEED.\n\n");
        text += line("LOG_ORIGINAL_NAME", document->field(QuillarcDocument::Name).toString());
        text += line("LOG_CURRENT_TITLE", document->field(QuillarcDocument::Title).toString());
    } else {
        text += QStringLiteral("\t%1: %2 (%3)\n")
                    .arg(localizedString(key("LOG_TIME")),
                        orNull(shortDateFormatter(entry->field(QuillarcLogObject::CreationDate))), action);
        text += QStringLiteral("\tID: %1\n").arg(orNull(document->field(QuillarcDocument::UniqueID).toString()));
        text += line("LOG_CREATED", shortDateFormatter(document->field(QuillarcDocument::CreationDate)));
        text += line("LOG_MODIFIED", shortDateFormatter(document->field(QuillarcDocument::ModificationDate)));
        text += line("LOG_ADDED", shortDateFormatter(document->field(QuillarcDocument::DateAdded)));
        text += line("LOG_ORIGINAL_NAME", document->field(QuillarcDocument::Name).toString());
        text += line("LOG_CURRENT_TITLE", document->field(QuillarcDocument::Title).toString());
        text += line("LOG_FILE_KIND", document->field(QuillarcDocument::FileKind).toString());
        text += QStringLiteral("\t%1: %2 bytes\n")
                    .arg(localizedString(key("LOG_FILE_SIZE")),
                        plainDecimal(document->field(QuillarcDocument::FileSize)));
    }
    entry->setField(QuillarcLogObject::LogText, Value::string(text));
    m_container->mutableField(QuillarcContainer::Logs).mutableArray().append(Value::object(entry));
}

QList<GroupPtr> Document::allGroups() const
{
    return m_container ? m_container->groups() : QList<GroupPtr>();
}

QList<DocumentPtr> Document::allDocuments() const
{
    QList<DocumentPtr> documents;
    for (const GroupPtr& group : allGroups())
        documents.append(group->documents());
    return documents;
}

DocumentPtr Document::itemForID(const QString& uniqueID) const
{
    for (const GroupPtr& group : allGroups()) {
        for (const DocumentPtr& document : group->documents()) {
            if (document->uniqueID() == uniqueID)
                return document;
        }
    }
    return nullptr;
}

QList<ValueMap> Document::allFileKinds() const
{
    QList<ValueMap> kinds;
    QSet<QString> seen;
    for (const DocumentPtr& document : allDocuments()) {
        const QString kind = document->fileKind();
        if (kind.isEmpty() || seen.contains(kind))
            continue;
        seen.insert(kind);
        kinds.append(ValueMap { { QStringLiteral("fileKind"), Value::string(kind) } });
    }
    return kinds;
}

void Document::updateChangeCount()
{
    const bool wasEdited = isDocumentEdited();
    ++m_changeCount;
    if (!wasEdited)
        Q_EMIT editedChanged(true);
}

void Document::clearChangeCount()
{
    const bool wasEdited = isDocumentEdited();
    m_changeCount = 0;
    if (wasEdited)
        Q_EMIT editedChanged(false);
}

void Document::setIntegrityString(const QString& text)
{
    m_integrityString = text;
    Q_EMIT integrityStringChanged(text);
}
