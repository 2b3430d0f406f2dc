#include "client/messagegroup.h"

#include "client/messagestore.h"
#include "content/items/filegroupitem.h"
#include "content/items/mediagroupitem.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr int chatMessages = 1; // the source of contents: ordinary chats

} // namespace

bool MessageGroup::has(const KeptMessage &message) const
{
    return m_number != 0 && m_dialogId == message.dialogId && m_number == message.group;
}

void MessageGroup::add(const KeptMessage &message, const QSharedPointer<ContentItem> &item)
{
    if (!has(message)) {
        m_dialogId = message.dialogId;
        m_number = message.group;
        m_members.clear();
    }
    if (m_number != 0 && item)
        m_members.append(item);
}

QSharedPointer<ContentItem> MessageGroup::take(AccountBase *account)
{
    m_number = 0;
    const auto members = std::exchange(m_members, {});
    if (members.size() < 2)
        return {};
    const bool isAlbum = std::all_of(members.cbegin(), members.cend(), [](const auto &member) {
        return member->type() == ContentItem::Image || member->type() == ContentItem::Video;
    });
    if (isAlbum)
        return QSharedPointer<MediaGroupItem>::create(members, chatMessages, account);
    return QSharedPointer<FileGroupItem>::create(members, chatMessages, account);
}
