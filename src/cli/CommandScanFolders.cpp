#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/DocumentIntake.h"
#include "intake/StartupFolderImport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcPreferences.h"

#include <QEventLoop>

namespace {
const char* const command = "scan-folders";

int runScanFolders(const QStringList& arguments)
{
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QString path;
    bool force = false;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--force"))
            force = true;
        else if (argument.startsWith(QLatin1String("--")) || !path.isEmpty())
            return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(argument));
        else
            path = argument;
    }
    if (path.isEmpty())
        return cliFail(command, QStringLiteral("expected one archive path"));

    const auto archive = CliArchive::open(command, path, Document::OpenMode::ReadWrite, force);
    if (!archive)
        return ExitError;
    DocumentIntake intake(*archive);
    StartupFolderImport scan(*archive, [&intake](const QString& filePath, const GroupPtr& group) {
        return intake.quillarcDocumentForURL(filePath, group);
    });
    QObject::connect(
        &scan, &StartupFolderImport::documentImported, [](const DocumentPtr& record, const QString& filePath) {
            cliOut(QStringLiteral("%1\t%2\t%3\n").arg(record->slipNumber(), record->title(), filePath));
        });
    int imported = 0;
    bool saved = false;
    if (scan.doTheStartupFolderImport()) {
        QEventLoop loop;
        QObject::connect(&scan, &StartupFolderImport::folderImportFinished, &loop, [&](int count, bool ok) {
            imported = count;
            saved = ok;
            loop.quit();
        });
        loop.exec();
        if (!saved)
            return cliFail(command, QStringLiteral("the scan could not save %1").arg(archive->packagePath()));
    } else if (!archive->preferences()->autoVoucherNumbering()) {
        cliOut(QStringLiteral("Automatic voucher numbering is off: monitored folders are not scanned\n"));
    } else if (archive->container()->folderGroupsArray().isEmpty()) {
        cliOut(QStringLiteral("No group monitors a folder\n"));
    }
    if (!CliArchive::close(command, *archive))
        return ExitError;
    cliOut(QStringLiteral("%1 document(s) taken in; next voucher number %2\n")
               .arg(imported)
               .arg(archive->preferences()->voucherNumber()));
    return ExitOk;
}

CliCommandRegistration registration({ command, "scan-folders ARCHIVE [--force]",
    "Take in the new files of every monitored folder, as opening the archive does (needs automatic voucher "
    "numbering).",
    runScanFolders });
} // namespace
