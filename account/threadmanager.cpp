#include "account/threadmanager.h"

#include "imlog/imlog.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#if defined(__has_feature)
#    if __has_feature(thread_sanitizer)
#        define MODELBASE_TSAN
#    endif
#endif
#if defined(MODELBASE_TSAN) || defined(__SANITIZE_THREAD__)
#    include <sanitizer/tsan_interface.h>
#else
#    define __tsan_release(address) ((void)0)
#    define __tsan_acquire(address) ((void)0)
#endif

namespace
{

Q_LOGGING_CATEGORY(lcThreads, "im.modelbase")

constexpr int quitRounds = 100;
constexpr int roundMs = 20; // for the events, and again for the wait

/// Waits by rounds until `isDone(ms)`, which waits up to `ms` itself. False after the last round.
template <typename IsDone>
bool waitByRounds(IsDone isDone)
{
    bool done = isDone(0);
    for (int round = 0; round < quitRounds && !done; ++round) {
        // A task may be waiting for the calling thread: keep its events going.
        QCoreApplication::processEvents(QEventLoop::AllEvents, roundMs);
        done = isDone(roundMs);
    }
    return done;
}

class SaveThread : public QThread
{
public:
    explicit SaveThread(std::function<void()> &&loop) : m_loop(std::move(loop)) { }

    /// Termination is for tasks that hang; it must not hit what the thread does besides.
    static void runTerminable(const std::function<void()> &task)
    {
        setTerminationEnabled(true);
        task();
        setTerminationEnabled(false);
    }

protected:
    void run() override
    {
        setTerminationEnabled(false);
        m_loop();
    }

private:
    const std::function<void()> m_loop;
};

/// The pool orders the hand-over of a task with locks inside Qt's library, where ThreadSanitizer
/// does not see them: it is told here.
class PoolTask : public QRunnable
{
public:
    explicit PoolTask(std::function<void()> &&fn) : m_fn(std::move(fn)) { __tsan_release(this); }
    void run() override
    {
        __tsan_acquire(this);
        m_fn();
    }

private:
    const std::function<void()> m_fn;
};

} // namespace

ThreadManager *ThreadManager::getInstance()
{
    static ThreadManager instance;
    return &instance;
}

ThreadManager::ThreadManager() = default;

ThreadManager::~ThreadManager()
{
    quitAll();
}

void ThreadManager::init()
{
    const std::lock_guard lock(m_mutex);
    if (!m_threadPool) {
        m_threadPool = std::make_unique<QThreadPool>();
        m_threadPool->setObjectName(QStringLiteral("im_thread_pool"));
        m_threadPool->setMaxThreadCount(8);
    }
    if (!m_saveThread) {
        m_saveThread = std::make_unique<SaveThread>([this] { runSaveTasks(); });
        m_saveThread->setObjectName(QStringLiteral("save_thread"));
        m_closing = false;
        m_accepting = true;
        m_saveThread->start(QThread::InheritPriority);
    }
}

void ThreadManager::invoke(std::function<void()> &&fn, bool async)
{
    if (!async || !getInstance()->post(fn))
        fn();
}

bool ThreadManager::post(std::function<void()> &fn)
{
    std::unique_lock lock(m_mutex);
    if (!m_accepting || m_saveThreadId == QThread::currentThreadId())
        return false;
    m_tasks.push_back(std::move(fn));
    if (m_dispatcher && m_tasks.size() == 1)
        m_dispatcher->wakeUp();
    if (m_closing) {
        // Threads that go on posting are held back, or the end would never come in sight.
        lock.unlock();
        QThread::msleep(1);
    }
    return true;
}

// An event loop of our own: QThread::exec() would neither drain the tasks when it is told to quit
// nor deliver anything in a process that has no QCoreApplication, or has it no more.
void ThreadManager::runSaveTasks()
{
    const Qt::HANDLE self = QThread::currentThreadId();
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    std::unique_lock lock(m_mutex);
    m_saveThreadId = self;
    m_dispatcher = dispatcher;
    // quitAll() clears the id when it gives this thread up.
    while (m_saveThreadId == self) {
        if (!m_tasks.empty()) {
            std::function<void()> task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            SaveThread::runTerminable(task);
            task = nullptr; // what it holds may be costly to destroy: not under the lock
            lock.lock();
        } else if (!m_closing) {
            lock.unlock();
            dispatcher->processEvents(QEventLoop::WaitForMoreEvents);
            // Only a QEventLoop does this by itself.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            lock.lock();
        } else {
            // In one step with finding the queue empty, so that a task that comes too late for this
            // thread runs on its caller, after all others.
            m_accepting = false;
            m_saveThreadId = nullptr;
            m_dispatcher = nullptr;
        }
    }
}

void ThreadManager::run(std::function<void()> &&fn, bool async)
{
    if (async) {
        ThreadManager *self = getInstance();
        const std::lock_guard lock(self->m_mutex);
        if (self->m_threadPool) {
            self->m_threadPool->start(new PoolTask(std::move(fn)), 0);
            return;
        }
    }
    fn();
}

void ThreadManager::quitAll()
{
    quitPool();
    quitSaveThread();
}

void ThreadManager::quitPool()
{
    std::unique_ptr<QThreadPool> pool;
    {
        const std::lock_guard lock(m_mutex);
        pool = std::move(m_threadPool);
    }
    if (!pool)
        return;
    pool->clear();
    waitByRounds([&](int ms) { return pool->waitForDone(ms); });
}

void ThreadManager::quitSaveThread()
{
    QThread *thread = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_saveThread || m_closing)
            return;
        thread = m_saveThread.get();
        m_closing = true;
        if (m_dispatcher)
            m_dispatcher->wakeUp();
    }
    const auto finished = [&](int ms) { return thread->wait(QDeadlineTimer(ms)); };
    if (!waitByRounds(finished)) {
        std::deque<std::function<void()>> dropped;
        {
            const std::lock_guard lock(m_mutex);
            dropped.swap(m_tasks);
            m_accepting = false;
            m_saveThreadId = nullptr;
            m_dispatcher = nullptr;
        }
        ImLog::error(lcThreads(),
                     QStringLiteral("The save thread hangs and is terminated; tasks lost: %1")
                         .arg(dropped.size() + 1));
        thread->terminate();
    }
    const bool gone = waitByRounds(finished);
    const std::lock_guard lock(m_mutex);
    // Where even terminating fails, the thread is left to the end of the process: deleting a
    // running QThread would end it now.
    if (!gone)
        Q_UNUSED(m_saveThread.release());
    m_saveThread.reset();
}

QThread *ThreadManager::thread() const
{
    const std::lock_guard lock(m_mutex);
    return m_saveThread.get();
}

QThreadPool *ThreadManager::threadPool() const
{
    const std::lock_guard lock(m_mutex);
    return m_threadPool.get();
}
