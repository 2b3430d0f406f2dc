#include "account/threadmanager.h"

#include "core/workers_p.h"

#include <utility>

ThreadManager *ThreadManager::getInstance()
{
    static ThreadManager instance;
    return &instance;
}

ThreadManager::ThreadManager() = default;

ThreadManager::~ThreadManager()
{
    Workers::quitAtExit();
}

void ThreadManager::init()
{
    Workers::init();
}

void ThreadManager::invoke(std::function<void()> &&fn, bool async)
{
    Workers::invoke(std::move(fn), async);
}

bool ThreadManager::invokeLater(std::function<void()> &&fn, int ms)
{
    return Workers::invokeLater(std::move(fn), ms);
}

void ThreadManager::run(std::function<void()> &&fn, bool async)
{
    Workers::run(std::move(fn), async);
}

void ThreadManager::quitAll()
{
    Workers::quitAll();
}

QThread *ThreadManager::thread() const
{
    return Workers::saveThread();
}

QThreadPool *ThreadManager::threadPool() const
{
    return Workers::threadPool();
}
