#pragma once

#include <QString>

#include <functional>

/// Hands files to other applications: opening a file in the desktop's
/// viewer for its type, and revealing a file or folder selected in the file
/// manager.
///
/// Revealing asks the file manager over D-Bus (org.freedesktop.FileManager1,
/// ShowItems) and, when no file manager answers, opens the folder that holds
/// the item instead. Nothing waits: the call returns at once.
///
/// Tests set a handler with setHandlerForTesting(): it then receives every
/// request ("open" or "reveal" and the path) and nothing is started.
class ExternalOpen
{
public:
    static void openFile(const QString& path);
    static void revealFile(const QString& path);

    using Handler = std::function<void(const QString& action, const QString& path)>;
    /// Every later request goes to @p handler instead of the desktop; an
    /// empty handler restores the desktop.
    static void setHandlerForTesting(Handler handler);

private:
    static void openFolderOf(const QString& path);
};
