#include "content/items/alerttext_p.h"

#include "base/util.h"
#include "content/items/systemitem.h"
#include "i18n/translated_p.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

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

/// A sentence: %1 is who did it, %2 and %3 what it is about.
struct Row {
    int type;
    int variant;
    const char *textId;
    const char *ownTextId = nullptr; ///< where the subject is this user; null: there is none
};

// The second person has sentences of its own: many languages have another verb form for it.
constexpr Row rows[] = {
    {Alert::UNKNOWN, plain,
     //% "This version cannot show what happened here"
     QT_TRID_NOOP("system_alert_unsupported")},
    {Alert::CREATE, plain,
     //% "%1 created the group"
     QT_TRID_NOOP("system_alert_created"),
     //% "You created the group"
     QT_TRID_NOOP("system_alert_you_created")},
    {Alert::CREATE, on,
     //% "%1 created the group “%2”"
     QT_TRID_NOOP("system_alert_created_with_name"),
     //% "You created the group “%2”"
     QT_TRID_NOOP("system_alert_you_created_with_name")},
    {Alert::MEMBER_JOINED, plain,
     //% "%1 joined the group"
     QT_TRID_NOOP("system_alert_joined"),
     //% "You joined the group"
     QT_TRID_NOOP("system_alert_you_joined")},
    {Alert::MEMBER_JOINED, on,
     //% "%1 added %2"
     QT_TRID_NOOP("system_alert_added"),
     //% "You added %2"
     QT_TRID_NOOP("system_alert_you_added")},
    {Alert::MEMBER_JOINED_BY_LINK, plain,
     //% "%1 joined the group by an invite link"
     QT_TRID_NOOP("system_alert_joined_by_link"),
     //% "You joined the group by an invite link"
     QT_TRID_NOOP("system_alert_you_joined_by_link")},
    {Alert::MEMBER_KICKED, plain,
     //% "%1 removed %2"
     QT_TRID_NOOP("system_alert_removed"),
     //% "You removed %2"
     QT_TRID_NOOP("system_alert_you_removed")},
    {Alert::MEMBER_LEFT, plain,
     //% "%1 left the group"
     QT_TRID_NOOP("system_alert_left"),
     //% "You left the group"
     QT_TRID_NOOP("system_alert_you_left")},
    {Alert::NAME_EDITED, lacking,
     //% "%1 changed the group name"
     QT_TRID_NOOP("system_alert_renamed"),
     //% "You changed the group name"
     QT_TRID_NOOP("system_alert_you_renamed")},
    {Alert::NAME_EDITED, plain,
     //% "%1 changed the group name to “%2”"
     QT_TRID_NOOP("system_alert_renamed_to"),
     //% "You changed the group name to “%2”"
     QT_TRID_NOOP("system_alert_you_renamed_to")},
    {Alert::PHOTO_EDITED, plain,
     //% "%1 changed the group photo"
     QT_TRID_NOOP("system_alert_photo_changed"),
     //% "You changed the group photo"
     QT_TRID_NOOP("system_alert_you_photo_changed")},
    {Alert::PHOTO_DELETED, plain,
     //% "%1 removed the group photo"
     QT_TRID_NOOP("system_alert_photo_deleted"),
     //% "You removed the group photo"
     QT_TRID_NOOP("system_alert_you_photo_deleted")},
    {Alert::UPGRADED, plain,
     //% "%1 upgraded the group"
     QT_TRID_NOOP("system_alert_upgraded"),
     //% "You upgraded the group"
     QT_TRID_NOOP("system_alert_you_upgraded")},
    {Alert::USER_KEY_CHANGED, plain,
     //% "The security key of %1 has changed"
     QT_TRID_NOOP("system_alert_key_changed"),
     //% "Your security key has changed"
     QT_TRID_NOOP("system_alert_my_key_changed")},
    {Alert::NOT_MUTUAL_CONTACT, plain,
     //% "%1 is not a mutual contact"
     QT_TRID_NOOP("system_alert_not_mutual"),
     //% "You are not mutual contacts"
     QT_TRID_NOOP("system_alert_me_not_mutual")},
    {Alert::OWNER_EDITED, plain,
     //% "%1 made %2 the owner of the group"
     QT_TRID_NOOP("system_alert_owner_changed"),
     //% "You made %2 the owner of the group"
     QT_TRID_NOOP("system_alert_you_owner_changed")},
    {Alert::CONTACT_ADDED, plain,
     //% "%1 added %2 as a contact"
     QT_TRID_NOOP("system_alert_contact_added"),
     //% "You added %2 as a contact"
     QT_TRID_NOOP("system_alert_you_contact_added")},
    {Alert::SELF_CONSTRUCT_TIME_UPDATED, on,
     //% "%1 set messages to be deleted after %2"
     QT_TRID_NOOP("system_alert_self_destruct_on"),
     //% "You set messages to be deleted after %2"
     QT_TRID_NOOP("system_alert_you_self_destruct_on")},
    {Alert::SELF_CONSTRUCT_TIME_UPDATED, off,
     //% "%1 turned self-deleting messages off"
     QT_TRID_NOOP("system_alert_self_destruct_off"),
     //% "You turned self-deleting messages off"
     QT_TRID_NOOP("system_alert_you_self_destruct_off")},
    {Alert::MESSAGE_PINNED, plain,
     //% "%1 pinned a message"
     QT_TRID_NOOP("system_alert_pinned"),
     //% "You pinned a message"
     QT_TRID_NOOP("system_alert_you_pinned")},
    {Alert::GROUP_DISMISSED, plain,
     //% "%1 dissolved the group"
     QT_TRID_NOOP("system_alert_dismissed"),
     //% "You dissolved the group"
     QT_TRID_NOOP("system_alert_you_dismissed")},
    {Alert::ANONYMOUS_ID_REFRESHED, plain,
     //% "%1 has a new anonymous identity"
     QT_TRID_NOOP("system_alert_anonymous_id"),
     //% "You have a new anonymous identity"
     QT_TRID_NOOP("system_alert_my_anonymous_id")},
    {Alert::SCREEN_CAPTURED, plain,
     //% "%1 took a screenshot"
     QT_TRID_NOOP("system_alert_screenshot"),
     //% "You took a screenshot"
     QT_TRID_NOOP("system_alert_you_screenshot")},
    {Alert::MEETING_STARTED, plain,
     //% "%1 started a meeting"
     QT_TRID_NOOP("system_alert_meeting_started"),
     //% "You started a meeting"
     QT_TRID_NOOP("system_alert_you_meeting_started")},
    {Alert::MEETING_ENDED, plain,
     //% "The meeting ended"
     QT_TRID_NOOP("system_alert_meeting_ended")},
    {Alert::FACE_BLUE_TURNED_ON, plain,
     //% "%1 turned on the blurring of faces"
     QT_TRID_NOOP("system_alert_face_blur_on"),
     //% "You turned on the blurring of faces"
     QT_TRID_NOOP("system_alert_you_face_blur_on")},
    {Alert::FACE_BLUE_TURNED_OFF, plain,
     //% "%1 turned off the blurring of faces"
     QT_TRID_NOOP("system_alert_face_blur_off"),
     //% "You turned off the blurring of faces"
     QT_TRID_NOOP("system_alert_you_face_blur_off")},
    {Alert::RECEIPT_COMPLETE, plain,
     //% "Everyone has confirmed the message"
     QT_TRID_NOOP("system_alert_receipt_complete")},
    {Alert::WEB_LOGGED_IN, plain,
     //% "%1 signed in on the web"
     QT_TRID_NOOP("system_alert_web_login"),
     //% "You signed in on the web"
     QT_TRID_NOOP("system_alert_you_web_login")},
    {Alert::MESSAGE_LIMIT_UPDATED, plain,
     //% "%1 lifted the message limit"
     QT_TRID_NOOP("system_alert_limit_off"),
     //% "You lifted the message limit"
     QT_TRID_NOOP("system_alert_you_limit_off")},
    {Alert::MESSAGE_LIMIT_UPDATED, countLimit,
     //% "%1 set the chat to keep the latest %2"
     QT_TRID_NOOP("system_alert_limit_count"),
     //% "You set the chat to keep the latest %2"
     QT_TRID_NOOP("system_alert_you_limit_count")},
    {Alert::MESSAGE_LIMIT_UPDATED, dayLimit,
     //% "%1 set the chat to keep messages for %2"
     QT_TRID_NOOP("system_alert_limit_days"),
     //% "You set the chat to keep messages for %2"
     QT_TRID_NOOP("system_alert_you_limit_days")},
    {Alert::MESSAGE_LIMIT_UPDATED, bothLimits,
     //% "%1 set the chat to keep the latest %2 for %3"
     QT_TRID_NOOP("system_alert_limit_both"),
     //% "You set the chat to keep the latest %2 for %3"
     QT_TRID_NOOP("system_alert_you_limit_both")},
    {Alert::TOPIC_UPDATED, lacking,
     //% "%1 updated a topic"
     QT_TRID_NOOP("system_alert_topic"),
     //% "You updated a topic"
     QT_TRID_NOOP("system_alert_you_topic")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicUnchanged,
     //% "%1 updated the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_updated"),
     //% "You updated the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_updated")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicCreated,
     //% "%1 created the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_created"),
     //% "You created the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_created")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicRenamed,
     //% "%1 renamed the topic “%3” to “%2”"
     QT_TRID_NOOP("system_alert_topic_renamed"),
     //% "You renamed the topic “%3” to “%2”"
     QT_TRID_NOOP("system_alert_you_topic_renamed")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicClosed,
     //% "%1 closed the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_closed"),
     //% "You closed the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_closed")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicReopened,
     //% "%1 reopened the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_reopened"),
     //% "You reopened the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_reopened")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicArchived,
     //% "%1 archived the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_archived"),
     //% "You archived the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_archived")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicUnarchived,
     //% "%1 took the topic “%2” out of the archive"
     QT_TRID_NOOP("system_alert_topic_unarchived"),
     //% "You took the topic “%2” out of the archive"
     QT_TRID_NOOP("system_alert_you_topic_unarchived")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicMoved,
     //% "%1 moved the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_moved"),
     //% "You moved the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_moved")},
    {Alert::TOPIC_UPDATED, SystemItem::TopicDeleted,
     //% "%1 deleted the topic “%2”"
     QT_TRID_NOOP("system_alert_topic_deleted"),
     //% "You deleted the topic “%2”"
     QT_TRID_NOOP("system_alert_you_topic_deleted")},
    {Alert::TOPIC_SUPPORT_ENABLED, plain,
     //% "%1 turned on topics"
     QT_TRID_NOOP("system_alert_topics_on"),
     //% "You turned on topics"
     QT_TRID_NOOP("system_alert_you_topics_on")},
    {Alert::DISMISS_AT_UPDATED, on,
     //% "%1 set the group to be dissolved on %2"
     QT_TRID_NOOP("system_alert_dismiss_at"),
     //% "You set the group to be dissolved on %2"
     QT_TRID_NOOP("system_alert_you_dismiss_at")},
    {Alert::DISMISS_AT_UPDATED, off,
     //% "%1 set the group to stay"
     QT_TRID_NOOP("system_alert_dismiss_off"),
     //% "You set the group to stay"
     QT_TRID_NOOP("system_alert_you_dismiss_off")},
    {Alert::RESTRICTED_MODE_UPDATED, on,
     //% "%1 turned on restricted mode"
     QT_TRID_NOOP("system_alert_restricted_on"),
     //% "You turned on restricted mode"
     QT_TRID_NOOP("system_alert_you_restricted_on")},
    {Alert::RESTRICTED_MODE_UPDATED, off,
     //% "%1 turned off restricted mode"
     QT_TRID_NOOP("system_alert_restricted_off"),
     //% "You turned off restricted mode"
     QT_TRID_NOOP("system_alert_you_restricted_off")},
    {Alert::EXPIRED_VOICE, plain,
     //% "The voice message has expired"
     QT_TRID_NOOP("system_alert_voice_expired")},
    {Alert::EXPIRED_MEDIA, Message::NONE,
     //% "The media have expired"
     QT_TRID_NOOP("system_alert_media_expired")},
    {Alert::EXPIRED_MEDIA, Message::IMAGE,
     //% "The photo has expired"
     QT_TRID_NOOP("system_alert_photo_expired")},
    {Alert::EXPIRED_MEDIA, Message::VIDEO,
     //% "The video has expired"
     QT_TRID_NOOP("system_alert_video_expired")},
    {Alert::EXPIRED_MEDIA, Message::VOICE,
     //% "The voice message has expired"
     QT_TRID_NOOP("system_alert_voice_expired")},
    {Alert::THEME_UPDATED, plain,
     //% "%1 changed the theme of the chat"
     QT_TRID_NOOP("system_alert_theme"),
     //% "You changed the theme of the chat"
     QT_TRID_NOOP("system_alert_you_theme")},
    {Alert::THEME_UPDATED, on,
     //% "%1 changed the theme of the chat to “%2”"
     QT_TRID_NOOP("system_alert_theme_to"),
     //% "You changed the theme of the chat to “%2”"
     QT_TRID_NOOP("system_alert_you_theme_to")},
    {Alert::WALLPAPER_UPDATED, on,
     //% "%1 changed the background of the chat"
     QT_TRID_NOOP("system_alert_wallpaper"),
     //% "You changed the background of the chat"
     QT_TRID_NOOP("system_alert_you_wallpaper")},
    {Alert::WALLPAPER_UPDATED, off,
     //% "%1 removed the background of the chat"
     QT_TRID_NOOP("system_alert_wallpaper_off"),
     //% "You removed the background of the chat"
     QT_TRID_NOOP("system_alert_you_wallpaper_off")},
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
QString inSentence(const QString &name, Qt::LayoutDirection direction)
{
    const QString line = name.simplified();
    const bool mayReorder = std::any_of(line.cbegin(), line.cend(), [=](QChar c) {
        const auto own = c.direction();
        return c.isSurrogate() || (own == QChar::DirL && direction == Qt::RightToLeft)
            || own == QChar::DirR || own == QChar::DirAL
            || (own >= QChar::DirLRE && own <= QChar::DirPDF)
            || (own >= QChar::DirLRI && own <= QChar::DirPDI);
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

//% "you"
constexpr const char *youAmongOthers = QT_TRID_NOOP("system_alert_you_among_others");
//% "you"
constexpr const char *youAsObject = QT_TRID_NOOP("system_alert_you_object");

/// Empty when nobody is known.
QString listOf(const QList<Party> &parties, const char *you, Qt::LayoutDirection direction)
{
    QStringList names;
    for (const Party &party : parties)
        names.append(party.isMe ? translated(you) : inSentence(party.name, direction));
    //% ", "
    return names.join(translated(QT_TRID_NOOP("list_separator")));
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
    //% "%n messages"
    return translated(QT_TRID_N_NOOP("system_alert_messages"), count);
}

QString days(int count)
{
    //% "%n days"
    return translated(QT_TRID_N_NOOP("system_alert_days"), count);
}

/// In the largest unit that goes into it without a rest.
QString duration(int seconds)
{
    if (seconds % 86400 == 0)
        return days(seconds / 86400);
    if (seconds % 3600 == 0) {
        //% "%n hours"
        return translated(QT_TRID_N_NOOP("system_alert_hours"), seconds / 3600);
    }
    if (seconds % 60 == 0) {
        //% "%n minutes"
        return translated(QT_TRID_N_NOOP("system_alert_minutes"), seconds / 60);
    }
    //% "%n seconds"
    return translated(QT_TRID_N_NOOP("system_alert_seconds"), seconds);
}

QString date(qint64 milliseconds)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(milliseconds);
    const QLocale locale(AppSettingModel::instance()->language());
    return locale.toString(time.date(), QLocale::LongFormat);
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
QStringList objectsOf(const Alert &alert, int variant, const QList<Party> &targets,
                      Qt::LayoutDirection direction)
{
    switch (int(alert.type())) {
    case Alert::CREATE:
    case Alert::NAME_EDITED:
    case Alert::THEME_UPDATED:
        return {inSentence(Util::fromUtf8(alert.name()), direction)};
    case Alert::SELF_CONSTRUCT_TIME_UPDATED:
        return {duration(alert.time())};
    case Alert::MESSAGE_LIMIT_UPDATED: {
        const QString keptMessages = messages(alert.message_limit().length());
        const QString keptDays = days(alert.message_limit().days());
        return variant == dayLimit ? QStringList{keptDays} : QStringList{keptMessages, keptDays};
    }
    case Alert::TOPIC_UPDATED: {
        const QString before = inSentence(Util::fromUtf8(alert.origin_topic().name()), direction);
        const QString now = inSentence(Util::fromUtf8(alert.current_topic().name()), direction);
        return {now.isEmpty() ? before : now, before};
    }
    case Alert::DISMISS_AT_UPDATED:
        return {date(alert.dismiss_at())};
    default:
        return {listOf(targets, youAsObject, direction)};
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
    const bool areSubject = (isJoining || isAboutTargets(alert.type())) && !targets.isEmpty();
    const QList<Party> subjects =
        areSubject ? targets : QList<Party>{operatorOf(alert, circumstances)};

    const bool isOfMe = subjects.size() == 1 && subjects.first().isMe;
    const QString sentence = translated(isOfMe && row.ownTextId ? row.ownTextId : row.textId);
    const auto direction = sentence.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
    QStringList parts = objectsOf(alert, variant, targets, direction);
    parts.prepend(listOf(subjects, youAmongOthers, direction));

    Sentence result;
    result.isComplete =
        row.type == alert.type() && row.type != Alert::UNKNOWN && variant != lacking;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (!parts.at(i).isEmpty() || !sentence.contains(QStringLiteral("%%1").arg(i + 1)))
            continue;
        //% "Someone"
        parts[i] = i == 0 ? translated(QT_TRID_NOOP("system_alert_someone"))
                          //% "someone"
                          : translated(QT_TRID_NOOP("system_alert_someone_object"));
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
