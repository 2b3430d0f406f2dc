#include "content/items/videoitem.h"

#include "base/storedvalue.h"
#include "content/changes_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/thumbnail_p.h"
#include "core/logs_p.h"
#include "protocol/message_content.pb.h"

namespace
{

constexpr auto streamingKey = [] { return QStringLiteral("supportStreaming"); };

} // namespace

VideoItem::VideoItem(int source, AccountBase *account) : MediaFileItem(source, account)
{
    setType(Video);
}

VideoItem::VideoItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : MediaFileItem(map, source, account)
{
    Changes<VideoItem> changes(this);
    read(map, changes);
}

VideoItem::VideoItem(const im::content::Content &content, int source, AccountBase *account)
    : MediaFileItem(content, source, account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    if (content.has_video())
        read(content);
}

VideoItem::VideoItem(const VideoItem *other)
    : MediaFileItem(other), m_duration(other->m_duration), m_spoiler(other->m_spoiler),
      m_supportStreaming(other->m_supportStreaming)
{
}

void VideoItem::setDuration(qint32 duration)
{
    Changes<VideoItem>(this).set(m_duration, duration, &VideoItem::durationChanged);
}

void VideoItem::setSpoiler(bool spoiler)
{
    Changes<VideoItem>(this).set(m_spoiler, spoiler, &VideoItem::spoilerChanged);
}

void VideoItem::setSupportStreaming(bool supportStreaming)
{
    Changes<VideoItem>(this).set(m_supportStreaming, supportStreaming,
                                 &VideoItem::supportStreamingChanged);
}

void VideoItem::takeOver(const Thumbnail &thumbnail)
{
    MediaFileItem::takeOver(thumbnail);
    if (m_duration == 0 && isThumbnailSent())
        setDuration(wholeSeconds(thumbnail.duration));
}

void VideoItem::serialize(QMap<QString, QVariant> &map) const
{
    MediaFileItem::serialize(map);
    map.insert(QStringLiteral("duration"), m_duration);
    map.insert(QStringLiteral("spoiler"), m_spoiler);
    if (m_supportStreaming)
        map.insert(streamingKey(), true);
}

void VideoItem::read(const QMap<QString, QVariant> &map, Changes<VideoItem> &changes)
{
    changes.set(m_duration, StoredValue::toInt32(map.value(QStringLiteral("duration"))),
                &VideoItem::durationChanged);
    changes.set(m_spoiler, map.value(QStringLiteral("spoiler")).toBool(),
                &VideoItem::spoilerChanged);
    changes.set(m_supportStreaming, map.value(streamingKey()).toBool(),
                &VideoItem::supportStreamingChanged);
}

void VideoItem::deserialize(const QMap<QString, QVariant> &map)
{
    Changes<VideoItem> changes(this);
    read(map, changes);
    MediaFileItem::deserialize(map);
}

void VideoItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Video *body = content->mutable_video();
    if (sourceFile())
        writeFile(sourceFile(), body->mutable_video_file());
    if (hasThumb())
        writeThumb(body->mutable_thumb());
    body->set_width(w());
    body->set_height(h());
    body->set_duration(m_duration);
    body->set_spoiler(m_spoiler);
    body->set_support_streaming(m_supportStreaming);
    writeCaption(body);
}

void VideoItem::setContent(const im::content::Content &content)
{
    if (!content.has_video()) {
        qCDebug(lcModel, "A video cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    read(content);
    keepRemainder(content);
}

void VideoItem::read(const im::content::Content &content)
{
    const im::content::Video &body = content.video();
    Changes<VideoItem> changes(this);
    changes.set(m_duration, body.duration(), &VideoItem::durationChanged);
    changes.set(m_spoiler, body.spoiler(), &VideoItem::spoilerChanged);
    changes.set(m_supportStreaming, body.support_streaming(), &VideoItem::supportStreamingChanged);
    updateMedia(body.video_file(), body.width(), body.height(), body.thumb(), body.caption());
}
