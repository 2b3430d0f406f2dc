#include "client/contents.h"

#include "account/threadmanager.h"
#include "client/clientaccount.h"
#include "client/messagestore.h"
#include "content/contentfactory.h"
#include "content/items/callitem.h"
#include "content/items/lotteryitem.h"
#include "content/items/musicitem.h"
#include "content/items/pollitem.h"
#include "content/items/videoitem.h"
#include "protocol/common_data.pb.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace
{

constexpr int chatMessages = 1; // the source of contents: ordinary chats
constexpr int storedForm = 1;   // KeptMessage::version

} // namespace

Contents::Contents(ClientAccount *account, const QString &media)
    : m_account(account), m_downloads(account, media)
{
}

QSharedPointer<ContentItem> Contents::make(const KeptMessage &message)
{
    im::Message record;
    record.ParseFromString(message.beside);
    record.set_content(message.content);
    record.set_content_format_ver(message.version);
    // A real client decrypts the contents here.
    const auto open = [this](const im::Message &opened) {
        return makeContentItem(opened.content(), opened.content_format_ver(), chatMessages,
                               m_account);
    };
    const auto item = message.version == storedForm
        ? restoreContent(message.content, storedForm, chatMessages, m_account)
        : makeMessageItem(record, open, chatMessages, m_account);
    if (!item)
        return {};
    complete(*item, record);
    fetchFiles(*item);
    return item;
}

/// Sets what an item cannot take from its content.
void Contents::complete(ContentItem &item, const im::Message &record)
{
    if (auto *poll = qobject_cast<PollItem *>(&item)) {
        poll->setPollInfo(record.poll_info());
    } else if (auto *lottery = qobject_cast<LotteryItem *>(&item)) {
        im::Lottery details;
        if (m_account->fetchLottery(record.lottery_id(), details))
            lottery->setLottery(details);
    } else if (auto *call = qobject_cast<CallItem *>(&item)) {
        call->setOutgoing(record.sender() == m_account->accountId());
    }
}

void Contents::fetchFiles(ContentItem &item)
{
    const auto inner = item.innerItems();
    for (const auto &content : inner)
        fetchFiles(*content);
    m_downloads.fetch(item);
    if (auto *music = qobject_cast<MusicItem *>(&item))
        music->audioInfo();
    else if (auto *video = qobject_cast<VideoItem *>(&item))
        video->captureThumbnail();
}

void Contents::settle()
{
    ThreadManager::getInstance()->threadPool()->waitForDone();
    QCoreApplication::processEvents();
}
