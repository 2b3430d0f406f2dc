#pragma once

#include "content/fields_p.h"
#include "content/filedata.h"
#include "content/items/fileitem.h"
#include "content/kinds_p.h"

#include <QSharedPointer>

#include <limits>

// What the kinds of content with files share.

/// The record of a file that a stored map holds; null when it holds none, or an empty one.
QSharedPointer<FileData> storedFile(const QVariantMap &map,
                                    FileData::ParseType type = FileData::ParseType::Source);

/// A record of a file on this device that is to be uploaded: with a fresh key, name, size and
/// times. Null, with a log line, when there is no regular file that can be read.
QSharedPointer<FileData> fileForUpload(const QString &path, int fileType);
/// A record of an image that is shown on this device only. Null, with a log line, when there is no
/// regular file that can be read.
QSharedPointer<FileData> localThumbnail(const QString &path);

/// Milliseconds as whole seconds, rounded up.
inline qint32 wholeSeconds(qint64 milliseconds)
{
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    return qint32(qBound<qint64>(0, milliseconds / 1000 + (milliseconds % 1000 > 0), most));
}

template <>
struct Fields<FileItem> : KindOf<ContentItem, &im::content::Content::has_file,
                                 &im::content::Content::file, &im::content::Content::mutable_file> {
    using File = im::content::File;

    static constexpr auto thumbNailKey = [] { return QStringLiteral("thumbNail"); };
    static constexpr auto displayNameKey = [] { return QStringLiteral("displayName"); };

    /// A row for the record of a file.
    template <auto Member, FileData::ParseType type, auto Signal>
    struct StoredFile : Held<Member, Signal> {
        static void read(FileItem &item, const StoredMap &map)
        {
            item.*Member = item.updated(item.*Member, storedFile(map, type));
        }
        static void write(const FileItem &item, StoredMap &map)
        {
            if (const FileData *file = (item.*Member).data())
                file->serialize(map, type == FileData::ParseType::Thumbnail);
        }
    };

    /// A row for the files of a body: `Source`, and where the body has them a thumbnail's file and
    /// bytes.
    template <auto Source, auto MutableSource>
    struct Sent : Row {
        template <typename Body>
        static void readRecord(FileItem &item, const Body &body)
        {
            if constexpr (requires { body.thumb(); })
                item.readFiles(std::invoke(Source, body), body.thumb().thumb_file(),
                               body.thumb().thumb_nail());
            else if constexpr (requires { body.thumb_file(); })
                item.readFiles(std::invoke(Source, body), body.thumb_file(), body.thumb_nail());
            else
                item.readFiles(std::invoke(Source, body), im::content::FileInfo::default_instance(),
                               {});
        }
        template <typename Body>
        static void writeRecord(const FileItem &item, Body *body)
        {
            if (item.m_sourceFile)
                item.writeFile(item.m_sourceFile, std::invoke(MutableSource, body));
            if constexpr (requires { body->thumb_file(); }) {
                if (item.isThumbnailSent())
                    item.writeFile(item.m_thumbnailFile, body->mutable_thumb_file());
                toRecord<&Body::mutable_thumb_nail>(body, item.m_thumbNail);
            }
        }
    };

    /// A row for a name as people may see it.
    struct DisplayName : Held<&FileItem::m_displayName, &FileItem::displayNameChanged> {
        static void read(FileItem &item, const StoredMap &map)
        {
            item.m_displayName = Util::shownFileName(map.value(displayNameKey()).toString());
        }
        static void write(const FileItem &item, StoredMap &map)
        {
            map.insert(displayNameKey(), item.m_displayName);
        }
    };

    static void settle(FileItem &item) { item.observe(); }

    static constexpr std::tuple table{
        DisplayName(),
        StoredFile<&FileItem::m_sourceFile, FileData::ParseType::Source,
                   &FileItem::sourceFileChanged>(),
        StoredFile<&FileItem::m_thumbnailFile, FileData::ParseType::Thumbnail,
                   &FileItem::thumbnailFileChanged>(),
        storedField<&FileItem::m_thumbNail, thumbNailKey, &FileItem::thumbNailChanged>,
        Sent<&File::attach_file, &File::mutable_attach_file>(),
        derived<&FileItem::fileType, &FileItem::fileTypeChanged>,
        derived<&FileItem::observedUpload, &FileItem::uploadStateChanged>,
        sizedBy<&FileItem::observedMeasures>,
    };
};

/// The files in the body of a kind.
template <auto Source, auto MutableSource>
inline constexpr Fields<FileItem>::Sent<Source, MutableSource> sentFiles{};
