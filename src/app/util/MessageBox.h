#pragma once

#include <QMessageBox>
#include <QStringList>

#include <functional>

/// Alerts of the application, shown window-modal on an archive window (or
/// application-modal without one) and answered through a callback.
///
/// Tests answer an alert before it is asked with setNextAnswer(): the alert is
/// then not shown at all, and the callback receives the prepared answer on the
/// next turn of the event loop, as a real click would arrive.
class MessageBox
{
public:
    enum class Icon { Information, Warning, Critical };

    /// Buttons are given in order, the first one being the default; the
    /// callback gets the index of the pressed button (0 = first), or -1 when
    /// the alert was dismissed without a button.
    static void alert(QWidget* parent, Icon icon, const QString& title, const QString& informativeText,
        const QStringList& buttons, std::function<void(int)> done = {});

    /// The same alert, waited for: for the few questions whose answer is
    /// needed before the caller can go on (an archive marked open elsewhere).
    static int ask(QWidget* parent, Icon icon, const QString& title, const QString& informativeText,
        const QStringList& buttons);

    /// The short sound for a refused action.
    static void beep();

    // Test seams.
    static void setNextAnswer(int buttonIndex);
    static bool hasNextAnswer();
    /// Every alert asked since the last call, as "title\ninformative text".
    static QStringList takeAskedAlerts();
    static int beepCount();

private:
    static QMessageBox* build(QWidget* parent, Icon icon, const QString& title, const QString& informativeText,
        const QStringList& buttons);
};
