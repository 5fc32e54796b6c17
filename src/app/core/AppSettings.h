#pragma once

#include <QSettings>
#include <QString>

/// Application-wide switches in the user's settings (organization "Tessary",
/// application "Quillarc"), under the names the application has always used.
namespace AppSettings {

inline const QString enableAutomaticChecks = QStringLiteral("SUEnableAutomaticChecks");
inline const QString allowsAutomaticUpdates = QStringLiteral("SUAllowsAutomaticUpdates");
inline const QString skippedVersion = QStringLiteral("SUSkippedVersion");
inline const QString printingExpanded = QStringLiteral("PMPrintingExpandedStateForPrint2");
inline const QString currentNewsNumber = QStringLiteral("currentNewsNumber");
inline const QString lastWindowClosingAllowed = QStringLiteral("lastWindowClosingAllowed");
inline const QString companyCheck = QStringLiteral("tessarysCompanyCheck");
inline const QString disableAnimation = QStringLiteral("prefs_DisableAnimation");
inline const QString recentDocuments = QStringLiteral("RecentDocuments");
/// The desktop-entry offer was refused with "do not ask again".
inline const QString installOfferDeclined = QStringLiteral("desktopInstallOfferDeclined");
/// Name of the single-instance channel (QUILLARC_INSTANCE_NAME overrides it).
inline const QString instanceChannelName = QStringLiteral("instanceChannelName");

inline bool flag(const QString& key, bool fallback = false)
{
    return QSettings().value(key, fallback).toBool();
}

} // namespace AppSettings
