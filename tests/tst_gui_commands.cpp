#include "GuiTestMain.h"
#include "GuiTestSupport.h"
#include "app/core/Delays.h"
#include "app/i18n/Localizer.h"
#include "app/popover/HelpPopover.h"
#include "app/popover/PopoverPresenter.h"
#include "app/popover/PopoverRegistry.h"
#include "app/prefs/PreferencesWindow.h"
#include "app/window/ArchiveCommands.h"
#include "app/window/Menus.h"
#include "app/window/TitleStrip.h"
#include "app/window/WelcomeDuration.h"
#include "model/QuillarcPreferences.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QSettings>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QToolButton>

namespace {
int shownCount = 0;

/// A popover screen that counts how often it was put on screen.
class CountingPopover : public PopoverController
{
public:
    CountingPopover() { setFixedSize(120, 60); }
    void popoverViewActions() override { ++shownCount; }
};
} // namespace

/// Which commands an archive window enables when, its menus in both
/// languages, and its popovers.
class TestGuiCommands : public QObject
{
    Q_OBJECT

private:
    TemporaryHome m_home;

    std::unique_ptr<ArchiveWindow> openWindow(bool setupDone)
    {
        const QString path = m_home.freshPath(QStringLiteral("Commands")) + QStringLiteral(".quillarc");
        ArchiveFixture archive(path);
        archive.archive().preferences()->setField(QuillarcPreferences::IsSetupDone, Value::boolean(setupDone));
        archive.save();
        return GuiTest::openArchiveWindow(path);
    }

private Q_SLOTS:
    void initTestCase()
    {
        Delays::setScaleForTesting(0.01);
        WelcomeDuration::setDurationOverride(0.5);
        PopoverRegistry::registerFactory(QStringLiteral("Test_Popover"), [] { return new CountingPopover; });
    }

    void init() { QSettings().clear(); }
    void cleanup() { GuiTest::useLanguage(QStringLiteral("en")); }

    void windowTable_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("mainView");
        QTest::addColumn<bool>("key");
        QTest::addColumn<bool>("group");
        QTest::addColumn<bool>("document");
        QTest::addColumn<bool>("setupDone");
        QTest::addColumn<bool>("enabled");
        // clang-format off
        //                                                          command                          main   key    group  doc    setup  enabled
        QTest::newRow("preferences before the main view")   << "showPreferencesWindow:"            << false << true  << true  << true  << true  << false;
        QTest::newRow("saving before the main view")        << "saveDocument:"                     << false << true  << true  << true  << true  << false;
        QTest::newRow("new archive before the main view")   << "newDocument:"                      << false << false << false << false << false << true;
        QTest::newRow("close before the main view")         << "performClose:"                     << false << false << false << false << false << true;
        QTest::newRow("preferences, set-up not done")       << "showPreferencesWindow:"            << true  << true  << true  << true  << false << false;
        QTest::newRow("preferences, set-up done")           << "showPreferencesWindow:"            << true  << false << false << false << true  << true;
        QTest::newRow("new group in the key window")        << "mainViewNewGroupAction:"           << true  << true  << false << false << false << true;
        QTest::newRow("new group, window not key")          << "mainViewNewFolderGroupAction:"     << true  << false << true  << true  << true  << false;
        QTest::newRow("new document with a group")          << "mainViewNewDocumentAction:"        << true  << true  << true  << false << false << true;
        QTest::newRow("new document, window not key")       << "mainViewNewDocumentAction:"        << true  << false << true  << false << true  << false;
        QTest::newRow("scanner without a group")            << "showScannerSheet:"                 << true  << true  << false << true  << true  << false;
        QTest::newRow("export group with a group")          << "mainViewExportGroupAction:"        << true  << true  << true  << false << true  << true;
        QTest::newRow("delete document without a document") << "mainViewDeleteDocumentAction:"    << true  << true  << true  << false << true  << false;
        QTest::newRow("preview with a document")            << "mainViewQuickLookDocumentAction:"  << true  << true  << false << true  << true  << true;
        QTest::newRow("copy document, window not key")      << "mainViewCopyDocumentAction:"       << true  << false << true  << true  << true  << false;
        QTest::newRow("save after the main view")           << "saveDocument:"                     << true  << false << false << false << false << true;
        QTest::newRow("save as of an archive with a place") << "saveDocumentAs:"                   << true  << true  << true  << true  << true  << false;
        QTest::newRow("main view says no")                  << "exportDocument:"                   << true  << true  << true  << true  << true  << false;
        QTest::newRow("main view says yes")                 << "showSearchPopover:"                << true  << true  << true  << true  << true  << true;
        // clang-format on
    }

    void windowTable()
    {
        QFETCH(QString, command);
        QFETCH(bool, mainView);
        QFETCH(bool, key);
        QFETCH(bool, group);
        QFETCH(bool, document);
        QFETCH(bool, setupDone);
        const ArchiveCommands::State state = { mainView, key, group, document, setupDone, false };
        // This stand-in main view refuses exports and allows everything else.
        auto mainViewAnswer = [](const QString& name) { return name != QLatin1String("exportDocument:"); };
        QTEST(ArchiveCommands::isEnabled(command, state, mainViewAnswer), "enabled");
    }

    void menusFollowTheWindow()
    {
        std::unique_ptr<ArchiveWindow> window = openWindow(false);
        Menus* menus = window->menus();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));

        // Before the welcome screen ends only the application's commands work.
        QVERIFY(!menus->action(QStringLiteral("showPreferencesWindow:"))->isEnabled());
        QVERIFY(!menus->action(QStringLiteral("mainViewNewGroupAction:"))->isEnabled());
        QVERIFY(!menus->action(QStringLiteral("saveDocument:"))->isEnabled());
        QVERIFY(menus->action(QStringLiteral("newDocument:"))->isEnabled());
        QVERIFY(menus->action(QStringLiteral("terminateByHand:"))->isEnabled());

        QTRY_VERIFY(window->isMainViewLoaded());
        QVERIFY(menus->action(QStringLiteral("mainViewNewGroupAction:"))->isEnabled());
        QVERIFY(menus->action(QStringLiteral("saveDocument:"))->isEnabled());
        QVERIFY(!menus->action(QStringLiteral("showPreferencesWindow:"))->isEnabled()); // set-up not done

        window->document()->preferences()->setValue(QuillarcPreferences::IsSetupDone, Value::boolean(true));
        QTRY_VERIFY(menus->action(QStringLiteral("showPreferencesWindow:"))->isEnabled());

        // A group selected: document commands follow the window's key state.
        window->commands()->setSelectionOverride([] { return std::pair(true, false); });
        menus->validateAll();
        QVERIFY(menus->action(QStringLiteral("mainViewNewDocumentAction:"))->isEnabled());
        QVERIFY(!menus->action(QStringLiteral("mainViewDeleteDocumentAction:"))->isEnabled());
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QTRY_VERIFY(!menus->action(QStringLiteral("mainViewNewDocumentAction:"))->isEnabled());
        QVERIFY(!window->commands()->perform(QStringLiteral("mainViewNewDocumentAction:")));
    }

    void menusSpeakBothLanguages_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("save");
        // clang-format off
        QTest::newRow("de") << "de" << "&Datei" << "S&ichern";
        QTest::newRow("en") << "en" << "&File"  << "&Save";
        // clang-format on
    }

    void menusSpeakBothLanguages()
    {
        QFETCH(QString, language);
        std::unique_ptr<ArchiveWindow> window = openWindow(true);
        GuiTest::useLanguage(language);
        Localizer::relocalizeAll();
        Menus* menus = window->menus();
        QCOMPARE(menus->menus().size(), 8);
        QTEST(menus->menus().at(1)->title(), "file");
        QTEST(menus->action(QStringLiteral("saveDocument:"))->text(), "save");

        // Every command has a text of its own in this language, and the usual shortcuts.
        for (const ArchiveCommands::Info& info : ArchiveCommands::allCommands()) {
            if (info.textKey.isEmpty())
                continue; // the recent archives are entries of a submenu
            QAction* action = menus->action(info.command);
            QVERIFY2(action, qPrintable(info.command));
            QVERIFY2(action->text() != info.textKey, qPrintable(info.command));
        }
        const std::pair<const char*, const char*> shortcuts[]
            = { { "showSearchPopover:", "Ctrl+F" }, { "showPreferencesWindow:", "Ctrl+," },
                  { "mainViewQuickLookDocumentAction:", "Space" }, { "terminateByHand:", "Ctrl+Q" } };
        for (const auto& [command, keys] : shortcuts)
            QCOMPARE(menus->action(QLatin1String(command))->shortcut(), QKeySequence(QLatin1String(keys)));
        QCOMPARE(
            window->titlebarView()->infoButton()->toolTip(), localizedString(QStringLiteral("HELP_BUTTON_TOOLTIP")));
    }

    void preferencesCommandShowsOneWindowOfTheArchive()
    {
        std::unique_ptr<ArchiveWindow> window = openWindow(true);
        QTRY_VERIFY(window->isMainViewLoaded());
        QVERIFY(!window->preferencesWindow());
        QVERIFY(window->commands()->perform(QStringLiteral("showPreferencesWindow:")));
        QPointer<PreferencesWindow> shown = window->preferencesWindow();
        QVERIFY(shown && shown->isVisible());
        QCOMPARE(shown->mainDocument(), window->document());
        // Asking again brings the same window back; it goes with the archive window.
        shown->close();
        QVERIFY(window->commands()->perform(QStringLiteral("showPreferencesWindow:")));
        QCOMPARE(window->preferencesWindow(), shown.data());
        QVERIFY(shown->isVisible());
        window.reset();
        QVERIFY(shown.isNull());
    }

    void secondPopoverReplacesTheFirst()
    {
        std::unique_ptr<ArchiveWindow> window = openWindow(true);
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        PopoverPresenter* popovers = window->popovers();
        QWidget* anchor = window->titlebarView()->infoButton();
        shownCount = 0;

        PopoverController* first = popovers->showPopoverWithNIBName(QStringLiteral("Test_Popover"), anchor,
            Popover::Behavior::SemiTransient, 4, Value::string(QStringLiteral("represented")));
        QPointer<Popover> firstPopover = popovers->kvPopover();
        QVERIFY(firstPopover && firstPopover->isVisible());
        QTRY_VERIFY(firstPopover->isActiveWindow()); // the user works in it before asking for another
        QCOMPARE(first->actionTag(), 4);
        QCOMPARE(first->representedObject().toString(), QStringLiteral("represented"));
        QCOMPARE(first->document(), window->document());
        QCOMPARE(shownCount, 1);

        PopoverController* second
            = popovers->showPopoverWithNIBName(QStringLiteral("Test_Popover"), anchor, Popover::Behavior::Transient, 5);
        QTRY_VERIFY(firstPopover.isNull());
        QCOMPARE(popovers->kvPopoverViewController(), second);
        QVERIFY(popovers->kvPopover()->isVisible());
        QCOMPARE(shownCount, 2);

        // A class nobody registered shows an empty popover.
        PopoverController* empty = popovers->showPopoverWithNIBName(
            QStringLiteral("Missing_Popover"), anchor, Popover::Behavior::Transient, 0);
        QVERIFY(empty && !dynamic_cast<CountingPopover*>(empty));
        popovers->closePopover();
    }

    void helpPopoverShowsTheTextOfItsTag_data()
    {
        QTest::addColumn<int>("tag");
        QTest::addColumn<QString>("key");
        QTest::newRow("0") << 0 << "Info_Main";
        QTest::newRow("3") << 3 << "Info_Group";
        QTest::newRow("5") << 5 << "Info_Folder";
        QTest::newRow("7") << 7 << "Info_Default";
        QTest::newRow("-1") << -1 << "Info_Default";
    }

    void helpPopoverShowsTheTextOfItsTag()
    {
        QFETCH(int, tag);
        QFETCH(QString, key);
        std::unique_ptr<ArchiveWindow> window = openWindow(true);
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        window->popovers()->showInfoWithTag(tag, window->titlebarView()->infoButton());
        auto* help = qobject_cast<HelpPopover*>(window->popovers()->kvPopoverViewController());
        QVERIFY(help);

        QTextDocument expected;
        expected.setHtml(localizedString(key) + localizedString(QStringLiteral("HELP_INFO_LINK")));
        QVERIFY(!expected.toPlainText().isEmpty());
        QCOMPARE(help->plainText().simplified(), expected.toPlainText().simplified());
        QVERIFY(help->textView()->width() <= HelpPopover::maximumWidth + 4);
        const QTextCharFormat format = help->textView()->document()->begin().begin().fragment().charFormat();
        QCOMPARE(format.fontFamilies().toStringList().value(0), QStringLiteral("WriteSans-Regular"));
        QCOMPARE(format.fontPointSize(), 12.0);
        window->popovers()->closePopover();
    }

    void helpTextOutsideLatin1GivesAnEmptyPopover()
    {
        auto& table = KVLocalizationDictionary::sharedLocalizationDictionary();
        QHash<QString, QString> edited = table.localizationDictionary();
        edited.insert(QStringLiteral("Info_Default"), QStringLiteral("Справка – ещё нет"));
        table.setLocalizationDictionary(edited);
        QCOMPARE(HelpPopover::htmlForTag(7), QString());
        HelpPopover help;
        help.setTag(7, false);
        QCOMPARE(help.plainText(), QString());
        // A text within Latin 1 (umlauts, ß) is shown.
        edited.insert(QStringLiteral("Info_Default"), QStringLiteral("Größe für Übersicht"));
        table.setLocalizationDictionary(edited);
        help.setTag(7, true);
        QVERIFY(help.plainText().startsWith(QStringLiteral("Größe für Übersicht")));
        table.reloadLocalizationDictionary();
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiCommands)
#include "tst_gui_commands.moc"
