#pragma once

// Window tests of the main view: a saved archive made by the engine, shown in
// a plain window the way the archive window shows it. Header-only, because
// only the window tests link the application library.

#include "ArchiveFixture.h"
#include "TestSupport.h"
#include "app/intake/Delay.h"
#include "app/popover/PopoverRegistry.h"
#include "app/window/MainView.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "text/KVLocalizationDictionary.h"

#include <QApplication>
#include <QTest>
#include <QVBoxLayout>
#include <memory>

/// A saved archive and its main view in a window of 1000 by 700 points.
class MainViewHarness
{
public:
    explicit MainViewHarness(const QString& packagePath, bool setUp = true)
        : m_fixture(std::make_unique<ArchiveFixture>(packagePath))
    {
        if (setUp)
            preferences()->setField(QuillarcPreferences::IsSetupDone, Value::boolean(true));
    }

    ~MainViewHarness() { delete m_window; }

    Document& archive() { return m_fixture->archive(); }
    ArchiveFixture& fixture() { return *m_fixture; }
    PreferencesPtr preferences() { return archive().preferences(); }
    GroupPtr addGroup(const QString& title) { return m_fixture->addGroup(title); }

    /// Builds and shows the view (after the archive's contents are in place);
    /// @p viewActions: as the archive window does once the view is in place.
    MainView* open(bool viewActions = true)
    {
        archive().setParents();
        archive().clearChangeCount();
        m_window = new QWidget;
        auto* layout = new QVBoxLayout(m_window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_view = new MainView(&archive(), m_window));
        m_window->resize(1000, 700);
        m_window->show();
        if (viewActions)
            m_view->viewActions();
        // The stored selection is restored at the next turn (delays run at once in tests).
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        return m_view;
    }

    MainView* view() const { return m_view; }
    QWidget* window() const { return m_window; }

    /// Delays at once, the shipped popovers known, English texts.
    static void prepareApplication()
    {
        Delay::setFactor(0);
        PopoverRegistry::registerBuiltIns();
        KVLocalizationDictionary& table = KVLocalizationDictionary::sharedLocalizationDictionary();
        table.setLanguage(QStringLiteral("en"));
        table.reloadLocalizationDictionary();
    }

private:
    std::unique_ptr<ArchiveFixture> m_fixture;
    QWidget* m_window = nullptr;
    MainView* m_view = nullptr;
};
