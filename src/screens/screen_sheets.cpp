#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "app/sheet/BatchSheet.h"
#include "app/sheet/DocumentSheet.h"
#include "app/sheet/FolderImportSheet.h"
#include "app/sheet/GroupSheet.h"
#include "app/window/ArchiveWindow.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

// The sheets of an archive window, each opened on a window of its own over a
// small archive, as the window's flows open them.
namespace {
ArchiveWindow* sheetWindow(ScreenContext& context)
{
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Belege"), 2, 2);
    return ScreenFixtures::openWindow(context, path, true);
}

QWidget* shown(QDialog* sheet)
{
    sheet->open();
    ScreenContext::waitFor([sheet] { return sheet->isVisible(); });
    return sheet;
}
} // namespace

QUILLARC_SCREEN("sheet-group", [](ScreenContext& context) -> QWidget* {
    ArchiveWindow* window = sheetWindow(context);
    const GroupPtr group = window->document()->container()->groups().value(0);
    return shown(new GroupSheet(window, group, false));
});

QUILLARC_SCREEN("sheet-group-new", [](ScreenContext& context) -> QWidget* {
    ArchiveWindow* window = sheetWindow(context);
    const GroupPtr group = window->document()->container()->groups().value(1);
    return shown(new GroupSheet(window, group, true));
});

QUILLARC_SCREEN("sheet-document", [](ScreenContext& context) -> QWidget* {
    ArchiveWindow* window = sheetWindow(context);
    const DocumentPtr record = window->document()->container()->groups().value(0)->documents().value(0);
    return shown(new DocumentSheet(window, record, false));
});

// A batch of three files, one of them passed over, in an archive that numbers vouchers.
QUILLARC_SCREEN("sheet-batch", [](ScreenContext& context) -> QWidget* {
    ArchiveWindow* window = sheetWindow(context);
    BatchIntake::SheetValues values;
    values.tagsBatchDocuments = { QStringLiteral("2024") };
    values.voucherNumberingBatchDocuments = true;
    values.voucherPrefixBatchDocuments = QStringLiteral("RE-");
    values.voucherNumberBatchDocuments = Value::integer(41);
    values.voucherSuffixBatchDocuments = QStringLiteral("/24");
    const QStringList skipped = { QStringLiteral("/home/erika/Scans/notiz.xyz") };
    const QString title = QStringLiteral("2 ") + localizedString(QStringLiteral("NEW_BATCH_LABEL"));
    return shown(new BatchSheet(window, title, values, skipped, { QStringLiteral("2024") }));
});

QUILLARC_SCREEN("sheet-folderimport", [](ScreenContext& context) -> QWidget* {
    ArchiveWindow* window = sheetWindow(context);
    auto* sheet = new FolderImportSheet(window);
    sheet->setFolderImportString(localizedString(QStringLiteral("MONITORED_FOLDER_IMPORT_START")));
    return shown(sheet);
});
