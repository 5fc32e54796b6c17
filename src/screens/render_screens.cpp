// Writes a picture of every registered screen in German and English, light
// and dark: <out>/<screen>-<language>-<theme><suffix>.png.
//
//   render_screens [--out DIR] [--suffix @2x] [--only NAME]

#include "ScreenRegistry.h"
#include "app/core/AppInfo.h"
#include "app/core/AppSettings.h"
#include "app/core/Delays.h"
#include "app/intake/Delay.h"
#include "app/popover/PopoverRegistry.h"
#include "app/style/ThemeManager.h"
#include "text/KVLocalizationDictionary.h"

#include <QApplication>
#include <QDir>
#include <QFont>
#include <QLocale>
#include <QPixmap>
#include <QTemporaryDir>
#include <QWidget>
#include <cstdio>

int main(int argc, char** argv)
{
    // Fixture archives and settings live in a scratch home, never the user's.
    QTemporaryDir scratch;
    for (const char* variable : { "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME" })
        qputenv(variable, (scratch.path() + QLatin1Char('/') + QLatin1String(variable)).toUtf8());
    // The integrity log and scans go below the home folder: a scratch one with the usual folders.
    const QString home = scratch.path() + QStringLiteral("/home");
    for (const char* folder : { "Documents", "Pictures" })
        QDir().mkpath(home + QLatin1Char('/') + QLatin1String(folder));
    qputenv("HOME", home.toUtf8());
    QCoreApplication::setOrganizationName(AppInfo::organizationName());
    QCoreApplication::setApplicationName(AppInfo::applicationName());
    QApplication app(argc, argv);

    QString out = QStringLiteral("build/screens");
    QString suffix;
    QString only;
    const QStringList arguments = app.arguments();
    for (int i = 1; i + 1 < arguments.size(); i += 2) {
        if (arguments.at(i) == QLatin1String("--out"))
            out = arguments.at(i + 1);
        else if (arguments.at(i) == QLatin1String("--suffix"))
            suffix = arguments.at(i + 1);
        else if (arguments.at(i) == QLatin1String("--only"))
            only = arguments.at(i + 1);
    }
    QDir().mkpath(out);

    QSettings().setValue(AppSettings::disableAnimation, true);
    Delays::setScaleForTesting(0.0);
    Delay::setFactor(0); // the main view's flows go on at the next turn
    PopoverRegistry::registerBuiltIns();
    // The application font as the first archive window installs it, whichever screen comes first.
    ThemeManager::applyFonts();
    // Hinted as desktops hint by default (slightly): the offscreen platform's full
    // hinting drops the dots of capital umlauts at small sizes, which no user sees.
    QFont font = QApplication::font();
    font.setHintingPreference(QFont::PreferVerticalHinting);
    QApplication::setFont(font);
    KVLocalizationDictionary& table = KVLocalizationDictionary::sharedLocalizationDictionary();

    int written = 0;
    int failed = 0;
    for (const QString& language : { QStringLiteral("de"), QStringLiteral("en") }) {
        table.setLanguage(language);
        table.reloadLocalizationDictionary();
        // Dates and sizes as a user of that language sees them.
        QLocale::setDefault(language == QLatin1String("de") ? QLocale(QLocale::German, QLocale::Germany)
                                                             : QLocale(QLocale::English, QLocale::UnitedKingdom));
        for (const bool dark : { false, true }) {
            ThemeManager::instance()->setForcedScheme(dark ? ThemeManager::Dark : ThemeManager::Light);
            for (const ScreenRegistry::Entry& entry : ScreenRegistry::all()) {
                if (!only.isEmpty() && !entry.name.contains(only))
                    continue;
                ScreenContext context(language, dark, scratch.path());
                QWidget* widget = entry.render(context);
                const QString file = QStringLiteral("%1/%2-%3-%4%5.png")
                                         .arg(out, entry.name, language,
                                             dark ? QStringLiteral("dark") : QStringLiteral("light"), suffix);
                if (!widget && !context.skipReason().isEmpty()) {
                    std::printf("render_screens: %s skipped: %s\n", qPrintable(entry.name),
                        qPrintable(context.skipReason()));
                    continue;
                }
                if (!widget) {
                    std::fprintf(stderr, "render_screens: %s gave no widget\n", qPrintable(entry.name));
                    ++failed;
                    continue;
                }
                ScreenContext::settle();
                if (widget->grab().save(file)) {
                    ++written;
                } else {
                    std::fprintf(stderr, "render_screens: cannot write %s\n", qPrintable(file));
                    ++failed;
                }
                widget->close();
                context.keep(widget);
            }
        }
    }
    std::printf("render_screens: %d pictures in %s\n", written, qPrintable(out));
    return failed == 0 ? 0 : 1;
}
