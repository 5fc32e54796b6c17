#include "cli/CliArchive.h"
#include "cli/CliCommand.h"
#include "intake/DeletionRules.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "text/KVLocalizationDictionary.h"

namespace {
const char* const command = "delete";

int runDelete(const QStringList& arguments)
{
    if (cliWantsHelp(command, arguments))
        return ExitOk;
    QString path;
    QString documentID;
    bool force = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("--document") && i + 1 < arguments.size())
            documentID = arguments[++i];
        else if (arguments[i] == QLatin1String("--force"))
            force = true;
        else if (arguments[i].startsWith(QLatin1String("--")) || !path.isEmpty())
            return cliFail(command, QStringLiteral("unexpected argument '%1'").arg(arguments[i]));
        else
            path = arguments[i];
    }
    if (path.isEmpty() || documentID.isEmpty())
        return cliFail(command, QStringLiteral("expected ARCHIVE --document ID"));

    const auto archive = CliArchive::open(command, path, Document::OpenMode::ReadWrite, force);
    if (!archive)
        return ExitError;
    const DocumentPtr document = archive->itemForID(documentID);
    if (!document)
        return cliFail(command, QStringLiteral("no document with ID %1").arg(documentID));
    const GroupPtr group = std::static_pointer_cast<QuillarcGroup>(
        document->group() ? document->group()->shared_from_this() : ObjectPtr());
    if (!DeletionRules(*archive).deleteDocument(document, group)) {
        const DeletionAlert refusal = DeletionRules::deleteDocumentRefusal();
        cliErr(QStringLiteral("%1 %2\n").arg(localizedString(refusal.title), localizedString(refusal.text)));
        return ExitRefused;
    }
    if (!CliArchive::close(command, *archive))
        return ExitError;
    cliOut(QStringLiteral("Deleted \"%1\" (%2) from group \"%3\"; its files were removed from the package\n")
               .arg(document->title(), documentID, group->groupTitle()));
    return ExitOk;
}

CliCommandRegistration registration({ command, "delete ARCHIVE --document ID [--force]",
    "Delete one document (never a locked one or one in a locked group); the deletion is logged.", runDelete });
} // namespace
