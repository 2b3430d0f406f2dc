#include "account/accountmanager.h"
#include "client/applock.h"
#include "client/clientaccount.h"
#include "client/modellayer.h"
#include "client/scriptedserver.h"
#include "client/window/dialoglistmodel.h"
#include "client/window/feedplayer.h"
#include "client/window/longhistory.h"
#include "client/window/messagelistmodel.h"
#include "client/window/messagerows.h"
#include "client/window/session.h"
#include "settings/appsettingmodel.h"

#include <QAbstractItemModelTester>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{

const QStringList feeds{QStringLiteral(FEEDS "first-light.feed"),
                        QStringLiteral(FEEDS "lakeside.feed")};
const QString media = QStringLiteral(FEEDS "media");
const QString lake = u"G-7002"_s;

std::vector<double> heights(MessageListModel &model)
{
    std::vector<double> heights;
    for (int row = 0; row < model.count(); ++row)
        heights.push_back(model.heightOf(row));
    return heights;
}

} // namespace

/// What the window shows, without a window.
class TestMessenger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_layer = std::make_unique<ModelLayer>(&m_server);
        AccountManager *manager = AccountManager::getInstance();
        manager->addAccount();
        m_account = qobject_cast<ClientAccount *>(manager->loginAccount());
        QVERIFY(m_account->requestCode(u"1"_s, u"5550101"_s));
        QVERIFY(m_account->signIn(u"1"_s, u"5550101"_s, u"246810"_s));
    }
    void cleanupTestCase() { m_layer.reset(); }

    void feedArrives()
    {
        Session session(m_account, media);
        DialogFilter filter;
        filter.setSourceModel(session.dialogs());
        const QAbstractItemModelTester dialogTester(session.dialogs());
        const QAbstractItemModelTester filterTester(&filter);
        const QAbstractItemModelTester messageTester(session.messages());
        play(session); // twice: who has a message already, leaves it alone
        const int unread = m_account->totalUnreadCount();
        QVERIFY(unread > 50);
        play(session);
        QCOMPARE(m_account->totalUnreadCount(), unread);
        QCOMPARE(filter.rowCount(), 6);
        for (int row = 1; row < filter.rowCount(); ++row)
            QVERIFY(filter.at(row - 1)->sortTime() >= filter.at(row)->sortTime());

        ClientDialog *dialog = session.dialogs()->find(lake);
        QCOMPARE(dialog->name(), u"The lake"_s);
        QVERIFY(dialog->unread() > 0 && dialog->atMeMessageCount() > 0
                && dialog->reactedMessageCount() > 0);
        session.setActive(true);
        session.open(dialog);
        QCOMPARE(dialog->unread(), 0);
        QVERIFY(m_account->totalUnreadCount() < unread);

        // A step to the next mention leads to a row that mentions the user; then it is seen.
        MessageListModel &model = *session.messages();
        QSignalSpy jumps(&model, &MessageListModel::jumpRequested);
        const int mentions = dialog->atMeMessageCount();
        dialog->loadAtMeMessage(&model);
        QCOMPARE(jumps.size(), 1);
        const int row = jumps.first().first().toInt();
        QVERIFY(model.at(row).mentionsMe);
        model.seen(row);
        QCOMPARE(dialog->atMeMessageCount(), mentions - 1);

        // What a view keeps of a row does not keep its item, but the item waits for the view.
        const MessageRow kept = model.at(row);
        session.open(nullptr);
        QVERIFY(kept.item);
        QTRY_VERIFY(!kept.item);

        filter.setProperty("search", u"lake"_s);
        QCOMPARE(filter.rowCount(), 2);
        dialog->setArchived(true);
        QCOMPARE(filter.rowCount(), 1);
        filter.setProperty("archived", true);
        QCOMPARE(filter.at(0), dialog);
        dialog->setArchived(false);
        QCOMPARE(filter.rowCount(), 0);
        dialog->toggleTag(u"friends"_s);
        dialog->toggleMute();
    }

    void rowsHaveTheirPlace()
    {
        Session session(m_account, media);
        MessageListModel &model = *session.messages();
        ClientDialog *dialog = session.dialogs()->find(lake);
        QVERIFY(dialog->mute());
        QCOMPARE(dialog->tagIds(), QStringList{u"friends"_s});
        session.open(dialog);
        const QAbstractItemModelTester tester(&model); // asks for every row, and so measures groups
        QTRY_VERIFY(model.isComplete());
        QTest::qWait(50);
        for (int row = 0; row < model.count(); ++row) {
            QCOMPARE(model.rowAt(model.offsetOf(row)), row);
            QCOMPARE(model.rowAt(model.offsetOf(row + 1) - 1), row);
            // What is beside the content is the same in each case: it is known before the item is.
            const MessageRow shown = model.at(row);
            double beside = MessageListModel::Gap + 2 * MessageListModel::Padding
                + MessageListModel::TimeHeight;
            beside += shown.showDay ? MessageListModel::DayHeight : 0;
            beside += shown.showSender ? MessageListModel::SenderHeight : 0;
            beside += shown.reactions.isEmpty() ? 0 : MessageListModel::ReactionHeight;
            QCOMPARE(model.heightOf(row), beside + Session::sizeOf(shown.contentItem()).height());
        }
        // What was sent together is one row.
        for (const int type : {ContentItem::MediaGroup, ContentItem::FileGroup}) {
            int row = 0;
            while (row < model.count()
                   && (!model.at(row).item || model.at(row).contentItem()->type() != type))
                ++row;
            QVERIFY(row < model.count());
        }

        // A dialog that is opened again has the same heights, without its contents.
        const std::vector<double> before = heights(model);
        session.open(nullptr);
        session.flush();
        Session later(m_account, media);
        later.open(later.dialogs()->find(lake));
        QTRY_VERIFY(later.messages()->isComplete());
        QCOMPARE(heights(*later.messages()), before);
        QCOMPARE(later.messages()->itemsMade(), 0);

        // With another font everything is measured anew, in the background.
        AppSettingModel::instance()->setThemeFontSize(20);
        QTRY_VERIFY_WITH_TIMEOUT(later.messages()->totalHeight() > before.size() * 40
                                     && heights(*later.messages()) != before,
                                 5000);
        AppSettingModel::instance()->setThemeFontSize(14);
        QTRY_COMPARE_WITH_TIMEOUT(heights(*later.messages()), before, 5000);
    }

    void longHistoryIsOpenedByItsEnd()
    {
        const int count = 5000;
        longhistory::generate(m_account, u"G-7999"_s, feeds, media, count);
        Session session(m_account, media);
        MessageListModel &model = *session.messages();
        session.open(session.dialogs()->find(u"G-7999"_s));
        QVERIFY(model.count() > 0 && model.count() < 200);
        const MessageRow last = model.at(model.count() - 1);
        QCOMPARE(last.messageId, count);
        QCOMPARE(model.itemsMade(), 1);

        // While older rows come in before them, the last ones keep their place and number.
        const int number = model.count() - 1 - model.prepended();
        const double fromEnd = model.totalHeight() - model.offsetOf(model.count() - 1);
        QTRY_VERIFY(model.isComplete());
        QCOMPARE(model.at(number + model.prepended()).messageId, count);
        QCOMPARE(model.totalHeight() - model.offsetOf(number + model.prepended()), fromEnd);
        QSignalSpy jumps(&model, &MessageListModel::jumpRequested);
        model.showMessage(1);
        QCOMPARE(jumps.takeFirst().first().toInt(), 0);
        QCOMPARE(model.at(0).messageId, 1);
        QVERIFY(!model.at(-1).valid && !model.at(model.count()).valid);
    }

    /// Older rows come in, messages arrive and are put together, the dialog is changed: in view
    /// there is one bubble for each row, in its place, with its message.
    void bubblesStandWhereTheirRowsAre()
    {
        Session session(m_account, media);
        MessageListModel &model = *session.messages();
        QQmlEngine engine;
        QQmlComponent bubble(&engine);
        bubble.setData("import QtQuick\nItem { property var message }", {});
        MessageRows rows;
        rows.setSize({500, 0});
        rows.setProperty("bubble", QVariant::fromValue(&bubble));
        rows.setModel(&model);
        rows.setViewHeight(600);
        int made = 0;
        const auto verify = [&](double top) {
            rows.setViewTop(top);
            rows.ensurePolished();
            QList<QQuickItem *> shown = rows.childItems();
            made = std::max(made, int(shown.size()));
            shown.removeIf([](const QQuickItem *item) { return !item->isVisible(); });
            std::sort(shown.begin(), shown.end(),
                      [](const auto *one, const auto *other) { return one->y() < other->y(); });
            QCOMPARE(rows.first(), model.rowAt(top));
            QCOMPARE(rows.last(), model.rowAt(top + 599));
            QCOMPARE(shown.size(), rows.last() - rows.first() + 1);
            for (int row = rows.first(); row <= rows.last(); ++row) {
                const QQuickItem *item = shown.at(row - rows.first());
                QCOMPARE(item->position(), QPointF(0, model.offsetOf(row)));
                QCOMPARE(item->size(), QSizeF(500, model.heightOf(row)));
                const auto message = item->property("message").value<MessageRow>();
                QVERIFY(message == model.at(row) && (!message.item || message.item->type() > 0));
            }
        };
        const auto verifyAll = [&] {
            for (const double top : {0.0, model.totalHeight() / 3, model.totalHeight() - 600}) {
                verify(top);
                if (QTest::currentTestFailed())
                    return;
            }
        };
        session.open(session.dialogs()->find(u"G-7999"_s));
        verifyAll();
        QTRY_VERIFY(model.isComplete());
        verifyAll();
        made = 0;
        for (double top = 0; top < 20'000; top += 540)
            verify(top);
        const int before = made;
        for (double top = 20'000; top > 0; top -= 540)
            verify(top);
        QCOMPARE(made, before); // those that left the view were used again

        AppSettingModel::instance()->setThemeFontSize(19);
        verifyAll();
        QTest::qWait(300); // what was shown in the other size has gone
        verifyAll();
        AppSettingModel::instance()->setThemeFontSize(14);
        session.open(session.dialogs()->find(lake)); // much shorter
        verifyAll();
        session.send(u"**Bold** at the end"_s);
        verifyAll();
        const int count = model.count();
        session.send(u"   "_s);
        QCOMPARE(model.count(), count);
        const MessageRow last = model.at(count - 1);
        QVERIFY(last.outgoing && last.showDay);
        QCOMPARE(last.contentItem()->content(), u"Bold at the end"_s);
        session.open(nullptr);
        rows.ensurePolished();
        QCOMPARE(rows.first(), -1);
    }

    void passcodesOpenWhatTheyAreFor()
    {
        using applock::Opens;
        AccountManager *manager = AccountManager::getInstance();
        applock::setPasscode(u"1"_s);
        applock::setPasscode(u"2"_s, Opens::Notebook);
        applock::lock();
        QVERIFY(!applock::unlock(u"3"_s) && !applock::unlock(QString()) && applock::isLocked());
        QCOMPARE(applock::unlock(u"2"_s), Opens::Notebook);
        QCOMPARE(manager->currentAccount(), manager->notebookAccount());
        applock::lock();
        QCOMPARE(applock::unlock(u"1"_s), Opens::Accounts);
        QCOMPARE(manager->currentAccount(), m_account);
    }

private:
    void play(Session &session)
    {
        FeedPlayer player(feeds);
        QSignalSpy finished(&player, &FeedPlayer::finished);
        QSignalSpy failed(&player, &FeedPlayer::failed);
        connect(&player, &FeedPlayer::frame, &session,
                [&session](const Frame &frame) { session.receive(frame); });
        player.play(0);
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 120000);
        QVERIFY(failed.isEmpty());
    }

    ScriptedServer m_server;
    std::unique_ptr<ModelLayer> m_layer;
    ClientAccount *m_account = nullptr;
};

QTEST_MAIN(TestMessenger)
#include "tst_messenger.moc"
