#pragma once

#include <QComboBox>
#include <QStringList>

class QStringListModel;

/// An editable combo box for typed fields that offer earlier values (a
/// title, a voucher prefix): its list shows the values that begin with what
/// is typed, ignoring case, shortest first, and the field completes the
/// typed text inline with the shortest value that begins with it, ignoring
/// case and diacritics; the completed part stays selected, so typing on
/// replaces it.
class KVAutocompleteComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit KVAutocompleteComboBox(QWidget* parent = nullptr);

    /// The values offered (the list's items when the field is empty).
    void setAllItems(const QStringList& items);
    QStringList allItems() const { return m_allItems; }
    /// The values the list shows for the current text.
    QStringList filteredItems() const { return m_filteredItems; }

    /// Sets the field's text without completing it, and filters the list.
    void setObjectValue(const QString& text);
    /// The completion of @p text among the values, or a null string.
    QString completedString(const QString& text) const;

private:
    void textEdited(const QString& text);
    void filter(const QString& text);

    QStringList m_allItems;
    QStringList m_filteredItems;
    QStringListModel* m_model;
    QString m_lastTyped;
};
