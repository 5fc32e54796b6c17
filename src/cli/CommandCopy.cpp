#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/FileCopy.h"
#include "model/QuillarcDocument.h"
#include "text/KVLocalizationDictionary.h"

#include <QEventLoop>
#include <QFileInfo>

namespace {
const char* const command = "copy";

int runCopy(const QStringList& arguments)
{
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QStringList positional;
    for (const QString& argument : arguments) {
        if (argument.startsWith(QLatin1String("--")))
            return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(argument));
        positional.append(argument);
    }
    if (positional.size() != 3)
        return cliFail(command, QStringLiteral("expected ARCHIVE ID DIR"));
    if (!QFileInfo(positional[2]).isDir())
        return cliFail(command, QStringLiteral("%1 is not a folder").arg(positional[2]));

    // Copying changes nothing in the archive.
    const auto archive = CliArchive::open(command, positional[0], Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;
    const DocumentPtr document = archive->itemForID(positional[1]);
    if (!document)
        return cliFail(command, QStringLiteral("no document with ID %1").arg(positional[1]));

    FileCopy copy;
    const FileCopy::Result result = copy.createFileCopy(document, positional[2]);
    if (result == FileCopy::Result::NoFile || result == FileCopy::Result::Corrupted) {
        cliErr(QStringLiteral("%1 %2\n").arg(
            localizedString(QStringLiteral("Error!")), localizedString(copy.errorString())));
        return ExitRefused;
    }
    if (result != FileCopy::Result::Written)
        return cliFail(command, QStringLiteral("cannot write the copy: %1").arg(copy.errorString()));
    if (copy.isWritingAttributes()) {
        QEventLoop loop;
        QObject::connect(&copy, &FileCopy::attributesWritten, &loop, &QEventLoop::quit);
        loop.exec();
    }
    cliOut(QStringLiteral("Wrote %1\n").arg(copy.filePath()));
    return ExitOk;
}

CliCommandRegistration registration({ command, "copy ARCHIVE ID DIR",
    "Write a plain copy of an archived file into DIR, with its tags and comment when the archive writes tags.",
    runCopy });
} // namespace
