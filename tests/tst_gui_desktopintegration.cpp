#include "GuiTestMain.h"
#include "app/core/AppDelegate.h"
#include "app/core/AppSettings.h"
#include "app/core/Delays.h"
#include "app/core/DesktopIntegration.h"
#include "app/core/DocumentController.h"
#include "app/core/InstallOfferDialog.h"
#include "controls/KVButton.h"

#include <QCheckBox>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>

/// Quillarc in the desktop's menu and as the quillarc:// handler: a desktop
/// entry that passes the freedesktop validator, and the first-start offer
/// that installs it for the user.
class TestGuiDesktopIntegration : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    static QString validate(const QString& path)
    {
        const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        if (validator.isEmpty())
            return QStringLiteral("desktop-file-validate is not installed (scripts/install-deps.sh)");
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(validator, { path });
        process.waitForFinished(30000);
        const QString output = QString::fromLocal8Bit(process.readAll()).trimmed();
        return process.exitCode() == 0 && output.isEmpty() ? QString() : output;
    }

    /// A fresh data home, and system folders without any Quillarc entry.
    void freshDataFolders()
    {
        const QString data = m_home.freshPath(QStringLiteral("data"));
        qputenv("XDG_DATA_HOME", data.toUtf8());
        qputenv("XDG_DATA_DIRS", m_home.freshPath(QStringLiteral("system")).toUtf8());
        qputenv("XDG_CONFIG_HOME", m_home.freshPath(QStringLiteral("config")).toUtf8());
    }

private Q_SLOTS:
    void initTestCase() { Delays::setScaleForTesting(0.01); }
    void init()
    {
        QSettings().clear();
        freshDataFolders();
    }

    void shippedEntryIsValid()
    {
        const QString path = QStringLiteral(QUILLARC_TEST_DATA "/../../resources/quillarc.desktop");
        const QString problems = validate(path);
        QVERIFY2(problems.isEmpty(), qPrintable(problems));
        const QByteArray entry = readFile(path);
        QVERIFY(entry.contains("\nExec=quillarc %U\n"));
        QVERIFY(entry.contains("\nMimeType=x-scheme-handler/quillarc;\n"));
        QVERIFY(entry.contains("\nIcon=quillarc\n"));
    }

    void entryForTheUserNamesThisProgram()
    {
        const QByteArray entry = DesktopIntegration::desktopEntry(QStringLiteral("/opt/Quillarc Test/bin/quillarc"));
        QVERIFY(entry.contains("\nExec=\"/opt/Quillarc Test/bin/quillarc\" %U\n"));
        const QString path = m_home.freshPath(QStringLiteral("entry")) + QStringLiteral("/quillarc.desktop");
        QVERIFY(writeFile(path, entry));
        const QString problems = validate(path);
        QVERIFY2(problems.isEmpty(), qPrintable(problems));
    }

    void installRegistersTheUrlHandler()
    {
        DesktopIntegration desktop;
        QVERIFY(desktop.shouldOffer());
        QSignalSpy registered(&desktop, &DesktopIntegration::registrationFinished);
        QString error;
        QVERIFY2(desktop.install(&error), qPrintable(error));
        QVERIFY(readFile(DesktopIntegration::userIconPath()).contains("<svg"));
        const QByteArray entry = readFile(DesktopIntegration::userEntryPath());
        QVERIFY(entry.contains(QByteArray("Exec=" + QCoreApplication::applicationFilePath().toUtf8() + " %U")));
        QCOMPARE(DesktopIntegration::installedEntryPath(), DesktopIntegration::userEntryPath());
        QVERIFY(!desktop.shouldOffer());

        QTRY_COMPARE_WITH_TIMEOUT(registered.size(), 1, 30000);
        if (QStandardPaths::findExecutable(QStringLiteral("xdg-mime")).isEmpty())
            QSKIP("xdg-mime is not installed: registration is logged, not done");
        QVERIFY(registered.first().at(0).toBool());
        const QString handlers
            = QString::fromUtf8(readFile(qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/mimeapps.list")));
        QVERIFY2(handlers.contains(QStringLiteral("x-scheme-handler/quillarc=quillarc.desktop")), qPrintable(handlers));
    }

    void installIntoAnUnwritableFolderFailsWithTheReason()
    {
        // A file where the applications folder should be: no permission trick, works as root too.
        QVERIFY(writeFile(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/applications"), "not a folder"));
        DesktopIntegration desktop;
        QString error;
        QVERIFY(!desktop.install(&error));
        QVERIFY2(error.contains(QStringLiteral("/applications")), qPrintable(error));
        QVERIFY(DesktopIntegration::installedEntryPath().isEmpty());
    }

    void offerIsMadeOnceAndRemembered()
    {
        // The application object makes no offer unless asked to (tests, benchmarks).
        {
            AppDelegate delegate;
            delegate.launch({}, m_home.path());
            QVERIFY(!delegate.desktopIntegration()->offerDialog());
        }

        AppDelegate delegate;
        delegate.setInstallOfferEnabled(true);
        delegate.launch({}, m_home.path());
        InstallOfferDialog* dialog = delegate.desktopIntegration()->offerDialog();
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->isVisible());
        QCOMPARE(dialog->installButton()->text(), text("INSTALL_OFFER_INSTALL"));
        QCOMPARE(dialog->doNotAskBox()->text(), text("INSTALL_OFFER_DONT_ASK"));

        // Not now, without "do not ask again": asked again next time.
        QTest::mouseClick(dialog->laterButton(), Qt::LeftButton);
        QVERIFY(!AppSettings::flag(AppSettings::installOfferDeclined));
        QTRY_VERIFY(!delegate.desktopIntegration()->offerDialog());
        DesktopIntegration& desktop = *delegate.desktopIntegration();
        desktop.offerInstallIfNeeded(nullptr);
        QVERIFY(desktop.offerDialog());
        desktop.offerDialog()->doNotAskBox()->setChecked(true);
        QTest::mouseClick(desktop.offerDialog()->laterButton(), Qt::LeftButton);
        QVERIFY(AppSettings::flag(AppSettings::installOfferDeclined));
        QTRY_VERIFY(!desktop.offerDialog());
        desktop.offerInstallIfNeeded(nullptr);
        QVERIFY(!desktop.offerDialog());

        // Accepting installs for the user.
        QSettings().clear();
        desktop.offerInstallIfNeeded(nullptr);
        QVERIFY(desktop.offerDialog());
        QTest::mouseClick(desktop.offerDialog()->installButton(), Qt::LeftButton);
        QVERIFY(QFile::exists(DesktopIntegration::userEntryPath()));
        QVERIFY(!desktop.shouldOffer());
        QSignalSpy registered(&desktop, &DesktopIntegration::registrationFinished);
        QTRY_COMPARE_WITH_TIMEOUT(registered.size(), 1, 30000);
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiDesktopIntegration)
#include "tst_gui_desktopintegration.moc"
