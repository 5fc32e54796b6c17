#include "output/Exporter.h"

#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/ExportJob.h"
#include "store/Document.h"
#include "store/ExtendedAttributes.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QCollator>
#include <QCoreApplication>
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
    return m_archive ? run(ExportJob::forGroup(*m_archive, group, folder)) : fail(Result::WriteFailed, QString());
}

Exporter::Result Exporter::exportDocument(const QString& folder, const GroupPtr& currentGroup)
{
    return m_archive ? run(ExportJob::forArchive(*m_archive, folder, currentGroup))
                     : fail(Result::WriteFailed, QString());
}

Exporter::Result Exporter::fail(Result result, const QString& message, const DocumentPtr& document)
{
    m_errorString = message;
    m_failedDocument = document;
    return result;
}

Exporter::Result Exporter::run(const ExportJob& job)
{
    m_errorString.clear();
    m_failedDocument.reset();
    m_writtenFiles.clear();
    m_summaryPath.clear();

    // The documents in the job's order, to name the one a run stops at.
    const ExportJob::Outcome outcome
        = job.run({}, [this](const QString& path, const QStringList& tags) { scheduleTags(path, tags); });
    m_writtenFiles = outcome.writtenFiles;
    m_summaryPath = outcome.summaryPath;
    m_errorString = outcome.errorString;
    if (outcome.failedIndex >= 0 && outcome.failedIndex < job.documents().size())
        m_failedDocument = job.documents().at(outcome.failedIndex);
    switch (outcome.result) {
    case ExportJob::Result::Success:
        return Result::Success;
    case ExportJob::Result::MissingFile:
        return Result::MissingFile;
    case ExportJob::Result::CorruptedFile:
        return Result::CorruptedFile;
    case ExportJob::Result::WriteFailed:
    case ExportJob::Result::Cancelled:
        break;
    }
    return Result::WriteFailed;
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
