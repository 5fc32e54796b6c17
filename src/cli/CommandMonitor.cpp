#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/BatchIntake.h"
#include "intake/DocumentIntake.h"
#include "intake/GroupEditing.h"
#include "intake/MonitoredFolders.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "text/KVLocalizationDictionary.h"

#include <QFileInfo>

namespace {
const char* const command = "monitor";

int runMonitor(const QStringList& arguments)
{
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QString path;
    QString title;
    QString folder;
    bool off = false;
    bool force = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("--group") && hasValue)
            title = arguments[++i];
        else if (argument == QLatin1String("--folder") && hasValue)
            folder = arguments[++i];
        else if (argument == QLatin1String("--off"))
            off = true;
        else if (argument == QLatin1String("--force"))
            force = true;
        else if (argument.startsWith(QLatin1String("--")) || !path.isEmpty())
            return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(argument));
        else
            path = argument;
    }
    if (path.isEmpty() || title.isEmpty() || off == !folder.isEmpty())
        return cliFail(command, QStringLiteral("expected ARCHIVE --group TITLE and one of --folder PATH, --off"));
    if (!off && !QFileInfo(folder).isDir())
        return cliFail(command, QStringLiteral("%1 is not a folder").arg(folder));
    if (!off)
        folder = QFileInfo(folder).absoluteFilePath();

    const auto archive = CliArchive::open(command, path, Document::OpenMode::ReadWrite, force);
    if (!archive)
        return ExitError;
    MonitoredFolders folders(*archive);
    GroupPtr group = GroupEditing(*archive).groupWithTitle(title);
    QString report;
    if (off) {
        if (!group)
            return cliFail(command, QStringLiteral("no group titled \"%1\"").arg(title));
        group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(false));
        folders.selectFolderPath(group, QString());
        report = QStringLiteral("Group \"%1\" no longer monitors a folder\n").arg(title);
    } else {
        if (!group) {
            // A new group is made from the folder: its files are taken in now, as one batch.
            DocumentIntake intake(*archive);
            BatchIntake batch(*archive, intake);
            QString refusal;
            group = folders.createFolderGroupFromFolderPath(folder, batch, &refusal);
            if (!group) {
                cliErr(
                    QStringLiteral("%1 %2\n").arg(localizedString(QStringLiteral("Error!")), localizedString(refusal)));
                return ExitRefused;
            }
            batch.closeAddBatchDocumentsSheet();
            if (group->groupTitle() != title)
                group->setValue(QuillarcGroup::GroupTitle, Value::string(title));
            for (const DocumentPtr& record : batch.batchDocuments())
                report
                    += QStringLiteral("Took in %1\n")
                           .arg(
                               QStringList({ record->slipNumber(), record->title() }).join(QLatin1Char(' ')).trimmed());
            for (const QString& skipped : batch.skipped())
                report += QStringLiteral("Skipped %1\n").arg(skipped);
            report += QStringLiteral("Created group \"%1\" from %2 with %3 document(s)\n")
                          .arg(title, folder)
                          .arg(group->documentCount());
        }
        group->setValue(QuillarcGroup::HasMonitoredFolder, Value::boolean(true));
        folders.setFolderPath(group, folder);
        report
            += QStringLiteral("Group \"%1\" monitors %2; new files are taken in at the next scan\n").arg(title, folder);
        if (!archive->preferences()->autoVoucherNumbering())
            report
                += QStringLiteral("Note: automatic voucher numbering is off, so monitored folders are not scanned\n");
    }
    if (!CliArchive::close(command, *archive))
        return ExitError;
    cliOut(report);
    return ExitOk;
}

CliCommandRegistration registration({ command, "monitor ARCHIVE --group TITLE (--folder PATH | --off) [--force]",
    "Tie a group to a folder (made from the folder when the group is new) or untie it.", runMonitor });
} // namespace
