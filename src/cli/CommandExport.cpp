#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "output/Exporter.h"

#include <QDir>
#include <QEventLoop>
#include <QSet>

namespace {
/// The group the archive's window would show as current: the saved selection, else the first group.
GroupPtr currentGroup(const Document& archive)
{
    const QList<GroupPtr> groups = archive.allGroups();
    const qint64 index = archive.indexDictionary().toDictionary().value(QStringLiteral("groupsSelection")).toInteger();
    if (index >= 0 && index < groups.size())
        return groups[index];
    return groups.isEmpty() ? nullptr : groups.first();
}

int runExport(const QStringList& arguments)
{
    if (cliWantsHelp("export", arguments))
        return ExitOk;
    QStringList positional;
    QString groupTitle;
    bool groupGiven = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--group")) {
            if (i + 1 >= arguments.size())
                return cliFail("export", QStringLiteral("--group needs a group title"));
            groupTitle = arguments[++i];
            groupGiven = true;
        } else if (arguments[i].startsWith(QLatin1String("--"))) {
            return cliFail("export", QStringLiteral("unknown option %1").arg(arguments[i]));
        } else {
            positional << arguments[i];
        }
    }
    if (positional.size() != 2)
        return cliFail("export", QStringLiteral("expected an archive path and an export folder"));

    const auto archive = CliArchive::open("export", positional[0], Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;

    GroupPtr group;
    if (groupGiven) {
        for (const GroupPtr& candidate : archive->allGroups()) {
            if (candidate->groupTitle() == groupTitle) {
                group = candidate;
                break;
            }
        }
        if (!group)
            return cliFail("export", QStringLiteral("no group titled \"%1\"").arg(groupTitle));
    }

    const QString folder = QDir(positional[1]).absolutePath();
    Exporter exporter(archive.get());
    const Exporter::Result result
        = group ? exporter.exportGroup(group, folder) : exporter.exportDocument(folder, currentGroup(*archive));

    // Copies written before a stop keep their tags, as in the application.
    if (exporter.pendingTagWrites() > 0) {
        QEventLoop loop;
        QObject::connect(&exporter, &Exporter::tagsWritten, &loop, &QEventLoop::quit);
        loop.exec();
    }
    QString written;
    QSet<QString> seen;
    for (const QString& path : exporter.writtenFiles()) {
        // Equal copy names overwrite each other; the later document in export order wins.
        written
            += path + (seen.contains(path) ? QStringLiteral("  (replaces the copy above)\n") : QStringLiteral("\n"));
        seen.insert(path);
    }
    if (!exporter.summaryPath().isEmpty())
        written += exporter.summaryPath() + QLatin1Char('\n');
    cliOut(written);

    switch (result) {
    case Exporter::Result::Success:
        return ExitOk;
    case Exporter::Result::MissingFile:
    case Exporter::Result::CorruptedFile: {
        const DocumentPtr document = exporter.failedDocument();
        cliErr(QStringLiteral("quillarc-cli export: %1 (%2, %3)\n")
                   .arg(exporter.errorString(), document->name(), document->path()));
        return ExitRefused;
    }
    case Exporter::Result::WriteFailed:
        break;
    }
    return cliFail("export", exporter.errorString());
}

CliCommandRegistration registration({ "export", "export ARCHIVE DIR [--group TITLE]",
    "Copy the archived files of the whole archive (or of one group) into DIR with a summary PDF (exit 1 when a file is "
    "missing or corrupted).",
    runExport });
} // namespace
