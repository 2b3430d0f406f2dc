#pragma once

#include <cstdio>

/// A line from a crash handler: without locks, allocation, or anything of the C library's streams.
namespace crashline
{

/// The file that lines go to from now on; it may be closed afterwards.
void setFile(std::FILE *file);
/// The process ends, and the disk does not take what was written: from here on nothing waits for it,
/// not even the C library, which writes what is left in its buffers at the very end.
void abandonFile();
/// To that file, and to standard error.
void write(const char *line) noexcept;

} // namespace crashline
