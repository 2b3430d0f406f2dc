#include "content/items/mediafileitem.h"

#include "base/storedvalue.h"
#include "content/changes_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/thumbnail_p.h"
#include "protocol/message_content.pb.h"

MediaFileItem::MediaFileItem(int source, AccountBase *account) : FileItem(source, account) { }

MediaFileItem::MediaFileItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : FileItem(map, source, account)
{
    Changes<MediaFileItem> changes(this);
    read(map, changes);
}

MediaFileItem::MediaFileItem(const im::content::Content &content, int source, AccountBase *account)
    : FileItem(content, source, account)
{
}

MediaFileItem::MediaFileItem(const MediaFileItem *other)
    : FileItem(other), m_size(other->m_size), m_thumbSize(other->m_thumbSize)
{
}

void MediaFileItem::setSize(qint32 w, qint32 h)
{
    Update<MediaFileItem>(this).set(m_size, {w, h}, &MediaFileItem::sizeChanged);
}

void MediaFileItem::setThumbSize(qint32 w, qint32 h)
{
    Update<MediaFileItem>(this).set(m_thumbSize, {w, h}, &MediaFileItem::thumbSizeChanged);
}

void MediaFileItem::serialize(QMap<QString, QVariant> &map) const
{
    FileItem::serialize(map);
    map.insert(QStringLiteral("w"), w());
    map.insert(QStringLiteral("h"), h());
    map.insert(QStringLiteral("thumbW"), thumbW());
    map.insert(QStringLiteral("thumbH"), thumbH());
}

void MediaFileItem::read(const QMap<QString, QVariant> &map, Changes<MediaFileItem> &changes)
{
    const auto number = [&](const QString &key) { return StoredValue::toInt32(map.value(key)); };
    changes.set(m_size, {number(QStringLiteral("w")), number(QStringLiteral("h"))},
                &MediaFileItem::sizeChanged);
    changes.set(m_thumbSize, {number(QStringLiteral("thumbW")), number(QStringLiteral("thumbH"))},
                &MediaFileItem::thumbSizeChanged);
}

void MediaFileItem::deserialize(const QMap<QString, QVariant> &map)
{
    Update<MediaFileItem> changes(this);
    read(map, changes);
    FileItem::deserialize(map);
}

void MediaFileItem::updateMedia(const im::content::FileInfo &file, qint32 w, qint32 h,
                                const im::content::FileThumb &thumb,
                                const im::content::Text &caption)
{
    Update<MediaFileItem> changes(this);
    changes.set(m_size, {w, h}, &MediaFileItem::sizeChanged);
    changes.set(m_thumbSize, {thumb.width(), thumb.height()}, &MediaFileItem::thumbSizeChanged);
    updateFiles(file, thumb.thumb_file(), thumb.thumb_nail(), caption);
}

bool MediaFileItem::hasThumb() const
{
    return thumbW() != 0 || thumbH() != 0 || hasThumbBytes() || isThumbnailSent();
}

void MediaFileItem::writeThumb(im::content::FileThumb *thumb) const
{
    thumb->set_width(thumbW());
    thumb->set_height(thumbH());
    thumb->set_thumb_nail(thumbNail().constData(), std::size_t(thumbNail().size()));
    if (isThumbnailSent())
        writeFile(thumbnailFile(), thumb->mutable_thumb_file());
}

void MediaFileItem::takeOver(const Thumbnail &thumbnail)
{
    // The size of an image that stays here is nothing that the message says.
    if (!isThumbnailSent())
        return;
    setThumbSize(thumbnail.size.width(), thumbnail.size.height());
    if (m_size.isEmpty() && !thumbnail.natural.isEmpty())
        setSize(thumbnail.natural.width(), thumbnail.natural.height());
}

QVariantList MediaFileItem::measured() const
{
    return {m_size, m_size.isEmpty() ? m_thumbSize : QSize()};
}

QSize MediaFileItem::mediaSize(int maxWidth, bool inThread) const
{
    return MediaBox::box(m_size.isEmpty() ? m_thumbSize : m_size,
                         MediaBox::messageWidth(maxWidth, inThread));
}
