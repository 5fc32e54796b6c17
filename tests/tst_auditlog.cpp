#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "text/KVLocalizationDictionary.h"

#include <QTest>

#include <ctime>

namespace {
QString text(const char* key)
{
    return localizedString(QString::fromLatin1(key));
}

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
        m_document = m_fixture->addDocument(m_fixture->addGroup(QStringLiteral("G")), QStringLiteral("Rechnung 7"), QByteArray(1024, 'x'));
        m_document->setField(QuillarcDocument::Title, Value::string(QStringLiteral("Strom März")));
        m_document->setField(QuillarcDocument::FileKind, Value::string(QStringLiteral("PDF-Dokument")));
        m_document->setField(QuillarcDocument::CreationDate, Value::date(Clock::fromDateTime(berlin(2026, 3, 1, 9, 5))));
        m_document->setField(QuillarcDocument::ModificationDate, Value::date(Clock::fromDateTime(berlin(2026, 3, 2, 10, 6))));
        m_document->setField(QuillarcDocument::DateAdded, Value::date(Clock::fromDateTime(berlin(2026, 11, 21, 7, 30))));
        m_document->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("RE-41/24")));
    }

    void regularEntriesCarryTheWholeBlock_data()
    {
        QTest::addColumn<qint64>("kind");
        QTest::addColumn<QString>("action");
        QTest::newRow("taken in") << 0LL << text("LOG_ACTION_CREATED");
        QTest::newRow("deleted") << 1LL << text("LOG_ACTION_DELETED");
        QTest::newRow("other kinds count as taken in") << 5LL << text("LOG_ACTION_CREATED");
    }
    void regularEntriesCarryTheWholeBlock()
    {
        QFETCH(qint64, kind);
        QFETCH(QString, action);
        const auto entry = logAt(berlin(2026, 11, 21, 14, 3), kind);
        QCOMPARE(entry->logKind(), kind);
        QCOMPARE(entry->objectUniqueID(), m_document->uniqueID());
        const QString expected = QStringLiteral("\t%1: 21.11.26 14:03 (%2)\n").arg(text("LOG_TIME"), action)
            + QStringLiteral("\tID: %1\n").arg(m_document->uniqueID())
            + QStringLiteral("\t%1: 01.03.26 09:05\n").arg(text("LOG_CREATED"))
            + QStringLiteral("\t%1: 02.03.26 10:06\n").arg(text("LOG_MODIFIED"))
            + QStringLiteral("\t%1: 21.11.26 07:30\n").arg(text("LOG_ADDED"))
            + QStringLiteral("\t%1: Rechnung 7\n").arg(text("LOG_ORIGINAL_NAME"))
            + QStringLiteral("\t%1: Strom März\n").arg(text("LOG_CURRENT_TITLE"))
            + QStringLiteral("\t%1: PDF-Dokument\n").arg(text("LOG_FILE_KIND"))
            + QStringLiteral("\t%1: 1024 bytes\n").arg(text("LOG_FILE_SIZE"));
        QCOMPARE(entry->logText(), expected);
    }

    void aClockSetBackGivesTheTamperBlock_data()
    {
        QTest::addColumn<QDateTime>("moment");
        QTest::addColumn<bool>("tampered");
        QTest::newRow("24 September 2020, noon") << berlin(2020, 9, 24, 12, 0) << true;
        QTest::newRow("one minute before midnight") << berlin(2020, 9, 24, 23, 59) << true;
        QTest::newRow("midnight of 25 September") << berlin(2020, 9, 25, 0, 0) << false;
        QTest::newRow("1999") << berlin(1999, 1, 1, 0, 0) << true;
    }
    void aClockSetBackGivesTheTamperBlock()
    {
        QFETCH(QDateTime, moment);
        QFETCH(bool, tampered);
        const auto entry = logAt(moment, 0);
        const QString tamper = QStringLiteral("\tID: %1\n").arg(m_document->uniqueID())
            + QStringLiteral("\nFILE ITSELF MAY BE VALID.\nDATE STAMP TAMPERED WITH.\nCOMPLIANCE WITH Quillarc AND OTHER LEGAL REQUIREMENTS NOT GUARANTEED.\n\n")
            + QStringLiteral("\t%1: Rechnung 7\n").arg(text("LOG_ORIGINAL_NAME"))
            + QStringLiteral("\t%1: Strom März\n").arg(text("LOG_CURRENT_TITLE"));
        QCOMPARE(entry->logText() == tamper, tampered);
        QCOMPARE(entry->logText().startsWith(QStringLiteral("\t%1: ").arg(text("LOG_TIME"))), !tampered);
    }

    void fileSizesArePlainDecimals_data()
    {
        QTest::addColumn<Value>("size");
        QTest::addColumn<QString>("shown");
        QTest::newRow("1024.0") << Value::real(1024.0) << "1024";
        QTest::newRow("zero") << Value::real(0.0) << "0";
        QTest::newRow("4 GiB") << Value::real(4294967296.0) << "4294967296";
        QTest::newRow("fraction") << Value::real(1024.5) << "1024.5";
        QTest::newRow("integer") << Value::integer(77) << "77";
        QTest::newRow("nil") << Value() << "(null)";
    }
    void fileSizesArePlainDecimals()
    {
        QFETCH(Value, size);
        QFETCH(QString, shown);
        const Value saved = m_document->field(QuillarcDocument::FileSize);
        m_document->setField(QuillarcDocument::FileSize, size);
        const auto entry = logAt(berlin(2026, 1, 1, 0, 0), 0);
        m_document->setField(QuillarcDocument::FileSize, saved);
        QVERIFY(entry->logText().endsWith(QStringLiteral("\t%1: %2 bytes\n").arg(text("LOG_FILE_SIZE"), shown)));
    }

    void entriesAreOnlyAppended()
    {
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
        QCOMPARE(m_document->logText(), head + valid);
        QFile::remove(m_fixture->archive().packagePath() + QLatin1Char('/') + m_document->path());
        QCOMPARE(m_document->logText(), head + corrupted);
        QCOMPARE(m_document->logTextNew(), head + valid);
    }
};

QTEST_GUILESS_MAIN(TestAuditLog)
#include "tst_auditlog.moc"
