#include "cli/CliArchive.h"

#include "cli/CliCommand.h"
#include "intake/DocumentIntake.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"

#include <algorithm>

namespace {
class CliOpenElsewhereQuestion : public OpenElsewhereQuestion
{
public:
    explicit CliOpenElsewhereQuestion(bool force)
        : m_force(force)
    {
    }

    Answer askOpenElsewhere(const QString& title, const QString& message, const QString&, const QString&) override
    {
        cliErr(QStringLiteral("%1 %2\n").arg(title, message));
        if (!m_force)
            cliErr(QStringLiteral("(use --force to open it anyway)\n"));
        return m_force ? Continue : Quit;
    }

private:
    bool m_force;
};
} // namespace

std::unique_ptr<Document> CliArchive::open(
    const char* command, const QString& path, Document::OpenMode mode, bool force, Document::ReadResult* result)
{
    auto archive = std::make_unique<Document>();
    CliOpenElsewhereQuestion question(force);
    archive->setOpenElsewhereQuestion(&question);
    DocumentError error;
    const Document::ReadResult read
        = archive->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error, mode);
    archive->setOpenElsewhereQuestion(nullptr);
    if (result)
        *result = read;
    if (read != Document::ReadResult::Success) {
        cliFail(command, error.isNull() ? QStringLiteral("cannot open %1").arg(path) : error.text());
        return nullptr;
    }
    archive->setUpAfterReading();
    // Opened with the open mark, no other intake can be writing: folders of
    // an intake that was cut off can go.
    if (mode == Document::OpenMode::ReadWrite)
        DocumentIntake::removeUnfinishedMembers(archive->filesPath());
    return archive;
}

bool CliArchive::close(const char* command, Document& archive)
{
    QString error;
    if (archive.close(&error))
        return true;
    cliFail(command, QStringLiteral("cannot save %1: %2").arg(archive.packagePath(), error));
    return false;
}

GroupPtr CliArchive::intakeGroup(Document& archive, const QString& title)
{
    const QList<GroupPtr> groups = archive.allGroups();
    GroupPtr group;
    if (!title.isEmpty()) {
        const auto named = std::find_if(groups.cbegin(), groups.cend(),
            [&title](const GroupPtr& candidate) { return candidate->groupTitle() == title; });
        if (named != groups.cend())
            group = *named;
    } else {
        const Value selected = archive.indexDictionary().toDictionary().value(QStringLiteral("groupsSelection"));
        if (selected.isNumber() && selected.toInteger() >= 0 && selected.toInteger() < groups.size())
            group = groups[selected.toInteger()];
    }
    if (!group) {
        group = QuillarcGroup::create();
        if (!title.isEmpty())
            group->setField(QuillarcGroup::GroupTitle, Value::string(title));
        if (archive.preferences()->autoLockDocuments())
            group->setField(QuillarcGroup::IsLocked, Value::boolean(true));
        group->setParent(archive.container().get());
        Value list = archive.container()->field(QuillarcContainer::Groups);
        list.mutableArray().append(Value::object(group));
        archive.container()->setValue(QuillarcContainer::Groups, list);
        cliOut(QStringLiteral("Created group \"%1\"\n").arg(group->groupTitle()));
    }
    archive.setSelectionProvider(
        [&archive, group] { return std::pair<qint64, qint64>(archive.allGroups().indexOf(group), -1); });
    return group;
}
