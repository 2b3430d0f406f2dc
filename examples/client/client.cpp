#include "client/client.h"

#include "base/json.h"
#include "client/clientaccount.h"
#include "client/describe.h"
#include "client/listing.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "content/items/combineditem.h"
#include "feeds/feed.h"
#include "protocol/common_data.pb.h"
#include "protocol/notif.pb.h"
#include "protocol/notifications.h"
#include "settings/appsettingmodel.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <memory>
#include <utility>

namespace
{

constexpr int batchSize = 16;
/// A longer message is elided to this many lines.
constexpr int maxLineCount = 10;
constexpr int storedForm = 1; // im.Message.content_format_ver

} // namespace

Client::Client(ClientAccount *account, int width, const QString &media)
    : m_account(account), m_contents(account, media),
      m_store(account->userStatusDataPath() + QStringLiteral("messages.db")),
      m_measure{width, AppSettingModel::instance()->themeFontSize()}, m_names(m_store.names()),
      m_out(stdout)
{
}

/// Makes the content of a message and measures it; used for every message, new or kept.
Client::Shown Client::measure(KeptMessage &message)
{
    Shown shown;
    shown.item = m_contents.make(message);
    Contents::settle();
    message.measure = m_measure;
    if (shown.item) {
        if (auto *combined = qobject_cast<CombinedItem *>(shown.item.data()))
            combined->setSenderNames(
                [this](qint64 id, bool) { return describe::userName(id, m_names); });
        QElapsedTimer timer;
        timer.start();
        shown.item->calcSize(m_measure.width, 0, maxLineCount, ContentItem::CONTENT_CHANGED, false);
        shown.nanoseconds = timer.nsecsElapsed();
        message.size = {shown.item->contentWidth(), shown.item->contentHeight()};
        message.lineCount = shown.item->lineCount();
    }
    return shown;
}

/// A client may keep contents as received, or in the stored form of their items, here as JSON. This
/// one uses the stored form for every second message, to show that nothing is lost either way.
void Client::keepStoredForm(KeptMessage &message, const QSharedPointer<ContentItem> &item)
{
    if (message.number % 2 == 1 || !item)
        return;
    message.content = mapToJson(serializeContent(item)).toStdString();
    message.version = storedForm;
}

ExitCode Client::showKept()
{
    const QList<KeptMessage> messages = m_store.messages();
    if (messages.isEmpty())
        return Success;
    m_lastNumber = messages.last().number;
    m_out << messages.size() << " messages kept from "
          << QDateTime::fromMSecsSinceEpoch(messages.first().keptAt)
                 .toString(QStringLiteral("yyyy-MM-dd HH:mm"))
          << ", rebuilt from their stored bytes:\n";

    int measuredAnew = 0;
    qsizetype inStoredForm = 0;
    QStringList different;
    for (const KeptMessage &kept : messages) {
        KeptMessage rebuilt = kept;
        const Shown shown = measure(rebuilt);
        list(rebuilt, shown);
        inStoredForm += kept.version == storedForm;
        if (kept.measure != m_measure) {
            m_batch.messages.append(rebuilt);
            ++measuredAnew;
        } else if (kept.size != rebuilt.size || kept.lineCount != rebuilt.lineCount) {
            different.append(QStringLiteral("#%1 was %2×%3 in %4 lines")
                                 .arg(kept.number)
                                 .arg(kept.size.width())
                                 .arg(kept.size.height())
                                 .arg(kept.lineCount));
        }
    }
    listGroup();
    flush();
    m_out << '\n'
          << messages.size() - inStoredForm << " were kept as the protocol's bytes, "
          << inStoredForm << " as the JSON of their stored form.\n";
    if (measuredAnew)
        m_out << measuredAnew << " messages were kept for another width or font size; "
              << "their new sizes are kept now.\n\n";
    else if (different.isEmpty())
        m_out << "All sizes are what they were.\n\n";
    if (!different.isEmpty())
        m_out << "SIZES DIFFER from those kept (other fonts?): "
              << different.join(QStringLiteral(", ")) << "\n\n";
    return different.isEmpty() ? Success : SizesDiffer;
}

void Client::play(const QString &feed)
{
    FeedReader reader(feed);
    QString error = reader.error();
    if (!error.isEmpty())
        throw ClientError(BadFeed,
                          QStringLiteral("The feed %1 cannot be played: %2.").arg(feed, error));
    m_out << "Playing " << QDir::toNativeSeparators(feed) << ":\n";
    try {
        while (const auto frame = reader.next())
            receive(*frame);
        error = reader.error();
    } catch (const ClientError &unreadable) {
        if (unreadable.exitCode != BadFeed)
            throw;
        error = QStringLiteral("frame %1 is damaged: %2")
                    .arg(reader.number())
                    .arg(QString::fromUtf8(unreadable.what()));
    }
    listGroup();
    flush();
    m_out << '\n' << reader.number() - 1 << " frames";
    if (m_repeated)
        m_out << ", of which " << m_repeated << " brought nothing new";
    m_out << ".\n\n";
    m_out.flush();
    if (!error.isEmpty())
        throw ClientError(BadFeed,
                          QStringLiteral("%1: %2. What came before it is kept.").arg(feed, error));
}

/// A notification: its type is the kind of its record.
void Client::receive(const Frame &frame)
{
    const google::protobuf::Message *prototype = protocol::notificationPrototype(frame.type);
    if (!prototype) {
        list(frame.type, nullptr);
        return;
    }
    const std::unique_ptr<google::protobuf::Message> record(prototype->New());
    if (!record->ParseFromArray(frame.record.constData(), int(frame.record.size())))
        throw ClientError(BadFeed, QStringLiteral("its bytes are not of its type"));

    switch (frame.type) {
    case im::notif::MESSAGE_CREATED:
        receive(static_cast<const im::notif::MessageCreatedNotif &>(*record).message());
        return;
    case im::notif::USER_UPDATED: {
        const im::User &user = static_cast<const im::notif::UserUpdatedNotif &>(*record).user();
        if (!rename(QStringLiteral("U-%1").arg(user.user_id()), user.name()))
            return;
        break;
    }
    case im::notif::GROUP_UPDATED: {
        const im::Group &group = static_cast<const im::notif::GroupUpdatedNotif &>(*record).group();
        if (!rename(QStringLiteral("G-%1").arg(group.group_id()), group.name()))
            return;
        break;
    }
    default: // shown, but not kept
        break;
    }
    list(frame.type, record.get());
}

void Client::receive(const im::Message &record)
{
    KeptMessage message;
    message.dialogId = QString::fromStdString(record.dialog_id());
    message.messageId = record.message_id();
    message.sender = record.sender();
    message.time = record.timestamp();
    message.group = record.grouped_id();
    message.version = record.content_format_ver();
    message.content = record.content();
    im::Message beside = record;
    beside.clear_content();
    message.beside = beside.SerializeAsString();
    const auto &pending = m_batch.messages;
    const bool isPending =
        std::any_of(pending.cbegin(), pending.cend(), [&](const KeptMessage &other) {
            return other.dialogId == message.dialogId && other.messageId == message.messageId;
        });
    if (isPending || m_store.contains(message.dialogId, message.messageId)) {
        ++m_repeated;
        return;
    }
    message.number = ++m_lastNumber;
    message.keptAt = QDateTime::currentMSecsSinceEpoch();
    const Shown shown = measure(message);
    keepStoredForm(message, shown.item);
    m_batch.messages.append(message);
    list(message, shown);
    if (pending.size() >= batchSize)
        flush();
}

/// Stores the name of a user or group. False when the name is unchanged.
bool Client::rename(const QString &id, const std::string &name)
{
    const QString text = QString::fromStdString(name);
    if (m_names.value(id) == text) {
        ++m_repeated;
        return false;
    }
    m_names.insert(id, text);
    m_batch.names.insert(id, text);
    return true;
}

void Client::list(const KeptMessage &message, const Shown &shown)
{
    if (!m_group.has(message))
        listGroup();
    if (const QString heading = listing::dialogHeading(message, m_names); heading != m_heading) {
        m_heading = heading;
        add(u'\n' + heading);
        add(listing::columnHeading());
    }
    add(listing::lines(message, shown.item.data(), m_names));
    m_group.add(message, shown.item);
    m_summary.add(shown.item.data(), shown.nanoseconds);
    if (shown.item)
        m_items.append(shown.item);
}

/// Below the last of the messages that are shown as one.
void Client::listGroup()
{
    const auto group = m_group.take(m_account);
    if (!group)
        return;
    group->calcSize(m_measure.width, 0, maxLineCount, ContentItem::CONTENT_CHANGED, false);
    add(listing::groupLines(*group, m_names));
    m_summary.addGroup(*group);
    m_items.append(group);
}

/// Of several consecutive notifications of one type only the first one is listed in full.
void Client::list(int notification, const google::protobuf::Message *record)
{
    if (notification == m_lastNotification) {
        ++m_notifications;
        return;
    }
    add(listing::notificationLine(notification, record));
    m_lastNotification = notification;
}

void Client::add(const QString &line)
{
    endNotifications();
    m_lines.append(line);
}

void Client::add(const QStringList &lines)
{
    for (const QString &line : lines)
        add(line);
}

void Client::endNotifications()
{
    if (m_notifications > 0)
        m_lines.append(listing::moreNotificationsLine(m_notifications));
    m_lastNotification = 0;
    m_notifications = 0;
}

/// Writes pending messages, and shows them only then.
void Client::flush()
{
    if (!m_batch.messages.isEmpty() || !m_batch.names.isEmpty())
        m_store.keep(m_batch);
    m_batch = {};
    endNotifications();
    for (const QString &line : std::as_const(m_lines))
        m_out << line << '\n';
    m_out.flush();
    m_lines.clear();
}

void Client::showSummary()
{
    // As when the window changes its width: everything is measured again.
    QElapsedTimer timer;
    timer.start();
    for (const auto &item : std::as_const(m_items)) {
        item->calcSize(m_measure.width * 2 / 3, 0, maxLineCount, ContentItem::MAX_WIDTH_CHANGED,
                       false);
    }
    m_out << m_summary.text(timer.nsecsElapsed(), m_contents.downloads().summary());
}
