#pragma once

#include "account/meetingmodelbase.h"

#include <QMetaObject>
#include <QObject>
#include <QString>

#include <functional>

/// The meeting that the user is in, or about to join. AccountManager is its public face, and passes
/// its signals on.
///
/// Thread: the main thread.
class MeetingState : public QObject
{
    Q_OBJECT

public:
    explicit MeetingState(QObject *parent) : QObject(parent) { }

    /// Not owned; null without one, and once it is deleted.
    MeetingModelBase *meeting() const { return m_meeting; }
    /// Without a meeting, joining ends, too.
    void setMeeting(MeetingModelBase *meeting);
    /// True from the moment that a meeting is asked for, until that fails or the meeting ends.
    bool isJoining() const { return m_isJoining; }
    void setJoining(bool isJoining);
    const QString &joiningId() const { return m_joiningId; }
    void setJoiningId(const QString &id);
    /// Takes the server's answer to creating or joining one.
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
