#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"

namespace {
int runLog(const QStringList& arguments)
{
    if (cliWantsHelp("log", arguments))
        return ExitOk;
    if (arguments.size() != 1)
        return cliFail("log", QStringLiteral("expected one archive path"));
    const auto archive = CliArchive::open("log", arguments.first(), Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;
    QString text;
    for (const LogObjectPtr& entry : archive->container()->logs()) {
        text += QStringLiteral("%1  kind %2  %3\n%4\n")
                    .arg(Clock::toDateTime(entry->creationDate()).toString(Qt::ISODate))
                    .arg(entry->logKind())
                    .arg(entry->objectUniqueID(), entry->logText());
    }
    cliOut(text);
    return ExitOk;
}

CliCommandRegistration registration({ "log", "log ARCHIVE",
    "Print every audit-log entry: time, kind (0 taken in, 1 deleted), document ID and the stored text.", runLog });
} // namespace
