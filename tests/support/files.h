#pragma once

#include <QFile>

/// What a file holds; nothing when it cannot be read.
inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Makes a file, in place of one that is there. False when it cannot be written.
inline bool write(const QString &path, const QByteArray &bytes)
{
    QFile::remove(path); // some file systems flush a file that is cut to nothing and written anew
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
