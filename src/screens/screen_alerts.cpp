#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "app/util/MessageBox.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/ArchiveWindow.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QDir>
#include <QFile>
#include <QTimer>

namespace {
QString text(const char* key)
{
    return localizedString(QString::fromUtf8(key));
}
} // namespace

// The question of an archive marked open on another computer (asked before reading goes on).
QUILLARC_SCREEN("alert-open-elsewhere", [](ScreenContext&) -> QWidget* {
    const QString message
        = QStringLiteral("%1\"%2\"\n\n%3")
              .arg(text("DOCUMENT_OPEN_CHECK_ALERT_PART_1"), QStringLiteral("buero-pc (Erika Mustermann)"),
                  text("DOCUMENT_OPEN_CHECK_ALERT_PART_2"));
    MessageBox::alert(
        nullptr, MessageBox::Icon::Critical, text("Warning!"), message, { text("Quit_App"), text("Continue…") });
    return ScreenFixtures::shownAlert();
});

// An archive saved by a newer version, opened with "Open…".
QUILLARC_SCREEN("alert-open-newer-version", [](ScreenContext&) -> QWidget* {
    MessageBox::alert(nullptr, MessageBox::Icon::Warning, text("DOCUMENT_OPEN_ERROR."),
        text("APP_VERSION_TOO_OLD_ALERT") + QStringLiteral("\n\n") + text("PLEASE_UPDATE_TO_LATEST_HINT"),
        { text("OK") });
    return ScreenFixtures::shownAlert();
});

// Started for an archive that does not open: the ways on.
QUILLARC_SCREEN("alert-launch-failed", [](ScreenContext&) -> QWidget* {
    MessageBox::alert(nullptr, MessageBox::Icon::Warning, text("DOCUMENT_OPEN_ERROR."),
        QStringLiteral(
            "/home/erika/Dokumente/Belege 2023.quillarc\n\n“/home/erika/Dokumente/Belege 2023.quillarc” is not a "
            "Quillarc archive (no such folder)."),
        { text("MENU_NEW"), text("MENU_OPEN"), text("Quit_App") });
    return ScreenFixtures::shownAlert();
});

// The closing save failed (here: the database cannot be replaced).
QUILLARC_SCREEN("alert-close-save-failed", [](ScreenContext& context) -> QWidget* {
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Belege"), 1, 1);
    ArchiveWindow* window = ScreenFixtures::openWindow(context, path, true);
    const QString database = QDir(path).filePath(QLatin1String(Document::databaseName));
    QFile::remove(database);
    QDir().mkpath(database + QStringLiteral("/blocker"));
    window->close();
    return ScreenFixtures::shownAlert(window);
});

// Closing a new archive whose save dialog was cancelled.
QUILLARC_SCREEN("alert-close-untitled", [](ScreenContext& context) -> QWidget* {
    const QString path = ScreenFixtures::archive(context, QStringLiteral("Belege"), 1, 1);
    ArchiveWindow* window = ScreenFixtures::openWindow(context, path, true);
    MessageBox::alert(window, MessageBox::Icon::Warning, text("CLOSE_UNTITLED_TITLE"), text("CLOSE_UNTITLED_TEXT"),
        { text("Cancel"), text("CLOSE_DISCARD_BUTTON") });
    return ScreenFixtures::shownAlert(window);
});
