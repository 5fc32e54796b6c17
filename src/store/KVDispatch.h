#pragma once

class SerialQueue;

/// The application's one shared serial background queue: work given to it
/// runs on a single background thread, one task after another, in order.
class KVDispatch
{
public:
    /// Lives as long as the process; work still queued at exit is dropped.
    static SerialQueue* sharedQueue();
};
