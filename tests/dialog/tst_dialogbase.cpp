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
    /// What each operation saves and sends, also where no count tells of a change.
    void savesAndSends()
    {
        FakeAccount account;
        FakeDialog dialog(&account);
        using Ids = QList<qint64>;
        const Ids four{5, 3, 9, 7};
        const Ids held{9, 5, 3};
        const QMap<qint64, bool> reacted{{3, true}, {4, true}};
        const QMap<qint64, bool> same{{3, false}, {4, false}};
        const std::pair<std::function<void()>, QString> steps[] = {
            {[&] { dialog.addAtMeMessages(four); }, u"changed"_s},
            {[&] { dialog.addAtMeMessages(held); }, {}},
            {[&] { dialog.confirmAtMeMessage(4); }, {}},
            {[&] { dialog.confirmAtMeMessage(5); }, u"changed mentions 5"_s},
            {[&] { dialog.confirmAtMeMessages(held, false); }, u"changed mentions 9 3"_s},
            {[&] { dialog.setAtMeMessageCount(2, false); }, {}},
            {[&] { dialog.addAtMeMessages({8}); }, u"changed"_s},
            {[&] { dialog.setAtMeMessageCount(1, false); }, {}},
            {[&] { dialog.removeAtMeMessages({8}); }, u"changed"_s},
            {[&] { dialog.removeAtMeMessages({8}); }, {}},
            {[&] { dialog.confirmAllAtMeMessages(); }, u"changed mentions 7"_s},
            {[&] { dialog.confirmAllAtMeMessages(); }, {}},
            {[&] { dialog.setIsGroup(false); }, {}},
            {[&] { dialog.addAtMeMessages({1}); }, u"changed"_s},
            {[&] { dialog.confirmAtMeMessage(1); }, {}},
            {[&] { dialog.confirmAllAtMeMessages(); }, {}},
            {[&] { dialog.setReactedMessages(reacted); }, u"changed"_s},
            {[&] { dialog.setReactedMessages(same); }, {}},
            {[&] { dialog.setReactedMessageCount(3, false); }, {}},
            {[&] { dialog.addReactedMessage(5); }, u"changed"_s},
            {[&] { dialog.setReactedMessageCount(2, false); }, {}},
            {[&] { dialog.removeReactedMessages({5}); }, u"changed"_s},
            {[&] { dialog.removeReactedMessages({5}); }, {}},
            {[&] {
                 dialog.setReactedMessages(QMap<qint64, bool>{{6, true}, {7, true}});
             },
             u"changed"_s},
            {[&] { dialog.confirmReactedMessage(9); }, {}},
            {[&] { dialog.confirmReactedMessage(7); }, u"changed reactions 7"_s},
            {[&] { dialog.confirmAllReactedMessages(); }, u"changed reactions all"_s},
            {[&] { dialog.addReactedMessage(8); }, u"changed"_s},
            {[&] { dialog.removeAllReactedMessages(); }, {}},
            {[&] { dialog.removeAllMentions(9, true); }, u"changed"_s},
            {[&] { dialog.removeAllMentions(9, true); }, {}},
        };
        int at = 0;
        for (const auto &[step, calls] : steps) {
            step();
            QVERIFY2(dialog.takeCalls().join(u' ') == calls, qPrintable(QString::number(at)));
            ++at;
        }
        QCOMPARE(dialog.reactedMessageCount(), 0);
        AccountManager::releaseInstance();
    }

    /// What a dialog is may be told after what was stored of it.
    void mentionsCountInGroups()
    {
        FakeDialog chat;
        chat.setIsGroup(false);
        chat.setMentionIdData(packedIds({1, 2}, {3}));
        chat.setMentionIdData(packedIds({7}, {8}).chopped(1)); // changes nothing
        QCOMPARE(chat.getMentionIdData(), packedIds({1, 2}, {3}));
        QCOMPARE(chat.atMeMessageCount(), 0);
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

    void reportsReactionsThatWereRead()
    {
        FakeAccount account;
        account.setAccountId(42);
        FakeDialog dialog(&account);
        dialog.setDialogId(u"G-7"_s);
        QSignalSpy read(AccountManager::getInstance(), &AccountManager::reactionBeRead);
        dialog.setReactedMessages({{3, true}, {1, false}, {2, true}});
        dialog.removeReactedMessages({9});
        QCOMPARE(read.takeFirst(),
                 QVariantList({42, u"G-7"_s, QVariant::fromValue(QList<qint64>{9})}));
        dialog.confirmReactedMessage(9);
        QCOMPARE(read.size(), 0);
        dialog.confirmReactedMessage(2);
        QCOMPARE(read.size(), 1);
        AccountManager::releaseInstance();
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
        SignalLog log({&dialog});
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
