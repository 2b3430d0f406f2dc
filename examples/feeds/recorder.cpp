// Composes a feed from a conversation: feed_recorder CONVERSATION FEED. README.md describes both.

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "feeds/feed.h"
#include "feeds/markup.h"
#include "protocol/common_data.pb.h"
#include "protocol/notif.pb.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTextStream>

#include <stdexcept>

namespace
{

struct RecorderError : std::runtime_error {
    explicit RecorderError(const QString &text) : std::runtime_error(text.toStdString()) { }
};

class Recorder
{
public:
    QByteArray record(const QString &conversation);

private:
    void direct(const QString &line);
    void addUser(int id, const QString &name, bool isBot);
    void enterDialog(const QString &id, const QString &name);
    void type(qint64 time, const QString &name);
    void send();
    int personNamed(const QString &name) const;
    void push(im::notif::NotifType type, const google::protobuf::Message &record);

    FeedWriter m_feed;
    QHash<QString, int> m_people; // ids by name
    int m_botId = 0;
    QString m_dialogId;
    QHash<QString, int> m_lastMessageIds; // by dialog
    im::Message m_message;                // the one whose body is being read; id 0: none
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
    const auto time = [](const QString &text) {
        QDateTime result = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm"));
        result.setTimeSpec(Qt::UTC);
        if (!result.isValid())
            throw RecorderError(QStringLiteral("no such time: %1").arg(text));
        return result.toMSecsSinceEpoch();
    };
    QRegularExpressionMatch match;
    if (is("^(person|bot) (\\d+) (.+)$", match)) {
        addUser(match.captured(2).toInt(), match.captured(3),
                match.captured(1) == QLatin1StringView("bot"));
    } else if (is("^dialog (G-\\d+|C-\\d+-\\d+)(?: (.+))?$", match)) {
        enterDialog(match.captured(1), match.captured(2));
    } else if (is("^typing (\\S+ \\S+) (.+)$", match)) {
        type(time(match.captured(1)), match.captured(2));
    } else if (is("^(\\d\\S+ \\S+) (.+?)( \\(older client\\))?$", match)) {
        if (m_dialogId.isEmpty())
            throw RecorderError(QStringLiteral("a message outside any dialog"));
        m_message.set_message_id(++m_lastMessageIds[m_dialogId]);
        m_message.set_dialog_id(m_dialogId.toStdString());
        m_message.set_timestamp(time(match.captured(1)));
        m_message.set_sender(personNamed(match.captured(2)));
        m_message.set_content_format_ver(match.captured(3).isEmpty() ? 2 : 1);
    } else {
        throw RecorderError(QStringLiteral("this says nothing: %1").arg(line));
    }
}

void Recorder::addUser(int id, const QString &name, bool isBot)
{
    m_people.insert(name, id);
    if (isBot)
        m_botId = id;
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
    notification.set_user_id(personNamed(name));
    notification.set_timestamp(time);
    push(im::notif::TYPING_UPDATED, notification);
}

/// Sends the message whose body has been read.
void Recorder::send()
{
    const QString body = m_body.join(u'\n').trimmed();
    m_body.clear();
    if (m_message.message_id() == 0)
        return;
    if (body.isEmpty())
        throw RecorderError(QStringLiteral("the message before this line is empty"));

    im::content::Content content;
    *content.mutable_text() = readMarkup(body, m_botId);
    const auto item = deserializeContent(content, 1, nullptr);
    if (m_message.content_format_ver() > 1)
        m_message.set_content(content.SerializeAsString());
    else
        m_message.set_content(mapToJson(serializeContent(item)).toStdString());
    item->serializeMetions(m_message);

    im::notif::MessageCreatedNotif notification;
    *notification.mutable_message() = m_message;
    push(im::notif::MESSAGE_CREATED, notification);
    m_message.Clear();
}

int Recorder::personNamed(const QString &name) const
{
    const int id = m_people.value(name);
    if (id == 0)
        throw RecorderError(QStringLiteral("no person is named %1").arg(name));
    return id;
}

void Recorder::push(im::notif::NotifType type, const google::protobuf::Message &record)
{
    m_feed.append({type, QByteArray::fromStdString(record.SerializeAsString())});
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
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
        const QByteArray bytes = Recorder().record(QString::fromUtf8(conversation.readAll()));
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
