#include "store/KVDispatch.h"

#include <QThreadPool>

QThreadPool* KVDispatch::sharedQueue()
{
    static QThreadPool* queue = [] {
        auto* pool = new QThreadPool;
        pool->setMaxThreadCount(1);
        pool->setExpiryTimeout(-1);
        return pool;
    }();
    return queue;
}
