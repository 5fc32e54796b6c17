#pragma once

#include <QHash>
#include <QObject>

class ArchiveWindow;
class QAction;
class QMenu;
class QMenuBar;

/// The menu bar of an archive window: Quillarc, File, Edit, Archive,
/// Document, View, Window and Help, one action per command with its usual
/// shortcut. Texts are localization keys, localized with the window; every
/// action's enabled state follows ArchiveCommands and is brought up to date
/// whenever something it depends on changes, so shortcuts obey it too.
class Menus : public QObject
{
    Q_OBJECT

public:
    explicit Menus(ArchiveWindow* window);

    QMenuBar* menuBar() const { return m_menuBar; }
    /// The action of a command ("saveDocument:"), or nullptr.
    QAction* action(const QString& command) const { return m_actions.value(command); }
    QList<QMenu*> menus() const;
    QMenu* recentMenu() const { return m_recentMenu; }
    QMenu* windowMenu() const { return m_windowMenu; }

    /// Enables every action as the commands' tables say now.
    void validateAll();

private:
    QMenu* addMenu(const char* titleKey, const QStringList& commands);
    QAction* addCommand(QMenu* menu, const QString& command);
    void rebuildRecentMenu();
    void rebuildWindowMenu();

    ArchiveWindow* m_window;
    QMenuBar* m_menuBar;
    QHash<QString, QAction*> m_actions;
    QMenu* m_recentMenu = nullptr;
    QMenu* m_windowMenu = nullptr;
    QList<QAction*> m_windowEntries;
};
