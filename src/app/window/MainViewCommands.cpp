#include "app/window/MainViewCommands.h"

#include <QHash>

namespace {
enum class Needs { Key, KeyAndGroup, KeyAndDocument, KeyAndAnyGroup };

const QHash<QString, Needs>& table()
{
    static const QHash<QString, Needs> needs {
        { QStringLiteral("addDocument:"), Needs::KeyAndGroup },
        { QStringLiteral("addBatchDocuments:"), Needs::KeyAndGroup },
        { QStringLiteral("createFileCopy:"), Needs::KeyAndDocument },
        { QStringLiteral("addGroup:"), Needs::Key },
        { QStringLiteral("exportDocument:"), Needs::KeyAndAnyGroup },
    };
    return needs;
}
} // namespace

bool MainViewCommands::validateUserInterfaceItem(const QString& action, const State& state)
{
    const auto it = table().constFind(action);
    if (it == table().cend())
        return true;
    if (state.busy || !state.windowIsKey)
        return false;
    switch (*it) {
    case Needs::Key:
        return true;
    case Needs::KeyAndGroup:
        return state.hasGroup;
    case Needs::KeyAndDocument:
        return state.hasDocument;
    case Needs::KeyAndAnyGroup:
        return state.groupCount > 0;
    }
    return true;
}
