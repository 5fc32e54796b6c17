#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

class QIODevice;

/// The translation table as the translation editor edits it: every key once,
/// in the order of the file, with its texts per language, and the languages
/// the table carries (German and English first, then in order of appearance).
///
/// Reading is as tolerant as the dictionary's lookup: a repeated key takes the
/// texts of its later item (the key keeps its first place), and an entry whose
/// name is not a language code, an item without a key and a value that is no
/// text are passed over, each with a log line. Writing gives an XML property
/// list of the shipped file's shape, so the dictionary reads it back as it is.
class KVLocalizationTable
{
public:
    /// One key with its texts, by language code. A language without a text is
    /// absent; an empty text is kept as it was read (the key shows for it).
    struct Item
    {
        QString base;
        QHash<QString, QString> texts;
    };

    enum class AddLanguageResult
    {
        Added,
        NotALanguageCode,
        AlreadyPresent
    };

    /// Replaces the contents with the table at @p path; false with @p error set
    /// (naming the path) when it is missing, unreadable, not a property list or
    /// has no items. The contents are unchanged on failure.
    bool read(const QString& path, QString* error = nullptr);
    /// The same for a table read from @p device; @p source names it in log lines.
    bool read(QIODevice* device, QString* error = nullptr, const QString& source = QString());

    /// The table as an XML property list: root dictionary, "baseItems", one
    /// dictionary per item with "base" first and then its texts in column order.
    QByteArray toPropertyList() const;
    /// Writes toPropertyList() to @p path atomically: a temporary file beside it,
    /// written, flushed and synced, then renamed over @p path and the folder synced.
    /// On failure @p error names the path and the system's reason, and nothing
    /// is left under @p path or beside it. The folder must exist.
    bool write(const QString& path, QString* error = nullptr) const;

    const QList<Item>& items() const { return m_items; }
    int count() const { return int(m_items.size()); }
    /// The row of @p key, -1 when the table has no such key.
    int indexOfKey(const QString& key) const;
    QStringList languages() const { return m_languages; }

    QString text(int row, const QString& language) const;
    bool hasText(int row, const QString& language) const;
    /// Sets the text of one key in one language; true when it changed. Clearing
    /// a text the key never had leaves it absent. Characters that an XML file
    /// cannot carry (control characters other than tab and line breaks) are dropped.
    bool setText(int row, const QString& language, const QString& text);
    /// Adds an (empty) language column.
    AddLanguageResult addLanguage(const QString& code);

    /// True for a language code: two or three lower-case letters, optionally
    /// followed by "-" and a script ("zh-Hans"), a region ("pt-BR") or an area
    /// number ("es-419").
    static bool isLanguageCode(const QString& code);
    /// @p text without the characters an XML 1.0 file cannot carry.
    static QString xmlSafe(const QString& text);

private:
    QList<Item> m_items;
    QHash<QString, int> m_rows;
    QStringList m_languages;
};
