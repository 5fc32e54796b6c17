#pragma once

#include <QString>
#include <QStringList>

/// The archives opened last, most recent first, kept in the setting
/// "RecentDocuments" (at most ten package paths). Entries whose package
/// folder is gone are dropped when the list is read.
namespace RecentDocuments {

constexpr int maximumCount = 10;

/// The list, stale entries removed (and the setting updated when any was).
QStringList recentDocumentURLs();
/// Puts the package first, removing an older entry of it and the eleventh.
void noteNewRecentDocument(const QString& packagePath);
void removeRecentDocument(const QString& packagePath);
void clearRecentDocuments();

} // namespace RecentDocuments
