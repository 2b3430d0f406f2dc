#pragma once

#include <QFile>

namespace multimedia
{

/// Opens for reading what is a file with content, or a link to one: opening a pipe or a device could
/// wait forever. False, with a log line that begins with `purpose`, otherwise.
bool openMediaFile(QFile &file, const QString &purpose);

/// One log line about a failure.
void logFailure(const QString &purpose, const QString &path, const QString &why);

} // namespace multimedia
