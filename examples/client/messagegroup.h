#pragma once

#include <QList>
#include <QSharedPointer>
#include <QString>

class AccountBase;
class ContentItem;
struct KeptMessage;

/// Consecutive messages that were sent together and are shown as one: the pictures of an album,
/// several files.
class MessageGroup
{
public:
    /// Whether a message belongs to the group being collected.
    bool has(const KeptMessage &message) const;
    /// Adds the message, beginning another group if it does not belong to this one.
    void add(const KeptMessage &message, const QSharedPointer<ContentItem> &item);
    /// The item of the group, which starts over; see makeGroupItem().
    QSharedPointer<ContentItem> take(AccountBase *account);

private:
    QString m_dialogId;
    int m_number = 0; // 0: no group
    QList<QSharedPointer<ContentItem>> m_members;
};
