#include "client/window/clientdialog.h"

#include "client/clientaccount.h"
#include "client/window/messagelistmodel.h"
#include "client/window/session.h"
#include "imlog/imlog.h"

#include <utility>

ClientDialog::ClientDialog(Session *session, const KeptDialog &kept)
    : DialogBase(session), m_session(session), m_preview(kept.preview)
{
    setDialogId(kept.id);
    setIsGroup(kept.id.startsWith(u'G'));
    setTargetId(session->account()->getTargetId(kept.id));
    setCurrentUserId(session->account()->accountId());
    setSortTime(kept.sortTime);
    setUnread(kept.unread);
    setMute(kept.muted);
    setArchived(kept.archived);
    setTagIds(kept.tags);
    setMentionIdData(kept.mentions);
    connect(this, &DialogBase::muteChanged, this, &ClientDialog::changed);
    connect(this, &DialogBase::archivedChanged, this, &ClientDialog::changed);
    connect(this, &DialogBase::tagIdsChanged, this, &ClientDialog::changed);
    connect(this, &DialogBase::unreadChanged, this, &ClientDialog::changed);
    connect(this, &DialogBase::sortTimeChanged, this, &ClientDialog::changed);
    connect(this, &ClientDialog::previewChanged, this, &ClientDialog::changed);
}

AccountBase *ClientDialog::account() const
{
    return m_session->account();
}

QString ClientDialog::name() const
{
    return isGroup() ? m_session->name(dialogId()) : m_session->userName(targetId());
}

void ClientDialog::jumpToMessage(qint64 msgId, MessageModelBase *msgModel)
{
    if (auto *messages = qobject_cast<MessageListModel *>(msgModel))
        messages->showMessage(msgId);
}

// A client with a server sends it there, for the account's other devices.

void ClientDialog::mentionsConfirmed(const QList<qint64> &msgIds, bool)
{
    ImLog::info(QStringLiteral("Dialog %1: %2 mentions seen.").arg(dialogId()).arg(msgIds.size()));
}

void ClientDialog::reactionsConfirmed(const QList<qint64> &msgIds, bool all)
{
    ImLog::info(QStringLiteral("Dialog %1: %2 reactions seen.")
                    .arg(dialogId(), all ? QStringLiteral("all") : QString::number(msgIds.size())));
}

KeptDialog ClientDialog::kept() const
{
    return {.id = dialogId(),
            .sortTime = sortTime(),
            .unread = unread(),
            .muted = mute(),
            .archived = archived(),
            .tags = tagIds(),
            .mentions = getMentionIdData(),
            .preview = m_preview};
}

void ClientDialog::setPreview(const QString &preview)
{
    if (std::exchange(m_preview, preview) != preview)
        Q_EMIT previewChanged();
}

void ClientDialog::setTyping(const QString &typing)
{
    if (std::exchange(m_typing, typing) != typing)
        Q_EMIT typingChanged();
}

void ClientDialog::toggleTag(const QString &tag)
{
    QStringList tags = tagIds();
    if (!tags.removeOne(tag))
        tags.append(tag);
    setTagIds(tags);
}
