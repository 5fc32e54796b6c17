#include "model/ChangeNode.h"

#include <QCoreApplication>
#include <QMetaObject>

ChangeNode::ChangeNode()
    : m_alive(std::make_shared<bool>(true))
{
}

ChangeNode::~ChangeNode()
{
    *m_alive = false;
}

void ChangeNode::scheduleValuesChanged(ChangeNode* target)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!target || !app || target->m_changeScheduled.exchange(true))
        return;
    std::weak_ptr<bool> alive = target->m_alive;
    // Queued to the main thread, also when a background import changes a record.
    QMetaObject::invokeMethod(
        app,
        [target, alive] {
            const auto token = alive.lock();
            if (!token || !*token)
                return;
            target->m_changeScheduled = false;
            target->valuesChanged();
        },
        Qt::QueuedConnection);
}
