#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "model/QuillarcPreferences.h"
#include "store/ArchivedFile.h"
#include "store/Fingerprint.h"
#include "store/IntegrityValidator.h"
#include "store/KVDispatch.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"
#include "store/PackageMember.h"
#include "store/SerialQueue.h"
#include "store/ValidationRun.h"
#include "text/KVLocalizationDictionary.h"

#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

#include <condition_variable>
#include <mutex>

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

/// Waits until every queued run has ended and whatever it posted was handled.
bool drainQueue()
{
    const bool drained = KVDispatch::sharedQueue()->waitUntilIdle(60000);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    return drained;
}

/// Changes one byte of a member's data, leaving it decodable.
bool changeOneDataByte(const QString& member, const QByteArray& data)
{
    QByteArray bytes = readFile(member);
    const qsizetype at = bytes.indexOf(data.left(64));
    if (at < 0)
        return false;
    bytes[at + 10] = char(bytes[at + 10] ^ 1);
    return writeFile(member, bytes);
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
        QTest::newRow("member links outside") << "link"     << "MISSING  %M\n\n";
        QTest::newRow("folder links outside") << "dirlink"  << "MISSING  %M\n\n";
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
        else if (damage == QLatin1String("link") || damage == QLatin1String("dirlink")) {
            // The same bytes, moved out of the package and linked back in.
            const QString moved = damage == QLatin1String("link") ? member : QFileInfo(member).path();
            const QString outside = m_home.freshPath(QStringLiteral("outside"));
            QVERIFY(QDir().rename(moved, outside) && QFile::link(outside, moved));
        } else if (damage == QLatin1String("nodata"))
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
        QSignalSpy changed(&validator, &IntegrityValidator::stateChanged);
        validator.validateIntegrety(archive.clientData());
        QCOMPARE(validator.integrityString(), text("INTEGRITY_STRING_VALIDATING"));
        QCoreApplication::processEvents();
        QCOMPARE(validator.integrityString(), text("INTEGRITY_STRING_VALIDATING"));
        // The second line follows on a main-queue delay; how long it takes on
        // a busy machine is not this test's business.
        QTRY_COMPARE_WITH_TIMEOUT(validator.integrityString(), text("INTEGRITY_STRING_NEW"), 30000);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(archive.integrityString(), text("INTEGRITY_STRING_NEW"));
        QCOMPARE(finished.count(), 0);
    }

    /// Members checked on several threads end in any order; the log must be
    /// exactly the one a check of one member after the other writes.
    void parallelAndSerialRunsWriteTheSameLog()
    {
        m_path = m_home.freshPath(QStringLiteral("parallel.quillarc"));
        ArchiveFixture fixture(m_path);
        QList<QByteArray> contents;
        for (const char* title : { "A", "B", "C", "D" }) {
            const GroupPtr group = fixture.addGroup(QString::fromLatin1(title));
            for (int i = 0; i < 6; ++i) {
                // Every third member is large, so the small ones after it finish first.
                const qsizetype size = i % 3 == 0 ? 3 * 1024 * 1024 : 2000 + i;
                contents.append(QByteArray(size, char('a' + contents.size())));
                fixture.addDocument(group, QStringLiteral("%1-%2").arg(QLatin1String(title)).arg(i), contents.last());
            }
        }
        QVERIFY(fixture.save());
        const auto archive = ArchiveFixture::reopen(m_path);
        const auto documents = archive->allDocuments();
        auto member = [&](int i) -> QString { return m_path + QLatin1Char('/') + documents[i]->path(); };
        QVERIFY(QFile::remove(member(1)));
        QVERIFY(writeFile(member(6), "junk"));
        QVERIFY(changeOneDataByte(member(10), contents[10]));
        QVERIFY(changeOneDataByte(member(12), contents[12]));
        QVERIFY(writeFile(member(15), QByteArray()));
        QVERIFY(QFile::remove(member(23)));
        const QString missing = text("INTEGRITY_LOG_MISSING_FAIL");
        const QString corrupted = text("INTEGRITY_LOG_CORRUPTED_FAIL");
        const QString expected
            = QStringLiteral("%1  %2\n\n%3  %4\n\n%3: %5\n\n%3: %6\n\n%3  %7\n\n%1  %8\n\n")
                  .arg(missing, documents[1]->path(), corrupted, documents[6]->path(), documents[10]->path(),
                      documents[12]->path(), documents[15]->path(), documents[23]->path());

        QList<QByteArray> logs;
        for (const int threads : { 1, 4, 0 }) {
            QVERIFY(QFile::remove(IntegrityValidator::integrityLogPath()) || logs.isEmpty());
            IntegrityValidator validator(archive.get());
            validator.setThreadCount(threads);
            QSignalSpy progress(&validator, &IntegrityValidator::progressChanged);
            QVERIFY(!validate(*archive, validator));
            logs.append(readFile(IntegrityValidator::integrityLogPath()));
            QCOMPARE(validator.logText(), expected);
            // Progress only grows and ends with every member checked.
            QVERIFY(!progress.isEmpty());
            for (qsizetype i = 1; i < progress.size(); ++i)
                QVERIFY(progress[i][0].toLongLong() > progress[i - 1][0].toLongLong());
            QCOMPARE(progress.last(), QVariantList({ qint64(24), qint64(24) }));
        }
        QCOMPARE(QString::fromUtf8(logs[0]), expected);
        QCOMPARE(logs[1], logs[0]);
        QCOMPARE(logs[2], logs[0]);
    }

    /// A cancelled run stops at the next member and reports nothing.
    void aCancelledRunStopsAtTheNextMember()
    {
        m_path = m_home.freshPath(QStringLiteral("cancel.quillarc"));
        ArchiveFixture fixture(m_path);
        const GroupPtr group = fixture.addGroup(QStringLiteral("A"));
        QList<ValidationRun::Member> members;
        for (int i = 0; i < 200; ++i) {
            const auto document = fixture.addDocument(group, QString::number(i), QByteArray(4096, char(i)));
            members.append({ document->path(), document->string() });
        }
        const QByteArray database = "database";
        const QString salt = Fingerprint::salt();
        for (const int threads : { 1, 2, 4 }) {
            ValidationRun run(m_path, salt, database, Fingerprint::saltedFingerprint(database, salt), members,
                { "D", "M", "C" }, threads);
            run.setMemberProbe([&run](qint64 member) {
                if (member == 5)
                    run.cancel();
            });
            run.run();
            // Only members already begun on the other threads are finished.
            QVERIFY2(run.checkedCount() <= 5 + threads, qPrintable(QString::number(run.checkedCount())));
            QVERIFY(!run.isIntact());
            QCOMPARE(run.logText(), QString());
        }
    }

    /// Closing the window destroys the validator, or the archive, while a run
    /// is queued, checking, or has ended but not yet reported. Nothing may
    /// arrive afterwards and no log may be written; the main thread may even
    /// wait for the queue meanwhile.
    void destroyingMidRunDeliversNothing()
    {
        m_path = m_home.freshPath(QStringLiteral("closing.quillarc"));
        {
            ArchiveFixture fixture(m_path);
            const GroupPtr group = fixture.addGroup(QStringLiteral("A"));
            for (int i = 0; i < 60; ++i)
                fixture.addDocument(group, QString::number(i), QByteArray(64 * 1024, char(i)));
            QVERIFY(fixture.save());
        }
        // Damaged, so that a run that got through would write a log.
        const QString lastMember = ArchiveFixture::reopen(m_path)->allDocuments().last()->path();
        QVERIFY(QFile::remove(m_path + QLatin1Char('/') + lastMember));
        QFile::remove(IntegrityValidator::integrityLogPath());

        int lateSignals = 0;
        std::vector<std::unique_ptr<IntegrityValidator>> survivors; // validators whose archive went first
        for (int round = 0; round < 100; ++round) {
            auto archive = ArchiveFixture::reopen(m_path);
            QVERIFY(archive);
            auto validator = std::make_unique<IntegrityValidator>(archive.get());
            // Part-way: the run waits at one member until the main thread has closed.
            const bool partWay = round % 4 == 1 || round % 4 == 2;
            std::mutex mutex;
            std::condition_variable condition;
            bool reached = false, closed = false;
            if (partWay) {
                validator->setMemberProbe([&, at = round % 60](qint64 member) {
                    if (member != at)
                        return;
                    std::unique_lock<std::mutex> lock(mutex);
                    reached = true;
                    condition.notify_all();
                    condition.wait(lock, [&] { return closed; });
                });
            }
            validator->validateIntegrety(archive->clientData());
            if (partWay) {
                std::unique_lock<std::mutex> lock(mutex);
                condition.wait(lock, [&] { return reached; });
            } else if (round % 4 == 3) {
                // The run has ended and its end is posted, not yet handled.
                QVERIFY(KVDispatch::sharedQueue()->waitUntilIdle(60000));
            }
            if (round % 2) {
                validator.reset();
                archive.reset();
            } else {
                archive.reset();
                QVERIFY(!validator->isValidating());
                connect(validator.get(), &IntegrityValidator::finished, this, [&] { ++lateSignals; });
                connect(validator.get(), &IntegrityValidator::stateChanged, this, [&] { ++lateSignals; });
                connect(validator.get(), &IntegrityValidator::progressChanged, this, [&] { ++lateSignals; });
                survivors.push_back(std::move(validator));
            }
            {
                const std::lock_guard<std::mutex> lock(mutex);
                closed = true;
            }
            condition.notify_all();
            // The probe refers to this round's locals: its run must be over.
            if (partWay)
                QVERIFY(KVDispatch::sharedQueue()->waitUntilIdle(60000));
        }
        QVERIFY(drainQueue());
        QTest::qWait(IntegrityValidator::progressInterval * 2);
        QCOMPARE(lateSignals, 0);
        QVERIFY(!QFile::exists(IntegrityValidator::integrityLogPath()));
        for (const auto& survivor : survivors)
            QCOMPARE(survivor->integrityString(), text("INTEGRITY_STRING_VALIDATING"));
    }
};

QTEST_GUILESS_MAIN(TestIntegrity)
#include "tst_integrity.moc"
