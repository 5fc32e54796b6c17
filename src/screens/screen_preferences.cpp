#include "ScreenRegistry.h"
#include "app/prefs/PreferencesWindow.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

// The preferences window on each of its pages, for an archive with a
// description and voucher numbering switched on.
namespace {
const char* const pageNames[PreferencesWindow::pageCount]
    = { "general", "archive", "numbering", "import", "recognition", "tags", "export", "application" };

QWidget* preferencesPage(ScreenContext& context, int page)
{
    const bool german = context.language() == QLatin1String("de");
    auto* archive = new Document;
    archive->setUpAfterReading();
    auto container = archive->container();
    container->setField(QuillarcContainer::ContainerTitle,
        Value::string(german ? QStringLiteral("Belege 2024") : QStringLiteral("Receipts 2024")));
    container->setField(QuillarcContainer::ContainerDescription,
        Value::string(german ? QStringLiteral("Eingangs- und Ausgangsrechnungen der Praxis\nab Januar 2024")
                             : QStringLiteral("Incoming and outgoing invoices of the practice\nfrom January 2024")));
    auto preferences = archive->preferences();
    preferences->setField(QuillarcPreferences::AutoVoucherNumbering, Value::boolean(true));
    preferences->setField(QuillarcPreferences::VoucherPrefix, Value::string(german ? "RE-" : "INV-"));
    preferences->setField(QuillarcPreferences::VoucherNumber, Value::integer(41));
    preferences->setField(QuillarcPreferences::VoucherSuffix, Value::string(QStringLiteral("/24")));

    auto* window = new PreferencesWindow;
    context.keep(archive);
    window->setMainDocument(archive);
    window->viewActions();
    window->selectViewWithIndex(page);
    window->show();
    return window;
}

const bool registered = [] {
    for (int page = 0; page < PreferencesWindow::pageCount; ++page) {
        ScreenRegistry::add(QStringLiteral("preferences-%1-%2").arg(page).arg(QLatin1String(pageNames[page])),
            [page](ScreenContext& context) { return preferencesPage(context, page); });
    }
    return true;
}();
} // namespace
