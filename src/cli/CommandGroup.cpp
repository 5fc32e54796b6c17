#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/DeletionRules.h"
#include "intake/GroupEditing.h"
#include "model/QuillarcGroup.h"
#include "text/KVLocalizationDictionary.h"

#include <optional>

namespace {
const char* const command = "group";

QString groupLine(const GroupPtr& group)
{
    return QStringLiteral("\"%1\"%2")
        .arg(group->groupTitle(), group->isLocked() ? QStringLiteral(" (locked)") : QString());
}

int runGroup(const QStringList& arguments)
{
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QStringList positional;
    GroupEditing::GroupValues values;
    std::optional<bool> locked;
    bool force = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("--force")) {
            force = true;
        } else if (argument == QLatin1String("--locked") || argument == QLatin1String("--unlocked")) {
            locked = argument == QLatin1String("--locked");
        } else if (argument == QLatin1String("--title") && hasValue) {
            values.title = arguments[++i];
        } else if (argument == QLatin1String("--description") && hasValue) {
            values.description = arguments[++i];
        } else if (argument == QLatin1String("--color") && hasValue) {
            bool ok = false;
            values.colorTag = arguments[++i].toLongLong(&ok);
            if (!ok)
                return cliFail(command, QStringLiteral("--color needs a number (0-6, 7 for none)"));
        } else if (argument.startsWith(QLatin1String("--"))) {
            return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(argument));
        } else {
            positional.append(argument);
        }
    }
    if (positional.size() != 3)
        return cliFail(command, QStringLiteral("expected ARCHIVE, an action (add, edit, delete) and a group title"));
    const QString action = positional[1];
    const QString title = positional[2];
    if (action != QLatin1String("add") && action != QLatin1String("edit") && action != QLatin1String("delete"))
        return cliFail(command, QStringLiteral("unknown action '%1'").arg(action));
    if (action != QLatin1String("edit") && (values.title || values.description || values.colorTag))
        return cliFail(command, QStringLiteral("--title, --description and --color belong to 'edit'"));
    if (action == QLatin1String("delete") && locked)
        return cliFail(command, QStringLiteral("--locked and --unlocked belong to 'add' and 'edit'"));

    const auto archive = CliArchive::open(command, positional[0], Document::OpenMode::ReadWrite, force);
    if (!archive)
        return ExitError;
    GroupEditing editing(*archive);
    QString report;
    if (action == QLatin1String("add")) {
        const GroupPtr group = editing.addGroup();
        values.title = title;
        values.locked = locked;
        editing.editGroup(group, values);
        report = QStringLiteral("Added group %1\n").arg(groupLine(group));
    } else {
        const GroupPtr group = editing.groupWithTitle(title);
        if (!group)
            return cliFail(command, QStringLiteral("no group titled \"%1\"").arg(title));
        if (action == QLatin1String("edit")) {
            values.locked = locked;
            editing.editGroup(group, values);
            report = QStringLiteral("Edited group %1\n").arg(groupLine(group));
        } else {
            const qsizetype count = group->documentCount();
            if (!DeletionRules(*archive).deleteGroup(group)) {
                const DeletionAlert refusal = DeletionRules::deleteGroupRefusal();
                cliErr(QStringLiteral("%1 %2\n").arg(localizedString(refusal.title), localizedString(refusal.text)));
                return ExitRefused;
            }
            report = QStringLiteral("Deleted group \"%1\" and its %2 document(s)\n").arg(title).arg(count);
        }
    }
    if (!CliArchive::close(command, *archive))
        return ExitError;
    cliOut(report);
    return ExitOk;
}

CliCommandRegistration registration({ command,
    "group ARCHIVE add TITLE [--locked|--unlocked] | edit TITLE [--title NEW] [--description TEXT] [--color N] "
    "[--locked|--unlocked] | delete TITLE  [--force]",
    "Add, edit or delete a group; a locked group, or one holding a locked document, is never deleted.", runGroup });
} // namespace
