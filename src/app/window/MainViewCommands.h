#pragma once

#include <QString>

/// Which of the main view's commands are enabled, by command name.
class MainViewCommands
{
public:
    /// What enabling depends on.
    struct State
    {
        bool windowIsKey = false;
        bool hasGroup = false;    ///< a group is selected
        bool hasDocument = false; ///< a document is selected
        qsizetype groupCount = 0; ///< groups in the archive
        bool busy = false;        ///< records are being built; the lists are hidden
    };

    /// The command table: adding documents needs a selected group, the file
    /// copy a selected document, a new group only the key window, and the
    /// document export any group at all (deliberately not the selection).
    /// Commands the table does not name are always enabled. While records
    /// are built, every command of the table waits.
    static bool validateUserInterfaceItem(const QString& action, const State& state);
};
