#include "ArchiveFixture.h"
#include "GuiTestMain.h"
#include "app/core/AppDelegate.h"
#include "app/core/Delays.h"
#include "app/core/DocumentController.h"
#include "app/core/RecentDocuments.h"
#include "app/core/UrlRouter.h"
#include "app/window/ArchiveWindow.h"

#include <QSettings>
#include <QSignalSpy>

/// quillarc:// links: how a URL is read, and what the running application
/// does with each command.
class TestGuiUrlCommands : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    static QString flatten(const std::optional<QMap<QString, QString>>& dictionary)
    {
        if (!dictionary)
            return QStringLiteral("<none>");
        QStringList pairs;
        for (auto it = dictionary->cbegin(); it != dictionary->cend(); ++it)
            pairs.append(it.key() + QLatin1Char('=') + it.value());
        return pairs.join(QLatin1Char('|'));
    }

private Q_SLOTS:
    void initTestCase() { Delays::setScaleForTesting(0.01); }
    void init() { QSettings().clear(); }

    void queryDictionary_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("pairs, extra = and a short piece") << "quillarc://action/run?a=1&b=2=3&c" << "a=1|b=2";
        QTest::newRow("no path")                         << "quillarc://action?a=1&b=2"           << "<none>";
        QTest::newRow("query of two characters")         << "quillarc://action/run?ab"            << "<none>";
        QTest::newRow("no query")                        << "quillarc://action/run"               << "<none>";
        QTest::newRow("three characters, no =")          << "quillarc://action/run?abc"           << "";
        QTest::newRow("+& counts as &")                  << "quillarc://action/run?a=1+&b=2"      << "a=1|b=2";
        QTest::newRow("value percent-decoded as UTF-8")  << "quillarc://action/run?name=M%C3%BCller" << "name=Müller";
        QTest::newRow("name kept as written")            << "quillarc://action/run?n%41me=1"      << "n%41me=1";
        QTest::newRow("later pair replaces earlier")     << "quillarc://action/run?a=1&a=2"       << "a=2";
        QTest::newRow("bytes that are not UTF-8")        << "quillarc://action/run?a=1&a=%FF"     << "";
        QTest::newRow("broken escape")                   << "quillarc://action/run?a=%zz&b=22"    << "b=22";
        QTest::newRow("empty value")                     << "quillarc://action/run?ab=&c=1"       << "ab=|c=1";
        QTest::newRow("two-character piece dropped")     << "quillarc://action/run?a=&bb=2"       << "bb=2";
        QTest::newRow("plus stays a plus")               << "quillarc://action/run?q=a+b"         << "q=a+b";
        QTest::newRow("fragment is not query")           << "quillarc://action/run?a=1#top"       << "a=1";
        // clang-format on
    }

    void queryDictionary()
    {
        QFETCH(QString, url);
        QTEST(flatten(UrlRouter::queryDictionary(url)), "expected");
    }

    void commandIsTheLowerCasedHost_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("command");
        QTest::newRow("upper case") << "quillarc://PREFERENCES" << int(UrlRouter::Command::Preferences);
        QTest::newRow("mixed case") << "quillarc://Action/x?a=1" << int(UrlRouter::Command::Action);
        QTest::newRow("userdefaults") << "quillarc://userdefaults" << int(UrlRouter::Command::UserDefaults);
        QTest::newRow("scheme not looked at") << "other://preferences" << int(UrlRouter::Command::Preferences);
        QTest::newRow("unknown") << "quillarc://unknown" << int(UrlRouter::Command::Unknown);
    }

    void commandIsTheLowerCasedHost()
    {
        QFETCH(QString, url);
        QTEST(int(UrlRouter::commandFor(QUrl(url))), "command");
    }

    void linkBringsUpTheRecentArchive()
    {
        const QString path = m_home.freshPath(QStringLiteral("Recent")) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        RecentDocuments::noteNewRecentDocument(path);

        AppDelegate delegate;
        QSignalSpy walked(&delegate, &AppDelegate::urlCommandDone);
        // An unknown command is refused, but the most recent archive has opened all the same.
        QVERIFY(!delegate.handleURL(QStringLiteral("quillarc://unknown")));
        QCOMPARE(delegate.documentController()->documents().size(), 1);
        ArchiveWindow* window = delegate.documentController()->documents().first();
        QTRY_VERIFY(!window->isLoading());
        QCOMPARE(window->document()->packagePath(), path);

        QVERIFY(delegate.handleURL(QStringLiteral("quillarc://PREFERENCES/x?a=1")));
        QVERIFY(delegate.handleURL(QStringLiteral("quillarc://action")));
        QVERIFY(delegate.handleURL(QStringLiteral("quillarc://userdefaults")));
        QTRY_COMPARE(walked.size(), 2);
        // "action" runs at once, "preferences" a moment later.
        QCOMPARE(walked.at(0).at(0).toString(), QStringLiteral("action"));
        QCOMPARE(walked.at(1).at(0).toString(), QStringLiteral("preferences"));
        QCOMPARE(delegate.documentController()->documents().size(), 1);
    }

    void linkWithoutRecentArchiveOpensNothing()
    {
        AppDelegate delegate;
        QVERIFY(delegate.handleURL(QStringLiteral("quillarc://userdefaults")));
        QVERIFY(delegate.documentController()->documents().isEmpty());
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiUrlCommands)
#include "tst_gui_urlcommands.moc"
