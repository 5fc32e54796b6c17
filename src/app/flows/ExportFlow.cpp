#include "app/flows/ExportFlow.h"

#include "app/flows/FlowProgressSheet.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/util/Task.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "output/Exporter.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QDateTime>
#include <QMutex>
#include <QTimer>

/// What the worker and the main thread share while an export runs: the
/// worker writes, the main thread reads on its polling timer.
struct ExportFlow::Shared
{
    QMutex mutex;
    int index = -1;
    int count = 0;
    QString item;
    QList<std::pair<QString, QStringList>> written; ///< files waiting for their tags
    std::atomic_bool cancel = false;
};

namespace {
constexpr int pollIntervalMs = 50;
} // namespace

ExportFlow::ExportFlow(Document* archive, QWidget* window, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
    , m_window(window)
    , m_exporter(new Exporter(archive, this))
    , m_poll(new QTimer(this))
{
    m_poll->setInterval(pollIntervalMs);
    connect(m_poll, &QTimer::timeout, this, &ExportFlow::poll);
}

ExportFlow::~ExportFlow()
{
    if (m_shared)
        m_shared->cancel = true;
}

void ExportFlow::exportGroup(const GroupPtr& group)
{
    if (m_running || !m_archive || !group)
        return;
    FileDialog::Options options;
    options.title = localizedString(QStringLiteral("EXPORT_GROUP_TITLE"));
    options.proposedName = group->groupTitle();
    FileDialog::saveFile(m_window, options, [this, self = QPointer<ExportFlow>(this), group](const QString& folder) {
        if (self && !folder.isEmpty() && m_archive)
            start(ExportJob::forGroup(*m_archive, group, folder));
    });
}

void ExportFlow::exportDocument(const GroupPtr& currentGroup)
{
    if (m_running || !m_archive)
        return;
    FileDialog::Options options;
    options.title = localizedString(QStringLiteral("EXPORT_DOCUMENT_MENU"));
    const ContainerPtr container = m_archive->container();
    options.proposedName = container ? container->containerTitle() : QString();
    FileDialog::saveFile(
        m_window, options, [this, self = QPointer<ExportFlow>(this), currentGroup](const QString& folder) {
            if (self && !folder.isEmpty() && m_archive)
                start(ExportJob::forArchive(*m_archive, folder, currentGroup));
        });
}

FlowProgressSheet* ExportFlow::progressSheet() const
{
    return m_sheet;
}

void ExportFlow::cancel()
{
    if (m_shared)
        m_shared->cancel = true;
}

void ExportFlow::start(ExportJob job)
{
    m_running = true;
    m_shared = std::make_shared<Shared>();
    m_startedAt = QDateTime::currentMSecsSinceEpoch();
    m_poll->start();

    // The worker gets a copy without the archive's objects: it may outlive the window.
    ExportJob work = job;
    work.releaseDocuments();
    std::shared_ptr<Shared> shared = m_shared;
    Task::run(
        this,
        [work, shared, probe = m_probe]() {
            return work.run(
                [shared, probe](int index, int count, const ExportJob::Entry& entry) {
                    {
                        const QMutexLocker lock(&shared->mutex);
                        shared->index = index;
                        shared->count = count;
                        shared->item = entry.displayName;
                    }
                    if (probe)
                        probe(index);
                },
                [shared](const QString& path, const QStringList& tags) {
                    const QMutexLocker lock(&shared->mutex);
                    shared->written.append({ path, tags });
                },
                &shared->cancel);
        },
        [this, job](const ExportJob::Outcome& outcome) { done(outcome, job); });
}

void ExportFlow::poll()
{
    if (!m_shared)
        return;
    QList<std::pair<QString, QStringList>> written;
    int index, count;
    QString item;
    {
        const QMutexLocker lock(&m_shared->mutex);
        written.swap(m_shared->written);
        index = m_shared->index;
        count = m_shared->count;
        item = m_shared->item;
    }
    for (const auto& [path, tags] : written)
        m_exporter->scheduleTags(path, tags);

    if (!m_sheet && m_running && QDateTime::currentMSecsSinceEpoch() - m_startedAt >= progressDelayMs) {
        m_sheet = new FlowProgressSheet(m_window, QStringLiteral("EXPORT_PROGRESS_TITLE"));
        m_sheet->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_sheet, &FlowProgressSheet::cancelRequested, this, &ExportFlow::cancel);
        m_sheet->open();
    }
    if (m_sheet && index >= 0)
        m_sheet->showItem(index, count, item);
}

void ExportFlow::done(const ExportJob::Outcome& outcome, const ExportJob& job)
{
    poll(); // the last files' tags
    m_poll->stop();
    m_running = false;
    m_shared.reset();
    if (m_sheet)
        m_sheet->finish();
    showAlert(outcome, job);
    Q_EMIT finished(outcome.result, outcome.errorString);
}

void ExportFlow::showAlert(const ExportJob::Outcome& outcome, const ExportJob& job)
{
    if (outcome.result == ExportJob::Result::Success || outcome.result == ExportJob::Result::Cancelled)
        return;
    QString detail;
    if (outcome.failedIndex >= 0 && outcome.failedIndex < job.entries().size()) {
        const ExportJob::Entry& entry = job.entries().at(outcome.failedIndex);
        detail = QStringLiteral("%1\n%2").arg(entry.displayName, entry.memberPath);
    }
    const bool missing = outcome.result == ExportJob::Result::MissingFile;
    const bool corrupted = outcome.result == ExportJob::Result::CorruptedFile;
    // A missing or corrupted file is named by its document; a write failure by its path and reason.
    const QString title = missing || corrupted ? outcome.errorString : localizedString(QStringLiteral("Error!"));
    const QString text = missing || corrupted ? detail : outcome.errorString;
    MessageBox::alert(m_window, MessageBox::Icon::Warning, title, text, { localizedString(QStringLiteral("OK")) });
}
