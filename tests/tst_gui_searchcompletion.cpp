// The autocompleting combo box: the list shows the values beginning with the
// typed text ignoring case, shortest first; the field completes inline with
// the shortest value beginning with it ignoring case and diacritics, and
// never while the user deletes.
#include "app/views/KVAutocompleteComboBox.h"

#include <QLineEdit>
#include <QTest>

namespace {
/// Types @p text as key presses carrying their characters (any script).
void type(QWidget* widget, const QString& text)
{
    for (const QChar c : text)
        QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, QString(c), Qt::NoModifier);
}
} // namespace

class TestGuiSearchCompletion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void completesAndFilters_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<QStringList>("listed");
        // The list keeps marks apart only where they are typed; the completion ignores them.
        // clang-format off
        QTest::newRow("shortest completion")            << "mu"    << "mullrich" << "llrich" << QStringList { "Mullrich", "Müller GmbH", "Mustermann AG" };
        QTest::newRow("typed mark, completion without") << "mü"    << "müllrich" << "llrich" << QStringList { "Müller GmbH" };
        QTest::newRow("case ignored")                   << "MEY"   << "MEYer"    << "er"     << QStringList { "Meyer" };
        QTest::newRow("inside a folded letter")         << "stras" << "Straße 5" << "e 5"    << QStringList { "Straße 5" };
        QTest::newRow("nothing fits")                   << "xy"    << "xy"       << ""       << QStringList();
        // clang-format on
    }
    void completesAndFilters()
    {
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(QString, selected);
        QFETCH(QStringList, listed);
        KVAutocompleteComboBox box;
        box.setAllItems({ "Mustermann AG", "Müller GmbH", "Mullrich", "Meyer", "Straße 5" });
        box.show();
        box.lineEdit()->setFocus();
        type(box.lineEdit(), typed);
        QCOMPARE(box.lineEdit()->text(), shown);
        QCOMPARE(box.lineEdit()->selectedText(), selected);
        QCOMPARE(box.filteredItems(), listed);
        QCOMPARE(box.count(), int(listed.size()));
    }

    void typingOnReplacesTheCompletionAndDeletingNeverCompletes()
    {
        KVAutocompleteComboBox box;
        box.setAllItems({ "Rechnung", "Rechnungskorrektur", "Reisekosten" });
        box.show();
        type(box.lineEdit(), QStringLiteral("re"));
        QCOMPARE(box.lineEdit()->text(), QStringLiteral("rechnung"));
        type(box.lineEdit(), QStringLiteral("i"));
        QCOMPARE(box.lineEdit()->text(), QStringLiteral("reisekosten"));
        QTest::keyClick(box.lineEdit(), Qt::Key_Backspace); // removes the selected completion
        QCOMPARE(box.lineEdit()->text(), QStringLiteral("rei"));
        QTest::keyClick(box.lineEdit(), Qt::Key_Backspace);
        QCOMPARE(box.lineEdit()->text(), QStringLiteral("re"));
        QCOMPARE(box.filteredItems(), (QStringList { "Rechnung", "Reisekosten", "Rechnungskorrektur" }));
        type(box.lineEdit(), QStringLiteral("c")); // growing again completes again
        QCOMPARE(box.lineEdit()->text(), QStringLiteral("rechnung"));
    }

    void emptyTextListsEverything()
    {
        KVAutocompleteComboBox box;
        box.setAllItems({ "b", "aaa", "cc" });
        box.setObjectValue(QStringLiteral("c"));
        QCOMPARE(box.filteredItems(), QStringList { "cc" });
        QCOMPARE(box.lineEdit()->text(), QStringLiteral("c")); // set, not completed
        box.setObjectValue(QString());
        QCOMPARE(box.filteredItems(), (QStringList { "b", "aaa", "cc" }));
        QVERIFY(box.completedString(QString()).isNull());
    }
};

QTEST_MAIN(TestGuiSearchCompletion)
#include "tst_gui_searchcompletion.moc"
