#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/WelcomeView.h"

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
