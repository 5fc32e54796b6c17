#include "app/core/OpenElsewhereAlert.h"

#include "app/util/MessageBox.h"

#include <QApplication>
#include <QThread>

OpenElsewhereQuestion::Answer OpenElsewhereAlert::askOpenElsewhere(
    const QString& title, const QString& message, const QString& quitButton, const QString& continueButton)
{
    // Reading waits for the answer, so this alert is the one place that blocks.
    // Archives are read off the main thread: the alert is asked on it.
    int answer = 0;
    auto ask = [&] {
        answer = MessageBox::ask(
            QApplication::activeWindow(), MessageBox::Icon::Critical, title, message, { quitButton, continueButton });
    };
    if (QThread::currentThread() == qApp->thread())
        ask();
    else
        QMetaObject::invokeMethod(qApp, ask, Qt::BlockingQueuedConnection);
    return answer == 1 ? Continue : Quit;
}
