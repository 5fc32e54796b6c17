#pragma once

class QThreadPool;

/// The application's one shared serial background queue: work given to it
/// runs on a single background thread, one task after another, in order.
class KVDispatch
{
public:
    static QThreadPool* sharedQueue();
};
