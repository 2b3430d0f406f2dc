#include "account/accountmanager.h"
#include "dialog/messagemodelbase.h"
#include "support/fakeaccount.h"
#include "support/fakedialog.h"
#include "support/signallog.h"

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

} // namespace

class TestDialogBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void confirmsMentions()
    {
        FakeDialog dialog;
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

        FakeDialog chat;
        chat.setIsGroup(false);
        chat.setMentionIdData(packedIds({1, 2}, {}));
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
        FakeDialog dialog(&account);
        dialog.setIsGroup(false);
        dialog.setMentionIdData(packedIds({1}, {1, 2}));
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
        FakeDialog dialog(&account);
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

    void forgettingIsSavedOnce()
    {
        FakeDialog dialog;
        QVERIFY(!dialog.removeAllMentions(9, true));
        QCOMPARE(dialog.takeCalls(), QStringList());
        dialog.setMentionIdData(packedIds({3, 5, 7}, {1}));
        QVERIFY(dialog.removeAllMentions(9, true));
        QCOMPARE(dialog.takeCalls(), QStringList{u"changed"_s});
    }

    void stepsThroughMentions()
    {
        FakeDialog dialog;
        NoMessages model;
        dialog.loadAtMeMessage(&model);
        dialog.setMentionIdData(packedIds({0, 4, 9}, {6, 7}));
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

    void changesAreToldOnce()
    {
        FakeDialog dialog;
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
        FakeDialog dialog(&account);
        dialog.setTargetId(42);
        QVERIFY(!dialog.isMyStorage());
        dialog.setIsGroup(false);
        QVERIFY(dialog.isMyStorage());
        dialog.setTargetId(43);
        QVERIFY(!dialog.isMyStorage());
        QVERIFY(!FakeDialog().isMyStorage());
    }
};

QTEST_MAIN(TestDialogBase)
#include "tst_dialogbase.moc"
