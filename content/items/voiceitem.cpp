#include "content/items/voiceitem.h"

#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"

#include <algorithm>

namespace
{

// The bar, in pixels: with the button to play and the time beside it.
constexpr int barHeight = 48;
constexpr int leastBarWidth = 120;
/// Messages of this many seconds, and longer ones, are as wide as messages get.
constexpr int longDuration = 60;

} // namespace

using im::content::Content;
using im::content::Voice;

template <>
struct Fields<VoiceItem>
    : KindOf<FileItem, &Content::has_voice, &Content::voice, &Content::mutable_voice> {
    static constexpr std::tuple table{
        sentFiles<&Voice::voice_file, &Voice::mutable_voice_file>,
        field<&VoiceItem::m_duration, KEY("duration"), &Voice::duration, &Voice::set_duration,
              &VoiceItem::durationChanged>,
        field<&VoiceItem::m_sample, KEY("sample"), &Voice::waveform, &Voice::mutable_waveform,
              &VoiceItem::sampleChanged>,
    };
};

CONTENT_KIND(VoiceItem, FileItem, ContentItem::Voice)

SET_BY_FIELD(VoiceItem, setDuration, qint32, m_duration)
SET_BY_FIELD(VoiceItem, setSample, const QByteArray &, m_sample)

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
