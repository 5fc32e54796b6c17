#include "app/util/MessageBox.h"

#include <QAbstractButton>
#include <QPushButton>
#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QPointer>
#include <QQueue>
#include <QTimer>

namespace {
QQueue<int>& nextAnswers()
{
    static QQueue<int> answers;
    return answers;
}

QStringList& askedAlerts()
{
    static QStringList alerts;
    return alerts;
}

int beeps = 0;

QMessageBox::Icon toQt(MessageBox::Icon icon)
{
    switch (icon) {
    case MessageBox::Icon::Information:
        return QMessageBox::Information;
    case MessageBox::Icon::Warning:
        return QMessageBox::Warning;
    case MessageBox::Icon::Critical:
        return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

/// The index of the button the user pressed, in the order the buttons were given.
int indexOfClicked(QMessageBox* box)
{
    const auto buttons = box->property("_alertButtons").value<QList<QAbstractButton*>>();
    return int(buttons.indexOf(box->clickedButton()));
}
} // namespace

QMessageBox* MessageBox::build(QWidget* parent, Icon icon, const QString& title, const QString& informativeText,
    const QStringList& buttons)
{
    auto* box = new QMessageBox(parent);
    box->setIcon(toQt(icon));
    box->setText(title);
    box->setInformativeText(informativeText);
    box->setTextFormat(Qt::PlainText);
    // The window title stays empty: the alert's title is its first line.
    box->setWindowTitle(QString());
    // QMessageBox wraps a long text into a narrow column of many short lines;
    // about fifty characters a line read better (a short text keeps its own width).
    if (auto* label = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"))) {
        const QFontMetrics metrics(label->font());
        int widest = 0;
        for (const QString& line : informativeText.split(QLatin1Char('\n')))
            widest = qMax(widest, metrics.horizontalAdvance(line) + 1);
        label->setMinimumWidth(qMin(widest, metrics.averageCharWidth() * 50));
    }
    QList<QAbstractButton*> made;
    for (qsizetype i = 0; i < buttons.size(); ++i) {
        // The first button answers Return; the others sit to its left.
        QAbstractButton* button = box->addButton(buttons.at(i), i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
        made.append(button);
    }
    if (!made.isEmpty())
        box->setDefaultButton(qobject_cast<QPushButton*>(made.first()));
    box->setProperty("_alertButtons", QVariant::fromValue(made));
    return box;
}

void MessageBox::alert(QWidget* parent, Icon icon, const QString& title, const QString& informativeText,
    const QStringList& buttons, std::function<void(int)> done)
{
    askedAlerts().append(title + QLatin1Char('\n') + informativeText);
    if (!nextAnswers().isEmpty()) {
        const int answer = nextAnswers().dequeue();
        QTimer::singleShot(0, qApp, [done, answer] {
            if (done)
                done(answer);
        });
        return;
    }
    QMessageBox* box = build(parent, icon, title, informativeText, buttons);
    box->setAttribute(Qt::WA_DeleteOnClose);
    if (parent)
        box->setWindowModality(Qt::WindowModal);
    QObject::connect(box, &QMessageBox::finished, box, [box, done] {
        if (done)
            done(indexOfClicked(box));
    });
    box->open();
}

int MessageBox::ask(QWidget* parent, Icon icon, const QString& title, const QString& informativeText,
    const QStringList& buttons)
{
    askedAlerts().append(title + QLatin1Char('\n') + informativeText);
    if (!nextAnswers().isEmpty())
        return nextAnswers().dequeue();
    QMessageBox* box = build(parent, icon, title, informativeText, buttons);
    box->exec();
    const int answer = indexOfClicked(box);
    delete box;
    return answer;
}

void MessageBox::beep()
{
    ++beeps;
    QApplication::beep();
}

void MessageBox::setNextAnswer(int buttonIndex)
{
    nextAnswers().enqueue(buttonIndex);
}

bool MessageBox::hasNextAnswer()
{
    return !nextAnswers().isEmpty();
}

QStringList MessageBox::takeAskedAlerts()
{
    return std::exchange(askedAlerts(), {});
}

int MessageBox::beepCount()
{
    return beeps;
}
