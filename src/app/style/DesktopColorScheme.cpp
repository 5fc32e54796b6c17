#include "app/style/DesktopColorScheme.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFileInfo>

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

// Asking for a session bus where there is none can start an X11 autolaunch
// attempt; look for the bus the usual ways first.
bool sessionBusExpected()
{
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeDir.isEmpty() && QFileInfo::exists(runtimeDir + QStringLiteral("/bus"));
}

} // namespace

DesktopColorScheme::DesktopColorScheme(QObject* parent)
    : QObject(parent)
{
    if (!sessionBusExpected())
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;

    QDBusMessage read
        = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    read << appearanceGroup << colorSchemeKey;
    // A short wait at start-up: a missing portal must not delay the first window.
    const QDBusMessage reply = bus.call(read, QDBus::Block, 300);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
        m_preference = preferenceFromValue(reply.arguments().constFirst());

    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
        SLOT(onSettingChanged(QString, QString, QDBusVariant)));
}

int DesktopColorScheme::preference() const
{
    return m_preference;
}

int DesktopColorScheme::preferenceFromValue(const QVariant& value)
{
    QVariant v = value;
    // "Read" wraps the setting's variant in a second one; unwrap however deep.
    for (int depth = 0; depth < 4; ++depth) {
        if (v.canConvert<QDBusVariant>() && v.metaType() == QMetaType::fromType<QDBusVariant>())
            v = v.value<QDBusVariant>().variant();
        else if (v.metaType() == QMetaType::fromType<QDBusArgument>())
            v = qdbus_cast<QDBusVariant>(v.value<QDBusArgument>()).variant();
        else
            break;
    }
    bool ok = false;
    const uint number = v.toUInt(&ok);
    if (!ok || number > PreferLight)
        return Unknown;
    return int(number);
}

void DesktopColorScheme::onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group != appearanceGroup || key != colorSchemeKey)
        return;
    const int preference = preferenceFromValue(value.variant());
    if (preference == m_preference)
        return;
    m_preference = preference;
    Q_EMIT preferenceChanged(preference);
}
