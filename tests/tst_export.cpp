#include "ArchiveFixture.h"
#include "PdfPages.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "output/ExportSummary.h"
#include "output/Exporter.h"
#include "output/ReportStyle.h"
#include "store/ArchivedFile.h"
#include "store/ExtendedAttributes.h"
#include "store/Fingerprint.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <poppler-qt6.h>

namespace {
QString copyName(const QString& rest)
{
    return QStringLiteral("(%1) %2").arg(text("FILE_COPY_LABEL"), rest);
}



struct Record
{
    QString group;
    QString slip;
    QString name;
    QByteArray bytes;
};
} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    QString freshPath(const QString& stem) { return m_home.freshPath(stem); }

    /// Saves an archive titled "Records 2026" with the records as intake leaves them (a file date a day apart,
    /// comment and tags; groups made in order of first mention) and reopens it.
    using Adjust = std::function<void(ArchiveFixture&)>;
    std::unique_ptr<Document> makeArchive(const QList<Record>& records, QString* package = nullptr, Adjust adjust = {})
    {
        const QString path = freshPath("archive") + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        fixture.archive().container()->setField(QuillarcContainer::ContainerTitle, Value::string("Records 2026"));
        QMap<QString, GroupPtr> groups;
        int day = 0;
        for (const Record& record : records) {
            if (!groups.contains(record.group))
                groups.insert(record.group, fixture.addGroup(record.group));
            const DocumentPtr document = fixture.addDocument(groups[record.group], record.name, record.bytes);
            document->setField(QuillarcDocument::SlipNumber, Value::string(record.slip));
            document->setField(QuillarcDocument::FileDate,
                Value::date(Clock::fromDateTime(QDateTime(QDate(2026, 1, 1).addDays(day++), QTime(12, 0)))));
            document->setField(QuillarcDocument::Comment, Value::string("Paid\tby card\nbooked"));
            document->setField(
                QuillarcDocument::Tags, Value::array({ Value::string("office"), Value::string("2026") }));
        }
        if (adjust)
            adjust(fixture);
        if (!fixture.save())
            return nullptr;
        if (package)
            *package = path;
        return ArchiveFixture::reopen(path);
    }

private Q_SLOTS:
    void copiesKeepNamesAndBytes()
    {
        const QByteArray invoice = QByteArray("%PDF-1.4 invoice ") + QByteArray(5000, 'i');
        const QByteArray letter("letter bytes \x00\x01\x02", 16);
        QString package;
        const QList<Record> docs = { { "Receipts", "A/17", "Invoice", invoice }, { "Receipts", "", "Letter", letter },
            { "Letters", "N1", "Note", "note" } };
        const auto archive = makeArchive(docs, &package);
        QVERIFY(archive);
        const QString folder = freshPath("out") + QStringLiteral("/nested/deeper");
        Exporter exporter(archive.get());
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), folder), Exporter::Result::Success);
        QVERIFY(exporter.errorString().isEmpty());
        const QString invoiceCopy = folder + QLatin1Char('/') + copyName("A17_Invoice.pdf");
        const QString letterCopy = folder + QLatin1Char('/') + copyName("Letter.pdf");
        // Without a voucher number the copy sorts first.
        QCOMPARE(exporter.writtenFiles(), QStringList({ letterCopy, invoiceCopy }));
        QCOMPARE(Fingerprint::md5String(readFile(invoiceCopy)), Fingerprint::md5String(invoice));
        QCOMPARE(readFile(letterCopy), letter);
        QCOMPARE(exporter.summaryPath(), QString(folder + "/ " + text("EXPORT_SUMMARY_PDF") + ".pdf"));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 3);

        // The command line exports the whole archive and prints every file it wrote.
        const QString all = freshPath("cli");
        CliRun run = runCli({ "export", package, all });
        QCOMPARE(run.exitCode, 0);
        QString written;
        for (const QString& name : { copyName("Letter.pdf"), copyName("A17_Invoice.pdf"), copyName("N1_Note.pdf"),
                 Exporter::summaryFileName() })
            written += all + QLatin1Char('/') + name + QLatin1Char('\n');
        QCOMPARE(QString::fromUtf8(run.out), written);
        QCOMPARE(readFile(all + QLatin1Char('/') + copyName("A17_Invoice.pdf")), invoice);
        const QString one = freshPath("cli-group");
        QCOMPARE(runCli({ "export", package, one, "--group", "Letters" }).exitCode, 0);
        QCOMPARE(QDir(one).entryList(QDir::Files).size(), 2);
        QCOMPARE(runCli({ "export", package, one, "--group", "Nope" }).exitCode, 2);
        const QString blocker = freshPath("cli-file");
        QVERIFY(writeFile(blocker, "file"));
        run = runCli({ "export", package, blocker + "/sub" });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(!run.err.isEmpty());
        QVERIFY(QFile::remove(ArchivedFile::fileURL(*archive->allDocuments().first())));
        run = runCli({ "export", package, freshPath("cli-missing") });
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(QString::fromUtf8(run.err).contains(text("File not found.")), run.err.constData());
    }

    void sortOrders_data()
    {
        QTest::addColumn<bool>("wholeArchive");
        QTest::addColumn<QStringList>("slips"); // in list order; "G2:" puts the record into a second group
        QTest::addColumn<QStringList>("expected");
        const QStringList mixed = { "10", "2", "b3", "B1", "R-100", "R-99", "" };
        // "de:" runs the row under a German locale: umlauts collate with their base letters.
        const QStringList umlauts = { "de:B1", "a10", "\u00C42", "A9" };
        const QStringList groups = { "5", "G2:7", "G2:3", "1" };
        using L = QStringList;
        QTest::newRow("group: by value")    << false << mixed   << L { "", "2", "10", "B1", "b3", "R-99", "R-100" };
        QTest::newRow("archive: by char")   << true  << mixed   << L { "", "10", "2", "B1", "R-100", "R-99", "b3" };
        QTest::newRow("archive: merged")    << true  << groups  << L { "1", "3", "5", "7" };
        QTest::newRow("group, German")      << false << umlauts << L { "\u00C42", "A9", "a10", "B1" };
        QTest::newRow("archive, German")    << true  << umlauts << L { "A9", "B1", "a10", "\u00C42" };
    }
    void sortOrders()
    {
        QFETCH(bool, wholeArchive);
        QFETCH(QStringList, slips);
        QFETCH(QStringList, expected);
        const QLocale previous;
        const auto restore = qScopeGuard([&] { QLocale::setDefault(previous); });
        if (slips.first().startsWith(QLatin1String("de:"))) {
            slips.first().remove(0, 3);
            QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        }
        QList<Record> records;
        for (int i = 0; i < slips.size(); ++i) {
            const bool second = slips[i].startsWith(QLatin1String("G2:"));
            records << Record { second ? "Second" : "First", slips[i].mid(second ? 3 : 0),
                QStringLiteral("Doc%1").arg(i), QByteArray::number(i) };
        }
        const auto archive = makeArchive(records);
        QVERIFY(archive);
        Exporter exporter(archive.get());
        const QString folder = freshPath("sorted");
        // The archive export's summary is titled after the archive; its footer names the current group.
        const GroupPtr current = archive->allGroups().last();
        QCOMPARE(wholeArchive ? exporter.exportDocument(folder, current)
                              : exporter.exportGroup(archive->allGroups().first(), folder),
            Exporter::Result::Success);
        QStringList order;
        const qsizetype prefix = copyName("").size();
        for (const QString& path : exporter.writtenFiles()) {
            const QString name = QFileInfo(path).completeBaseName();
            const qsizetype underscore = name.lastIndexOf(u'_');
            order << (underscore < 0 ? QString() : name.mid(prefix, underscore - prefix));
        }
        QCOMPARE(order, expected);
        // The summary lists them in the same order.
        const QStringList pages = pageTexts(readFile(exporter.summaryPath()));
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pages[0].contains("Records 2026"), wholeArchive);
        QVERIFY(pages[0].contains("| " + current->groupTitle()));
        QVERIFY(!pages[0].contains("| Records 2026"));
        qsizetype at = 0;
        for (const QString& slip : expected) {
            if (slip.isEmpty())
                continue;
            const QRegularExpression line(QStringLiteral("(^|\\n)%1\\s").arg(QRegularExpression::escape(slip)));
            at = pages[0].indexOf(line, at);
            QVERIFY2(at++ >= 0, qPrintable(slip));
        }
    }

    void equalNamesOverwriteInSortOrder()
    {
        const auto archive = makeArchive({ { "G", "7", "Same", "first" }, { "G", "7", "Same", "second" } });
        Exporter exporter(archive.get());
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), freshPath("same")), Exporter::Result::Success);
        QCOMPARE(exporter.writtenFiles().size(), 2);
        QCOMPARE(readFile(exporter.writtenFiles().first()), QByteArray("second"));
    }

    void documentLines_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("comment");
        QTest::addColumn<QStringList>("tags");
        QTest::addColumn<QString>("expectedTitle");
        QTest::addColumn<QString>("expectedComment");
        QTest::addColumn<QString>("expectedTags");
        const QString more = text("PRINTOUT_LOCALIZED_ELLIPSES");
        const QString capitals = QString(11, u'B') + QString(109, u'c');
        const QString rtlCjk = "\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627 \u6587\u4EF6";
        const QString cjk = "\u66F8\u985E";
        const QString w = QString(10000, u'w');
        const QString W = QString(10000, u'W');
        using L = QStringList;
        QTest::newRow("plain")            << "Invoice 4711"               << "Paid"             << L { "office", "tax" }
                                          << "Invoice 4711"               << "Paid"             << "office,tax";
        QTest::newRow("tabs, breaks")     << "Invoice\t4711\nsecond line" << "Paid\tby\r\ncard" << L { "a\tb" }
                                          << "Invoice4711second line"     << "Paidbycard"       << "ab";
        QTest::newRow("120, lowercase")   << QString(120, u'a')           << ""                 << L()
                                          << QString(100, u'a') + more    << ""                 << "";
        QTest::newRow("120, 11 capitals") << capitals                     << ""                 << L()
                                          << capitals.left(75) + more     << ""                 << "";
        QTest::newRow("101 kept whole")   << QString(101, u'x')           << ""                 << L()
                                          << QString(101, u'x')           << ""                 << "";
        QTest::newRow("RTL and CJK")      << rtlCjk                       << cjk                << L { "\u7A0E" }
                                          << rtlCjk                       << cjk                << "\u7A0E";
        QTest::newRow("10,000 chars")     << w                            << W                  << L()
                                          << w.left(100) + more           << W.left(75) + more  << "";
    }
    void documentLines()
    {
        QFETCH(QString, title);
        QFETCH(QString, comment);
        QFETCH(QStringList, tags);
        QFETCH(QString, expectedTitle);
        QFETCH(QString, expectedComment);
        QFETCH(QString, expectedTags);
        auto document = QuillarcDocument::create();
        document->setField(QuillarcDocument::SlipNumber, Value::string("R-1"));
        const QDate date(2026, 5, 4);
        document->setField(QuillarcDocument::FileDate, Value::date(Clock::fromDateTime(QDateTime(date, QTime(9, 0)))));
        document->setField(QuillarcDocument::Title, Value::string(title));
        document->setField(QuillarcDocument::Comment, Value::string(comment));
        ValueList tagValues;
        for (const QString& tag : tags)
            tagValues << Value::string(tag);
        document->setField(QuillarcDocument::Tags, Value::array(tagValues));
        const QString head = QStringLiteral("R-1\t%1\t%2").arg(ReportStyle::mediumDate(date), expectedTitle);
        const QString tagLine = "\n\t\t\t\t" + expectedTags;
        QCOMPARE(ExportSummary::documentLine(*document, false, false), head);
        const QString commentLine = "\n\t\t\t\t" + expectedComment;
        QCOMPARE(ExportSummary::documentLine(*document, true, true), QString(head + commentLine + tagLine));
        QCOMPARE(ExportSummary::documentLine(*document, false, true), QString(head + tagLine));
    }

    void summaryPagesCarryFooterAndShortenedTexts()
    {
        QList<Record> records;
        for (int i = 0; i < 150; ++i)
            records << Record {
                "Receipts", "R-" + QString::number(i), "File" + QString::number(i), QByteArray::number(i) };
        const QString longTitle = QString(60, u'L') + QString(60, u'o');
        const auto archive = makeArchive(records, nullptr, [&](ArchiveFixture& fixture) {
            const GroupPtr receipts = fixture.archive().allGroups().first();
            receipts->setField(QuillarcGroup::GroupDescription, Value::string("All receipts, \u6587\u4EF6"));
            receipts->documents().first()->setField(QuillarcDocument::Title, Value::string(longTitle));
        });
        Exporter exporter(archive.get());
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), freshPath("pages")), Exporter::Result::Success);
        QList<QSizeF> sizes;
        const QStringList pages = pageTexts(readFile(exporter.summaryPath()), &sizes);
        QVERIFY2(pages.size() >= 3, qPrintable(QString::number(pages.size())));
        const QString today = ReportStyle::mediumDate(QDate::currentDate());
        for (int i = 0; i < pages.size(); ++i) {
            QCOMPARE(sizes[i], QSizeF(595, 842));
            QVERIFY2(pages[i].contains(QStringLiteral("%1/%2 | %3 | Receipts").arg(i + 1).arg(pages.size()).arg(today)),
                qPrintable(pages[i]));
            QVERIFY(pages[i].contains(text("CEATED_WITH_APPNAME")));
        }
        QVERIFY(pages[0].contains("All receipts, \u6587\u4EF6"));
        QVERIFY2(pages[0].contains(QStringLiteral("150 %1, %2 - %3")
                                       .arg(text("EXPORT_SUMMARY_FILES"), ReportStyle::mediumDate(QDate(2026, 1, 1)),
                                           ReportStyle::mediumDate(QDate(2026, 1, 1).addDays(149)))),
            qPrintable(pages[0].left(300)));
        const QString all = squeezed(pages.join(QString()));
        QVERIFY(all.contains(squeezed(longTitle.left(75) + text("PRINTOUT_LOCALIZED_ELLIPSES"))));
        QVERIFY(!all.contains(squeezed(longTitle.left(76))));
        QVERIFY(all.contains("Paidbycardbooked"));
        QVERIFY(all.contains("office,2026"));
        QVERIFY(all.contains("R-149"));
    }

    void stopsAtAMissingOrCorruptedFile_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<Exporter::Result>("result");
        QTest::addColumn<QString>("error");
        const QString corrupted = "File appears to be corrupted.";
        QTest::newRow("member deleted")        << "delete"  << Exporter::Result::MissingFile   << "File not found.";
        QTest::newRow("member folder deleted") << "folder"  << Exporter::Result::MissingFile   << "File not found.";
        QTest::newRow("one byte changed")      << "flip"    << Exporter::Result::CorruptedFile << corrupted;
        QTest::newRow("member not an archive") << "garbage" << Exporter::Result::CorruptedFile << corrupted;
    }
    void stopsAtAMissingOrCorruptedFile()
    {
        QFETCH(QString, damage);
        QFETCH(Exporter::Result, result);
        QFETCH(QString, error);
        const auto archive = makeArchive({ { "G", "1", "First", "first bytes" }, { "G", "2", "Second", "second bytes" },
            { "G", "3", "Third", "third bytes" } });
        const DocumentPtr second = archive->allDocuments().at(1);
        const QString member = ArchivedFile::fileURL(*second);
        if (damage == QLatin1String("delete"))
            QVERIFY(QFile::remove(member));
        else if (damage == QLatin1String("folder"))
            QVERIFY(QDir(QFileInfo(member).path()).removeRecursively());
        else
            QVERIFY(writeFile(member, damage == QLatin1String("flip") ? readFile(member).replace("second", "Second")
                                                                       : QByteArray("not an archived member")));
        Exporter exporter(archive.get());
        const QString folder = freshPath("stopped");
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), folder), result);
        QCOMPARE(exporter.errorString(), localizedString(error));
        QCOMPARE(exporter.failedDocument(), second);
        // The copy before stays; nothing after it and no summary.
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList { copyName("1_First.pdf") });
        QVERIFY(exporter.summaryPath().isEmpty());
    }

    void unwritableFolderIsAnError()
    {
        const auto archive = makeArchive({ { "G", "1", "A", "a" } });
        const QString blocker = freshPath("plain-file");
        QVERIFY(writeFile(blocker, "I am a file"));
        Exporter exporter(archive.get());
        // A folder cannot be made below a regular file, not even by root.
        const GroupPtr group = archive->allGroups().first();
        QCOMPARE(exporter.exportGroup(group, blocker + "/export"), Exporter::Result::WriteFailed);
        QVERIFY(exporter.errorString().contains(blocker));
        QCOMPARE(exporter.exportDocument(blocker, nullptr), Exporter::Result::WriteFailed);
        QVERIFY(exporter.writtenFiles().isEmpty());
        QCOMPARE(readFile(blocker), QByteArray("I am a file"));
    }

    void crafedNamesStayInTheFolder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        QTest::newRow("slashes")                      << "../../escape"      << copyName("1_.._.._escape.pdf");
        QTest::newRow("too long for the file system") << QString(300, u'n') << QString();
    }
    void crafedNamesStayInTheFolder()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        const auto archive = makeArchive({ { "G", "1", "plain", "bytes" } });
        archive->allDocuments().first()->setField(QuillarcDocument::Name, Value::string(name));
        Exporter exporter(archive.get());
        const QString folder = freshPath("crafted");
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), folder), Exporter::Result::Success);
        QCOMPARE(exporter.writtenFiles().size(), 1);
        const QFileInfo written(exporter.writtenFiles().first());
        QCOMPARE(written.absolutePath(), QFileInfo(folder).absoluteFilePath());
        if (!expected.isEmpty())
            QCOMPARE(written.fileName(), expected);
        QVERIFY(written.fileName().toUtf8().size() <= 255);
        QVERIFY(written.fileName().endsWith(QLatin1String(".pdf")));
        QCOMPARE(readFile(written.filePath()), QByteArray("bytes"));
    }

    void preferencesDecideSummaryAndTags_data()
    {
        QTest::addColumn<bool>("includeSummary");
        QTest::addColumn<bool>("writeTags");
        QTest::newRow("summary and tags")  << true  << true;
        QTest::newRow("summary, no tags")  << true  << false;
        QTest::newRow("tags, no summary")  << false << true;
    }
    void preferencesDecideSummaryAndTags()
    {
        QFETCH(bool, includeSummary);
        QFETCH(bool, writeTags);
        const QString folder = freshPath("tags");
        QVERIFY(QDir().mkpath(folder));
        if (!supportsExtendedAttributes(folder))
            QSKIP("the temporary file system keeps no extended attributes");
        const auto archive = makeArchive({ { "G", "1", "A", "a" } });
        archive->preferences()->setField(QuillarcPreferences::IncludeSummary, Value::boolean(includeSummary));
        archive->preferences()->setField(QuillarcPreferences::WriteFinderTags, Value::boolean(writeTags));
        Exporter exporter(archive.get());
        QSignalSpy written(&exporter, &Exporter::tagsWritten);
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), folder), Exporter::Result::Success);
        const QString copy = exporter.writtenFiles().first();
        QCOMPARE(exporter.summaryPath().isEmpty(), !includeSummary);
        QCOMPARE(QFile::exists(folder + QLatin1Char('/') + Exporter::summaryFileName()), includeSummary);
        // Tags come a moment later, not with the bytes.
        QVERIFY(ExtendedAttributes::readTags(copy).isEmpty());
        QVERIFY(written.wait(5000));
        QCOMPARE(exporter.pendingTagWrites(), 0);
        QCOMPARE(ExtendedAttributes::readTags(copy), writeTags ? QStringList({ "office", "2026" }) : QStringList());
        if (includeSummary)
            QCOMPARE(ExtendedAttributes::readTags(exporter.summaryPath()), QStringList { "red" });
    }

    void emptyGroupGivesTitleDescriptionAndTotals()
    {
        const auto archive = makeArchive({}, nullptr, [](ArchiveFixture& f) { f.addGroup(QString(10000, u'T')); });
        Exporter exporter(archive.get());
        const QString folder = freshPath("empty");
        QCOMPARE(exporter.exportGroup(archive->allGroups().first(), folder), Exporter::Result::Success);
        QVERIFY(exporter.writtenFiles().isEmpty());
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList { Exporter::summaryFileName() });
        // The 10,000-character title runs over several pages; every page still has its footer.
        const QStringList pages = pageTexts(readFile(exporter.summaryPath()));
        QVERIFY(pages.size() >= 2);
        QVERIFY(squeezed(pages.last()).contains(QStringLiteral("0%1,-").arg(text("EXPORT_SUMMARY_FILES"))));
        for (int i = 0; i < pages.size(); ++i)
            QVERIFY(pages[i].contains(QStringLiteral("%1/%2 |").arg(i + 1).arg(pages.size())));
    }

    void archiveWithoutGroups()
    {
        QString package;
        const auto archive = makeArchive({}, &package);
        QVERIFY(archive->allGroups().isEmpty());
        const QString summary = freshPath("nothing") + QLatin1Char('/') + Exporter::summaryFileName();
        const CliRun run = runCli({ "export", package, QFileInfo(summary).path() });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(QString::fromUtf8(run.out), summary + QLatin1Char('\n'));
        const QStringList pages = pageTexts(readFile(summary));
        QCOMPARE(pages.size(), 1);
        QVERIFY(pages[0].contains("Records 2026"));
        QVERIFY(pages[0].contains(QStringLiteral("0 %1").arg(text("EXPORT_SUMMARY_FILES"))));
    }
};

QTEST_MAIN(TestExport)
#include "tst_export.moc"
