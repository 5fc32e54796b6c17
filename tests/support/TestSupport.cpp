#include "TestSupport.h"

#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/xattr.h>

TemporaryHome::TemporaryHome()
{
    m_oldHome = qgetenv("HOME");
    const QString home = m_dir.path();
    qputenv("HOME", home.toUtf8());
    qputenv("XDG_CONFIG_HOME", (home + QStringLiteral("/.config")).toUtf8());
    qputenv("XDG_DATA_HOME", (home + QStringLiteral("/.local/share")).toUtf8());
    qputenv("XDG_CACHE_HOME", (home + QStringLiteral("/.cache")).toUtf8());
    qputenv("XDG_DOCUMENTS_DIR", (home + QStringLiteral("/Documents")).toUtf8());
    QDir(home).mkpath(QStringLiteral("Documents"));
    QStandardPaths::setTestModeEnabled(false);
}

TemporaryHome::~TemporaryHome()
{
    qputenv("HOME", m_oldHome);
}

QString TemporaryHome::documentsPath() const
{
    return m_dir.path() + QStringLiteral("/Documents");
}

QString TemporaryHome::freshPath(const QString& stem)
{
    return QStringLiteral("%1/%2-%3").arg(m_dir.path(), stem).arg(++m_counter);
}

CliRun runCli(const QStringList& arguments, const QByteArray& input, const QString& standardOutputFile)
{
    CliRun run;
    QProcess process;
    if (!standardOutputFile.isEmpty())
        process.setStandardOutputFile(standardOutputFile, QIODevice::Append);
    process.start(qEnvironmentVariable("QUILLARC_CLI"), arguments);
    if (!process.waitForStarted(10000))
        return run;
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(300000);
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool supportsExtendedAttributes(const QString& folder)
{
    const QString probe = folder + QStringLiteral("/.xattr-probe");
    writeFile(probe, "probe");
    const QByteArray name = QFile::encodeName(probe);
    const bool supported = setxattr(name.constData(), "user.quillarc.probe", "1", 1, 0) == 0;
    QFile::remove(probe);
    return supported;
}

QString text(const char* key)
{
    return localizedString(QString::fromLatin1(key));
}
