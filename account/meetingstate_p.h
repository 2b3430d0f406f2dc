#pragma once

#include "account/meetingmodelbase.h"

#include <QMetaObject>
#include <QObject>
#include <QString>

#include <functional>

/// The meeting that the user is in, or about to join. AccountManager is the public interface, and
/// forwards the signals.
///
/// Thread: the main thread.
class MeetingState : public QObject
{
    Q_OBJECT

public:
    explicit MeetingState(QObject *parent) : QObject(parent) { }

    /// Not owned; null if there is none, and once it is deleted.
    MeetingModelBase *meeting() const { return m_meeting; }
    /// Null ends joining, too.
    void setMeeting(MeetingModelBase *meeting);
    /// True from the request for a meeting until it fails or the meeting ends.
    bool isJoining() const { return m_isJoining; }
    void setJoining(bool isJoining);
    const QString &joiningId() const { return m_joiningId; }
    void setJoiningId(const QString &id);
    /// Takes the server's answer to creating or joining a meeting.
    void finish(bool ok, MeetingModelBase *meeting, const std::function<void()> &signalFailure);

Q_SIGNALS:
    void meetingChanged(MeetingModelBase *meeting);
    void joiningChanged(bool isJoining);
    void joiningIdChanged(const QString &id);

private:
    void replaceMeeting(MeetingModelBase *meeting);

    MeetingModelBase *m_meeting = nullptr;
    QMetaObject::Connection m_meetingEnd;
    bool m_isJoining = false;
    QString m_joiningId;
};
