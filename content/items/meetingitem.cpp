#include "content/items/meetingitem.h"

#include "content/fields_p.h"

namespace
{

constexpr auto keyKey = [] { return QStringLiteral("key"); };
constexpr auto nonceKey = [] { return QStringLiteral("nonce"); };

} // namespace

using im::content::Content;
using im::content::MeetingInvite;

template <>
struct Fields<MeetingItem> : KindOf<ContentItem, &Content::has_meeting_invite,
                                    &Content::meeting_invite, &Content::mutable_meeting_invite> {
    static constexpr std::tuple table{
        field<&MeetingItem::m_key, keyKey, &MeetingInvite::key, &MeetingInvite::mutable_key,
              &MeetingItem::keyChanged>,
        field<&MeetingItem::m_nonce, nonceKey, &MeetingInvite::nonce, &MeetingInvite::mutable_nonce,
              &MeetingItem::nonceChanged>,
    };
};

CONSTRUCT_BY_FIELDS(MeetingItem, ContentItem, ContentItem::Meeting)
STORE_BY_FIELDS(MeetingItem, ContentItem)
SEND_BY_FIELDS(MeetingItem)

void MeetingItem::setKey(const QByteArray &key)
{
    Changes(this)->m_key = key;
}

void MeetingItem::setNonce(const QString &nonce)
{
    Changes(this)->m_nonce = nonce;
}
