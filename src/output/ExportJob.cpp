#include "output/ExportJob.h"

#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "output/ExportSummary.h"
#include "output/Exporter.h"
#include "store/AtomicFile.h"
#include "store/Document.h"
#include "store/Fingerprint.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFileInfo>

ExportJob ExportJob::forGroup(const Document& archive, const GroupPtr& group, const QString& folder)
{
    const QList<DocumentPtr> documents = group ? Exporter::sortedForGroup(group->documents()) : QList<DocumentPtr>();
    const QString title = group ? group->groupTitle() : QString();
    return make(archive, documents, title, group ? group->groupDescription() : QString(), folder, title);
}

ExportJob ExportJob::forArchive(const Document& archive, const QString& folder, const GroupPtr& currentGroup)
{
    const ContainerPtr container = archive.container();
    // The footer names the current group, as the group export's does.
    return make(archive, Exporter::sortedForArchive(archive.allDocuments()),
        container ? container->containerTitle() : QString(),
        container ? container->containerDescription() : QString(), folder,
        currentGroup ? currentGroup->groupTitle() : QString());
}

ExportJob ExportJob::make(const Document& archive, const QList<DocumentPtr>& documents, const QString& title,
    const QString& description, const QString& folder, const QString& footerTitle)
{
    ExportJob job;
    const PreferencesPtr preferences = archive.preferences();
    job.m_includeSummary = preferences && preferences->includeSummary();
    job.m_writeFinderTags = preferences && preferences->writeFinderTags();
    const bool includeComment = preferences && preferences->includeComment();
    const bool includeTags = preferences && preferences->includeTags();
    job.m_folder = folder;
    job.m_salt = archive.string().isEmpty() ? Fingerprint::salt() : archive.string();
    job.m_title = title;
    job.m_description = description;
    job.m_footerTitle = footerTitle;
    job.m_totalsLine = ExportSummary::totalsLine(documents);
    job.m_today = QDate::currentDate();
    job.m_documents = documents;
    job.m_entries.reserve(documents.size());
    for (const DocumentPtr& document : documents) {
        Entry entry;
        entry.memberPath = PackageMember::resolve(archive.packagePath(), document->path());
        entry.fingerprint = document->string();
        entry.fileName = Exporter::safeFileName(document->fileCopyName());
        entry.displayName = document->title().isEmpty() ? document->name() : document->title();
        entry.tags = document->tags();
        entry.summaryLine = ExportSummary::documentLine(*document, includeComment, includeTags);
        job.m_entries.append(entry);
    }
    return job;
}

qint64 ExportJob::memberBytes() const
{
    qint64 total = 0;
    for (const Entry& entry : m_entries)
        total += entry.memberPath.isEmpty() ? 0 : QFileInfo(entry.memberPath).size();
    return total;
}

bool ExportJob::writeFile(const QString& path, const QByteArray& bytes, QString* error)
{
    QString reason;
    if (AtomicFile::writeFile(path, bytes, &reason))
        return true;
    if (error)
        *error = localizedString(QStringLiteral("The file could not be written.")) + QStringLiteral(" (%1)").arg(reason);
    return false;
}

ExportJob::Outcome ExportJob::run(const Progress& progress, const Written& written, const std::atomic_bool* cancel) const
{
    Outcome outcome;
    auto fail = [&outcome](Result result, const QString& message, int index = -1) {
        outcome.result = result;
        outcome.errorString = message;
        outcome.failedIndex = index;
        return outcome;
    };

    if (m_folder.isEmpty() || !QDir().mkpath(m_folder) || !QFileInfo(m_folder).isDir()) {
        return fail(Result::WriteFailed,
            localizedString(QStringLiteral("The export folder could not be created."))
                + QStringLiteral(" (%1)").arg(m_folder));
    }

    ExportSummary summary(m_title, m_description, m_totalsLine);
    const int count = int(m_entries.size());
    for (int index = 0; index < count; ++index) {
        if (cancel && cancel->load())
            return fail(Result::Cancelled, QString(), index);
        const Entry& entry = m_entries.at(index);
        if (progress)
            progress(index, count, entry);
        // One read serves the check and the copy: the bytes written are the bytes checked.
        const PackageMember::Contents contents
            = entry.memberPath.isEmpty() ? PackageMember::Contents() : PackageMember::read(entry.memberPath);
        if (contents.status == PackageMember::Status::Missing)
            return fail(Result::MissingFile, localizedString(QStringLiteral("File not found.")), index);
        if (contents.status != PackageMember::Status::Ok || !contents.hasData
            || Fingerprint::saltedFingerprint(contents.data, m_salt) != entry.fingerprint) {
            return fail(Result::CorruptedFile, localizedString(QStringLiteral("File appears to be corrupted.")), index);
        }
        summary.appendLine(entry.summaryLine);

        const QString target = QStringLiteral("%1/%2").arg(m_folder, entry.fileName);
        QString error;
        if (!writeFile(target, contents.data, &error))
            return fail(Result::WriteFailed, error, index);
        outcome.writtenFiles << target;
        if (m_writeFinderTags && written)
            written(target, entry.tags);
    }

    if (m_includeSummary) {
        if (cancel && cancel->load())
            return fail(Result::Cancelled, QString());
        const QString target = QStringLiteral("%1/%2").arg(m_folder, Exporter::summaryFileName());
        QString error;
        if (!writeFile(target, summary.plainPDFDocument(m_footerTitle, nullptr, m_today), &error))
            return fail(Result::WriteFailed, error);
        outcome.summaryPath = target;
        // The summary is always marked, whatever the tag preference says.
        if (written)
            written(target, { QString::fromLatin1(Exporter::summaryTag) });
    }
    return outcome;
}
