#pragma once

#include "screens/ScreenRegistry.h"

#include "app/core/AppSettings.h"
#include "app/core/Delays.h"
#include "app/popover/PopoverRegistry.h"
#include "text/KVLocalizationDictionary.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QWidget>
#include <memory>

/// Builds registered screens for window tests the way render_screens does:
/// without animations or delays, in a language of the table, with fixture
/// archives in a scratch folder of the test's own.
class ScreenRound
{
public:
    /// Once per test process, before the first screen.
    static void setUpApplication()
    {
        QSettings().setValue(AppSettings::disableAnimation, true);
        Delays::setScaleForTesting(0.0);
        PopoverRegistry::registerBuiltIns();
    }

    static void useLanguage(const QString& language)
    {
        KVLocalizationDictionary& table = KVLocalizationDictionary::sharedLocalizationDictionary();
        table.setLanguage(language);
        table.reloadLocalizationDictionary();
    }

    /// The registered screen called @p name, or nullptr.
    static const ScreenRegistry::Entry* entry(const QString& name)
    {
        for (const ScreenRegistry::Entry& entry : ScreenRegistry::all()) {
            if (entry.name == name)
                return &entry;
        }
        return nullptr;
    }

    /// Builds screen @p name in @p language; the widget is shown and settled.
    ScreenRound(const QString& name, const QString& language)
        : m_context(language, false, m_scratch.path())
    {
        useLanguage(language);
        if (const ScreenRegistry::Entry* found = entry(name))
            m_widget = found->render(m_context);
        if (m_widget)
            ScreenContext::settle(50);
    }

    ~ScreenRound()
    {
        if (m_widget) {
            m_widget->close();
            m_context.keep(m_widget);
        }
    }

    QWidget* widget() const { return m_widget; }

private:
    QTemporaryDir m_scratch;
    ScreenContext m_context;
    QWidget* m_widget = nullptr;
};
