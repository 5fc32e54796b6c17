// The main view in a frame of its own (its toolbar strip above it), the
// sheets of its flows, the sort popover and the preview window.
#include "ScreenRegistry.h"
#include "ScreenSamples.h"
#include "app/intake/BatchFlow.h"
#include "app/intake/GroupFlow.h"
#include "app/intake/IntakeFlow.h"
#include "app/preview/PdfPageView.h"
#include "app/preview/PreviewWindow.h"
#include "app/sheet/BatchSheet.h"
#include "app/sheet/DocumentSheet.h"
#include "app/sheet/FolderImportSheet.h"
#include "app/sheet/GroupSheet.h"
#include "app/util/FileDialog.h"
#include "app/window/MainView.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QLineEdit>

namespace {

/// The sample archive's main view with the two-page invoice selected.
MainView* fullView(ScreenContext& context, ScreenSamples::Archive* made)
{
    *made = ScreenSamples::accountingArchive(context);
    MainView* view = ScreenSamples::mainViewFrame(context, made->document);
    view->selectGroup(made->groups.value(0));
    view->selectDocument(made->pdf);
    ScreenContext::waitFor([view, made] { return view->currentDocument() == made->pdf; });
    return view;
}

/// The preview window of @p record, once its first page or picture shows.
QWidget* preview(ScreenContext& context, bool pdf)
{
    ScreenSamples::Archive made;
    MainView* view = fullView(context, &made);
    const DocumentPtr record = pdf ? made.pdf : made.image;
    view->selectDocument(record);
    ScreenContext::waitFor([view, record] { return view->currentDocument() == record; });
    view->generateQuickLook();
    PreviewWindow* window = view->previewWindow();
    if (!window)
        return nullptr;
    window->resize(640, 820);
    ScreenContext::waitFor(
        [window, record, pdf] {
            return window->document() == record && window->isReady()
                && (!pdf || window->pdfView()->renderedPageCount() > 0);
        },
        20000);
    return window;
}

} // namespace

// A new archive: the start area, the title field waiting for a name.
QUILLARC_SCREEN("mainview-empty", [](ScreenContext& context) -> QWidget* {
    auto* fresh = new Document;
    context.keep(fresh);
    fresh->setUpAfterReading();
    MainView* view = ScreenSamples::mainViewFrame(context, fresh);
    ScreenContext::waitFor([view] { return view->containerTitleTextField()->hasFocus(); });
    return view->window();
});

QUILLARC_SCREEN("mainview-full", [](ScreenContext& context) -> QWidget* {
    ScreenSamples::Archive made;
    return fullView(context, &made)->window();
});

// A record's sheet after a file was chosen in the open dialog.
QUILLARC_SCREEN("mainview-sheet-document", [](ScreenContext& context) -> QWidget* {
    ScreenSamples::Archive made;
    MainView* view = fullView(context, &made);
    FileDialog::setNextFileName(made.files + QStringLiteral("/Bewirtung.png"));
    view->addDocument();
    ScreenContext::waitFor([view] { return view->intakeFlow()->documentSheet() != nullptr; }, 30000);
    return view->intakeFlow()->documentSheet();
});

// The sheet at the end of a batch: two taken in, a missing file and a folder refused.
QUILLARC_SCREEN("mainview-sheet-batch", [](ScreenContext& context) -> QWidget* {
    ScreenSamples::Archive made;
    MainView* view = fullView(context, &made);
    const QString& files = made.files;
    view->batchFlow()->startBatch({ files + QStringLiteral("/Tankquittung.jpg"),
                                      files + QStringLiteral("/Notiz Steuerberater.txt"),
                                      files + QStringLiteral("/gone.pdf"), files },
        made.groups.value(0), false);
    ScreenContext::waitFor([view] { return view->batchFlow()->batchSheet() != nullptr; }, 60000);
    return view->batchFlow()->batchSheet();
});

// The sheet of a folder group.
QUILLARC_SCREEN("mainview-sheet-group", [](ScreenContext& context) -> QWidget* {
    ScreenSamples::Archive made;
    MainView* view = fullView(context, &made);
    view->selectGroup(made.groups.value(2));
    view->editGroup();
    ScreenContext::waitFor([view] { return view->groupFlow()->groupSheet() != nullptr; });
    return view->groupFlow()->groupSheet();
});

QUILLARC_SCREEN("mainview-sheet-folderimport", [](ScreenContext& context) -> QWidget* {
    ScreenSamples::Archive made;
    MainView* view = fullView(context, &made);
    auto* sheet = new FolderImportSheet(view->window());
    sheet->setFolderImportString(localizedString(QStringLiteral("MONITORED_FOLDER_IMPORT_START")));
    sheet->open();
    return sheet;
});

QUILLARC_SCREEN("mainview-popover-sort", [](ScreenContext& context) -> QWidget* {
    ScreenSamples::Archive made;
    MainView* view = fullView(context, &made);
    view->showSortOrderPopover();
    return ScreenSamples::shownPopover(view->window());
});

QUILLARC_SCREEN("mainview-preview-pdf", [](ScreenContext& context) { return preview(context, true); });
QUILLARC_SCREEN("mainview-preview-image", [](ScreenContext& context) { return preview(context, false); });
