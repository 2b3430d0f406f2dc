#pragma once

#include <QDateTime>
#include <QFileInfo>
#include <QString>

/// When a file was made and last changed, as FileData::createTime() has it.
struct FileTimes {
    qint64 created = 0;
    qint64 modified = 0;

    bool areKnown() const { return created > 0 && modified > 0; }
    bool match(const FileTimes &recorded) const
    {
        const auto same = [](qint64 now, qint64 then) { return now == then || now / 1000 == then; };
        return same(created, recorded.created) && same(modified, recorded.modified);
    }
};

/// What the disk says of a path at one moment.
struct DiskFile {
    explicit DiskFile(const QString &path)
    {
        if (path.isEmpty())
            return;
        QFileInfo info(path);
        info.stat(); // all at once: the file may vanish between two questions
        exists = info.exists();
        if (!exists)
            return;
        isRegular = info.isFile();
        size = info.size();
        const QDateTime created = info.birthTime();
        times.modified = info.lastModified().toMSecsSinceEpoch();
        times.created = created.isValid() ? created.toMSecsSinceEpoch() : times.modified;
    }

    qint64 regularSize() const { return isRegular ? size : 0; }

    bool exists = false;
    bool isRegular = false;
    qint64 size = 0;
    FileTimes times;
};
