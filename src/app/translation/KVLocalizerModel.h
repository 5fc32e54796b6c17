#pragma once

#include "text/KVLocalizationTable.h"

#include <QAbstractTableModel>
#include <QSet>

/// The translation table as rows of a view: one row per key, the key in
/// column 0 and one column per language the table carries (German and
/// English first). Texts are edited in place; the key column is read-only,
/// since the code and the windows are built with the keys.
///
/// Cells edited since the table was loaded or saved are shown in bold, so the
/// user sees what "test live" or an export will carry.
class KVLocalizerModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Roles
    {
        /// Column 0: the key and every text of the row, folded for a search
        /// that ignores case and diacritics (cached per row).
        SearchTextRole = Qt::UserRole + 1,
        /// The language code of a language column, "" for the key column.
        LanguageRole
    };

    /// Texts longer than this are shown cut (in full while edited).
    static constexpr int displayLength = 400;

    explicit KVLocalizerModel(QObject* parent = nullptr);

    /// Shows @p table; edited marks are cleared.
    void setTable(const KVLocalizationTable& table);
    const KVLocalizationTable& table() const { return m_table; }

    /// The column of @p language, -1 when the table has no such column.
    int columnOfLanguage(const QString& language) const;
    QString languageOfColumn(int column) const;
    /// Adds an empty column for @p code at the end.
    KVLocalizationTable::AddLanguageResult addLanguage(const QString& code);
    /// Clears the edited marks (the table was saved or applied).
    void markSaved();
    bool isEdited() const { return !m_edited.isEmpty(); }

    /// The column title of a language: its name in the user's language with the
    /// code when fullLanguageForLanguage() knows it ("German (de)"), else the code.
    static QString languageTitle(const QString& code);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    /// A text was changed by the user.
    void textEdited();

private:
    QString searchText(int row) const;

    KVLocalizationTable m_table;
    mutable QList<QString> m_searchTexts; ///< per row, "" until first asked
    QSet<QPair<int, QString>> m_edited;
};
