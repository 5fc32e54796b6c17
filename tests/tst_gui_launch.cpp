#include "GuiTestMain.h"
#include "GuiTestSupport.h"
#include "app/core/AppDelegate.h"
#include "app/core/AppSettings.h"
#include "app/core/AppStartup.h"
#include "app/core/Delays.h"
#include "app/core/DocumentController.h"
#include "app/core/RecentDocuments.h"
#include "store/KeyedArchiver.h"
#include "store/KeyedUnarchiver.h"

#include <QSettings>
#include <unistd.h>

/// What the application opens: at launch, from arguments and links of other
/// processes, from the recent list and the open dialog, and what happens
/// when an archive does not open.
class TestGuiLaunch : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    QString archive(const QString& stem)
    {
        const QString path = m_home.freshPath(stem) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        return path;
    }

    /// Rewrites the database with some entries replaced, as another program
    /// (a newer version, another computer) would have left it.
    static void rewriteDatabase(const QString& path, const ValueMap& replaced)
    {
        const QString database = QDir(path).filePath(QLatin1String(Document::databaseName));
        ValueMap entries = KeyedUnarchiver::unarchiveObjectWithData(readFile(database)).toDictionary();
        QVERIFY(!entries.isEmpty());
        for (auto it = replaced.cbegin(); it != replaced.cend(); ++it)
            entries.insert(it.key(), it.value());
        QVERIFY(writeFile(database, KeyedArchiver::archivedDataWithRootObject(Value::dictionary(entries, false))));
    }

    static QList<ArchiveWindow*> windows(AppDelegate& delegate) { return delegate.documentController()->documents(); }

    /// Archives are read off the main thread: true once every window holds its archive.
    static bool allLoaded(AppDelegate& delegate)
    {
        const QList<ArchiveWindow*> all = windows(delegate);
        return std::none_of(all.begin(), all.end(), [](ArchiveWindow* window) { return window->isLoading(); });
    }

private Q_SLOTS:
    void initTestCase() { Delays::setScaleForTesting(0.01); }
    void init()
    {
        QSettings().clear();
        MessageBox::takeAskedAlerts();
    }

    void everyStartWritesTheUpdateAndPrintingDefaults()
    {
        QSettings settings;
        settings.setValue(AppSettings::enableAutomaticChecks, true);
        settings.setValue(AppSettings::skippedVersion, QStringLiteral("2.3"));
        AppStartup::writeLaunchDefaults(settings);
        QCOMPARE(settings.value(AppSettings::enableAutomaticChecks), QVariant(false));
        QCOMPARE(settings.value(AppSettings::allowsAutomaticUpdates), QVariant(false));
        QVERIFY(!settings.contains(AppSettings::skippedVersion));
        QCOMPARE(settings.value(AppSettings::printingExpanded), QVariant(true));
    }

    void openDialogTakesThePackageOrItsDatabase()
    {
        const QString path = archive(QStringLiteral("Dialog"));
        AppDelegate delegate;
        FileDialog::setNextFileName(path + QStringLiteral("/Quillarc.qldb"));
        delegate.openDocument(nullptr);
        QTRY_VERIFY(windows(delegate).size() == 1 && allLoaded(delegate));
        QCOMPARE(windows(delegate).first()->document()->packagePath(), path);
        QVERIFY(FileDialog::takeAskedDialogs().first().acceptPackages);
        FileDialog::setNextCancel();
        delegate.openDocument(nullptr);
        QCoreApplication::processEvents(); // the prepared Cancel arrives
        QCOMPARE(windows(delegate).size(), 1);
    }

    void helpLinksFollowTheLanguage_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("support");
        QTest::addColumn<QString>("manual");
        // clang-format off
        QTest::newRow("de") << "de" << "https://quillarc.tessary.de/support/"    << "https://quillarc.tessary.de/handbuch/";
        QTest::newRow("en") << "en" << "https://quillarc.tessary.de/en/support/" << "https://quillarc.tessary.de/en/manual/";
        // clang-format on
    }

    void helpLinksFollowTheLanguage()
    {
        QFETCH(QString, language);
        GuiTest::useLanguage(language);
        AppDelegate delegate;
        QStringList opened;
        delegate.setUrlOpener([&opened](const QUrl& url) {
            opened.append(url.toString());
            return true;
        });
        delegate.openSupportWebsite();
        delegate.openManualWebsite();
        GuiTest::useLanguage(QStringLiteral("en"));
        QFETCH(QString, support);
        QFETCH(QString, manual);
        QCOMPARE(opened, QStringList({ support, manual }));
    }

    void laterStartReopensTheMostRecentArchive()
    {
        const QString older = archive(QStringLiteral("Older"));
        const QString newer = archive(QStringLiteral("Newer"));
        RecentDocuments::noteNewRecentDocument(older);
        RecentDocuments::noteNewRecentDocument(newer);
        AppDelegate delegate;
        delegate.launch({}, m_home.path());
        QCOMPARE(windows(delegate).size(), 1);
        QVERIFY(windows(delegate).first()->isVisible()); // at once, while the archive is read
        QTRY_VERIFY(allLoaded(delegate));
        QCOMPARE(windows(delegate).first()->document()->packagePath(), newer);
    }

    void recentListKeepsTenPresentArchives()
    {
        QStringList paths;
        for (int i = 0; i < 12; ++i) {
            paths.append(archive(QStringLiteral("Recent")));
            RecentDocuments::noteNewRecentDocument(paths.last());
        }
        RecentDocuments::noteNewRecentDocument(
            paths.at(5) + QStringLiteral("/Quillarc.qldb")); // the database names its package
        QStringList recent = RecentDocuments::recentDocumentURLs();
        QCOMPARE(recent.size(), 10);
        QCOMPARE(recent.first(), paths.at(5));
        QCOMPARE(recent.at(1), paths.at(11));
        QVERIFY(!recent.contains(paths.at(0)) && !recent.contains(paths.at(1)));

        QVERIFY(QDir(paths.at(11)).removeRecursively());
        recent = RecentDocuments::recentDocumentURLs();
        QCOMPARE(recent.size(), 9);
        QVERIFY(!recent.contains(paths.at(11)));
        QCOMPARE(QSettings().value(AppSettings::recentDocuments).toStringList(), recent);
    }

    void archiveAlreadyOpenIsBroughtToTheFront()
    {
        const QString path = archive(QStringLiteral("Once"));
        AppDelegate delegate;
        ArchiveWindow* first = nullptr;
        ArchiveWindow* second = nullptr;
        delegate.documentController()->openDocumentWithContentsOfURL(
            path, true, [&first](ArchiveWindow* window, const DocumentError&, bool) { first = window; });
        delegate.documentController()->openDocumentWithContentsOfURL(path + QStringLiteral("/Quillarc.qldb"), true,
            [&second](ArchiveWindow* window, const DocumentError&, bool) { second = window; });
        QTRY_VERIFY(first && second);
        QCOMPARE(second, first);
        QCOMPARE(windows(delegate).size(), 1);
        QCOMPARE(RecentDocuments::recentDocumentURLs().first(), path);
    }

    void archivesThatDoNotOpenAreExplained_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("explanation");
        // clang-format off
        QTest::newRow("folder gone")      << "gone"        << "no such folder";
        QTest::newRow("no database")      << "no database" << "Quillarc.qldb";
        QTest::newRow("damaged database") << "damaged"     << "is damaged";
        QTest::newRow("newer format")     << "newer"       << text("PLEASE_UPDATE_TO_LATEST_HINT");
        // clang-format on
    }

    void archivesThatDoNotOpenAreExplained()
    {
        QFETCH(QString, damage);
        const QString path = archive(QStringLiteral("Broken"));
        const QString database = QDir(path).filePath(QLatin1String(Document::databaseName));
        if (damage == QLatin1String("gone"))
            QVERIFY(QDir(path).removeRecursively());
        else if (damage == QLatin1String("no database"))
            QVERIFY(QFile::remove(database));
        else if (damage == QLatin1String("damaged"))
            QVERIFY(writeFile(database, "bplist00 this is no archive"));
        else
            rewriteDatabase(path, { { QStringLiteral("db_version"), Value::real(2.01, true) } });
        const QByteArray before = readFile(database);

        AppDelegate delegate;
        MessageBox::setNextAnswer(0);
        delegate.openRecentDocument(path, nullptr);
        QTRY_VERIFY(windows(delegate).isEmpty());
        const QStringList alerts = MessageBox::takeAskedAlerts();
        QCOMPARE(alerts.size(), 1);
        QVERIFY(alerts.first().startsWith(text("DOCUMENT_OPEN_ERROR.")));
        QFETCH(QString, explanation);
        QVERIFY2(alerts.first().contains(explanation), qPrintable(alerts.first()));
        QCOMPARE(readFile(database), before); // nothing was written to it
    }

    void readOnlyArchiveOpensWithAWarning()
    {
        if (::geteuid() == 0)
            QSKIP("file permissions do not bind the superuser");
        const QString path = archive(QStringLiteral("ReadOnly"));
        const QString database = QDir(path).filePath(QLatin1String(Document::databaseName));
        QFile::setPermissions(database, QFileDevice::ReadOwner);
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        AppDelegate delegate;
        MessageBox::setNextAnswer(0);
        delegate.openRecentDocument(path, nullptr);
        QTRY_VERIFY(allLoaded(delegate));
        QCOMPARE(windows(delegate).size(), 1);
        QVERIFY(MessageBox::takeAskedAlerts().value(0).startsWith(text("ARCHIVE_READ_ONLY_TITLE")));
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    void archiveOpenElsewhereAsksFirst()
    {
        const QString path = archive(QStringLiteral("Elsewhere"));
        rewriteDatabase(path,
            { { QStringLiteral("isAlreadyOpen"), Value::boolean(true) },
                { QStringLiteral("host"), Value::string(QStringLiteral("office-pc (Erika Muster)")) } });
        AppDelegate delegate;
        bool quit = false;
        delegate.setQuitHandler([&quit] { quit = true; });

        // Quit: nothing opens and the application quits a moment later.
        MessageBox::setNextAnswer(0);
        delegate.openRecentDocument(path, nullptr);
        QTRY_VERIFY(windows(delegate).isEmpty());
        QStringList alerts = MessageBox::takeAskedAlerts();
        QCOMPARE(alerts.size(), 1);
        QVERIFY(alerts.first().startsWith(text("Warning!")));
        QVERIFY(alerts.first().contains(QStringLiteral("\"office-pc (Erika Muster)\"")));
        QTRY_VERIFY(quit);

        // Continue: the archive opens and carries this computer's mark.
        MessageBox::setNextAnswer(1);
        delegate.openRecentDocument(path, nullptr);
        QTRY_VERIFY(allLoaded(delegate));
        QCOMPARE(windows(delegate).size(), 1);
        QCOMPARE(windows(delegate).first()->document()->host(), Document::currentHostText());
    }

    void launchArgumentsOpenArchives()
    {
        const QString path = archive(QStringLiteral("Argument"));
        AppDelegate delegate;
        delegate.launch({ QFileInfo(path).fileName() }, QFileInfo(path).absolutePath());
        QCOMPARE(windows(delegate).size(), 1);
        QTRY_VERIFY(allLoaded(delegate));
        QCOMPARE(windows(delegate).first()->document()->packagePath(), path);

        // Only a file named exactly "quillarcdoc" opens through the open-file question.
        QVERIFY(!delegate.applicationOpenFile(path));
        const QString named = m_home.freshPath(QStringLiteral("folder")) + QStringLiteral("/quillarcdoc");
        ArchiveFixture fixture(named);
        QVERIFY(delegate.applicationOpenFile(named));
        QCOMPARE(windows(delegate).size(), 2);
        QTRY_VERIFY(allLoaded(delegate));
    }

    void launchWithAnArchiveThatDoesNotOpenOffersAWayOn()
    {
        AppDelegate delegate;
        MessageBox::setNextAnswer(0); // New Archive
        delegate.launch({ m_home.freshPath(QStringLiteral("Missing")) + QStringLiteral(".quillarc") }, m_home.path());
        QTRY_VERIFY(windows(delegate).size() == 1 && windows(delegate).first()->isUntitled());
        QCOMPARE(MessageBox::takeAskedAlerts().size(), 1);
    }

    void firstStartMakesANewArchiveAndLaterStartsReachIt()
    {
        AppDelegate delegate;
        delegate.launch({}, m_home.path());
        QCOMPARE(windows(delegate).size(), 1);
        QVERIFY(windows(delegate).first()->isUntitled());
        QVERIFY(windows(delegate).first()->isVisible());
        QVERIFY(delegate.applicationHasStarted());
        // Later, asking for an untitled archive means a new one.
        QVERIFY(delegate.applicationShouldOpenUntitledFile());
        // Started again without arguments while a window is open: nothing new.
        delegate.openArguments({}, m_home.path());
        QCOMPARE(windows(delegate).size(), 1);

        const QString path = archive(QStringLiteral("Forwarded"));
        delegate.openArguments({ path, QStringLiteral("quillarc://userdefaults") }, m_home.path());
        QCOMPARE(windows(delegate).size(), 2);
        QTRY_VERIFY(allLoaded(delegate));

        // With every window closed, a start without arguments makes a new archive.
        delegate.setQuitHandler([] {});
        FileDialog::setNextCancel(); // the new archive is not saved...
        MessageBox::setNextAnswer(1); // ...but discarded
        bool closed = false;
        delegate.documentController()->closeAll([&closed](bool all) { closed = all; });
        QTRY_VERIFY(closed);
        delegate.openArguments({}, m_home.path());
        QCOMPARE(windows(delegate).size(), 1);
        QVERIFY(windows(delegate).first()->isUntitled());
    }

    void lastWindowRule_data()
    {
        QTest::addColumn<bool>("closingAllowed");
        QTest::addColumn<bool>("companyCheck");
        QTest::addColumn<bool>("quits");
        QTest::newRow("by default the application stays") << false << false << false;
        QTest::newRow("one switch is not enough") << true << false << false;
        QTest::newRow("both switches") << true << true << true;
    }

    void lastWindowRule()
    {
        QFETCH(bool, closingAllowed);
        QFETCH(bool, companyCheck);
        QSettings().setValue(AppSettings::lastWindowClosingAllowed, closingAllowed);
        QSettings().setValue(AppSettings::companyCheck, companyCheck);
        const QString path = archive(QStringLiteral("Last"));
        AppDelegate delegate;
        bool quit = false;
        delegate.setQuitHandler([&quit] { quit = true; });
        delegate.launch({ path }, m_home.path());
        QTRY_VERIFY(allLoaded(delegate));
        QPointer<ArchiveWindow> window = windows(delegate).first();
        window->close();
        QTRY_VERIFY(window.isNull());
        QTEST(quit, "quits");
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiLaunch)
#include "tst_gui_launch.moc"
