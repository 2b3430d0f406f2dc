#include "content/items/imageitem.h"

#include "content/items/mediafileitem_p.h"

namespace
{

constexpr auto livePhotoKey = [] { return QStringLiteral("livePhoto"); };

} // namespace

using im::content::Content;
using im::content::Image;

template <>
struct Fields<ImageItem>
    : KindOf<MediaFileItem, &Content::has_image, &Content::image, &Content::mutable_image> {
    /// A row for the film of a live photo: a map, or a record, of its own.
    struct LivePhoto : Held<&ImageItem::m_livePhoto, &ImageItem::livePhotoChanged> {
        static void read(ImageItem &item, const StoredMap &map)
        {
            const QVariantMap file = map.value(livePhotoKey()).toMap();
            item.m_livePhoto = item.updated(item.m_livePhoto, storedFile(file));
        }
        static void write(const ImageItem &item, StoredMap &map)
        {
            if (item.m_livePhoto)
                map.insert(livePhotoKey(), std::as_const(*item.m_livePhoto).serialize());
        }
        static void readRecord(ImageItem &item, const Image &body)
        {
            item.m_livePhoto = item.updated(item.m_livePhoto, body.live_photo_file());
        }
        static void writeRecord(const ImageItem &item, Image *body)
        {
            if (item.m_livePhoto)
                item.writeFile(item.m_livePhoto, body->mutable_live_photo_file());
        }
    };

    static constexpr std::tuple table{
        sentMedia<&Image::image_file, &Image::mutable_image_file>,
        field<&ImageItem::m_spoiler, KEY("spoiler"), &Image::spoiler, &Image::set_spoiler,
              &ImageItem::spoilerChanged>,
        LivePhoto(),
    };
};

CONTENT_KIND(ImageItem, MediaFileItem, ContentItem::Image)

SET_BY_FIELD(ImageItem, setSpoiler, bool, m_spoiler)
SET_BY_FIELD(ImageItem, setLivePhoto, const QSharedPointer<FileData> &, m_livePhoto)

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
