#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QtConcurrent/QtConcurrentRun>

#include <type_traits>

/// One-shot work off the main thread with its result handed back on the main
/// thread. The callback belongs to @p context: when the context is destroyed
/// first, the work still finishes but its result is dropped, so a window that
/// closes never receives a late answer.
namespace Task {

template<typename Work, typename Then> void run(QObject* context, Work work, Then then)
{
    using Result = std::invoke_result_t<Work>;
    auto* watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher, [watcher, then = std::move(then)]() mutable {
        if constexpr (std::is_void_v<Result>)
            then();
        else
            then(watcher->result());
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run(std::move(work)));
}

} // namespace Task
