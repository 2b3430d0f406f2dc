#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace storage
{

/// Held as long as there is a copy of it.
using ProcessLock = std::shared_ptr<const void>;

/// Keeps a directory for this process. The system takes the lock back when the process ends, however
/// it does, and nothing stays on the disk. All who ask in one process share the lock. Null where the
/// directory cannot be locked; nothing when another process has it. From any thread.
std::optional<ProcessLock> lockForProcess(const QString &directory);

} // namespace storage
