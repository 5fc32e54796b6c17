// Alerts as they show: a long text is set at a readable line length rather
// than QMessageBox's narrow column, a short one keeps its own width, and the
// first button answers Return.
#include "TestSupport.h"
#include "app/util/MessageBox.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

namespace {

QMessageBox* shownBox()
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
            return box;
    }
    return nullptr;
}

} // namespace

class TestGuiMessageBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        while (QMessageBox* box = shownBox()) {
            box->done(-1);
            delete box;
        }
    }

    void lineLength_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<int>("minimumCharacters"); ///< the text's lines at least this many average characters wide
        QTest::addColumn<int>("maximumCharacters"); ///< the width asked for at most this many
        const QString longText = QStringLiteral("Möchten Sie das ausgewählte Dokument wirklich aus dem Archiv löschen? "
                                                "Die Löschung wird im Protokoll vermerkt.");
        QTest::newRow("long text: about fifty characters a line") << longText << 45 << 55;
        QTest::newRow("short text keeps its width") << QStringLiteral("Datei nicht gefunden.") << 0 << 30;
        QTest::newRow("widest of several lines")
            << QStringLiteral("/home/erika/Belege.quillarc\n\nkurz") << 20 << 40;
    }
    void lineLength()
    {
        QFETCH(QString, body);
        QFETCH(int, minimumCharacters);
        QFETCH(int, maximumCharacters);
        MessageBox::alert(nullptr, MessageBox::Icon::Warning, QStringLiteral("Dokument löschen"), body,
            { QStringLiteral("OK"), QStringLiteral("Abbrechen") });
        QTRY_VERIFY(shownBox());
        QMessageBox* box = shownBox();
        auto* label = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"));
        QVERIFY(label);
        QCOMPARE(label->text(), body);
        // Shown at least that wide; never asking for more than the text or the line length needs.
        const int average = label->fontMetrics().averageCharWidth();
        QVERIFY2(label->width() / average >= minimumCharacters, qPrintable(QString::number(label->width() / average)));
        QVERIFY2(label->minimumWidth() / average <= maximumCharacters,
            qPrintable(QString::number(label->minimumWidth() / average)));
        QCOMPARE(box->defaultButton()->text(), QStringLiteral("OK"));
    }
};

QTEST_MAIN(TestGuiMessageBox)
#include "tst_gui_messagebox.moc"
