#include "content/items/alerttext_p.h"

#include "base/translated.h"
#include "base/util.h"
#include "content/items/systemitem.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <iterator>

namespace
{

using Alert = im::content::SystemAlert;
using Message = im::Message;
using AlertText::Circumstances;

// Variants of an alert's sentence, beside those that an enumeration numbers.
constexpr int lacking = -1; // the record does not say what the alert is about
constexpr int plain = 0;
constexpr int on = 1;
constexpr int off = 2;
constexpr int countLimit = 1;
constexpr int dayLimit = 2;
constexpr int bothLimits = 3;

struct Wording {
    const char *id = nullptr;
    const char *english = nullptr;
};

/// A sentence: %1 is who did it, %2 and %3 what it is about.
struct Row {
    int type;
    int variant;
    Wording said;
    Wording saidOfMe = {}; // where it differs
};

// "You" stands for %1 and "you" for %2; what is left are sentences that would not fit them.
constexpr Row rows[] = {
    {Alert::UNKNOWN,
     plain,
     {QT_TRID_NOOP("system_alert_unsupported"), "This version cannot show what happened here"}},
    {Alert::CREATE, plain, {QT_TRID_NOOP("system_alert_created"), "%1 created the group"}},
    {Alert::CREATE,
     on,
     {QT_TRID_NOOP("system_alert_created_with_name"), "%1 created the group “%2”"}},
    {Alert::MEMBER_JOINED, plain, {QT_TRID_NOOP("system_alert_joined"), "%1 joined the group"}},
    {Alert::MEMBER_JOINED, on, {QT_TRID_NOOP("system_alert_added"), "%1 added %2"}},
    {Alert::MEMBER_JOINED_BY_LINK,
     plain,
     {QT_TRID_NOOP("system_alert_joined_by_link"), "%1 joined the group by an invite link"}},
    {Alert::MEMBER_KICKED, plain, {QT_TRID_NOOP("system_alert_removed"), "%1 removed %2"}},
    {Alert::MEMBER_LEFT, plain, {QT_TRID_NOOP("system_alert_left"), "%1 left the group"}},
    {Alert::NAME_EDITED,
     lacking,
     {QT_TRID_NOOP("system_alert_renamed"), "%1 changed the group name"}},
    {Alert::NAME_EDITED,
     plain,
     {QT_TRID_NOOP("system_alert_renamed_to"), "%1 changed the group name to “%2”"}},
    {Alert::PHOTO_EDITED,
     plain,
     {QT_TRID_NOOP("system_alert_photo_changed"), "%1 changed the group photo"}},
    {Alert::PHOTO_DELETED,
     plain,
     {QT_TRID_NOOP("system_alert_photo_deleted"), "%1 removed the group photo"}},
    {Alert::UPGRADED, plain, {QT_TRID_NOOP("system_alert_upgraded"), "%1 upgraded the group"}},
    {Alert::USER_KEY_CHANGED,
     plain,
     {QT_TRID_NOOP("system_alert_key_changed"), "The security key of %1 has changed"},
     {QT_TRID_NOOP("system_alert_my_key_changed"), "Your security key has changed"}},
    {Alert::NOT_MUTUAL_CONTACT,
     plain,
     {QT_TRID_NOOP("system_alert_not_mutual"), "%1 is not a mutual contact"},
     {QT_TRID_NOOP("system_alert_me_not_mutual"), "You are not mutual contacts"}},
    {Alert::OWNER_EDITED,
     plain,
     {QT_TRID_NOOP("system_alert_owner_changed"), "%1 made %2 the owner of the group"}},
    {Alert::CONTACT_ADDED,
     plain,
     {QT_TRID_NOOP("system_alert_contact_added"), "%1 added %2 as a contact"}},
    {Alert::SELF_CONSTRUCT_TIME_UPDATED,
     on,
     {QT_TRID_NOOP("system_alert_self_destruct_on"), "%1 set messages to be deleted after %2"}},
    {Alert::SELF_CONSTRUCT_TIME_UPDATED,
     off,
     {QT_TRID_NOOP("system_alert_self_destruct_off"), "%1 turned self-deleting messages off"}},
    {Alert::MESSAGE_PINNED, plain, {QT_TRID_NOOP("system_alert_pinned"), "%1 pinned a message"}},
    {Alert::GROUP_DISMISSED,
     plain,
     {QT_TRID_NOOP("system_alert_dismissed"), "%1 dissolved the group"}},
    {Alert::ANONYMOUS_ID_REFRESHED,
     plain,
     {QT_TRID_NOOP("system_alert_anonymous_id"), "%1 has a new anonymous identity"},
     {QT_TRID_NOOP("system_alert_my_anonymous_id"), "You have a new anonymous identity"}},
    {Alert::SCREEN_CAPTURED,
     plain,
     {QT_TRID_NOOP("system_alert_screenshot"), "%1 took a screenshot"}},
    {Alert::MEETING_STARTED,
     plain,
     {QT_TRID_NOOP("system_alert_meeting_started"), "%1 started a meeting"}},
    {Alert::MEETING_ENDED,
     plain,
     {QT_TRID_NOOP("system_alert_meeting_ended"), "The meeting ended"}},
    {Alert::FACE_BLUE_TURNED_ON,
     plain,
     {QT_TRID_NOOP("system_alert_face_blur_on"), "%1 turned on the blurring of faces"}},
    {Alert::FACE_BLUE_TURNED_OFF,
     plain,
     {QT_TRID_NOOP("system_alert_face_blur_off"), "%1 turned off the blurring of faces"}},
    {Alert::RECEIPT_COMPLETE,
     plain,
     {QT_TRID_NOOP("system_alert_receipt_complete"), "Everyone has confirmed the message"}},
    {Alert::WEB_LOGGED_IN,
     plain,
     {QT_TRID_NOOP("system_alert_web_login"), "%1 signed in on the web"}},
    {Alert::MESSAGE_LIMIT_UPDATED,
     plain,
     {QT_TRID_NOOP("system_alert_limit_off"), "%1 lifted the message limit"}},
    {Alert::MESSAGE_LIMIT_UPDATED,
     countLimit,
     {QT_TRID_NOOP("system_alert_limit_count"), "%1 set the chat to keep the latest %2"}},
    {Alert::MESSAGE_LIMIT_UPDATED,
     dayLimit,
     {QT_TRID_NOOP("system_alert_limit_days"), "%1 set the chat to keep messages for %2"}},
    {Alert::MESSAGE_LIMIT_UPDATED,
     bothLimits,
     {QT_TRID_NOOP("system_alert_limit_both"), "%1 set the chat to keep the latest %2 for %3"}},
    {Alert::TOPIC_UPDATED, lacking, {QT_TRID_NOOP("system_alert_topic"), "%1 updated a topic"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicUnchanged,
     {QT_TRID_NOOP("system_alert_topic_updated"), "%1 updated the topic “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicCreated,
     {QT_TRID_NOOP("system_alert_topic_created"), "%1 created the topic “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicRenamed,
     {QT_TRID_NOOP("system_alert_topic_renamed"), "%1 renamed the topic “%3” to “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicClosed,
     {QT_TRID_NOOP("system_alert_topic_closed"), "%1 closed the topic “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicReopened,
     {QT_TRID_NOOP("system_alert_topic_reopened"), "%1 reopened the topic “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicArchived,
     {QT_TRID_NOOP("system_alert_topic_archived"), "%1 archived the topic “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicUnarchived,
     {QT_TRID_NOOP("system_alert_topic_unarchived"), "%1 took the topic “%2” out of the archive"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicMoved,
     {QT_TRID_NOOP("system_alert_topic_moved"), "%1 moved the topic “%2”"}},
    {Alert::TOPIC_UPDATED,
     SystemItem::TopicDeleted,
     {QT_TRID_NOOP("system_alert_topic_deleted"), "%1 deleted the topic “%2”"}},
    {Alert::TOPIC_SUPPORT_ENABLED,
     plain,
     {QT_TRID_NOOP("system_alert_topics_on"), "%1 turned on topics"}},
    {Alert::DISMISS_AT_UPDATED,
     on,
     {QT_TRID_NOOP("system_alert_dismiss_at"), "%1 set the group to be dissolved on %2"}},
    {Alert::DISMISS_AT_UPDATED,
     off,
     {QT_TRID_NOOP("system_alert_dismiss_off"), "%1 set the group to stay"}},
    {Alert::RESTRICTED_MODE_UPDATED,
     on,
     {QT_TRID_NOOP("system_alert_restricted_on"), "%1 turned on restricted mode"}},
    {Alert::RESTRICTED_MODE_UPDATED,
     off,
     {QT_TRID_NOOP("system_alert_restricted_off"), "%1 turned off restricted mode"}},
    {Alert::EXPIRED_VOICE,
     plain,
     {QT_TRID_NOOP("system_alert_voice_expired"), "The voice message has expired"}},
    {Alert::EXPIRED_MEDIA,
     Message::NONE,
     {QT_TRID_NOOP("system_alert_media_expired"), "The media have expired"}},
    {Alert::EXPIRED_MEDIA,
     Message::IMAGE,
     {QT_TRID_NOOP("system_alert_photo_expired"), "The photo has expired"}},
    {Alert::EXPIRED_MEDIA,
     Message::VIDEO,
     {QT_TRID_NOOP("system_alert_video_expired"), "The video has expired"}},
    {Alert::EXPIRED_MEDIA,
     Message::VOICE,
     {QT_TRID_NOOP("system_alert_voice_expired"), "The voice message has expired"}},
    {Alert::THEME_UPDATED,
     plain,
     {QT_TRID_NOOP("system_alert_theme"), "%1 changed the theme of the chat"}},
    {Alert::THEME_UPDATED,
     on,
     {QT_TRID_NOOP("system_alert_theme_to"), "%1 changed the theme of the chat to “%2”"}},
    {Alert::WALLPAPER_UPDATED,
     on,
     {QT_TRID_NOOP("system_alert_wallpaper"), "%1 changed the background of the chat"}},
    {Alert::WALLPAPER_UPDATED,
     off,
     {QT_TRID_NOOP("system_alert_wallpaper_off"), "%1 removed the background of the chat"}},
};

/// The row of an alert; of a variant that a newer protocol has, the plain one; of a type that it
/// has, the first.
const Row &rowOf(int type, int variant)
{
    const auto find = [](int wantedType, int wantedVariant) {
        return std::find_if(std::begin(rows), std::end(rows), [=](const Row &row) {
            return row.type == wantedType && row.variant == wantedVariant;
        });
    };
    auto row = find(type, variant);
    if (row == std::end(rows))
        row = find(type, plain);
    return row == std::end(rows) ? rows[0] : *row;
}

/// A text from outside as it may stand inside a sentence: on one line, and of another direction of
/// writing only for itself (Unicode Standard Annex #9, isolates).
QString inSentence(const QString &name)
{
    const QString line = name.simplified();
    const bool mayReorder = std::any_of(line.cbegin(), line.cend(), [](QChar c) {
        const auto direction = c.direction();
        return c.isSurrogate() || direction == QChar::DirR || direction == QChar::DirAL
            || (direction >= QChar::DirLRE && direction <= QChar::DirPDF)
            || (direction >= QChar::DirLRI && direction <= QChar::DirPDI);
    });
    if (!mayReorder)
        return line;
    QString isolated = line;
    // What would close the isolate, or leave one of its own open, has no place in a name.
    isolated.removeIf(
        [](QChar c) { return c.direction() >= QChar::DirLRI && c.direction() <= QChar::DirPDI; });
    return QChar(0x2068) + isolated + QChar(0x2069);
}

// Who

/// Somebody in a sentence. The name is empty when nobody knows it.
struct Party {
    QString name;
    bool isMe = false;
};

bool isMe(const Circumstances &circumstances, qint64 userId)
{
    return userId > 0 && circumstances.isMe && circumstances.isMe(userId);
}

Party operatorOf(const Alert &alert, const Circumstances &circumstances)
{
    const auto named = [&](const std::string &name) {
        return circumstances.sender.isEmpty() ? Util::fromUtf8(name) : circumstances.sender;
    };
    if (alert.has_group_operator()) {
        const im::GroupSender &group = alert.group_operator();
        return {named(group.title().empty() ? group.channel_name() : group.title()), false};
    }
    return {named(alert.operator_().name()), isMe(circumstances, alert.operator_().user_id())};
}

QList<Party> targetsOf(const Alert &alert, const Circumstances &circumstances)
{
    QList<Party> parties;
    const qsizetype count = std::max<qsizetype>(alert.targets_size(), circumstances.targets.size());
    for (qsizetype i = 0; i < count; ++i) {
        Party party{circumstances.targets.value(i)};
        if (i < alert.targets_size()) {
            const im::User &user = alert.targets(int(i));
            party.isMe = isMe(circumstances, user.user_id());
            if (party.name.isEmpty())
                party.name = Util::fromUtf8(user.name());
        }
        if (party.isMe || !party.name.isEmpty())
            parties.append(party);
    }
    return parties;
}

/// As the object of a sentence; empty when nobody is known.
QString asObject(const QList<Party> &parties)
{
    QStringList names;
    for (const Party &party : parties) {
        names.append(party.isMe ? translated(QT_TRID_NOOP("system_alert_you_object"), "you")
                                : inSentence(party.name));
    }
    return names.join(QStringLiteral(", "));
}

/// Those that come to the group, leave it or change are the subject, whoever reported it.
bool isAboutTargets(int type)
{
    switch (type) {
    case Alert::MEMBER_JOINED_BY_LINK:
    case Alert::MEMBER_LEFT:
    case Alert::USER_KEY_CHANGED:
    case Alert::NOT_MUTUAL_CONTACT:
    case Alert::ANONYMOUS_ID_REFRESHED:
        return true;
    default:
        return false;
    }
}

/// Someone who joined by themselves.
bool isOwnDoing(const Alert &alert)
{
    const bool hasOperator = alert.has_group_operator() || alert.has_operator_();
    return !hasOperator || alert.targets_size() == 0
        || (alert.targets_size() == 1 && alert.has_operator_()
            && alert.targets(0).user_id() == alert.operator_().user_id());
}

// What

QString messages(int count)
{
    return translated(QT_TRID_N_NOOP("system_alert_messages"), "message", "%n messages", count);
}

QString days(int count)
{
    return translated(QT_TRID_N_NOOP("system_alert_days"), "%n day", "%n days", count);
}

/// In the largest unit that goes into it without a rest.
QString duration(int seconds)
{
    if (seconds % 86400 == 0)
        return days(seconds / 86400);
    if (seconds % 3600 == 0) {
        return translated(QT_TRID_N_NOOP("system_alert_hours"), "%n hour", "%n hours",
                          seconds / 3600);
    }
    if (seconds % 60 == 0) {
        return translated(QT_TRID_N_NOOP("system_alert_minutes"), "%n minute", "%n minutes",
                          seconds / 60);
    }
    return translated(QT_TRID_N_NOOP("system_alert_seconds"), "%n second", "%n seconds", seconds);
}

QString date(qint64 milliseconds)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(milliseconds);
    return QLocale().toString(time.date(), QLocale::LongFormat);
}

bool hasTopic(const Alert &alert)
{
    return alert.has_origin_topic() || alert.has_current_topic();
}

int variantOf(const Alert &alert, const Circumstances &circumstances)
{
    switch (int(alert.type())) {
    case Alert::CREATE:
    case Alert::THEME_UPDATED:
        return alert.name().empty() ? plain : on;
    case Alert::MEMBER_JOINED:
        return isOwnDoing(alert) ? plain : on;
    case Alert::NAME_EDITED:
        return alert.name().empty() ? lacking : plain;
    case Alert::SELF_CONSTRUCT_TIME_UPDATED:
        return alert.time() > 0 ? on : off;
    case Alert::MESSAGE_LIMIT_UPDATED:
        return (alert.message_limit().length() > 0 ? countLimit : 0)
            | (alert.message_limit().days() > 0 ? dayLimit : 0);
    case Alert::TOPIC_UPDATED:
        return hasTopic(alert) ? circumstances.topicUpdate : lacking;
    case Alert::DISMISS_AT_UPDATED:
        return alert.dismiss_at() > 0 ? on : off;
    case Alert::RESTRICTED_MODE_UPDATED:
        return alert.dialog_flags() != 0 ? on : off;
    case Alert::EXPIRED_MEDIA:
        return alert.media_type();
    case Alert::WALLPAPER_UPDATED:
        return alert.has_wall_paper() && !alert.wall_paper().deleted() ? on : off;
    default:
        return plain;
    }
}

/// %2 and %3.
QStringList objectsOf(const Alert &alert, int variant, const QList<Party> &targets)
{
    switch (int(alert.type())) {
    case Alert::CREATE:
    case Alert::NAME_EDITED:
    case Alert::THEME_UPDATED:
        return {inSentence(Util::fromUtf8(alert.name()))};
    case Alert::SELF_CONSTRUCT_TIME_UPDATED:
        return {duration(alert.time())};
    case Alert::MESSAGE_LIMIT_UPDATED: {
        const QString keptMessages = messages(alert.message_limit().length());
        const QString keptDays = days(alert.message_limit().days());
        return variant == dayLimit ? QStringList{keptDays} : QStringList{keptMessages, keptDays};
    }
    case Alert::TOPIC_UPDATED: {
        const QString before = inSentence(Util::fromUtf8(alert.origin_topic().name()));
        const QString now = inSentence(Util::fromUtf8(alert.current_topic().name()));
        return {now.isEmpty() ? before : now, before};
    }
    case Alert::DISMISS_AT_UPDATED:
        return {date(alert.dismiss_at())};
    default:
        return {asObject(targets)};
    }
}

/// Puts the parts in their places in one go, since a name may hold "%2" as well.
QString filledIn(const QString &sentence, const QStringList &parts)
{
    QString result;
    for (qsizetype i = 0; i < sentence.size(); ++i) {
        const QChar c = sentence.at(i);
        const int part =
            c == u'%' && i + 1 < sentence.size() ? sentence.at(i + 1).digitValue() : -1;
        if (part >= 1 && part <= parts.size()) {
            result += parts.at(part - 1);
            ++i;
        } else {
            result += c;
        }
    }
    return result;
}

} // namespace

AlertText::Sentence AlertText::compose(const Alert &alert, const Circumstances &circumstances)
{
    const int variant = variantOf(alert, circumstances);
    const Row &row = rowOf(alert.type(), variant);
    const QList<Party> targets = targetsOf(alert, circumstances);

    const bool isJoining = alert.type() == Alert::MEMBER_JOINED && variant == plain;
    Party subject = operatorOf(alert, circumstances);
    if ((isJoining || isAboutTargets(alert.type())) && !targets.isEmpty()) {
        subject = targets.first();
        if (targets.size() > 1)
            subject = {asObject(targets)};
    } else {
        subject.name = inSentence(subject.name);
    }

    const Wording &wording = subject.isMe && row.saidOfMe.id ? row.saidOfMe : row.said;
    const QString sentence = translated(wording.id, wording.english);
    QStringList parts = objectsOf(alert, variant, targets);
    parts.prepend(subject.isMe ? translated(QT_TRID_NOOP("system_alert_you"), "You")
                               : subject.name);

    Sentence result;
    result.isComplete =
        row.type == alert.type() && row.type != Alert::UNKNOWN && variant != lacking;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (!parts.at(i).isEmpty() || !sentence.contains(QStringLiteral("%%1").arg(i + 1)))
            continue;
        parts[i] = i == 0 ? translated(QT_TRID_NOOP("system_alert_someone"), "Someone")
                          : translated(QT_TRID_NOOP("system_alert_someone_object"), "someone");
        result.isComplete = false;
    }
    result.text = filledIn(sentence, parts);
    return result;
}

int AlertText::topicUpdate(const Alert &alert)
{
    if (!hasTopic(alert))
        return SystemItem::TopicUnchanged;
    const im::Topic &before = alert.origin_topic();
    const im::Topic &now = alert.current_topic();
    if (!alert.has_current_topic() || (now.deleted() && !before.deleted()))
        return SystemItem::TopicDeleted;
    if (!alert.has_origin_topic())
        return SystemItem::TopicCreated;
    if (now.name() != before.name())
        return SystemItem::TopicRenamed;
    if (now.closed() != before.closed())
        return now.closed() ? SystemItem::TopicClosed : SystemItem::TopicReopened;
    if (now.archived() != before.archived())
        return now.archived() ? SystemItem::TopicArchived : SystemItem::TopicUnarchived;
    if (now.position().SerializeAsString() != before.position().SerializeAsString())
        return SystemItem::TopicMoved;
    return SystemItem::TopicUnchanged;
}
