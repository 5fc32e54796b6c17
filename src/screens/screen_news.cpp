#include "ScreenRegistry.h"
#include "app/news/NewsWindow.h"

#include <QFile>
#include <QSettings>

// The news window showing a page read from a local file, as the makers' page would look.
QUILLARC_SCREEN("news", [](ScreenContext& context) -> QWidget* {
    const bool german = context.language() == QLatin1String("de");
    const QString path = context.freshPath(QStringLiteral("news")) + QStringLiteral(".html");
    QFile page(path);
    if (!page.open(QIODevice::WriteOnly))
        return nullptr;
    page.write(german
            ? "<html><body><h2>Neu in Quillarc</h2><p>Belege lassen sich jetzt direkt vom Scanner &uuml;bernehmen, "
              "und die Texterkennung liest Deutsch und Englisch zugleich.</p><ul><li>Schnellere Suche in gro&szlig;en "
              "Archiven</li><li>Export mit &Uuml;bersicht als PDF</li></ul><p><a href=\"https://quillarc.tessary.de/"
              "support/\">Mehr erfahren</a></p></body></html>"
            : "<html><body><h2>New in Quillarc</h2><p>Receipts can now be taken straight from the scanner, and text "
              "recognition reads German and English together.</p><ul><li>Faster search in large "
              "archives</li><li>Export "
              "with a summary PDF</li></ul><p><a href=\"https://quillarc.tessary.de/en/support/\">Learn more</a></p>"
              "</body></html>");
    page.close();
    QSettings().setValue(QStringLiteral("newsPageURL"), QUrl::fromLocalFile(path).toString());

    auto* window = new NewsWindow;
    bool loaded = false;
    const auto connection = QObject::connect(window, &NewsWindow::pageLoaded, window, [&loaded] { loaded = true; });
    window->loadNEWS();
    window->show();
    ScreenContext::waitFor([&loaded] { return loaded; });
    QObject::disconnect(connection);
    return window;
});
