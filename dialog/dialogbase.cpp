#include "dialog/dialogbase.h"

#include "account/accountbase.h"
#include "account/accountmanager.h"
#include "core/logs_p.h"
#include "dialog/idset_p.h"
#include "dialog/messagemodelbase.h"
#include "imlog/imlog.h"

#include <QJSEngine>
#include <QtEndian>

#include <limits>
#include <utility>

namespace
{

using Ids = std::unique_ptr<IdSet>;

Ids &filled(Ids &ids)
{
    if (!ids)
        ids = std::make_unique<IdSet>();
    return ids;
}

bool isEmpty(const Ids &ids)
{
    return !ids || ids->isEmpty();
}

int sizeOf(const Ids &ids)
{
    return ids ? int(ids->size()) : 0;
}

QList<qint64> listOf(const Ids &ids)
{
    return ids ? ids->ids() : QList<qint64>();
}

/// Removes those of `msgIds` that are in the set, and gives them back.
QList<qint64> taken(const Ids &ids, const QList<qint64> &msgIds)
{
    QList<qint64> found;
    for (qint64 id : msgIds) {
        if (ids && ids->remove(id))
            found.append(id);
    }
    return found;
}

void forgetBefore(const Ids &ids, qint64 upTo)
{
    if (isEmpty(ids))
        return;
    if (upTo > 0 && ids->last() >= upTo)
        ids->removeBelow(upTo);
    else
        *ids = IdSet();
}

std::optional<qint64> next(const Ids &ids, qint64 cursor)
{
    if (isEmpty(ids))
        return std::nullopt;
    const auto following = ids->after(cursor);
    return following ? following : ids->first();
}

// The packed form: what QDataStream makes of a number and its ids, a block at a time.

char *pack(const Ids &ids, char *to)
{
    qToBigEndian<qint32>(sizeOf(ids), to);
    to += sizeof(qint32);
    if (ids) {
        ids->forEachRun([&to](const qint64 *run, std::size_t size) {
            qToBigEndian<qint64>(run, qsizetype(size), to);
            to += size * sizeof(qint64);
        });
    }
    return to;
}

/// Null when the bytes end before the set does.
Ids unpack(QByteArrayView &bytes)
{
    if (bytes.size() < qsizetype(sizeof(qint32)))
        return nullptr;
    const qint64 count = qFromBigEndian<qint32>(bytes.data());
    bytes = bytes.sliced(sizeof(qint32));
    const qint64 size = count * qint64(sizeof(qint64));
    if (count < 0 || size > bytes.size())
        return nullptr;
    std::vector<qint64> ids(static_cast<std::size_t>(count));
    qFromBigEndian<qint64>(bytes.data(), qsizetype(count), ids.data());
    bytes = bytes.sliced(size);
    return std::make_unique<IdSet>(std::move(ids));
}

} // namespace

DialogBase::DialogBase(QObject *parent) : QObject(parent)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

DialogBase::~DialogBase()
{
    Q_EMIT startDestroy();
}

bool DialogBase::mute() const
{
    return m_mute;
}

bool DialogBase::isSuperGroup() const
{
    return false;
}

QString DialogBase::name() const
{
    return {};
}

bool DialogBase::isReplies() const
{
    return false;
}

bool DialogBase::isImUser() const
{
    return false;
}

bool DialogBase::isSupport() const
{
    return false;
}

bool DialogBase::isMentions() const
{
    return false;
}

bool DialogBase::isStarred() const
{
    return false;
}

bool DialogBase::hasInappropriateNews() const
{
    return false;
}

bool DialogBase::isMyStorage() const
{
    const AccountBase *owner = m_isGroup ? nullptr : account();
    return owner && owner->accountId() == m_targetId;
}

QList<qint64> DialogBase::atMeMessages() const
{
    return listOf(m_atMe);
}

QList<qint64> DialogBase::reactedMessages() const
{
    return listOf(m_reacted);
}

void DialogBase::setDisplay(bool display)
{
    if (std::exchange(m_display, display) != display)
        Q_EMIT displayChanged(display);
}

void DialogBase::setMutualContact(bool mutualContact)
{
    if (std::exchange(m_mutualContact, mutualContact) != mutualContact)
        Q_EMIT mutualContactChanged(mutualContact);
}

void DialogBase::setArchived(bool archived)
{
    if (std::exchange(m_archived, archived) != archived)
        Q_EMIT archivedChanged(archived);
}

void DialogBase::setMute(bool mute)
{
    if (std::exchange(m_mute, mute) != mute)
        Q_EMIT muteChanged(mute);
}

void DialogBase::setAnonymous(bool anonymous)
{
    if (std::exchange(m_anonymous, anonymous) != anonymous)
        Q_EMIT anonymousChanged(anonymous);
}

void DialogBase::setIsQuickReply(bool isQuickReply)
{
    if (std::exchange(m_isQuickReply, isQuickReply) != isQuickReply)
        Q_EMIT isQuickReplyChanged();
}

void DialogBase::setSortTime(qint64 sortTime)
{
    if (std::exchange(m_sortTime, sortTime) != sortTime)
        Q_EMIT sortTimeChanged(sortTime);
}

void DialogBase::setUnread(int unread)
{
    if (const int old = std::exchange(m_unread, unread); old != unread)
        Q_EMIT unreadChanged(unread, old);
}

void DialogBase::setCurrentUserId(qint64 currentUserId)
{
    if (std::exchange(m_currentUserId, currentUserId) != currentUserId)
        Q_EMIT currentUserIdChanged(currentUserId);
}

void DialogBase::setTagIds(const QStringList &tagIds)
{
    if (tagIds == m_tagIds)
        return;
    m_tagIds = tagIds;
    Q_EMIT tagIdsChanged();
}

// Counts

void DialogBase::setAtMeMessageCount(int count, bool notify)
{
    if (m_isGroup && replaceAtMeCount(count) && notify)
        dialogChanged();
}

void DialogBase::setReactedMessageCount(int count, bool notify)
{
    if (replaceReactedCount(count) && notify)
        dialogChanged();
}

bool DialogBase::replaceAtMeCount(int count)
{
    const int old = std::exchange(m_atMeMessageCount, count);
    if (old != count)
        Q_EMIT atMeMessageCountChanged(count, old);
    return old != count;
}

bool DialogBase::replaceReactedCount(int count)
{
    const int old = std::exchange(m_reactedMessageCount, count);
    if (old != count)
        Q_EMIT reactedMessageCountChanged(count, old);
    return old != count;
}

bool DialogBase::countAtMe()
{
    return replaceAtMeCount(m_isGroup ? sizeOf(m_atMe) : 0);
}

bool DialogBase::countReacted()
{
    return replaceReactedCount(sizeOf(m_reacted));
}

void DialogBase::setIsGroup(bool isGroup)
{
    // What the server counts stays until the messages next change.
    if (std::exchange(m_isGroup, isGroup) != isGroup)
        countAtMe();
}

// Mentions

void DialogBase::addAtMeMessages(const QList<qint64> &msgIds)
{
    bool isNew = false;
    for (qint64 id : msgIds)
        isNew |= filled(m_atMe)->insert(id);
    if (countAtMe() || isNew)
        dialogChanged();
}

void DialogBase::confirmAtMeMessage(qint64 msgId)
{
    confirmAtMeMessages({msgId}, false);
}

void DialogBase::confirmAllAtMeMessages()
{
    confirmAtMeMessages(atMeMessages(), false);
}

void DialogBase::confirmAtMeMessages(const QList<qint64> &msgIds, bool all)
{
    if (!m_isGroup)
        return;
    const QList<qint64> confirmed = taken(m_atMe, msgIds);
    if (confirmed.isEmpty())
        return;
    countAtMe();
    dialogChanged();
    mentionsConfirmed(confirmed, all);
}

void DialogBase::removeAtMeMessages(const QList<qint64> &msgIds)
{
    const bool isFewer = !taken(m_atMe, msgIds).isEmpty();
    if (countAtMe() || isFewer)
        dialogChanged();
}

void DialogBase::loadAtMeMessage(MessageModelBase *msgModel)
{
    const auto id = next(m_atMe, m_atMeCursor);
    if (!id)
        return;
    m_atMeCursor = *id;
    if (*id >= 1)
        jumpToMessage(*id, msgModel);
    else
        qCDebug(lcModel, "Jump to a invalid at me message ID.");
}

// Reactions

void DialogBase::addReactedMessage(qint64 msgId)
{
    const bool isNew = filled(m_reacted)->insert(msgId);
    if (countReacted() || isNew)
        dialogChanged();
}

void DialogBase::setReactedMessages(const QMap<qint64, bool> &messages)
{
    const bool isOther = messages.keys() != reactedMessages();
    m_reacted =
        std::make_unique<IdSet>(std::vector<qint64>(messages.keyBegin(), messages.keyEnd()));
    if (countReacted() || isOther)
        dialogChanged();
}

void DialogBase::confirmReactedMessage(qint64 msgId)
{
    confirmReactedMessages({msgId});
}

void DialogBase::confirmReactedMessages(const QList<qint64> &msgIds)
{
    QList<qint64> confirmed;
    for (qint64 id : msgIds) {
        if (m_reacted && m_reacted->contains(id))
            confirmed.append(id);
    }
    if (confirmed.isEmpty())
        return;
    removeReactedMessages(confirmed);
    reactionsConfirmed(confirmed, false);
}

void DialogBase::confirmAllReactedMessages()
{
    setReactedMessages({});
    reactionsConfirmed({}, true);
}

void DialogBase::removeReactedMessages(const QList<qint64> &msgIds)
{
    const bool isFewer = !taken(m_reacted, msgIds).isEmpty();
    if (countReacted() || isFewer)
        dialogChanged();
    if (const AccountBase *owner = account())
        Q_EMIT AccountManager::getInstance()->reactionBeRead(owner->accountId(), m_dialogId,
                                                             msgIds);
}

void DialogBase::removeAllReactedMessages()
{
    m_reacted.reset();
    setReactedMessageCount(0, false);
}

void DialogBase::loadReactedMessage(MessageModelBase *msgModel)
{
    const auto id = next(m_reacted, m_reactedCursor);
    if (!id)
        return;
    m_reactedCursor = *id;
    if (*id >= 1)
        jumpToMessage(*id, msgModel);
    else
        qCDebug(lcModel, "Jump to a invalid at me message ID.");
}

// Both

bool DialogBase::removeAllMentions(qint64 upTo, bool notify)
{
    const bool had = !isEmpty(m_atMe) || !isEmpty(m_reacted);
    forgetBefore(m_atMe, upTo);
    forgetBefore(m_reacted, upTo);
    countAtMe();
    countReacted();
    if (notify && had)
        dialogChanged();
    return had;
}

QByteArray DialogBase::getMentionIdData() const
{
    const qint64 ids = qint64(sizeOf(m_atMe)) + sizeOf(m_reacted);
    QByteArray data(2 * sizeof(qint32) + ids * sizeof(qint64), Qt::Uninitialized);
    pack(m_reacted, pack(m_atMe, data.data()));
    return data;
}

void DialogBase::setMentionIdData(const QByteArray &data)
{
    if (data.isEmpty())
        return;
    QByteArrayView bytes(data);
    Ids atMe = unpack(bytes);
    Ids reacted = atMe ? unpack(bytes) : nullptr;
    if (!reacted) {
        ImLog::error(lcModel(),
                     QStringLiteral("The stored mentions of dialog %1 are damaged; "
                                    "those that are held stay.")
                         .arg(m_dialogId));
        return;
    }
    m_atMe = std::move(atMe);
    m_reacted = std::move(reacted);
    countAtMe();
    countReacted();
}
