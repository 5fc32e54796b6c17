#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/DocumentIntake.h"
#include "intake/SaneBackend.h"
#include "intake/ScanSession.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "text/KVLocalizationDictionary.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <csignal>

namespace {

struct ScanOptions
{
    QString archivePath;
    QString device;
    QString groupTitle;
    QString title;
    ScanSettings settings;
    bool force = false;
};

volatile std::sig_atomic_t g_interrupted = 0;

void onInterrupt(int)
{
    g_interrupted = 1;
}

/// Scans one page into a PDF in folder; the path of the PDF, or "" with the exit status set.
QString scanPage(const ScanOptions& options, const QString& folder, int* status)
{
    const char* command = "scan";
    SaneBackend backend;
    QString device = options.device;
    if (device.isEmpty()) {
        QList<ScannerDevice> devices;
        QString error;
        if (!backend.listDevices(&devices, &error) || devices.isEmpty()) {
            cliErr(QStringLiteral("quillarc-cli scan: no scanner answers%1\n")
                       .arg(error.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(error)));
            *status = ExitRefused;
            return {};
        }
        device = devices.first().name;
    }
    const QString path = ScanSession::scanFilePath(folder, options.title);
    ScanSession session(backend);
    // Ctrl-C ends the scan cleanly: the device is cancelled and no file stays behind.
    g_interrupted = 0;
    const auto previous = std::signal(SIGINT, onInterrupt);
    session.setInterruptCheck([] { return g_interrupted != 0; });
    const ScanSession::Result result = session.scanDocument(device, options.settings, path, 1, options.title);
    std::signal(SIGINT, previous);
    switch (result) {
    case ScanSession::Result::Finished:
        return path;
    case ScanSession::Result::NoScanner:
        cliErr(QStringLiteral("quillarc-cli scan: no scanner answers (%1)\n").arg(session.errorString()));
        *status = ExitRefused;
        return {};
    case ScanSession::Result::Cancelled:
        cliErr(QStringLiteral("quillarc-cli scan: the scan was cancelled\n"));
        *status = ExitRefused;
        return {};
    case ScanSession::Result::NoDocuments:
    case ScanSession::Result::Failed:
        break;
    }
    *status = cliFail(command, session.errorString());
    return {};
}

int runScan(const QStringList& arguments)
{
    const char* command = "scan";
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    ScanOptions options;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("--device") && hasValue)
            options.device = arguments[++i];
        else if (argument == QLatin1String("--resolution") && hasValue && arguments[i + 1].toInt() > 0)
            options.settings.resolution = arguments[++i].toInt();
        else if (argument == QLatin1String("--mode") && hasValue)
            options.settings.mode = arguments[++i];
        else if (argument == QLatin1String("--source") && hasValue)
            options.settings.source = arguments[++i];
        else if (argument == QLatin1String("--group") && hasValue)
            options.groupTitle = arguments[++i];
        else if (argument == QLatin1String("--title") && hasValue)
            options.title = arguments[++i];
        else if (argument == QLatin1String("--force"))
            options.force = true;
        else if (argument.startsWith(QLatin1String("--")) || !options.archivePath.isEmpty())
            return cliFail(command, QStringLiteral("unexpected or incomplete option '%1'").arg(argument));
        else
            options.archivePath = argument;
    }
    if (options.archivePath.isEmpty())
        return cliFail(command, QStringLiteral("expected an archive"));
    if (options.title.isEmpty())
        options.title = localizedString(QStringLiteral("Untitled"));

    Document::ReadResult read = Document::ReadResult::Failed;
    const auto archive = CliArchive::open(command, options.archivePath, Document::OpenMode::ReadWrite, options.force, &read);
    if (!archive)
        return read == Document::ReadResult::QuitRequested ? ExitRefused : ExitError;
    // The PDF is only a carrier: the archive keeps its bytes, the folder goes afterwards.
    QTemporaryDir folder;
    int status = ExitOk;
    const QString pdf = folder.isValid() ? scanPage(options, folder.path(), &status) : QString();
    if (!folder.isValid())
        status = cliFail(command, QStringLiteral("no temporary folder for the scan: %1").arg(folder.errorString()));
    if (pdf.isEmpty()) {
        CliArchive::close(command, *archive);
        return status;
    }

    DocumentIntake intake(*archive);
    const GroupPtr group = CliArchive::intakeGroup(*archive, options.groupTitle);
    // The scan's record has its creation entry at once; confirming its sheet adds the second.
    const DocumentPtr record = intake.addScanDocumentWithURL(pdf, group);
    if (!record) {
        status = cliFail(command, intake.errorString());
    } else {
        QCoreApplication::processEvents();
        record->setValue(QuillarcDocument::Title, Value::string(options.title));
        intake.closeAddDocumentSheet(record);
        const QString slip = record->slipNumber().isEmpty() ? QString() : QStringLiteral(" [%1]").arg(record->slipNumber());
        cliOut(QStringLiteral("Scanned 1 page into \"%1\":\n  %2%3  %4\n")
                   .arg(group->groupTitle(), record->uniqueID(), slip, record->title()));
    }
    QCoreApplication::processEvents();
    if (!CliArchive::close(command, *archive))
        return ExitError;
    return status;
}

CliCommandRegistration registration({ "scan",
    "scan ARCHIVE [--device NAME] [--resolution DPI] [--mode Gray|Color] [--source NAME] [--group TITLE] "
    "[--title TEXT] [--force]",
    "Scan one page into an archive as a confirmed record (the first scanner found unless --device names one).",
    runScan });

} // namespace
