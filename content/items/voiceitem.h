#pragma once

#include "content/items/fileitem.h"

/// A voice message.
///
/// The stored map has "duration" and "sample" (Base64) after the keys of FileItem.
class MODELBASE_EXPORT VoiceItem : public FileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 duration READ duration WRITE setDuration NOTIFY durationChanged)
    Q_PROPERTY(QByteArray sample READ sample WRITE setSample NOTIFY sampleChanged)

public:
    VoiceItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    VoiceItem(const im::content::Content &content, int source, AccountBase *account);
    VoiceItem(int source, AccountBase *account);
    explicit VoiceItem(const VoiceItem *other);

    /// Seconds.
    qint32 duration() const { return m_duration; }
    void setDuration(qint32 duration);
    /// The waveform that is drawn: the loudness of so many equal parts of the message, a byte each.
    const QByteArray &sample() const { return m_sample; }
    void setSample(const QByteArray &sample);

    /// A bar, the longer the message the wider, up to a minute.
    QSize mediaSize(int maxWidth, bool inThread) const override;

    using FileItem::serialize;
    using FileItem::setContent;
    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    /// The caption alone: the file of a voice message has no name that means anything.
    QString getKeyword() const override { return ContentItem::getKeyword(); }

Q_SIGNALS:
    void durationChanged();
    void sampleChanged();

protected:
    QVariantList measured() const override;

private:
    template <typename>
    friend struct Fields;

    qint32 m_duration = 0;
    QByteArray m_sample;
};
