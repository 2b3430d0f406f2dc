#pragma once

#include <QFile>

namespace multimedia
{

/// Opens a regular file with content, or a link to one, for reading: opening a pipe or a device
/// could wait forever. Otherwise false, with a log line that begins with `purpose`.
bool openMediaFile(QFile &file, const QString &purpose);

/// One log line about a failure.
void logFailure(const QString &purpose, const QString &path, const QString &why);

} // namespace multimedia
