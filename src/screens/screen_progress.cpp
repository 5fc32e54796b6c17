// The progress view in each window that shows it: the export's sheet (while
// the files are counted, then file by file), the main view during a batch,
// while a single record is built and while the log report is laid out.
#include "ScreenRegistry.h"
#include "ScreenSamples.h"
#include "app/flows/FlowProgressSheet.h"
#include "app/window/MainView.h"
#include "controls/KVTessaryProgress.h"

namespace {

MainView* sampleView(ScreenContext& context)
{
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    MainView* view = ScreenSamples::mainViewFrame(context, made.document);
    view->selectGroup(made.groups.value(0));
    return view;
}

FlowProgressSheet* exportSheet(ScreenContext& context)
{
    auto* sheet = new FlowProgressSheet(sampleView(context)->window(), QStringLiteral("EXPORT_PROGRESS_TITLE"));
    sheet->open();
    return sheet;
}

} // namespace

// Just started: the amount of work is not known yet.
QUILLARC_SCREEN("export-progress-starting", [](ScreenContext& context) -> QWidget* { return exportSheet(context); });

QUILLARC_SCREEN("export-progress", [](ScreenContext& context) -> QWidget* {
    FlowProgressSheet* sheet = exportSheet(context);
    sheet->showItem(2, 6, QStringLiteral("(Kopie) RE-1043_Wartungsvertrag Server mit Anlage und Preisblatt.pdf"));
    return sheet;
});

// A batch of five files, the third being taken in; Cancel stops after it.
QUILLARC_SCREEN("mainview-progress-batch", [](ScreenContext& context) -> QWidget* {
    MainView* view = sampleView(context);
    view->beginProgress(true);
    KVTessaryProgress* progress = view->progressIndicator();
    progress->setRange(0, 5);
    progress->setValue(2);
    progress->setText(QStringLiteral("3 / 5  Tankquittung.jpg"));
    return view->window();
});

// One file: its text is read and recognised, for as long as that takes.
QUILLARC_SCREEN("mainview-progress-record", [](ScreenContext& context) -> QWidget* {
    MainView* view = sampleView(context);
    view->beginProgress(false);
    view->progressIndicator()->setText(QStringLiteral("Rechnung Büromaterial.pdf"));
    return view->window();
});

// The log report is laid out away from the window; the lists give way meanwhile.
QUILLARC_SCREEN("logreport-progress", [](ScreenContext& context) -> QWidget* {
    MainView* view = sampleView(context);
    view->beginProgress(false);
    return view->window();
});
