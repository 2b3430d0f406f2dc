#pragma once

#include <cstdio>

/// A line from a crash handler: without locks, allocation, or anything of the C library's streams.
namespace crashline
{

/// The file that lines go to from now on; it may be closed afterwards.
void setFile(std::FILE *file);
/// To that file, and to standard error.
void write(const char *line) noexcept;

} // namespace crashline
