#include "content/items/videoitem.h"

#include "content/items/mediafileitem_p.h"
#include "content/items/thumbnail_p.h"

namespace
{

constexpr auto durationKey = [] { return QStringLiteral("duration"); };
constexpr auto spoilerKey = [] { return QStringLiteral("spoiler"); };
constexpr auto streamingKey = [] { return QStringLiteral("supportStreaming"); };

} // namespace

using im::content::Content;
using im::content::Video;

template <>
struct Fields<VideoItem>
    : KindOf<MediaFileItem, &Content::has_video, &Content::video, &Content::mutable_video> {
    static constexpr std::tuple table{
        sentMedia<&Video::video_file, &Video::mutable_video_file>,
        field<&VideoItem::m_duration, durationKey, &Video::duration, &Video::set_duration,
              &VideoItem::durationChanged>,
        field<&VideoItem::m_spoiler, spoilerKey, &Video::spoiler, &Video::set_spoiler,
              &VideoItem::spoilerChanged>,
        field<&VideoItem::m_supportStreaming, streamingKey, &Video::support_streaming,
              &Video::set_support_streaming, &VideoItem::supportStreamingChanged,
              Written::UnlessEmpty>,
    };
};

CONSTRUCT_BY_FIELDS(VideoItem, MediaFileItem, ContentItem::Video)
STORE_BY_FIELDS(VideoItem, MediaFileItem)
SEND_BY_FIELDS(VideoItem)

void VideoItem::setDuration(qint32 duration)
{
    Changes(this)->m_duration = duration;
}

void VideoItem::setSpoiler(bool spoiler)
{
    Changes(this)->m_spoiler = spoiler;
}

void VideoItem::setSupportStreaming(bool supportStreaming)
{
    Changes(this)->m_supportStreaming = supportStreaming;
}

void VideoItem::takeOver(const Thumbnail &thumbnail)
{
    MediaFileItem::takeOver(thumbnail);
    if (m_duration == 0 && isThumbnailSent())
        setDuration(wholeSeconds(thumbnail.duration));
}
