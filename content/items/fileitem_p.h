#pragma once

#include "content/changes_p.h"
#include "content/filedata.h"
#include "content/items/fileitem.h"

#include <QSharedPointer>

#include <limits>

// What the kinds of content with files share.

/// The file type of images, thumbnails and covers among them.
constexpr int imageFileType = 2;

/// Asks for a new size at the end of an update that has changed what the item measures: once, when
/// the outermost of the updates that it is made of ends.
class FileItem::Measured
{
public:
    explicit Measured(FileItem *item)
        : m_item(!item->m_noted || item->m_isUpdating || item->signalsBlocked() ? nullptr : item)
    {
        if (m_item)
            m_item->m_isUpdating = true;
    }
    ~Measured()
    {
        if (!m_item)
            return;
        m_item->m_isUpdating = false;
        m_item->noteMeasured();
    }
    Q_DISABLE_COPY_MOVE(Measured)

private:
    FileItem *m_item;
};

/// Changes of what the item may measure: their own signals come first.
template <typename Item>
class FileItem::Update : Measured, public Changes<Item>
{
public:
    explicit Update(Item *item) : Measured(item), Changes<Item>(item) { }
};

/// The record of a file that a stored map holds; null when it holds none, or an empty one.
QSharedPointer<FileData> storedFile(const QVariantMap &map,
                                    FileData::ParseType type = FileData::ParseType::Source);
/// The bytes that a stored map holds as Base64. Empty, with a log line, for what is no Base64.
QByteArray storedBytes(const QVariantMap &map, const QString &key);

/// A record of a file on this device that is to be uploaded: with a fresh key, name, size and times.
/// Null, with a log line, when there is no regular file that can be read.
QSharedPointer<FileData> fileForUpload(const QString &path, int fileType);
/// A record of an image that is shown on this device only. Null, with a log line, when there is no
/// regular file that can be read.
QSharedPointer<FileData> localThumbnail(const QString &path);

/// Milliseconds as the whole seconds that a message tells, at least one of what has a length.
inline qint32 wholeSeconds(qint64 milliseconds)
{
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    return qint32(qBound<qint64>(0, milliseconds / 1000 + (milliseconds % 1000 > 0), most));
}
