#include "app/views/KVAutocompleteComboBox.h"

#include "output/CompletionAids.h"
#include "output/TextFolding.h"

#include <QLineEdit>
#include <QSignalBlocker>
#include <QStringListModel>

KVAutocompleteComboBox::KVAutocompleteComboBox(QWidget* parent)
    : QComboBox(parent)
    , m_model(new QStringListModel(this))
{
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    // The box completes by its own rules, not by Qt's prefix completer.
    setCompleter(nullptr);
    setModel(m_model);
    connect(lineEdit(), &QLineEdit::textEdited, this, &KVAutocompleteComboBox::textEdited);
}

void KVAutocompleteComboBox::setAllItems(const QStringList& items)
{
    m_allItems = items;
    filter(currentText());
}

void KVAutocompleteComboBox::setObjectValue(const QString& text)
{
    const QSignalBlocker blocker(lineEdit());
    lineEdit()->setText(text);
    filter(text);
}

QString KVAutocompleteComboBox::completedString(const QString& text) const
{
    return CompletionAids::completedString(m_allItems, text);
}

void KVAutocompleteComboBox::filter(const QString& text)
{
    m_filteredItems = CompletionAids::filteredItems(m_allItems, text);
    const QString shown = lineEdit()->text();
    const int cursor = lineEdit()->cursorPosition();
    const int selectionStart = lineEdit()->selectionStart();
    const int selectionLength = lineEdit()->selectedText().size();
    {
        // Replacing the list must not replace what the user typed.
        const QSignalBlocker blocker(this);
        m_model->setStringList(m_filteredItems);
        setCurrentIndex(-1);
        lineEdit()->setText(shown);
    }
    if (selectionStart >= 0)
        lineEdit()->setSelection(selectionStart, selectionLength);
    else
        lineEdit()->setCursorPosition(cursor);
}

void KVAutocompleteComboBox::textEdited(const QString& text)
{
    // Deleting (the typed text did not grow) only filters: completing would
    // put back what was just removed.
    const bool deleting = text.size() <= m_lastTyped.size();
    m_lastTyped = text;
    if (!deleting && !text.isEmpty()) {
        const QString completion = completedString(text);
        if (!completion.isNull()) {
            // Where the typed text ends inside the completion (folding may change lengths: "ss" and "ß").
            const qsizetype typedFolded = TextFolding::fold(text).size();
            qsizetype end = 0;
            while (end < completion.size() && TextFolding::fold(QStringView(completion).left(end)).size() < typedFolded)
                ++end;
            const QString remainder = completion.mid(end);
            if (!remainder.isEmpty()) {
                const QSignalBlocker blocker(lineEdit());
                // Typed text that ends inside a folded letter ("stras" of "Straße") takes the completion's own
                // spelling.
                const bool aligned = TextFolding::fold(QStringView(completion).left(end)).size() == typedFolded;
                const QString shown = aligned ? text + remainder : completion;
                lineEdit()->setText(shown);
                lineEdit()->setSelection(int(shown.size() - remainder.size()), int(remainder.size()));
            }
        }
    }
    filter(text);
}
