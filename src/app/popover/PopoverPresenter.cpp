#include "app/popover/PopoverPresenter.h"

#include "app/popover/HelpPopover.h"
#include "app/popover/PopoverController.h"
#include "app/popover/PopoverRegistry.h"
#include "app/style/ThemeManager.h"
#include "app/window/ArchiveWindow.h"
#include "app/window/MainView.h"

PopoverPresenter::PopoverPresenter(ArchiveWindow* window)
    : QObject(window)
    , m_window(window)
{
}

PopoverController* PopoverPresenter::showPopoverWithNIBName(
    const QString& name, QWidget* anchor, Popover::Behavior behavior, int actionTag, const Value& representedObject)
{
    closePopover();
    PopoverController* controller = PopoverRegistry::create(name);
    if (!controller)
        controller = new PopoverController; // shows as an empty popover
    controller->setObjectName(name);
    controller->setRepresentedObject(representedObject);
    controller->setDocument(m_window->document());
    controller->setActionTag(actionTag);
    present(controller, anchor, behavior);
    controller->popoverViewActions();
    return controller;
}

void PopoverPresenter::showInfoWithTag(int tag, QWidget* button)
{
    closePopover();
    auto* help = new HelpPopover;
    help->setDocument(m_window->document());
    help->setTag(tag, isDarkAppearance());
    present(help, button, Popover::Behavior::Transient);
}

void PopoverPresenter::showInfoPopoverWithTag(QWidget* button)
{
    showInfoWithTag(button ? button->property("tag").toInt() : 0, button);
}

void PopoverPresenter::present(PopoverController* controller, QWidget* anchor, Popover::Behavior behavior)
{
    m_controller = controller;
    m_popover = new Popover(controller, behavior, m_window);
    m_popover->showRelativeTo(anchor ? anchor : m_window);
}

void PopoverPresenter::closePopover()
{
    if (m_popover) {
        // Give the keyboard back to the window first: with no active window
        // the application counts as inactive and would close the next popover too.
        if (m_popover->isActiveWindow())
            m_window->activateWindow();
        m_popover->close();
    }
    m_popover = nullptr;
    m_controller = nullptr;
}

bool PopoverPresenter::isDarkAppearance() const
{
    const QWidget* view = m_window->mainView() ? static_cast<QWidget*>(m_window->mainView()) : m_window;
    return ThemeManager::isDarkPalette(view->palette());
}
