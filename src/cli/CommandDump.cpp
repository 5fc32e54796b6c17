#include "cli/CliCommand.h"
#include "store/CanonicalDump.h"
#include "store/Document.h"
#include "store/KeyedUnarchiver.h"

#include <QDir>
#include <QFile>

namespace {
int runDump(const QStringList& arguments)
{
    if (cliWantsHelp("dump", arguments))
        return ExitOk;
    bool semantic = false;
    bool member = false;
    QString path;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--semantic"))
            semantic = true;
        else if (argument == QLatin1String("--member"))
            member = true;
        else if (argument.startsWith(QLatin1String("--")) || !path.isEmpty())
            return cliFail("dump", QStringLiteral("unexpected argument '%1'").arg(argument));
        else
            path = argument;
    }
    if (path.isEmpty())
        return cliFail("dump", QStringLiteral("no path given"));
    const QString file = member ? path : QDir(Document::packagePathFor(path)).filePath(QLatin1String(Document::databaseName));
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly))
        return cliFail("dump", QStringLiteral("cannot read %1: %2").arg(file, input.errorString()));
    QString error;
    const Value root = KeyedUnarchiver::unarchiveObjectWithData(input.readAll(), &error);
    if (root.isNil())
        return cliFail("dump", QStringLiteral("%1 is not a readable keyed archive: %2").arg(file, error));
    const QByteArray text = member ? CanonicalDump::dump(root) : CanonicalDump::dumpDatabase(root, semantic);
    if (text.isEmpty())
        return cliFail("dump", CanonicalDump::tooLargeMessage());
    cliOutBytes(text);
    return ExitOk;
}

CliCommandRegistration registration({ "dump", "dump ARCHIVE [--semantic] | dump --member FILE",
    "Print the canonical dump of an archive's database, or of one archived file member.", runDump });
} // namespace
