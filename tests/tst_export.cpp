#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "output/ExportSummary.h"
#include "output/Exporter.h"
#include "output/ReportStyle.h"
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
QString text(const char* key)
{
    return localizedString(QString::fromLatin1(key));
}

QString copyName(const QString& rest)
{
    return QStringLiteral("(%1) %2").arg(text("FILE_COPY_LABEL"), rest);
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

/// Text without any white space: lines wrapped by the layout still compare.
QString squeezed(const QString& value)
{
    static const QRegularExpression space(QStringLiteral("\\s+"));
    return value.normalized(QString::NormalizationForm_KC).remove(space);
}

/// A document as intake leaves it, with a voucher number, file date, comment and tags.
struct Record
{
    QString group;
    QString slip;
    QString name;
    QByteArray bytes;
};

void describe(const DocumentPtr& document, const QString& slip, int day)
{
    document->setField(QuillarcDocument::SlipNumber, Value::string(slip));
    document->setField(QuillarcDocument::FileDate,
        Value::date(Clock::fromDateTime(QDateTime(QDate(2026, 1, 1).addDays(day - 1), QTime(12, 0)))));
    document->setField(QuillarcDocument::Comment, Value::string(QStringLiteral("Paid\tby card\nbooked")));
    document->setField(QuillarcDocument::Tags,
        Value::array({ Value::string(QStringLiteral("office")), Value::string(QStringLiteral("2026")) }));
}

bool xattrsWork(const QString& folder)
{
    const QString probe = folder + QStringLiteral("/xattr-probe");
    writeFile(probe, "x");
    const bool ok = ExtendedAttributes::writeTags(probe, { QStringLiteral("probe") });
    QFile::remove(probe);
    return ok;
}
} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;
    int m_counter = 0;

    QString freshPath(const QString& stem)
    {
        return QStringLiteral("%1/%2-%3").arg(m_home.path(), stem).arg(++m_counter);
    }

    /// Saves an archive with the records (groups made in order of first mention) and reopens it.
    std::unique_ptr<Document> makeArchive(
        const QList<Record>& records, QString* package = nullptr, const std::function<void(Document&)>& adjust = {})
    {
        const QString path = freshPath(QStringLiteral("archive")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        fixture.archive().container()->setField(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Records 2026")));
        QMap<QString, GroupPtr> groups;
        int day = 1;
        for (const Record& record : records) {
            if (!groups.contains(record.group))
                groups.insert(record.group, fixture.addGroup(record.group));
            describe(fixture.addDocument(groups[record.group], record.name, record.bytes), record.slip, day++);
        }
        if (adjust)
            adjust(fixture.archive());
        if (!fixture.save())
            return nullptr;
        if (package)
            *package = path;
        return ArchiveFixture::reopen(path);
    }

    static GroupPtr group(const Document& archive, const QString& title)
    {
        for (const GroupPtr& candidate : archive.allGroups()) {
            if (candidate->groupTitle() == title)
                return candidate;
        }
        return nullptr;
    }

private Q_SLOTS:
    void copiesKeepNamesAndBytes()
    {
        const QByteArray invoice = QByteArray("%PDF-1.4 invoice ") + QByteArray(5000, 'i');
        const QByteArray letter("letter bytes \x00\x01\x02", 16);
        const auto archive
            = makeArchive({ { QStringLiteral("Receipts"), QStringLiteral("A/17"), QStringLiteral("Invoice"), invoice },
                { QStringLiteral("Receipts"), QString(), QStringLiteral("Letter"), letter } });
        QVERIFY(archive);
        const QString folder = freshPath(QStringLiteral("out")) + QStringLiteral("/nested/deeper");
        Exporter exporter(archive.get());
        QCOMPARE(exporter.exportGroup(group(*archive, QStringLiteral("Receipts")), folder), Exporter::Result::Success);
        QVERIFY(exporter.errorString().isEmpty());

        const QString invoiceCopy = folder + QLatin1Char('/') + copyName(QStringLiteral("A17_Invoice.pdf"));
        const QString letterCopy = folder + QLatin1Char('/') + copyName(QStringLiteral("Letter.pdf"));
        // Without a voucher number the copy sorts first.
        QCOMPARE(exporter.writtenFiles(), QStringList({ letterCopy, invoiceCopy }));
        QCOMPARE(Fingerprint::md5String(readFile(invoiceCopy)), Fingerprint::md5String(invoice));
        QCOMPARE(readFile(letterCopy), letter);
        QCOMPARE(exporter.summaryPath(),
            folder + QStringLiteral("/ ") + text("EXPORT_SUMMARY_PDF") + QStringLiteral(".pdf"));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 3);
    }

    void sortOrders_data()
    {
        QTest::addColumn<bool>("wholeArchive");
        QTest::addColumn<QStringList>("slips"); // in list order; "G2:" puts the record into a second group
        QTest::addColumn<QStringList>("expected");
        const QStringList mixed = { QStringLiteral("10"), QStringLiteral("2"), QStringLiteral("b3"),
            QStringLiteral("B1"), QStringLiteral("R-100"), QStringLiteral("R-99"), QStringLiteral("") };
        QTest::newRow("group: numbers by value, case ignored")
            << false << mixed << QStringList { "", "2", "10", "B1", "b3", "R-99", "R-100" };
        QTest::newRow("archive: character by character")
            << true << mixed << QStringList { "", "10", "2", "B1", "R-100", "R-99", "b3" };
        QTest::newRow("archive: groups merged before sorting")
            << true << QStringList { "G2:7", "5", "G2:3", "1" } << QStringList { "1", "3", "5", "7" };
        // "de:" runs the row under a German locale: umlauts collate with their base letters.
        const QStringList umlauts
            = { QStringLiteral("de:B1"), QStringLiteral("a10"), QStringLiteral("\u00C42"), QStringLiteral("A9") };
        QTest::newRow("group, German: umlaut with its letter")
            << false << umlauts << QStringList { "\u00C42", "A9", "a10", "B1" };
        QTest::newRow("archive, German: still code units")
            << true << umlauts << QStringList { "A9", "B1", "a10", "\u00C42" };
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
            QString slip = slips[i];
            const bool second = slip.startsWith(QLatin1String("G2:"));
            slip.remove(QStringLiteral("G2:"));
            records << Record { second ? QStringLiteral("Second") : QStringLiteral("First"), slip,
                QStringLiteral("Doc%1").arg(i), QByteArray::number(i) };
        }
        const auto archive = makeArchive(records);
        QVERIFY(archive);
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("sorted"));
        const auto result = wholeArchive ? exporter.exportDocument(folder, group(*archive, QStringLiteral("First")))
                                         : exporter.exportGroup(group(*archive, QStringLiteral("First")), folder);
        QCOMPARE(result, Exporter::Result::Success);
        QStringList order;
        for (const QString& path : exporter.writtenFiles()) {
            const QString name = QFileInfo(path).completeBaseName();
            const qsizetype underscore = name.lastIndexOf(u'_');
            order << (underscore < 0
                    ? QString()
                    : name.mid(text("FILE_COPY_LABEL").size() + 3, underscore - text("FILE_COPY_LABEL").size() - 3));
        }
        QCOMPARE(order, expected);

        // The summary lists them in the same order.
        const QStringList pages = pageTexts(readFile(exporter.summaryPath()));
        QCOMPARE(pages.size(), 1);
        qsizetype at = 0;
        for (int i = 0; i < expected.size(); ++i) {
            if (expected[i].isEmpty())
                continue;
            const qsizetype found = pages[0].indexOf(
                QRegularExpression(QStringLiteral("(^|\\n)%1\\s").arg(QRegularExpression::escape(expected[i]))), at);
            QVERIFY2(found >= at, qPrintable(expected[i]));
            at = found + 1;
        }
    }

    void equalNamesOverwriteInSortOrder()
    {
        const auto archive
            = makeArchive({ { QStringLiteral("G"), QStringLiteral("7"), QStringLiteral("Same"), "first" },
                { QStringLiteral("G"), QStringLiteral("7"), QStringLiteral("Same"), "second" } });
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("same"));
        QCOMPARE(exporter.exportGroup(group(*archive, QStringLiteral("G")), folder), Exporter::Result::Success);
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
        const QString ellipsis = text("PRINTOUT_LOCALIZED_ELLIPSES");
        const QString lower120 = QString(120, u'a');
        QString capitals120 = QString(11, u'B') + QString(109, u'c');
        QTest::newRow("plain") << "Invoice 4711"
                               << "Paid" << QStringList { "office", "tax" } << "Invoice 4711"
                               << "Paid"
                               << "office,tax";
        QTest::newRow("tabs and line breaks removed")
            << "Invoice\t4711\nsecond line"
            << "Paid\tby\r\ncard" << QStringList { "a\tb" } << "Invoice4711second line"
            << "Paidbycard"
            << "ab";
        QTest::newRow("120 characters, few capitals")
            << lower120 << "" << QStringList() << QString(100, u'a') + ellipsis << ""
            << "";
        QTest::newRow("120 characters, 11 capitals")
            << capitals120 << "" << QStringList() << capitals120.left(75) + ellipsis << ""
            << "";
        QTest::newRow("101 characters kept whole")
            << QString(101, u'x') << "" << QStringList() << QString(101, u'x') << ""
            << "";
        QTest::newRow("right to left and CJK kept")
            << "\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627 \u6587\u4EF6"
            << "\u66F8\u985E" << QStringList { "\u7A0E" }
            << "\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627 \u6587\u4EF6"
            << "\u66F8\u985E"
            << "\u7A0E";
        QTest::newRow("10,000 characters") << QString(10000, u'w') << QString(10000, u'W') << QStringList()
                                           << QString(100, u'w') + ellipsis << QString(75, u'W') + ellipsis << "";
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
        document->setField(QuillarcDocument::SlipNumber, Value::string(QStringLiteral("R-1")));
        document->setField(
            QuillarcDocument::FileDate, Value::date(Clock::fromDateTime(QDateTime(QDate(2026, 5, 4), QTime(9, 0)))));
        document->setField(QuillarcDocument::Title, Value::string(title));
        document->setField(QuillarcDocument::Comment, Value::string(comment));
        ValueList tagValues;
        for (const QString& tag : tags)
            tagValues << Value::string(tag);
        document->setField(QuillarcDocument::Tags, Value::array(tagValues));
        const QString head
            = QStringLiteral("R-1\t%1\t%2").arg(ReportStyle::mediumDate(QDate(2026, 5, 4)), expectedTitle);
        QCOMPARE(ExportSummary::documentLine(*document, false, false), head);
        QCOMPARE(ExportSummary::documentLine(*document, true, true),
            head + QStringLiteral("\n\t\t\t\t") + expectedComment + QStringLiteral("\n\t\t\t\t") + expectedTags);
        QCOMPARE(
            ExportSummary::documentLine(*document, false, true), head + QStringLiteral("\n\t\t\t\t") + expectedTags);
    }

    void summaryPagesCarryFooterAndShortenedTexts()
    {
        QList<Record> records;
        for (int i = 0; i < 150; ++i)
            records << Record { QStringLiteral("Receipts"), QStringLiteral("R-%1").arg(i),
                QStringLiteral("File%1").arg(i), QByteArray::number(i) };
        const QString longTitle = QString(60, u'L') + QString(60, u'o');
        const auto archive = makeArchive(records, nullptr, [&](Document& archive) {
            const GroupPtr receipts = archive.allGroups().first();
            receipts->setField(
                QuillarcGroup::GroupDescription, Value::string(QStringLiteral("All receipts, \u6587\u4EF6")));
            receipts->documents().first()->setField(QuillarcDocument::Title, Value::string(longTitle));
        });
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("pages"));
        QCOMPARE(exporter.exportGroup(group(*archive, QStringLiteral("Receipts")), folder), Exporter::Result::Success);
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
        QVERIFY(pages[0].contains(QStringLiteral("All receipts, \u6587\u4EF6")));
        QVERIFY2(pages[0].contains(QStringLiteral("150 %1, %2 - %3")
                                       .arg(text("EXPORT_SUMMARY_FILES"), ReportStyle::mediumDate(QDate(2026, 1, 1)),
                                           ReportStyle::mediumDate(QDate(2026, 1, 1).addDays(149)))),
            qPrintable(pages[0].left(300)));
        const QString all = squeezed(pages.join(QString()));
        QVERIFY(all.contains(squeezed(longTitle.left(75) + text("PRINTOUT_LOCALIZED_ELLIPSES"))));
        QVERIFY(!all.contains(squeezed(longTitle.left(76))));
        QVERIFY(all.contains(QStringLiteral("Paidbycardbooked")));
        QVERIFY(all.contains(QStringLiteral("office,2026")));
        QVERIFY(all.contains(QStringLiteral("R-149")));
    }

    void archiveExportNamesTheCurrentGroupInItsFooter()
    {
        const auto archive
            = makeArchive({ { QStringLiteral("Contracts"), QStringLiteral("1"), QStringLiteral("A"), "a" },
                { QStringLiteral("Letters"), QStringLiteral("2"), QStringLiteral("B"), "b" } });
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("archive"));
        QCOMPARE(
            exporter.exportDocument(folder, group(*archive, QStringLiteral("Letters"))), Exporter::Result::Success);
        const QStringList pages = pageTexts(readFile(exporter.summaryPath()));
        QCOMPARE(pages.size(), 1);
        QVERIFY(pages[0].contains(QStringLiteral("Records 2026")));
        QVERIFY(pages[0].contains(QStringLiteral("| Letters")));
        QVERIFY(!pages[0].contains(QStringLiteral("| Records 2026")));
    }

    void stopsAtAMissingOrCorruptedFile_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("error");
        QTest::newRow("member deleted") << "delete" << int(Exporter::Result::MissingFile) << "File not found.";
        QTest::newRow("member folder deleted") << "folder" << int(Exporter::Result::MissingFile) << "File not found.";
        QTest::newRow("one byte changed")
            << "flip" << int(Exporter::Result::CorruptedFile) << "File appears to be corrupted.";
        QTest::newRow("member not an archive")
            << "garbage" << int(Exporter::Result::CorruptedFile) << "File appears to be corrupted.";
    }
    void stopsAtAMissingOrCorruptedFile()
    {
        QFETCH(QString, damage);
        QFETCH(int, result);
        QFETCH(QString, error);
        QString package;
        const auto archive
            = makeArchive({ { QStringLiteral("G"), QStringLiteral("1"), QStringLiteral("First"), "first bytes" },
                              { QStringLiteral("G"), QStringLiteral("2"), QStringLiteral("Second"), "second bytes" },
                              { QStringLiteral("G"), QStringLiteral("3"), QStringLiteral("Third"), "third bytes" } },
                &package);
        const DocumentPtr second = archive->allDocuments().at(1);
        const QString member = second->fileURL();
        if (damage == QLatin1String("delete")) {
            QVERIFY(QFile::remove(member));
        } else if (damage == QLatin1String("folder")) {
            QVERIFY(QDir(QFileInfo(member).path()).removeRecursively());
        } else if (damage == QLatin1String("flip")) {
            QByteArray bytes = readFile(member);
            bytes[bytes.indexOf("second")] = 'S';
            QVERIFY(writeFile(member, bytes));
        } else {
            QVERIFY(writeFile(member, "not an archived member"));
        }
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("stopped"));
        QCOMPARE(int(exporter.exportGroup(group(*archive, QStringLiteral("G")), folder)), result);
        QCOMPARE(exporter.errorString(), localizedString(error));
        QCOMPARE(exporter.failedDocument(), second);
        // The copy before stays; nothing after it and no summary.
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList { copyName(QStringLiteral("1_First.pdf")) });
        QVERIFY(exporter.summaryPath().isEmpty());
    }

    void unwritableFolderIsAnError()
    {
        const auto archive = makeArchive({ { QStringLiteral("G"), QStringLiteral("1"), QStringLiteral("A"), "a" } });
        const QString blocker = freshPath(QStringLiteral("plain-file"));
        QVERIFY(writeFile(blocker, "I am a file"));
        Exporter exporter(archive.get());
        // A folder cannot be made below a regular file, not even by root.
        QCOMPARE(exporter.exportGroup(group(*archive, QStringLiteral("G")), blocker + QStringLiteral("/export")),
            Exporter::Result::WriteFailed);
        QVERIFY(exporter.errorString().contains(blocker));
        QCOMPARE(exporter.exportDocument(blocker, nullptr), Exporter::Result::WriteFailed);
        QVERIFY(exporter.writtenFiles().isEmpty());
        QCOMPARE(readFile(blocker), QByteArray("I am a file"));
    }

    void crafedNamesStayInTheFolder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        QTest::newRow("slashes") << "../../escape" << copyName(QStringLiteral("1_.._.._escape.pdf"));
        QTest::newRow("too long for the file system") << QString(300, u'n') << QString();
    }
    void crafedNamesStayInTheFolder()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        const auto archive
            = makeArchive({ { QStringLiteral("G"), QStringLiteral("1"), QStringLiteral("plain"), "bytes" } });
        archive->allDocuments().first()->setField(QuillarcDocument::Name, Value::string(name));
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("crafted"));
        QCOMPARE(exporter.exportGroup(group(*archive, QStringLiteral("G")), folder), Exporter::Result::Success);
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
        QTest::newRow("summary and tags") << true << true;
        QTest::newRow("summary, no tags") << true << false;
        QTest::newRow("tags, no summary") << false << true;
    }
    void preferencesDecideSummaryAndTags()
    {
        QFETCH(bool, includeSummary);
        QFETCH(bool, writeTags);
        const QString folder = freshPath(QStringLiteral("tags"));
        QVERIFY(QDir().mkpath(folder));
        if (!xattrsWork(folder))
            QSKIP("the temporary file system keeps no extended attributes");
        const auto archive = makeArchive({ { QStringLiteral("G"), QStringLiteral("1"), QStringLiteral("A"), "a" } });
        archive->preferences()->setField(QuillarcPreferences::IncludeSummary, Value::boolean(includeSummary));
        archive->preferences()->setField(QuillarcPreferences::WriteFinderTags, Value::boolean(writeTags));
        Exporter exporter(archive.get());
        QSignalSpy written(&exporter, &Exporter::tagsWritten);
        QCOMPARE(exporter.exportGroup(group(*archive, QStringLiteral("G")), folder), Exporter::Result::Success);
        const QString copy = exporter.writtenFiles().first();
        QCOMPARE(exporter.summaryPath().isEmpty(), !includeSummary);
        QCOMPARE(QFile::exists(folder + QLatin1Char('/') + Exporter::summaryFileName()), includeSummary);
        // Tags come a moment later, not with the bytes.
        QVERIFY(ExtendedAttributes::readTags(copy).isEmpty());
        QVERIFY(written.wait(5000));
        QCOMPARE(exporter.pendingTagWrites(), 0);
        QCOMPARE(ExtendedAttributes::readTags(copy),
            writeTags ? QStringList({ QStringLiteral("office"), QStringLiteral("2026") }) : QStringList());
        if (includeSummary)
            QCOMPARE(ExtendedAttributes::readTags(exporter.summaryPath()), QStringList { QStringLiteral("red") });
    }

    void emptyGroupGivesTitleDescriptionAndTotals()
    {
        const auto archive = makeArchive({}, nullptr, [](Document& archive) {
            auto empty = QuillarcGroup::create();
            empty->setField(QuillarcGroup::GroupTitle, Value::string(QString(10000, u'T')));
            empty->setParent(archive.container().get());
            archive.container()->mutableField(QuillarcContainer::Groups).mutableArray().append(Value::object(empty));
        });
        Exporter exporter(archive.get());
        const QString folder = freshPath(QStringLiteral("empty"));
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
        const QString folder = freshPath(QStringLiteral("nothing"));
        const CliRun run = runCli({ QStringLiteral("export"), package, folder });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(
            QString::fromUtf8(run.out), folder + QLatin1Char('/') + Exporter::summaryFileName() + QLatin1Char('\n'));
        const QStringList pages = pageTexts(readFile(folder + QLatin1Char('/') + Exporter::summaryFileName()));
        QCOMPARE(pages.size(), 1);
        QVERIFY(pages[0].contains(QStringLiteral("Records 2026")));
        QVERIFY(pages[0].contains(QStringLiteral("0 %1").arg(text("EXPORT_SUMMARY_FILES"))));
    }

    void commandLine()
    {
        QString package;
        const auto archive = makeArchive(
            { { QStringLiteral("Receipts"), QStringLiteral("A/17"), QStringLiteral("Invoice"), "invoice" },
                { QStringLiteral("Letters"), QString(), QStringLiteral("Letter"), "letter" } },
            &package);
        const QString folder = freshPath(QStringLiteral("cli"));
        CliRun run = runCli({ QStringLiteral("export"), package, folder });
        QCOMPARE(run.exitCode, 0);
        const QStringList lines = QString::fromUtf8(run.out).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines,
            QStringList({ folder + QLatin1Char('/') + copyName(QStringLiteral("Letter.pdf")),
                folder + QLatin1Char('/') + copyName(QStringLiteral("A17_Invoice.pdf")),
                folder + QLatin1Char('/') + Exporter::summaryFileName() }));
        QCOMPARE(readFile(lines[1]), QByteArray("invoice"));

        const QString one = freshPath(QStringLiteral("cli-group"));
        run = runCli({ QStringLiteral("export"), package, one, QStringLiteral("--group"), QStringLiteral("Letters") });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(QDir(one).entryList(QDir::Files).size(), 2);

        run = runCli({ QStringLiteral("export"), package, one, QStringLiteral("--group"), QStringLiteral("Nope") });
        QCOMPARE(run.exitCode, 2);
        const QString blocker = freshPath(QStringLiteral("cli-file"));
        QVERIFY(writeFile(blocker, "file"));
        run = runCli({ QStringLiteral("export"), package, blocker + QStringLiteral("/sub") });
        QCOMPARE(run.exitCode, 2);
        QVERIFY(!run.err.isEmpty());

        QVERIFY(QFile::remove(archive->allDocuments().first()->fileURL()));
        run = runCli({ QStringLiteral("export"), package, freshPath(QStringLiteral("cli-missing")) });
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(QString::fromUtf8(run.err).contains(text("File not found.")), run.err.constData());
    }
};

QTEST_MAIN(TestExport)
#include "tst_export.moc"
