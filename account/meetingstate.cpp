#include "account/meetingstate_p.h"

#include <utility>

void MeetingState::setMeeting(MeetingModelBase *meeting)
{
    if (m_meeting == meeting)
        return;
    replaceMeeting(meeting);
    if (!meeting)
        setJoining(false);
}

void MeetingState::replaceMeeting(MeetingModelBase *meeting)
{
    disconnect(m_meetingEnd);
    m_meeting = meeting;
    if (meeting)
        m_meetingEnd = connect(meeting, &QObject::destroyed, this, [this] { setMeeting(nullptr); });
    Q_EMIT meetingChanged(meeting);
}

void MeetingState::finish(bool ok, MeetingModelBase *meeting,
                          const std::function<void()> &signalFailure)
{
    if (ok) {
        if (m_meeting == meeting)
            return;
        replaceMeeting(meeting);
        if (meeting)
            return;
    } else {
        signalFailure();
    }
    setJoining(false);
}

void MeetingState::setJoining(bool isJoining)
{
    if (std::exchange(m_isJoining, isJoining) != isJoining)
        Q_EMIT joiningChanged(isJoining);
}

void MeetingState::setJoiningId(const QString &id)
{
    if (m_joiningId == id)
        return;
    setJoining(!id.isEmpty());
    m_joiningId = id;
    Q_EMIT joiningIdChanged(id);
}
