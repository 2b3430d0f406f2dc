#pragma once

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QTest>

#include <atomic>

#ifdef Q_OS_UNIX
#    include <sys/stat.h>
#endif

/// Files to try a reader on: good ones, and what may stand in their place. The fuzz targets damage them.
namespace damaged
{

inline QString mediaPath(const char *name)
{
    return QStringLiteral(MEDIA) + QString::fromLatin1(name);
}

inline QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QString write(const QString &path, const QByteArray &bytes)
{
    // Some file systems flush a file that is cut to nothing and written anew.
    QFile::remove(path);
    QFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    return written ? path : QString();
}

/// Counts the log lines of the library while it lives, and keeps all quiet.
class Warnings
{
public:
    Warnings() : m_before(qInstallMessageHandler(&take)) { s_count = 0; }
    ~Warnings() { qInstallMessageHandler(m_before); }
    Q_DISABLE_COPY_MOVE(Warnings)
    int count() const { return s_count; }

private:
    static void take(QtMsgType, const QMessageLogContext &context, const QString &)
    {
        s_count += qstrcmp(context.category, "im.multimedia") == 0;
    }
    inline static std::atomic<int> s_count = 0;
    QtMessageHandler m_before;
};

/// Paths in `directory` (and beyond) that are no file with content.
inline QStringList notFiles(const QDir &directory)
{
    QStringList paths{directory.path(), directory.filePath(QStringLiteral("missing.mp4")),
                      write(directory.filePath(QStringLiteral("empty.mp4")), {}), QString()};
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
