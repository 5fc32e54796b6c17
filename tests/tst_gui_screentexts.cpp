// Every registered screen in German and English: each text a user or a screen
// reader meets comes from the table or the fixture data and is never a bare key,
// and every control has an accessible name. Findings name screen, widget and text.

#include "GuiTestMain.h"
#include "GuiTestSupport.h"
#include "ScreenRound.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTabBar>
#include <QTextDocumentFragment>
#include <QTextEdit>
#include <QtTest>

namespace {

using GuiTest::describe;

/// Data the screens' fixture archives show: titles, names, people, folders, the
/// translation editor's edited text ("New Drawer") and the language codes beside
/// the languages' names. Every other word on a screen comes from the table.
const QStringList fixtureData = { "Müller & Söhne Buchhaltung", "Belege 2024", "Buchhaltung 2024", "Receipts 2024",
    "Belege", "Rechnung", "rechnung", "buero-pc (Erika Mustermann)", "/home/erika/Dokumente/Belege 2023.quillarc",
    "/home/erika/Scans/notiz.xyz", "Eingangs- und Ausgangsrechnungen der Praxis",
    "Incoming and outgoing invoices of the practice", "ab Januar", "from January", "RE-", "INV-", "Quillarc",
    "New Drawer", "(de)", "(en)" };

/// A line that begins with a path is a report about a file: the path and the
/// reason the system or the archive reader gave.
bool isFileReport(const QString& line)
{
    return line.startsWith(QLatin1Char('/')) || line.startsWith(QStringLiteral("“/"));
}

/// A text as the user reads it: no mnemonic ampersands, no markup.
QString readable(QString text)
{
    if (Qt::mightBeRichText(text))
        text = QTextDocumentFragment::fromHtml(text).toPlainText();
    text.replace(QLatin1String("&&"), QLatin1String("\x01"));
    text.remove(QLatin1Char('&'));
    text.replace(QLatin1Char('\x01'), QLatin1Char('&'));
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString& line : lines)
        line = line.simplified();
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

bool isWordCharacter(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

/// Removes every whole-word occurrence of @p piece from @p text.
void removePiece(QString& text, const QString& piece)
{
    if (piece.isEmpty())
        return;
    qsizetype at = 0;
    while ((at = text.indexOf(piece, at)) >= 0) {
        const bool startsWord = at == 0 || !isWordCharacter(text.at(at - 1)) || !isWordCharacter(piece.front());
        const qsizetype end = at + piece.size();
        const bool endsWord = end == text.size() || !isWordCharacter(text.at(end)) || !isWordCharacter(piece.back());
        if (startsWord && endsWord)
            text.replace(at, piece.size(), QLatin1String(" "));
        else
            at = end;
    }
}

/// What the table says in one language: its keys, and its texts cut at their
/// placeholders into the pieces a composed text is made of, longest first.
struct TableLanguage
{
    QSet<QString> keys;
    QSet<QString> texts;
    QStringList pieces;

    explicit TableLanguage(const QString& language)
    {
        const QString path = QString::fromLatin1(KVLocalizationDictionary::defaultTablePath);
        static const QRegularExpression placeholder(QStringLiteral("%(\\d+|@|l?[dus])|\\n"));
        for (const QVariantMap& item : KVLocalizationDictionary::tableItems(path)) {
            keys.insert(item.value(QStringLiteral("base")).toString());
            const QString text = item.value(language).toString();
            texts.insert(readable(text));
            for (const QString& piece : text.split(placeholder, Qt::SkipEmptyParts)) {
                if (!readable(piece).isEmpty())
                    pieces.append(readable(piece));
            }
        }
        for (const QString& data : fixtureData)
            pieces.append(readable(data));
        pieces.removeDuplicates();
        std::sort(pieces.begin(), pieces.end(), [](const QString& a, const QString& b) { return a.size() > b.size(); });
    }

    /// True when @p text is made of table texts and fixture data only.
    bool covers(const QString& text) const
    {
        if (texts.contains(text))
            return true;
        QStringList lines = text.split(QLatin1Char('\n'));
        lines.removeIf(isFileReport);
        QString rest = lines.join(QLatin1Char('\n'));
        for (const QString& piece : pieces) {
            if (rest.contains(piece))
                removePiece(rest, piece);
        }
        for (const QChar c : rest) {
            if (c.isLetter())
                return false;
        }
        return true;
    }
};

/// Reads the texts of one screen and collects what is wrong with them.
class TextWalk
{
public:
    TextWalk(const TableLanguage& table, const QString& screen)
        : m_table(table)
        , m_screen(screen)
    {
    }

    void walk(QWidget* root)
    {
        walkWidget(root);
        for (QWidget* widget : root->findChildren<QWidget*>()) {
            if (widget->isVisibleTo(root))
                walkWidget(widget);
        }
        // A window's menus are read whether or not one is open.
        for (QMenuBar* bar : root->findChildren<QMenuBar*>()) {
            for (QAction* action : bar->actions())
                walkAction(bar, action);
        }
    }

    int widgetCount() const { return m_widgets; }
    int textCount() const { return m_texts; }
    const QStringList& findings() const { return m_findings; }

private:
    void walkWidget(QWidget* widget)
    {
        if (m_seen.contains(widget))
            return;
        m_seen.insert(widget);
        ++m_widgets;
        if (widget->isWindow())
            check(widget, QStringLiteral("window title"), widget->windowTitle().remove(QLatin1String("[*]")));
        check(widget, QStringLiteral("tool tip"), widget->toolTip());
        const bool showsData = widget->property("_quillarcShowsData").toBool();
        // A widget showing data (a tag, a title) is named by that data.
        if (!showsData)
            check(widget, QStringLiteral("accessible name"), widget->accessibleName());
        check(widget, QStringLiteral("accessible description"), widget->accessibleDescription());

        if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            check(widget, QStringLiteral("button"), button->text());
        } else if (auto* label = qobject_cast<QLabel*>(widget); label && !showsData) {
            check(widget, QStringLiteral("label"), label->text());
        } else if (auto* box = qobject_cast<QGroupBox*>(widget)) {
            check(widget, QStringLiteral("group box"), box->title());
        } else if (auto* line = qobject_cast<QLineEdit*>(widget)) {
            check(widget, QStringLiteral("placeholder"), line->placeholderText());
        } else if (auto* edit = qobject_cast<QTextEdit*>(widget)) {
            check(widget, QStringLiteral("placeholder"), edit->placeholderText());
            // Read-only text (help, explanations) is the program's own unless it shows data.
            if (edit->isReadOnly() && !showsData)
                check(widget, QStringLiteral("text"), edit->toPlainText());
        } else if (auto* plain = qobject_cast<QPlainTextEdit*>(widget)) {
            check(widget, QStringLiteral("placeholder"), plain->placeholderText());
        } else if (auto* tabs = qobject_cast<QTabBar*>(widget)) {
            for (int i = 0; i < tabs->count(); ++i)
                check(widget, QStringLiteral("tab"), tabs->tabText(i));
        } else if (auto* view = qobject_cast<QAbstractItemView*>(widget); view && view->model()) {
            walkHeaders(view);
        } else if (auto* menu = qobject_cast<QMenu*>(widget)) {
            for (QAction* action : menu->actions())
                walkAction(menu, action);
        }
        checkAccessibleName(widget);
    }

    void walkHeaders(QAbstractItemView* view)
    {
        for (const QHeaderView* header : view->findChildren<QHeaderView*>()) {
            if (!header->isVisibleTo(view))
                continue;
            for (int section = 0; section < header->count(); ++section) {
                if (!header->isSectionHidden(section))
                    check(view, QStringLiteral("header"),
                        view->model()->headerData(section, header->orientation()).toString());
            }
        }
    }

    void walkAction(QWidget* owner, QAction* action)
    {
        if (action->isSeparator() || !action->isVisible() || action->property("_quillarcShowsData").toBool())
            return;
        ++m_texts;
        const QString where = describe(owner) + QStringLiteral(" / ") + readable(action->text());
        check(where, QStringLiteral("action"), action->text());
        if (action->toolTip() != action->text())
            check(where, QStringLiteral("action tool tip"), action->toolTip());
        if (QMenu* menu = action->menu()) {
            check(menu, QStringLiteral("menu title"), menu->title());
            for (QAction* inner : menu->actions())
                walkAction(menu, inner);
        }
    }

    /// Buttons and fields are announced by name: their own text, a buddy
    /// label's, or an accessible name from the table.
    void checkAccessibleName(QWidget* widget)
    {
        const bool control = qobject_cast<QAbstractButton*>(widget) || qobject_cast<QLineEdit*>(widget)
            || qobject_cast<QComboBox*>(widget) || qobject_cast<QAbstractSpinBox*>(widget)
            || qobject_cast<QAbstractSlider*>(widget) || qobject_cast<QTextEdit*>(widget)
            || qobject_cast<QPlainTextEdit*>(widget) || qobject_cast<QAbstractItemView*>(widget);
        if (!control || !widget->isEnabled() || widget->focusPolicy() == Qt::NoFocus)
            return;
        // The line edit inside an editable combo box or spin box is announced by its owner.
        if (auto* line = qobject_cast<QLineEdit*>(widget);
            line && (qobject_cast<QComboBox*>(line->parent()) || qobject_cast<QAbstractSpinBox*>(line->parent())))
            return;
        if (qobject_cast<QAbstractButton*>(widget) && qobject_cast<QWidget*>(widget->parent())
            && (qobject_cast<QAbstractSpinBox*>(widget->parent()) || qobject_cast<QTabBar*>(widget->parent())))
            return;
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
        if (accessible && !accessible->text(QAccessible::Name).trimmed().isEmpty())
            return;
        m_findings.append(QStringLiteral("%1: %2 has no accessible name").arg(m_screen, describe(widget)));
    }

    void check(QObject* object, const QString& kind, const QString& text) { check(describe(object), kind, text); }

    void check(const QString& where, const QString& kind, const QString& text)
    {
        if (text.isEmpty())
            return;
        ++m_texts;
        const QString shown = readable(text);
        if (m_table.keys.contains(shown) && !m_table.texts.contains(shown)) {
            m_findings.append(
                QStringLiteral("%1: %2 shows the key of its %3: \"%4\"").arg(m_screen, where, kind, text));
        } else if (!m_table.covers(shown)) {
            m_findings.append(
                QStringLiteral("%1: %2 shows a %3 from outside the table: \"%4\"").arg(m_screen, where, kind, text));
        }
    }

    const TableLanguage& m_table;
    QString m_screen;
    QSet<QWidget*> m_seen;
    QStringList m_findings;
    int m_widgets = 0;
    int m_texts = 0;
};

} // namespace

class TestGuiScreenTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ScreenRound::setUpApplication();
        QVERIFY(ScreenRegistry::all().size() > 20);
    }

    void cleanupTestCase() { qInfo("%d screens, %d widgets and %d texts read", m_screens, m_widgets, m_texts); }

    void everyTextComesFromTheTable_data()
    {
        QTest::addColumn<QString>("screen");
        QTest::addColumn<QString>("language");
        for (const QString& language : { QStringLiteral("de"), QStringLiteral("en") }) {
            for (const ScreenRegistry::Entry& entry : ScreenRegistry::all())
                QTest::addRow("%s-%s", qPrintable(entry.name), qPrintable(language)) << entry.name << language;
        }
    }

    void everyTextComesFromTheTable()
    {
        QFETCH(QString, screen);
        QFETCH(QString, language);
        const TableLanguage table(language);
        ScreenRound round(screen, language);
        // A few screens wait on flows (an open dialog, a popover that keeps the focus) that the
        // offscreen test session does not always give them; make screens pictures them.
        if (!round.widget())
            QSKIP(qPrintable(screen + QStringLiteral(" gave no widget in this session")));

        TextWalk walk(table, screen + QLatin1Char('-') + language);
        walk.walk(round.widget());
        ++m_screens;
        m_widgets += walk.widgetCount();
        m_texts += walk.textCount();
        QVERIFY(walk.textCount() > 0);
        QVERIFY2(walk.findings().isEmpty(), qPrintable(QLatin1Char('\n') + walk.findings().join(QLatin1Char('\n'))));
    }

private:
    int m_screens = 0;
    int m_widgets = 0;
    int m_texts = 0;
};

QUILLARC_GUI_TEST_MAIN(TestGuiScreenTexts)
#include "tst_gui_screentexts.moc"
