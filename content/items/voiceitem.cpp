#include "content/items/voiceitem.h"

#include "base/storedvalue.h"
#include "content/changes_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "core/logs_p.h"
#include "protocol/message_content.pb.h"

#include <algorithm>

namespace
{

// The bar, in pixels: with the button to play and the time beside it.
constexpr int barHeight = 48;
constexpr int leastBarWidth = 120;
/// Messages of this many seconds, and longer ones, are as wide as messages get.
constexpr int longDuration = 60;

} // namespace

VoiceItem::VoiceItem(int source, AccountBase *account) : FileItem(source, account)
{
    setType(Voice);
}

VoiceItem::VoiceItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : FileItem(map, source, account)
{
    Changes<VoiceItem> changes(this);
    read(map, changes);
}

VoiceItem::VoiceItem(const im::content::Content &content, int source, AccountBase *account)
    : FileItem(content, source, account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    if (content.has_voice())
        read(content);
}

VoiceItem::VoiceItem(const VoiceItem *other)
    : FileItem(other), m_duration(other->m_duration), m_sample(other->m_sample)
{
}

void VoiceItem::setDuration(qint32 duration)
{
    Update<VoiceItem>(this).set(m_duration, duration, &VoiceItem::durationChanged);
}

void VoiceItem::setSample(const QByteArray &sample)
{
    Changes<VoiceItem>(this).set(m_sample, sample, &VoiceItem::sampleChanged);
}

void VoiceItem::serialize(QMap<QString, QVariant> &map) const
{
    FileItem::serialize(map);
    map.insert(QStringLiteral("duration"), m_duration);
    map.insert(QStringLiteral("sample"), StoredValue::fromBytes(m_sample));
}

void VoiceItem::read(const QMap<QString, QVariant> &map, Changes<VoiceItem> &changes)
{
    changes.set(m_duration, StoredValue::toInt32(map.value(QStringLiteral("duration"))),
                &VoiceItem::durationChanged);
    changes.set(m_sample, storedBytes(map, QStringLiteral("sample")), &VoiceItem::sampleChanged);
}

void VoiceItem::deserialize(const QMap<QString, QVariant> &map)
{
    Update<VoiceItem> changes(this);
    read(map, changes);
    FileItem::deserialize(map);
}

void VoiceItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Voice *body = content->mutable_voice();
    if (sourceFile())
        writeFile(sourceFile(), body->mutable_voice_file());
    body->set_duration(m_duration);
    body->set_waveform(m_sample.constData(), std::size_t(m_sample.size()));
    writeCaption(body);
}

void VoiceItem::setContent(const im::content::Content &content)
{
    if (!content.has_voice()) {
        qCDebug(lcModel, "A voice message cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    read(content);
    keepRemainder(content);
}

void VoiceItem::read(const im::content::Content &content)
{
    const im::content::Voice &body = content.voice();
    Update<VoiceItem> changes(this);
    changes.set(m_duration, body.duration(), &VoiceItem::durationChanged);
    changes.set(m_sample, QByteArray(body.waveform().data(), qsizetype(body.waveform().size())),
                &VoiceItem::sampleChanged);
    updateFiles(body.voice_file(), im::content::FileInfo::default_instance(), {}, body.caption());
}

QVariantList VoiceItem::measured() const
{
    return {std::clamp(m_duration, 0, longDuration)};
}

QSize VoiceItem::mediaSize(int maxWidth, bool inThread) const
{
    const int limit = MediaBox::messageWidth(maxWidth, inThread);
    const int least = std::min(leastBarWidth, limit);
    const int seconds = std::clamp(m_duration, 0, longDuration);
    return {least + (limit - least) * seconds / longDuration, barHeight};
}
