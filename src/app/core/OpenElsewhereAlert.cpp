#include "app/core/OpenElsewhereAlert.h"

#include "app/util/MessageBox.h"

#include <QApplication>

OpenElsewhereQuestion::Answer OpenElsewhereAlert::askOpenElsewhere(
    const QString& title, const QString& message, const QString& quitButton, const QString& continueButton)
{
    // Reading waits for the answer, so this alert is the one place that blocks.
    const int answer = MessageBox::ask(
        QApplication::activeWindow(), MessageBox::Icon::Critical, title, message, { quitButton, continueButton });
    return answer == 1 ? Continue : Quit;
}
