#pragma once

#include "dialog/dialogbase.h"

#include <QDataStream>
#include <QIODevice>
#include <QStringList>

#include <utility>

/// A dialog as a small application would write it. It notes what is asked of it.
class FakeDialog : public DialogBase
{
public:
    using DialogBase::getMentionIdData;

    explicit FakeDialog(AccountBase *account = nullptr) : m_account(account) { setIsGroup(true); }

    AccountBase *account() const override { return m_account; }
    void jumpToMessage(qint64 msgId, MessageModelBase *) override { jumps.append(msgId); }
    void mentionsConfirmed(const QList<qint64> &msgIds, bool all) override
    {
        note(QStringLiteral("mentions"), msgIds, all);
    }
    void reactionsConfirmed(const QList<qint64> &msgIds, bool all) override
    {
        note(QStringLiteral("reactions"), msgIds, all);
    }
    void dialogChanged() override { calls.append(QStringLiteral("changed")); }

    /// What was called since the last time.
    QStringList takeCalls() { return std::exchange(calls, {}); }

    QStringList calls;
    QList<qint64> jumps;

private:
    void note(const QString &name, const QList<qint64> &msgIds, bool all)
    {
        QStringList words{name};
        for (const qint64 id : msgIds)
            words.append(QString::number(id));
        calls.append(words.join(u' ') + (all ? QStringLiteral(" all") : QString()));
    }

    AccountBase *m_account;
};

/// The ids of mentions and reactions, packed as QDataStream itself writes them.
inline QByteArray packedIds(const QList<qint64> &mentions, const QList<qint64> &reactions)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    for (const QList<qint64> &ids : {mentions, reactions}) {
        out << qint32(ids.size());
        for (const qint64 id : ids)
            out << id;
    }
    return data;
}
