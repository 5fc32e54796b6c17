#pragma once

#include <QWidget>

class KVButton;
class KVLocalizerDelegate;
class KVLocalizerFilterModel;
class KVLocalizerModel;
class QLabel;
class QLineEdit;
class QTableView;

/// The translation editor: a window listing every key of the translation
/// table with its text in every language the table carries, for users who
/// want to correct a text or translate the application into their language.
///
/// Texts are edited in place. "Test live" saves the table as the user's copy
/// (KVLocalizationDictionary::userTablePath(), loaded in place of the shipped
/// table from then on), reloads the dictionary and re-localizes every open
/// window at once. "Export" writes the edited table as a file to send to the
/// makers; "Revert" deletes the user's copy and returns to the shipped texts.
/// Failures are shown in alerts naming the file and the reason; the
/// application keeps the texts it had.
class KVLocalizer : public QWidget
{
    Q_OBJECT

public:
    explicit KVLocalizer(QWidget* parent = nullptr);

    /// The editor of the application, made on first use, shown and raised.
    static KVLocalizer* showLocalizer();

    /// Loads the table the application uses (the user's copy when it is
    /// readable, else the shipped table); edits not saved are dropped.
    void reloadTable();
    /// The file the table shown was loaded from or last saved to.
    QString tablePath() const { return m_tablePath; }

    /// Saves the table as the user's copy, reloads the dictionary and
    /// re-localizes every window. False (and an alert) when saving failed.
    bool testLive();
    /// Asks for a file name and exports the table there.
    void exportTable();
    /// Writes the table to @p path; false (and an alert) when that failed.
    bool exportTo(const QString& path);
    /// Asks for confirmation, then deletes the user's copy and shows the shipped texts.
    void revertToShippedTexts();
    /// Adds a language column for @p code; refuses what is no language code,
    /// or a language the table has, with an alert.
    bool addLanguage(const QString& code);

    void setFilterText(const QString& text);

    KVLocalizerModel* model() const { return m_model; }
    KVLocalizerFilterModel* filterModel() const { return m_filter; }
    QTableView* view() const { return m_view; }
    /// The line under the table: what the last action did.
    QString statusText() const;

private:
    void buildLayout();
    void revertConfirmed();
    void updateCount();
    void fitLanguageField();
    void setStatus(const QString& key, const QString& argument = QString());
    void showStatus();
    void fail(const QString& titleKey, const QString& reason, const QString& hintKey = QString());

    KVLocalizerModel* m_model = nullptr;
    KVLocalizerFilterModel* m_filter = nullptr;
    QTableView* m_view = nullptr;
    KVLocalizerDelegate* m_delegate = nullptr;
    QLineEdit* m_filterField = nullptr;
    QLabel* m_countLabel = nullptr;
    QLineEdit* m_languageField = nullptr;
    KVButton* m_addLanguageButton = nullptr;
    KVButton* m_revertButton = nullptr;
    KVButton* m_exportButton = nullptr;
    KVButton* m_testLiveButton = nullptr;
    QLabel* m_statusLabel = nullptr;
    QString m_tablePath;
    QString m_statusKey;
    QString m_statusArgument;
};
