#include "client/messagegroup.h"

#include "client/messagestore.h"
#include "content/contentfactory.h"

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
    return makeGroupItem(std::exchange(m_members, {}), chatMessages, account);
}
