#include "client/window/feedplayer.h"

#include "protocol/common_data.pb.h"
#include "protocol/notif.pb.h"

#include <array>
#include <string_view>

namespace
{

/// A person's reaction.
struct Reaction {
    int userId;
    std::string_view emoji;
};
constexpr std::array reactions{Reaction{1003, "👍"}, Reaction{1004, "❤️"}, Reaction{1005, "😂"},
                               Reaction{1002, "🎉"}};
constexpr int everyMessage = 5; // every n-th message gets a reaction

} // namespace

FeedPlayer::FeedPlayer(const QStringList &feeds, QObject *parent)
    : QObject(parent), m_feeds(feeds), m_next(feeds)
{
    connect(&m_timer, &QTimer::timeout, this, &FeedPlayer::playOn);
}

void FeedPlayer::play(int interval)
{
    m_timer.start(interval);
}

void FeedPlayer::playAgain()
{
    m_next = m_feeds;
    m_reader.reset();
    m_timer.start();
}

void FeedPlayer::playOn()
{
    while (playFrame()) { }
}

bool FeedPlayer::playFrame()
{
    if (!m_reactions.empty()) {
        const Frame reaction = m_reactions.front();
        m_reactions.pop();
        Q_EMIT frame(reaction);
        return false;
    }
    if (!m_reader) {
        if (m_next.isEmpty()) {
            m_timer.stop();
            Q_EMIT finished();
            return false;
        }
        m_reader = std::make_unique<FeedReader>(m_next.takeFirst());
    }
    if (const auto read = m_reader->next())
        return !push(*read);
    if (!m_reader->error().isEmpty())
        Q_EMIT failed(m_reader->error());
    m_reader.reset();
    return true;
}

bool FeedPlayer::push(const Frame &read)
{
    Q_EMIT frame(read);
    im::notif::MessageCreatedNotif notification;
    if (read.type != im::notif::MESSAGE_CREATED
        || !notification.ParseFromArray(read.record.constData(), int(read.record.size())))
        return false;
    const im::Message &message = notification.message();
    if (++m_messages % everyMessage == 0)
        react(message.dialog_id(), message.message_id(), message.sender());
    return true;
}

void FeedPlayer::like(const QString &dialogId, int messageId)
{
    react(dialogId.toStdString(), messageId, 0);
    m_timer.start(m_timer.interval() > 0 ? m_timer.interval() : 500);
}

void FeedPlayer::react(const std::string &dialogId, int messageId, int sender)
{
    im::notif::MessageReactionsUpdatedNotif notification;
    im::MessageReaction &record = *notification.add_message_reactions();
    record.set_dialog_id(dialogId);
    record.set_message_id(messageId);
    for (size_t i = 0; i < 2; ++i) {
        const Reaction &reaction = reactions[(size_t(messageId) + i) % reactions.size()];
        if (reaction.userId == sender) // not to one's own message
            continue;
        auto *group = record.add_groups();
        group->set_emoji(std::string(reaction.emoji));
        group->set_count(1);
        group->add_senders(reaction.userId);
    }
    m_reactions.push({im::notif::MESSAGE_REACTIONS_UPDATED,
                      QByteArray::fromStdString(notification.SerializeAsString())});
}
