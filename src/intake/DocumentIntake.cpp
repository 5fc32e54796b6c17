#include "intake/DocumentIntake.h"

#include "intake/ContentExtractor.h"
#include "intake/PreviewMaker.h"
#include "intake/SourceFile.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/ExtendedAttributes.h"
#include "store/Fingerprint.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QMimeDatabase>
#include <QTimer>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

const QString temporaryMemberPrefix = QStringLiteral(".intake-");

bool writeSynced(const QString& path, const QByteArray& bytes, bool sync, QString* error)
{
    QFile file(path);
    bool written
        = file.open(QIODevice::WriteOnly | QIODevice::NewOnly) && file.write(bytes) == bytes.size() && file.flush();
    if (written && sync && ::fsync(file.handle()) != 0) {
        *error = AtomicFile::systemError(path, errno);
        return false;
    }
    file.close();
    written = written && file.error() == QFileDevice::NoError;
    if (!written)
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
    return written;
}

/// Adds the elapsed time to a counter when it goes out of scope.
class PhaseTimer
{
public:
    explicit PhaseTimer(qint64& counter)
        : m_counter(counter)
    {
        m_timer.start();
    }
    ~PhaseTimer() { m_counter += m_timer.nsecsElapsed(); }

private:
    qint64& m_counter;
    QElapsedTimer m_timer;
};

} // namespace

DocumentIntake::DocumentIntake(Document& archive, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
{
}

bool DocumentIntake::refuseUnsavedArchive()
{
    if (!m_archive.packagePath().isEmpty() && m_archive.preferences())
        return false;
    m_errorString = localizedString(QStringLiteral("You need to name and save the current Quillarc document first."));
    return true;
}

DocumentPtr DocumentIntake::quillarcDocumentForURL(const QString& filePath, const GroupPtr& currentGroup)
{
    m_errorString.clear();
    if (refuseUnsavedArchive())
        return nullptr;
    QElapsedTimer phase;
    phase.start();
    // The one look at the file: its type decides whether anything may open
    // it at all, its attributes fill the record below.
    const SourceFile source(filePath);
    const QString fileName = QFileInfo(filePath).fileName();
    if (source.kind() == SourceFile::Kind::Directory && isFilePackage(filePath))
        m_errorString = m_takesPackagesAsFiles
            ? QString()
            : QStringLiteral("%1: %2").arg(filePath, localizedString(QStringLiteral("File format not supported.")));
    else
        m_errorString = source.refusal();
    if (!m_errorString.isEmpty()) {
        qCInfo(lcQuillarc).noquote() << QStringLiteral("SKIP FILE: %1").arg(m_errorString);
        return nullptr;
    }
    const PreferencesPtr preferences = m_archive.preferences();

    // 1. A new record in the current group.
    const DocumentPtr record = QuillarcDocument::create();
    record->setParent(currentGroup.get());

    // 2. Locked from the start where the archive wants it.
    if (preferences->autoLockDocuments())
        record->setValue(QStringLiteral("isLocked"), Value::boolean(true));

    // 3. Name, title and extension.
    QString name;
    QString extension;
    splitFileName(fileName, &name, &extension);
    record->setField(QuillarcDocument::Name, Value::string(name));
    record->setField(QuillarcDocument::Title, Value::string(name));
    record->setField(QuillarcDocument::Extension, Value::string(extension));

    // 4. Type and its description in the user's language.
    QString mimeName;
    if (source.hasAttributes()) {
        const QMimeType mime = QMimeDatabase().mimeTypeForFile(filePath);
        mimeName = mime.name();
        record->setField(QuillarcDocument::FileKind, Value::string(mime.comment()));
        record->setField(QuillarcDocument::FileType, Value::string(mime.name()));
    } else {
        record->setField(QuillarcDocument::FileKind, Value());
        record->setField(QuillarcDocument::FileType, Value());
    }

    // 5. Attributes, as read once above.
    if (source.hasAttributes()) {
        record->setField(QuillarcDocument::FileSize, Value::real(double(source.size())));
        record->setField(QuillarcDocument::ModificationDate, Value::date(source.modificationDate()));
        record->setField(QuillarcDocument::CreationDate, Value::date(source.creationDate()));
    } else {
        record->setField(QuillarcDocument::FileSize, Value());
        record->setField(QuillarcDocument::ModificationDate, Value());
        record->setField(QuillarcDocument::CreationDate, Value());
    }
    record->setField(
        QuillarcDocument::FileID, Value::string(QString::number(source.hasAttributes() ? source.inode() : 0)));

    // 6. The date the archive lists the record under.
    switch (preferences->folderImportDateUsageKind()) {
    case 0:
        record->setField(QuillarcDocument::FileDate, record->field(QuillarcDocument::CreationDate));
        break;
    case 1:
        record->setField(QuillarcDocument::FileDate, record->field(QuillarcDocument::ModificationDate));
        break;
    default:
        record->setField(QuillarcDocument::FileDate, record->field(QuillarcDocument::DateAdded));
        break;
    }

    // 7. The file's tags after the record's own, duplicates kept.
    if (preferences->readFinderTags()) {
        bool ok = false;
        const QStringList tags = ExtendedAttributes::readTags(filePath, &ok);
        if (ok && !tags.isEmpty()) {
            ValueList& list = record->mutableField(QuillarcDocument::Tags).mutableArray();
            for (const QString& tag : tags)
                list.append(Value::string(tag));
        }
    }

    // 8. The comment arrives one loop turn later, usually after the caller has
    // put the record into its group; a record dropped meanwhile gets nothing.
    const std::weak_ptr<QuillarcDocument> weakRecord = record;
    QTimer::singleShot(0, &m_archive, [weakRecord, filePath] {
        const DocumentPtr later = weakRecord.lock();
        if (!later)
            return;
        const QString comment = ExtendedAttributes::readComment(filePath);
        if (!comment.isNull())
            later->setValue(QStringLiteral("comment"), Value::string(comment));
    });
    m_timings.attributesNs += phase.nsecsElapsed();

    // 9. The text content, recognition included.
    {
        PhaseTimer timer(m_timings.extractionNs);
        ExtractionOptions options;
        options.ocrLanguageKind = int(preferences->ocrLanguageKind());
        options.ocrPrioritiseAccuracy = preferences->ocrPrioritiseAccuracy();
        record->setField(
            QuillarcDocument::ContentString, Value::string(contenStringFromURL(filePath, extension, options)));
    }

    // 10. A files-folder entry already named like the file: the record stays
    // without stored content (entries are normally named by unique IDs).
    m_archive.checkForFilesWrapper();
    const QDir files(m_archive.filesPath());
    if (QFileInfo::exists(files.filePath(name)))
        return record;

    // 11. The member: bytes, preview and icon, then the preview beside it.
    const QString uniqueID = record->uniqueID();
    QByteArray bytes;
    QString md5Hex;
    {
        PhaseTimer timer(m_timings.readingNs);
        QString readError;
        if (!source.readAll(&bytes, &md5Hex, &readError))
            qCWarning(lcQuillarc).noquote() << QStringLiteral("%1: archived empty: %2").arg(filePath, readError);
    }
    record->setField(
        QuillarcDocument::String, Value::string(Fingerprint::saltedFingerprintOfDigest(md5Hex, m_archive.string())));
    QByteArray quickLook;
    QByteArray fileIcon;
    {
        PhaseTimer timer(m_timings.previewsNs);
        quickLook = PreviewMaker::quickLookFromURL(filePath);
    }
    {
        PhaseTimer timer(m_timings.iconsNs);
        fileIcon = mimeName.isEmpty() ? QByteArray() : m_iconCache.value(mimeName);
        if (fileIcon.isEmpty()) {
            fileIcon = PreviewMaker::fileIconFromURL(filePath);
            if (!mimeName.isEmpty() && QFileInfo::exists(filePath))
                m_iconCache.insert(mimeName, fileIcon);
        }
    }
    {
        PhaseTimer timer(m_timings.writingNs);
        QByteArray member = PackageMember::encode(bytes, quickLook, fileIcon);
        bytes = QByteArray(); // the member holds its own copy; free this one before writing
        if (!writeMember(uniqueID, name, member, quickLook))
            return nullptr;
    }
    const QString path = QStringList { QLatin1String(Document::filesName), uniqueID, name }.join(QLatin1Char('/'));
    record->setField(QuillarcDocument::Path, Value::string(path));
    record->setField(QuillarcDocument::IconPath, Value::string(path + QStringLiteral(".png")));

    return record;
}

bool DocumentIntake::writeMember(
    const QString& uniqueID, const QString& name, const QByteArray& member, const QByteArray& png)
{
    const QString filesPath = m_archive.filesPath();
    const QDir files(filesPath);
    const QString temporary = files.filePath(temporaryMemberPrefix + uniqueID);
    const QString target = files.filePath(uniqueID);
    const bool sync = !m_staging;
    QString error;
    if (QFileInfo::exists(target) || !QDir().mkdir(temporary)) {
        error = QStringLiteral("cannot create a member folder in %1").arg(filesPath);
    } else if (writeSynced(QDir(temporary).filePath(name), member, sync, &error)
        && writeSynced(QDir(temporary).filePath(name + QStringLiteral(".png")), png, sync, &error)) {
        if (m_staging) {
            m_stagedIDs.append(uniqueID);
            return true;
        }
        if (!AtomicFile::syncDirectory(temporary, &error)) {
            // nothing renamed: the temporary folder is removed below
        } else if (::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(target).constData()) != 0) {
            error = AtomicFile::systemError(target, errno);
        } else {
            // The member is complete under its name; only the folder's entry may not be on disk yet.
            QString syncError;
            if (!AtomicFile::syncDirectory(filesPath, &syncError))
                qCWarning(lcQuillarc).noquote() << syncError;
        }
    }
    if (error.isEmpty())
        return true;
    QDir(temporary).removeRecursively();
    m_errorString = error;
    qCWarning(lcQuillarc).noquote() << QStringLiteral("SKIP FILE: %1").arg(error);
    return false;
}

void DocumentIntake::beginStaging()
{
    m_staging = true;
    m_stagedIDs.clear();
}

bool DocumentIntake::commitStagedMembers(QStringList* failedIDs)
{
    failedIDs->clear();
    m_staging = false;
    const QStringList staged = std::exchange(m_stagedIDs, {});
    if (staged.isEmpty())
        return true;
    const QString filesPath = m_archive.filesPath();
    const QDir files(filesPath);
    // One sync makes every staged byte and folder entry durable before any
    // member appears under its final name.
    const int fd = ::open(QFile::encodeName(filesPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = fd >= 0 && ::syncfs(fd) == 0;
    if (fd >= 0)
        ::close(fd);
    if (!synced) {
        m_errorString = QStringLiteral("cannot flush the new members in %1 to disk").arg(filesPath);
        for (const QString& uniqueID : staged)
            QDir(files.filePath(temporaryMemberPrefix + uniqueID)).removeRecursively();
        *failedIDs = staged;
        return false;
    }
    for (const QString& uniqueID : staged) {
        const QString temporary = files.filePath(temporaryMemberPrefix + uniqueID);
        if (::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(files.filePath(uniqueID)).constData())
            != 0) {
            QDir(temporary).removeRecursively();
            failedIDs->append(uniqueID);
        }
    }
    QString syncError;
    if (!AtomicFile::syncDirectory(filesPath, &syncError))
        qCWarning(lcQuillarc).noquote() << syncError;
    return true;
}

void DocumentIntake::discardStagedMembers()
{
    m_staging = false;
    const QDir files(m_archive.filesPath());
    for (const QString& uniqueID : std::exchange(m_stagedIDs, {}))
        QDir(files.filePath(temporaryMemberPrefix + uniqueID)).removeRecursively();
}

int DocumentIntake::removeUnfinishedMembers(const QString& filesPath)
{
    int removed = 0;
    const QDir files(filesPath);
    const QStringList leftovers = files.entryList(
        { temporaryMemberPrefix + QLatin1Char('*') }, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString& leftover : leftovers) {
        if (QDir(files.filePath(leftover)).removeRecursively())
            ++removed;
    }
    return removed;
}

QString DocumentIntake::slipNumber(const Value& prefix, const Value& number, const Value& suffix)
{
    QString digits;
    if (number.kind() == Value::Kind::Real)
        digits = QLocale::c().toString(number.toReal(), 'g', QLocale::FloatingPointShortest);
    else if (number.isNumber())
        digits = QString::number(number.toInteger());
    else if (number.kind() == Value::Kind::String)
        digits = number.toString();
    return prefix.toString() + digits + suffix.toString();
}

void DocumentIntake::applyVoucherNumbering(const DocumentPtr& record)
{
    const PreferencesPtr preferences = m_archive.preferences();
    if (!record || !preferences || !preferences->autoVoucherNumbering())
        return;
    record->setField(QuillarcDocument::SlipNumber,
        Value::string(slipNumber(preferences->field(QuillarcPreferences::VoucherPrefix),
            preferences->field(QuillarcPreferences::VoucherNumber),
            preferences->field(QuillarcPreferences::VoucherSuffix))));
    preferences->setValue(QuillarcPreferences::VoucherNumber, Value::integer(preferences->voucherNumber() + 1));
}

void DocumentIntake::splitFileName(const QString& fileName, QString* name, QString* extension)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || dot == fileName.size() - 1) {
        *name = fileName;
        *extension = QString("");
        return;
    }
    *name = fileName.left(dot);
    *extension = fileName.mid(dot + 1);
}

bool DocumentIntake::isFilePackage(const QString& path)
{
    static const QStringList suffixes { QStringLiteral(".app"), QStringLiteral(".bundle"), QStringLiteral(".framework"),
        QStringLiteral(".rtfd"), QStringLiteral(".pages"), QStringLiteral(".numbers"), QStringLiteral(".key"),
        QStringLiteral(".quillarc") };
    const QFileInfo info(path);
    if (!info.isDir())
        return false;
    const QString fileName = info.fileName();
    for (const QString& suffix : suffixes) {
        if (fileName.endsWith(suffix, Qt::CaseInsensitive) && fileName.size() > suffix.size())
            return true;
    }
    return false;
}

void DocumentIntake::appendDocuments(const GroupPtr& group, const QList<DocumentPtr>& records)
{
    if (!group || records.isEmpty())
        return;
    Q_EMIT documentCountAboutToChange(group.get());
    Value documents = group->field(QuillarcGroup::Documents);
    if (documents.kind() != Value::Kind::Array)
        documents = Value::array();
    ValueList& list = documents.mutableArray();
    for (const DocumentPtr& record : records) {
        record->setParent(group.get());
        list.append(Value::object(record));
    }
    group->setValue(QuillarcGroup::Documents, documents);
    Q_EMIT documentCountChanged(group.get());
}

DocumentPtr DocumentIntake::addDocument(const QString& filePath, const GroupPtr& group)
{
    const DocumentPtr record = quillarcDocumentForURL(filePath, group);
    if (!record)
        return nullptr;
    applyVoucherNumbering(record);
    appendDocuments(group, { record });
    return record;
}

void DocumentIntake::closeAddDocumentSheet(const DocumentPtr& record)
{
    if (record)
        m_archive.createLogObjectForDocument(record, 0);
}

void DocumentIntake::cancelAddDocumentSheet(const DocumentPtr& record)
{
    if (!record)
        return;
    if (QuillarcGroup* group = record->group()) {
        Q_EMIT documentCountAboutToChange(group);
        Value documents = group->field(QuillarcGroup::Documents);
        ValueList& list = documents.mutableArray();
        list.removeIf([&](const Value& item) { return item.toObject() == record; });
        group->setValue(QuillarcGroup::Documents, documents);
        Q_EMIT documentCountChanged(group);
    }
    const PreferencesPtr preferences = m_archive.preferences();
    if (preferences && preferences->autoVoucherNumbering())
        preferences->setValue(QuillarcPreferences::VoucherNumber, Value::integer(preferences->voucherNumber() - 1));
    // Only a member intake wrote goes; a record that clashed with an entry has none of its own.
    if (!record->path().isEmpty())
        m_archive.addToDeleteIDSArray(record->uniqueID());
    m_archive.updateChangeCount();
}

DocumentPtr DocumentIntake::addScanDocumentWithURL(const QString& filePath, const GroupPtr& group)
{
    const DocumentPtr record = addDocument(filePath, group);
    if (record)
        m_archive.createLogObjectForDocument(record, 0);
    return record;
}
