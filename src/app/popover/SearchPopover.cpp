#include "app/popover/SearchPopover.h"

#include "app/i18n/Localizer.h"
#include "app/models/SearchHitModel.h"
#include "app/popover/Popover.h"
#include "app/popover/SearchPopoverDelegate.h"
#include "app/style/Icons.h"
#include "model/QuillarcDocument.h"
#include "output/ArchiveSearchIndex.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QGridLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QTimer>
#include <QVBoxLayout>

namespace {
QHash<const Document*, QPointer<SearchPopover>>& keptPopovers()
{
    static QHash<const Document*, QPointer<SearchPopover>> popovers;
    return popovers;
}
} // namespace

SearchPopover::SearchPopover(QWidget* parent)
    : PopoverController(parent)
    , m_model(new SearchHitModel(this))
    , m_resetTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("Search_Popover"));
    buildLayout();
    Localizer::localize(this);
    m_resetTimer->setSingleShot(true);
    m_resetTimer->setInterval(resetDelayMs);
    connect(m_resetTimer, &QTimer::timeout, this, &SearchPopover::performReset);
    connect(Localizer::instance(), &Localizer::relocalized, this, &SearchPopover::updateStatus);
    // The controller's first reset, once its controls exist.
    resetArrayAndFilter();
}

SearchPopover::~SearchPopover() = default;

SearchPopover* SearchPopover::forDocument(Document* document)
{
    if (SearchPopover* kept = existingForDocument(document))
        return kept;
    auto* popover = new SearchPopover;
    popover->setDocument(document);
    keptPopovers().insert(document, popover);
    QObject::connect(document, &QObject::destroyed, popover, [popover, document] {
        keptPopovers().remove(document);
        delete popover;
    });
    return popover;
}

SearchPopover* SearchPopover::existingForDocument(const Document* document)
{
    return keptPopovers().value(document);
}

Popover* SearchPopover::showSearchPopover(Document* document, QWidget* anchor, QWidget* window)
{
    SearchPopover* controller = forDocument(document);
    controller->setRepresentedObject(Value());
    controller->setActionTag(0);
    auto* popover = new Popover(controller, Popover::Behavior::Transient, window);
    // The controller lives as long as the archive: taken back when its popover goes.
    connect(popover, &Popover::closed, controller, [popover] { popover->takeContent(); });
    controller->show();
    if (anchor || window)
        popover->showRelativeTo(anchor ? anchor : window);
    else
        popover->show();
    controller->popoverViewActions();
    return popover;
}

void SearchPopover::buildLayout()
{
    setMinimumSize(460, 520);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 12, 12, 10);
    layout->setSpacing(8);

    m_searchField = new QLineEdit(this);
    m_searchField->setObjectName(QStringLiteral("searchField"));
    m_searchField->setPlaceholderText(QStringLiteral("SEARCH_PLACEHOLDER"));
    m_searchField->setClearButtonEnabled(true);
    m_searchField->addAction(Icons::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    Localizer::setAccessibleKeys(m_searchField, QStringLiteral("SEARCH_PLACEHOLDER"));
    layout->addWidget(m_searchField);

    auto* filters = new QGridLayout;
    filters->setHorizontalSpacing(8);
    filters->setVerticalSpacing(6);
    m_periodBox = new QCheckBox(QStringLiteral("SEARCH_FILTER_PERIOD"), this);
    m_startDate = new QDateEdit(this);
    m_endDate = new QDateEdit(this);
    for (QDateEdit* edit : { m_startDate, m_endDate }) {
        edit->setCalendarPopup(true);
        edit->setMinimumWidth(118);
    }
    Localizer::setAccessibleKeys(m_startDate, QStringLiteral("SEARCH_PERIOD_START"));
    Localizer::setAccessibleKeys(m_endDate, QStringLiteral("SEARCH_PERIOD_END"));
    auto* dash = new QLabel(QStringLiteral("–"), this);
    Localizer::markAsData(dash);
    filters->addWidget(m_periodBox, 0, 0);
    filters->addWidget(m_startDate, 0, 1);
    filters->addWidget(dash, 0, 2);
    filters->addWidget(m_endDate, 0, 3);
    m_kindBox = new QCheckBox(QStringLiteral("SEARCH_FILTER_KIND"), this);
    m_kindPopUp = new QComboBox(this);
    m_kindPopUp->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_kindPopUp->setMinimumContentsLength(16);
    Localizer::markAsData(m_kindPopUp);
    Localizer::setAccessibleKeys(m_kindPopUp, QStringLiteral("SEARCH_FILTER_KIND"));
    filters->addWidget(m_kindBox, 1, 0);
    filters->addWidget(m_kindPopUp, 1, 1, 1, 3);
    filters->setColumnStretch(4, 1);
    layout->addLayout(filters);

    m_results = new QListView(this);
    m_results->setObjectName(QStringLiteral("searchResults"));
    m_results->setModel(m_model);
    m_results->setItemDelegate(new SearchPopoverDelegate(m_results));
    // Uniform rows keep a list of a hundred thousand hits as quick as a short one.
    m_results->setUniformItemSizes(true);
    m_results->setSelectionMode(QAbstractItemView::SingleSelection);
    m_results->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_results->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    Localizer::setAccessibleKeys(m_results, QStringLiteral("SEARCH_RESULTS"));
    layout->addWidget(m_results, 1);

    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("searchStatus"));
    Localizer::markAsData(m_status);
    QFont small = m_status->font();
    small.setPointSizeF(qMax(7.0, small.pointSizeF() - 1));
    m_status->setFont(small);
    layout->addWidget(m_status);

    connect(m_searchField, &QLineEdit::textEdited, this, &SearchPopover::searchDocuments);
    // Return or Enter in the field chooses the selected hit; the field keeps the key.
    connect(m_searchField, &QLineEdit::returnPressed, this, &SearchPopover::selectSearchResult);
    connect(m_periodBox, &QCheckBox::toggled, this, &SearchPopover::searchDocuments);
    connect(m_kindBox, &QCheckBox::toggled, this, &SearchPopover::searchDocuments);
    connect(m_startDate, &QDateEdit::dateChanged, this, &SearchPopover::searchDocuments);
    connect(m_endDate, &QDateEdit::dateChanged, this, &SearchPopover::searchDocuments);
    connect(m_kindPopUp, &QComboBox::currentIndexChanged, this, &SearchPopover::searchDocuments);
    connect(m_results, &QListView::clicked, this, &SearchPopover::selectSearchResult);
    connect(m_results, &QListView::activated, this, &SearchPopover::selectSearchResult);
    // While the archive's index is built the hits arrive in steps.
    connect(m_model, &SearchHitModel::hitsChanged, this, [this] {
        if (m_model->isSearching() || m_model->search().isComplete()) {
            keepSelection();
            updateStatus();
        }
    });
    connect(
        m_results->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& current) {
            if (!m_updatingControls)
                m_selected = m_model->documentAt(current.row());
        });
}

void SearchPopover::setSortDescriptorProvider(std::function<SortDescriptor()> provider)
{
    m_sortProvider = std::move(provider);
}

void SearchPopover::resetArrayAndFilter()
{
    // Deferred so that it also works while the popover is still being set up.
    m_resetTimer->start();
}

bool SearchPopover::isResetPending() const
{
    return m_resetTimer->isActive();
}

void SearchPopover::useArchiveIndex()
{
    ArchiveSearchIndex* index = ArchiveSearchIndex::forDocument(document());
    if (m_usesArchiveIndex || !index)
        return;
    m_usesArchiveIndex = true;
    // Until the structures are ready the filter asks each document: same hits, only slower.
    m_model->search().useSharedIndex(index->index());
    connect(index, &ArchiveSearchIndex::ready, this, [this, index] {
        m_model->useSharedIndex(index->index());
        keepSelection();
    });
}

void SearchPopover::performReset()
{
    if (!document())
        return;
    useArchiveIndex();
    m_selected.reset();
    m_results->clearSelection();
    m_model->resetArrayAndFilter(*document());
    showFilterState();
    keepSelection();
    updateStatus();
    Q_EMIT resetDone();
}

void SearchPopover::showFilterState()
{
    const DocumentSearch& search = m_model->search();
    m_updatingControls = true;
    m_searchField->setText(search.searchText());
    m_periodBox->setChecked(search.filterPeriod());
    m_kindBox->setChecked(search.filterKind());
    m_kindPopUp->clear();
    for (const ValueMap& kind : search.fileKinds())
        m_kindPopUp->addItem(kind.value(QStringLiteral("fileKind")).toString());
    m_kindPopUp->setCurrentIndex(qMax(0, m_kindPopUp->findText(search.fileKind(), Qt::MatchExactly)));
    const QDate today = QDate::currentDate();
    m_startDate->setDate(search.startDate().isValid() ? search.startDate().date() : today);
    m_endDate->setDate(search.endDate().isValid() ? search.endDate().date() : today);
    m_updatingControls = false;
    m_startDate->setEnabled(search.filterPeriod());
    m_endDate->setEnabled(search.filterPeriod());
    m_kindPopUp->setEnabled(search.filterKind());
}

void SearchPopover::takeControlValues()
{
    DocumentSearch& search = m_model->search();
    search.setSearchText(m_searchField->text());
    search.setFilterPeriod(m_periodBox->isChecked());
    search.setFilterKind(m_kindBox->isChecked());
    search.setStartDate(m_startDate->date().startOfDay());
    search.setEndDate(m_endDate->date().startOfDay());
    search.setFileKind(m_kindPopUp->currentIndex() >= 0 ? m_kindPopUp->currentText() : QString());
    m_startDate->setEnabled(search.filterPeriod());
    m_endDate->setEnabled(search.filterPeriod());
    m_kindPopUp->setEnabled(search.filterKind());
}

void SearchPopover::searchDocuments()
{
    if (m_updatingControls)
        return;
    takeControlValues();
    m_model->searchDocuments();
    keepSelection();
    updateStatus();
}

void SearchPopover::keepSelection()
{
    // As a list that avoids an empty selection: the chosen hit stays chosen
    // while it is listed, otherwise the first hit is.
    const DocumentPtr selected = m_selected.lock();
    int row = selected ? m_model->rowOf(selected.get()) : -1;
    if (row < 0 && m_model->rowCount() > 0)
        row = 0;
    m_updatingControls = true;
    if (row >= 0) {
        const QModelIndex index = m_model->index(row);
        m_results->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
        m_results->scrollTo(index);
        m_selected = m_model->documentAt(row);
    } else {
        m_results->selectionModel()->clear();
    }
    m_updatingControls = false;
}

void SearchPopover::updateStatus()
{
    const DocumentSearch& search = m_model->search();
    if (search.filterPeriod() && m_startDate->date() > m_endDate->date()) {
        m_status->setText(localizedString(QStringLiteral("SEARCH_PERIOD_REVERSED")));
        return;
    }
    const int hits = m_model->rowCount();
    m_status->setText(QStringLiteral("%1 %2").arg(hits).arg(
        localizedString(hits == 1 ? QStringLiteral("SEARCH_HIT") : QStringLiteral("SEARCH_HITS"))));
}

void SearchPopover::selectSearchResult()
{
    const QModelIndexList selected = m_results->selectionModel()->selectedIndexes();
    if (selected.isEmpty())
        return;
    const DocumentPtr document = m_model->documentAt(selected.first().row());
    if (document)
        Q_EMIT searchResultChosen(document);
}

void SearchPopover::popoverViewActions()
{
    if (m_sortProvider)
        m_model->setSortDescriptor(m_sortProvider());
    keepSelection();
    m_searchField->setFocus(Qt::PopupFocusReason);
}
