#include "client/window/session.h"

#include "account/accountmanager.h"
#include "client/clienterror.h"
#include "client/describe.h"
#include "client/messagegroup.h"
#include "client/window/content/contentformat.h"
#include "content/items/combineditem.h"
#include "content/items/filegroupitem.h"
#include "content/items/systemitem.h"
#include "feeds/feed.h"
#include "feeds/markup.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/notif.pb.h"
#include "settings/appsettingmodel.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

constexpr int protocolForm = 2;  // im.Message.content_format_ver
constexpr int typingTime = 4000; // ms that a typing notification lasts
constexpr int flushDelay = 200;  // ms

template <typename Record, typename Use>
void parse(const Frame &frame, Use use)
{
    Record record;
    if (record.ParseFromArray(frame.record.constData(), int(frame.record.size())))
        use(record);
    else
        ImLog::error(
            QStringLiteral("A notification %1 is damaged; it is skipped.").arg(frame.type));
}

/// The last message in one line.
QString previewOf(const ContentItem *item)
{
    if (!item)
        return {};
    if (const auto *system = qobject_cast<const SystemItem *>(item))
        return system->text();
    const QString text = item->getKeyword().simplified();
    return text.isEmpty() ? describe::kind(*item) : text;
}

MessagePlace placeOf(const KeptMessage &message)
{
    return {.number = message.number,
            .messageId = message.messageId,
            .sender = message.sender,
            .time = message.time,
            .group = message.group,
            .size = message.size,
            .measure = message.measure};
}

} // namespace

Session::Session(ClientAccount *account, const QString &media)
    : m_account(account), m_store(account->userStatusDataPath() + QStringLiteral("messages.db")),
      m_contents(account, media), m_names(m_store.names()), m_messages(this),
      m_lastNumber(m_store.lastNumber())
{
    connect(&m_dialogs, &DialogListModel::dialogChanged, this, [this](ClientDialog *dialog) {
        m_batch.dialogs.insert(dialog->dialogId(), dialog->kept());
        m_flush.start();
        countUnread();
    });
    const auto dialogs = m_store.dialogs();
    for (const KeptDialog &kept : dialogs)
        m_dialogs.add(new ClientDialog(this, kept));
    m_flush.setSingleShot(true);
    m_flush.setInterval(flushDelay);
    connect(&m_flush, &QTimer::timeout, this, &Session::flush);

    const auto measureAgain = [this] { m_messages.measureAgain(); };
    const AppSettingModel *settings = AppSettingModel::instance();
    connect(settings, &AppSettingModel::themeFontSizeChanged, this, measureAgain);
    connect(settings, &AppSettingModel::plainModelChanged, this, measureAgain);
    connect(settings, &AppSettingModel::largeEmojiChanged, this, measureAgain);
    connect(AccountManager::getInstance(), &AccountManager::maxMsgItemWidthChanged, this,
            measureAgain);
    // Our own counts replace the server's.
    connect(account, &AccountBase::stateChanged, this, &Session::countUnread);
    connect(settings, &AppSettingModel::countMuteDialogChanged, this, &Session::countUnread);
    countUnread();
}

Session::~Session()
{
    flush();
}

// Dialogs

void Session::open(ClientDialog *dialog)
{
    if (dialog == m_messages.dialog())
        return;
    flush();
    m_messages.open(dialog);
    if (dialog && m_active)
        dialog->setUnread(0);
    Q_EMIT dialogOpened();
}

void Session::setActive(bool active)
{
    m_active = active;
    if (active && m_messages.dialog())
        m_messages.dialog()->setUnread(0);
}

ClientDialog *Session::dialogOf(const QString &id)
{
    if (ClientDialog *dialog = m_dialogs.find(id))
        return dialog;
    KeptDialog kept;
    kept.id = id;
    auto *dialog = new ClientDialog(this, kept);
    m_dialogs.add(dialog);
    return dialog;
}

/// A chat of two concerns those two only.
bool Session::concerns(const QString &dialogId) const
{
    return dialogId.startsWith(u'G')
        || dialogId.split(u'-').contains(QString::number(m_account->accountId()));
}

void Session::countUnread()
{
    int unread = 0;
    int mentions = 0;
    for (const ClientDialog *dialog : m_dialogs.dialogs()) {
        if (!dialog->mute() || AppSettingModel::instance()->countMuteDialog())
            unread += dialog->unread();
        mentions += dialog->atMeMessageCount();
    }
    m_account->setTotalUnreadCount(unread);
    m_account->setTotalAtMeCount(mentions);
}

QString Session::userName(qint64 id) const
{
    return describe::userName(id, m_names);
}

void Session::rename(const QString &id, const std::string &name)
{
    const QString text = QString::fromStdString(name);
    if (std::exchange(m_names[id], text) == text)
        return;
    m_batch.names.insert(id, text);
    m_flush.start();
    for (ClientDialog *dialog : m_dialogs.dialogs())
        Q_EMIT dialog->nameChanged();
}

// Notifications

void Session::receive(const Frame &frame)
{
    switch (frame.type) {
    case im::notif::MESSAGE_CREATED:
        parse<im::notif::MessageCreatedNotif>(
            frame, [this](const auto &record) { receive(record.message()); });
        break;
    case im::notif::USER_UPDATED:
        parse<im::notif::UserUpdatedNotif>(frame, [this](const auto &record) {
            rename(QStringLiteral("U-%1").arg(record.user().user_id()), record.user().name());
        });
        break;
    case im::notif::GROUP_UPDATED:
        parse<im::notif::GroupUpdatedNotif>(frame, [this](const auto &record) {
            const QString id = QStringLiteral("G-%1").arg(record.group().group_id());
            rename(id, record.group().name());
            dialogOf(id);
        });
        break;
    case im::notif::TYPING_UPDATED:
        parse<im::notif::TypingUpdatedNotif>(frame, [this](const auto &record) {
            const QString id = QString::fromStdString(record.dialog_id());
            if (!concerns(id) || record.user_id() == m_account->accountId())
                return;
            ClientDialog *dialog = dialogOf(id);
            dialog->setTyping(userName(record.user_id()));
            QTimer::singleShot(typingTime, dialog, [dialog] { dialog->setTyping({}); });
        });
        break;
    case im::notif::MESSAGE_REACTIONS_UPDATED:
        parse<im::notif::MessageReactionsUpdatedNotif>(frame, [this](const auto &record) {
            for (const im::MessageReaction &reaction : record.message_reactions())
                receive(reaction);
        });
        break;
    default:
        break;
    }
}

void Session::receive(const im::Message &record)
{
    KeptMessage message;
    message.dialogId = QString::fromStdString(record.dialog_id());
    message.messageId = record.message_id();
    flush(); // so that the store has everything before it
    if (!concerns(message.dialogId) || m_store.contains(message.dialogId, message.messageId))
        return;
    message.number = ++m_lastNumber;
    message.sender = record.sender();
    message.time = record.timestamp();
    message.group = record.grouped_id();
    message.version = record.content_format_ver();
    message.content = record.content();
    message.keptAt = QDateTime::currentMSecsSinceEpoch();
    im::Message beside = record;
    beside.clear_content();
    message.beside = beside.SerializeAsString();

    const auto item = make({message});
    if (item && item->type() == ContentItem::System)
        message.sender = 0; // a system line has no sender
    if (!item || !FileGroupItem::canHold(*item))
        message.group = 0; // has its own line, whatever it was sent with
    // Messages that are shown as one are measured when they are shown.
    if (message.group == 0) {
        message.measure = measure();
        message.size = sizeOf(item.data());
        message.lineCount = item ? item->lineCount() : 0;
    }
    m_batch.messages.append(message);

    ClientDialog *dialog = dialogOf(message.dialogId);
    dialog->setTyping({});
    dialog->setSortTime(std::max(dialog->sortTime(), message.time));
    dialog->setPreview(previewOf(item.data()));
    if (record.sender() != m_account->accountId()) {
        if (mentionsMe(item.data()))
            dialog->addAtMeMessages({message.messageId});
        if (dialog != m_messages.dialog() || !m_active)
            dialog->setUnread(dialog->unread() + 1);
    }
    if (dialog == m_messages.dialog()) {
        flush();
        m_messages.append(placeOf(message), item);
    }
    m_flush.start();
}

void Session::receive(const im::MessageReaction &record)
{
    const QString id = QString::fromStdString(record.dialog_id());
    flush();
    const int sender = m_store.senderOf(id, record.message_id());
    if (sender == 0)
        return;
    m_store.keepReaction(id, record.message_id(), record.SerializeAsString());
    ClientDialog *dialog = dialogOf(id);
    if (dialog == m_messages.dialog())
        m_messages.updateReactions(record.message_id());
    if (sender == m_account->accountId())
        dialog->addReactedMessage(record.message_id());
}

void Session::send(const QString &markup)
{
    ClientDialog *dialog = m_messages.dialog();
    if (!dialog || markup.trimmed().isEmpty())
        return;
    flush();
    const auto last = m_store.places(dialog->dialogId(), std::numeric_limits<qint64>::max(), 1);
    im::content::Content content;
    *content.mutable_text() = readMarkup(markup, 0);
    im::Message record;
    record.set_dialog_id(dialog->dialogId().toStdString());
    record.set_message_id(last.isEmpty() ? 1 : last.first().messageId + 1);
    record.set_sender(int(m_account->accountId()));
    record.set_timestamp(QDateTime::currentMSecsSinceEpoch());
    record.set_content_format_ver(protocolForm);
    record.set_content(content.SerializeAsString());
    receive(record);
    Q_EMIT sent(dialog->dialogId(), record.message_id());
}

// Contents

bool Session::mentionsMe(const ContentItem *item) const
{
    return item
        && (item->mentionUserIds().contains(m_account->accountId())
            || item->mentionUsers().contains(QStringLiteral("atAll")));
}

QSize Session::sizeOf(const ContentItem *item)
{
    return ContentFormat::shownSize(item, measure().width);
}

Measure Session::measure()
{
    const AppSettingModel *settings = AppSettingModel::instance();
    return {.width = AccountManager::getInstance()->maxMsgItemWidth(),
            .fontSize = settings->themeFontSize(),
            .style = (settings->plainModel() ? 1 : 0) + (settings->largeEmoji() ? 2 : 0)};
}

QSharedPointer<ContentItem> Session::make(const QList<KeptMessage> &messages)
try {
    MessageGroup group;
    QSharedPointer<ContentItem> item;
    for (const KeptMessage &message : messages) {
        item = m_contents.make(message);
        group.add(message, item);
    }
    if (const auto whole = group.take(m_account))
        item = whole;
    if (!item)
        return {};
    if (auto *combined = qobject_cast<CombinedItem *>(item.data()))
        combined->setSenderNames([this](qint64 id, bool) { return userName(id); });
    item->calcSize(measure().width, 0, 0, ContentItem::CONTENT_CHANGED, false);
    return item;
} catch (const ClientError &error) {
    ImLog::error(QString::fromUtf8(error.what()));
    return {};
}

// The store

void Session::keepSize(const MessagePlace &place)
{
    m_batch.sizes.append(place);
    m_flush.start();
}

void Session::flush()
try {
    m_flush.stop();
    const MessageStore::Batch batch = std::exchange(m_batch, {});
    if (!batch.messages.isEmpty() || !batch.sizes.isEmpty() || !batch.names.isEmpty()
        || !batch.dialogs.isEmpty())
        m_store.keep(batch);
} catch (const ClientError &error) {
    ImLog::error(QString::fromUtf8(error.what()));
}

// Devices

QString Session::fetchDevices()
{
    const Reply reply = m_account->fetchDevices();
    return reply ? QString() : reply.text();
}

QString Session::unlinkDevice(int deviceId)
{
    const Reply reply = m_account->unlinkDevice(deviceId);
    return reply ? QString() : reply.text();
}
