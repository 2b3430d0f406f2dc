#pragma once

#include "support/files.h"
#include "support/loglines.h"

#include <QDir>
#include <QTest>

#ifdef Q_OS_UNIX
#    include <sys/stat.h>
#endif

/// Files to try a reader on: good ones, and what may stand in their place. The fuzz targets damage them.
namespace damaged
{

constexpr const char *category = "im.multimedia";

inline QString mediaPath(const char *name)
{
    return QStringLiteral(MEDIA) + QString::fromLatin1(name);
}

inline QString written(const QString &path, const QByteArray &bytes)
{
    return write(path, bytes) ? path : QString();
}

/// Paths in `directory` (and beyond) that are no file with content.
inline QStringList notFiles(const QDir &directory)
{
    QStringList paths{directory.path(), directory.filePath(QStringLiteral("missing.mp4")),
                      written(directory.filePath(QStringLiteral("empty.mp4")), {}), QString()};
#ifdef Q_OS_UNIX
    const QString pipe = directory.filePath(QStringLiteral("pipe.mp4"));
    ::mkfifo(QFile::encodeName(pipe).constData(), 0600);
    const QString circle = directory.filePath(QStringLiteral("circle.mp4"));
    QFile::link(circle, circle);
    const QString pipeLink = directory.filePath(QStringLiteral("pipe-link.mp4"));
    QFile::link(pipe, pipeLink);
    paths << pipe << circle << pipeLink << QStringLiteral("/dev/zero");
#endif
    return paths;
}

} // namespace damaged
