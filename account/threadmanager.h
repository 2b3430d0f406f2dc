#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QObject>

#include <functional>

class QThread;
class QThreadPool;

/// The worker threads of the model layer: one ordered thread for storage writes ("save_thread") and
/// one pool for independent work ("im_thread_pool").
///
/// The application calls init() at start-up, before any model is used, and quitAll() at shut-down,
/// both on the main thread. Before init() and after quitAll() a task runs at once on its caller, so
/// that nothing is lost. A process without a QCoreApplication can use all of it.
///
/// Thread: invoke() and run() may be called from any thread, tasks included.
class MODELBASE_EXPORT ThreadManager : public QObject
{
    Q_OBJECT
    MODELBASE_QML_SINGLETON(ThreadManager, getInstance)
public:
    /// The process-wide instance, made by the first call. The end of the application object, and of
    /// the process, do what quitAll() does. invoke(), invokeLater() and run() work afterwards, too.
    static ThreadManager *getInstance();

    /// Makes the pool (at most 8 threads) and starts the save thread. A second call does nothing;
    /// after quitAll() it starts both again.
    void init();

    /// Hands a task to the save thread, where tasks run one at a time in the order of posting. The
    /// call does not wait for the task. With `async` false, and on the save thread itself, `fn`
    /// runs before the call returns.
    static void invoke(std::function<void()> &&fn, bool async);

    /// Hands the save thread a task to run in `ms` milliseconds; quitAll() does not wait for the
    /// delay but runs the task at once. False, without running `fn`, if there is no save thread.
    static bool invokeLater(std::function<void()> &&fn, int ms);

    /// Hands a task to the pool: any thread, no order, no waiting. With `async` false `fn` runs
    /// before the call returns.
    static void run(std::function<void()> &&fn, bool async);

    /// Stops both, and returns after at most 100 rounds for the pool and 300 for the save thread. A
    /// round takes at most 40 ms: 20 processing events of the calling thread, 20 waiting. So it
    /// takes 16 s at most, and no time if nothing hangs.
    ///
    /// Tasks that wait in the pool are dropped; running ones are waited for, then the pool is
    /// deleted. The save thread runs everything that was posted before it ends.
    ///
    /// No thread is ever terminated, since that would abort the process on most platforms, and
    /// leave locks taken on others: what still runs in the pool after 100 rounds is abandoned, and
    /// so is a save task after 100 rounds in which no task finished. A new thread then runs the
    /// tasks queued behind it. Only what is left after all 300 rounds is dropped. Log lines report
    /// each case, with the number of tasks. An abandoned task may end at any later time; it must
    /// not use what is destroyed by then.
    ///
    /// On any thread except these two: a call from a task is refused, with a log line. During one
    /// call another one returns at once, and init() does nothing, with a log line.
    void quitAll();

    /// The save thread; null while it does not run. It delivers events to objects that live on it.
    QThread *thread() const;
    /// The pool; null while there is none.
    QThreadPool *threadPool() const;

Q_SIGNALS:
    /// A relay for the application's media layer; nothing in the library emits it.
    void decodeCaptureFinished(const QString &path, bool ok);

private:
    ThreadManager();
    ~ThreadManager() override;
    Q_DISABLE_COPY_MOVE(ThreadManager)
};
