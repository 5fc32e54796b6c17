#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "store/IntegrityValidator.h"
#include "text/KVLocalizationDictionary.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace {
int runValidate(const QStringList& arguments)
{
    if (cliWantsHelp("validate", arguments))
        return ExitOk;
    if (arguments.size() != 1)
        return cliFail("validate", QStringLiteral("expected one archive path"));
    // Opened as the window opens it, so an archive saved and reopened can be
    // validated; the open mark is left alone.
    const auto archive = CliArchive::open("validate", arguments.first(), Document::OpenMode::ReadOnly);
    if (!archive)
        return ExitError;

    IntegrityValidator validator(archive.get());
    QEventLoop loop;
    bool intact = true;
    bool ran = false;
    QObject::connect(&validator, &IntegrityValidator::finished, &loop, [&](bool result) {
        intact = result;
        ran = true;
        loop.quit();
    });
    QObject::connect(&validator, &IntegrityValidator::stateChanged, &loop, [&] {
        // A new archive only changes its line twice, without a run.
        if (!validator.isValidating() && validator.integrityString() == localizedString(QStringLiteral("INTEGRITY_STRING_NEW")))
            loop.quit();
    });
    validator.validateIntegrety(archive->clientData());
    loop.exec();

    cliOut(validator.integrityString() + QLatin1Char('\n'));
    if (ran && !intact) {
        cliOut(validator.logText());
        return ExitRefused;
    }
    return ExitOk;
}

CliCommandRegistration registration({ "validate", "validate ARCHIVE",
    "Check the database and every archived file against their fingerprints (exit 0 intact, 1 corrupted, 2 could not run).",
    runValidate });
} // namespace
