#include "GuiTestSupport.h"
#include "app/i18n/Localizer.h"
#include "app/style/ThemeManager.h"
#include "app/translation/KVLocalizer.h"
#include "app/translation/KVLocalizerDelegate.h"
#include "app/translation/KVLocalizerFilterModel.h"
#include "app/translation/KVLocalizerModel.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "controls/KVButton.h"
#include "text/KVLocalizationDictionary.h"
#include "text/KVLocalizationTable.h"

#include <QAbstractItemModelTester>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <memory>
#include <unistd.h>

namespace {

const QString shippedTable = QString::fromLatin1(KVLocalizationDictionary::defaultTablePath);
const QString newGroup = QStringLiteral("NEW_GROUP_TITLE");

KVLocalizationDictionary& shared()
{
    return KVLocalizationDictionary::sharedLocalizationDictionary();
}

QByteArray plist(const QByteArray& items)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>baseItems</key><array>"
        + items + "</array></dict></plist>\n";
}

QStringList visibleKeys(const KVLocalizer& editor)
{
    QStringList keys;
    for (int row = 0; row < editor.filterModel()->rowCount(); ++row)
        keys.append(editor.filterModel()->index(row, 0).data().toString());
    return keys;
}

/// A window of the application other than the editor, built with a key as usual.
struct OtherWindow
{
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    QPushButton* button = new QPushButton(newGroup, window.get());

    OtherWindow()
    {
        Localizer::localize(window.get());
        window->show();
    }
};

} // namespace

/// The translation editor against the shipped table and user copies made per
/// test: listing, filtering, editing, test live, export, revert and bad input.
class TestGuiLocalizerEditor : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TemporaryHome> m_home;
    std::unique_ptr<KVLocalizer> m_editor;
    QString m_mounted;

    KVLocalizer& editor()
    {
        if (!m_editor) {
            m_editor = std::make_unique<KVLocalizer>();
            m_editor->show();
            if (!QTest::qWaitForWindowExposed(m_editor.get()))
                qWarning("editor not exposed");
        }
        return *m_editor;
    }

    QModelIndex cell(const QString& key, const QString& language = QStringLiteral("en"))
    {
        const int row = editor().model()->table().indexOfKey(key);
        return editor().filterModel()->mapFromSource(
            editor().model()->index(row, editor().model()->columnOfLanguage(language)));
    }

    /// Edits a text the way a user does: double-click opens the field, type, Return.
    void typeText(const QModelIndex& index, const QString& text)
    {
        QTableView* view = editor().view();
        view->scrollTo(index);
        const QPoint centre = view->visualRect(index).center();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, centre);
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, centre);
        auto* field = openEditor();
        QVERIFY(field);
        field->selectAll();
        QTest::keyClicks(field, text);
        QTest::keyClick(field, Qt::Key_Return);
    }

    QPlainTextEdit* openEditor()
    {
        return qobject_cast<QPlainTextEdit*>(
            qobject_cast<KVLocalizerDelegate*>(editor().view()->itemDelegate())->openEditor());
    }

    KVButton* button(const char* name) { return editor().findChild<KVButton*>(QString::fromLatin1(name)); }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TemporaryHome>();
        shared().setLanguage(QStringLiteral("en"));
        shared().setTablePath(shippedTable);
        shared().reloadLocalizationDictionary();
        GuiTest::forgetAskedDialogs();
    }

    void cleanup()
    {
        if (!m_mounted.isEmpty())
            QProcess::execute(QStringLiteral("umount"), { std::exchange(m_mounted, QString()) });
        m_editor.reset();
        ThemeManager::instance()->setForcedScheme(ThemeManager::Light);
        shared().setTablePath(shippedTable);
        shared().reloadLocalizationDictionary();
        m_home.reset();
    }

    void listsEveryKeyOfTheShippedTable()
    {
        QAbstractItemModelTester sourceTester(editor().model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester filterTester(
            editor().filterModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        KVLocalizationTable shipped;
        QVERIFY(shipped.read(shippedTable));
        QCOMPARE(editor().tablePath(), shippedTable);
        QCOMPARE(editor().model()->rowCount(), shipped.count());
        QCOMPARE(editor().model()->columnCount(), 3);
        const QAbstractItemModel* model = editor().filterModel();
        QCOMPARE(model->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Key"));
        QCOMPARE(model->headerData(1, Qt::Horizontal).toString(), QStringLiteral("German (de)"));
        QCOMPARE(model->headerData(2, Qt::Horizontal).toString(), QStringLiteral("English (en)"));
        for (int row = 0; row < shipped.count(); ++row) {
            const KVLocalizationTable::Item& item = shipped.items().at(row);
            QCOMPARE(model->index(row, 0).data().toString(), item.base);
            QCOMPARE(model->index(row, 1).data(Qt::EditRole).toString(), item.texts.value(QStringLiteral("de")));
            QCOMPARE(model->index(row, 2).data(Qt::EditRole).toString(), item.texts.value(QStringLiteral("en")));
        }
        QVERIFY(!(model->flags(model->index(0, 0)) & Qt::ItemIsEditable)); // keys belong to the code
        QCOMPARE(editor().findChild<QLabel*>(QStringLiteral("countLabel"))->text(),
            QStringLiteral("%1 of %1 keys").arg(shipped.count()));
    }

    void filters_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<bool>("exactly");
        // clang-format off
        QTest::newRow("by key")             << "new_container_tit"   << QStringList { "NEW_CONTAINER_TITLE" }          << true;
        QTest::newRow("by English text")    << "NEW ARCHIVE"         << QStringList { "NEW_CONTAINER_TITLE" }          << false;
        QTest::newRow("by German text")     << "neues archiv"        << QStringList { "NEW_CONTAINER_TITLE" }          << false;
        QTest::newRow("without diacritics") << "danisch"             << QStringList { "LOCALIZER_LANGUAGE_Danish" }    << true;
        QTest::newRow("spaces around")      << "  Dänisch "          << QStringList { "LOCALIZER_LANGUAGE_Danish" }    << true;
        QTest::newRow("nothing matches")    << "qqxxzz"              << QStringList {}                                 << true;
        QTest::newRow("not across fields")  << "TITLENeues"          << QStringList {}                                 << true;
        // clang-format on
    }

    void filters()
    {
        QFETCH(QString, filter);
        QFETCH(QStringList, keys);
        QFETCH(bool, exactly);
        QAbstractItemModelTester tester(editor().filterModel(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto* field = editor().findChild<QLineEdit*>(QStringLiteral("filterField"));
        // QTest types ASCII only; other letters arrive as an input method would put them.
        const bool ascii = std::all_of(filter.begin(), filter.end(), [](QChar c) { return c.unicode() < 0x80; });
        ascii ? QTest::keyClicks(field, filter) : field->insert(filter);
        const QStringList shown = visibleKeys(editor());
        if (exactly)
            QCOMPARE(shown, keys);
        for (const QString& key : keys)
            QVERIFY2(shown.contains(key), qPrintable(shown.join(QLatin1Char(' '))));
        QCOMPARE(editor().findChild<QLabel*>(QStringLiteral("countLabel"))->text(),
            QStringLiteral("%1 of %2 keys").arg(shown.size()).arg(editor().model()->rowCount()));
        field->clear();
        QCOMPARE(editor().filterModel()->rowCount(), editor().model()->rowCount());
    }

    void editedTextFindsAndTestsLive()
    {
        OtherWindow other;
        QCOMPARE(other.button->text(), QStringLiteral("New Group"));
        editor().setFilterText(newGroup);
        typeText(cell(newGroup), QStringLiteral("Fresh Drawer"));
        QCOMPARE(cell(newGroup).data().toString(), QStringLiteral("Fresh Drawer"));
        QVERIFY(editor().model()->isEdited());
        QCOMPARE(other.button->text(), QStringLiteral("New Group")); // nothing changes before the test

        editor().setFilterText(QStringLiteral("fresh drawer"));
        QCOMPARE(visibleKeys(editor()), QStringList { newGroup });

        QTest::mouseClick(button("testLiveButton"), Qt::LeftButton);
        QCOMPARE(other.button->text(), QStringLiteral("Fresh Drawer"));
        QCOMPARE(Localizer::keyOf(other.button), newGroup);
        QVERIFY(!editor().model()->isEdited());
        QCOMPARE(editor().statusText(), QStringLiteral("Saved and applied to every window."));

        // The next start loads the user's copy.
        const QString user = KVLocalizationDictionary::userTablePath();
        QCOMPARE(editor().tablePath(), user);
        const KVLocalizationDictionary next(
            KVLocalizationDictionary::resolvedTablePath(user, shippedTable), QStringLiteral("en"));
        QCOMPARE(next.localizedStringForDictionaryString(newGroup), QStringLiteral("Fresh Drawer"));
        QCOMPARE(next.localizationDictionary().size(), shared().localizationDictionary().size());
        m_editor.reset();
        QCOMPARE(visibleKeys(editor()).size(), editor().model()->rowCount());
        QCOMPARE(cell(newGroup).data().toString(), QStringLiteral("Fresh Drawer"));
    }

    void testLiveRelabelsTheEditorItself()
    {
        typeText(cell(QStringLiteral("LOCALIZER_TEST_LIVE")), QStringLiteral("Try It"));
        QVERIFY(editor().testLive());
        QCOMPARE(button("testLiveButton")->text(), QStringLiteral("Try It"));
        QCOMPARE(editor().model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Key"));
    }

    void savingFailureKeepsTheTexts()
    {
        OtherWindow other;
        // The folder of the user's copy is taken by a file: nothing can be saved there.
        QVERIFY(writeFile(QFileInfo(KVLocalizationDictionary::userTablePath()).absolutePath(), "in the way"));
        QVERIFY(editor().filterModel()->setData(cell(newGroup), "Lost"));
        MessageBox::setNextAnswer(0);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^ERROR SAVING: .*Not a directory$")));
        QVERIFY(!editor().testLive());
        const QStringList alerts = MessageBox::takeAskedAlerts();
        QCOMPARE(alerts.size(), 1);
        QVERIFY2(
            alerts.first().startsWith(QStringLiteral("The texts could not be saved.\n")), qPrintable(alerts.first()));
        QVERIFY(alerts.first().contains(KVLocalizationDictionary::userTablePath()));
        QCOMPARE(other.button->text(), QStringLiteral("New Group"));
        QCOMPARE(shared().tablePath(), shippedTable);
        QVERIFY(editor().model()->isEdited()); // the edit is kept for another try or an export
    }

    void brokenUserCopyFallsBack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not a property list") << QByteArray("{ \"baseItems\": [] }");
        QTest::newRow("wrong shape") << QByteArray("<plist><dict><key>baseItems</key><dict/></dict></plist>");
        QTest::newRow("empty file") << QByteArray("");
    }

    void brokenUserCopyFallsBack()
    {
        QFETCH(QByteArray, bytes);
        const QString user = KVLocalizationDictionary::userTablePath();
        QVERIFY(writeFile(user, bytes));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^LOCALIZATION TABLE IGNORED: ") + user));
        QCOMPARE(editor().tablePath(), shippedTable);
        KVLocalizationTable shipped;
        QVERIFY(shipped.read(shippedTable));
        QCOMPARE(editor().model()->rowCount(), shipped.count());
    }

    void doubtfulUserCopyIsListedAsTheDictionaryReadsIt()
    {
        const QByteArray huge(1 << 20, 'h');
        QVERIFY(writeFile(KVLocalizationDictionary::userTablePath(),
            plist("<dict><key>base</key><string>NEW_GROUP_TITLE</string><key>en</key><string>first</string></dict>"
                  "<dict><key>base</key><string>HUGE</string><key>en</key><string>"
                + huge
                + "needle</string>"
                  "<key>German</key><string>not a code</string></dict>"
                  "<dict><key>base</key><string>NEW_GROUP_TITLE</string><key>en</key><string>second</string></dict>")));
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("^LOCALIZATION LANGUAGE IGNORED: \"German\"")));
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("^LOCALIZATION REPEATED KEY IGNORED: NEW_GROUP")));
        QCOMPARE(editor().model()->rowCount(), 2);
        QCOMPARE(editor().model()->columnCount(), 3);
        QCOMPARE(cell(newGroup).data().toString(), QStringLiteral("second"));
        const QModelIndex hugeCell = cell(QStringLiteral("HUGE"));
        QCOMPARE(hugeCell.data(Qt::EditRole).toString().size(), huge.size() + 6);
        QVERIFY(hugeCell.data().toString().size() <= KVLocalizerModel::displayLength + 1);
        editor().setFilterText(QStringLiteral("NEEDLE"));
        QCOMPARE(visibleKeys(editor()), QStringList { QStringLiteral("HUGE") });
        editor().view()->grab(); // paints the cut text without measuring the whole
        QVERIFY(editor().testLive());
        QCOMPARE(localizedString(QStringLiteral("HUGE")).size(), huge.size() + 6);
    }

    void addsLanguageColumns_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("alert");
        // clang-format off
        QTest::newRow("known name")   << "fr"       << "French (fr)" << "";
        QTest::newRow("trimmed")      << " it "     << "Italian (it)" << "";
        QTest::newRow("no name")      << "sv"       << "sv"          << "";
        QTest::newRow("script")       << "zh-Hans"  << "zh-Hans"     << "";
        QTest::newRow("full name")    << "French"   << ""            << "“French” is not a language code.";
        QTest::newRow("underscore")   << "pt_BR"    << ""            << "“pt_BR” is not a language code.";
        QTest::newRow("present")      << "de"       << ""            << "The table already has the language “de”.";
        // clang-format on
    }

    void addsLanguageColumns()
    {
        QFETCH(QString, typed);
        QFETCH(QString, title);
        QFETCH(QString, alert);
        QAbstractItemModelTester tester(editor().model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto* field = editor().findChild<QLineEdit*>(QStringLiteral("languageField"));
        QTest::keyClicks(field, typed);
        if (!alert.isEmpty())
            MessageBox::setNextAnswer(0);
        QTest::mouseClick(button("addLanguageButton"), Qt::LeftButton);
        const QStringList alerts = MessageBox::takeAskedAlerts();
        if (!alert.isEmpty()) {
            QCOMPARE(alerts.size(), 1);
            QVERIFY2(alerts.first().startsWith(alert + QLatin1Char('\n')), qPrintable(alerts.first()));
            QCOMPARE(editor().model()->columnCount(), 3);
            QCOMPARE(field->text(), typed); // left to correct
            return;
        }
        QVERIFY(alerts.isEmpty());
        QCOMPARE(editor().model()->columnCount(), 4);
        QCOMPARE(editor().filterModel()->headerData(3, Qt::Horizontal).toString(), title);
        QVERIFY(field->text().isEmpty());

        // The new column takes texts, and they reach the dictionary of that language.
        const QString code = typed.trimmed();
        typeText(cell(newGroup, code), QStringLiteral("Nouveau ") + code);
        QVERIFY(editor().testLive());
        const KVLocalizationDictionary other(KVLocalizationDictionary::userTablePath(), code);
        QCOMPARE(other.localizedStringForDictionaryString(newGroup), QStringLiteral("Nouveau ") + code);
    }

    void exportsThroughTheSaveDialog()
    {
        QVERIFY(editor().filterModel()->setData(cell(QStringLiteral("OK"), QStringLiteral("de")), "Jawohl"));
        const QString path = m_home->documentsPath() + QStringLiteral("/For the makers.glossordoc");
        FileDialog::setNextFileName(path);
        QTest::mouseClick(button("exportButton"), Qt::LeftButton);
        QTRY_VERIFY(QFile::exists(path));
        const QList<FileDialog::Options> asked = FileDialog::takeAskedDialogs();
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked.first().defaultSuffix, QStringLiteral("glossordoc"));
        QCOMPARE(asked.first().proposedName, QStringLiteral("LocalizationDictionary.glossordoc"));
        QCOMPARE(readFile(path), editor().model()->table().toPropertyList());
        QCOMPARE(KVLocalizationDictionary(path, QStringLiteral("de")).localizedStringForDictionaryString("OK"),
            QStringLiteral("Jawohl"));
        QCOMPARE(editor().statusText(), QStringLiteral("Exported to ") + path);
        // An export is no test: the application and the user's copy are untouched.
        QVERIFY(!QFile::exists(KVLocalizationDictionary::userTablePath()));
        QCOMPARE(shared().tablePath(), shippedTable);

        FileDialog::setNextCancel();
        QTest::mouseClick(button("exportButton"), Qt::LeftButton);
        QCOMPARE(FileDialog::takeAskedDialogs().size(), 1); // asked at once, answered later
        QCOMPARE(editor().statusText(), QStringLiteral("Exported to ") + path);
    }

    void exportIntoAFolderThatCannotBeWrittenSaysSo_data()
    {
        QTest::addColumn<QString>("below");
        QTest::addColumn<QString>("reason");
        // clang-format off
        QTest::newRow("below a regular file") << "file"    << "Not a directory";
        QTest::newRow("missing folder")       << "missing" << "No such file or directory";
        QTest::newRow("read-only folder")     << "locked"  << "Permission denied";
        QTest::newRow("read-only mount")      << "mounted" << "Read-only file system";
        // clang-format on
    }

    void exportIntoAFolderThatCannotBeWrittenSaysSo()
    {
        QFETCH(QString, below);
        QFETCH(QString, reason);
        const QString folder = m_home->path() + QLatin1Char('/') + below;
        if (below == QLatin1String("file")) {
            QVERIFY(writeFile(folder, "x"));
        } else if (below == QLatin1String("locked")) {
            if (::geteuid() == 0)
                QSKIP("root writes into read-only folders; the regular-file case covers it");
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        } else if (below == QLatin1String("mounted")) {
            QVERIFY(QDir().mkpath(folder));
            // Only where mounting is allowed (root, a machine that permits it); undone in cleanup().
            if (QProcess::execute(QStringLiteral("mount"),
                    { QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"),
                        QStringLiteral("ro,size=64k"), QStringLiteral("tmpfs"), folder })
                != 0)
                QSKIP("no read-only mount possible here");
            m_mounted = folder;
        }
        const QString path = folder + QStringLiteral("/Table.glossordoc");
        MessageBox::setNextAnswer(0);
        QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("ERROR SAVING: %1: %2").arg(path, reason)));
        QVERIFY(!editor().exportTo(path));
        QCOMPARE(MessageBox::takeAskedAlerts(),
            QStringList { QStringLiteral("The table could not be exported.\n%1: %2\n\n"
                                         "Choose a folder in which you may create files.")
                              .arg(path, reason) });
        QVERIFY(!QFile::exists(path));
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        // The editor goes on working.
        QVERIFY(editor().exportTo(m_home->path() + QStringLiteral("/Table.glossordoc")));
    }

    void revertsToTheShippedTexts()
    {
        OtherWindow other;
        QVERIFY(editor().filterModel()->setData(cell(newGroup), "Mine"));
        QVERIFY(editor().testLive());
        QCOMPARE(other.button->text(), QStringLiteral("Mine"));
        const QString user = KVLocalizationDictionary::userTablePath();

        MessageBox::setNextAnswer(1); // Cancel
        QTest::mouseClick(button("revertButton"), Qt::LeftButton);
        QCOMPARE(MessageBox::takeAskedAlerts(),
            QStringList { QStringLiteral("Revert to the shipped texts?\nYour edited texts are deleted and Quillarc "
                                         "shows its shipped texts again. Export the table first if you want to keep "
                                         "your texts.") });
        QCoreApplication::processEvents(); // the answer arrives
        QVERIFY(QFile::exists(user));
        QCOMPARE(other.button->text(), QStringLiteral("Mine"));

        MessageBox::setNextAnswer(0);
        QTest::mouseClick(button("revertButton"), Qt::LeftButton);
        QTRY_VERIFY(!QFile::exists(user));
        QCOMPARE(other.button->text(), QStringLiteral("New Group"));
        QCOMPARE(shared().tablePath(), shippedTable);
        QCOMPARE(editor().tablePath(), shippedTable);
        QCOMPARE(cell(newGroup).data().toString(), QStringLiteral("New Group"));
        QCOMPARE(editor().statusText(), QStringLiteral("The shipped texts are in use again."));
    }

    void themeSwitchWhileOpenKeepsItWorking()
    {
        editor().setFilterText(newGroup);
        ThemeManager::instance()->setForcedScheme(ThemeManager::Dark);
        QTRY_VERIFY(ThemeManager::isDarkPalette(editor().view()->palette()));
        typeText(cell(newGroup, QStringLiteral("de")), QStringLiteral("Dunkle Gruppe"));
        ThemeManager::instance()->setForcedScheme(ThemeManager::Light);
        QTRY_VERIFY(!ThemeManager::isDarkPalette(editor().view()->palette()));
        QCOMPARE(cell(newGroup, QStringLiteral("de")).data().toString(), QStringLiteral("Dunkle Gruppe"));
        QCOMPARE(visibleKeys(editor()), QStringList { newGroup });
        QVERIFY(editor().testLive());
    }

    void editorKeepsLineBreaksAndCanBeLeftWithEscape()
    {
        const QModelIndex index = cell(newGroup);
        QTableView* view = editor().view();
        view->setCurrentIndex(index);
        view->edit(index);
        auto* field = openEditor();
        QVERIFY(field);
        QTest::keyClicks(field, QStringLiteral(" one"));
        QTest::keyClick(field, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClicks(field, QStringLiteral("two"));
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(index.data(Qt::EditRole).toString(), QStringLiteral("New Group one\ntwo"));
        QCOMPARE(index.data().toString(), QStringLiteral("New Group one \u23CE two"));

        view->edit(index);
        field = openEditor();
        QVERIFY(field);
        QTest::keyClicks(field, QStringLiteral("three"));
        QTest::keyClick(field, Qt::Key_Escape);
        QCOMPARE(index.data(Qt::EditRole).toString(), QStringLiteral("New Group one\ntwo"));
    }

    void showLocalizerMakesOneWindow()
    {
        KVLocalizer* first = KVLocalizer::showLocalizer();
        QVERIFY(first->isVisible());
        first->close();
        QCOMPARE(KVLocalizer::showLocalizer(), first);
        QVERIFY(first->isVisible());
        QCOMPARE(first->windowTitle(), QStringLiteral("Edit Translations"));
        delete first;
        KVLocalizer* second = KVLocalizer::showLocalizer();
        QVERIFY(second);
        delete second;
    }
};

QTEST_MAIN(TestGuiLocalizerEditor)
#include "tst_gui_localizer_editor.moc"
