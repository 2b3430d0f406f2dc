#pragma once

#include "modelbase_export.h"

#include <functional>

class QThread;
class QThreadPool;

/// The save thread and the pool. ThreadManager is the public interface and documents each
/// operation.
namespace Workers
{

MODELBASE_EXPORT void init();
MODELBASE_EXPORT void invoke(std::function<void()> &&fn, bool async);
MODELBASE_EXPORT bool invokeLater(std::function<void()> &&fn, int ms);
MODELBASE_EXPORT void run(std::function<void()> &&fn, bool async);
MODELBASE_EXPORT void quitAll();
/// The same when the event dispatcher may be destroyed: processes no events from now on.
MODELBASE_EXPORT void quitAtExit();
/// Null while it does not run.
MODELBASE_EXPORT QThread *saveThread();
/// Null while there is none.
MODELBASE_EXPORT QThreadPool *threadPool();

} // namespace Workers
