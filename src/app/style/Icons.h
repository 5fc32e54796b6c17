#pragma once

#include <QIcon>
#include <QStringList>

/// The application's icons: SVG line drawings under ":/icons/", tinted from
/// the application palette whenever they are painted, so they follow the
/// light and dark themes and stay sharp at every size and pixel ratio.
class Icons
{
public:
    /// The icon called @p name ("add", "folder-group", "quillarc", ...); a null
    /// icon, and a line in the log, for a name we do not ship.
    static QIcon icon(const QString& name);

    /// Every icon name we ship, sorted.
    static QStringList names();

    /// The resource path of the icon called @p name.
    static QString resourcePath(const QString& name);
};
