#pragma once

#include "content/contentitem.h"
#include "i18n/languagefollower.h"

/// A call between two users, as it stands in their chat when it is over or under way. calcSize()
/// does not measure it: how a call is shown is the view's.
///
/// Stored after the base keys as "state", "duration", "callId".
class MODELBASE_EXPORT CallItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 state READ state WRITE setState NOTIFY stateChanged)
    Q_PROPERTY(qint64 duration READ duration WRITE setDuration NOTIFY durationChanged)
    Q_PROPERTY(QString callId READ callId WRITE setCallId NOTIFY callIdChanged)
    Q_PROPERTY(bool outgoing READ outgoing WRITE setOutgoing NOTIFY outgoingChanged)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    /// The protocol's states of a call. A newer protocol may send others, which are kept.
    enum CallState : qint32 {
        Unknown,
        Dialing,
        Established,
        Rejected,
        TimeOut,
        Cancelled,
        Finished,
        Failed,
        Busy,
    };
    Q_ENUM(CallState)

    CallItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    CallItem(const im::content::Content &content, int source, AccountBase *account);
    CallItem(int source, AccountBase *account);
    explicit CallItem(const CallItem *other);

    /// A CallState.
    qint32 state() const { return m_state; }
    void setState(qint32 state);
    /// Seconds that were spoken; 0 for a call that nobody answered.
    qint64 duration() const { return m_duration; }
    void setDuration(qint64 duration);
    /// What the server knows the call by.
    const QString &callId() const { return m_callId; }
    void setCallId(const QString &callId);
    /// Whether this account made the call. Known from the message, not from the content: set by the
    /// item's owner, and not stored.
    bool outgoing() const { return m_outgoing; }
    void setOutgoing(bool outgoing);
    /// What became of the call, in the application's language: "Missed call", "Call 12:34".
    QString text() const;

    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    using ContentItem::setContent;
    void setContent(const im::content::Content &content) override;

Q_SIGNALS:
    void stateChanged();
    void durationChanged();
    void callIdChanged();
    void outgoingChanged();
    void textChanged();

private:
    template <typename>
    friend struct Fields;

    qint64 m_duration = 0;
    QString m_callId;
    qint32 m_state = Unknown;
    bool m_outgoing = false;
    LanguageFollower m_follower{
        this, [](QObject *item) { Q_EMIT static_cast<CallItem *>(item)->textChanged(); }};
};
