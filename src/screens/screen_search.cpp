// The search popover over the sample archive: hits for a typed word, and the
// period and kind filters switched on.
#include "ScreenRegistry.h"
#include "ScreenSamples.h"
#include "app/models/SearchHitModel.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverController.h"
#include "app/popover/SearchPopover.h"
#include "app/window/MainView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>

namespace {

/// The popover shown under the search button with @p typed in its field.
SearchPopover* showSearch(ScreenContext& context, const QString& typed, Popover** frame)
{
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    MainView* view = ScreenSamples::mainViewFrame(context, made.document);
    *frame = SearchPopover::showSearchPopover(made.document, view->searchButton(), view->window());
    SearchPopover* popover = SearchPopover::forDocument(made.document);
    ScreenContext::waitFor([popover] { return !popover->isResetPending(); });
    // As typed: the field announces an edit, not a programmatic change.
    popover->searchField()->setText(typed);
    Q_EMIT popover->searchField()->textEdited(typed);
    return popover;
}

void waitForHits(SearchPopover* popover)
{
    ScreenContext::waitFor(
        [popover] { return !popover->model()->isSearching() && popover->model()->search().isComplete(); }, 10000);
}

} // namespace

QUILLARC_SCREEN("search-popover-hits", [](ScreenContext& context) -> QWidget* {
    Popover* frame = nullptr;
    SearchPopover* popover = showSearch(context, QStringLiteral("eur"), &frame);
    waitForHits(popover);
    return frame;
});

QUILLARC_SCREEN("search-popover-filters", [](ScreenContext& context) -> QWidget* {
    Popover* frame = nullptr;
    SearchPopover* popover = showSearch(context, QString(), &frame);
    const QDate today = QDate::currentDate();
    popover->startDateEdit()->setDate(today.addDays(-30));
    popover->endDateEdit()->setDate(today);
    popover->periodCheckBox()->setChecked(true);
    popover->kindCheckBox()->setChecked(true);
    QComboBox* kinds = popover->kindPopUp();
    const int pdf = kinds->findText(QStringLiteral("PDF"), Qt::MatchContains);
    kinds->setCurrentIndex(qMax(0, pdf));
    waitForHits(popover);
    return frame;
});
