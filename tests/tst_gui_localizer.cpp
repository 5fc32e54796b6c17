#include "GuiTestSupport.h"
#include "app/i18n/Localizer.h"
#include "app/util/Task.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>

/// Widgets built with keys show the user's language, keep their keys, and
/// follow an edited table; the dialog seams answer without showing anything.
class TestGuiLocalizer : public QObject
{
    Q_OBJECT

private:
    KVLocalizationDictionary& table() { return KVLocalizationDictionary::sharedLocalizationDictionary(); }

private Q_SLOTS:
    void cleanup() { GuiTest::useLanguage(QStringLiteral("en")); }

    void localizesEveryKindOfText_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("tab");
        QTest::addColumn<QString>("action");
        QTest::newRow("de") << "de" << "Fortfahren…" << "Achtung!" << "Neues Archiv";
        QTest::newRow("en") << "en" << "Continue…" << "Warning!" << "New Archive";
    }

    void localizesEveryKindOfText()
    {
        QFETCH(QString, language);
        GuiTest::useLanguage(language);

        QWidget window;
        auto* button = new QPushButton(QStringLiteral("Continue…"), &window);
        button->setToolTip(QStringLiteral("Warning!"));
        auto* data = new QLabel(QStringLiteral("Warning!"), &window);
        Localizer::markAsData(data);
        auto* plain = new QLabel(QStringLiteral("not a key"), &window);
        auto* tabs = new QTabWidget(&window);
        tabs->addTab(new QWidget, QStringLiteral("Warning!"));
        auto* line = new QLineEdit(&window);
        line->setText(QStringLiteral("Warning!"));
        line->setPlaceholderText(QStringLiteral("Warning!"));
        auto* menu = new QMenu(QStringLiteral("NEW_GROUP_TITLE"), &window);
        QAction* action = menu->addAction(QStringLiteral("NEW_CONTAINER_TITLE"));

        // Twice: the second run must translate the key again, not the translation.
        Localizer::localize(&window);
        Localizer::localize(&window);

        QTEST(button->text(), "button");
        QCOMPARE(button->toolTip(), localizedString(QStringLiteral("Warning!")));
        QCOMPARE(data->text(), QStringLiteral("Warning!"));
        QCOMPARE(plain->text(), QStringLiteral("not a key"));
        QTEST(tabs->tabText(0), "tab");
        QCOMPARE(line->text(), QStringLiteral("Warning!")); // what the user typed stays
        QCOMPARE(line->placeholderText(), localizedString(QStringLiteral("Warning!")));
        QCOMPARE(menu->title(), localizedString(QStringLiteral("NEW_GROUP_TITLE")));
        QTEST(action->text(), "action");
        QCOMPARE(Localizer::keyOf(button), QStringLiteral("Continue…"));
    }

    void followsEditedTableAndNewKeys()
    {
        GuiTest::useLanguage(QStringLiteral("en"));
        auto* window = new QWidget;
        auto* button = new QPushButton(QStringLiteral("Continue…"), window);
        auto* combo = new QComboBox(window);
        combo->addItems({ QStringLiteral("Warning!"), QStringLiteral("Continue…") });
        Localizer::localize(window);
        window->show();

        // The translation editor saved an edited text and reloaded the table.
        QHash<QString, QString> edited = table().localizationDictionary();
        edited.insert(QStringLiteral("Continue…"), QStringLiteral("Go on"));
        table().setLocalizationDictionary(edited);
        Localizer::relocalizeAll();
        QCOMPARE(button->text(), QStringLiteral("Go on"));
        QCOMPARE(combo->itemText(1), QStringLiteral("Go on"));

        Localizer::setKey(button, QStringLiteral("Warning!"));
        QCOMPARE(button->text(), localizedString(QStringLiteral("Warning!")));
        Localizer::relocalizeAll();
        QCOMPARE(Localizer::keyOf(button), QStringLiteral("Warning!"));
        delete window;
    }

    void dialogSeamsAnswerInOrder()
    {
        MessageBox::setNextAnswer(1);
        int answer = -2;
        MessageBox::alert(nullptr, MessageBox::Icon::Warning, QStringLiteral("T"), QStringLiteral("I"),
            { QStringLiteral("A"), QStringLiteral("B") }, [&answer](int index) { answer = index; });
        QCOMPARE(answer, -2); // answered later, as a click would be
        QTRY_COMPARE(answer, 1);
        QCOMPARE(MessageBox::takeAskedAlerts(), QStringList { QStringLiteral("T\nI") });

        FileDialog::setNextFileName(QStringLiteral("/tmp/a.quillarc"));
        FileDialog::setNextCancel();
        QStringList answers;
        FileDialog::saveFile(nullptr, { QStringLiteral("Save"), {}, QStringLiteral("a"), {}, {}, false },
            [&answers](const QString& path) { answers.append(path); });
        FileDialog::openFile(nullptr, {}, [&answers](const QString& path) { answers.append(path); });
        QTRY_COMPARE(answers.size(), 2);
        QCOMPARE(answers, QStringList({ QStringLiteral("/tmp/a.quillarc"), QString() }));
        QCOMPARE(FileDialog::takeAskedDialogs().first().proposedName, QStringLiteral("a"));
    }

    void taskDropsResultOfDestroyedContext()
    {
        int delivered = 0;
        auto* context = new QObject;
        Task::run(context, [] { return 41; }, [&delivered](int value) { delivered = value + 1; });
        QTRY_COMPARE(delivered, 42);

        delivered = 0;
        QAtomicInt release;
        Task::run(context, [&release] {
            while (!release.loadAcquire())
                QThread::msleep(1);
            return 1; }, [&delivered](int value) { delivered = value; });
        delete context;
        release.storeRelease(1);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(delivered, 0);
    }
};

QTEST_MAIN(TestGuiLocalizer)
#include "tst_gui_localizer.moc"
