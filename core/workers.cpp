#include "core/workers_p.h"

#include "core/logs_p.h"
#include "imlog/imlog.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

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

constexpr int poolThreads = 8;
constexpr int hangRounds = 100;
constexpr int quitRounds = 300;
constexpr int maxExitWaits = 64;
constexpr int roundMs = 20; // to process events, and again to wait

std::atomic_bool quitsWithApplication = false;
// The event dispatcher may be destroyed then, and its handlers must not call exit() again.
std::atomic_bool isExiting = false;

/// One round of waiting; true when `isDone(ms)` is, which itself waits up to `ms`.
template <typename IsDone>
bool isDoneInRound(IsDone isDone)
{
    // A task may be waiting for the calling thread: keep processing its events.
    if (!isExiting)
        QCoreApplication::processEvents(QEventLoop::AllEvents, roundMs);
    return isDone(roundMs);
}

/// Set on the threads that run tasks.
thread_local bool isWorker = false;

class SaveThread : public QThread
{
public:
    explicit SaveThread(std::function<void()> &&loop) : m_loop(std::move(loop))
    {
        setObjectName(QStringLiteral("save_thread"));
    }

protected:
    void run() override
    {
        isWorker = true;
        m_loop();
    }

private:
    const std::function<void()> m_loop;
};

/// The pool synchronises the hand-over of a task by locks inside Qt's library, which
/// ThreadSanitizer does not see: this annotates it.
class PoolTask : public QRunnable
{
public:
    explicit PoolTask(std::function<void()> &&fn) : m_fn(std::move(fn)) { __tsan_release(this); }
    void run() override
    {
        __tsan_acquire(this);
        isWorker = true;
        m_fn();
    }

private:
    const std::function<void()> m_fn;
};

/// Never deleted: abandoned threads, and users at the very end of the process, still need it.
class Threads
{
public:
    static Threads *instance()
    {
        static Threads *const instance = new Threads;
        return instance;
    }
    void init();
    bool post(std::function<void()> &fn);
    bool postLater(std::function<void()> &fn, int ms);
    bool run(std::function<void()> &fn);
    void quitPool();
    void quitSaveThread();

    const qint64 process = QCoreApplication::applicationPid();
    std::mutex mutex; // guards all below; not held while a task runs
    bool quitting = false;
    std::unique_ptr<QThreadPool> threadPool;
    std::unique_ptr<QThread> saveThread;

private:
    using Clock = std::chrono::steady_clock;

    void startSaveThread();
    void runSaveTasks();
    Clock::duration untilLaterTask();
    std::size_t finishedCount();
    std::size_t giveSaveThreadUp();

    std::deque<std::function<void()>> m_tasks; // for the save thread, oldest first
    std::multimap<Clock::time_point, std::function<void()>> m_laterTasks; // by when they are due
    int m_exitWaits = 0;
    std::size_t m_finished = 0;          // count of finished save tasks
    bool m_accepting = false;            // tasks go to the save thread
    bool m_closing = false;              // the save thread ends when its queue is empty
    Qt::HANDLE m_saveThreadId = nullptr; // set while the save thread takes tasks
    QAbstractEventDispatcher *m_dispatcher = nullptr; // of the save thread, likewise
    std::vector<std::unique_ptr<QThread>> m_givenUp;  // abandoned, may never end
};

void Threads::init()
{
    if (!threadPool) {
        threadPool = std::make_unique<QThreadPool>();
        threadPool->setObjectName(QStringLiteral("im_thread_pool"));
        threadPool->setMaxThreadCount(poolThreads);
    }
    if (!saveThread) {
        m_closing = false;
        m_accepting = true;
        startSaveThread();
    }
}

/// The mutex must be held.
void Threads::startSaveThread()
{
    saveThread = std::make_unique<SaveThread>([this] { runSaveTasks(); });
    saveThread->start(QThread::InheritPriority);
}

bool Threads::post(std::function<void()> &fn)
{
    std::unique_lock lock(mutex);
    if (!m_accepting || m_saveThreadId == QThread::currentThreadId())
        return false;
    m_tasks.push_back(std::move(fn));
    if (m_dispatcher && m_tasks.size() == 1)
        m_dispatcher->wakeUp();
    if (m_closing) {
        // Hold back threads that keep posting, or the queue would never be empty.
        lock.unlock();
        QThread::msleep(1);
    }
    return true;
}

bool Threads::postLater(std::function<void()> &fn, int ms)
{
    const std::lock_guard lock(mutex);
    if (!m_accepting)
        return false;
    if (m_closing)
        m_tasks.push_back(std::move(fn));
    else
        m_laterTasks.emplace(Clock::now() + std::chrono::milliseconds(ms), std::move(fn));
    if (m_dispatcher)
        m_dispatcher->wakeUp();
    return true;
}

/// Queues the delayed tasks that are due. Returns the time until the next one; the mutex must be
/// held.
Threads::Clock::duration Threads::untilLaterTask()
{
    const auto now = Clock::now();
    const auto later = m_closing ? m_laterTasks.end() : m_laterTasks.upper_bound(now);
    for (auto task = m_laterTasks.begin(); task != later; ++task)
        m_tasks.push_back(std::move(task->second));
    m_laterTasks.erase(m_laterTasks.begin(), later);
    return m_laterTasks.empty() ? Clock::duration::max() : m_laterTasks.begin()->first - now;
}

// Our own event loop: QThread::exec() would neither drain the tasks when told to quit nor deliver
// anything in a process without a QCoreApplication.
void Threads::runSaveTasks()
{
    const Qt::HANDLE self = QThread::currentThreadId();
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    QObject alarm; // ends the wait for events
    std::unique_lock lock(mutex);
    m_saveThreadId = self;
    m_dispatcher = dispatcher;
    // The id changes once this thread was abandoned.
    while (m_saveThreadId == self) {
        const auto wait = untilLaterTask();
        if (!m_tasks.empty()) {
            std::function<void()> task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            task();
            task = nullptr; // its destructor may post, or be slow: not under the lock
            lock.lock();
            ++m_finished;
        } else if (!m_closing) {
            lock.unlock();
            const int timer = wait == Clock::duration::max()
                ? 0
                : alarm.startTimer(std::chrono::ceil<std::chrono::milliseconds>(wait));
            dispatcher->processEvents(QEventLoop::WaitForMoreEvents);
            if (timer != 0)
                alarm.killTimer(timer);
            // Only a QEventLoop does this by itself.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            lock.lock();
        } else {
            // In one step with finding the queue empty: a task that comes too late for this thread
            // then runs on its caller, after all others.
            m_accepting = false;
            m_saveThreadId = nullptr;
            m_dispatcher = nullptr;
        }
    }
}

bool Threads::run(std::function<void()> &fn)
{
    const std::lock_guard lock(mutex);
    if (!threadPool)
        return false;
    // exit() destroys statics in reverse order of construction: wait for tasks before those are
    // destroyed that exist by now. Few are made later.
    if (m_exitWaits < maxExitWaits && std::atexit(Workers::quitAtExit) == 0)
        ++m_exitWaits;
    threadPool->start(new PoolTask(std::move(fn)), 0);
    return true;
}

void Threads::quitPool()
{
    std::unique_ptr<QThreadPool> pool;
    {
        const std::lock_guard lock(mutex);
        pool = std::move(threadPool);
    }
    if (!pool)
        return;
    pool->clear();
    bool done = pool->waitForDone(0);
    for (int round = 0; round < hangRounds && !done; ++round)
        done = isDoneInRound([&](int ms) { return pool->waitForDone(ms); });
    if (done)
        return;
    // Its destructor would wait for the hanging task.
    ImLog::error(lcModel(),
                 QStringLiteral("Gave up pool tasks that hang: %1").arg(pool->activeThreadCount()));
    static_cast<void>(pool.release());
}

void Threads::quitSaveThread()
{
    {
        const std::lock_guard lock(mutex);
        if (!saveThread)
            return;
        m_closing = true;
        untilLaterTask();
        if (m_dispatcher)
            m_dispatcher->wakeUp();
    }
    const auto isDone = [this](int ms) { return saveThread->wait(QDeadlineTimer(ms)); };
    bool done = isDone(0);
    std::size_t finished = finishedCount();
    int idleRounds = 0;
    for (int round = 0; round < quitRounds && !done; ++round) {
        done = isDoneInRound(isDone);
        const std::size_t before = std::exchange(finished, finishedCount());
        idleRounds = finished == before ? idleRounds + 1 : 0;
        if (!done && idleRounds == hangRounds) {
            const std::size_t waiting = giveSaveThreadUp();
            ImLog::error(
                lcModel(),
                QStringLiteral("Gave up a save task that hangs; tasks waiting behind it: %1")
                    .arg(waiting));
            done = waiting == 0;
            idleRounds = 0;
        }
    }
    std::deque<std::function<void()>> dropped;
    {
        const std::lock_guard lock(mutex);
        m_accepting = false;
        dropped.swap(m_tasks);
        if (done)
            saveThread.reset();
    }
    if (done)
        return;
    giveSaveThreadUp();
    ImLog::error(lcModel(),
                 QStringLiteral("Gave up the save thread, which does not end; tasks lost: %1")
                     .arg(dropped.size()));
}

std::size_t Threads::finishedCount()
{
    const std::lock_guard lock(mutex);
    return m_finished;
}

/// Abandons the save thread and hands the tasks queued behind its task to a new one. Returns the
/// number of those tasks.
std::size_t Threads::giveSaveThreadUp()
{
    const std::lock_guard lock(mutex);
    m_saveThreadId = nullptr;
    m_dispatcher = nullptr;
    std::erase_if(m_givenUp, [](const auto &thread) { return thread->isFinished(); });
    m_givenUp.push_back(std::move(saveThread));
    if (m_tasks.empty())
        m_accepting = false;
    else
        startSaveThread();
    return m_tasks.size();
}

} // namespace

void Workers::init()
{
    // Once the application object is destroyed, what tasks use is destroyed piece by piece.
    if (QCoreApplication::instance() && !quitsWithApplication.exchange(true)) {
        qAddPostRoutine([] {
            quitsWithApplication = false;
            Workers::quitAtExit();
            isExiting = false; // another application object may follow
        });
    }
    Threads *threads = Threads::instance();
    bool quitting;
    {
        const std::lock_guard lock(threads->mutex);
        quitting = threads->quitting;
        if (!quitting)
            threads->init();
    }
    if (quitting)
        ImLog::error(lcModel(), QStringLiteral("Ignored init() during quitAll()"));
}

void Workers::invoke(std::function<void()> &&fn, bool async)
{
    if (!async || !Threads::instance()->post(fn))
        fn();
}

bool Workers::invokeLater(std::function<void()> &&fn, int ms)
{
    return Threads::instance()->postLater(fn, ms);
}

void Workers::run(std::function<void()> &&fn, bool async)
{
    if (!async || !Threads::instance()->run(fn))
        fn();
}

void Workers::quitAll()
{
    if (isWorker) {
        ImLog::error(lcModel(), QStringLiteral("Ignored quitAll() that a task called"));
        return;
    }
    Threads *threads = Threads::instance();
    {
        const std::lock_guard lock(threads->mutex);
        if (std::exchange(threads->quitting, true))
            return;
    }
    threads->quitPool();
    threads->quitSaveThread();
    const std::lock_guard lock(threads->mutex);
    threads->quitting = false;
}

void Workers::quitAtExit()
{
    // The child of a fork has none of the threads, and their tasks belong to its parent.
    if (Threads::instance()->process != QCoreApplication::applicationPid())
        return;
    isExiting = true;
    quitAll();
}

QThread *Workers::saveThread()
{
    Threads *threads = Threads::instance();
    const std::lock_guard lock(threads->mutex);
    return threads->saveThread.get();
}

QThreadPool *Workers::threadPool()
{
    Threads *threads = Threads::instance();
    const std::lock_guard lock(threads->mutex);
    return threads->threadPool.get();
}
