#include "content/items/videoitem.h"

#include "content/items/mediafileitem_p.h"
#include "content/items/thumbnail_p.h"

using im::content::Content;
using im::content::Video;

template <>
struct Fields<VideoItem>
    : KindOf<MediaFileItem, &Content::has_video, &Content::video, &Content::mutable_video> {
    static constexpr std::tuple table{
        sentMedia<&Video::video_file, &Video::mutable_video_file>,
        field<&VideoItem::m_duration, KEY("duration"), &Video::duration, &Video::set_duration,
              &VideoItem::durationChanged>,
        field<&VideoItem::m_spoiler, KEY("spoiler"), &Video::spoiler, &Video::set_spoiler,
              &VideoItem::spoilerChanged>,
        field<&VideoItem::m_supportStreaming, KEY("supportStreaming"), &Video::support_streaming,
              &Video::set_support_streaming, &VideoItem::supportStreamingChanged,
              Written::UnlessEmpty>,
    };
};

CONTENT_KIND(VideoItem, MediaFileItem, ContentItem::Video)

SET_BY_FIELD(VideoItem, setDuration, qint32, m_duration)
SET_BY_FIELD(VideoItem, setSpoiler, bool, m_spoiler)
SET_BY_FIELD(VideoItem, setSupportStreaming, bool, m_supportStreaming)

void VideoItem::takeOver(const Thumbnail &thumbnail)
{
    MediaFileItem::takeOver(thumbnail);
    if (m_duration == 0 && isThumbnailSent())
        setDuration(wholeSeconds(thumbnail.duration));
}
