#include "content/items/callitem.h"

#include "content/fields_p.h"
#include "i18n/translated_p.h"
#include "protocol/common_data.pb.h"

namespace
{

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

/// The texts of a state for the caller and for the callee.
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

using im::content::Call;
using im::content::Content;

template <>
struct Fields<CallItem>
    : KindOf<ContentItem, &Content::has_call, &Content::call, &Content::mutable_call> {
    /// The values that text() depends on.
    static std::tuple<qint32, bool, qint64> textValues(const CallItem &item)
    {
        const bool hasDuration = item.m_state == CallItem::Finished;
        return {item.m_state, item.m_outgoing, hasDuration ? item.m_duration : 0};
    }

    static constexpr std::tuple table{
        field<&CallItem::m_state, KEY("state"), &Call::call_state, &Call::set_call_state,
              &CallItem::stateChanged>,
        field<&CallItem::m_duration, KEY("duration"), &Call::duration, &Call::set_duration,
              &CallItem::durationChanged>,
        field<&CallItem::m_callId, KEY("callId"), &Call::call_id, &Call::mutable_call_id,
              &CallItem::callIdChanged, Written::UnlessEmpty>,
        // Neither sent nor stored.
        field<&CallItem::m_outgoing, none, none, none, &CallItem::outgoingChanged>,
        derived<&textValues, &CallItem::textChanged>,
    };
};

CONTENT_KIND(CallItem, ContentItem, ContentItem::Call)

SET_BY_FIELD(CallItem, setState, qint32, m_state)
SET_BY_FIELD(CallItem, setDuration, qint64, m_duration)
SET_BY_FIELD(CallItem, setCallId, const QString &, m_callId)
SET_BY_FIELD(CallItem, setOutgoing, bool, m_outgoing)

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
