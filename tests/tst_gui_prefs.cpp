#include "GuiTestSupport.h"
#include "app/i18n/Localizer.h"
#include "app/prefs/PreferencesWindow.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTest>
#include <memory>

namespace {
// Settings are read from the temporary home, so it must exist before anything reads them.
TemporaryHome home;
} // namespace

/// The preferences window pages through eight pages by their buttons, shows
/// the archive's current values and writes every change through the archive's
/// change path; the application-wide switches go to the settings.
class TestGuiPrefs : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Document> m_archive;
    std::unique_ptr<PreferencesWindow> m_window;

    PreferencesPtr preferences() const { return m_archive->preferences(); }
    ContainerPtr container() const { return m_archive->container(); }

    /// The editor of @p key, on its page shown; the test stops when there is none.
    template<typename T> T* field(const QString& key, int page)
    {
        m_window->selectViewWithIndex(page);
        T* widget = m_window->findChild<T*>(key);
        if (!widget)
            qFatal("no editor for %s", qPrintable(key));
        return widget;
    }

    /// Ticks or clears a check box as a user does from the keyboard.
    static void toggle(QCheckBox* box)
    {
        box->setFocus();
        QTest::keyClick(box, Qt::Key_Space);
    }

    QList<int> disabledButtons() const
    {
        QList<int> disabled;
        for (int i = 0; i < PreferencesWindow::pageCount; ++i) {
            if (!m_window->prefButton(i)->isEnabled())
                disabled.append(i);
        }
        return disabled;
    }

private Q_SLOTS:
    void init()
    {
        GuiTest::appSettings().clear();
        m_archive = std::make_unique<Document>();
        m_archive->setUpAfterReading();
        // Set as loading does, without a change for the archive to see.
        container()->setField(QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Belege 2024")));
        m_window = std::make_unique<PreferencesWindow>();
        m_window->setMainDocument(m_archive.get());
        m_window->viewActions();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCoreApplication::processEvents();
        QVERIFY(!m_archive->isDocumentEdited()); // showing the values changes none of them
    }

    void cleanup()
    {
        m_window.reset();
        m_archive.reset();
    }

    void opensOnFirstPage()
    {
        QCOMPARE(m_window->viewIndex(), 0);
        QCOMPARE(m_window->tabView()->currentIndex(), 0);
        QCOMPARE(disabledButtons(), QList<int> { 0 });
    }

    // "index" < 8 is a click on the button with that tag; other indexes are asked for directly.
    void pageSwitching_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("shownPage");
        QTest::addColumn<int>("disabledButton");
        QTest::newRow("button 3") << 3 << 3 << 3;
        QTest::newRow("button 7") << 7 << 7 << 7;
        QTest::newRow("button 0") << 0 << 0 << 0;
        QTest::newRow("index 9") << 9 << 2 << 0;
        QTest::newRow("index -1") << -1 << 2 << 0;
    }

    void pageSwitching()
    {
        QFETCH(int, index);
        m_window->selectViewWithIndex(2);
        if (index >= 0 && index < PreferencesWindow::pageCount)
            QTest::mouseClick(m_window->prefButton(index), Qt::LeftButton);
        else
            m_window->selectViewWithIndex(index);
        QCOMPARE(m_window->viewIndex(), index);
        QTEST(m_window->tabView()->currentIndex(), "shownPage");
        QFETCH(int, disabledButton);
        QCOMPARE(disabledButtons(), QList<int> { disabledButton });
    }

    void titleFollowsArchive()
    {
        const QString preferencesText = localizedString(QStringLiteral("PREFERENCES_WINDOW"));
        QCOMPARE(m_window->windowTitle(), preferencesText + QStringLiteral(" (Belege 2024)"));

        // Renamed in the archive window, then the window is shown again.
        container()->setValue(QuillarcContainer::ContainerTitle, Value::string(QStringLiteral("Verträge")));
        m_window->hide();
        m_window->viewActions();
        m_window->show();
        QCOMPARE(m_window->windowTitle(), preferencesText + QStringLiteral(" (Verträge)"));

        // Renamed on the Archive page: the title follows at once.
        auto* title = field<QLineEdit>(QStringLiteral("containerTitle"), 1);
        title->setFocus();
        title->selectAll();
        QTest::keyClicks(title, QStringLiteral("Kasse"));
        QCOMPARE(container()->containerTitle(), QStringLiteral("Kasse"));
        QCOMPARE(m_window->windowTitle(), preferencesText + QStringLiteral(" (Kasse)"));
    }

    void checkBoxesWriteThroughTheArchive_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("page");
        QTest::newRow("auto-save") << "autoSaveBOOL" << 0;
        QTest::newRow("voucher numbering") << "autoVoucherNumbering" << 2;
        QTest::newRow("auto-lock") << "autoLockDocuments" << 3;
        QTest::newRow("OCR accuracy") << "ocrPrioritiseAccuracy" << 4;
        QTest::newRow("read tags") << "readFinderTags" << 5;
        QTest::newRow("write tags") << "writeFinderTags" << 5;
        QTest::newRow("summary") << "includeSummary" << 6;
        QTest::newRow("comments") << "includeComment" << 6;
        QTest::newRow("tags in summary") << "includeTags" << 6;
    }

    void checkBoxesWriteThroughTheArchive()
    {
        QFETCH(QString, key);
        QFETCH(int, page);
        auto* box = field<QCheckBox>(key, page);
        const bool before = preferences()->valueForKey(key).toBool();
        QCOMPARE(box->isChecked(), before);
        toggle(box);
        QCOMPARE(preferences()->valueForKey(key).kind(), Value::Kind::Bool);
        QCOMPARE(preferences()->valueForKey(key).toBool(), !before);
        QTRY_VERIFY(m_archive->isDocumentEdited());
    }

    // "keyPress" moves the pop-up's choice as a user does with the keyboard.
    void popUpsWriteThroughTheArchive_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("keyPress");
        QTest::addColumn<qint64>("stored");
        QTest::newRow("date: creation") << "folderImportDateUsageKind" << 3 << int(Qt::Key_Home) << qint64(0);
        QTest::newRow("date: added") << "folderImportDateUsageKind" << 3 << int(Qt::Key_End) << qint64(2);
        QTest::newRow("OCR: English") << "ocrLanguageKind" << 4 << int(Qt::Key_Down) << qint64(1);
        QTest::newRow("OCR: German") << "ocrLanguageKind" << 4 << int(Qt::Key_End) << qint64(2);
    }

    void popUpsWriteThroughTheArchive()
    {
        QFETCH(QString, key);
        QFETCH(int, page);
        QFETCH(int, keyPress);
        auto* combo = field<QComboBox>(key, page);
        QTest::keyClick(combo, Qt::Key(keyPress));
        QTEST(preferences()->valueForKey(key).toInteger(), "stored");
        QCOMPARE(preferences()->valueForKey(key).kind(), Value::Kind::Integer);
        QTRY_VERIFY(m_archive->isDocumentEdited());
    }

    void showsValuesChangedElsewhere()
    {
        auto* dateUsage = field<QComboBox>(QStringLiteral("folderImportDateUsageKind"), 3);
        auto* language = field<QComboBox>(QStringLiteral("ocrLanguageKind"), 4);
        auto* summary = field<QCheckBox>(QStringLiteral("includeSummary"), 6);
        auto* comments = field<QCheckBox>(QStringLiteral("includeComment"), 6);
        QCOMPARE(dateUsage->currentIndex(), 1); // the default: modification date
        QCOMPARE(language->currentIndex(), 0);
        QVERIFY(comments->isEnabled());

        // Values nobody offers show the choice they act as; nothing is written by showing them.
        preferences()->setValue(QuillarcPreferences::FolderImportDateUsageKind, Value::integer(7));
        preferences()->setValue(QuillarcPreferences::OcrLanguageKind, Value());
        preferences()->setValue(QuillarcPreferences::IncludeSummary, Value::boolean(false));
        m_window->hide();
        m_window->show();
        QCOMPARE(dateUsage->currentIndex(), 2);
        QCOMPARE(language->currentIndex(), 0);
        QVERIFY(!summary->isChecked());
        QVERIFY(!comments->isEnabled()); // comments are lines of the summary
        QCOMPARE(preferences()->folderImportDateUsageKind(), qint64(7));
        QVERIFY(preferences()->valueForKey(QStringLiteral("ocrLanguageKind")).isNil());
    }

    void descriptionReturnInsertsLineBreak()
    {
        auto* description = field<QPlainTextEdit>(QStringLiteral("containerDescription"), 1);
        description->setFocus();
        QTest::keyClicks(description, QStringLiteral("Belege der Praxis"));
        QTest::keyClick(description, Qt::Key_Return);
        QTest::keyClicks(description, QStringLiteral("ab 2024"));
        QCOMPARE(container()->containerDescription(), QStringLiteral("Belege der Praxis\nab 2024"));
        QVERIFY(m_window->isVisible());
        QTRY_VERIFY(m_archive->isDocumentEdited());
    }

    void voucherFieldsFollowTheSwitch()
    {
        auto* automatic = field<QCheckBox>(QStringLiteral("autoVoucherNumbering"), 2);
        auto* prefix = m_window->findChild<QLineEdit*>(QStringLiteral("voucherPrefix"));
        auto* number = m_window->findChild<QSpinBox*>(QStringLiteral("voucherNumber"));
        auto* suffix = m_window->findChild<QLineEdit*>(QStringLiteral("voucherSuffix"));
        auto* example = m_window->findChild<QLabel*>(QStringLiteral("voucherExample"));
        QVERIFY(!prefix->isEnabled() && !number->isEnabled() && !suffix->isEnabled());

        toggle(automatic);
        QVERIFY(prefix->isEnabled() && number->isEnabled() && suffix->isEnabled());
        QTest::keyClicks(prefix, QStringLiteral("RE-"));
        number->setFocus();
        number->selectAll();
        QTest::keyClicks(number, QStringLiteral("41"));
        QTest::keyClicks(suffix, QStringLiteral("/24"));
        QCOMPARE(preferences()->voucherPrefix(), QStringLiteral("RE-"));
        QCOMPARE(preferences()->voucherNumber(), qint64(41));
        QCOMPARE(preferences()->valueForKey(QStringLiteral("voucherNumber")).kind(), Value::Kind::Integer);
        QCOMPARE(preferences()->voucherSuffix(), QStringLiteral("/24"));
        QCOMPARE(example->text(), QStringLiteral("RE-41/24"));
    }

    void applicationSwitchesPersist_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("animation") << "prefs_DisableAnimation";
        QTest::newRow("help links") << "prefs_DisableHelpLinks";
    }

    void applicationSwitchesPersist()
    {
        QFETCH(QString, key);
        auto* box = field<QCheckBox>(key, 7);
        QVERIFY(!box->isChecked());
        toggle(box);
        QCOMPARE(GuiTest::appSettings().value(key).toBool(), true);

        // Another archive's window shows the same switch on; the archive itself is untouched.
        PreferencesWindow other;
        other.show();
        QVERIFY(other.findChild<QCheckBox*>(key)->isChecked());
        toggle(box);
        QCOMPARE(GuiTest::appSettings().value(key).toBool(), false);
        QCoreApplication::processEvents();
        QVERIFY(!m_archive->isDocumentEdited());
    }

    // Every text of the window is a key with a German and an English text, so
    // nothing shows a bare key and a re-localization reaches every text.
    void everyTextIsLocalized_data()
    {
        QTest::addColumn<QString>("language");
        QTest::newRow("de") << "de";
        QTest::newRow("en") << "en";
    }

    void everyTextIsLocalized()
    {
        QFETCH(QString, language);
        GuiTest::useLanguage(language);
        Localizer::relocalizeAll();

        QStringList bare;
        const auto check = [&bare](const QObject* object, const char* property, const QString& shown) {
            const QString key = object->property(property).toString();
            if (!shown.isEmpty() && (key.isEmpty() || localizedString(key) == key || shown != localizedString(key)))
                bare.append(
                    object->objectName() + QLatin1Char('/') + QString::fromLatin1(property) + QLatin1Char('=') + shown);
        };
        for (const QWidget* widget : m_window->findChildren<QWidget*>()) {
            if (widget->property("_quillarcShowsData").toBool())
                continue;
            check(widget, "_oldBaseTooltip", widget->toolTip());
            check(widget, "_oldBaseAccessibleName", widget->accessibleName());
            if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
                check(button, "_oldBaseString", button->text());
            else if (const auto* label = qobject_cast<const QLabel*>(widget))
                check(label, "_oldBaseString", label->text());
            else if (const auto* line = qobject_cast<const QLineEdit*>(widget))
                check(line, "_oldBasePlaceholderString", line->placeholderText());
            else if (const auto* text = qobject_cast<const QPlainTextEdit*>(widget))
                check(text, "_oldBasePlaceholderString", text->placeholderText());
            else if (const auto* combo = qobject_cast<const QComboBox*>(widget)) {
                for (int i = 0; i < combo->count(); ++i)
                    check(combo, QByteArray("_oldBaseTitle_" + QByteArray::number(i)).constData(), combo->itemText(i));
            }
        }
        GuiTest::useLanguage(QStringLiteral("en"));
        QCOMPARE(bare, QStringList());
    }
};

QTEST_MAIN(TestGuiPrefs)
#include "tst_gui_prefs.moc"
