#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Points HOME, the XDG folders and QSettings at a fresh temporary folder for
/// the lifetime of the object, so tests never touch the user's files.
class TemporaryHome
{
public:
    TemporaryHome();
    ~TemporaryHome();
    QString path() const { return m_dir.path(); }
    QString documentsPath() const;
    /// A new, unused path "HOME/stem-N" for each call.
    QString freshPath(const QString& stem);

private:
    QTemporaryDir m_dir;
    QByteArray m_oldHome;
    int m_counter = 0;
};

/// Result of one run of quillarc-cli.
struct CliRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

/// Runs the quillarc-cli built beside the tests (CTest passes its path in
/// QUILLARC_CLI) with the given arguments and waits for it. With
/// @p standardOutputFile its output goes to that file (such as /dev/full).
CliRun runCli(const QStringList& arguments, const QByteArray& input = {}, const QString& standardOutputFile = {});

/// True when files in the folder can carry user extended attributes (not
/// every file system a test may run on can; tests that need them skip).
bool supportsExtendedAttributes(const QString& folder);

/// The localized text of a key, as the code under test shows it.
QString text(const char* key);

/// Writes bytes to a file, creating its folder; returns false on failure.
bool writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);
