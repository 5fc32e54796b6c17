#pragma once

#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"

#include <memory>

/// Builds archives for tests: a saved package with groups and documents whose
/// members are written and fingerprinted the way intake stores them.
class ArchiveFixture
{
public:
    /// A new archive saved at @p packagePath.
    explicit ArchiveFixture(const QString& packagePath);
    /// An archive opened elsewhere, set up as its window would set it up.
    explicit ArchiveFixture(std::unique_ptr<Document> archive);

    Document& archive() { return *m_archive; }
    GroupPtr addGroup(const QString& title);
    /// A document with a real member holding `bytes`, appended to the group.
    DocumentPtr addDocument(const GroupPtr& group, const QString& name, const QByteArray& bytes, const QString& extension = QStringLiteral("pdf"));
    bool save();
    /// Opens the saved package again as the application would.
    static std::unique_ptr<Document> reopen(const QString& packagePath, Document::OpenMode mode = Document::OpenMode::ReadOnly);

private:
    std::unique_ptr<Document> m_archive;
};
