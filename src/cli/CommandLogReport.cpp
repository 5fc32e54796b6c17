#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "model/QuillarcContainer.h"
#include "output/LogReport.h"
#include "store/IntegrityValidator.h"
#include "text/KVLocalizationDictionary.h"

#include <QEventLoop>

namespace {
/// Runs the integrity validation as the archive's window does when it opens,
/// so the report's state line says what the archive is now.
void validate(Document& archive)
{
    IntegrityValidator validator(&archive);
    QEventLoop loop;
    QObject::connect(&validator, &IntegrityValidator::finished, &loop, &QEventLoop::quit);
    QObject::connect(&validator, &IntegrityValidator::stateChanged, &loop, [&] {
        // An archive never reopened since it was made only changes its line, without a run.
        if (!validator.isValidating()
            && validator.integrityString() == localizedString(QStringLiteral("INTEGRITY_STRING_NEW")))
            loop.quit();
    });
    validator.validateIntegrety(archive.clientData());
    loop.exec();
}

int runLogReport(const QStringList& arguments)
{
    if (cliWantsHelp("log-report", arguments))
        return ExitOk;
    if (arguments.size() != 2)
        return cliFail("log-report", QStringLiteral("expected an archive path and the PDF to write"));
    const auto archive = CliArchive::open("log-report", arguments[0], Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;
    validate(*archive);

    const LogReport report(*archive);
    QString error;
    int pages = 0;
    if (!report.write(arguments[1], &error, &pages))
        return cliFail("log-report", error);
    cliOut(QStringLiteral("%1: %2 entries, %3 pages (%4)\n")
               .arg(arguments[1])
               .arg(archive->container()->logs().size())
               .arg(pages)
               .arg(archive->integrityString()));
    return ExitOk;
}

CliCommandRegistration registration({ "log-report", "log-report ARCHIVE OUT.pdf",
    "Validate the archive, then write its complete audit log as a PDF report (cover page, then every entry marked "
    "intact or corrupted).",
    runLogReport });
} // namespace
