#include "store/KVDispatch.h"

#include "store/SerialQueue.h"

SerialQueue* KVDispatch::sharedQueue()
{
    // Never destroyed: leaving the process must not wait for queued work.
    static SerialQueue* queue = new SerialQueue;
    return queue;
}
