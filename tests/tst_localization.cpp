#include "TestSupport.h"
#include "text/KVLocalizationDictionary.h"

#include <QSet>
#include <QSettings>
#include <QTest>

namespace {

const QString shippedTable = QString::fromLatin1(KVLocalizationDictionary::defaultTablePath);

QByteArray item(const QByteArray& base, const QList<QPair<QByteArray, QByteArray>>& texts)
{
    QByteArray xml = "<dict><key>base</key><string>" + base + "</string>";
    for (const auto& [language, text] : texts)
        xml += "<key>" + language + "</key>" + text;
    return xml + "</dict>\n";
}

QByteArray str(const QByteArray& text)
{
    return "<string>" + text + "</string>";
}

} // namespace

class TestLocalization : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home; // the shared instance reads the application settings: keep them away from the user's
    QString m_tablePath;

private Q_SLOTS:
    void initTestCase()
    {
        m_tablePath = m_home.path() + QStringLiteral("/table.glossordoc");
        // Duplicates, empty texts, missing languages and unexpected value types in one small table.
        const QByteArray xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                               "<key>version</key><integer>3</integer><key>baseItems</key><array>\n"
            + item("Info_Main",
                { { "de", str("Hauptansicht") }, { "en", str("Main view") }, { "pt", str("Vista principal") } })
            + item("EMPTY_GERMAN", { { "de", str("") }, { "en", str("Has English") } })
            + item("TWICE", { { "de", str("alt") }, { "en", str("old") } })
            + item("TWICE", { { "de", str("neu") }, { "en", str("new") } })
            + item("DROPPED", { { "de", str("früher") }, { "en", str("earlier") } })
            + item("DROPPED", { { "en", str("English only") } })
            + item("NOT_TEXT", { { "de", "<true/>" }, { "en", str("text") } })
            + item("A &amp; B", { { "de", str("A &lt;und&gt; B") } })
            + "<string>not an item</string></array></dict></plist>\n";
        QVERIFY(writeFile(m_tablePath, xml));
    }

    void lookup_data()
    {
        QTest::addColumn<QString>("preferred");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("de-DE gives German")    << "de-DE"   << "Info_Main"    << "Hauptansicht";
        QTest::newRow("de")                    << "de"      << "Info_Main"    << "Hauptansicht";
        QTest::newRow("pt-BR gives pt")        << "pt-BR"   << "Info_Main"    << "Vista principal";
        QTest::newRow("full name")             << "English" << "Info_Main"    << "Main view";
        QTest::newRow("ja not carried")        << "ja"      << "Info_Main"    << "Info_Main";
        QTest::newRow("ja-JP not carried")     << "ja-JP"   << "TWICE"        << "TWICE";
        QTest::newRow("empty text shows key")  << "de-DE"   << "EMPTY_GERMAN" << "EMPTY_GERMAN";
        QTest::newRow("empty text other lang") << "en-GB"   << "EMPTY_GERMAN" << "Has English";
        QTest::newRow("later replaces")        << "de"      << "TWICE"        << "neu";
        QTest::newRow("missing lang removes")  << "de"      << "DROPPED"      << "DROPPED";
        QTest::newRow("later item kept")       << "en"      << "DROPPED"      << "English only";
        QTest::newRow("non-text value")        << "de"      << "NOT_TEXT"     << "NOT_TEXT";
        QTest::newRow("entities")              << "de"      << "A & B"        << "A <und> B";
        QTest::newRow("unknown key")           << "de"      << "NO_SUCH_KEY"  << "NO_SUCH_KEY";
        // clang-format on
    }
    void lookup()
    {
        QFETCH(QString, preferred);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        const KVLocalizationDictionary dictionary(
            m_tablePath, KVLocalizationDictionary::languageForPreferredLanguage(preferred));
        QCOMPARE(dictionary.localizedStringForDictionaryString(key), expected);
    }

    // Both directions in one table: "code" is what an entry of the preferred languages reduces to,
    // "full" what fullLanguageForLanguage() gives for "entry".
    void languageNames_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("full");
        // clang-format off
        QTest::newRow("two parts")   << "de-DE"        << "de"           << "Unknown";
        QTest::newRow("three parts") << "zh-Hans-CN"   << "zh-Hans"      << "Unknown";
        QTest::newRow("four whole")  << "sr-Latn-RS-x" << "sr-Latn-RS-x" << "Unknown";
        QTest::newRow("empty")       << ""             << ""             << "Unknown";
        QTest::newRow("other name")  << "Japanese"     << "Japanese"     << "Unknown";
        // clang-format on
        // Languages with a table column of their own have a full name; the others reduce to their code only.
        const QList<std::pair<const char*, const char*>> carried = { { "de", "German" }, { "en", "English" },
            { "nl", "Dutch" }, { "fr", "French" }, { "es", "Spanish" }, { "it", "Italian" }, { "da", "Danish" } };
        for (const auto& [code, name] : carried) {
            QTest::newRow(code) << code << code << name;
            QTest::newRow(name) << name << code << "Unknown";
        }
        const QList<std::pair<const char*, const char*>> codeOnly
            = { { "sv", "Swedish" }, { "pt", "Portuguese" }, { "fi", "Finnish" }, { "nb", "Norwegian" } };
        for (const auto& [code, name] : codeOnly) {
            QTest::newRow(code) << code << code << "Unknown";
            QTest::newRow(name) << name << code << code;
        }
    }
    void languageNames()
    {
        QFETCH(QString, entry);
        QFETCH(QString, code);
        QFETCH(QString, full);
        QCOMPARE(KVLocalizationDictionary::languageForPreferredLanguage(entry), code);
        QCOMPARE(KVLocalizationDictionary::fullLanguageForLanguage(entry), full);
    }

    void unreadableTableGivesKeys_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("not xml") << QByteArray("baseItems = ( );");
        QTest::newRow("cut off") << QByteArray("<plist><dict><key>baseItems</key><array><dict><key>base</key>"
                                               "<string>Info_Main</string><key>de</key><string>Haupt</string>");
        QTest::newRow("no baseItems") << QByteArray("<plist><dict><key>items</key><array/></dict></plist>");
        QTest::newRow("root not plist") << QByteArray("<dict><key>baseItems</key><array/></dict>");
    }
    void unreadableTableGivesKeys()
    {
        QFETCH(QByteArray, content);
        const QString path = m_home.path() + QStringLiteral("/broken.glossordoc");
        QFile::remove(path);
        if (!content.isNull())
            QVERIFY(writeFile(path, content));
        QString error;
        QVERIFY(KVLocalizationDictionary::tableItems(path, &error).isEmpty());
        QVERIFY(!error.isEmpty());
        const KVLocalizationDictionary dictionary(path, QStringLiteral("de"));
        QVERIFY(dictionary.localizationDictionary().isEmpty());
        QCOMPARE(
            dictionary.localizedStringForDictionaryString(QStringLiteral("Info_Main")), QStringLiteral("Info_Main"));
    }

    void reloadReadsTheTableAgain()
    {
        const QString path = m_home.path() + QStringLiteral("/edited.glossordoc");
        const auto write = [&path](const QByteArray& items) {
            return writeFile(path, "<plist><dict><key>baseItems</key><array>" + items + "</array></dict></plist>");
        };
        const auto text = [](const KVLocalizationDictionary& d) { return d.localizedStringForDictionaryString("K"); };
        QVERIFY(write(item("K", { { "de", str("eins") } })));
        KVLocalizationDictionary dictionary(path, QStringLiteral("de"));
        QCOMPARE(text(dictionary), QStringLiteral("eins"));

        QVERIFY(write(item("K", { { "de", str("zwei") }, { "en", str("two") } })));
        QCOMPARE(text(dictionary), QStringLiteral("eins"));
        dictionary.reloadLocalizationDictionary();
        QCOMPARE(text(dictionary), QStringLiteral("zwei"));
        dictionary.setLanguage(QStringLiteral("en"));
        dictionary.reloadLocalizationDictionary();
        QCOMPARE(text(dictionary), QStringLiteral("two"));
    }

    void preferredLanguageFollowsSettings()
    {
        QSettings settings(QStringLiteral("Tessary"), QStringLiteral("Quillarc"));
        const auto preferredWith = [&settings](const QStringList& languages) {
            settings.setValue(QStringLiteral("AppleLanguages"), languages);
            settings.sync();
            return KVLocalizationDictionary::preferredLanguage();
        };
        QCOMPARE(preferredWith({ QStringLiteral("de-DE"), QStringLiteral("en") }), QStringLiteral("de"));
        QCOMPARE(preferredWith({ QStringLiteral("Norwegian") }), QStringLiteral("nb"));
        // Without the setting the system's languages decide; there is always some language.
        QVERIFY(!preferredWith({}).isEmpty());
        settings.remove(QStringLiteral("AppleLanguages"));
    }

    void localizedStringUsesTheSharedInstance()
    {
        KVLocalizationDictionary& shared = KVLocalizationDictionary::sharedLocalizationDictionary();
        QCOMPARE(&shared, &KVLocalizationDictionary::sharedLocalizationDictionary());
        const QHash<QString, QString> saved = shared.localizationDictionary();
        shared.setLocalizationDictionary({ { QStringLiteral("Info"), QStringLiteral("Auskunft") },
            { QStringLiteral("Main"), QStringLiteral("Haupt.Sache") }, { QStringLiteral("Blank"), QString() } });

        QCOMPARE(localizedString(QStringLiteral("Info")), QStringLiteral("Auskunft"));
        QCOMPARE(localizedString(QStringLiteral("Blank")), QStringLiteral("Blank"));
        QVERIFY(!localizedString(QStringLiteral("")).isNull());
        QCOMPARE(localizedString(QStringLiteral("")), QStringLiteral(""));
        QCOMPARE(localizedKeyPath(QStringLiteral("Info.Main")), QStringLiteral("Auskunft.Haupt.Sache"));
        QCOMPARE(localizedKeyPath(QStringLiteral("Info.Unknown")), QStringLiteral("Auskunft.Unknown"));
        QCOMPARE(localizedKeyPath(QStringLiteral("Info.")), QStringLiteral("Auskunft."));
        shared.setLocalizationDictionary(saved);
    }

    // The shipped table: every item complete in German and English, no key twice, the keys the code uses present.
    // Help popover texts go through an ISO Latin 1 encoder; anything outside it would blank the popover.
    void shippedTableIsComplete()
    {
        QString error;
        const QList<QVariantMap> items = KVLocalizationDictionary::tableItems(shippedTable, &error);
        QVERIFY2(!items.isEmpty(), qPrintable(error));
        QSet<QString> bases;
        for (const QVariantMap& entry : items) {
            const QString base = entry.value(QStringLiteral("base")).toString();
            QVERIFY2(!base.isEmpty() && !bases.contains(base), qPrintable(QStringLiteral("empty or twice: ") + base));
            bases.insert(base);
            // Info_General is logged, never shown as HTML.
            const bool help = (base.startsWith(QLatin1String("Info_")) && base != QLatin1String("Info_General"))
                || base == QLatin1String("HELP_INFO_LINK");
            for (const QString& language : { QStringLiteral("de"), QStringLiteral("en") }) {
                const QVariant text = entry.value(language);
                QVERIFY2(text.typeId() == QMetaType::QString && !text.toString().isEmpty(),
                    qPrintable(base + QStringLiteral(" lacks ") + language));
                for (const QChar c : text.toString())
                    QVERIFY2(!help || c.unicode() <= 0xFF, qPrintable(base + QLatin1Char('/') + language));
            }
        }
        for (const QString& language : { QStringLiteral("de"), QStringLiteral("en") })
            QCOMPARE(KVLocalizationDictionary(shippedTable, language).localizationDictionary().size(), bases.size());
        for (const char* key : { "INTEGRITY_STRING_VALIDATING", "INTEGRITY_LOG_CORRUPTED_FAIL", "Info_General",
                 "Info_Main", "Info_Default", "Quit_App", "Continue…", "Warning!", "DOCUMENT_OPEN_ERROR.",
                 "NEW_CONTAINER_TITLE", "NEW_GROUP_TITLE", "PRINTOUT_LOCALIZED_ELLIPSES", "LOG_ACTION_CREATED",
                 "LOG_FILE_SIZE", "CEATED_WITH_APPNAME", "COMPLETE_LOG", "FILE_COPY_LABEL", "BOOL_STRING_TRUE",
                 "You need to name and save the current Quillarc document first.", "File format not supported." })
            QVERIFY2(bases.contains(QString::fromUtf8(key)), key);
    }
};

QTEST_GUILESS_MAIN(TestLocalization)
#include "tst_localization.moc"
