#pragma once

#include <cstdio>

/// Writes a line from a crash handler: without locks, allocation, or the C library's streams.
namespace crashline
{

/// The file for lines from now on; the caller may close it afterwards.
void setFile(std::FILE *file);
/// The process ends, and the disk does not accept the written lines: from here on nothing waits for
/// it, not even the C library, which flushes its buffers at the very end.
void abandonFile();
/// To that file, and to standard error.
void write(const char *line) noexcept;

} // namespace crashline
