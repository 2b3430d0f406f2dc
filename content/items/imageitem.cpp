#include "content/items/imageitem.h"

#include "content/changes_p.h"
#include "content/items/fileitem_p.h"
#include "core/logs_p.h"
#include "protocol/message_content.pb.h"

namespace
{

constexpr auto livePhotoKey = [] { return QStringLiteral("livePhoto"); };

} // namespace

ImageItem::ImageItem(int source, AccountBase *account) : MediaFileItem(source, account)
{
    setType(Image);
}

ImageItem::ImageItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : MediaFileItem(map, source, account)
{
    Changes<ImageItem> changes(this);
    read(map, changes);
}

ImageItem::ImageItem(const im::content::Content &content, int source, AccountBase *account)
    : MediaFileItem(content, source, account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    if (content.has_image())
        read(content);
}

ImageItem::ImageItem(const ImageItem *other)
    : MediaFileItem(other), m_livePhoto(other->m_livePhoto), m_spoiler(other->m_spoiler)
{
}

void ImageItem::setSpoiler(bool spoiler)
{
    Changes<ImageItem>(this).set(m_spoiler, spoiler, &ImageItem::spoilerChanged);
}

void ImageItem::setLivePhoto(const QSharedPointer<FileData> &file)
{
    {
        Changes<ImageItem> changes(this);
        replaceLivePhoto(file, changes);
    }
    filesReplaced();
}

void ImageItem::replaceLivePhoto(const QSharedPointer<FileData> &file, Changes<ImageItem> &changes)
{
    const QSharedPointer<FileData> held = m_livePhoto;
    if (changes.set(m_livePhoto, file, &ImageItem::livePhotoChanged) && held)
        disconnect(held.data(), nullptr, this, nullptr);
}

bool ImageItem::isAnimated() const
{
    return suffix() == QLatin1StringView("gif");
}

void ImageItem::getFile(QList<QSharedPointer<FileData>> &files)
{
    MediaFileItem::getFile(files);
    if (m_livePhoto)
        files.append(m_livePhoto);
}

void ImageItem::serialize(QMap<QString, QVariant> &map) const
{
    MediaFileItem::serialize(map);
    map.insert(QStringLiteral("spoiler"), m_spoiler);
    if (m_livePhoto) {
        QVariantMap file;
        m_livePhoto->serialize(file, false);
        map.insert(livePhotoKey(), file);
    }
}

void ImageItem::read(const QMap<QString, QVariant> &map, Changes<ImageItem> &changes)
{
    changes.set(m_spoiler, map.value(QStringLiteral("spoiler")).toBool(),
                &ImageItem::spoilerChanged);
    const QVariantMap file = map.value(livePhotoKey()).toMap();
    replaceLivePhoto(updated(m_livePhoto, storedFile(file)), changes);
}

void ImageItem::deserialize(const QMap<QString, QVariant> &map)
{
    Changes<ImageItem> changes(this);
    read(map, changes);
    MediaFileItem::deserialize(map);
}

void ImageItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Image *body = content->mutable_image();
    if (sourceFile())
        writeFile(sourceFile(), body->mutable_image_file());
    if (hasThumb())
        writeThumb(body->mutable_thumb());
    if (m_livePhoto)
        writeFile(m_livePhoto, body->mutable_live_photo_file());
    body->set_width(w());
    body->set_height(h());
    body->set_spoiler(m_spoiler);
    writeCaption(body);
}

void ImageItem::setContent(const im::content::Content &content)
{
    if (!content.has_image()) {
        qCDebug(lcModel, "An image cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    read(content);
    keepRemainder(content);
}

void ImageItem::read(const im::content::Content &content)
{
    const im::content::Image &body = content.image();
    Changes<ImageItem> changes(this);
    changes.set(m_spoiler, body.spoiler(), &ImageItem::spoilerChanged);
    replaceLivePhoto(updated(m_livePhoto, body.live_photo_file()), changes);
    updateMedia(body.image_file(), body.width(), body.height(), body.thumb(), body.caption());
}
