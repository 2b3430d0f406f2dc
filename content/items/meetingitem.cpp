#include "content/items/meetingitem.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "core/logs_p.h"
#include "protocol/message_content.pb.h"

namespace
{

constexpr auto keyKey = [] { return QStringLiteral("key"); };
constexpr auto nonceKey = [] { return QStringLiteral("nonce"); };

} // namespace

MeetingItem::MeetingItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_key(StoredValue::toBytes(map.value(keyKey()), keyKey())),
      m_nonce(map.value(nonceKey()).toString())
{
    setType(Meeting);
}

MeetingItem::MeetingItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account),
      m_key(QByteArray::fromStdString(content.meeting_invite().key())),
      m_nonce(Util::fromUtf8(content.meeting_invite().nonce()))
{
    setType(Meeting);
}

MeetingItem::MeetingItem(int source, AccountBase *account) : ContentItem(source, account)
{
    setType(Meeting);
}

MeetingItem::MeetingItem(const MeetingItem *other)
    : ContentItem(other), m_key(other->m_key), m_nonce(other->m_nonce)
{
}

void MeetingItem::setKey(const QByteArray &key)
{
    Changes changes(this);
    take(changes, key, m_nonce);
}

void MeetingItem::setNonce(const QString &nonce)
{
    Changes changes(this);
    take(changes, m_key, nonce);
}

void MeetingItem::take(Changes<MeetingItem> &changes, const QByteArray &key, const QString &nonce)
{
    changes.set(m_key, key, &MeetingItem::keyChanged);
    changes.set(m_nonce, nonce, &MeetingItem::nonceChanged);
}

void MeetingItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    map.insert(keyKey(), StoredValue::fromBytes(m_key));
    map.insert(nonceKey(), m_nonce);
}

void MeetingItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::MeetingInvite *invite = content->mutable_meeting_invite();
    invite->set_key(m_key.toStdString());
    invite->set_nonce(m_nonce.toStdString());
}

void MeetingItem::deserialize(const QMap<QString, QVariant> &map)
{
    Changes changes(this);
    take(changes, StoredValue::toBytes(map.value(keyKey()), keyKey()),
         map.value(nonceKey()).toString());
    ContentItem::deserialize(map);
}

void MeetingItem::setContent(const im::content::Content &content)
{
    if (!content.has_meeting_invite()) {
        qCDebug(lcModel, "A meeting cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    const im::content::MeetingInvite &invite = content.meeting_invite();
    Changes changes(this);
    take(changes, QByteArray::fromStdString(invite.key()), Util::fromUtf8(invite.nonce()));
    keepRemainder(content);
}
