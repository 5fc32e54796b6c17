#include "ArchiveFixture.h"
#include "PdfPages.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "output/LogReport.h"
#include "output/ReportStyle.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

namespace {
/// The valid and corrupted marks in the order they appear.
QString marks(QString pages)
{
    static const QRegularExpression other(QStringLiteral("[^\u2713\u2717]"));
    return pages.remove(other);
}

ReferenceTime day(int year, int month, int dayOfMonth)
{
    return Clock::fromDateTime(QDateTime(QDate(year, month, dayOfMonth), QTime(10, 30)));
}

void appendEntry(Document& archive, const QString& documentID, ReferenceTime when, const QString& logText)
{
    auto entry = QuillarcLogObject::create();
    entry->setField(QuillarcLogObject::CreationDate, Value::date(when));
    entry->setField(QuillarcLogObject::LogKind, Value::integer(0));
    entry->setField(QuillarcLogObject::ObjectUniqueID, Value::string(documentID));
    entry->setField(QuillarcLogObject::LogText, Value::string(logText));
    archive.container()->mutableField(QuillarcContainer::Logs).mutableArray().append(Value::object(entry));
}
} // namespace

class TestLogReport : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QString freshPath(const QString& stem) { return m_home.freshPath(stem); }

    /// A saved archive titled "Records 2026" whose fixture the caller fills; reopened.
    std::unique_ptr<Document> makeArchive(const std::function<void(ArchiveFixture&)>& fill, QString* package = nullptr)
    {
        const QString path = freshPath(QStringLiteral("archive")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        fixture.archive().container()->setField(QuillarcContainer::ContainerTitle, Value::string("Records 2026"));
        fill(fixture);
        if (!fixture.save())
            return nullptr;
        if (package)
            *package = path;
        return ArchiveFixture::reopen(path);
    }

private Q_SLOTS:
    void mediumDateStyle_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("date");
        using L = QLocale;
        QTest::newRow("English (US)") << L(L::English, L::UnitedStates) << "MMM d, yyyy" << "Sep 25, 2020";
        QTest::newRow("German")       << L(L::German, L::Germany)       << "d. MMM yyyy" << "25. Sept. 2020";
        QTest::newRow("C")            << L::c()                         << "d MMM yyyy"  << "25 Sep 2020";
    }
    void mediumDateStyle()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, format);
        QFETCH(QString, date);
        QCOMPARE(ReportStyle::mediumDateFormat(locale), format);
        QCOMPARE(locale.toString(QDate(2020, 9, 25), format), date);
    }

    void coverThenEntriesFromPageTwo()
    {
        const auto archive = makeArchive([](ArchiveFixture& fixture) {
            const QString id = fixture.addDocument(fixture.addGroup("Receipts"), "Invoice", "invoice")->uniqueID();
            // Stored out of date order: the cover's period spans the earliest and latest entries.
            appendEntry(fixture.archive(), id, day(2026, 8, 1), "\tFirst entry\n");
            appendEntry(fixture.archive(), id, day(2025, 1, 9), "\tSecond entry\n");
            appendEntry(fixture.archive(), id, day(2026, 3, 1), "\tThird entry\n");
        });
        QVERIFY(archive);
        archive->setIntegrityString(text("INTEGRITY_STRING_DATABASE_VALID"));
        const LogReport report(*archive);
        int pageCount = 0;
        QList<QSizeF> sizes;
        const QStringList pages = pageTexts(report.plainPDFDocument(&pageCount), &sizes);
        QCOMPARE(pages.size(), 2);
        QCOMPARE(pageCount, 2);
        QCOMPARE(sizes, QList<QSizeF>({ QSizeF(595, 842), QSizeF(595, 842) }));

        const QString cover = pages[0];
        QVERIFY(cover.contains(text("COMPLETE_LOG")));
        QVERIFY2(cover.contains(QStringLiteral("%1 - %2").arg(
                     ReportStyle::mediumDate(QDate(2025, 1, 9)), ReportStyle::mediumDate(QDate(2026, 8, 1)))),
            qPrintable(cover));
        QVERIFY(cover.contains("Records 2026"));
        QVERIFY(cover.contains(QStringLiteral("%1: %2").arg(text("LOG_DATABASE_CREATED"),
            ReportStyle::mediumDate(archive->container()->field(QuillarcContainer::CreationDate)))));
        QVERIFY(cover.contains(
            QStringLiteral("%1: %2").arg(text("LOG_DATABASE_STATE"), text("INTEGRITY_STRING_DATABASE_VALID"))));
        QVERIFY(squeezed(cover).contains(squeezed(text("LOG_COMPLIANCE"))));
        // The cover leaves room, yet no entry is on it.
        QVERIFY(!cover.contains("First entry"));
        QVERIFY(marks(cover).isEmpty());

        const QString entries = pages[1];
        QVERIFY(entries.trimmed().startsWith(text("COMPLETE_LOG")));
        QVERIFY(entries.indexOf("First entry") < entries.indexOf("Second entry"));
        QVERIFY(entries.indexOf("Second entry") < entries.indexOf("Third entry"));
        QCOMPARE(marks(entries), QStringLiteral("✓✓✓"));
        QVERIFY2(entries.contains(QRegularExpression("✓\\s+" + QRegularExpression::escape(text("LOG_ACTION_VALID")))),
            qPrintable(entries));
        const PrinterItemList items = report.items();
        QCOMPARE(items.size(), 6 + 3);
        QCOMPARE(items.last()->attributedString().string(), LogReport::entryText(false, "\tThird entry\n"));
        QCOMPARE(LogReport::entryText(false, "x"), QStringLiteral("✓\t%1\nx").arg(text("LOG_ACTION_VALID")));
        QCOMPARE(LogReport::entryText(true, "x"), QStringLiteral("✗\t%1\nx").arg(text("LOG_ACTION_CORRUPTED")));
    }

    void entriesAreMarkedByTheirDocumentsState()
    {
        QString package;
        QStringList members;
        const auto archive = makeArchive(
            [&](ArchiveFixture& fixture) {
                const GroupPtr group = fixture.addGroup("Receipts");
                QList<DocumentPtr> documents;
                for (const char* name : { "Intact", "Changed", "Deleted", "Missing" })
                    documents << fixture.addDocument(group, name, QByteArray(name) + " bytes");
                for (const DocumentPtr& document : documents) {
                    fixture.archive().createLogObjectForDocument(document, 0);
                    members << document->path();
                }
                // Deleting keeps the entries and adds one; the member stays behind here on purpose.
                fixture.archive().createLogObjectForDocument(documents[2], 1);
                group->mutableField(QuillarcGroup::Documents).mutableArray().removeAt(2);
                // An entry naming a document that never existed.
                appendEntry(fixture.archive(), "NO-SUCH-DOCUMENT", day(2026, 1, 1), "\tghost\n");
            },
            &package);
        QVERIFY(archive);
        // The command line validates first, so the cover's state line says what the archive is now.
        const QString out = freshPath("report") + QStringLiteral(".pdf");
        CliRun run = runCli({ "log-report", package, out });
        QCOMPARE(run.exitCode, 0);
        QStringList pages = pageTexts(readFile(out));
        const QString summary = QStringLiteral("%1: 6 entries, %2 pages").arg(out).arg(pages.size());
        QVERIFY2(QString::fromUtf8(run.out).startsWith(summary), run.out.constData());
        QVERIFY2(pages[0].contains(text("INTEGRITY_STRING_DATABASE_VALID")), qPrintable(pages[0]));
        QCOMPARE(marks(pages.join(QString())), QStringLiteral("✓✓✓✓✓✓"));

        for (QString& member : members)
            member.prepend(package + QLatin1Char('/'));
        QVERIFY(writeFile(members[1], readFile(members[1]).replace("Changed", "changed")));
        // The deleted document's member is damaged too: it is not in the archive any more, so its entries stay valid.
        QVERIFY(writeFile(members[2], "garbage"));
        QVERIFY(QFile::remove(members[3]));
        QCOMPARE(runCli({ "log-report", package, out }).exitCode, 0);
        pages = pageTexts(readFile(out));
        QVERIFY(pages[0].contains(text("INTEGRITY_STRING_DATABASE_CORRUPT")));
        const QString all = pages.join(QLatin1Char('\n'));
        // Stored order: four intakes, the deletion, the unknown document.
        QCOMPARE(marks(all), QStringLiteral("✓✗✓✗✓✓"));
        QCOMPARE(all.count(text("LOG_ACTION_CORRUPTED")), 2);
        // Each entry prints its own stored text, taken when the entry was made.
        QVERIFY(all.contains(text("LOG_ACTION_DELETED")));
        QVERIFY(all.contains("ghost"));

        const QString blocker = freshPath("file");
        QVERIFY(writeFile(blocker, "file"));
        run = runCli({ "log-report", package, blocker + "/report.pdf" });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(!run.err.isEmpty());
        QCOMPARE(runCli({ "log-report", package }).exitCode, 2);
    }

    void everyPageCarriesItsFooter()
    {
        const auto archive = makeArchive([](ArchiveFixture& fixture) {
            const QString id = fixture.addDocument(fixture.addGroup("G"), "A", "a")->uniqueID();
            for (int i = 0; i < 300; ++i)
                appendEntry(fixture.archive(), id, day(2026, 1, 1) + i * 3600,
                    QStringLiteral("\tLine one of %1\n\tLine two\n\tLine three\n").arg(i));
        });
        int pageCount = 0;
        const QDate today(2026, 11, 21);
        const QStringList pages = pageTexts(LogReport(*archive).plainPDFDocument(&pageCount, today));
        QVERIFY2(pages.size() >= 7, qPrintable(QString::number(pages.size())));
        QCOMPARE(pages.size(), pageCount);
        for (int i = 0; i < pages.size(); ++i) {
            const QString footer = QStringLiteral("%1/%2 | %3 | %4 | Records 2026")
                                       .arg(i + 1)
                                       .arg(pages.size())
                                       .arg(ReportStyle::shortDate(today), text("COMPLETE_LOG"));
            QVERIFY2(pages[i].contains(footer), qPrintable(pages[i].right(200)));
            QVERIFY(pages[i].contains(text("CEATED_WITH_APPNAME")));
        }
        QVERIFY(pages.last().contains("Line one of 299"));
        QCOMPARE(marks(pages.join(QString())).size(), 300);
    }

    void emptyLogGivesCoverAndHeading()
    {
        const auto archive = makeArchive([](ArchiveFixture&) {});
        const QStringList pages = pageTexts(LogReport(*archive).plainPDFDocument());
        QCOMPARE(pages.size(), 2);
        QVERIFY(pages[0].contains("Records 2026"));
        // Heading and footer only.
        const QString second = squeezed(pages[1]);
        QVERIFY(second.startsWith(squeezed(text("COMPLETE_LOG") + text("CEATED_WITH_APPNAME"))));
        QVERIFY(marks(second).isEmpty());
    }

    void hardTextsAreLaidOut()
    {
        const QString hebrew = "\u05E9\u05DC\u05D5\u05DD";
        const QString cjk = "\u6587\u4EF6\u5F52\u6863";
        const auto archive = makeArchive([&](ArchiveFixture& fixture) {
            fixture.archive().container()->setField(
                QuillarcContainer::ContainerTitle, Value::string(QString(10000, u'A')));
            const QString id = fixture.addDocument(fixture.addGroup("G"), "A", "a")->uniqueID();
            appendEntry(fixture.archive(), id, day(2026, 1, 1),
                QStringLiteral("\tTabs:\tone\ttwo\n\tRight to left: %1\n\tCJK: %2\n").arg(hebrew, cjk));
            QString words;
            for (int i = 0; i < 1000; ++i)
                words += QStringLiteral("word%1 ").arg(i, 4, 10, QLatin1Char('0'));
            appendEntry(fixture.archive(), id, day(2026, 1, 2), "\tCurrent title: " + words.left(10000) + "\n");
            appendEntry(fixture.archive(), id, day(2026, 1, 3), "\tLast entry\n");
        });
        const QStringList pages = pageTexts(LogReport(*archive).plainPDFDocument());
        QVERIFY(pages.size() >= 3);
        const QString all = pages.join(QLatin1Char('\n'));
        QVERIFY2(all.contains(cjk), qPrintable(all.left(400)));
        for (const QChar letter : hebrew)
            QVERIFY(all.contains(letter));
        QVERIFY(all.contains("word0000"));
        QVERIFY(all.contains("word0999") || all.contains("word0998"));
        QVERIFY(pages.last().contains("Last entry"));
        QCOMPARE(marks(all), QStringLiteral("✓✓✓"));
    }
};

QTEST_MAIN(TestLogReport)
#include "tst_logreport.moc"
