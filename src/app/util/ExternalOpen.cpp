#include "app/util/ExternalOpen.h"

#include "text/Logging.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace {
ExternalOpen::Handler& testHandler()
{
    static ExternalOpen::Handler handler;
    return handler;
}
} // namespace

void ExternalOpen::setHandlerForTesting(Handler handler)
{
    testHandler() = std::move(handler);
}

void ExternalOpen::openFile(const QString& path)
{
    if (testHandler())
        return testHandler()(QStringLiteral("open"), path);
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        qCWarning(lcQuillarc).noquote() << QStringLiteral("Could not open %1").arg(path);
}

void ExternalOpen::revealFile(const QString& path)
{
    if (testHandler())
        return testHandler()(QStringLiteral("reveal"), path);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return openFolderOf(path);
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("ShowItems"));
    call << QStringList { QUrl::fromLocalFile(path).toString() } << QString();
    // The file manager may first have to be started by the bus: never wait for it here.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, path] {
        if (QDBusPendingReply<>(*watcher).isError())
            openFolderOf(path);
        watcher->deleteLater();
    });
}

void ExternalOpen::openFolderOf(const QString& path)
{
    // The folder that holds the item, so the package itself is not opened as a folder.
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        qCWarning(lcQuillarc).noquote() << QStringLiteral("Could not open %1").arg(folder);
}
