#pragma once

#include "app/popover/PopoverController.h"
#include "output/DocumentOrdering.h"

#include <QPointer>
#include <functional>
#include <memory>

class Popover;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QListView;
class QTimer;
class SearchHitModel;

/// The search popover of an archive ("Search_Popover"): every archived
/// document in one flat list that narrows as the user types, with an
/// optional period of file dates and an optional file kind, all combined
/// with AND by the engine's searchDocuments().
///
/// One controller is kept for the archive's whole life (forDocument()), so
/// the text, check boxes, kind and dates survive closing and reopening the
/// popover; only resetArrayAndFilter() clears them, 0.36 seconds after it is
/// asked for (when the controller is made, and when a sheet that adds
/// documents closes).
///
/// Choosing a hit (a click, or Return in the search field) announces it with
/// searchResultChosen(); the main view then selects it and closes the popover.
class SearchPopover : public PopoverController
{
    Q_OBJECT

public:
    /// Delay of the deferred reset, in milliseconds.
    static constexpr int resetDelayMs = 360;

    explicit SearchPopover(QWidget* parent = nullptr);
    ~SearchPopover() override;

    /// The archive's search popover, made on first use and deleted with the archive.
    static SearchPopover* forDocument(Document* document);
    /// The archive's search popover if one was made, else nullptr.
    static SearchPopover* existingForDocument(const Document* document);

    /// Shows the archive's popover under @p anchor (the search button) as a
    /// transient popover of @p window, then runs popoverViewActions(). When
    /// the popover closes the controller is taken back, not deleted.
    static Popover* showSearchPopover(Document* document, QWidget* anchor, QWidget* window);

    /// Where the main view's current order comes from (applied on every showing).
    void setSortDescriptorProvider(std::function<SortDescriptor()> provider);

    /// Reloads the documents and kinds and clears every filter, 0.36 s later.
    void resetArrayAndFilter();
    /// Rebuilds the filter from the controls (every keystroke and setting).
    void searchDocuments();
    /// Announces the first selected hit; nothing when none is selected.
    void selectSearchResult();

    /// Applies the main view's order and puts the focus into the search field.
    void popoverViewActions() override;

    SearchHitModel* model() const { return m_model; }
    QLineEdit* searchField() const { return m_searchField; }
    QListView* resultsView() const { return m_results; }
    QCheckBox* periodCheckBox() const { return m_periodBox; }
    QCheckBox* kindCheckBox() const { return m_kindBox; }
    QDateEdit* startDateEdit() const { return m_startDate; }
    QDateEdit* endDateEdit() const { return m_endDate; }
    QComboBox* kindPopUp() const { return m_kindPopUp; }
    /// True while a reset is waiting for its delay.
    bool isResetPending() const;

Q_SIGNALS:
    /// The user chose a hit.
    void searchResultChosen(const std::shared_ptr<QuillarcDocument>& document);
    /// A reset ran: the lists were reloaded and every filter cleared.
    void resetDone();

private:
    void buildLayout();
    /// Searches through the archive's shared index from now on.
    void useArchiveIndex();
    void performReset();
    void showFilterState();
    void takeControlValues();
    void keepSelection();
    void updateStatus();

    SearchHitModel* m_model;
    QLineEdit* m_searchField = nullptr;
    QCheckBox* m_periodBox = nullptr;
    QDateEdit* m_startDate = nullptr;
    QDateEdit* m_endDate = nullptr;
    QCheckBox* m_kindBox = nullptr;
    QComboBox* m_kindPopUp = nullptr;
    QListView* m_results = nullptr;
    QLabel* m_status = nullptr;
    QTimer* m_resetTimer;
    std::function<SortDescriptor()> m_sortProvider;
    std::weak_ptr<QuillarcDocument> m_selected;
    bool m_updatingControls = false;
    bool m_usesArchiveIndex = false;
};
