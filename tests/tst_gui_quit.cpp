#include "ArchiveFixture.h"
#include "GuiTestMain.h"
#include "app/core/AppDelegate.h"
#include "app/core/Delays.h"
#include "app/core/DocumentController.h"
#include "app/core/QuitCoordinator.h"
#include "app/util/MessageBox.h"
#include "app/window/ArchiveWindow.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"

#include <QSettings>
#include <QSignalSpy>

/// Quitting saves the edited archives one after the other; the chain stops
/// at the first clean archive, and a failed save keeps the application open.
class TestGuiQuit : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    QString archive(const QString& stem)
    {
        const QString path = m_home.freshPath(stem) + QStringLiteral(".quillarc");
        ArchiveFixture fixture(path);
        fixture.archive().container()->setField(
            QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("old")));
        fixture.save();
        return path;
    }

    /// Opens the archives in order; those marked edited get a new title in memory.
    static QList<ArchiveWindow*> openAll(AppDelegate& delegate, const QStringList& paths, const QList<bool>& edited)
    {
        for (const QString& path : paths)
            delegate.documentController()->openDocumentWithContentsOfURL(path, false);
        const QList<ArchiveWindow*> windows = delegate.documentController()->documents();
        [&] {
            QTRY_VERIFY(std::none_of(windows.begin(), windows.end(), [](ArchiveWindow* w) { return w->isLoading(); }));
        }();
        for (int i = 0; i < paths.size(); ++i) {
            if (edited.at(i))
                windows.at(i)->document()->container()->setValue(
                    QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("new")));
        }
        return windows;
    }

    static QString titleOnDisk(const QString& path)
    {
        return ArchiveFixture::reopen(path)->container()->containerTitle();
    }

private Q_SLOTS:
    void initTestCase() { Delays::setScaleForTesting(0.01); }
    void init()
    {
        QSettings().clear();
        MessageBox::takeAskedAlerts();
    }

    void chainStopsAtTheFirstCleanArchive()
    {
        const QStringList paths
            = { archive(QStringLiteral("A")), archive(QStringLiteral("B")), archive(QStringLiteral("C")) };
        AppDelegate delegate;
        bool quit = false;
        delegate.setQuitHandler([&quit] { quit = true; });
        const QList<ArchiveWindow*> windows = openAll(delegate, paths, { true, false, true });
        QTRY_VERIFY(windows.at(0)->isDirty() && windows.at(2)->isDirty());
        QVERIFY(!windows.at(1)->isDirty());

        QStringList onDiskAtReply;
        QuitCoordinator* coordinator = delegate.quitCoordinator();
        connect(coordinator, &QuitCoordinator::replied, this, [&](bool) {
            for (const QString& path : paths)
                onDiskAtReply.append(titleOnDisk(path));
        });
        QSignalSpy replied(coordinator, &QuitCoordinator::replied);
        QCOMPARE(coordinator->applicationShouldTerminate(), QuitCoordinator::Reply::TerminateLater);
        QTRY_COMPARE(replied.size(), 1);
        QCOMPARE(replied.first().at(0).toBool(), true);
        // A was saved by the chain; B ended it; C was left to its window.
        QCOMPARE(onDiskAtReply, QStringList({ QStringLiteral("new"), QStringLiteral("old"), QStringLiteral("old") }));
        const auto a = ArchiveFixture::reopen(paths.at(0));
        QVERIFY(!a->isAlreadyOpen());
        QVERIFY(a->preferences()->validationPosssible());

        // Then every window closes, saving first, and the application quits.
        QTRY_VERIFY(quit);
        QVERIFY(delegate.documentController()->documents().isEmpty());
        QCOMPARE(titleOnDisk(paths.at(2)), QStringLiteral("new"));
        QVERIFY(!ArchiveFixture::reopen(paths.at(2))->isAlreadyOpen());
    }

    void chainGoesOnWhileTheNextArchiveIsEdited()
    {
        const QStringList paths
            = { archive(QStringLiteral("A")), archive(QStringLiteral("B")), archive(QStringLiteral("C")) };
        AppDelegate delegate;
        delegate.setQuitHandler([] {});
        const QList<ArchiveWindow*> windows = openAll(delegate, paths, { false, true, true });
        QTRY_VERIFY(windows.at(1)->isDirty() && windows.at(2)->isDirty());

        QStringList onDiskAtReply;
        connect(delegate.quitCoordinator(), &QuitCoordinator::replied, this, [&](bool) {
            for (const QString& path : paths)
                onDiskAtReply.append(titleOnDisk(path));
        });
        delegate.terminate();
        QTRY_COMPARE(onDiskAtReply.size(), 3);
        QCOMPARE(onDiskAtReply, QStringList({ QStringLiteral("old"), QStringLiteral("new"), QStringLiteral("new") }));
    }

    void cleanArchivesQuitAtOnce()
    {
        const QStringList paths = { archive(QStringLiteral("A")) };
        AppDelegate delegate;
        bool quit = false;
        delegate.setQuitHandler([&quit] { quit = true; });
        openAll(delegate, paths, { false });
        QCOMPARE(delegate.quitCoordinator()->applicationShouldTerminate(), QuitCoordinator::Reply::TerminateNow);
        delegate.terminate();
        QTRY_VERIFY(quit); // after the windows' own closing saves
    }

    void failedSaveCancelsTheQuit()
    {
        const QString path = archive(QStringLiteral("Full"));
        AppDelegate delegate;
        bool quit = false;
        delegate.setQuitHandler([&quit] { quit = true; });
        const QList<ArchiveWindow*> windows = openAll(delegate, { path }, { true });
        QTRY_VERIFY(windows.first()->isDirty());
        const QString database = QDir(path).filePath(QLatin1String(Document::databaseName));
        QVERIFY(QFile::remove(database) && QDir().mkpath(database + QStringLiteral("/blocker")));

        QSignalSpy replied(delegate.quitCoordinator(), &QuitCoordinator::replied);
        MessageBox::setNextAnswer(0);
        delegate.terminate();
        QTRY_COMPARE(replied.size(), 1);
        QCOMPARE(replied.first().at(0).toBool(), false);
        QCOMPARE(MessageBox::takeAskedAlerts().size(), 1); // the save error
        QVERIFY(!quit);
        QCOMPARE(delegate.documentController()->documents().size(), 1);
        QVERIFY(windows.first()->isDirty());

        // Once the disk has room again, quitting works.
        QVERIFY(QDir(database).removeRecursively());
        delegate.terminate();
        QTRY_VERIFY(quit);
        QCOMPARE(titleOnDisk(path), QStringLiteral("new"));
    }

    void quitCommandSavesEveryEditedArchive()
    {
        const QStringList paths
            = { archive(QStringLiteral("A")), archive(QStringLiteral("B")), archive(QStringLiteral("C")) };
        AppDelegate delegate;
        bool quit = false;
        delegate.setQuitHandler([&quit] { quit = true; });
        const QList<ArchiveWindow*> windows = openAll(delegate, paths, { true, false, true });
        QTRY_VERIFY(windows.at(0)->isDirty() && windows.at(2)->isDirty());
        delegate.terminateByHand();
        QTRY_VERIFY(quit);
        for (const QString& path : paths)
            QVERIFY(!ArchiveFixture::reopen(path)->isAlreadyOpen());
        QCOMPARE(titleOnDisk(paths.at(0)), QStringLiteral("new"));
        QCOMPARE(titleOnDisk(paths.at(2)), QStringLiteral("new"));
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiQuit)
#include "tst_gui_quit.moc"
