#include "cli/CliCommand.h"
#include "intake/PreviewMaker.h"
#include "store/AtomicFile.h"

#include <QFileInfo>

namespace {

const char* const kName = "preview";

int runPreview(const QStringList& arguments)
{
    if (cliWantsHelp(kName, arguments))
        return ExitOk;
    bool icon = false;
    QStringList paths;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--icon"))
            icon = true;
        else if (argument.startsWith(QLatin1String("--")))
            return cliFail(kName, QStringLiteral("unknown option %1").arg(argument));
        else
            paths.append(argument);
    }
    if (paths.size() != 2)
        return cliFail(kName, QStringLiteral("expected FILE and OUT.png"));
    const QString source = QFileInfo(paths.at(0)).absoluteFilePath();
    if (!QFileInfo::exists(source))
        cliErr(QStringLiteral("quillarc-cli %1: %2 does not exist; writing the error image\n")
                   .arg(QString::fromUtf8(kName), paths.at(0)));

    const QByteArray bytes = icon ? PreviewMaker::fileIconFromURL(source) : PreviewMaker::quickLookFromURL(source);
    if (bytes.isEmpty())
        return cliFail(kName, QStringLiteral("could not encode the image"));
    QString error;
    if (!AtomicFile::writeFile(paths.at(1), bytes, &error))
        return cliFail(kName, error);
    return ExitOk;
}

const CliCommandRegistration registration({
    kName,
    "preview FILE OUT.png [--icon]",
    "write the 256x256 preview (or with --icon the file-type icon) an archive keeps for FILE",
    runPreview,
});

} // namespace
