#pragma once

#include "content/items/mediafileitem.h"

/// A video.
///
/// The stored map has "duration" and "spoiler" after the keys of MediaFileItem, and
/// "supportStreaming" when it is true.
class MODELBASE_EXPORT VideoItem : public MediaFileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 duration READ duration WRITE setDuration NOTIFY durationChanged)
    Q_PROPERTY(bool spoiler READ spoiler WRITE setSpoiler NOTIFY spoilerChanged)
    Q_PROPERTY(bool supportStreaming READ supportStreaming WRITE setSupportStreaming NOTIFY
                   supportStreamingChanged)

public:
    VideoItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    VideoItem(const im::content::Content &content, int source, AccountBase *account);
    VideoItem(int source, AccountBase *account);
    explicit VideoItem(const VideoItem *other);

    /// Seconds.
    qint32 duration() const { return m_duration; }
    void setDuration(qint32 duration);
    /// Whether the video is covered until somebody wants to see it.
    bool spoiler() const override { return m_spoiler; }
    void setSpoiler(bool spoiler) override;
    /// Whether the file is laid out so that it can be played before all of it is here.
    bool supportStreaming() const { return m_supportStreaming; }
    void setSupportStreaming(bool supportStreaming);

    using MediaFileItem::serialize;
    using MediaFileItem::setContent;
    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;

Q_SIGNALS:
    void durationChanged();
    void spoilerChanged();
    void supportStreamingChanged();

protected:
    void takeOver(const Thumbnail &thumbnail) override;

private:
    template <typename>
    friend struct Fields;

    qint32 m_duration = 0;
    bool m_spoiler = false;
    bool m_supportStreaming = false;
};
