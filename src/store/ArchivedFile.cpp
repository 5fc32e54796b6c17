#include "store/ArchivedFile.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/ExtendedAttributes.h"
#include "store/Fingerprint.h"
#include "store/IntegrityValidator.h"
#include "store/PackageMember.h"
#include "text/Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTimer>

namespace {
QString representationFileName(const QuillarcDocument& document)
{
    return QStringLiteral("%1.%2").arg(document.name(), document.extension());
}

/// Writes the archived file's bytes to @p target; "" with @p error on failure.
QString writeCopy(const QuillarcDocument& document, const QString& target, QString* error)
{
    PackageMember::Contents contents = PackageMember::read(ArchivedFile::fileURL(document));
    QString message;
    if (contents.status != PackageMember::Status::Ok)
        message = QStringLiteral("%1: the archived file is missing or damaged").arg(document.path());
    else
        AtomicFile::writeFile(target, contents.data, &message);
    if (message.isEmpty())
        return target;
    qCWarning(lcQuillarc).noquote() << message;
    if (error)
        *error = message;
    return QString();
}
} // namespace

QString ArchivedFile::fileURL(const QuillarcDocument& document)
{
    const Document* archive = document.document();
    return archive ? PackageMember::resolve(archive->packagePath(), document.path()) : QString();
}

QString ArchivedFile::imageURL(const QuillarcDocument& document)
{
    const Document* archive = document.document();
    return archive ? PackageMember::resolve(archive->packagePath(), document.iconPath()) : QString();
}

QByteArray ArchivedFile::fileData(const QuillarcDocument& document)
{
    return PackageMember::read(fileURL(document)).data;
}

bool ArchivedFile::isFileCorrupted(const QuillarcDocument& document)
{
    const Document* archive = document.document();
    if (!archive)
        return true;
    const QString salt = archive->string().isEmpty() ? Fingerprint::salt() : archive->string();
    return IntegrityValidator::checkMember(archive->packagePath(), document.path(), document.string(), salt)
        != IntegrityValidator::MemberState::Intact;
}

QString ArchivedFile::logText(const QuillarcDocument& document)
{
    return document.currentStateBlock(isFileCorrupted(document));
}

QString ArchivedFile::applicationSupportDirectory()
{
    const QString directory
        = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Quillarc");
    QDir().mkpath(directory);
    return directory;
}

QString ArchivedFile::fileRepresentationPath(const QuillarcDocument& document, QString* error)
{
    const QString target = applicationSupportDirectory() + QLatin1Char('/') + representationFileName(document);
    if (QFile::exists(target))
        return target;
    if (writeCopy(document, target, error).isEmpty())
        return QString();

    const Document* archive = document.document();
    if (archive && archive->preferences() && archive->preferences()->writeFinderTags()) {
        const QStringList tagList = document.tags();
        QTimer::singleShot(180, QCoreApplication::instance(), [target, tagList] {
            QString error;
            if (!ExtendedAttributes::writeTags(target, tagList, &error)) {
                qCWarning(lcQuillarc).noquote() << QStringLiteral("NSURLTagNamesKey.Error: %1").arg(error);
                qCWarning(lcQuillarc).noquote() << "ERRORwritingTags!";
            }
        });
    }
    return target;
}

QString ArchivedFile::previewItemURL(const QuillarcDocument& document, QString* error)
{
    return writeCopy(
        document, applicationSupportDirectory() + QLatin1Char('/') + representationFileName(document), error);
}
