#include "account/threadmanager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

// Where a test itself hands things over by Qt's events, whose locks the sanitizer does not see.
#if defined(__SANITIZE_THREAD__)
#    define SKIP_UNSEEN_BY_THREAD_SANITIZER QSKIP("uses queued calls of its own");
#else
#    define SKIP_UNSEEN_BY_THREAD_SANITIZER
#endif

namespace
{

ThreadManager *manager()
{
    return ThreadManager::getInstance();
}

/// Posts 0, 1, 2, ... and checks that they run once each and in this order, on whatever thread.
class Sequence
{
public:
    void post()
    {
        ThreadManager::invoke(
            [this, number = m_posted++] {
                if (number == m_run)
                    ++m_run;
                else
                    m_inOrder = false;
            },
            true);
    }
    int posted() const { return m_posted; }
    bool isComplete() const { return m_inOrder && m_run == m_posted; }

private:
    int m_posted = 0;
    int m_run = 0;
    bool m_inOrder = true;
};

struct Application {
    int argc = 1;
    char name[5] = "test";
    char *argv[2] = {name, nullptr};
    QCoreApplication app{argc, argv};
};

} // namespace

// Most of this runs without an application object, as a tool or a crash reporter would.
class TestThreadManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        // At the end of the process, when the manager is no more; as everything else, an error
        // there ends it with a code.
        connect(manager(), &QObject::destroyed, [] {
            int run = 0;
            ThreadManager::invoke([&] { ++run; }, true);
            ThreadManager::run([&] { ++run; }, true);
            if (run != 2)
                std::_Exit(1);
        });
    }
    void cleanup() { manager()->quitAll(); }
    void cleanupTestCase()
    {
        // At the very end a task still has what was made before it.
        static struct Used {
            ~Used()
            {
                if (users > 0)
                    std::_Exit(1);
            }
            std::atomic<int> users = 0;
        } used;
        manager()->init();
        ThreadManager::run(
            [] {
                ++used.users;
                QThread::msleep(100);
                --used.users;
            },
            true);
        while (used.users == 0)
            QThread::yieldCurrentThread();
    }

    void threadsOfTasks()
    {
        // Without the threads every task runs on the caller; with them, what is not asynchronous.
        using Invoke = void (*)(std::function<void()> &&, bool);
        const auto ranHere = [](Invoke invoke, bool async) {
            Qt::HANDLE ran = nullptr;
            invoke([&] { ran = QThread::currentThreadId(); }, async);
            return ran == QThread::currentThreadId();
        };
        QVERIFY(!manager()->thread() && !manager()->threadPool());
        for (const Invoke invoke : {ThreadManager::invoke, ThreadManager::run})
            QVERIFY(ranHere(invoke, false) && ranHere(invoke, true));
        manager()->init();
        QThread *thread = manager()->thread();
        QThreadPool *pool = manager()->threadPool();
        manager()->init();
        QVERIFY(manager()->thread() == thread && manager()->threadPool() == pool);
        QVERIFY(thread->isRunning());
        QCOMPARE(thread->objectName() + u' ' + pool->objectName(), u"save_thread im_thread_pool"_s);
        QVERIFY(ranHere(ThreadManager::invoke, false));
        for (int i = 0; i < 2; ++i) {
            manager()->quitAll();
            QVERIFY(!manager()->thread() && !manager()->threadPool());
        }
    }

    void laterTasks()
    {
        // Also without an application; the end does not wait for those that are not due yet.
        QVERIFY(!ThreadManager::invokeLater([] {}, 0));
        manager()->init();
        QElapsedTimer timer;
        timer.start();
        QList<int> order;
        QSemaphore done;
        for (const int ms : {60'000, 200, 50, 30'000}) {
            QVERIFY(ThreadManager::invokeLater(
                [&, ms] {
                    order.append(ms);
                    done.release();
                },
                ms));
        }
        QVERIFY(done.tryAcquire(2, 10'000));
        QVERIFY(timer.elapsed() >= 200);
        manager()->quitAll();
        QVERIFY(timer.elapsed() < 20'000);
        QCOMPARE(order, (QList<int>{50, 200, 30'000, 60'000}));
    }

    void tasksMayPost()
    {
        manager()->init();
        QList<int> order;
        std::atomic<int> late = 0;
        ThreadManager::invoke(
            [&] {
                order.append(1);
                // On the save thread itself: at once, not behind what waits.
                ThreadManager::invoke([&] { order.append(2); }, true);
                order.append(3);
                // While quitAll() waits: still before it returns.
                std::thread([&] {
                    ThreadManager::invoke([&] { ++late; }, true);
                    ThreadManager::invokeLater([&] { ++late; }, 60'000);
                }).join();
            },
            true);
        manager()->quitAll();
        QCOMPARE(order, (QList<int>{1, 2, 3}));
        QCOMPARE(late.load(), 2);
    }

    // Of one that asks for nothing: what runs finds its object, whose events are over.
    void theApplicationEnds()
    {
        std::atomic<int> found = 0;
        bool isHandled = false;
        QObject here;
        QSemaphore entered;
        {
            const Application application;
            manager()->init();
            for (const auto post : {ThreadManager::invoke, ThreadManager::run}) {
                post(
                    [&] {
                        entered.release();
                        QThread::msleep(100);
                        found += int(QCoreApplication::instance() != nullptr);
                    },
                    true);
                entered.acquire();
            }
            QMetaObject::invokeMethod(
                &here, [&] { isHandled = true; }, Qt::QueuedConnection);
        }
        QVERIFY(!manager()->thread() && !manager()->threadPool());
        QCOMPARE(found.load(), 2);
        QVERIFY(!isHandled);
    }

    void nothingIsLostBetweenInvokeAndQuit()
    {
        std::vector<Sequence> sequences(4);
        std::atomic<bool> stop = false;
        {
            std::vector<std::jthread> threads;
            for (Sequence &sequence : sequences) {
                threads.emplace_back([&] {
                    while (!stop) {
                        for (int i = 0; i < 50; ++i)
                            sequence.post();
                        std::this_thread::yield();
                    }
                });
            }
            for (int i = 0; i < 200; ++i) {
                manager()->init();
                manager()->quitAll();
            }
            stop = true;
        }
        for (const Sequence &sequence : sequences)
            QVERIFY(sequence.posted() > 0 && sequence.isComplete());
    }

    void objectsLiveOnTheSaveThread()
    {
        SKIP_UNSEEN_BY_THREAD_SANITIZER
        const Application application;
        manager()->init();
        auto *object = new QObject;
        object->moveToThread(manager()->thread());
        QSemaphore called;
        QMetaObject::invokeMethod(object, [&] { called.release(); });
        QVERIFY(called.tryAcquire(1, 10000));
        connect(
            object, &QObject::destroyed, object, [&] { called.release(); }, Qt::DirectConnection);
        object->deleteLater();
        QVERIFY(called.tryAcquire(1, 10000));
    }

    void quittingServesTheEventsThatATaskWaitsFor()
    {
        SKIP_UNSEEN_BY_THREAD_SANITIZER
        const Application application;
        QObject here;
        manager()->init();
        bool saved = false;
        QSemaphore pooled;
        // An event handler that starts the threads anew in the middle of their end is not heard.
        QTest::ignoreMessage(QtWarningMsg, "Ignored init() during quitAll()");
        const auto ask = [&](auto &&answer) {
            QMetaObject::invokeMethod(&here, answer, Qt::BlockingQueuedConnection);
        };
        ThreadManager::run([&] { ask([&] { pooled.release(); }); }, true);
        ThreadManager::invoke(
            [&] {
                ask([&] {
                    manager()->init();
                    saved = true;
                });
            },
            true);
        while (manager()->threadPool()->activeThreadCount() == 0)
            QThread::yieldCurrentThread();
        manager()->quitAll();
        QVERIFY(saved);
        QVERIFY(pooled.tryAcquire());
        QVERIFY(!manager()->thread() && !manager()->threadPool());
    }

    void thePoolRunsEightAtATimeAndDropsWhatWaits()
    {
        manager()->init();
        QSemaphore entered;
        QSemaphore leave;
        std::atomic<int> run = 0;
        std::atomic<int> posted = 0;
        // What a task holds may post when it is destroyed, whether or not the task ever ran.
        const auto hold = [&] {
            return std::shared_ptr<void>(nullptr, [&](void *) {
                ThreadManager::invoke([&] { ++posted; }, true);
                ThreadManager::run([&] { ++posted; }, true);
            });
        };
        ThreadManager::invoke([held = hold()] {}, true);
        for (int i = 0; i < 20; ++i) {
            ThreadManager::run(
                [&, held = hold()] {
                    entered.release();
                    leave.acquire();
                    ++run;
                },
                true);
        }
        entered.acquire(8);
        QVERIFY(!entered.tryAcquire(1, 100));
        const std::jthread later([&] {
            QThread::msleep(100);
            leave.release(20);
        });
        manager()->quitAll();
        QCOMPARE(run.load(), 8);
        QVERIFY(posted >= 21); // what was run in the pool that ends is dropped
    }

    void aTaskCannotQuit()
    {
        manager()->init();
        QSemaphore done;
        for (const auto post : {ThreadManager::invoke, ThreadManager::run}) {
            QTest::ignoreMessage(QtWarningMsg, "Ignored quitAll() that a task called");
            post(
                [&] {
                    manager()->quitAll();
                    done.release();
                },
                true);
            QVERIFY(done.tryAcquire(1, 1000));
            QVERIFY(manager()->thread() && manager()->threadPool());
        }
    }

    void aHungTaskCostsItselfOnly()
    {
        manager()->init();
        std::atomic<int> behind = 0;
        static QSemaphore entered; // its threads may outlive a test that fails
        static QSemaphore leave;
        static QSemaphore left;
        for (const auto post : {ThreadManager::invoke, ThreadManager::run}) {
            post(
                [] {
                    entered.release();
                    leave.acquire();
                    left.release();
                },
                true);
        }
        entered.acquire(2);
        for (int i = 0; i < 100; ++i)
            ThreadManager::invoke([&] { ++behind; }, true);
        QElapsedTimer timer;
        timer.start();
        QTest::ignoreMessage(QtWarningMsg, "Gave up pool tasks that hang: 1");
        QTest::ignoreMessage(QtWarningMsg,
                             "Gave up a save task that hangs; tasks waiting behind it: 100");
        manager()->quitAll();
        QVERIFY(timer.elapsed() >= 3900);
        QVERIFY(timer.elapsed() < 15000);
        QVERIFY(!manager()->thread() && !manager()->threadPool());
        QCOMPARE(behind.load(), 100);

        // New threads do the work, whatever becomes of the old ones.
        manager()->init();
        Sequence sequence;
        for (int i = 0; i < 1000; ++i) {
            if (i == 500) {
                leave.release(2);
                left.acquire(2);
            }
            sequence.post();
        }
        manager()->quitAll();
        QVERIFY(sequence.isComplete());
    }

    void tasksThatComeForEverEnd()
    {
        manager()->init();
        std::atomic<bool> stop = false;
        std::atomic<int> posted = 0;
        std::vector<std::jthread> threads;
        const auto end = qScopeGuard([&] { stop = true; });
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (; !stop; ++posted)
                    ThreadManager::invoke([] { QThread::msleep(5); }, true);
            });
        }
        while (posted < 1000)
            QThread::msleep(1);
        QElapsedTimer timer;
        timer.start();
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"does not end; tasks lost: [1-9]"_s));
        manager()->quitAll();
        QVERIFY(timer.elapsed() < 20000);
    }
};

QTEST_APPLESS_MAIN(TestThreadManager)
#include "tst_threadmanager.moc"
