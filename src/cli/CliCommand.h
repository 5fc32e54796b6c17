#pragma once

#include <QStringList>

#include <functional>
#include <vector>

/// One sub-command of quillarc-cli. Each command lives in its own source file
/// and registers itself with a static CliCommandRegistration, so commands are
/// added without touching a central list.
struct CliCommand
{
    const char* name;
    const char* usage;   ///< first line of --help, e.g. "new ARCHIVE [--title TEXT]"
    const char* summary; ///< one line for the command list
    std::function<int(const QStringList& arguments)> run; ///< arguments after the command name
};

struct CliCommandRegistration
{
    explicit CliCommandRegistration(CliCommand command);
};

const std::vector<CliCommand>& cliCommands();

/// Exit statuses shared by all commands.
enum CliExit { ExitOk = 0, ExitRefused = 1, ExitError = 2 };

/// Writes to stdout / stderr in UTF-8. A failed write to stdout is remembered
/// and turns the command's exit status into an error; false from then on.
bool cliOut(const QString& text);
bool cliOutBytes(const QByteArray& bytes);
void cliErr(const QString& text);
/// Prints "quillarc-cli <command>: message" on stderr and returns ExitError.
int cliFail(const char* command, const QString& message);
/// True when --help or -h is among the arguments; prints the command's usage then.
bool cliWantsHelp(const char* command, const QStringList& arguments);
