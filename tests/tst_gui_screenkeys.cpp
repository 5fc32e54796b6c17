// The windows by keyboard and screen reader: Tab reaches every control, menu
// mnemonics are unique, and lists and their rows can be read aloud.

#include "GuiTestMain.h"
#include "GuiTestSupport.h"
#include "ScreenRound.h"

#include "app/window/ArchiveWindow.h"
#include "app/window/Menus.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QHeaderView>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QtTest>

namespace {

using GuiTest::describe;

/// The controls Tab should reach in @p window: visible, enabled, taking the
/// focus by Tab and not handing it on to another widget.
QList<QWidget*> tabStops(QWidget* window)
{
    QList<QWidget*> stops;
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (widget->isVisibleTo(window) && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus)
            && !widget->focusProxy() && widget->window() == window)
            stops.append(widget);
    }
    return stops;
}

/// The mnemonic letter of a menu text ("Sa&ve" gives 'v'), or a null QChar.
QChar mnemonic(const QString& text)
{
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('&')) {
            if (text.at(i + 1) != QLatin1Char('&'))
                return text.at(i + 1).toLower();
            ++i;
        }
    }
    return {};
}

/// Every command of @p menu has a mnemonic, unique within the menu; also for its submenus.
void checkMenu(const QString& where, const QList<QAction*>& actions, QStringList& findings)
{
    QHash<QChar, QString> taken;
    for (QAction* action : actions) {
        if (action->isSeparator() || !action->isVisible() || action->property("_quillarcShowsData").toBool())
            continue;
        const QString text = action->menu() ? action->menu()->title() : action->text();
        const QChar letter = mnemonic(text);
        if (letter.isNull())
            findings.append(QStringLiteral("%1: \"%2\" has no mnemonic").arg(where, text));
        else if (taken.contains(letter))
            findings.append(QStringLiteral("%1: \"%2\" and \"%3\" share the mnemonic %4")
                                .arg(where, taken.value(letter), text, QString(letter)));
        else
            taken.insert(letter, text);
        if (QMenu* menu = action->menu())
            checkMenu(where + QStringLiteral(" / ") + menu->title(), menu->actions(), findings);
    }
}

} // namespace

class TestGuiScreenKeys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { ScreenRound::setUpApplication(); }

    void tabReachesEveryControl_data()
    {
        QTest::addColumn<QString>("screen");
        for (const ScreenRegistry::Entry& entry : ScreenRegistry::all()) {
            if (entry.name.startsWith(QLatin1String("sheet-")) || entry.name.startsWith(QLatin1String("preferences-")))
                QTest::newRow(qPrintable(entry.name)) << entry.name;
        }
    }

    void tabReachesEveryControl()
    {
        QFETCH(QString, screen);
        ScreenRound round(screen, QStringLiteral("en"));
        if (!round.widget())
            QSKIP("this screen gave no widget in this session");
        QWidget* window = round.widget()->window();
        window->activateWindow();
        QApplication::setActiveWindow(window);
        QTRY_VERIFY(window->isActiveWindow());
        if (!QApplication::focusWidget() || QApplication::focusWidget()->window() != window)
            window->nextInFocusChain()->setFocus(Qt::TabFocusReason);
        QVERIFY(QApplication::focusWidget());

        const QList<QWidget*> stops = tabStops(window);
        if (stops.isEmpty())
            return; // a sheet that only reports progress has nothing to reach
        QSet<QWidget*> reached;
        for (int press = 0; press < 2 * stops.size() + 4; ++press) {
            QWidget* focus = QApplication::focusWidget();
            QVERIFY2(focus && focus->window() == window, qPrintable(QStringLiteral("Tab left the window")));
            reached.insert(focus);
            QTest::keyClick(focus, Qt::Key_Tab);
        }
        QStringList missed;
        for (QWidget* stop : stops) {
            if (!reached.contains(stop))
                missed.append(describe(stop));
        }
        QVERIFY2(missed.isEmpty(), qPrintable(screen + QStringLiteral(": Tab never reaches ") + missed.join(", ")));
    }

    void menuCommandsHaveUniqueMnemonics_data()
    {
        QTest::addColumn<QString>("language");
        QTest::newRow("de") << "de";
        QTest::newRow("en") << "en";
    }

    void menuCommandsHaveUniqueMnemonics()
    {
        QFETCH(QString, language);
        ScreenRound round(QStringLiteral("archive-window"), language);
        auto* window = qobject_cast<ArchiveWindow*>(round.widget());
        QVERIFY(window);
        QStringList findings;
        QMenuBar* bar = window->menuBar();
        checkMenu(language + QStringLiteral(" menu bar"), bar->actions(), findings);

        // A shortcut does one thing in the whole window.
        QHash<QKeySequence, QString> shortcuts;
        for (QMenu* menu : window->menus()->menus()) {
            for (QAction* action : menu->actions()) {
                const QKeySequence shortcut = action->shortcut();
                if (shortcut.isEmpty())
                    continue;
                if (shortcuts.contains(shortcut))
                    findings.append(QStringLiteral("%1 does both \"%2\" and \"%3\"")
                                        .arg(shortcut.toString(), shortcuts.value(shortcut), action->text()));
                shortcuts.insert(shortcut, action->text());
            }
        }
        QVERIFY2(findings.isEmpty(), qPrintable(QLatin1Char('\n') + findings.join(QLatin1Char('\n'))));
    }

    void listsAreNamedAndTheirRowsReadable_data()
    {
        QTest::addColumn<QString>("screen");
        for (const ScreenRegistry::Entry& entry : ScreenRegistry::all()) {
            if (!entry.name.startsWith(QLatin1String("alert-")) && !entry.name.startsWith(QLatin1String("menu-")))
                QTest::newRow(qPrintable(entry.name)) << entry.name;
        }
    }

    void listsAreNamedAndTheirRowsReadable()
    {
        QFETCH(QString, screen);
        ScreenRound round(screen, QStringLiteral("de"));
        if (!round.widget())
            QSKIP("this screen gave no widget in this session");
        QWidget* window = round.widget()->window();
        QStringList findings;
        for (QAbstractItemView* view : window->findChildren<QAbstractItemView*>()) {
            // A table's header is part of the table and announced with it.
            if (!view->isVisibleTo(window) || !view->model() || qobject_cast<QHeaderView*>(view))
                continue;
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(view);
            if (!accessible || accessible->text(QAccessible::Name).isEmpty())
                findings.append(describe(view) + QStringLiteral(" has no accessible name"));
            const QAbstractItemModel* model = view->model();
            for (int row = 0; row < std::min(model->rowCount(view->rootIndex()), 20); ++row) {
                const auto* list = qobject_cast<QListView*>(view);
                const QModelIndex index = model->index(row, list ? list->modelColumn() : 0, view->rootIndex());
                const QString text = model->data(index, Qt::AccessibleTextRole).toString();
                if (text.isEmpty() && model->data(index, Qt::DisplayRole).toString().isEmpty())
                    findings.append(QStringLiteral("%1: row %2 has no text").arg(describe(view)).arg(row));
            }
        }
        QVERIFY2(findings.isEmpty(), qPrintable(screen + QLatin1Char('\n') + findings.join(QLatin1Char('\n'))));
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiScreenKeys)
#include "tst_gui_screenkeys.moc"
