#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/WelcomeView.h"
#include "store/Document.h"

QUILLARC_SCREEN("welcome", [](ScreenContext& context) -> QWidget* {
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Müller & Söhne Buchhaltung"), 2, 3);
    ArchiveWindow* window = ScreenFixtures::openWindow(context, path, false);
    window->welcomeView()->setProgress(0.46);
    return window;
});

QUILLARC_SCREEN("archive-window", [](ScreenContext& context) -> QWidget* {
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Müller & Söhne Buchhaltung"), 3, 5);
    ArchiveWindow* window = ScreenFixtures::openWindow(context, path, true);
    window->updateChangeCount(ArchiveWindow::ChangeType::Done);
    return window;
});

// A large archive is read beside its window, which shows at once.
QUILLARC_SCREEN("archive-window-loading", [](ScreenContext& context) -> QWidget* {
    auto* window = new ArchiveWindow(new Document);
    context.keep(window);
    window->resize(1120, 720);
    window->beginLoading(context.freshPath(QStringLiteral("folder")) + QStringLiteral("/Belege 2024.quillarc"));
    window->show();
    return window;
});
