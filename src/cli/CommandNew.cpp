#include "cli/CliCommand.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QFileInfo>

namespace {
int runNew(const QStringList& arguments)
{
    if (cliWantsHelp("new", arguments))
        return ExitOk;
    QString path;
    QString title;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--title") && i + 1 < arguments.size())
            title = arguments[++i];
        else if (arguments[i].startsWith(QLatin1String("--")) || !path.isEmpty())
            return cliFail("new", QStringLiteral("unexpected argument '%1'").arg(arguments[i]));
        else
            path = arguments[i];
    }
    if (path.isEmpty())
        return cliFail("new", QStringLiteral("no archive path given"));
    if (!path.endsWith(QLatin1String(".quillarc")))
        path += QLatin1String(".quillarc");
    if (QFileInfo::exists(path))
        return cliFail("new", QStringLiteral("%1 already exists").arg(path));

    Document archive;
    archive.setUpAfterReading();
    if (!title.isEmpty())
        archive.container()->setValue(QuillarcContainer::ContainerTitle, Value::string(title));
    archive.preferences()->setValue(QuillarcPreferences::IsSetupDone, Value::boolean(true));
    QString error;
    if (!archive.saveToPath(path, &error))
        return cliFail("new", QStringLiteral("cannot save %1: %2").arg(path, error));
    cliOut(QStringLiteral("Created %1 (\"%2\")\n").arg(archive.packagePath(), archive.container()->containerTitle()));
    return ExitOk;
}

CliCommandRegistration registration({ "new", "new ARCHIVE [--title TEXT]",
    "Create and save a new archive (\".quillarc\" is appended when missing).", runNew });
} // namespace
