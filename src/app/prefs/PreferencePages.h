#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <array>

class Document;
class PreferenceForm;
class QLabel;
class QWidget;

/// The eight pages of the preferences window and what each one shows.
///
/// General: saving and the archive's state; Archive: title and description;
/// Numbering: voucher numbers; Import: locking and dating new records;
/// Recognition: text recognition; Tags: tags read and written; Export: the
/// summary of an export; Application: switches shared by every archive.
class PreferencePages : public QObject
{
    Q_OBJECT

public:
    static constexpr int count = 8;

    /// What the page button and the page header show.
    struct PageInfo
    {
        const char* titleKey;
        const char* toolTipKey;
        const char* introKey;
        const char* iconName;
    };
    static const std::array<PageInfo, count>& pageInfos();

    /// Builds every page as a child of @p parent.
    explicit PreferencePages(QWidget* parent);

    const QList<PreferenceForm*>& forms() const { return m_forms; }

    void setDocument(Document* document);
    /// Shows the stored values and the facts derived from them.
    void refresh();

Q_SIGNALS:
    /// The user changed a value (a coding key or a settings key).
    void edited(const QString& key);

private:
    PreferenceForm* addPage(int index, QWidget* parent);
    void buildGeneral(PreferenceForm* form);
    void buildArchive(PreferenceForm* form);
    void buildNumbering(PreferenceForm* form);
    void buildImport(PreferenceForm* form);
    void buildRecognition(PreferenceForm* form);
    void buildTags(PreferenceForm* form);
    void buildExport(PreferenceForm* form);
    void buildApplication(PreferenceForm* form);
    void updateFacts();

    QList<PreferenceForm*> m_forms;
    QPointer<Document> m_document;
    QLabel* m_created = nullptr;
    QLabel* m_firstSave = nullptr;
    QLabel* m_validation = nullptr;
    QLabel* m_voucherExample = nullptr;
};
