#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class AccountBase;
class IdSet;
class MessageModelBase;

/// One dialog: a chat of two, a group, or a special one such as the saved messages. Holds what a
/// list of dialogs shows, and which of its messages mention the user ("at me") or received a
/// reaction that the user has not looked at yet.
///
/// The application derives from it and supplies what is pure virtual.
///
/// Mentions are counted in groups only. Elsewhere they are kept, and packed with the rest, but the
/// count is 0 and nothing confirms them.
///
/// Ownership: its creator's; never deleted by QML. Thread: the thread it lives on. Every change
/// signal fires on a change only, after the value is in place.
class MODELBASE_EXPORT DialogBase : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("dialog/messagemodelbase.h")
    MODELBASE_QML_TYPE
    Q_PROPERTY(bool display READ display WRITE setDisplay NOTIFY displayChanged)
    Q_PROPERTY(bool mute READ mute NOTIFY muteChanged)
    Q_PROPERTY(qint64 sortTime READ sortTime NOTIFY sortTimeChanged)
    Q_PROPERTY(
        bool mutualContact READ mutualContact WRITE setMutualContact NOTIFY mutualContactChanged)
    Q_PROPERTY(bool archived READ archived WRITE setArchived NOTIFY archivedChanged)
    Q_PROPERTY(bool anonymous READ anonymous NOTIFY anonymousChanged)
    Q_PROPERTY(int atMeMessageCount READ atMeMessageCount NOTIFY atMeMessageCountChanged)
    Q_PROPERTY(int unread READ unread NOTIFY unreadChanged)
    Q_PROPERTY(qint64 currentUserId READ currentUserId NOTIFY currentUserIdChanged)
    Q_PROPERTY(int reactedMessageCount READ reactedMessageCount NOTIFY reactedMessageCountChanged)
    Q_PROPERTY(QStringList tagIds READ tagIds NOTIFY tagIdsChanged)
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)
    Q_PROPERTY(bool isQuickReply READ isQuickReply NOTIFY isQuickReplyChanged)
    // What a dialog is does not change while it is shown.
    Q_PROPERTY(QString dialogId READ dialogId CONSTANT)
    Q_PROPERTY(qint64 targetId READ targetId CONSTANT)
    Q_PROPERTY(bool isGroup READ isGroup CONSTANT)
    Q_PROPERTY(bool isReplies READ isReplies CONSTANT)
    Q_PROPERTY(bool isImUser READ isImUser CONSTANT)
    Q_PROPERTY(bool isMyStorage READ isMyStorage CONSTANT)
    Q_PROPERTY(bool isSupport READ isSupport CONSTANT)
    Q_PROPERTY(bool isMentions READ isMentions CONSTANT)
    Q_PROPERTY(bool isStarred READ isStarred CONSTANT)
    Q_PROPERTY(
        bool hasInappropriateNews READ hasInappropriateNews NOTIFY hasInappropriateNewsChanged)

public:
    explicit DialogBase(QObject *parent = nullptr);
    /// Fires startDestroy() first.
    ~DialogBase() override;

    /// True when the dialog makes no sound.
    virtual bool mute() const;
    virtual bool isSuperGroup() const;

    /// The account that the dialog belongs to.
    virtual AccountBase *account() const = 0;
    /// Scrolls `msgModel` to a message.
    virtual void jumpToMessage(qint64 msgId, MessageModelBase *msgModel) = 0;
    /// The user has seen these mentions; `all` as it was given to confirmAtMeMessages().
    virtual void mentionsConfirmed(const QList<qint64> &msgIds, bool all) = 0;
    /// The user has seen these reactions; with `all`, every one, and the list is empty.
    virtual void reactionsConfirmed(const QList<qint64> &msgIds, bool all) = 0;
    /// A count has changed, or the messages that mention the user or received reactions: the dialog
    /// wants to be saved and drawn again.
    virtual void dialogChanged() = 0;

    /// What a list calls the dialog; empty unless overridden.
    virtual QString name() const;
    // Special dialogs; false unless overridden.
    virtual bool isReplies() const;
    virtual bool isImUser() const;
    virtual bool isSupport() const;
    virtual bool isMentions() const;
    virtual bool isStarred() const;
    virtual bool hasInappropriateNews() const;
    /// The dialog with oneself.
    bool isMyStorage() const;

    const QString &dialogId() const { return m_dialogId; }
    /// The other user, or the group.
    qint64 targetId() const { return m_targetId; }
    // What follows, up to the mentions, is kept for the application; nothing here looks at it, but
    // at isGroup().
    int type() const { return m_type; }
    bool isGroup() const { return m_isGroup; }
    bool display() const { return m_display; }
    bool mutualContact() const { return m_mutualContact; }
    bool archived() const { return m_archived; }
    bool anonymous() const { return m_anonymous; }
    bool isQuickReply() const { return m_isQuickReply; }
    /// ms since 1970, UTC; a list shows the greatest first.
    qint64 sortTime() const { return m_sortTime; }
    int unread() const { return m_unread; }
    qint64 currentUserId() const { return m_currentUserId; }
    bool atClear() const { return m_atClear; }
    bool isActive() const { return m_isActive; }
    const QStringList &tagIds() const { return m_tagIds; }
    int atMeMessageCount() const { return m_atMeMessageCount; }
    int reactedMessageCount() const { return m_reactedMessageCount; }
    /// Ids of messages, ascending.
    QList<qint64> atMeMessages() const;
    QList<qint64> reactedMessages() const;

    Q_INVOKABLE void setDisplay(bool display);
    Q_INVOKABLE void setMutualContact(bool mutualContact);
    Q_INVOKABLE void setArchived(bool archived);
    void setDialogId(const QString &dialogId) { m_dialogId = dialogId; }
    void setTargetId(qint64 targetId) { m_targetId = targetId; }
    void setType(int type) { m_type = type; }
    /// Counts the mentions that are kept, without a call of dialogChanged().
    void setIsGroup(bool isGroup);
    void setMute(bool mute);
    void setAnonymous(bool anonymous);
    void setIsQuickReply(bool isQuickReply);
    void setSortTime(qint64 sortTime);
    void setUnread(int unread);
    void setCurrentUserId(qint64 currentUserId);
    void setAtClear(bool atClear) { m_atClear = atClear; }
    void setIsActive(bool isActive) { m_isActive = isActive; }
    void setTagIds(const QStringList &tagIds);

    // Messages that mention the user. To confirm is what the dialog does when the user has seen a
    // message: it is removed, and mentionsConfirmed() is called. Whatever changes the messages or
    // their count calls dialogChanged(), once; in groups or not.
    void addAtMeMessages(const QList<qint64> &msgIds);
    Q_INVOKABLE void confirmAtMeMessage(qint64 msgId);
    Q_INVOKABLE void confirmAllAtMeMessages();
    /// Ids that do not mention the user are skipped; nothing is called when no other is left. `all`
    /// is passed on to mentionsConfirmed(); the two functions above give false.
    void confirmAtMeMessages(const QList<qint64> &msgIds, bool all);
    /// Messages that are gone; nothing is confirmed.
    void removeAtMeMessages(const QList<qint64> &msgIds);
    /// The count that a server gives, until the messages next change. In groups only. With `notify`
    /// a change calls dialogChanged().
    void setAtMeMessageCount(int count, bool notify);
    /// Steps `msgModel` to the next mention, after the last one to the first.
    Q_INVOKABLE void loadAtMeMessage(MessageModelBase *msgModel);

    // Messages with reactions to look at; as above.
    void addReactedMessage(qint64 msgId);
    /// The keys of the map; the values are not looked at.
    void setReactedMessages(const QMap<qint64, bool> &messages);
    Q_INVOKABLE void confirmReactedMessage(qint64 msgId);
    Q_INVOKABLE void confirmAllReactedMessages();
    void confirmReactedMessages(const QList<qint64> &msgIds);
    /// Also reports them to AccountManager::reactionBeRead().
    void removeReactedMessages(const QList<qint64> &msgIds);
    /// Without a call of dialogChanged().
    void removeAllReactedMessages();
    void setReactedMessageCount(int count, bool notify);
    Q_INVOKABLE void loadReactedMessage(MessageModelBase *msgModel);

    /// Forgets mentions and reactions of messages before `upTo`, an id; of all when it is 0 or
    /// less, or when there is none from there on. True when there was anything; then, with
    /// `notify`, dialogChanged() is called once.
    bool removeAllMentions(qint64 upTo, bool notify);

    /// Takes over both sets as getMentionIdData() packed them; what a newer version may have put
    /// behind them is passed over. Damaged bytes change nothing and are logged; empty ones change
    /// nothing. May be called before setIsGroup().
    void setMentionIdData(const QByteArray &data);

Q_SIGNALS:
    // The class that overrides name() or hasInappropriateNews() emits their signals.
    void displayChanged(bool display);
    void muteChanged(bool mute);
    void sortTimeChanged(qint64 sortTime);
    void hasInappropriateNewsChanged();
    void mutualContactChanged(bool mutualContact);
    void archivedChanged(bool archived);
    void anonymousChanged(bool anonymous);
    void atMeMessageCountChanged(int atMeMessageCount, int oldCount);
    void unreadChanged(int unread, int oldCount);
    void currentUserIdChanged(qint64 currentUserId);
    void reactedMessageCountChanged(int reactedMessageCount, int oldCount);
    void tagIdsChanged();
    void nameChanged();
    void isQuickReplyChanged();
    /// The dialog is being destroyed. What the derived class had is gone already.
    void startDestroy();

protected:
    /// Both sets for storage, as QDataStream writes them: the number of mentions (32 bits) and
    /// their ids in ascending order (64 bits each), then the same for the reactions.
    QByteArray getMentionIdData() const;

private:
    // Each true when the count has changed.
    bool replaceAtMeCount(int count);
    bool replaceReactedCount(int count);
    bool countAtMe();
    bool countReacted();

    QString m_dialogId;
    qint64 m_targetId = 0;
    qint64 m_sortTime = 0;
    qint64 m_currentUserId = 0;
    QStringList m_tagIds;
    std::unique_ptr<IdSet> m_atMe; ///< null until there was one
    std::unique_ptr<IdSet> m_reacted;
    qint64 m_atMeCursor = 0;
    qint64 m_reactedCursor = 0;
    int m_type = 0;
    int m_unread = 0;
    int m_atMeMessageCount = 0;
    int m_reactedMessageCount = 0;
    bool m_isGroup = false;
    bool m_display = true;
    bool m_mute = false;
    bool m_mutualContact = false;
    bool m_archived = false;
    bool m_anonymous = false;
    bool m_isQuickReply = false;
    bool m_atClear = false;
    bool m_isActive = false;
};
