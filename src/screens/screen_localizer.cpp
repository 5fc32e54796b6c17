#include "ScreenRegistry.h"
#include "app/translation/KVLocalizer.h"
#include "app/translation/KVLocalizerFilterModel.h"
#include "app/translation/KVLocalizerModel.h"

#include <QTableView>

// The translation editor with a filter applied and one text edited but not yet
// tested live (shown in bold), over the shipped table.
QUILLARC_SCREEN("localizer", [](ScreenContext&) -> QWidget* {
    auto* editor = new KVLocalizer;
    editor->setFilterText(QStringLiteral("gruppe"));
    QAbstractItemModel* rows = editor->filterModel();
    const QModelIndex english = rows->index(0, editor->model()->columnOfLanguage(QStringLiteral("en")));
    rows->setData(english, QStringLiteral("New Drawer"));
    editor->view()->setCurrentIndex(english);
    editor->show();
    return editor;
});
