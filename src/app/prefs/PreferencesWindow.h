#pragma once

#include <QPointer>
#include <QWidget>
#include <array>

class Document;
class PreferencePageButton;
class PreferencePages;
class QAbstractButton;
class QStackedWidget;

/// The preferences window of one archive: eight pages, one per button along
/// the top, editing the archive's preferences and container and the
/// application-wide switches.
///
/// The archive window makes it on first use and keeps it; each time it shows
/// the window it hands over the archive with setMainDocument() and calls
/// viewActions(), so the title and the values follow changes made elsewhere.
class PreferencesWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int pageCount = 8;

    explicit PreferencesWindow(QWidget* parent = nullptr);

    /// The archive whose preferences are shown; not owned, may go away.
    void setMainDocument(Document* document);
    Document* mainDocument() const;

    /// Titles the window "PREFERENCES_WINDOW (archive title)" and shows the
    /// archive's current values.
    void viewActions();

    /// The page last asked for, also when no such page exists.
    int viewIndex() const { return m_viewIndex; }
    /// The pages, without tabs of their own.
    QStackedWidget* tabView() const { return m_tabView; }
    /// The button of page @p index (0 to 7).
    QAbstractButton* prefButton(int index) const;

public Q_SLOTS:
    /// Shows the page of the button that sent the signal (its tag).
    void selectViewAction();
    /// Shows page @p index and disables its button, enabling the others. For
    /// an index outside the pages the stack is still asked for it, and the
    /// first page's button is the one disabled.
    void selectViewWithIndex(int index);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void updateTitle();
    /// Lines the fields of every page up and fits the window to the texts.
    void fitToTexts();
    void centreOnScreen();

    QPointer<Document> m_mainDocument;
    QMetaObject::Connection m_documentConnection;
    int m_viewIndex = 0;
    QStackedWidget* m_tabView = nullptr;
    std::array<PreferencePageButton*, pageCount> m_prefButtons {};
    PreferencePages* m_pages = nullptr;
    bool m_centred = false;
};
