#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace storage
{

/// Held as long as a copy of it exists.
using ProcessLock = std::shared_ptr<const void>;

/// Locks a directory for this process. The system releases the lock when the process ends, however
/// it does, and nothing stays on the disk. All callers in one process share the lock. Null if the
/// directory cannot be locked; nothing if another process holds the lock. From any thread.
std::optional<ProcessLock> lockForProcess(const QString &directory);

} // namespace storage
