#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QObject>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

class QAbstractEventDispatcher;
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
    /// The process-wide instance, made by the first call; its destruction at process exit does what
    /// quitAll() does.
    static ThreadManager *getInstance();

    /// Makes the pool (at most 8 threads) and starts the save thread. A second call does nothing;
    /// after quitAll() it starts both anew.
    void init();

    /// Hands a task to the save thread, where tasks run one at a time in the order of posting. The
    /// call does not wait for the task. With `async` false, and on the save thread itself, `fn`
    /// runs before the call returns.
    static void invoke(std::function<void()> &&fn, bool async);

    /// Hands a task to the pool: any thread, no order, no waiting. With `async` false `fn` runs
    /// before the call returns.
    static void run(std::function<void()> &&fn, bool async);

    /// Stops both. Tasks that wait in the pool are dropped; running ones are given 100 rounds of at
    /// most 40 ms while events of the calling thread are processed, then the pool is deleted, which
    /// waits for what still runs in it.
    ///
    /// The save thread runs everything that was posted before it ends, within another 100 such
    /// rounds; a task that hangs longer is terminated with its thread, and what waited behind it is
    /// dropped with a log line. Not to be called from a task.
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

    bool post(std::function<void()> &fn);
    void runSaveTasks();
    void quitPool();
    void quitSaveThread();

    mutable std::mutex m_mutex; // guards all below; no task runs while it is held
    std::unique_ptr<QThreadPool> m_threadPool;
    std::unique_ptr<QThread> m_saveThread;
    std::deque<std::function<void()>> m_tasks; // of the save thread, oldest first
    bool m_accepting = false;                  // tasks go to the save thread
    bool m_closing = false;              // the save thread ends once it has nothing left to do
    Qt::HANDLE m_saveThreadId = nullptr; // set by the save thread while it takes tasks
    QAbstractEventDispatcher *m_dispatcher = nullptr; // of the save thread, likewise
};
