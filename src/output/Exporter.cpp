#include "output/Exporter.h"

#include "model/Logging.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "output/ExportSummary.h"
#include "store/ArchivedFile.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/ExtendedAttributes.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QCollator>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>
#include <QTimer>
#include <algorithm>

namespace {
/// Longest file name most Linux file systems accept, in bytes.
constexpr qsizetype maximumNameBytes = 255;
} // namespace

Exporter::Exporter(Document* archive, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
{
}

Exporter::~Exporter() = default;

QString Exporter::summaryFileName()
{
    return QStringLiteral(" %1.pdf").arg(localizedString(QStringLiteral("EXPORT_SUMMARY_PDF")));
}

QString Exporter::safeFileName(const QString& name)
{
    // Names come from the database; a crafted one must not leave the folder.
    QString result = name;
    result.replace(QLatin1Char('/'), QLatin1Char('_'));
    result.remove(QChar(0));
    if (result.toUtf8().size() <= maximumNameBytes)
        return result;
    const QString suffix = QFileInfo(result).suffix();
    const QString tail = suffix.isEmpty() || suffix.toUtf8().size() > 32 ? QString() : QLatin1Char('.') + suffix;
    QString base = result.left(result.size() - tail.size());
    while (!base.isEmpty() && (base + tail).toUtf8().size() > maximumNameBytes) {
        base.chop(1);
        // Never leave half of a surrogate pair behind.
        if (!base.isEmpty() && base.back().isHighSurrogate())
            base.chop(1);
    }
    return base + tail;
}

QList<DocumentPtr> Exporter::sortedForGroup(QList<DocumentPtr> documents)
{
    // The C locale collates by code points and ignores the numeric mode; an
    // unconfigured system still gets the natural order, from the root rules.
    const QLocale locale
        = QLocale().language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : QLocale();
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(documents.begin(), documents.end(), [&collator](const DocumentPtr& a, const DocumentPtr& b) {
        return collator.compare(a->slipNumber(), b->slipNumber()) < 0;
    });
    return documents;
}

QList<DocumentPtr> Exporter::sortedForArchive(QList<DocumentPtr> documents)
{
    std::stable_sort(documents.begin(), documents.end(), [](const DocumentPtr& a, const DocumentPtr& b) {
        return QString::compare(a->slipNumber(), b->slipNumber(), Qt::CaseSensitive) < 0;
    });
    return documents;
}

Exporter::Result Exporter::exportGroup(const GroupPtr& group, const QString& folder)
{
    const QList<DocumentPtr> documents = group ? sortedForGroup(group->documents()) : QList<DocumentPtr>();
    const QString title = group ? group->groupTitle() : QString();
    return run(title, group ? group->groupDescription() : QString(), documents, folder, title);
}

Exporter::Result Exporter::exportDocument(const QString& folder, const GroupPtr& currentGroup)
{
    const ContainerPtr container = m_archive ? m_archive->container() : nullptr;
    const QList<DocumentPtr> documents = m_archive ? sortedForArchive(m_archive->allDocuments()) : QList<DocumentPtr>();
    // The footer names the current group, as the group export's does.
    return run(container ? container->containerTitle() : QString(),
        container ? container->containerDescription() : QString(), documents, folder,
        currentGroup ? currentGroup->groupTitle() : QString());
}

Exporter::Result Exporter::fail(Result result, const QString& message, const DocumentPtr& document)
{
    m_errorString = message;
    m_failedDocument = document;
    return result;
}

Exporter::Result Exporter::run(const QString& title, const QString& description, const QList<DocumentPtr>& documents,
    const QString& folder, const QString& footerTitle)
{
    m_errorString.clear();
    m_failedDocument.reset();
    m_writtenFiles.clear();
    m_summaryPath.clear();

    const PreferencesPtr preferences = m_archive ? m_archive->preferences() : nullptr;
    const bool includeSummary = preferences && preferences->includeSummary();
    const bool includeComment = preferences && preferences->includeComment();
    const bool includeTags = preferences && preferences->includeTags();
    const bool writeFinderTags = preferences && preferences->writeFinderTags();

    if (folder.isEmpty() || !QDir().mkpath(folder) || !QFileInfo(folder).isDir()) {
        return fail(Result::WriteFailed,
            localizedString(QStringLiteral("The export folder could not be created."))
                + QStringLiteral(" (%1)").arg(folder));
    }

    ExportSummary summary(title, description, documents);
    for (const DocumentPtr& document : documents) {
        const QString member = ArchivedFile::fileURL(*document);
        if (member.isEmpty() || !QFileInfo::exists(member))
            return fail(Result::MissingFile, localizedString(QStringLiteral("File not found.")), document);
        if (ArchivedFile::isFileCorrupted(*document))
            return fail(
                Result::CorruptedFile, localizedString(QStringLiteral("File appears to be corrupted.")), document);
        summary.appendDocument(*document, includeComment, includeTags);

        const PackageMember::Contents contents = PackageMember::read(member);
        const QString target = QStringLiteral("%1/%2").arg(folder, safeFileName(document->fileCopyName()));
        if (!writeFile(target, contents.data))
            return fail(Result::WriteFailed, m_errorString, document);
        m_writtenFiles << target;
        if (writeFinderTags)
            scheduleTags(target, document->tags());
    }

    if (includeSummary) {
        const QString target = QStringLiteral("%1/%2").arg(folder, summaryFileName());
        if (!writeFile(target, summary.plainPDFDocument(footerTitle)))
            return fail(Result::WriteFailed, m_errorString);
        m_summaryPath = target;
        // The summary is always marked, whatever the tag preference says.
        scheduleTags(target, { QString::fromLatin1(summaryTag) });
    }
    return Result::Success;
}

bool Exporter::writeFile(const QString& path, const QByteArray& bytes)
{
    QString error;
    if (AtomicFile::writeFile(path, bytes, &error))
        return true;
    m_errorString = localizedString(QStringLiteral("The file could not be written.")) + QStringLiteral(" (%1)").arg(error);
    return false;
}

void Exporter::scheduleTags(const QString& path, const QStringList& tags)
{
    ++m_pendingTagWrites;
    // The application, not the exporter, carries the task: tags are set even
    // when the exporter is gone by then.
    QPointer<Exporter> self(this);
    QTimer::singleShot(tagDelayMs, QCoreApplication::instance(), [self, path, tags] {
        QString error;
        if (!ExtendedAttributes::writeTags(path, tags, &error)) {
            qCWarning(lcQuillarc).noquote() << QStringLiteral("NSURLTagNamesKey.Error: %1").arg(error);
            qCWarning(lcQuillarc).noquote() << "ERRORwritingTags!";
        }
        if (self && --self->m_pendingTagWrites == 0)
            Q_EMIT self->tagsWritten();
    });
}
