#include "app/style/ThemeManager.h"

#include "app/style/AppFonts.h"
#include "app/style/ArchiveStyle.h"
#include "app/style/DesktopColorScheme.h"

#include <QApplication>
#include <QWidget>

namespace {

struct RoleColors
{
    QPalette::ColorRole role;
    QRgb active;
    QRgb disabled;
};

QPalette makePalette(std::initializer_list<RoleColors> colors)
{
    QPalette palette;
    for (const RoleColors& c : colors) {
        palette.setColor(QPalette::Active, c.role, QColor::fromRgba(c.active));
        palette.setColor(QPalette::Inactive, c.role, QColor::fromRgba(c.active));
        palette.setColor(QPalette::Disabled, c.role, QColor::fromRgba(c.disabled));
    }
    return palette;
}

} // namespace

ThemeManager* ThemeManager::instance()
{
    // Owned by the application object; a test that builds a second application gets a new one.
    static QPointer<ThemeManager> s_instance;
    if (!s_instance)
        s_instance = new ThemeManager(QCoreApplication::instance());
    return s_instance;
}

ThemeManager::ThemeManager(QObject* parent)
    : QObject(parent)
    , m_systemPalette(QGuiApplication::palette())
{
    m_dark = wantsDark();
}

void ThemeManager::apply()
{
    if (!m_desktop) {
        m_desktop = new DesktopColorScheme(this);
        connect(m_desktop, &DesktopColorScheme::preferenceChanged, this, &ThemeManager::update);
    }
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) && !m_applied) {
        // Fusion, with check boxes and radio buttons outlined visibly on a dark window.
        QApplication::setStyle(new ArchiveStyle);
    }
    m_applied = true;
    update();
}

bool ThemeManager::isDark() const
{
    return m_dark;
}

ThemeManager::Scheme ThemeManager::forcedScheme() const
{
    return m_forced;
}

void ThemeManager::setForcedScheme(Scheme scheme)
{
    m_forced = scheme;
    apply();
}

QPalette ThemeManager::palette() const
{
    return m_dark ? darkPalette() : lightPalette();
}

QPalette ThemeManager::lightPalette()
{
    return makePalette({
        { QPalette::Window, 0xffededed, 0xffededed },
        { QPalette::WindowText, 0xff1d1d1f, 0xffa3a3a6 },
        { QPalette::Base, 0xffffffff, 0xfff6f6f6 },
        { QPalette::AlternateBase, 0xfff4f5f7, 0xfff4f5f7 },
        { QPalette::Text, 0xff1d1d1f, 0xffa3a3a6 },
        { QPalette::PlaceholderText, 0xff8a8a8e, 0xffb8b8bb },
        { QPalette::Button, 0xfffcfcfc, 0xfff3f3f3 },
        { QPalette::ButtonText, 0xff1d1d1f, 0xffa3a3a6 },
        { QPalette::BrightText, 0xffffffff, 0xffffffff },
        { QPalette::Light, 0xffffffff, 0xffffffff },
        { QPalette::Midlight, 0xfff3f3f4, 0xfff3f3f4 },
        { QPalette::Mid, 0xffc6c6c8, 0xffd6d6d8 },
        { QPalette::Dark, 0xffa2a2a6, 0xffbdbdc0 },
        { QPalette::Shadow, 0xff6e6e73, 0xff9e9ea2 },
        { QPalette::Highlight, 0xff2f6fdb, 0xffc5cad3 },
        { QPalette::HighlightedText, 0xffffffff, 0xfff2f2f2 },
        { QPalette::Link, 0xff1f62cc, 0xff9aaed0 },
        { QPalette::LinkVisited, 0xff7446c2, 0xffb0a0cc },
        { QPalette::ToolTipBase, 0xfffbfbf6, 0xfffbfbf6 },
        { QPalette::ToolTipText, 0xff1d1d1f, 0xff8a8a8e },
    });
}

QPalette ThemeManager::darkPalette()
{
    return makePalette({
        { QPalette::Window, 0xff2a2a2d, 0xff2a2a2d },
        { QPalette::WindowText, 0xffe8e8ea, 0xff6c6c70 },
        { QPalette::Base, 0xff1e1e20, 0xff242426 },
        { QPalette::AlternateBase, 0xff252528, 0xff252528 },
        { QPalette::Text, 0xffe8e8ea, 0xff6c6c70 },
        { QPalette::PlaceholderText, 0xff8e8e93, 0xff5e5e62 },
        { QPalette::Button, 0xff3d3d41, 0xff333336 },
        { QPalette::ButtonText, 0xffe8e8ea, 0xff6c6c70 },
        { QPalette::BrightText, 0xffffffff, 0xffffffff },
        { QPalette::Light, 0xff505055, 0xff444448 },
        { QPalette::Midlight, 0xff444448, 0xff3a3a3d },
        { QPalette::Mid, 0xff333336, 0xff303033 },
        { QPalette::Dark, 0xff1a1a1c, 0xff1a1a1c },
        { QPalette::Shadow, 0xff000000, 0xff000000 },
        { QPalette::Highlight, 0xff3d7be8, 0xff3f4654 },
        { QPalette::HighlightedText, 0xffffffff, 0xffa0a0a4 },
        { QPalette::Link, 0xff6ea8ff, 0xff55698a },
        { QPalette::LinkVisited, 0xffb38cf2, 0xff6f5f8a },
        { QPalette::ToolTipBase, 0xff3d3d41, 0xff3d3d41 },
        { QPalette::ToolTipText, 0xffe8e8ea, 0xff8e8e93 },
    });
}

bool ThemeManager::isDarkPalette(const QPalette& palette)
{
    return palette.color(QPalette::Active, QPalette::Window).lightness() < 110;
}

bool ThemeManager::desktopPrefersDark(int portalColorScheme, const QPalette& systemPalette)
{
    if (portalColorScheme == DesktopColorScheme::PreferDark)
        return true;
    if (portalColorScheme == DesktopColorScheme::PreferLight)
        return false;
    return isDarkPalette(systemPalette);
}

void ThemeManager::applyFonts()
{
    AppFonts::install();
}

bool ThemeManager::wantsDark() const
{
    switch (m_forced) {
    case Light:
        return false;
    case Dark:
        return true;
    case System:
        break;
    }
    const int portal = m_desktop ? m_desktop->preference() : int(DesktopColorScheme::Unknown);
    return desktopPrefersDark(portal, m_systemPalette);
}

void ThemeManager::update()
{
    const bool dark = wantsDark();
    const bool changed = dark != m_dark;
    m_dark = dark;
    if (!m_applied)
        return;
    QGuiApplication::setPalette(palette());
    // Widgets repaint on the palette change event, but not those with a palette
    // of their own, and icons are tinted at paint time: repaint every window.
    if (qobject_cast<QApplication*>(QCoreApplication::instance())) {
        for (QWidget* widget : QApplication::allWidgets())
            widget->update();
    }
    if (changed)
        Q_EMIT themeChanged(m_dark);
}
