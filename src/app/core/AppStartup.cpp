#include "app/core/AppStartup.h"

#include "app/core/AppDelegate.h"
#include "app/core/AppInfo.h"
#include "app/core/AppSettings.h"
#include "app/core/DocumentController.h"
#include "app/core/InstanceChannel.h"
#include "app/popover/PopoverRegistry.h"
#include "app/style/ThemeManager.h"
#include "app/window/ArchiveWindow.h"
#include "text/Logging.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QIcon>
#include <QOperatingSystemVersion>
#include <QStandardPaths>
#include <QSysInfo>
#include <QTimer>
#include <cstdio>

namespace {
/// QUILLARC_STARTUP_PROBE: report when the first window is shown and its main
/// view is ready, then quit (the start-up benchmark reads these lines).
void installStartupProbe(AppDelegate& delegate)
{
    auto* watch = new QElapsedTimer;
    QObject::connect(
        delegate.documentController(), &DocumentController::documentsChanged, &delegate, [&delegate, watch] {
            static bool seen = false;
            const QList<ArchiveWindow*> windows = delegate.documentController()->documents();
            if (seen || windows.isEmpty())
                return;
            seen = true;
            ArchiveWindow* window = windows.first();
            QTimer::singleShot(0, window, [] {
                std::printf("probe window-shown\n");
                std::fflush(stdout);
            });
            QObject::connect(window, &ArchiveWindow::welcomeEnding, window, [watch] { watch->start(); });
            QObject::connect(window, &ArchiveWindow::mainViewLoaded, window, [window, watch] {
                // Ready once the main view has been laid out and painted for the first time.
                QTimer::singleShot(0, window, [watch] {
                    std::printf("probe main-view-ready %.3f\n", double(watch->nsecsElapsed()) / 1e6);
                    std::fflush(stdout);
                    delete watch;
                    QCoreApplication::exit(0);
                });
            });
        });
}
} // namespace

int AppStartup::operatingSystemMinorVersion()
{
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    if (system.minorVersion() >= 0)
        return system.minorVersion();
    const QStringList product = QSysInfo::productVersion().split(QLatin1Char('.'));
    if (product.size() > 1)
        return product.at(1).toInt();
    return QSysInfo::kernelVersion().section(QLatin1Char('.'), 1, 1).toInt();
}

void AppStartup::writeLaunchDefaults(QSettings& settings)
{
    settings.setValue(AppSettings::enableAutomaticChecks, false);
    settings.setValue(AppSettings::allowsAutomaticUpdates, false);
    settings.remove(AppSettings::skippedVersion);
    settings.setValue(AppSettings::printingExpanded, true);
}

void AppStartup::removeCachedResponses()
{
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (!cache.isEmpty())
        QDir(cache + QStringLiteral("/network")).removeRecursively();
}

int AppStartup::run(int argc, char** argv)
{
    // Asked from a terminal: answered there, before any window or second-instance hand-over.
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "--")
            break;
        if (argument == "--help" || argument == "-h") {
            std::printf("Usage: quillarc [ARCHIVE.quillarc | quillarc://COMMAND]...\n"
                        "Opens the archives given, or the one used last. A running Quillarc\n"
                        "takes over the arguments of a later start.\n"
                        "  -h, --help     show this help\n"
                        "      --version  show the version\n");
            return 0;
        }
        if (argument == "--version") {
            std::printf("quillarc %s\n", qPrintable(AppInfo::version()));
            return 0;
        }
    }
    QCoreApplication::setOrganizationName(AppInfo::organizationName());
    QCoreApplication::setApplicationName(AppInfo::applicationName());
    QCoreApplication::setApplicationVersion(AppInfo::version());

    removeCachedResponses();
    qCInfo(lcQuillarc).noquote() << QStringLiteral("\n\nVersion: %1\n\n").arg(operatingSystemMinorVersion());
    {
        QSettings settings;
        writeLaunchDefaults(settings);
    }

    QApplication app(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("quillarc"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/quillarc.svg")));
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = app.arguments().mid(1);
    const QString workingDirectory = QDir::currentPath();

    InstanceChannel channel;
    QString channelError;
    switch (channel.start(&channelError)) {
    case InstanceChannel::Role::Secondary:
        if (channel.forward(arguments, workingDirectory, &channelError))
            return 0;
        std::fprintf(stderr, "quillarc: %s\n", qPrintable(channelError));
        return 1;
    case InstanceChannel::Role::Failed:
        // Without the channel this process still works; it just cannot be reached by others.
        qCWarning(lcQuillarc).noquote() << QStringLiteral("Single-instance channel unavailable: %1").arg(channelError);
        break;
    case InstanceChannel::Role::Primary:
        break;
    }

    ThemeManager::instance()->apply();
    PopoverRegistry::registerBuiltIns();
    AppDelegate delegate;
    delegate.setInstanceChannel(&channel);
    delegate.setInstallOfferEnabled(qEnvironmentVariableIsEmpty("QUILLARC_NO_INSTALL_OFFER")
        && qEnvironmentVariableIsEmpty("QUILLARC_STARTUP_PROBE"));
    if (!qEnvironmentVariableIsEmpty("QUILLARC_STARTUP_PROBE"))
        installStartupProbe(delegate);
    delegate.launch(arguments, workingDirectory);
    return app.exec();
}
