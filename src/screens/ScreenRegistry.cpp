#include "ScreenRegistry.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QWidget>

ScreenContext::ScreenContext(const QString& language, bool dark, const QString& scratchFolder)
    : m_language(language)
    , m_dark(dark)
    , m_scratch(scratchFolder)
{
}

ScreenContext::~ScreenContext()
{
    // Newest first: a popover goes before the window it hangs on.
    for (auto it = m_kept.crbegin(); it != m_kept.crend(); ++it)
        delete it->data();
}

QString ScreenContext::freshPath(const QString& stem)
{
    // Unique across rounds: every picture gets archives of its own.
    static int counter = 0;
    return QStringLiteral("%1/%2-%3-%4").arg(m_scratch, stem, m_language).arg(++counter);
}

bool ScreenContext::waitFor(const std::function<bool()>& condition, int ms)
{
    const QDeadlineTimer deadline(ms);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(2);
    }
    return true;
}

void ScreenContext::settle(int ms)
{
    const QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
}

static QList<ScreenRegistry::Entry>& entries()
{
    static QList<ScreenRegistry::Entry> list;
    return list;
}

bool ScreenRegistry::add(const QString& name, Render render)
{
    entries().append({ name, std::move(render) });
    return true;
}

const QList<ScreenRegistry::Entry>& ScreenRegistry::all()
{
    return entries();
}
