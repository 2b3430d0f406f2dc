#pragma once

#include "content/contactbase.h"
#include "content/contentitem.h"
#include "i18n/languagefollower.h"

#include <QList>
#include <QPointer>

#include <memory>

namespace im::content
{
class SystemAlert;
}

/// What happened in a chat, as a sentence between its messages: who joined, what was renamed.
///
/// The item keeps the alert's protocol record whole, stored under "alert" (Base64); a system item's
/// map has no "type". Older maps have "sysType" instead, the alert's type alone, and perhaps a text
/// under "content". The owner can give the item the application's own objects for the people, whose
/// names, as the account knows them, then stand in the sentence; they are not owned, not stored,
/// and may go away at any time.
class MODELBASE_EXPORT SystemItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 alertType READ alertType NOTIFY alertTypeChanged)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(qint32 dialogFlags READ dialogFlags NOTIFY dialogFlagsChanged)
    Q_PROPERTY(bool restrictMode READ restrictMode NOTIFY dialogFlagsChanged)
    Q_PROPERTY(qint64 dismissAt READ dismissAt NOTIFY dismissAtChanged)
    Q_PROPERTY(qint32 limitCount READ limitCount NOTIFY limitCountChanged)
    Q_PROPERTY(qint32 limitDays READ limitDays NOTIFY limitDaysChanged)
    Q_PROPERTY(qint32 mediaType READ mediaType WRITE setMediaType NOTIFY mediaTypeChanged)
    Q_PROPERTY(qint32 time READ time NOTIFY timeChanged)
    Q_PROPERTY(qint32 topicUpdateType READ topicUpdateType WRITE setTopicUpdateType NOTIFY
                   topicUpdateTypeChanged)
    Q_PROPERTY(ContactBase *sender READ sender WRITE setSender NOTIFY senderChanged)
    Q_PROPERTY(QList<QObject *> targets READ targets WRITE setTargets NOTIFY targetsChanged)
    Q_PROPERTY(QString allTargets READ allTargets NOTIFY allTargetsChanged)
    Q_PROPERTY(QObject *wallpaper READ wallpaper WRITE setWallpaper NOTIFY wallpaperChanged)

public:
    /// What has become of a topic.
    enum TopicUpdate : qint32 {
        TopicUnchanged,
        TopicCreated,
        TopicRenamed,
        TopicClosed,
        TopicReopened,
        TopicArchived,
        TopicUnarchived,
        TopicMoved,
        TopicDeleted,
    };
    Q_ENUM(TopicUpdate)

    SystemItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    SystemItem(const im::content::Content &content, int source, AccountBase *account);
    SystemItem(int source, AccountBase *account);
    explicit SystemItem(const SystemItem *other);
    ~SystemItem() override;

    const im::content::SystemAlert &info() const { return *m_info; }
    void setInfo(const im::content::SystemAlert &info);
    /// Whether an alert has all parts of its sentence: a type that this version knows, who did
    /// it, whom or what it is about. The sentence of any other is a general one ("Someone joined").
    static bool checkSystemAlert(const im::content::SystemAlert &alert);

    /// The whole sentence in the application's language, with all names filled in. It never is
    /// empty: an alert of a newer protocol has a sentence of its own.
    QString text() const;

    // From the record.

    /// An im.content.SystemAlert.Type, or a number newer than this client.
    qint32 alertType() const;
    /// The restricted mode's switches, as they were set for the dialog.
    qint32 dialogFlags() const;
    /// Whether the dialog is restricted from now on: any of dialogFlags() is set.
    bool restrictMode() const { return dialogFlags() != 0; }
    /// When the group will dissolve: milliseconds since 1970, UTC; 0 or less: never.
    qint64 dismissAt() const;
    /// How many messages the chat keeps, and for how many days; 0 or less: no limit.
    qint32 limitCount() const;
    qint32 limitDays() const;
    /// After how many seconds messages delete themselves; 0 or less: never.
    qint32 time() const;
    /// What has expired: a value of im.Message.MediaType. Setting it changes the record.
    qint32 mediaType() const;
    void setMediaType(qint32 mediaType);
    /// A TopicUpdate: the difference between the record's topics, of several the first of deleted,
    /// created, renamed, closed, archived, moved; or what was set, which is kept in memory only,
    /// until the record changes.
    qint32 topicUpdateType() const;
    void setTopicUpdateType(qint32 topicUpdateType);

    // Objects of the application.

    /// Who did it.
    ContactBase *sender() const { return m_sender; }
    void setSender(ContactBase *sender);
    /// Whom it was done to, in the order of the record's targets; null where one has gone away.
    QList<QObject *> targets() const;
    void setTargets(const QList<QObject *> &targets);
    /// The names (property "name") of targets(), joined by ", ", without the empty ones.
    QString allTargets() const;
    QObject *wallpaper() const { return m_wallpaper; }
    void setWallpaper(QObject *wallpaper);

    /// Takes over what another item of the same message knows: its record, unless that has no type
    /// and this one's has, and those objects of the application that it has. True when that changed
    /// something; false also for null and for an item of another kind.
    bool update(const QSharedPointer<ContentItem> &other);

    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    /// A map without a record, or with a damaged one, leaves the record alone.
    void deserialize(const QMap<QString, QVariant> &map) override;
    using ContentItem::setContent;
    void setContent(const im::content::Content &content) override;
    /// Nothing: nobody wrote the sentence, and it reads differently in every language.
    QString getKeyword() const override { return {}; }
    /// The sentence as one centred block, a little smaller than messages are written, with its
    /// padding.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

Q_SIGNALS:
    void alertTypeChanged();
    /// needRecalcSize() follows.
    void textChanged();
    void dialogFlagsChanged();
    void dismissAtChanged();
    void limitCountChanged();
    void limitDaysChanged();
    void mediaTypeChanged();
    void timeChanged();
    void topicUpdateTypeChanged();
    void senderChanged();
    void targetsChanged();
    void allTargetsChanged();
    void wallpaperChanged();

private:
    bool hasOwnText() const;
    void retranslate();
    void followNames();
    void unfollowNames();

    std::unique_ptr<im::content::SystemAlert> m_info; // never null
    QPointer<AccountBase> m_account;
    QPointer<ContactBase> m_sender;
    QPointer<QObject> m_wallpaper;
    QList<QPointer<QObject>> m_targets;
    qint32 m_topicUpdateType = -1; // below 0: not set
    LanguageFollower m_follower{
        this, [](QObject *item) { static_cast<SystemItem *>(item)->retranslate(); }};
};
