#include "client/window/longhistory.h"

#include "client/window/session.h"
#include "feeds/feed.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "protocol/notif.pb.h"

namespace
{

constexpr qint64 start = 1'577'870'400'000; // ms since 1970, UTC
constexpr qint64 apart = 1'000'003;         // ms between two messages
constexpr int protocolForm = 2;             // im.Message.content_format_ver

QList<im::Message> messagesOf(const QStringList &feeds)
{
    QList<im::Message> messages;
    for (const QString &feed : feeds) {
        FeedReader reader(feed);
        while (const auto frame = reader.next()) {
            im::notif::MessageCreatedNotif notification;
            if (frame->type == im::notif::MESSAGE_CREATED
                && notification.ParseFromArray(frame->record.constData(),
                                               int(frame->record.size())))
                messages.append(notification.message());
        }
    }
    return messages;
}

/// Varies a message's text, so that no two are equal.
void vary(im::Message &message, int number)
{
    im::content::Content content;
    if (message.content_format_ver() != protocolForm || !content.ParseFromString(message.content())
        || !content.has_text())
        return;
    content.mutable_text()->set_text(content.text().text() + " – " + std::to_string(number));
    message.set_content(content.SerializeAsString());
}

} // namespace

void longhistory::generate(ClientAccount *account, const QString &dialogId,
                           const QStringList &feeds, const QString &media, int count)
{
    const QList<im::Message> bodies = messagesOf(feeds);
    if (bodies.isEmpty())
        return;
    Session session(account, media);
    MessageStore store(account->userStatusDataPath() + QStringLiteral("messages.db"));
    qint64 number = store.lastNumber();
    MessageStore::Batch batch;
    for (int id = 1; id <= count; ++id) {
        im::Message record = bodies.at((id - 1) % bodies.size());
        vary(record, id);
        KeptMessage message;
        message.number = ++number;
        message.dialogId = dialogId;
        message.messageId = id;
        message.sender = record.sender();
        message.time = start + id * apart;
        // Groups differ by their number.
        if (record.grouped_id() != 0)
            message.group = record.grouped_id() + int((id - 1) / bodies.size()) * 1000;
        message.version = record.content_format_ver();
        message.content = record.content();
        record.clear_content();
        message.beside = record.SerializeAsString();
        message.keptAt = message.time;
        if (message.group == 0) {
            const auto item = session.make({message});
            message.measure = Session::measure();
            message.size = Session::sizeOf(item.data());
            message.lineCount = item ? item->lineCount() : 0;
        }
        batch.messages.append(message);
    }
    batch.names.insert(dialogId, QStringLiteral("A history of %1 messages").arg(count));
    KeptDialog dialog;
    dialog.id = dialogId;
    dialog.sortTime = start + count * apart;
    dialog.preview = QStringLiteral("%1 messages").arg(count);
    batch.dialogs.insert(dialogId, dialog);
    store.keep(batch);
}
