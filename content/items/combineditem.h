#pragma once

#include "content/contentitem.h"

#include <QPointer>
#include <QStringList>

#include <functional>
#include <optional>

/// One of the messages that were combined into one.
struct MODELBASE_EXPORT CombinedEntry {
    Q_GADGET
    QML_VALUE_TYPE(combinedEntry)
    Q_PROPERTY(qint64 messageId MEMBER messageId)
    Q_PROPERTY(qint64 senderId MEMBER senderId)
    Q_PROPERTY(bool isGroup MEMBER isGroup)
    Q_PROPERTY(QString senderName MEMBER senderName)
    Q_PROPERTY(qint64 time MEMBER time)
    Q_PROPERTY(ContentItem *content READ contentItem)

public:
    ContentItem *contentItem() const { return content.toStrongRef().data(); }

    qint64 messageId = 0;
    qint64 senderId = 0;  ///< of a user or group
    bool isGroup = false; ///< sent in the name of a group or channel
    QString senderName;   ///< empty while it is unknown; see CombinedItem::setSenderName()
    qint64 time = 0;      ///< as the server tells it
    /// The combined item's own, and gone with it: what QML keeps of this value keeps no content.
    /// Null for what could not be decrypted or shown.
    QWeakPointer<ContentItem> content;

    bool operator==(const CombinedEntry &) const = default;
};

/// Several messages, combined into one and passed on. Made from im.Message, since their contents
/// travel encrypted inside the message and not in its body: see makeMessageItem(). Combined
/// messages may hold combined messages, down to four levels and 2000 contents in all; what is
/// beyond is left out with a log line.
///
/// Stored keys: "total", "entries" (a list of maps "messageId", "senderId", "isGroup",
/// "senderName", "time", "item"). restoreContent() reads it back.
class MODELBASE_EXPORT CombinedItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    /// The messages in their order: a list of CombinedEntry.
    Q_PROPERTY(QVariantList entries READ entryVariants NOTIFY entriesChanged)
    Q_PROPERTY(int count READ count NOTIFY entriesChanged)
    Q_PROPERTY(int total READ total NOTIFY totalChanged)
    Q_PROPERTY(QString title READ title NOTIFY entriesChanged)
    Q_PROPERTY(QStringList summary READ summary NOTIFY entriesChanged)

public:
    /// Decrypts a message and makes its content; null when that cannot be done.
    using Opener = std::function<QSharedPointer<ContentItem>(const im::Message &message)>;
    using NameOf = std::function<std::optional<QString>(qint64 senderId, bool isGroup)>;

    /// From im.Message.combined_messages. `open` is called, before this returns, for each that is
    /// not itself combined.
    CombinedItem(const im::Message &message, const Opener &open, int source, AccountBase *account);
    CombinedItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    CombinedItem(int source, AccountBase *account);
    explicit CombinedItem(const CombinedItem *other);
    ~CombinedItem() override;

    const QList<CombinedEntry> &entries() const { return m_entries; }
    int count() const { return int(m_entries.size()); }
    /// How many messages were combined; more than entries() when not all of them came along.
    int total() const { return m_total; }
    /// The senders' names, each once, as far as they are known, joined with ", ".
    QString title() const;
    /// The first few messages as "name: text", a line each.
    QStringList summary() const;
    /// Names a sender, here and in the combined messages inside.
    Q_INVOKABLE void setSenderName(qint64 senderId, bool isGroup, const QString &name);
    /// Names all senders at once, here and inside. True when that changed something.
    /// @param nameOf the name of a user or group; nothing leaves the one there is
    bool setSenderNames(const NameOf &nameOf);
    /// Takes over the messages that came later, all of them anew.
    void setMessage(const im::Message &message, const Opener &open);

    QList<QSharedPointer<ContentItem>> innerItems() const override;
    /// Whom the messages mentioned where they were written is not mentioned here.
    QMap<QString, QVariant> mentionUsers() const override { return {}; }
    QList<qint64> mentionUserIds() const override { return {}; }

    void serialize(QMap<QString, QVariant> &map) const override;
    /// There is no such body; the record becomes empty, with a log line.
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;

    /// A line with the title, the summary, and a line that opens all of them.
    QSize calcContentSize(int &lineCount, int maxWidth, int maxRowCount, bool inThread) override;

Q_SIGNALS:
    void entriesChanged();
    void totalChanged();

private:
    QVariantList entryVariants() const;
    void read(const im::Message &message, const Opener &open);
    void read(const QMap<QString, QVariant> &map);
    QList<QSharedPointer<ContentItem>> clear();
    void hold(CombinedEntry &entry, const QSharedPointer<ContentItem> &content);

    QPointer<AccountBase> m_account;
    QList<CombinedEntry> m_entries;
    QList<QSharedPointer<ContentItem>> m_contents; // what the entries have
    int m_total = 0;
};
