#include "app/core/DesktopIntegration.h"

#include "app/core/AppInfo.h"
#include "app/core/AppSettings.h"
#include "app/core/InstallOfferDialog.h"
#include "app/util/MessageBox.h"
#include "store/AtomicFile.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace {
QString dataHome()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

/// Writes @p bytes under @p path through a synced temporary file and a rename.
bool writeAtomically(const QString& path, const QByteArray& bytes, QString* error)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("%1: cannot create the folder").arg(folder);
        return false;
    }
    return AtomicFile::writeFile(path, bytes, error);
}

QByteArray resource(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString quotedForExec(const QString& path)
{
    if (!path.contains(QLatin1Char(' ')) && !path.contains(QLatin1Char('"')))
        return path;
    QString quoted = path;
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}
} // namespace

DesktopIntegration::DesktopIntegration(QObject* parent)
    : QObject(parent)
{
}

QString DesktopIntegration::installedEntryPath()
{
    return QStandardPaths::locate(QStandardPaths::ApplicationsLocation, AppInfo::desktopEntryName());
}

QString DesktopIntegration::userEntryPath()
{
    return dataHome() + QStringLiteral("/applications/") + AppInfo::desktopEntryName();
}

QString DesktopIntegration::userIconPath()
{
    return dataHome() + QStringLiteral("/icons/hicolor/scalable/apps/quillarc.svg");
}

QByteArray DesktopIntegration::desktopEntry(const QString& executable)
{
    const QList<QByteArray> lines = resource(QStringLiteral(":/desktop/quillarc.desktop")).split('\n');
    QByteArray entry;
    for (const QByteArray& line : lines) {
        if (line.startsWith("Exec="))
            entry += "Exec=" + quotedForExec(executable).toUtf8() + " %U";
        else if (line.startsWith("TryExec="))
            entry += "TryExec=" + quotedForExec(executable).toUtf8();
        else
            entry += line;
        entry += '\n';
    }
    return entry.trimmed() + '\n';
}

bool DesktopIntegration::shouldOffer() const
{
    return installedEntryPath().isEmpty() && !AppSettings::flag(AppSettings::installOfferDeclined);
}

void DesktopIntegration::offerInstallIfNeeded(QWidget* parent)
{
    if (!shouldOffer() || m_dialog)
        return;
    m_dialog = new InstallOfferDialog(parent);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_dialog, &QDialog::finished, this, [this, dialog = m_dialog.data()](int result) {
        if (result == QDialog::Accepted) {
            QString error;
            if (!install(&error)) {
                qCWarning(lcQuillarc).noquote() << QStringLiteral("Desktop entry not installed: %1").arg(error);
                MessageBox::alert(nullptr, MessageBox::Icon::Warning,
                    localizedString(QStringLiteral("INSTALL_FAILED_TITLE")), error,
                    { localizedString(QStringLiteral("OK")) });
            }
        } else if (dialog->doNotAskAgain()) {
            QSettings().setValue(AppSettings::installOfferDeclined, true);
        }
    });
    m_dialog->open();
}

bool DesktopIntegration::install(QString* error)
{
    QString reason;
    const QByteArray icon = resource(QStringLiteral(":/icons/quillarc.svg"));
    if (!writeAtomically(userIconPath(), icon, &reason)
        || !writeAtomically(userEntryPath(), desktopEntry(QCoreApplication::applicationFilePath()), &reason)) {
        if (error)
            *error = reason;
        return false;
    }
    runRegistration({ QStringLiteral("xdg-mime"), QStringLiteral("update-desktop-database") }, true);
    return true;
}

void DesktopIntegration::runRegistration(QStringList steps, bool ok)
{
    if (steps.isEmpty()) {
        Q_EMIT registrationFinished(ok);
        return;
    }
    const QString tool = steps.takeFirst();
    const QString program = QStandardPaths::findExecutable(tool);
    if (program.isEmpty()) {
        // The database is only a cache; without xdg-mime links stay unregistered.
        const bool needed = tool == QLatin1String("xdg-mime");
        if (needed)
            qCWarning(lcQuillarc).noquote() << "xdg-mime is not installed: quillarc:// links are not registered";
        runRegistration(steps, ok && !needed);
        return;
    }
    const QStringList arguments = tool == QLatin1String("xdg-mime")
        ? QStringList { QStringLiteral("default"), AppInfo::desktopEntryName(),
              QStringLiteral("x-scheme-handler/quillarc") }
        : QStringList { QFileInfo(userEntryPath()).absolutePath() };
    auto* process = new QProcess(this);
    process->setProcessChannelMode(QProcess::MergedChannels);
    connect(
        process, &QProcess::finished, this, [this, process, steps, ok, tool](int code, QProcess::ExitStatus status) {
            const bool worked = status == QProcess::NormalExit && code == 0;
            if (!worked) {
                qCWarning(lcQuillarc).noquote()
                    << QStringLiteral("%1 failed: %2").arg(tool, QString::fromLocal8Bit(process->readAll()).trimmed());
            }
            process->deleteLater();
            runRegistration(steps, ok && worked);
        });
    connect(process, &QProcess::errorOccurred, this, [this, process, steps, ok, tool](QProcess::ProcessError problem) {
        if (problem != QProcess::FailedToStart)
            return;
        qCWarning(lcQuillarc).noquote() << QStringLiteral("%1 could not be started").arg(tool);
        process->deleteLater();
        runRegistration(steps, false);
    });
    process->start(program, arguments);
}
