#include "cli/CliArchive.h"

#include "cli/CliCommand.h"
#include "intake/DocumentIntake.h"

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

std::unique_ptr<Document> CliArchive::open(const char* command, const QString& path, Document::OpenMode mode, bool force,
    Document::ReadResult* result)
{
    auto archive = std::make_unique<Document>();
    CliOpenElsewhereQuestion question(force);
    archive->setOpenElsewhereQuestion(&question);
    DocumentError error;
    const Document::ReadResult read = archive->readFromFileWrapper(path, QString::fromLatin1(Document::typeName), &error, mode);
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
