#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcLogObject.h"
#include "output/LogReport.h"
#include "output/ReportStyle.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>
#include <poppler-qt6.h>

namespace {
QString text(const char* key)
{
    return localizedString(QString::fromLatin1(key));
}

QStringList pageTexts(const QByteArray& pdf, QList<QSizeF>* sizes = nullptr)
{
    QStringList texts;
    std::unique_ptr<Poppler::Document> document = Poppler::Document::loadFromData(pdf);
    if (!document)
        return texts;
    for (int i = 0; i < document->numPages(); ++i) {
        std::unique_ptr<Poppler::Page> page = document->page(i);
        texts << page->text(QRectF()).normalized(QString::NormalizationForm_KC);
        if (sizes)
            *sizes << page->pageSizeF();
    }
    return texts;
}

QString squeezed(const QString& value)
{
    static const QRegularExpression space(QStringLiteral("\\s+"));
    return value.normalized(QString::NormalizationForm_KC).remove(space);
}

/// The valid and corrupted marks in the order they appear.
QString marks(const QString& pages)
{
    QString result;
    for (const QChar c : pages) {
        if (c == QChar(0x2713) || c == QChar(0x2717))
            result += c;
    }
    return result;
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
    int m_counter = 0;

    QString freshPath(const QString& stem)
    {
        return QStringLiteral("%1/%2-%3").arg(m_home.path(), stem).arg(++m_counter);
    }

    /// A saved archive titled "Records 2026" whose fixture the caller fills; reopened.
    std::unique_ptr<Document> makeArchive(const std::function<void(ArchiveFixture&)>& fill, QString* package = nullptr)
    {
        const QString path = freshPath(QStringLiteral("archive")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        fixture.archive().container()->setField(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Records 2026")));
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
        QTest::newRow("English (US)") << QLocale(QLocale::English, QLocale::UnitedStates) << "MMM d, yyyy"
                                      << "Sep 25, 2020";
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany) << "d. MMM yyyy"
                                << "25. Sept. 2020";
        QTest::newRow("C") << QLocale::c() << "d MMM yyyy"
                           << "25 Sep 2020";
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
            const GroupPtr group = fixture.addGroup(QStringLiteral("Receipts"));
            const DocumentPtr invoice = fixture.addDocument(group, QStringLiteral("Invoice"), "invoice");
            appendEntry(fixture.archive(), invoice->uniqueID(), day(2026, 2, 3), QStringLiteral("\tFirst entry\n"));
            appendEntry(fixture.archive(), invoice->uniqueID(), day(2026, 9, 30), QStringLiteral("\tSecond entry\n"));
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
                     ReportStyle::mediumDate(QDate(2026, 2, 3)), ReportStyle::mediumDate(QDate(2026, 9, 30)))),
            qPrintable(cover));
        QVERIFY(cover.contains(QStringLiteral("Records 2026")));
        QVERIFY(cover.contains(QStringLiteral("%1: %2").arg(text("LOG_DATABASE_CREATED"),
            ReportStyle::mediumDate(archive->container()->field(QuillarcContainer::CreationDate)))));
        QVERIFY(cover.contains(
            QStringLiteral("%1: %2").arg(text("LOG_DATABASE_STATE"), text("INTEGRITY_STRING_DATABASE_VALID"))));
        QVERIFY(squeezed(cover).contains(squeezed(text("LOG_COMPLIANCE"))));
        // The cover leaves room, yet no entry is on it.
        QVERIFY(!cover.contains(QStringLiteral("First entry")));
        QVERIFY(marks(cover).isEmpty());

        QVERIFY(pages[1].trimmed().startsWith(text("COMPLETE_LOG")));
        QVERIFY(pages[1].indexOf(QStringLiteral("First entry")) < pages[1].indexOf(QStringLiteral("Second entry")));
        QCOMPARE(marks(pages[1]), QStringLiteral("✓✓"));
        QVERIFY2(pages[1].contains(QRegularExpression(
                     QStringLiteral("✓\\s+") + QRegularExpression::escape(text("LOG_ACTION_VALID")))),
            qPrintable(pages[1]));
    }

    void entriesAreMarkedByTheirDocumentsState()
    {
        QString package;
        QStringList members;
        const auto archive = makeArchive(
            [&](ArchiveFixture& fixture) {
                const GroupPtr group = fixture.addGroup(QStringLiteral("Receipts"));
                QList<DocumentPtr> documents;
                for (const char* name : { "Intact", "Changed", "Deleted", "Missing" })
                    documents << fixture.addDocument(group, QString::fromLatin1(name), QByteArray(name) + " bytes");
                for (const DocumentPtr& document : documents) {
                    fixture.archive().createLogObjectForDocument(document, 0);
                    members << document->path();
                }
                // Deleting keeps the entries and adds one; the member stays behind here on purpose.
                fixture.archive().createLogObjectForDocument(documents[2], 1);
                group->mutableField(QuillarcGroup::Documents).mutableArray().removeAt(2);
                // An entry naming a document that never existed.
                appendEntry(fixture.archive(), QStringLiteral("NO-SUCH-DOCUMENT"), day(2026, 1, 1),
                    QStringLiteral("\tghost\n"));
            },
            &package);
        QVERIFY(archive);
        QByteArray changed = readFile(package + QLatin1Char('/') + members[1]);
        changed[changed.indexOf("Changed")] = 'c';
        QVERIFY(writeFile(package + QLatin1Char('/') + members[1], changed));
        // The deleted document's member is damaged too: it is not in the archive any more, so its entries stay valid.
        QVERIFY(writeFile(package + QLatin1Char('/') + members[2], "garbage"));
        QVERIFY(QFile::remove(package + QLatin1Char('/') + members[3]));

        const QString all = pageTexts(LogReport(*archive).plainPDFDocument()).join(QLatin1Char('\n'));
        // Stored order: four intakes, the deletion, the unknown document.
        QCOMPARE(marks(all), QStringLiteral("✓✗✓✗✓✓"));
        QCOMPARE(all.count(text("LOG_ACTION_CORRUPTED")), 2);
        // Each entry prints its own stored text, taken when the entry was made.
        QVERIFY(all.contains(text("LOG_ACTION_DELETED")));
        QVERIFY(all.contains(QStringLiteral("ghost")));
    }

    void storedOrderIsKept()
    {
        const auto archive = makeArchive([](ArchiveFixture& fixture) {
            const DocumentPtr document
                = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("A"), "a");
            appendEntry(fixture.archive(), document->uniqueID(), day(2026, 8, 1), QStringLiteral("\tEntry one\n"));
            appendEntry(fixture.archive(), document->uniqueID(), day(2025, 1, 9), QStringLiteral("\tEntry two\n"));
            appendEntry(fixture.archive(), document->uniqueID(), day(2026, 3, 1), QStringLiteral("\tEntry three\n"));
        });
        const PrinterItemList items = LogReport(*archive).items();
        QCOMPARE(items.size(), 6 + 3);
        QVERIFY(items[5]->pageBreakBefore());
        QCOMPARE(items[6]->attributedString().string(), LogReport::entryText(false, QStringLiteral("\tEntry one\n")));
        QCOMPARE(items[7]->attributedString().string(), LogReport::entryText(false, QStringLiteral("\tEntry two\n")));
        QCOMPARE(items[8]->attributedString().string(), LogReport::entryText(false, QStringLiteral("\tEntry three\n")));
        QCOMPARE(items[1]->attributedString().string(),
            QStringLiteral("%1 - %2").arg(
                ReportStyle::mediumDate(QDate(2025, 1, 9)), ReportStyle::mediumDate(QDate(2026, 8, 1))));
        QCOMPARE(LogReport::entryText(true, QStringLiteral("x")),
            QStringLiteral("✗\t%1\nx").arg(text("LOG_ACTION_CORRUPTED")));
    }

    void everyPageCarriesItsFooter()
    {
        const auto archive = makeArchive([](ArchiveFixture& fixture) {
            const DocumentPtr document
                = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("A"), "a");
            for (int i = 0; i < 300; ++i)
                appendEntry(fixture.archive(), document->uniqueID(), day(2026, 1, 1) + i * 3600,
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
        QVERIFY(pages.last().contains(QStringLiteral("Line one of 299")));
        QCOMPARE(marks(pages.join(QString())).size(), 300);
    }

    void emptyLogGivesCoverAndHeading()
    {
        const auto archive = makeArchive([](ArchiveFixture&) {});
        const QStringList pages = pageTexts(LogReport(*archive).plainPDFDocument());
        QCOMPARE(pages.size(), 2);
        QVERIFY(pages[0].contains(QStringLiteral("Records 2026")));
        // Heading and footer only.
        const QString second = squeezed(pages[1]);
        QVERIFY(second.startsWith(squeezed(text("COMPLETE_LOG") + text("CEATED_WITH_APPNAME"))));
        QVERIFY(marks(second).isEmpty());
    }

    void hardTextsAreLaidOut()
    {
        const QString hebrew = QStringLiteral("\u05E9\u05DC\u05D5\u05DD");
        const QString cjk = QStringLiteral("\u6587\u4EF6\u5F52\u6863");
        const auto archive = makeArchive([&](ArchiveFixture& fixture) {
            fixture.archive().container()->setField(
                QuillarcContainer::ContainerTitle, Value::string(QString(10000, u'A')));
            const DocumentPtr document
                = fixture.addDocument(fixture.addGroup(QStringLiteral("G")), QStringLiteral("A"), "a");
            appendEntry(fixture.archive(), document->uniqueID(), day(2026, 1, 1),
                QStringLiteral("\tTabs:\tone\ttwo\n\tRight to left: %1\n\tCJK: %2\n").arg(hebrew, cjk));
            QString words;
            for (int i = 0; i < 1000; ++i)
                words += QStringLiteral("word%1 ").arg(i, 4, 10, QLatin1Char('0'));
            appendEntry(fixture.archive(), document->uniqueID(), day(2026, 1, 2),
                QStringLiteral("\tCurrent title: %1\n").arg(words.left(10000)));
            appendEntry(fixture.archive(), document->uniqueID(), day(2026, 1, 3), QStringLiteral("\tLast entry\n"));
        });
        const QStringList pages = pageTexts(LogReport(*archive).plainPDFDocument());
        QVERIFY(pages.size() >= 3);
        const QString all = pages.join(QLatin1Char('\n'));
        QVERIFY2(all.contains(cjk), qPrintable(all.left(400)));
        for (const QChar letter : hebrew)
            QVERIFY(all.contains(letter));
        QVERIFY(all.contains(QStringLiteral("word0000")));
        QVERIFY(all.contains(QStringLiteral("word0999")) || all.contains(QStringLiteral("word0998")));
        QVERIFY(pages.last().contains(QStringLiteral("Last entry")));
        QCOMPARE(marks(all), QStringLiteral("✓✓✓"));
    }

    void commandLine()
    {
        QString package;
        QString member;
        const auto archive = makeArchive(
            [&](ArchiveFixture& fixture) {
                const GroupPtr group = fixture.addGroup(QStringLiteral("G"));
                const DocumentPtr first = fixture.addDocument(group, QStringLiteral("First"), "first bytes");
                const DocumentPtr second = fixture.addDocument(group, QStringLiteral("Second"), "second bytes");
                fixture.archive().createLogObjectForDocument(first, 0);
                fixture.archive().createLogObjectForDocument(second, 0);
                member = second->path();
            },
            &package);
        QVERIFY(archive);
        const QString out = freshPath(QStringLiteral("report")) + QStringLiteral(".pdf");
        CliRun run = runCli({ QStringLiteral("log-report"), package, out });
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(
            QString::fromUtf8(run.out).startsWith(out + QStringLiteral(": 2 entries, 2 pages")), run.out.constData());
        QStringList pages = pageTexts(readFile(out));
        QCOMPARE(pages.size(), 2);
        // The state line comes from a validation run before the report.
        QVERIFY2(pages[0].contains(text("INTEGRITY_STRING_DATABASE_VALID")), qPrintable(pages[0]));
        QCOMPARE(marks(pages[1]), QStringLiteral("✓✓"));

        QByteArray bytes = readFile(package + QLatin1Char('/') + member);
        bytes[bytes.indexOf("second")] = 'S';
        QVERIFY(writeFile(package + QLatin1Char('/') + member, bytes));
        run = runCli({ QStringLiteral("log-report"), package, out });
        QCOMPARE(run.exitCode, 0);
        pages = pageTexts(readFile(out));
        QVERIFY(pages[0].contains(text("INTEGRITY_STRING_DATABASE_CORRUPT")));
        QCOMPARE(marks(pages[1]), QStringLiteral("✓✗"));

        const QString blocker = freshPath(QStringLiteral("file"));
        QVERIFY(writeFile(blocker, "file"));
        run = runCli({ QStringLiteral("log-report"), package, blocker + QStringLiteral("/report.pdf") });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(!run.err.isEmpty());
        run = runCli({ QStringLiteral("log-report"), package });
        QCOMPARE(run.exitCode, 2);
    }
};

QTEST_MAIN(TestLogReport)
#include "tst_logreport.moc"
