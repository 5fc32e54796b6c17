#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchivedFile.h"
#include "store/IntegrityValidator.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"
#include "store/PackageMember.h"
#include "text/KVLocalizationDictionary.h"

#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

namespace {
/// Runs a validation the way the information popover does and waits for it.
bool validate(Document& archive, IntegrityValidator& validator)
{
    QSignalSpy finished(&validator, &IntegrityValidator::finished);
    validator.validateIntegrety(archive.clientData());
    if (!finished.wait(10000))
        return false;
    return finished.first().first().toBool();
}
} // namespace

class TestIntegrity : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QString m_path;
    QString m_firstMember;

    /// A saved archive with two groups and three documents, reopened.
    std::unique_ptr<Document> makeArchive(const char* name)
    {
        m_path = m_home.path() + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".quillarc");
        QDir(m_path).removeRecursively();
        ArchiveFixture fixture(m_path);
        const auto first = fixture.addGroup(QStringLiteral("A"));
        m_firstMember = fixture.addDocument(first, "Rechnung", "%PDF-1.4 invoice bytes")->path();
        fixture.addDocument(first, "Vertrag", QByteArray(100000, 'v'));
        fixture.addDocument(fixture.addGroup("B"), "Brief", "letter");
        fixture.save();
        return ArchiveFixture::reopen(m_path);
    }

private Q_SLOTS:
    void damagedArchivesAreReportedExactly_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("logFormat"); // %M = the first member's path
        QTest::newRow("intact")               << "none"     << "";
        QTest::newRow("one changed byte")     << "flip"     << "CORRUPTED: %M\n\n";
        QTest::newRow("deleted member")       << "delete"   << "MISSING  %M\n\n";
        QTest::newRow("not an archive")       << "replace"  << "CORRUPTED  %M\n\n";
        QTest::newRow("empty member")         << "empty"    << "CORRUPTED  %M\n\n";
        QTest::newRow("truncated member")     << "truncate" << "CORRUPTED  %M\n\n";
        QTest::newRow("member is a folder")   << "folder"   << "CORRUPTED  %M\n\n";
        QTest::newRow("archive without data") << "nodata"   << "CORRUPTED: %M\n\n";
        QTest::newRow("edited database")      << "database" << "DATABASE";
    }
    void damagedArchivesAreReportedExactly()
    {
        QFETCH(QString, damage);
        QFETCH(QString, logFormat);
        makeArchive("damaged");
        const QString member = m_path + QLatin1Char('/') + m_firstMember;
        const QString databasePath = m_path + QStringLiteral("/Quillarc.qldb");
        const QByteArray bytes = readFile(member);
        if (damage == QLatin1String("flip"))
            QVERIFY(writeFile(member, QByteArray(bytes).replace("invoice", "Invoice")));
        else if (damage == QLatin1String("delete"))
            QVERIFY(QFile::remove(member));
        else if (damage == QLatin1String("replace"))
            QVERIFY(writeFile(member, "%PDF-1.4 this is the original file, not an archived member"));
        else if (damage == QLatin1String("empty"))
            QVERIFY(writeFile(member, QByteArray()));
        else if (damage == QLatin1String("truncate"))
            QVERIFY(writeFile(member, bytes.left(bytes.size() / 2)));
        else if (damage == QLatin1String("folder"))
            QVERIFY(QFile::remove(member) && QDir().mkpath(member));
        else if (damage == QLatin1String("nodata"))
            QVERIFY(writeFile(member, KeyedArchiver::archivedDataWithRootObject(
                Value::dictionary({ { QStringLiteral("quickLook"), Value::data("png") } }, false))));
        if (damage == QLatin1String("database")) {
            // Changed outside the archive: another title inside "companyData", fingerprint left as it was.
            Value database = KeyedUnarchiver::unarchiveObjectWithData(readFile(databasePath));
            ValueMap& entries = database.mutableDictionary();
            Value company = KeyedUnarchiver::unarchiveObjectWithData(entries.value("companyData").toData());
            company.toDictionary().value("container").toObject()->setField(
                QuillarcContainer::ContainerTitle, Value::string("forged"));
            entries.insert("companyData", Value::data(KeyedArchiver::archivedDataWithRootObject(company)));
            QVERIFY(writeFile(databasePath, KeyedArchiver::archivedDataWithRootObject(database)));
            QVERIFY(QFile::remove(member)); // not reported: the database failure stands alone
        }
        const auto archive = ArchiveFixture::reopen(m_path);
        // Only what was read at opening counts, not objects changed since.
        archive->container()->setValue(QuillarcContainer::ContainerTitle, Value::string("edited in memory"));
        // A success leaves an earlier log in place; a failure replaces it.
        QVERIFY(writeFile(IntegrityValidator::integrityLogPath(), "an earlier failure"));

        IntegrityValidator validator(archive.get());
        const bool intact = validate(*archive, validator);
        QCOMPARE(intact, logFormat.isEmpty());
        QVERIFY(!validator.isValidating());
        QCOMPARE(validator.isDataInteger(), intact);
        QCOMPARE(archive->integrityString(), validator.integrityString());
        QString expected = logFormat;
        expected.replace("%M", m_firstMember)
            .replace("CORRUPTED", text("INTEGRITY_LOG_CORRUPTED_FAIL"))
            .replace("MISSING", text("INTEGRITY_LOG_MISSING_FAIL"))
            .replace("DATABASE", text("INTEGRITY_LOG_DATABASE_FAIL"));
        QCOMPARE(validator.integrityString(),
            text(intact ? "INTEGRITY_STRING_DATABASE_VALID" : "INTEGRITY_STRING_DATABASE_CORRUPT"));
        QCOMPARE(QString::fromUtf8(readFile(IntegrityValidator::integrityLogPath())),
            intact ? "an earlier failure" : expected);
    }

    void everyFailureIsListedInDocumentOrder()
    {
        auto archive = makeArchive("several");
        const auto documents = archive->allDocuments();
        QFile::remove(m_path + QLatin1Char('/') + documents[2]->path());
        writeFile(m_path + QLatin1Char('/') + documents[0]->path(), "junk");
        // A log file that cannot be written is only reported as a warning; the findings stand.
        const QString folder = m_home.documentsPath();
        QDir(folder).removeRecursively();
        writeFile(folder, "a file where the folder should be");
        const auto restore = qScopeGuard([&] { QFile::remove(folder) && QDir().mkpath(folder); });
        IntegrityValidator validator(archive.get());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Integrity Log Error: ")));
        QVERIFY(!validate(*archive, validator));
        QCOMPARE(validator.integrityString(), text("INTEGRITY_STRING_DATABASE_CORRUPT"));
        QCOMPARE(validator.logText(),
            QStringLiteral("%1  %2\n\n%3  %4\n\n")
                .arg(text("INTEGRITY_LOG_CORRUPTED_FAIL"), documents[0]->path(), text("INTEGRITY_LOG_MISSING_FAIL"),
                    documents[2]->path()));
        QVERIFY(ArchivedFile::isFileCorrupted(*documents[0]));
        QVERIFY(!ArchivedFile::isFileCorrupted(*documents[1]));
        QVERIFY(ArchivedFile::isFileCorrupted(*documents[2]));
    }

    void pathsThatLeaveThePackageAreMissing()
    {
        auto archive = makeArchive("escape");
        writeFile(m_home.path() + QStringLiteral("/outside"), readFile(m_path + QLatin1Char('/') + m_firstMember));
        const auto document = archive->allDocuments().first();
        document->setField(QuillarcDocument::Path, Value::string("../outside"));
        QVERIFY(ArchivedFile::isFileCorrupted(*document));
        const QString fingerprint = document->string();
        QCOMPARE(IntegrityValidator::checkMember(m_path, "../outside", fingerprint, archive->string()),
            IntegrityValidator::MemberState::Missing);
        QCOMPARE(IntegrityValidator::checkMember(m_path, "", fingerprint, archive->string()),
            IntegrityValidator::MemberState::Undecodable);
    }

    void anEmptyArchiveIsIntact()
    {
        const QString path = m_home.path() + QStringLiteral("/empty.quillarc");
        { ArchiveFixture fixture(path); }
        auto archive = ArchiveFixture::reopen(path);
        IntegrityValidator validator(archive.get());
        QVERIFY(validate(*archive, validator));
    }

    void aNewArchiveSaysItIsNew()
    {
        Document archive;
        archive.setUpAfterReading();
        QVERIFY(!archive.preferences()->validationPosssible());
        IntegrityValidator validator(&archive);
        QSignalSpy finished(&validator, &IntegrityValidator::finished);
        validator.validateIntegrety(archive.clientData());
        QCOMPARE(validator.integrityString(), text("INTEGRITY_STRING_VALIDATING"));
        QTest::qWait(900);
        QCOMPARE(validator.integrityString(), text("INTEGRITY_STRING_VALIDATING"));
        QTRY_COMPARE_WITH_TIMEOUT(validator.integrityString(), text("INTEGRITY_STRING_NEW"), 1000);
        QCOMPARE(archive.integrityString(), text("INTEGRITY_STRING_NEW"));
        QCOMPARE(finished.count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestIntegrity)
#include "tst_integrity.moc"
