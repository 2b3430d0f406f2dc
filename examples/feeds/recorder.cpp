// Composes a feed from a conversation: feed_recorder CONVERSATION FEED. README.md describes both.

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "feeds/bodyreader.h"
#include "feeds/feed.h"
#include "protocol/notif.pb.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTextStream>

namespace
{

constexpr int ordinaryChats = 1; // the source of contents
constexpr int storedForm = 1;    // im.Message.content_format_ver of older clients

class Recorder
{
public:
    /// @param media the folder of the messages' files
    explicit Recorder(const QString &media) : m_media(media) { }

    QByteArray record(const QString &conversation);

private:
    void direct(const QString &line);
    void addUser(int id, const QString &name, bool isBot);
    void enterDialog(const QString &id, const QString &name);
    void type(qint64 time, const QString &name);
    void send();
    void push(im::notif::NotifType type, const google::protobuf::Message &record);

    const MediaFolder m_media;
    FeedWriter m_feed;
    Cast m_cast;
    QString m_dialogId;
    QHash<QString, int> m_lastMessageIds; // by dialog
    int m_lastGroup = 0;
    im::Message m_message;       // being read; without a sender: none
    bool m_isStoredForm = false; // of that message
    QStringList m_body;
};

QByteArray Recorder::record(const QString &conversation)
{
    const QStringList lines = conversation.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!lines[i].startsWith(QLatin1StringView("== "))) {
            m_body.append(lines[i]);
            continue;
        }
        try {
            send();
            direct(lines[i].sliced(3));
        } catch (const RecorderError &error) {
            throw RecorderError(
                QStringLiteral("line %1: %2").arg(i + 1).arg(QString::fromUtf8(error.what())));
        }
    }
    send();
    return m_feed.finished();
}

void Recorder::direct(const QString &line)
{
    const auto is = [&](const char *pattern, QRegularExpressionMatch &match) {
        match = QRegularExpression(QString::fromLatin1(pattern)).match(line);
        return match.hasMatch();
    };
    QRegularExpressionMatch match;
    if (is("^(person|bot) (\\d+) (.+)$", match)) {
        addUser(match.captured(2).toInt(), match.captured(3),
                match.captured(1) == QLatin1StringView("bot"));
    } else if (is("^dialog (G-\\d+|C-\\d+-\\d+)(?: (.+))?$", match)) {
        enterDialog(match.captured(1), match.captured(2));
    } else if (is("^typing (\\S+ \\S+) (.+)$", match)) {
        type(readTime(match.captured(1)), match.captured(2));
    } else if (is("^(\\d\\S+ \\S+) (.+?)( \\(older client\\))?$", match)) {
        if (m_dialogId.isEmpty())
            throw RecorderError(QStringLiteral("a message outside any dialog"));
        m_message.set_dialog_id(m_dialogId.toStdString());
        m_message.set_timestamp(readTime(match.captured(1)));
        m_message.set_sender(m_cast.idOf(match.captured(2)));
        m_isStoredForm = !match.captured(3).isEmpty();
    } else {
        throw RecorderError(QStringLiteral("this says nothing: %1").arg(line));
    }
}

void Recorder::addUser(int id, const QString &name, bool isBot)
{
    m_cast.people.insert(name, id);
    if (isBot)
        m_cast.botId = id;
    im::notif::UserUpdatedNotif notification;
    notification.mutable_user()->set_user_id(id);
    notification.mutable_user()->set_name(name.toStdString());
    notification.mutable_user()->set_type(isBot ? im::User::BOT : im::User::NORMAL);
    push(im::notif::USER_UPDATED, notification);
}

void Recorder::enterDialog(const QString &id, const QString &name)
{
    m_dialogId = id;
    if (name.isEmpty())
        return;
    im::notif::GroupUpdatedNotif notification;
    notification.mutable_group()->set_group_id(id.sliced(2).toInt());
    notification.mutable_group()->set_name(name.toStdString());
    push(im::notif::GROUP_UPDATED, notification);
}

void Recorder::type(qint64 time, const QString &name)
{
    im::notif::TypingUpdatedNotif notification;
    notification.set_dialog_id(m_dialogId.toStdString());
    notification.set_user_id(m_cast.idOf(name));
    notification.set_timestamp(time);
    push(im::notif::TYPING_UPDATED, notification);
}

/// Sends the message whose body has been read; several, if it has several files.
void Recorder::send()
{
    const QString body = m_body.join(u'\n').trimmed();
    m_body.clear();
    if (m_message.sender() == 0)
        return;
    const QList<im::Message> bodies = readBodies(body, m_cast, m_media);
    if (bodies.size() > 1)
        m_message.set_grouped_id(++m_lastGroup);
    for (const im::Message &read : bodies) {
        im::notif::MessageCreatedNotif notification;
        im::Message &message = *notification.mutable_message();
        message = m_message;
        message.set_message_id(++m_lastMessageIds[m_dialogId]);
        message.MergeFrom(read);
        const auto item = makeContentItem(message.content(), message.content_format_ver(),
                                          ordinaryChats, nullptr);
        if (item)
            item->serializeMetions(message);
        if (m_isStoredForm) {
            if (!item)
                throw RecorderError(QStringLiteral("an older client does not send this"));
            message.set_content(mapToJson(serializeContent(item)).toStdString());
            message.set_content_format_ver(storedForm);
        }
        push(im::notif::MESSAGE_CREATED, notification);
    }
    m_message.Clear();
}

void Recorder::push(im::notif::NotifType type, const google::protobuf::Message &record)
{
    m_feed.append({type, QByteArray::fromStdString(record.SerializeAsString())});
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    // Contents without an item (combined messages, newer kinds) are expected here.
    QLoggingCategory::setFilterRules(QStringLiteral("im.*.debug=false"));
    QTextStream errors(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        errors << "usage: feed_recorder CONVERSATION FEED\n";
        return 1;
    }
    QFile conversation(arguments[1]);
    if (!conversation.open(QIODevice::ReadOnly | QIODevice::Text)) {
        errors << arguments[1] << ": " << conversation.errorString() << '\n';
        return 2;
    }
    try {
        const QByteArray bytes = Recorder(QFileInfo(arguments[1]).path() + QStringLiteral("/media"))
                                     .record(QString::fromUtf8(conversation.readAll()));
        QSaveFile feed(arguments[2]);
        if (!feed.open(QIODevice::WriteOnly) || feed.write(bytes) < 0 || !feed.commit()) {
            errors << arguments[2] << ": " << feed.errorString() << '\n';
            return 2;
        }
    } catch (const RecorderError &error) {
        errors << arguments[1] << ", " << error.what() << '\n';
        return 2;
    }
    return 0;
}
