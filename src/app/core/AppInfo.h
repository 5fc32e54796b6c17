#pragma once

#include <QString>

/// Names the application registers itself under: settings scope, desktop
/// entry and URL scheme, and the facts its welcome screen shows.
namespace AppInfo {
inline QString organizationName() { return QStringLiteral("Tessary"); }
inline QString applicationName() { return QStringLiteral("Quillarc"); }
inline QString urlScheme() { return QStringLiteral("quillarc"); }
/// The desktop entry's file name, also its identity for URL handlers.
inline QString desktopEntryName() { return QStringLiteral("quillarc.desktop"); }
inline QString version()
{
#ifdef QUILLARC_VERSION
    return QStringLiteral(QUILLARC_VERSION);
#else
    return QStringLiteral("0.1.0");
#endif
}
/// The welcome screen's copyright line ("KVStartupCopyright").
inline QString startupCopyright() { return QStringLiteral("© 2024 Tessary"); }
} // namespace AppInfo
