#include "account/accountmanager.h"
#include "dialog/dialogbase.h"
#include "dialog/messagemodelbase.h"
#include "support/fakeaccount.h"
#include "support/signallog.h"

#include <QDataStream>
#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace
{

class NoMessages : public MessageModelBase
{
public:
    int rowCount(const QModelIndex & = {}) const override { return 0; }
    QVariant data(const QModelIndex &, int) const override { return {}; }
};

class Dialog : public DialogBase
{
    Q_OBJECT

public:
    using DialogBase::getMentionIdData;

    explicit Dialog(AccountBase *account = nullptr) : m_account(account) { setIsGroup(true); }

    AccountBase *account() const override { return m_account; }
    void jumpToMessage(qint64 msgId, MessageModelBase *) override { jumps.append(msgId); }
    void mentionsConfirmed(const QList<qint64> &msgIds, bool all) override
    {
        note(u"mentions"_s, msgIds, all);
    }
    void reactionsConfirmed(const QList<qint64> &msgIds, bool all) override
    {
        note(u"reactions"_s, msgIds, all);
    }
    void dialogChanged() override { calls.append(u"changed"_s); }

    /// What was called since the last time.
    QStringList takeCalls() { return std::exchange(calls, {}); }

    QStringList calls;
    QList<qint64> jumps;

private:
    void note(const QString &name, const QList<qint64> &msgIds, bool all)
    {
        QStringList words{name};
        for (qint64 id : msgIds)
            words.append(QString::number(id));
        calls.append(words.join(u' ') + (all ? u" all"_s : QString()));
    }

    AccountBase *m_account;
};

/// The packed form as QDataStream itself writes it.
QByteArray packed(const QList<qint64> &mentions, const QList<qint64> &reactions)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    for (const QList<qint64> &ids : {mentions, reactions}) {
        out << qint32(ids.size());
        for (qint64 id : ids)
            out << id;
    }
    return data;
}

} // namespace

class TestDialogBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void confirmsMentions()
    {
        Dialog dialog;
        dialog.addAtMeMessages({5, 3, 9, 7});
        dialog.takeCalls();
        dialog.confirmAtMeMessage(4);
        QCOMPARE(dialog.takeCalls(), QStringList());
        dialog.confirmAtMeMessage(5);
        QCOMPARE(dialog.takeCalls(), QStringList({u"changed"_s, u"mentions 5"_s}));
        dialog.confirmAtMeMessages({9, 5, 3}, false);
        QCOMPARE(dialog.takeCalls(), QStringList({u"changed"_s, u"mentions 9 3"_s}));
        QCOMPARE(dialog.atMeMessages(), QList<qint64>{7});
        dialog.confirmAllAtMeMessages();
        QCOMPARE(dialog.takeCalls(), QStringList({u"changed"_s, u"mentions 7"_s}));
        dialog.confirmAllAtMeMessages();
        QCOMPARE(dialog.takeCalls(), QStringList());

        Dialog chat;
        chat.setIsGroup(false);
        chat.setMentionIdData(packed({1, 2}, {}));
        chat.confirmAtMeMessage(1);
        chat.confirmAllAtMeMessages();
        QCOMPARE(chat.atMeMessages(), QList<qint64>({1, 2}));
        QCOMPARE(chat.atMeMessageCount(), 0);
        QCOMPARE(chat.takeCalls(), QStringList());

        // What a dialog is may be told after what was stored of it.
        QSignalSpy counts(&chat, &DialogBase::atMeMessageCountChanged);
        chat.setIsGroup(true);
        QCOMPARE(counts.value(0), QVariantList({2, 0}));
        chat.setAtMeMessageCount(5, false);
        chat.setIsGroup(true);
        QCOMPARE(chat.atMeMessageCount(), 5);
        chat.setIsGroup(false);
        QCOMPARE(counts.value(2), QVariantList({0, 5}));
        QCOMPARE(chat.takeCalls(), QStringList());
    }

    /// Whatever changes the sets is saved, also where no count tells of it; and nothing else is.
    void changedSetsAreSaved()
    {
        FakeAccount account;
        Dialog dialog(&account);
        dialog.setIsGroup(false);
        dialog.setMentionIdData(packed({1}, {1, 2}));
        const std::pair<std::function<void()>, bool> changes[] = {
            {[&] { dialog.addAtMeMessages({3}); }, true},
            {[&] {
                 dialog.addAtMeMessages({1, 3});
             },
             false},
            {[&] { dialog.removeAtMeMessages({3}); }, true},
            {[&] { dialog.removeAtMeMessages({3}); }, false},
            {[&] {
                 dialog.setReactedMessages({{3, true}, {4, true}});
             },
             true},
            {[&] {
                 dialog.setReactedMessages({{4, false}, {3, false}});
             },
             false},
            {[&] { dialog.setReactedMessageCount(3, false); }, false},
            {[&] { dialog.addReactedMessage(5); }, true},
            {[&] { dialog.setReactedMessageCount(2, false); }, false},
            {[&] { dialog.removeReactedMessages({5}); }, true},
            {[&] { dialog.removeReactedMessages({5}); }, false},
            {[&] { dialog.setIsGroup(true); }, false},
            {[&] { dialog.setAtMeMessageCount(2, false); }, false},
            {[&] { dialog.addAtMeMessages({7}); }, true},
            {[&] { dialog.setAtMeMessageCount(1, false); }, false},
            {[&] { dialog.confirmAtMeMessage(7); }, true},
        };
        int at = 0;
        for (const auto &[change, isSaved] : changes) {
            change();
            QVERIFY2(dialog.takeCalls().count(u"changed"_s) == int(isSaved),
                     qPrintable(QString::number(at)));
            ++at;
        }
        AccountManager::releaseInstance();
    }

    void reportsReactionsThatWereRead()
    {
        FakeAccount account;
        account.setAccountId(42);
        Dialog dialog(&account);
        dialog.setDialogId(u"G-7"_s);
        QSignalSpy read(AccountManager::getInstance(), &AccountManager::reactionBeRead);
        dialog.setReactedMessages({{3, true}, {1, false}, {2, true}});
        QCOMPARE(dialog.reactedMessageCount(), 3);
        dialog.takeCalls();
        dialog.removeReactedMessages({9});
        QCOMPARE(read.takeFirst(),
                 QVariantList({42, u"G-7"_s, QVariant::fromValue(QList<qint64>{9})}));
        QCOMPARE(dialog.takeCalls(), QStringList());
        dialog.confirmReactedMessage(9);
        QCOMPARE(read.size(), 0);
        dialog.confirmReactedMessage(2);
        QCOMPARE(read.size(), 1);
        QCOMPARE(dialog.takeCalls(), QStringList({u"changed"_s, u"reactions 2"_s}));
        dialog.confirmAllReactedMessages();
        QCOMPARE(dialog.takeCalls(), QStringList({u"changed"_s, u"reactions all"_s}));
        dialog.addReactedMessage(8);
        dialog.takeCalls();
        dialog.removeAllReactedMessages();
        QCOMPARE(dialog.reactedMessageCount(), 0);
        QCOMPARE(dialog.takeCalls(), QStringList());
        AccountManager::releaseInstance();
    }

    void forgetsWhatLiesBefore()
    {
        using Ids = QList<qint64>;
        for (const auto &[upTo, left] :
             {std::pair(0, Ids()), {5, {5, 7}}, {8, {}}, {1, {3, 5, 7}}, {7, {7}}}) {
            Dialog dialog;
            QVERIFY(!dialog.removeAllMentions(upTo, true));
            QCOMPARE(dialog.takeCalls(), QStringList());
            dialog.setMentionIdData(packed({3, 5, 7}, {1}));
            QVERIFY(dialog.removeAllMentions(upTo, true));
            QCOMPARE(dialog.atMeMessages(), left);
            QCOMPARE(dialog.atMeMessageCount(), int(left.size()));
            QCOMPARE(dialog.reactedMessageCount(), upTo == 1 ? 1 : 0);
            QCOMPARE(dialog.takeCalls(), QStringList{u"changed"_s});
        }
    }

    void stepsThroughMentions()
    {
        Dialog dialog;
        NoMessages model;
        dialog.loadAtMeMessage(&model);
        dialog.setMentionIdData(packed({0, 4, 9}, {6, 7}));
        for (int i = 0; i < 4; ++i)
            dialog.loadAtMeMessage(&model);
        dialog.removeAtMeMessages({9, 4});
        dialog.addAtMeMessages({8});
        QTest::ignoreMessage(QtDebugMsg, "Jump to a invalid at me message ID.");
        for (int i = 0; i < 3; ++i)
            dialog.loadAtMeMessage(&model);
        for (int i = 0; i < 3; ++i)
            dialog.loadReactedMessage(&model);
        QCOMPARE(dialog.jumps, QList<qint64>({4, 9, 4, 8, 8, 6, 7, 6}));
    }

    void damagedBytesChangeNothing()
    {
        QCOMPARE(Dialog().getMentionIdData(), QByteArray(8, '\0'));
        const QByteArray good = packed({1, 2, 3}, {4, 5});
        Dialog dialog;
        dialog.setMentionIdData(good);
        QSignalSpy mentions(&dialog, &DialogBase::atMeMessageCountChanged);
        const QByteArray damaged[] = {good.chopped(1),
                                      good.chopped(8),
                                      good.first(2),
                                      packed({1}, {}).first(12),
                                      QByteArray("\x7f\xff\xff\xff\0\0\0\0", 8),
                                      {}};
        for (const QByteArray &data : damaged) {
            dialog.setMentionIdData(data);
            QCOMPARE(dialog.getMentionIdData(), good);
        }
        QVERIFY(mentions.isEmpty());

        // An older client may have written them in another order.
        dialog.setMentionIdData(packed({9, 7, 9}, {}));
        QCOMPARE(dialog.atMeMessages(), QList<qint64>({7, 9}));
        QCOMPARE(mentions.takeFirst(), QVariantList({2, 3}));
        // A newer one may have appended what this one does not know.
        dialog.setMentionIdData(good + "more");
        QCOMPARE(dialog.getMentionIdData(), good);
    }

    void changesAreToldOnce()
    {
        Dialog dialog;
        SignalLog log{&dialog};
        QSignalSpy unread(&dialog, &DialogBase::unreadChanged);
        for (int i = 0; i < 2; ++i) {
            dialog.setDisplay(false);
            dialog.setMutualContact(true);
            dialog.setArchived(true);
            dialog.setMute(true);
            dialog.setAnonymous(true);
            dialog.setIsQuickReply(true);
            dialog.setSortTime(7);
            dialog.setUnread(3);
            dialog.setCurrentUserId(4);
            dialog.setTagIds({u"friends"_s});
        }
        QCOMPARE(log.take(),
                 u"displayChanged mutualContactChanged archivedChanged muteChanged "
                 "anonymousChanged isQuickReplyChanged sortTimeChanged unreadChanged "
                 "currentUserIdChanged tagIdsChanged"_s);
        QCOMPARE(unread.takeFirst(), (QVariantList{3, 0}));
    }

    void ownStorage()
    {
        FakeAccount account;
        account.setAccountId(42);
        Dialog dialog(&account);
        dialog.setTargetId(42);
        QVERIFY(!dialog.isMyStorage());
        dialog.setIsGroup(false);
        QVERIFY(dialog.isMyStorage());
        dialog.setTargetId(43);
        QVERIFY(!dialog.isMyStorage());
        QVERIFY(!Dialog().isMyStorage());
    }
};

QTEST_MAIN(TestDialogBase)
#include "tst_dialogbase.moc"
