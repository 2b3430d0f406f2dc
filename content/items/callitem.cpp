#include "content/items/callitem.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "core/logs_p.h"
#include "i18n/translated_p.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

namespace
{

constexpr auto stateKey = [] { return QStringLiteral("state"); };
constexpr auto durationKey = [] { return QStringLiteral("duration"); };
constexpr auto callIdKey = [] { return QStringLiteral("callId"); };

/// "m:ss", from an hour on "h:mm:ss".
QString clock(qint64 seconds)
{
    const auto twoDigits = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    const QString tail = QLatin1Char(':') + twoDigits(seconds % 60);
    const qint64 minutes = seconds / 60;
    if (minutes < 60)
        return QString::number(minutes) + tail;
    return QString::number(minutes / 60) + QLatin1Char(':') + twoDigits(minutes % 60) + tail;
}

/// What is said of a state to the one who called and to the one who was called.
struct StateText {
    qint32 state;
    const char *outgoing;
    const char *incoming;
};

constexpr StateText stateTexts[] = {
    //% "Call"
    {CallItem::Unknown, QT_TRID_NOOP("call"), "call"},
    {CallItem::Dialing,
     //% "Calling…"
     QT_TRID_NOOP("call_outgoing"),
     //% "Incoming call"
     QT_TRID_NOOP("call_incoming")},
    //% "Call in progress"
    {CallItem::Established, QT_TRID_NOOP("call_in_progress"), "call_in_progress"},
    {CallItem::Rejected,
     //% "Call declined"
     QT_TRID_NOOP("call_was_declined"),
     //% "You declined the call"
     QT_TRID_NOOP("call_you_declined")},
    {CallItem::TimeOut,
     //% "No answer"
     QT_TRID_NOOP("call_no_answer"),
     //% "Missed call"
     QT_TRID_NOOP("call_missed")},
    {CallItem::Cancelled,
     //% "You cancelled the call"
     QT_TRID_NOOP("call_you_cancelled"), "call_missed"},
    //% "Call %1"
    {CallItem::Finished, QT_TRID_NOOP("call_finished"), "call_finished"},
    //% "Call failed"
    {CallItem::Failed, QT_TRID_NOOP("call_failed"), "call_failed"},
    {CallItem::Busy,
     //% "Line busy"
     QT_TRID_NOOP("call_busy"),
     //% "Missed call while you were busy"
     QT_TRID_NOOP("call_missed_while_busy")},
};

} // namespace

static_assert(int(CallItem::Finished) == im::Message::FINISHED
              && int(CallItem::Busy) == im::Message::CallState_MAX);

CallItem::CallItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_duration(StoredValue::toInt64(map.value(durationKey()))),
      m_callId(map.value(callIdKey()).toString()),
      m_state(StoredValue::toInt32(map.value(stateKey())))
{
    setType(Call);
}

CallItem::CallItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account), m_duration(content.call().duration()),
      m_callId(Util::fromUtf8(content.call().call_id())), m_state(content.call().call_state())
{
    setType(Call);
}

CallItem::CallItem(int source, AccountBase *account) : ContentItem(source, account)
{
    setType(Call);
}

CallItem::CallItem(const CallItem *other)
    : ContentItem(other), m_duration(other->m_duration), m_callId(other->m_callId),
      m_state(other->m_state), m_outgoing(other->m_outgoing)
{
}

void CallItem::setState(qint32 state)
{
    Changes changes(this);
    take(changes, state, m_duration, m_callId);
}

void CallItem::setDuration(qint64 duration)
{
    Changes changes(this);
    take(changes, m_state, duration, m_callId);
}

void CallItem::setCallId(const QString &callId)
{
    Changes changes(this);
    take(changes, m_state, m_duration, callId);
}

void CallItem::setOutgoing(bool outgoing)
{
    Changes changes(this);
    if (changes.set(m_outgoing, outgoing, &CallItem::outgoingChanged))
        changes.add(&CallItem::textChanged);
}

void CallItem::take(Changes<CallItem> &changes, qint32 state, qint64 duration,
                    const QString &callId)
{
    const bool stateIsNew = changes.set(m_state, state, &CallItem::stateChanged);
    const bool durationIsNew = changes.set(m_duration, duration, &CallItem::durationChanged);
    changes.set(m_callId, callId, &CallItem::callIdChanged);
    if (stateIsNew || (durationIsNew && m_state == Finished))
        changes.add(&CallItem::textChanged);
}

QString CallItem::text() const
{
    const StateText *row = &stateTexts[0];
    for (const StateText &candidate : stateTexts) {
        if (candidate.state == m_state)
            row = &candidate;
    }
    const QString text = translated(m_outgoing ? row->outgoing : row->incoming);
    return m_state == Finished ? text.arg(clock(qMax(m_duration, 0))) : text;
}

void CallItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    map.insert(stateKey(), m_state);
    map.insert(durationKey(), m_duration);
    if (!m_callId.isEmpty())
        map.insert(callIdKey(), m_callId);
}

void CallItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Call *call = content->mutable_call();
    call->set_call_state(im::Message::CallState(m_state));
    call->set_call_id(m_callId.toStdString());
    call->set_duration(m_duration);
}

void CallItem::deserialize(const QMap<QString, QVariant> &map)
{
    Changes changes(this);
    take(changes, StoredValue::toInt32(map.value(stateKey())),
         StoredValue::toInt64(map.value(durationKey())), map.value(callIdKey()).toString());
    ContentItem::deserialize(map);
}

void CallItem::setContent(const im::content::Content &content)
{
    if (!content.has_call()) {
        qCDebug(lcModel, "A call cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    const im::content::Call &call = content.call();
    Changes changes(this);
    take(changes, call.call_state(), call.duration(), Util::fromUtf8(call.call_id()));
    keepRemainder(content);
}
