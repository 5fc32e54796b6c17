#pragma once

#include <QObject>
#include <QPalette>
#include <QPointer>

class DesktopColorScheme;

/// The application's look: the Fusion style with a light or dark palette of
/// our own. Dark or light follows the desktop (the portal's colour-scheme
/// setting when there is one, otherwise the lightness of the desktop's own
/// window colour) unless a scheme is forced for tests and screenshots.
///
/// Controls paint from the palette only, so applying a new palette and
/// repainting is all a theme change needs.
class ThemeManager : public QObject
{
    Q_OBJECT

public:
    /// Which palette to use: the desktop's choice, or a forced one.
    enum Scheme
    {
        System,
        Light,
        Dark
    };
    Q_ENUM(Scheme)

    /// The single instance, owned by the application object.
    static ThemeManager* instance();

    /// Sets the Fusion style and the palette of the current scheme on the
    /// application and starts following the desktop's colour scheme.
    void apply();

    /// True while the dark palette is applied (or would be, before apply()).
    bool isDark() const;

    Scheme forcedScheme() const;
    /// Forces the light or dark palette, or returns to the desktop's choice
    /// (System); applies the result at once and repaints every window.
    void setForcedScheme(Scheme scheme);

    /// The palette of the current scheme.
    QPalette palette() const;

    static QPalette lightPalette();
    static QPalette darkPalette();

    /// True when @p palette is dark: its window colour's lightness is below 110.
    static bool isDarkPalette(const QPalette& palette);

    /// The desktop's choice: the portal's colour-scheme value (1 dark, 2 light;
    /// 0 "no preference" or -1 "no portal" leave it to @p systemPalette).
    static bool desktopPrefersDark(int portalColorScheme, const QPalette& systemPalette);

    /// Substitutes the archive window's font family "WriteSans" (see AppFonts).
    static void applyFonts();

Q_SIGNALS:
    /// The applied palette changed between light and dark.
    void themeChanged(bool dark);

private:
    explicit ThemeManager(QObject* parent);
    bool wantsDark() const;
    void update();

    DesktopColorScheme* m_desktop = nullptr;
    Scheme m_forced = System;
    QPalette m_systemPalette;
    bool m_dark = false;
    bool m_applied = false;
};
