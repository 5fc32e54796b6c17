#pragma once

#include <QKeySequence>
#include <QObject>
#include <QString>
#include <QVariant>
#include <functional>

class ArchiveWindow;

/// The commands of an archive window's menus, named as the application names
/// its actions ("saveDocument:", "mainViewNewGroupAction:", ...): which of
/// them are enabled when, and what each one does.
///
/// Enabling follows two tables. The window's own: nothing before the main
/// view has replaced the welcome screen; preferences only once the archive's
/// set-up is done; new groups in the key window; group commands with a group
/// selected, document commands with a document selected. Commands aimed at
/// the main view ask its table (MainView::validateUserInterfaceItem).
/// Application commands (new, open, quit, help) are always enabled.
class ArchiveCommands : public QObject
{
    Q_OBJECT

public:
    enum class Scope
    {
        Application,
        Window,
        Document,
        MainView
    };

    struct Info
    {
        QString command;
        QString textKey;
        QKeySequence shortcut;
        Scope scope;
    };

    /// What the window's table depends on.
    struct State
    {
        bool mainViewLoaded = false;
        bool windowIsKey = false;
        bool groupSelected = false;
        bool documentSelected = false;
        bool setupDone = false;
        bool untitled = false;
    };

    explicit ArchiveCommands(ArchiveWindow* window);

    /// Every command of the menus, in menu order.
    static const QList<Info>& allCommands();
    static const Info* info(const QString& command);

    /// The window's table for a command of the archive. @p mainViewAnswer is
    /// asked for commands aimed at the main view.
    static bool isEnabled(
        const QString& command, const State& state, const std::function<bool(const QString&)>& mainViewAnswer);

    State currentState() const;
    bool validateUserInterfaceItem(const QString& command) const;

    /// Runs a command when it is enabled; false when it is not (or unknown).
    bool perform(const QString& command, const QVariant& argument = QVariant());

    /// Test seam: replaces the selection read from the main view.
    void setSelectionOverride(std::function<std::pair<bool, bool>()> selection) { m_selection = std::move(selection); }

private:
    void performMainView(const QString& command);
    void performWindow(const QString& command);

    ArchiveWindow* m_window;
    std::function<std::pair<bool, bool>()> m_selection;
};
