#pragma once

#include <QList>
#include <QSharedPointer>
#include <QString>

class AccountBase;
class ContentItem;
struct KeptMessage;

/// Messages that were sent together, one after the other, and are shown as one: the pictures of an
/// album, several files.
class MessageGroup
{
public:
    /// Whether a message belongs to the group that is being collected.
    bool has(const KeptMessage &message) const;
    /// Begins another group where it does not.
    void add(const KeptMessage &message, const QSharedPointer<ContentItem> &item);
    /// The item of the group, which begins anew; see makeGroupItem().
    QSharedPointer<ContentItem> take(AccountBase *account);

private:
    QString m_dialogId;
    int m_number = 0; // 0: no group
    QList<QSharedPointer<ContentItem>> m_members;
};
