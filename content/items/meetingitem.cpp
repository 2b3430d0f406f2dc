#include "content/items/meetingitem.h"

#include "content/fields_p.h"

using im::content::Content;
using im::content::MeetingInvite;

template <>
struct Fields<MeetingItem> : KindOf<ContentItem, &Content::has_meeting_invite,
                                    &Content::meeting_invite, &Content::mutable_meeting_invite> {
    static constexpr std::tuple table{
        field<&MeetingItem::m_key, KEY("key"), &MeetingInvite::key, &MeetingInvite::mutable_key,
              &MeetingItem::keyChanged>,
        field<&MeetingItem::m_nonce, KEY("nonce"), &MeetingInvite::nonce,
              &MeetingInvite::mutable_nonce, &MeetingItem::nonceChanged>,
    };
};

CONTENT_KIND(MeetingItem, ContentItem, ContentItem::Meeting)

SET_BY_FIELD(MeetingItem, setKey, const QByteArray &, m_key)
SET_BY_FIELD(MeetingItem, setNonce, const QString &, m_nonce)
