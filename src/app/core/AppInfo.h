#pragma once

#include <QString>

/// Names the application registers itself under: settings scope, desktop
/// entry and URL scheme.
namespace AppInfo {
inline QString organizationName() { return QStringLiteral("Tessary"); }
inline QString applicationName() { return QStringLiteral("Quillarc"); }
inline QString urlScheme() { return QStringLiteral("quillarc"); }
} // namespace AppInfo
