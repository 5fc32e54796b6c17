// The scanner window after an overview scan of SANE's test scanner (the
// configuration the tests use: two devices, an A4 grid). Skipped where SANE
// lists no scanner.
#include "ScreenRegistry.h"
#include "ScreenSamples.h"
#include "app/scanner/ScanPreviewView.h"
#include "app/scanner/ScannerWindow.h"
#include "app/window/MainView.h"

#include <QDeadlineTimer>
#include <QPushButton>

#ifndef QUILLARC_SANE_TEST_CONFIG
#define QUILLARC_SANE_TEST_CONFIG ""
#endif

namespace {
// Scans run on worker threads; a busy machine may take a while.
constexpr int scannerTimeout = 60000;
} // namespace

QUILLARC_SCREEN("scanner-overview", [](ScreenContext& context) -> QWidget* {
    // Only the test scanner, never a device the machine happens to have.
    if (qEnvironmentVariableIsEmpty("SANE_CONFIG_DIR"))
        qputenv("SANE_CONFIG_DIR", QUILLARC_SANE_TEST_CONFIG);
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    MainView* view = ScreenSamples::mainViewFrame(context, made.document);
    ScannerWindow* window = ScannerWindow::showScannerSheet(made.document, view->window());
    if (!window)
        return nullptr;
    context.keep(window);
    window->setDocumentTitle(QStringLiteral("Lieferschein 12"));
    auto* scanButton = window->findChild<QPushButton*>(QStringLiteral("scanButton"));
    auto* overviewButton = window->findChild<QPushButton*>(QStringLiteral("overviewButton"));
    auto* preview = window->findChild<ScanPreviewView*>(QStringLiteral("preview"));
    if (!scanButton || !overviewButton || !preview)
        return nullptr;
    // Listing ends either with the devices' options in place or with no device at all.
    const QDeadlineTimer listing(scannerTimeout);
    ScreenContext::waitFor(
        [&] { return scanButton->isEnabled() || (!window->isBusy() && window->devices().isEmpty()); },
        scannerTimeout);
    if (window->devices().isEmpty()) {
        context.skip(QStringLiteral("no scanner answers (SANE's test backend is not installed)"));
        return nullptr;
    }
    ScreenContext::waitFor([&] { return scanButton->isEnabled(); }, int(listing.remainingTime()));
    overviewButton->click();
    ScreenContext::waitFor([&] { return !preview->image().isNull() && !window->isBusy(); }, scannerTimeout);
    return window;
});
