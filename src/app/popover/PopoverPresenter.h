#pragma once

#include "app/popover/Popover.h"
#include "app/popover/PopoverController.h"
#include "model/Value.h"

#include <QObject>
#include <QPointer>

class ArchiveWindow;
class QAbstractButton;

/// The popovers of one archive window, at most one at a time: a screen
/// shown by its class name, or the help popover of an info button. A new
/// request closes the popover that is showing first.
class PopoverPresenter : public QObject
{
    Q_OBJECT

public:
    explicit PopoverPresenter(ArchiveWindow* window);

    /// Shows the screen registered as @p name anchored to @p anchor, with the
    /// action tag and represented object, then runs its popoverViewActions().
    /// A name nobody registered shows an empty popover.
    PopoverController* showPopoverWithNIBName(const QString& name, QWidget* anchor, Popover::Behavior behavior,
        int actionTag, const Value& representedObject = Value());

    /// The help popover for @p tag under @p button.
    void showInfoWithTag(int tag, QWidget* button);
    /// The same with the button's own tag (its "tag" property, 0 without one).
    void showInfoPopoverWithTag(QWidget* button);

    Popover* kvPopover() const { return m_popover; }
    PopoverController* kvPopoverViewController() const { return m_controller; }
    void closePopover();

    /// Whether the window's main view looks dark (light text on a dark ground).
    bool isDarkAppearance() const;

private:
    void present(PopoverController* controller, QWidget* anchor, Popover::Behavior behavior);

    ArchiveWindow* m_window;
    QPointer<Popover> m_popover;
    QPointer<PopoverController> m_controller;
};
