#include "cli/CliCommand.h"

#include <QFile>
#include <QGuiApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {
/// The first failure of a write to standard output; sticky, reported at the end.
int outputError = 0;

std::vector<CliCommand>& registry()
{
    static std::vector<CliCommand> commands;
    return commands;
}

void printUsage()
{
    QString text = QStringLiteral("Usage: quillarc-cli COMMAND [ARGUMENTS]\n\nCommands:\n");
    for (const CliCommand& command : cliCommands())
        text += QStringLiteral("  %1  %2\n").arg(QString::fromUtf8(command.name).leftJustified(12), QString::fromUtf8(command.summary));
    text += QStringLiteral("\n'quillarc-cli COMMAND --help' describes one command.\n");
    cliOut(text);
}
} // namespace

CliCommandRegistration::CliCommandRegistration(CliCommand command)
{
    registry().push_back(std::move(command));
}

const std::vector<CliCommand>& cliCommands()
{
    return registry();
}

bool cliOut(const QString& text)
{
    return cliOutBytes(text.toUtf8());
}

bool cliOutBytes(const QByteArray& bytes)
{
    if (outputError)
        return false;
    errno = 0;
    if (std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) != size_t(bytes.size()) || std::fflush(stdout) != 0)
        outputError = errno ? errno : EIO;
    return outputError == 0;
}

/// A command's status, made an error when its output could not be written
/// completely (a full disk, /dev/full): output cut short is never a success.
int finishOutput(const QString& command, int status)
{
    errno = 0;
    if (!outputError && std::fflush(stdout) != 0)
        outputError = errno ? errno : EIO;
    if (!outputError)
        return status;
    cliErr(QStringLiteral("quillarc-cli %1: cannot write the output: %2\n").arg(command, QString::fromLocal8Bit(std::strerror(outputError))));
    return status == ExitOk || status == ExitRefused ? ExitError : status;
}

void cliErr(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

int cliFail(const char* command, const QString& message)
{
    cliErr(QStringLiteral("quillarc-cli %1: %2\n").arg(QString::fromUtf8(command), message));
    return ExitError;
}

bool cliWantsHelp(const char* command, const QStringList& arguments)
{
    if (!arguments.contains(QLatin1String("--help")) && !arguments.contains(QLatin1String("-h")))
        return false;
    for (const CliCommand& c : cliCommands()) {
        if (qstrcmp(c.name, command) == 0)
            cliOut(QStringLiteral("Usage: quillarc-cli %1\n%2\n").arg(QString::fromUtf8(c.usage), QString::fromUtf8(c.summary)));
    }
    return true;
}

int main(int argc, char** argv)
{
    // The command line never needs a display; fonts, images and PDFs work offscreen.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Headless sessions often have no runtime folder; make the one Qt would pick, quietly.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QByteArray runtime = "/tmp/runtime-" + QByteArray::number(getuid());
        ::mkdir(runtime.constData(), 0700);
        qputenv("XDG_RUNTIME_DIR", runtime);
    }
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Tessary"));
    QGuiApplication::setApplicationName(QStringLiteral("Quillarc"));

    QStringList arguments = app.arguments().mid(1);
    if (arguments.isEmpty() || arguments.first() == QLatin1String("--help") || arguments.first() == QLatin1String("-h")) {
        printUsage();
        return finishOutput(QStringLiteral("--help"), arguments.isEmpty() ? ExitError : ExitOk);
    }
    const QString name = arguments.takeFirst();
    for (const CliCommand& command : cliCommands()) {
        if (name == QLatin1String(command.name))
            return finishOutput(name, command.run(arguments));
    }
    cliErr(QStringLiteral("quillarc-cli: unknown command '%1'\n").arg(name));
    printUsage();
    return ExitError;
}
