#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"

namespace {
int runInfo(const QStringList& arguments)
{
    if (cliWantsHelp("info", arguments))
        return ExitOk;
    if (arguments.size() != 1)
        return cliFail("info", QStringLiteral("expected one archive path"));
    const auto archive = CliArchive::open("info", arguments.first(), Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;
    const auto container = archive->container();
    QString text;
    text += QStringLiteral("Archive:    %1\n").arg(archive->packagePath());
    text += QStringLiteral("Title:      %1\n").arg(container->containerTitle());
    text += QStringLiteral("Groups:     %1\n").arg(archive->allGroups().size());
    text += QStringLiteral("Documents:  %1\n").arg(archive->allDocuments().size());
    text += QStringLiteral("Log entries: %1\n").arg(container->logs().size());
    text += QStringLiteral("Open mark:  %1\n").arg(archive->isAlreadyOpen() ? QStringLiteral("open by %1").arg(archive->host()) : QStringLiteral("closed"));
    for (const GroupPtr& group : archive->allGroups()) {
        text += QStringLiteral("  %1  %2 (%3 documents%4)\n")
                    .arg(group->databaseObjectUniqueID(), group->groupTitle())
                    .arg(group->documentCount())
                    .arg(group->isLocked() ? QStringLiteral(", locked") : QString());
    }
    cliOut(text);
    return ExitOk;
}

CliCommandRegistration registration({ "info", "info ARCHIVE", "Show an archive's title, groups, counts and open mark.", runInfo });
} // namespace
