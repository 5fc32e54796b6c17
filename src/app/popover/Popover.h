#pragma once

#include <QFrame>
#include <QPointer>

class PopoverController;

/// A small window anchored under a button that shows one PopoverController.
///
/// Transient popovers close on any click outside them; semi-transient ones
/// close on a click elsewhere in the application but stay while the user
/// works in another application; application-defined ones close only when
/// told to (or when their content asks).
class Popover : public QFrame
{
    Q_OBJECT

public:
    enum class Behavior { ApplicationDefined, Transient, SemiTransient };

    Popover(PopoverController* content, Behavior behavior, QWidget* window);
    ~Popover() override;

    PopoverController* content() const { return m_content; }
    Behavior behavior() const { return m_behavior; }

    /// Shows the popover under @p anchor (above it when there is no room
    /// below), keeping it on the anchor's screen.
    void showRelativeTo(QWidget* anchor);

    /// Hands the content back to the caller instead of deleting it with the
    /// popover (a screen kept for the archive's life).
    PopoverController* takeContent();

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QPointer<PopoverController> m_content;
    Behavior m_behavior;
    bool m_above = false;
    qreal m_arrowX = -1; ///< where the arrow points, in the popover; -1 for the middle
};
