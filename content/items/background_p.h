#pragma once

#include "account/threadmanager.h"

#include <QFutureWatcher>
#include <QPromise>

#include <memory>

/// Does `work` on the thread pool and hands what it gives to `done` on the thread of `object`,
/// unless that is gone by then; an empty result where the pool was closed before it came to the
/// work. With a pool that is never before the call returns, however fast it was, so that a caller
/// can still connect to what `done` emits; without one it always is.
template <typename Work, typename Done>
void runInBackground(QObject *object, Work work, Done done)
{
    using Result = std::invoke_result_t<Work>;
    const auto promise = std::make_shared<QPromise<Result>>();
    promise->start();
    const QFuture<Result> future = promise->future();
    const bool hasPool = ThreadManager::getInstance()->threadPool() != nullptr;
    ThreadManager::run(
        [promise, work = std::move(work)] {
            promise->addResult(work());
            promise->finish();
        },
        true);
    const auto take = [done = std::move(done)](const QFuture<Result> &finished) {
        done(finished.resultCount() > 0 ? finished.result() : Result());
    };
    if (!hasPool && future.isFinished()) {
        take(future);
        return;
    }
    // The watcher belongs to the object and hears of the end on the object's thread only.
    auto *watcher = new QFutureWatcher<Result>(object);
    QObject::connect(watcher, &QFutureWatcherBase::finished, object, [watcher, take] {
        watcher->deleteLater();
        take(watcher->future());
    });
    watcher->setFuture(future);
}
