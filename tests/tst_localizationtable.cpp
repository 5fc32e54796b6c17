#include "TestSupport.h"
#include "text/KVLocalizationDictionary.h"
#include "text/KVLocalizationTable.h"

#include <QBuffer>
#include <QDir>
#include <QTest>
#include <unistd.h>

namespace {

const QString shippedTable = QString::fromLatin1(KVLocalizationDictionary::defaultTablePath);

QByteArray plist(const QByteArray& items)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>baseItems</key><array>"
        + items + "</array></dict></plist>\n";
}

QByteArray item(const QByteArray& base, const QByteArray& texts)
{
    return "<dict><key>base</key><string>" + base + "</string>" + texts + "</dict>";
}

KVLocalizationTable tableFrom(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    KVLocalizationTable table;
    if (!table.read(&buffer))
        qWarning("table did not read");
    return table;
}

void compareTables(const KVLocalizationTable& a, const KVLocalizationTable& b)
{
    QCOMPARE(a.languages(), b.languages());
    QCOMPARE(a.count(), b.count());
    for (int row = 0; row < a.count(); ++row) {
        QCOMPARE(a.items().at(row).base, b.items().at(row).base);
        QCOMPARE(a.items().at(row).texts, b.items().at(row).texts);
    }
}

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

/// The editor's table: read as tolerantly as the dictionary reads, written in
/// the shipped file's shape, atomically, and read back unchanged.
class TestLocalizationTable : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TemporaryHome> m_home;

private Q_SLOTS:
    void init() { m_home = std::make_unique<TemporaryHome>(); }
    void cleanup() { m_home.reset(); }

    void shippedTableIsWrittenAsShipped()
    {
        KVLocalizationTable table;
        QString error;
        QVERIFY2(table.read(shippedTable, &error), qPrintable(error));
        // Writing the shipped table gives its own bytes back (the writer spells every quotation
        // mark as an entity), so edited tables differ from it only where a text was edited.
        const QString written
            = QString::fromUtf8(table.toPropertyList()).replace(QStringLiteral("&quot;"), QStringLiteral("\""));
        QCOMPARE(written, QString::fromUtf8(readFile(shippedTable)));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("shipped") << readFile(shippedTable);
        QTest::newRow("markup and entities")
            << plist(item("A &amp; B", "<key>de</key><string>&lt;b&gt;fett&lt;/b&gt; &amp; &quot;so&quot;</string>")
                   + item("Quote's", "<key>en</key><string>it's ]]&gt; done</string>"));
        QTest::newRow("beyond latin") << plist(item("EMOJI",
            "<key>de</key><string>Ablage 🗂 „fertig“ – ß</string>"
            "<key>zh-Hans</key><string>归档</string><key>ar</key><string>أرشيف</string>"));
        QTest::newRow("line breaks and tabs")
            << plist(item("LINES", "<key>en</key><string>one\ntwo\n\tindented  two spaces</string>"));
        QTest::newRow("carriage return") << plist(item("CR", "<key>en</key><string>one&#13;\ntwo&#13;three</string>"));
        QTest::newRow("empty text kept") << plist(
            item("EMPTY", "<key>de</key><string></string><key>en</key><string/>"));
        QTest::newRow("only other languages") << plist(item("FR", "<key>fr</key><string>Archive</string>"));
        QTest::newRow("huge text") << plist(
            item("HUGE", "<key>en</key><string>" + QByteArray(1 << 20, 'x') + "</string>"));
    }

    void roundTrip()
    {
        QFETCH(QByteArray, bytes);
        const KVLocalizationTable first = tableFrom(bytes);
        QVERIFY(first.count() > 0);
        const QString path = m_home->path() + QStringLiteral("/table.glossordoc");
        QString error;
        QVERIFY2(first.write(path, &error), qPrintable(error));
        KVLocalizationTable second;
        QVERIFY2(second.read(path, &error), qPrintable(error));
        compareTables(first, second);

        // The dictionary reads the written table exactly as the original.
        QVERIFY(writeFile(m_home->path() + QStringLiteral("/original.glossordoc"), bytes));
        for (const QString& language : first.languages()) {
            const KVLocalizationDictionary original(m_home->path() + QStringLiteral("/original.glossordoc"), language);
            const KVLocalizationDictionary written(path, language);
            QCOMPARE(written.localizationDictionary(), original.localizationDictionary());
        }
    }

    void unreadableTablesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("not a property list") << QByteArray("baseItems = ( { base = OK; } );");
        QTest::newRow("cut off") << plist(item("OK", "<key>de</key><string>OK")).left(80);
        QTest::newRow("root is an array") << QByteArray("<plist><array><dict><key>base</key><string>OK</string>"
                                                        "</dict></array></plist>");
        QTest::newRow("baseItems is text")
            << QByteArray("<plist><dict><key>baseItems</key><string>x</string></dict></plist>");
        QTest::newRow("items are not dictionaries") << plist("<string>OK</string><array/>");
        QTest::newRow("no baseItems") << QByteArray("<plist><dict><key>items</key><array/></dict></plist>");
        QTest::newRow("empty baseItems") << plist("");
        QTest::newRow("no item has a base") << plist("<dict><key>bise</key><string>OK</string><key>fr</key><integer>3</integer></dict>");
    }

    void unreadableTablesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        const QString path = m_home->path() + QStringLiteral("/broken.glossordoc");
        if (!bytes.isNull())
            QVERIFY(writeFile(path, bytes));
        KVLocalizationTable table = tableFrom(plist(item("KEPT", "<key>de</key><string>bleibt</string>")));
        QString error;
        QVERIFY(!table.read(path, &error));
        QVERIFY2(error.startsWith(path + QStringLiteral(": ")) && error.size() > path.size() + 2, qPrintable(error));
        QCOMPARE(table.text(table.indexOfKey(QStringLiteral("KEPT")), QStringLiteral("de")), QStringLiteral("bleibt"));
    }

    void doubtfulEntriesArePassedOverWithALogLine()
    {
        const QByteArray bytes
            = plist(item("TWICE", "<key>de</key><string>alt</string><key>en</key><string>old</string>")
                + item("OTHER",
                    "<key>de</key><string>anders</string><key>English</key><string>no code</string>"
                    "<key>en</key><array/>")
                + "<dict><key>de</key><string>ohne Schlüssel</string></dict>"
                + item("TWICE", "<key>en</key><string>new</string><key>de_DE</key><string>x</string>")
                + item("LAST", "<key>English</key><string>again, logged once</string>"));
        QTest::ignoreMessage(QtWarningMsg, "LOCALIZATION LANGUAGE IGNORED: \"English\" in table");
        QTest::ignoreMessage(QtWarningMsg, "LOCALIZATION VALUE IGNORED: OTHER/en in table");
        QTest::ignoreMessage(QtWarningMsg, "LOCALIZATION ITEM IGNORED: without \"base\" in table");
        QTest::ignoreMessage(QtWarningMsg, "LOCALIZATION LANGUAGE IGNORED: \"de_DE\" in table");
        QTest::ignoreMessage(QtWarningMsg, "LOCALIZATION REPEATED KEY IGNORED: TWICE in table");
        const KVLocalizationTable table = tableFrom(bytes);

        QCOMPARE(table.count(), 3);
        QCOMPARE(table.items().at(0).base, QStringLiteral("TWICE")); // keeps its first place ...
        QCOMPARE(table.text(0, QStringLiteral("en")), QStringLiteral("new")); // ... with the later texts
        QVERIFY(!table.hasText(0, QStringLiteral("de"))); // the later item had none: the key shows, as it does in use
        QCOMPARE(table.languages(), QStringList({ QStringLiteral("de"), QStringLiteral("en") }));
        QVERIFY(!table.hasText(1, QStringLiteral("en")));
    }

    void languageCodes_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("valid");
        // clang-format off
        QTest::newRow("two letters")    << "fr"       << true;
        QTest::newRow("three letters")  << "fil"      << true;
        QTest::newRow("script")         << "zh-Hans"  << true;
        QTest::newRow("region")         << "pt-BR"    << true;
        QTest::newRow("area number")    << "es-419"   << true;
        QTest::newRow("one letter")     << "f"        << false;
        QTest::newRow("four letters")   << "fren"     << false;
        QTest::newRow("upper case")     << "FR"       << false;
        QTest::newRow("full name")      << "French"   << false;
        QTest::newRow("underscore")     << "pt_BR"    << false;
        QTest::newRow("region lower")   << "pt-br"    << false;
        QTest::newRow("script case")    << "zh-hans"  << false;
        QTest::newRow("three parts")    << "zh-Hans-CN" << false;
        QTest::newRow("trailing dash")  << "fr-"      << false;
        QTest::newRow("space")          << "fr "      << false;
        QTest::newRow("umlaut")         << "dä"       << false;
        QTest::newRow("the key column") << "base"     << false;
        QTest::newRow("empty")          << ""         << false;
        // clang-format on
    }

    void languageCodes()
    {
        QFETCH(QString, code);
        QFETCH(bool, valid);
        QCOMPARE(KVLocalizationTable::isLanguageCode(code), valid);
        KVLocalizationTable table = tableFrom(plist(item("K", "<key>de</key><string>k</string>")));
        QCOMPARE(table.addLanguage(code),
            valid ? KVLocalizationTable::AddLanguageResult::Added
                  : KVLocalizationTable::AddLanguageResult::NotALanguageCode);
        QCOMPARE(table.languages().contains(code), valid);
    }

    void editingTexts()
    {
        KVLocalizationTable table = tableFrom(plist(item("K", "<key>de</key><string>k</string>")));
        QCOMPARE(table.addLanguage(QStringLiteral("de")), KVLocalizationTable::AddLanguageResult::AlreadyPresent);
        QVERIFY(!table.setText(0, QStringLiteral("en"), QString())); // clearing an absent text changes nothing
        QVERIFY(!table.hasText(0, QStringLiteral("en")));
        QVERIFY(!table.setText(0, QStringLiteral("fr"), QStringLiteral("x"))); // not a column of the table
        QVERIFY(!table.setText(0, QStringLiteral("de"), QStringLiteral("k")));
        QVERIFY(table.setText(0, QStringLiteral("de"), QString()));
        QVERIFY(table.hasText(0, QStringLiteral("de"))); // an emptied text stays, empty
        QVERIFY(table.setText(0, QStringLiteral("en"), QStringLiteral("a\u0001b\u0000c\U0001F5C2\xd800")));
        QCOMPARE(table.text(0, QStringLiteral("en")), QStringLiteral("abc\U0001F5C2"));
        compareTables(tableFrom(table.toPropertyList()), table);
    }

    void writesAtomicallyOrNamesThePathAndLeavesNothing()
    {
        KVLocalizationTable table = tableFrom(plist(item("K", "<key>de</key><string>k</string>")));
        const QString folder = m_home->path() + QStringLiteral("/out");
        QVERIFY(writeFile(folder + QStringLiteral("/Table.glossordoc"), "old"));
        QString error;
        QVERIFY2(table.write(folder + QStringLiteral("/Table.glossordoc"), &error), qPrintable(error));
        QCOMPARE(readFile(folder + QStringLiteral("/Table.glossordoc")), table.toPropertyList());
        QCOMPARE(filesIn(folder), QStringList { QStringLiteral("Table.glossordoc") });

        // Below a regular file: refused even for root.
        const QString file = m_home->path() + QStringLiteral("/plain-file");
        QVERIFY(writeFile(file, "x"));
        QVERIFY(!table.write(file + QStringLiteral("/Table.glossordoc"), &error));
        QCOMPARE(error, file + QStringLiteral("/Table.glossordoc: Not a directory"));
        QCOMPARE(readFile(file), QByteArray("x"));

        const QString missing = m_home->path() + QStringLiteral("/no-such-folder/Table.glossordoc");
        QVERIFY(!table.write(missing, &error));
        QCOMPARE(error, missing + QStringLiteral(": No such file or directory"));

        if (::geteuid() == 0)
            QSKIP("root writes into read-only folders");
        const QString locked = m_home->path() + QStringLiteral("/locked");
        QVERIFY(QDir().mkpath(locked));
        QVERIFY(QFile::setPermissions(locked, QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(!table.write(locked + QStringLiteral("/Table.glossordoc"), &error));
        QCOMPARE(error, locked + QStringLiteral("/Table.glossordoc: Permission denied"));
        QVERIFY(filesIn(locked).isEmpty());
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void userCopyIsLoadedInPlaceOfTheShippedTable()
    {
        const QString user = KVLocalizationDictionary::userTablePath();
        QVERIFY(user.startsWith(m_home->path()));
        QVERIFY(user.endsWith(QStringLiteral("/Quillarc/LocalizationDictionary.glossordoc")));
        QCOMPARE(KVLocalizationDictionary::resolvedTablePath(user, shippedTable), shippedTable);

        QVERIFY(writeFile(user, plist(item("OK", "<key>en</key><string>Fine</string>"))));
        QCOMPARE(KVLocalizationDictionary::resolvedTablePath(user, shippedTable), user);
        const KVLocalizationDictionary next(
            KVLocalizationDictionary::resolvedTablePath(user, shippedTable), QStringLiteral("en"));
        QCOMPARE(next.localizedStringForDictionaryString(QStringLiteral("OK")), QStringLiteral("Fine"));
    }

    void brokenUserCopyFallsBackWithALogLine_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        QTest::newRow("not a property list")
            << QByteArray("\x89PNG\r\n") << "line 1: Encountered incorrectly encoded content.";
        QTest::newRow("wrong shape") << QByteArray("<plist><array/></plist>") << "no \"baseItems\"";
        QTest::newRow("no baseItems") << QByteArray("<plist><dict/></plist>") << "no \"baseItems\"";
    }

    void brokenUserCopyFallsBackWithALogLine()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);
        const QString user = KVLocalizationDictionary::userTablePath();
        QVERIFY(writeFile(user, bytes));
        QTest::ignoreMessage(
            QtWarningMsg, qPrintable(QStringLiteral("LOCALIZATION TABLE IGNORED: %1 (%2)").arg(user, reason)));
        QCOMPARE(KVLocalizationDictionary::resolvedTablePath(user, shippedTable), shippedTable);
    }
};

QTEST_GUILESS_MAIN(TestLocalizationTable)
#include "tst_localizationtable.moc"
