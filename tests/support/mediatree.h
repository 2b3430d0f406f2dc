#pragma once

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRandomGenerator>
#include <QTest>

#ifdef Q_OS_LINUX
#    include <linux/capability.h>
#    include <sys/prctl.h>
#    include <unistd.h>
#endif

/// To be called by main(): for the superuser nothing is unreadable, so the program starts itself
/// again without that right. Nothing happens where it has none.
inline void respectPermissions([[maybe_unused]] char **argv)
{
#ifdef Q_OS_LINUX
    if (::prctl(PR_CAPBSET_READ, CAP_DAC_OVERRIDE) != 1 || ::geteuid() != 0)
        return;
    ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
    ::execv("/proc/self/exe", argv);
#endif
}

/// The files below a folder: what tests of moving them make, and compare.
struct MediaTree {
    struct File {
        QByteArray content;
        QDateTime modified;
        bool operator==(const File &) const = default;
    };
    QMap<QString, File> files; // by path below the folder

    bool operator==(const MediaTree &) const = default;

    qint64 bytes() const
    {
        qint64 sum = 0;
        for (const File &file : files)
            sum += file.content.size();
        return sum;
    }

    /// Links and what lies behind them do not count.
    static MediaTree read(const QString &folder)
    {
        MediaTree tree;
        QDirIterator entry(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (entry.hasNext()) {
            QFile file(entry.next());
            if (entry.fileInfo().isSymLink())
                continue;
            if (!file.open(QIODevice::ReadOnly) && !file.exists())
                continue; // it is being moved
            if (!file.isOpen())
                qFatal("%s cannot be read", qUtf8Printable(file.fileName()));
            tree.files.insert(QDir(folder).relativeFilePath(file.fileName()),
                              {file.readAll(), file.fileTime(QFile::FileModificationTime)});
        }
        return tree;
    }

    static void write(const QString &path, const QByteArray &content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("%s cannot be written", qUtf8Printable(path));
    }

    /// Gives a file another time, a random one of the last years.
    static void touch(const QString &path)
    {
        QFile file(path);
        const auto age = QRandomGenerator::global()->bounded(qint64(100'000'000'000));
        if (!file.open(QIODevice::ReadWrite)
            || !file.setFileTime(QDateTime::currentDateTime().addMSecs(-age),
                                 QFile::FileModificationTime))
            qFatal("%s has no time", qUtf8Printable(path));
    }

    /// Random files, some in sub-folders, some without bytes, and names of many scripts.
    static void fill(const QString &folder, int count, quint32 seed)
    {
        static const QStringList names = {
            QStringLiteral("photo.jpg"),
            QStringLiteral("фото.jpg"),
            QStringLiteral("写真 1.png"),
            QStringLiteral("صورة.webp"),
            QStringLiteral("ภาพ.gif"),
            QStringLiteral("🎉 party.mp4"),
            QStringLiteral("e\u0301\u0323"),
            QStringLiteral(".hidden"),
            QStringLiteral("a.tar.gz"),
            QStringLiteral(" two  spaces "),
            QStringLiteral("per%20cent &#'\"") + QLatin1Char('$'),
            QString(80, QChar(0x4e2d)), // as long as a name may be, in bytes
        };
        QRandomGenerator random(seed);
        for (int i = 0; i < count; ++i) {
            QString path = folder + QLatin1Char('/');
            for (int depth = int(random.bounded(3)); depth > 0; --depth)
                path += names.at(random.bounded(int(names.size()))) + QLatin1Char('/');
            path += QString::number(i) + names.at(random.bounded(int(names.size())));
            QByteArray content(random.bounded(8) == 0 ? 0 : int(random.bounded(200'000)), '\0');
            for (char &byte : content)
                byte = char(random.generate());
            write(path, content);
            touch(path);
        }
    }
};
