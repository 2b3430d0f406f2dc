#include "content/items/mediafileitem.h"

#include "content/items/mediabox_p.h"
#include "content/items/mediafileitem_p.h"
#include "content/items/thumbnail_p.h"

MediaFileItem::MediaFileItem(int source, AccountBase *account) : FileItem(source, account) { }

MediaFileItem::MediaFileItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : FileItem(map, source, account)
{
    ItemFields::read(*this, map);
}

MediaFileItem::MediaFileItem(const im::content::Content &content, int source, AccountBase *account)
    : FileItem(content, source, account)
{
}

MediaFileItem::MediaFileItem(const MediaFileItem *other) : FileItem(other)
{
    ItemFields::copy(*this, *other);
}

STORE_BY_FIELDS(MediaFileItem, FileItem)

void MediaFileItem::setSize(qint32 w, qint32 h)
{
    const Changes changes(this);
    m_w = w;
    m_h = h;
}

void MediaFileItem::setThumbSize(qint32 w, qint32 h)
{
    const Changes changes(this);
    m_thumbW = w;
    m_thumbH = h;
}

void MediaFileItem::updateMedia(const im::content::FileInfo &file, qint32 w, qint32 h,
                                const im::content::FileThumb &thumb,
                                const im::content::Text &caption)
{
    const Changes changes(this);
    setSize(w, h);
    setThumbSize(thumb.width(), thumb.height());
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
    // A message has the size of a thumbnail only when it has the thumbnail.
    if (!isThumbnailSent())
        return;
    setThumbSize(thumbnail.size.width(), thumbnail.size.height());
    if (QSize(m_w, m_h).isEmpty() && !thumbnail.natural.isEmpty())
        setSize(thumbnail.natural.width(), thumbnail.natural.height());
}

/// The size of the picture, or where that is unknown of the thumbnail.
QSize MediaFileItem::naturalSize() const
{
    const QSize size(m_w, m_h);
    return size.isEmpty() ? QSize(m_thumbW, m_thumbH) : size;
}

QVariantList MediaFileItem::measured() const
{
    return {naturalSize()};
}

QSize MediaFileItem::mediaSize(int maxWidth, bool inThread) const
{
    return MediaBox::box(naturalSize(), MediaBox::messageWidth(maxWidth, inThread));
}
