#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "store/ArchivedFile.h"
#include "text/KVLocalizationDictionary.h"

#include <QTest>

#include <ctime>

namespace {
QDateTime berlin(int year, int month, int day, int hour, int minute)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute));
}
} // namespace

class TestAuditLog : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    std::unique_ptr<ArchiveFixture> m_fixture;
    DocumentPtr m_document;

    LogObjectPtr logAt(const QDateTime& moment, qint64 kind)
    {
        Clock::setFixedTime(moment);
        m_fixture->archive().createLogObjectForDocument(m_document, kind);
        Clock::resetToSystemTime();
        return m_fixture->archive().container()->logs().last();
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("TZ", "Europe/Berlin");
        tzset();
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        m_fixture = std::make_unique<ArchiveFixture>(m_home.path() + QStringLiteral("/log.quillarc"));
        m_document = m_fixture->addDocument(m_fixture->addGroup("G"), "Rechnung 7", QByteArray(1024, 'x'));
        m_document->setField(QuillarcDocument::Title, Value::string("Strom März"));
        m_document->setField(QuillarcDocument::FileKind, Value::string("PDF-Dokument"));
        const auto date = [](const QDateTime& moment) { return Value::date(Clock::fromDateTime(moment)); };
        m_document->setField(QuillarcDocument::CreationDate, date(berlin(2026, 3, 1, 9, 5)));
        m_document->setField(QuillarcDocument::ModificationDate, date(berlin(2026, 3, 2, 10, 6)));
        m_document->setField(QuillarcDocument::DateAdded, date(berlin(2026, 11, 21, 7, 30)));
        m_document->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("RE-41/24")));
    }

    void entryBlocks_data()
    {
        QTest::addColumn<QDateTime>("moment");
        QTest::addColumn<qint64>("kind");
        QTest::addColumn<Value>("size");
        QTest::addColumn<QString>("action"); // "" for a clock set back: the tamper block
        QTest::addColumn<QString>("shown");
        const QString created = text("LOG_ACTION_CREATED");
        const QDateTime now = berlin(2026, 11, 21, 14, 3);
        const Value size = Value::real(1024.0);
        QTest::newRow("taken in")            << now << 0LL << size << created << "1024";
        QTest::newRow("deleted")             << now << 1LL << size << text("LOG_ACTION_DELETED") << "1024";
        QTest::newRow("other kind")          << now << 5LL << size << created << "1024";
        QTest::newRow("size zero")           << now << 0LL << Value::real(0.0) << created << "0";
        QTest::newRow("size 4 GiB")          << now << 0LL << Value::real(4294967296.0) << created << "4294967296";
        QTest::newRow("size with fraction")  << now << 0LL << Value::real(1024.5) << created << "1024.5";
        QTest::newRow("size as integer")     << now << 0LL << Value::integer(77) << created << "77";
        QTest::newRow("size nil")            << now << 0LL << Value() << created << "(null)";
        QTest::newRow("2020-09-24 noon")     << berlin(2020, 9, 24, 12, 0) << 0LL << size << "" << "";
        QTest::newRow("2020-09-24 23:59")    << berlin(2020, 9, 24, 23, 59) << 0LL << size << "" << "";
        QTest::newRow("2020-09-25 midnight") << berlin(2020, 9, 25, 0, 0) << 0LL << size << created << "1024";
        QTest::newRow("1999")                << berlin(1999, 1, 1, 0, 0) << 1LL << size << "" << "";
    }
    void entryBlocks()
    {
        QFETCH(QDateTime, moment);
        QFETCH(qint64, kind);
        QFETCH(Value, size);
        QFETCH(QString, action);
        QFETCH(QString, shown);
        const Value saved = m_document->field(QuillarcDocument::FileSize);
        m_document->setField(QuillarcDocument::FileSize, size);
        const auto entry = logAt(moment, kind);
        m_document->setField(QuillarcDocument::FileSize, saved);
        QCOMPARE(entry->logKind(), kind);
        QCOMPARE(entry->objectUniqueID(), m_document->uniqueID());
        const QString id = QStringLiteral("\tID: %1\n").arg(m_document->uniqueID());
        const QString names = QStringLiteral("\t%1: Rechnung 7\n\t%2: Strom März\n")
                                  .arg(text("LOG_ORIGINAL_NAME"), text("LOG_CURRENT_TITLE"));
        if (action.isEmpty()) {
            QCOMPARE(entry->logText(),
                id + "\nFILE ITSELF MAY BE VALID.\nDATE STAMP TAMPERED WITH.\n"
                     "COMPLIANCE WITH Quillarc AND OTHER LEGAL REQUIREMENTS NOT GUARANTEED.\n\n" + names);
            return;
        }
        QCOMPARE(entry->logText(),
            QStringLiteral("\t%1: %2 (%3)\n").arg(text("LOG_TIME"), moment.toString("dd.MM.yy HH:mm"), action) + id
                + QStringLiteral("\t%1: 01.03.26 09:05\n").arg(text("LOG_CREATED"))
                + QStringLiteral("\t%1: 02.03.26 10:06\n").arg(text("LOG_MODIFIED"))
                + QStringLiteral("\t%1: 21.11.26 07:30\n").arg(text("LOG_ADDED")) + names
                + QStringLiteral("\t%1: PDF-Dokument\n").arg(text("LOG_FILE_KIND"))
                + QStringLiteral("\t%1: %2 bytes\n").arg(text("LOG_FILE_SIZE"), shown));
    }

    void entriesAreOnlyAppended()
    {
        // An entry of its own to compare with, whichever tests ran before.
        m_fixture->archive().createLogObjectForDocument(m_document, 0);
        const qsizetype before = m_fixture->archive().container()->logs().size();
        const QString firstText = m_fixture->archive().container()->logs().first()->logText();
        m_fixture->archive().createLogObjectForDocument(m_document, 0);
        const auto logs = m_fixture->archive().container()->logs();
        QCOMPARE(logs.size(), before + 1);
        QCOMPARE(logs.first()->logText(), firstText);
        QVERIFY(m_fixture->save());
        const auto reopened = ArchiveFixture::reopen(m_home.path() + QStringLiteral("/log.quillarc"));
        QCOMPARE(reopened->container()->logs().size(), before + 1);
        QCOMPARE(reopened->container()->logs().last()->logText(), logs.last()->logText());
    }

    void currentStateBlocks()
    {
        m_fixture->archive().setParents();
        const QString head = QStringLiteral("\tID:\t\t\t%1\n").arg(m_document->uniqueID())
            + QStringLiteral("\t%1:\t\t21.11.26\n").arg(text("LOG_ADDED"))
            + QStringLiteral("\t%1:\t\t\tRE-41/24\n").arg(text("LOG_SLIP"))
            + QStringLiteral("\t%1:\t\t\tRechnung 7 (PDF)\n").arg(text("LOG_FILE"));
        const QString valid = QStringLiteral("\t%1:\t\t\t✓ (%2)\n").arg(text("LOG_STATE"), text("LOG_VALID"));
        const QString corrupted = QStringLiteral("\t%1:\t\t\t✗ (%2)\n").arg(text("LOG_STATE"), text("LOG_CORRUPTED"));
        QCOMPARE(ArchivedFile::logText(*m_document), head + valid);
        QFile::remove(m_fixture->archive().packagePath() + QLatin1Char('/') + m_document->path());
        QCOMPARE(ArchivedFile::logText(*m_document), head + corrupted);
        QCOMPARE(m_document->logTextNew(), head + valid);
    }
};

QTEST_GUILESS_MAIN(TestAuditLog)
#include "tst_auditlog.moc"
