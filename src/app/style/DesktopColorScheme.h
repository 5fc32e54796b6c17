#pragma once

#include <QObject>

class QDBusVariant;

/// The desktop's colour-scheme preference, read from the freedesktop portal's
/// setting "org.freedesktop.appearance" "color-scheme" over the session bus
/// and followed while the application runs. Without a session bus or portal
/// the preference stays Unknown and the caller decides by the palette.
class DesktopColorScheme : public QObject
{
    Q_OBJECT

public:
    /// The portal's values, plus Unknown when nobody answered.
    enum Preference
    {
        Unknown = -1,
        NoPreference = 0,
        PreferDark = 1,
        PreferLight = 2
    };

    explicit DesktopColorScheme(QObject* parent = nullptr);

    /// The preference last read or announced.
    int preference() const;

    /// The preference carried by a portal reply or signal value, unwrapping the
    /// nested variants the portal uses; Unknown when it holds no number.
    static int preferenceFromValue(const QVariant& value);

Q_SIGNALS:
    /// The desktop switched its colour scheme.
    void preferenceChanged(int preference);

private Q_SLOTS:
    void onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    int m_preference = Unknown;
};
