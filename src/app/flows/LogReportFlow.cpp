#include "app/flows/LogReportFlow.h"

#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "app/util/Task.h"
#include "output/ExportJob.h"
#include "output/LogReport.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

namespace {
struct LaidOut
{
    QByteArray pdf;
    int pageCount = 0;
};
} // namespace

LogReportFlow::LogReportFlow(Document* archive, QWidget* window, QObject* parent)
    : QObject(parent)
    , m_archive(archive)
    , m_window(window)
{
}

void LogReportFlow::exportLogAction()
{
    if (m_running || !m_archive)
        return;
    m_running = true;
    if (m_hooks.closePopover)
        m_hooks.closePopover();
    if (m_hooks.beginProgress)
        m_hooks.beginProgress();

    // Read now, on the main thread; from here on no archive object is touched.
    LogReport::Content content = LogReport::capture(*m_archive);
    Task::run(
        this,
        [content = std::move(content)]() mutable {
            LaidOut result;
            result.pdf = LogReport(std::move(content)).plainPDFDocument(&result.pageCount);
            return result;
        },
        [this](const LaidOut& result) {
            if (m_hooks.endProgress)
                m_hooks.endProgress();
            Q_EMIT laidOut(result.pageCount);
            save(result.pdf);
        });
}

void LogReportFlow::save(const QByteArray& pdf)
{
    FileDialog::Options options;
    options.title = localizedString(QStringLiteral("COMPLETE_LOG"));
    options.proposedName = localizedString(QStringLiteral("COMPLETE_LOG"));
    options.nameFilters = QStringList { QStringLiteral("PDF (*.pdf)") };
    options.defaultSuffix = QStringLiteral("pdf");
    FileDialog::saveFile(m_window, options, [this, self = QPointer<LogReportFlow>(this), pdf](const QString& path) {
        if (!self)
            return;
        if (path.isEmpty()) {
            // Cancelled: the report is discarded.
            m_running = false;
            Q_EMIT finished(QString(), QString());
            return;
        }
        Task::run(
            this,
            [path, pdf] {
                QString error;
                ExportJob::writeFile(path, pdf, &error);
                return error;
            },
            [this, path](const QString& error) {
                m_running = false;
                if (!error.isEmpty()) {
                    MessageBox::alert(m_window, MessageBox::Icon::Warning, localizedString(QStringLiteral("Error!")),
                        error, { localizedString(QStringLiteral("OK")) });
                }
                Q_EMIT finished(error.isEmpty() ? path : QString(), error);
            });
    });
}
