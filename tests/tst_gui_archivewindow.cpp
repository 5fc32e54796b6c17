#include "GuiTestMain.h"
#include "GuiTestSupport.h"
#include "app/core/Delays.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/TitleStrip.h"
#include "app/window/WelcomeDuration.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"

#include <QDirIterator>
#include <QSettings>
#include <QSignalSpy>
#include <QStackedWidget>

/// An archive window from set-up to closing: the welcome screen and its
/// duration, edit tracking, saving a new archive, and the save that every
/// close makes first.
class TestGuiArchiveWindow : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    QString fixture(const QString& stem)
    {
        const QString path = m_home.freshPath(stem) + QStringLiteral(".quillarc");
        ArchiveFixture archive(path);
        archive.archive().container()->setField(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Belege")));
        archive.archive().preferences()->setField(QuillarcPreferences::IsSetupDone, Value::boolean(true));
        archive.addGroup(QStringLiteral("2024"));
        archive.save();
        return path;
    }

    static std::unique_ptr<ArchiveWindow> open(const QString& path) { return GuiTest::openArchiveWindow(path); }

    static std::unique_ptr<Document> onDisk(const QString& path) { return ArchiveFixture::reopen(path); }

private Q_SLOTS:
    void initTestCase() { Delays::setScaleForTesting(0.01); }

    void init()
    {
        QSettings().clear();
        WelcomeDuration::setDurationOverride(std::nullopt);
        WelcomeDuration::setRandomSource({});
        GuiTest::forgetAskedDialogs();
    }

    void welcomeDuration_data()
    {
        QTest::addColumn<bool>("setupDone");
        QTest::addColumn<quint32>("r1");
        QTest::addColumn<quint32>("r2");
        QTest::addColumn<float>("expected");
        // clang-format off
        QTest::newRow("first start, longest")   << false << 1u << 0u          << 1.0f + 1.0f / 0.23f;
        QTest::newRow("first start, shortest")  << false << 1u << 8u          << 1.0f + 1.0f / 8.23f;
        QTest::newRow("set up, base 2, longest") << true << 1u << 9u          << 2.0f + 1.0f / 0.23f;
        QTest::newRow("set up, base 1")          << true << 0u << 17u         << 1.0f + 1.0f / 8.23f;
        QTest::newRow("largest numbers")         << true << 0xffffffffu << 0xffffffffu << 2.0f + 1.0f / 3.23f;
        // clang-format on
    }

    void welcomeDuration()
    {
        QFETCH(bool, setupDone);
        QFETCH(quint32, r1);
        QFETCH(quint32, r2);
        QList<quint32> draws = { r1, r2 };
        const float duration = WelcomeDuration::duration(setupDone, [&draws] { return draws.takeFirst(); });
        QVERIFY(draws.isEmpty()); // two numbers, drawn in order
        QTEST(duration, "expected");
    }

    void welcomeDurationStaysWithinItsBounds()
    {
        const auto random = WelcomeDuration::randomSource();
        for (int i = 0; i < 2000; ++i) {
            const float duration = WelcomeDuration::duration(i % 2, random);
            QVERIFY2(duration > 1.12f && duration < 6.35f, qPrintable(QString::number(duration)));
        }
    }

    void welcomeGivesWayToTheMainView()
    {
        QList<quint32> draws = { 0, 0 }; // 1 + 1/0.23 s, scaled down
        WelcomeDuration::setRandomSource([&draws] { return draws.isEmpty() ? 0u : draws.takeFirst(); });
        const std::unique_ptr<ArchiveWindow> window = open(fixture(QStringLiteral("Welcome")));
        QVERIFY(window);
        QSignalSpy loaded(window.get(), &ArchiveWindow::mainViewLoaded);
        QVERIFY(!window->welcomeView());

        QTRY_VERIFY(window->welcomeView());
        WelcomeView* welcome = window->welcomeView();
        QCOMPARE(welcome->version(), localizedString(QStringLiteral("APPNAME")));
        QCOMPARE(welcome->claim(), localizedString(QStringLiteral("App_Claim")));
        QVERIFY(welcome->copyright().contains(QStringLiteral("Tessary")));
        QCOMPARE(window->docView()->currentWidget(), welcome);
        QVERIFY(window->mainView() == nullptr);
        QVERIFY(draws.isEmpty());
        QTRY_VERIFY(welcome->progress() > 0.2); // the tick timer fills the bar

        QTRY_COMPARE(loaded.size(), 1);
        QVERIFY(window->isMainViewLoaded());
        QCOMPARE(window->docView()->currentWidget(), window->mainView());
        QCOMPARE(window->titlebarView()->toolbar(), window->mainView()->toolbarView());
        QVERIFY(welcome->progress() <= 1.0 + 0.0109);
    }

    void changeTypesAndTheEditedMark_data()
    {
        QTest::addColumn<QList<int>>("changes");
        QTest::addColumn<bool>("dirty");
        using C = ArchiveWindow::ChangeType;
        // clang-format off
        QTest::newRow("done")                 << QList<int> { int(C::Done) }                        << true;
        QTest::newRow("undone")               << QList<int> { int(C::Undone) }                      << true;
        QTest::newRow("redone")               << QList<int> { int(C::Redone) }                      << true;
        QTest::newRow("read other contents")  << QList<int> { int(C::ReadOtherContents) }           << true;
        QTest::newRow("cleared after done")   << QList<int> { int(C::Done), int(C::Cleared) }       << true;
        QTest::newRow("autosaved after done") << QList<int> { int(C::Done), int(C::Autosaved) }     << false;
        QTest::newRow("discardable")          << QList<int> { int(C::Discardable) }                 << false;
        QTest::newRow("done after autosaved") << QList<int> { int(C::Autosaved), int(C::Done) }     << true;
        // clang-format on
    }

    void changeTypesAndTheEditedMark()
    {
        QFETCH(QList<int>, changes);
        const std::unique_ptr<ArchiveWindow> window = open(fixture(QStringLiteral("Changes")));
        QVERIFY(!window->isDirty()); // opening marked the archive, set-up cleared the count
        for (int change : changes)
            window->updateChangeCount(ArchiveWindow::ChangeType(change));
        QTEST(window->isDirty(), "dirty");
        QCOMPARE(window->isWindowModified(), window->isDirty());
        QCOMPARE(window->titlebarView()->isEdited(), window->isDirty());
    }

    void editsMarkTheWindowAndTheTitleStaysEmpty()
    {
        const std::unique_ptr<ArchiveWindow> window = open(fixture(QStringLiteral("Belege 2024")));
        QCOMPARE(window->windowTitle().remove(QStringLiteral("[*]")), QString());
        window->setDisplayName(QStringLiteral("Belege 2024"));
        QCOMPARE(window->windowTitle().remove(QStringLiteral("[*]")), QString());
        QCOMPARE(window->displayName(), QString());

        window->document()->container()->setValue(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Kasse")));
        QTRY_VERIFY(window->isDirty());
        QCOMPARE(window->titlebarView()->title(), QStringLiteral("Kasse"));

        bool saved = false;
        window->saving()->saveDocument([&saved](bool ok) { saved = ok; });
        QTRY_VERIFY(saved);
        QVERIFY(!window->isDirty());
        QCOMPARE(onDisk(window->document()->packagePath())->container()->containerTitle(), QStringLiteral("Kasse"));
    }

    void closingSavesFirst()
    {
        const QString path = fixture(QStringLiteral("Closing"));
        QPointer<ArchiveWindow> window = open(path).release(); // deleted when closed
        QVERIFY(window->document()->isAlreadyOpen());
        window->document()->preferences()->setField(QuillarcPreferences::ValidationPosssible, Value::boolean(false));
        window->document()->container()->setValue(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Kasse")));
        QSignalSpy closed(window.data(), &ArchiveWindow::closed);

        window->close();
        QVERIFY(window->isVisible()); // the window waits for its save
        QTRY_COMPARE(closed.size(), 1);
        QTRY_VERIFY(window.isNull());

        const auto stored = onDisk(path);
        QVERIFY(!stored->isAlreadyOpen());
        QCOMPARE(stored->host(), QString());
        QVERIFY(stored->preferences()->validationPosssible());
        QCOMPARE(stored->container()->containerTitle(), QStringLiteral("Kasse"));
    }

    void failedCloseSaveLeavesTheChoiceToTheUser()
    {
        const QString path = fixture(QStringLiteral("DiskFull"));
        QPointer<ArchiveWindow> window = open(path).release(); // deleted when closed
        // The database cannot be replaced any more (as with a full disk).
        const QString database = QDir(path).filePath(QLatin1String(Document::databaseName));
        QVERIFY(QFile::remove(database));
        QVERIFY(QDir().mkpath(database + QStringLiteral("/blocker")));
        QSignalSpy cancelled(window.data(), &ArchiveWindow::closeCancelled);

        MessageBox::setNextAnswer(0); // Cancel
        window->close();
        QTRY_COMPARE(cancelled.size(), 1);
        QVERIFY(!window.isNull());
        const QStringList alerts = MessageBox::takeAskedAlerts();
        QCOMPARE(alerts.size(), 1);
        QVERIFY(alerts.first().startsWith(localizedString(QStringLiteral("CLOSE_SAVE_FAILED_TITLE"))));
        QVERIFY(alerts.first().contains(database));

        MessageBox::setNextAnswer(1); // Close Without Saving
        window->close();
        QTRY_VERIFY(window.isNull());
        // Nothing half-written is left in the package.
        QStringList entries;
        for (QDirIterator it(path, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden); it.hasNext();)
            entries.append(QFileInfo(it.next()).fileName());
        entries.sort();
        QCOMPARE(entries, QStringList({ QStringLiteral("Files"), QLatin1String(Document::databaseName) }));
    }

    void newArchiveIsSavedWhereTheUserSays()
    {
        std::unique_ptr<ArchiveWindow> window(new ArchiveWindow(new Document));
        window->windowControllerDidLoadNib();
        QVERIFY(window->isUntitled());
        QVERIFY(!window->saving()->autoSaveTimer()); // a new archive has no preferences at set-up

        const QString chosen = m_home.freshPath(QStringLiteral("Mein Archiv"));
        FileDialog::setNextFileName(chosen);
        bool saved = false;
        window->saving()->saveDocument([&saved](bool ok) { saved = ok; });
        QTRY_VERIFY(saved);
        const QList<FileDialog::Options> dialogs = FileDialog::takeAskedDialogs();
        QCOMPARE(dialogs.size(), 1);
        QCOMPARE(dialogs.first().proposedName, localizedString(QStringLiteral("NEW_CONTAINER_TITLE")));
        QCOMPARE(dialogs.first().defaultSuffix, QStringLiteral("quillarc"));
        QCOMPARE(window->document()->packagePath(), chosen + QStringLiteral(".quillarc"));
        QVERIFY(QFile::exists(chosen + QStringLiteral(".quillarc/Quillarc.qldb")));

        // A second new archive may not take the same place.
        const QByteArray before = readFile(chosen + QStringLiteral(".quillarc/Quillarc.qldb"));
        std::unique_ptr<ArchiveWindow> second(new ArchiveWindow(new Document));
        second->windowControllerDidLoadNib();
        FileDialog::setNextFileName(chosen + QStringLiteral(".quillarc"));
        MessageBox::setNextAnswer(0);
        bool answered = false;
        second->saving()->saveDocument([&answered, &saved](bool ok) {
            answered = true;
            saved = ok;
        });
        QTRY_VERIFY(answered);
        QVERIFY(!saved);
        QVERIFY(second->isUntitled());
        QCOMPARE(MessageBox::takeAskedAlerts().size(), 1);
        QCOMPARE(readFile(chosen + QStringLiteral(".quillarc/Quillarc.qldb")), before);
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiArchiveWindow)
#include "tst_gui_archivewindow.moc"
