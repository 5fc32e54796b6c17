#include "ArchiveFixture.h"

#include "model/QuillarcContainer.h"
#include "store/Fingerprint.h"
#include "store/PackageMember.h"

#include <QDir>
#include <QFile>

ArchiveFixture::ArchiveFixture(const QString& packagePath)
    : m_archive(std::make_unique<Document>())
{
    m_archive->setUpAfterReading();
    m_archive->saveToPath(packagePath);
}

ArchiveFixture::ArchiveFixture(std::unique_ptr<Document> archive)
    : m_archive(std::move(archive))
{
    m_archive->setUpAfterReading();
}

GroupPtr ArchiveFixture::addGroup(const QString& title)
{
    auto group = QuillarcGroup::create();
    group->setField(QuillarcGroup::GroupTitle, Value::string(title));
    group->setParent(m_archive->container().get());
    m_archive->container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(group));
    return group;
}

DocumentPtr ArchiveFixture::addDocument(const GroupPtr& group, const QString& name, const QByteArray& bytes, const QString& extension)
{
    auto document = QuillarcDocument::create();
    const QString id = document->uniqueID();
    const QString relative = QStringLiteral("Files/%1/%2").arg(id, name);
    QDir().mkpath(QDir(m_archive->packagePath()).filePath(QStringLiteral("Files/") + id));
    QFile member(QDir(m_archive->packagePath()).filePath(relative));
    member.open(QIODevice::WriteOnly);
    member.write(PackageMember::encode(bytes, QByteArray("png"), QByteArray("icon")));
    member.close();
    document->setField(QuillarcDocument::Name, Value::string(name));
    document->setField(QuillarcDocument::Title, Value::string(name));
    document->setField(QuillarcDocument::Extension, Value::string(extension));
    document->setField(QuillarcDocument::Path, Value::string(relative));
    document->setField(QuillarcDocument::IconPath, Value::string(relative + QStringLiteral(".png")));
    document->setField(QuillarcDocument::FileSize, Value::real(double(bytes.size())));
    document->setField(QuillarcDocument::String, Value::string(Fingerprint::saltedFingerprint(bytes, Fingerprint::salt())));
    document->setParent(group.get());
    group->mutableField(QuillarcGroup::Documents).mutableArray().append(Value::object(document));
    return document;
}

bool ArchiveFixture::save()
{
    return m_archive->save();
}

std::unique_ptr<Document> ArchiveFixture::reopen(const QString& packagePath, Document::OpenMode mode)
{
    auto archive = std::make_unique<Document>();
    DocumentError error;
    if (archive->readFromFileWrapper(packagePath, QString::fromLatin1(Document::typeName), &error, mode)
        != Document::ReadResult::Success) {
        qWarning() << error.text();
        return nullptr;
    }
    archive->setUpAfterReading();
    return archive;
}
