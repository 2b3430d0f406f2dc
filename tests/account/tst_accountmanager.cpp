#include "account/accountmanager.h"
#include "account/newdeviceloginmanager.h"
#include "account/threadmanager.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "support/fakeaccount.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <thread>

namespace
{

using Ids = QList<qint64>;

AccountManager *manager()
{
    return AccountManager::getInstance();
}

AppSettingModel *settings()
{
    return AppSettingModel::instance();
}

FakeAccount *fake(AccountBase *account)
{
    return static_cast<FakeAccount *>(account);
}

/// The application is started: settings first, then the accounts.
void start()
{
    ThreadManager::getInstance()->init();
    settings()->loadGlobalData();
    manager()->init([](QObject *parent) { return new FakeAccount(parent); });
}

/// The application is left, in the order that it does that.
void stop()
{
    manager()->waitForFinished();
    AccountManager::releaseInstance();
    AppSettingModel::releaseInstance();
    ThreadManager::getInstance()->quitAll();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// Signs in accounts of these ids, one after the other, as a user does.
void signIn(const Ids &ids)
{
    for (qint64 id : ids) {
        if (!manager()->loginAccount())
            QVERIFY(manager()->addAccount());
        QVERIFY(fake(manager()->loginAccount())->signIn(id));
    }
    QCOMPARE(manager()->currentAccount()->accountId(), ids.last());
}

/// The ids that the settings hold, which is what the next start restores.
Ids savedIds()
{
    Ids ids;
    for (const QVariant &id : settings()->accountIds())
        ids.append(id.toLongLong());
    return ids;
}

} // namespace

class TestAccountManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void beforeInit();
    void nothingStored();
    void restoresInOrder();
    void nothingCanBeRestored();
    void aLockedStoreIsTriedAgain();
    void atMostFive();
    void refusesWhoIsListed();
    void switchedAwayWhileSigningIn();
    void cancelsTheSignIn();
    void vetoes();
    void logoutOfOneOfTwo();
    void logoutOfTheOnlyOne();
    void logoutAll();
    void wipe();
    void notebook();
    void totals();
    void whomItReaches();
    void meetings();
    void geometry();
    void newDevices();
    void crash();
    void otherThreadsReadTheList();
};

void TestAccountManager::init()
{
    QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)).removeRecursively();
}

void TestAccountManager::cleanup()
{
    stop();
}

void TestAccountManager::beforeInit()
{
    ThreadManager::getInstance()->init();
    settings()->loadGlobalData();
    settings()->setAccountIds({7});
    QSignalSpy errors(manager(), &AccountManager::error);
    QVERIFY(!manager()->addAccount());
    QCOMPARE(errors.size(), 1);
    QVERIFY(!manager()->createAccount(true));
    manager()->init({});
    QCOMPARE(savedIds(), Ids{7});
}

void TestAccountManager::nothingStored()
{
    start();
    QCOMPARE(manager()->count(), 0);
    QVERIFY(manager()->loginAccount());
    QVERIFY(manager()->notebookAccount());
    QVERIFY(!manager()->notebookAccount()->autoReconnect());
    QCOMPARE(manager()->currentAccount(), manager()->loginAccount());
    QVERIFY(fake(manager()->loginAccount())->calls.contains(QStringLiteral("setActive(1)")));

    // A sign-in under way is gone on with.
    AccountBase *login = manager()->loginAccount();
    QVERIFY(manager()->addAccount());
    QCOMPARE(manager()->loginAccount(), login);

    QAbstractItemModelTester tester(manager());
    QSignalSpy current(manager(), &AccountManager::currentAccountChanged);
    signIn({7});
    QCOMPARE(manager()->currentAccount(), login);
    QVERIFY(!manager()->loginAccount());
    QCOMPARE(current.size(), 0);
    QCOMPARE(savedIds(), Ids{7});
    QCOMPARE(manager()->data(manager()->index(0), 257).value<AccountBase *>(), login);
    QVERIFY(!manager()->data(manager()->index(0), Qt::DisplayRole).isValid());
    QVERIFY(!manager()->getAccountByIndex(1) && !manager()->getAccountByIndex(-1));
}

void TestAccountManager::restoresInOrder()
{
    start();
    signIn({7, 3, 5});
    stop();

    // The stored list may hold anything; the current account comes first, and what cannot be
    // restored (12 never existed) is not listed.
    ThreadManager::getInstance()->init();
    settings()->loadGlobalData();
    settings()->setAccountIds({7, 3, 7, 0, -4, QStringLiteral("rubbish"), 12, 5, 1e30});
    settings()->setCurrentAccountId(5);
    settings()->setPasscode(QStringLiteral("1234"));
    AppSettingModel::releaseInstance();
    start();
    QCOMPARE(manager()->getAccountIds(), (Ids{5, 7, 3}));
    QCOMPARE(manager()->currentAccount(), manager()->getAccountByIndex(0));
    QVERIFY(!manager()->loginAccount());
    QCOMPARE(QCoreApplication::instance()->property("appLocked"), QVariant(true));
    QCOMPARE(fake(manager()->currentAccount())->calls.first(2),
             (QStringList{QStringLiteral("initialize()"), QStringLiteral("restore(1,0)")}));

    manager()->activeNextAccount();
    QCOMPARE(manager()->currentAccount()->accountId(), 7);
    QCOMPARE(settings()->currentAccountId(), 7);
    manager()->setCurrentAccount(999);
    QCOMPARE(manager()->currentAccount()->accountId(), 7);
    QVERIFY(manager()->setActiveAccountById(3) && !manager()->setActiveAccountById(999));
}

void TestAccountManager::nothingCanBeRestored()
{
    ThreadManager::getInstance()->init();
    settings()->loadGlobalData();
    settings()->setAccountIds({7, 3});
    settings()->setDarkMode(true);
    AppSettingModel::releaseInstance();
    start();
    QCOMPARE(manager()->count(), 0);
    QVERIFY(manager()->loginAccount());
    QVERIFY(!settings()->darkMode());
    QVERIFY(savedIds().isEmpty());
}

void TestAccountManager::aLockedStoreIsTriedAgain()
{
    start();
    signIn({7, 3});
    settings()->setDarkMode(true);
    stop();
    // Something else holds the files: a directory where the database was.
    const QString path = AppDirManager::instance()->defaultCacheDataDir();
    for (int id : {7, 3})
        QVERIFY(QFile::rename(path + QStringLiteral("%1/userstatus").arg(id),
                              path + QStringLiteral("%1/aside").arg(id)));
    QVERIFY(QDir().mkpath(path + QStringLiteral("7/userstatus/taken")));
    start();
    QCOMPARE(manager()->count(), 0);
    QCOMPARE(manager()->findChildren<FakeAccount *>().size(), 4);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(manager()->findChildren<FakeAccount *>().size(), 2); // login and notebook
    QVERIFY(settings()->darkMode());
    // Signing in and out meanwhile does not forget the one whose data are there.
    signIn({9});
    manager()->logout(manager()->currentAccount());
    QCOMPARE(savedIds(), Ids{7});
    stop();
    QVERIFY(QDir(path + QStringLiteral("7/userstatus")).removeRecursively());
    QVERIFY(QFile::rename(path + QStringLiteral("7/aside"), path + QStringLiteral("7/userstatus")));
    start();
    QCOMPARE(manager()->getAccountIds(), Ids{7});
}

void TestAccountManager::atMostFive()
{
    start();
    signIn({1, 2, 3, 4, 5});
    QSignalSpy errors(manager(), &AccountManager::error);
    QVERIFY(!manager()->addAccount());
    QCOMPARE(errors.size(), 1);
    QVERIFY(!manager()->loginAccount());
    QCOMPARE(savedIds(), (Ids{1, 2, 3, 4, 5}));
}

void TestAccountManager::refusesWhoIsListed()
{
    start();
    signIn({1, 2});
    manager()->addAccount();
    const QPointer<AccountBase> second = manager()->loginAccount();
    QSignalSpy errors(manager(), &AccountManager::error);
    QVERIFY(!fake(second)->signIn(1));
    QCOMPARE(errors.size(), 1);
    QVERIFY(!errors.first().at(1).toString().isEmpty());
    QVERIFY(fake(second)->calls.contains(QStringLiteral("release(1,1)")));
    QCOMPARE(manager()->getAccountIds(), (Ids{1, 2}));
    QCOMPARE(manager()->currentAccount()->accountId(), 2);
    QVERIFY(!manager()->loginAccount());
}

void TestAccountManager::switchedAwayWhileSigningIn()
{
    start();
    signIn({1, 2});
    manager()->addAccount();
    connect(manager(), &AccountManager::currentAccountChanged, this, [](AccountBase *current) {
        if (current && current->isAccountId(3))
            manager()->setCurrentAccount(1);
    });
    QVERIFY(fake(manager()->loginAccount())->signIn(3));
    QCOMPARE(manager()->currentAccount()->accountId(), 1);
    QVERIFY(!manager()->loginAccount());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(manager()->getAccountIds(), (Ids{1, 2, 3}));
    QCOMPARE(savedIds(), (Ids{1, 2, 3}));
    QCOMPARE(settings()->currentAccountId(), 1);
}

void TestAccountManager::cancelsTheSignIn()
{
    start();
    const QPointer<AccountBase> first = manager()->loginAccount();
    manager()->cancelSignIn();
    QVERIFY(fake(first)->calls.contains(QStringLiteral("release(1,1)")));
    QVERIFY(manager()->loginAccount() && manager()->loginAccount() != first);
    QCOMPARE(manager()->currentAccount(), manager()->loginAccount());
    signIn({1});
    manager()->addAccount();
    const QPointer<AccountBase> second = manager()->loginAccount();
    manager()->cancelSignIn();
    QVERIFY(!manager()->loginAccount());
    QVERIFY(fake(second)->calls.contains(QStringLiteral("release(1,1)")));
    QCOMPARE(manager()->currentAccount()->accountId(), 1);
}

void TestAccountManager::vetoes()
{
    start();
    signIn({1, 2});
    QSignalSpy current(manager(), &AccountManager::currentAccountChanged);
    bool veto = true;
    connect(manager(), &AccountManager::beginChangeCurrentItem, this,
            [&](int type, bool, QObject *, QObject *) {
                if (veto)
                    manager()->setCurrentItemChangeable(type, false);
            });
    manager()->setCurrentAccount(1);
    QVERIFY(manager()->addAccount());
    QCOMPARE(manager()->currentAccount()->accountId(), 2);
    QVERIFY(!manager()->loginAccount());
    QCOMPARE(current.size(), 0);
    // What must happen is not asked.
    manager()->logout(manager()->currentAccount());
    QCOMPARE(manager()->currentAccount()->accountId(), 1);
    veto = false;
    QVERIFY(!manager()->currentItemChangeable(77));
}

void TestAccountManager::logoutOfOneOfTwo()
{
    start();
    signIn({1, 2, 3});
    QAbstractItemModelTester tester(manager());
    manager()->setCurrentAccount(1);
    const QPointer<AccountBase> first = manager()->currentAccount();
    QSignalSpy current(manager(), &AccountManager::currentAccountChanged);
    manager()->logout(first);
    // Back to the one that was shown before; the one that left deletes itself.
    QCOMPARE(manager()->currentAccount()->accountId(), 3);
    QCOMPARE(current.size(), 1);
    QCOMPARE(savedIds(), (Ids{2, 3}));
    QVERIFY(fake(first)->calls.contains(QStringLiteral("logout(1)")));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!first);

    // The next one of the list where there is none, the last row's above all.
    manager()->logout(manager()->currentAccount());
    QCOMPARE(manager()->currentAccount()->accountId(), 2);
    manager()->logout(nullptr);
    QCOMPARE(manager()->count(), 1);
}

void TestAccountManager::logoutOfTheOnlyOne()
{
    start();
    signIn({1});
    AccountBase *account = manager()->currentAccount();
    manager()->logout(account);
    QCOMPARE(manager()->count(), 0);
    QCOMPARE(manager()->loginAccount(), account);
    QVERIFY(fake(account)->calls.contains(QStringLiteral("logout(0)")));
    QVERIFY(savedIds().isEmpty());
    // It signs in again as somebody else.
    signIn({9});
    QCOMPARE(manager()->getAccountIds(), Ids{9});
}

void TestAccountManager::logoutAll()
{
    start();
    signIn({1, 2, 3});
    AccountBase *current = manager()->currentAccount();
    QSignalSpy removed(manager(), &AccountManager::rowsRemoved);
    manager()->logoutAll();
    QCOMPARE(removed.size(), 1);
    QCOMPARE(removed.first().mid(1), (QVariantList{0, 3}));
    QCOMPARE(manager()->count(), 0);
    QCOMPARE(manager()->loginAccount(), current);
    QVERIFY(fake(current)->calls.contains(QStringLiteral("logout(0)")));
    QVERIFY(savedIds().isEmpty());
}

void TestAccountManager::wipe()
{
    start();
    signIn({1, 2});
    manager()->currentAccount()->setTotalUnreadCount(4);
    settings()->setDestructRecoverable(true);
    settings()->setPasscode(QStringLiteral("1234"));
    QList<QPointer<FakeAccount>> accounts;
    for (int row = 0; row < 2; ++row)
        accounts.append(fake(manager()->getAccountByIndex(row)));
    QSignalSpy wiped(manager(), &AccountManager::appWiped);
    manager()->unlockApp(true, false);
    QCOMPARE(manager()->count(), 0);
    QCOMPARE(manager()->totalUnreadCount(), 0);
    for (const auto &account : accounts)
        QVERIFY(account->calls.contains(QStringLiteral("deleteAccount(0,5,1,1)")));
    QCOMPARE(wiped.size(), 0);
    QTRY_COMPARE(wiped.size(), 1);
    QVERIFY(savedIds().isEmpty());
    QVERIFY(settings()->passcode().isEmpty());
    QCOMPARE(settings()->currentAccountId(), 0);
    // Life goes on, and what comes now is kept again.
    signIn({8});
    QCOMPARE(savedIds(), Ids{8});
}

void TestAccountManager::notebook()
{
    start();
    signIn({1, 2});
    QSignalSpy mode(manager(), &AccountManager::notebookModeChanged);
    QCoreApplication::instance()->setProperty("appLocked", true);
    manager()->unlockApp(false, true);
    QCOMPARE(manager()->currentAccount(), manager()->notebookAccount());
    QVERIFY(
        fake(manager()->notebookAccount())->calls.contains(QStringLiteral("enterNotebookMode()")));
    QVERIFY(manager()->notebookMode());
    QCOMPARE(QCoreApplication::instance()->property("appLocked"), QVariant(false));
    manager()->unlockApp(false, false);
    QCOMPARE(manager()->currentAccount()->accountId(), 2);
    QCOMPARE(mode.size(), 2);
    QCOMPARE(savedIds(), (Ids{1, 2}));

    // The last ones log out behind it. Who signs in afterwards is kept.
    manager()->unlockApp(false, true);
    for (qint64 id : {2, 1})
        manager()->logout(manager()->getAccount(id));
    manager()->unlockApp(false, false);
    QCOMPARE(manager()->currentAccount(), manager()->loginAccount());
    QCOMPARE(settings()->currentAccountId(), 0);
    signIn({9});
    QCOMPARE(savedIds(), Ids{9});
}

void TestAccountManager::totals()
{
    start();
    signIn({1, 2});
    QSignalSpy unread(manager(), &AccountManager::totalUnreadCountChanged);
    AccountBase *one = manager()->getAccount(1);
    AccountBase *two = manager()->getAccount(2);
    one->setTotalUnreadCount(3);
    two->setTotalUnreadCount(4);
    one->setTotalAtMeCount(2);
    two->setTotalAtMeCount(-5);
    QCOMPARE(manager()->totalUnreadCount(), 7);
    QCOMPARE(manager()->totalAtMeCount(), -3);
    manager()->logout(two);
    QCOMPARE(manager()->totalUnreadCount(), 3);
    QCOMPARE(manager()->totalAtMeCount(), 2);
    one->setTotalUnreadCount(-20);
    QCOMPARE(manager()->totalUnreadCount(), 0);
    QCOMPARE(unread.size(), 4);

    // Who comes with unread messages brings them along, and takes them away again.
    one->setTotalUnreadCount(6);
    manager()->logoutAll();
    QCOMPARE(manager()->totalUnreadCount(), 0);
    manager()->loginAccount()->setTotalUnreadCount(2);
    signIn({3});
    QCOMPARE(manager()->totalUnreadCount(), 2);
}

void TestAccountManager::whomItReaches()
{
    start();
    signIn({1, 2});
    QVERIFY(manager()->addAccount());
    const QList<AccountBase *> all{manager()->loginAccount(), manager()->getAccount(1),
                                   manager()->getAccount(2)};
    const auto reached = [&](const char *call, const std::function<void()> &operation) {
        for (AccountBase *account : all)
            fake(account)->calls.clear();
        operation();
        QString result;
        for (AccountBase *account : all)
            result +=
                QChar(fake(account)->calls == QStringList{QString::fromLatin1(call)} ? u'x' : u'-');
        return result;
    };
    QSignalSpy reconnect(manager(), &AccountManager::sigReconnectToServer);
    QCOMPARE(reached("abortAndReconnect(1)", [] { manager()->abortAndReconnect(true, 0); }),
             QStringLiteral("x--"));
    QCOMPARE(reached("abortAndReconnect(0)", [] { manager()->abortAndReconnect(false, -1); }),
             QStringLiteral("xxx"));
    QCOMPARE(reached("abortAndReconnect(1)", [] { manager()->abortAndReconnect(true, 2); }),
             QStringLiteral("--x"));
    QCOMPARE(reached("reconnectToServer(1)", [] { manager()->reconnectToServer(); }),
             QStringLiteral("xxx"));
    QCOMPARE(reconnect.size(), 4);
    QCOMPARE(reached("resetCurrentServer()", [] { manager()->resetCurrentServer(); }),
             QStringLiteral("xxx"));
    QCOMPARE(reached("setProxy()", [] { manager()->setProxy({}); }), QStringLiteral("xxx"));
    QCOMPARE(reached("recordScreenLockLog(1,2,3)", [] { manager()->recordScreenLockLog(1, 2, 3); }),
             QStringLiteral("-xx"));

    // A connection counts as lost unless it is up, or given up on purpose.
    QVERIFY(manager()->hasDisconnectedTcp());
    for (AccountBase *account : all)
        account->setState(account == all.first() ? AccountBase::UPDATING : AccountBase::NORMAL);
    QVERIFY(!manager()->hasDisconnectedTcp());
    all.at(1)->setState(AccountBase::CONNECTING);
    QVERIFY(manager()->hasDisconnectedTcp());
    all.at(1)->setAutoReconnect(false);
    QVERIFY(!manager()->hasDisconnectedTcp());
}

void TestAccountManager::meetings()
{
    start();
    MeetingModelBase meeting;
    QSignalSpy changed(manager(), &AccountManager::meetingModelChanged);
    QSignalSpy joining(manager(), &AccountManager::joiningMeetingChanged);
    QSignalSpy failed(manager(), &AccountManager::createMeetingFailed);
    manager()->setJoiningMeetingId(QStringLiteral("m1"));
    QVERIFY(manager()->joiningMeeting());
    manager()->createMeetingFinished(0, &meeting, QStringLiteral("G-1"), QStringLiteral("name"));
    QVERIFY(manager()->joiningMeeting());
    QCOMPARE(manager()->meetingModel(), &meeting);
    manager()->createMeetingFinished(5, nullptr, QStringLiteral("G-1"), QStringLiteral("name"));
    QCOMPARE(failed.first(), (QVariantList{QStringLiteral("G-1"), QStringLiteral("name"), 5}));
    QVERIFY(!manager()->joiningMeeting());
    manager()->setJoiningMeeting(true);
    manager()->meetingWillBeDeleted(&meeting);
    QVERIFY(!manager()->meetingModel() && !manager()->joiningMeeting());
    QCOMPARE(changed.size(), 2);
    QCOMPARE(joining.size(), 4);
    auto other = std::make_unique<MeetingModelBase>();
    manager()->setMeetingModel(other.get());
    manager()->setJoiningMeeting(true);
    other.reset();
    QVERIFY(!manager()->meetingModel() && !manager()->joiningMeeting());
    QCOMPARE(changed.size(), 4);
    QSignalSpy joinFailed(manager(), &AccountManager::joinMeetingFailed);
    manager()->joinMeetingFinished(false, &meeting, QStringLiteral("full"));
    QCOMPARE(joinFailed.size(), 1);
}

void TestAccountManager::geometry()
{
    ThreadManager::getInstance()->init();
    settings()->loadGlobalData();
    settings()->setMainwindowGeometry(QStringLiteral(R"({"width": 1200, "height": 800})"));
    settings()->setSessionListWidth(300);
    settings()->setInfoPanelWidth(400);
    AppSettingModel::releaseInstance();
    start();
    QCOMPARE(manager()->dialogWindowSize(), QSize(900, 778));
    QCOMPARE(manager()->maxMsgItemWidth(), 560);
    QCOMPARE(manager()->maxMsgItemWidthInThread(), 304);
    settings()->setInfoPanelWidth(410);
    QCOMPARE(manager()->maxMsgItemWidthInThread(), 306);
    manager()->setMaxMsgItemWidth(150);
    QCOMPARE(manager()->maxMsgItemWidth(), 200);
    manager()->setMaxMsgItemWidth(0);
    QCOMPARE(manager()->maxMsgItemWidth(), 200);

    QSignalSpy visible(manager(), &AccountManager::infoPanelVisibleChanged);
    settings()->setInfoPanelViewMode(true);
    QVERIFY(manager()->infoPanelVisible());
    manager()->setDialogWindowSize({789, 500});
    QVERIFY(!manager()->infoPanelVisible());
    manager()->setDialogWindowSize({790, 500});
    QVERIFY(manager()->infoPanelVisible());
    QCOMPARE(visible.size(), 3);
    settings()->setInfoPanelWidth(420);
    QVERIFY(!manager()->infoPanelVisible());
    settings()->setInfoPanelWidth(410);
    QCOMPARE(visible.size(), 5);
}

void TestAccountManager::newDevices()
{
    start();
    signIn({1, 2});
    NewDeviceLoginManager *devices = manager()->newDeviceLoginManager();
    QSignalSpy shown(manager(), &AccountManager::newDeviceLogin);
    const auto device = [](int id) { return QVariantMap{{QStringLiteral("deviceId"), id}}; };
    devices->deviceLogin(manager()->getAccount(2), device(4));
    devices->deviceLogin(manager()->getAccount(2), device(4));
    QCOMPARE(shown.size(), 1);
    // Of an account that is not shown the user hears once he turns to it.
    devices->deviceLogin(manager()->getAccount(1), device(4));
    devices->deviceLogin(manager()->getAccount(1), device(4));
    QCOMPARE(shown.size(), 1);
    manager()->setCurrentAccount(1);
    QCOMPARE(shown.size(), 2);

    // After a restart nothing is shown twice, after a sign-out everything is new.
    stop();
    start();
    QSignalSpy again(manager(), &AccountManager::newDeviceLogin);
    manager()->newDeviceLoginManager()->deviceLogin(manager()->currentAccount(), device(4));
    QCOMPARE(again.size(), 0);
    manager()->newDeviceLoginManager()->deviceLogout(1);
    manager()->newDeviceLoginManager()->deviceLogin(manager()->currentAccount(), device(4));
    QCOMPARE(again.size(), 1);

    // When everybody leaves while the notebook is shown, too; and nobody's are written back.
    manager()->unlockApp(false, true);
    manager()->logoutAll();
    signIn({1});
    manager()->newDeviceLoginManager()->deviceLogin(manager()->currentAccount(), device(4));
    QCOMPARE(again.size(), 2);
    QCOMPARE(settings()->newDeviceLoginRemind(), QByteArray(R"({"1":[4]})"));
}

void TestAccountManager::crash()
{
    start();
    signIn({1, 2});
    QVERIFY(settings()->flush());
    manager()->closeAllDbInCrash();
    QCOMPARE(manager()->count(), 0);
    stop();
    start();
    QCOMPARE(manager()->getAccountIds(), (Ids{2, 1}));
}

void TestAccountManager::otherThreadsReadTheList()
{
    start();
    std::atomic_bool done = false;
    std::vector<std::thread> readers;
    const auto join = qScopeGuard([&] {
        done = true;
        for (std::thread &reader : readers)
            reader.join();
    });
    AccountManager *accounts = manager();
    for (int i = 0; i < 8; ++i) {
        readers.emplace_back([&done, accounts] {
            while (!done) {
                for (qint64 id : accounts->getAccountIds()) {
                    if (id < 1)
                        qFatal("an account without an id is listed");
                }
                accounts->containsAccount(nullptr);
                accounts->hasDisconnectedTcp();
            }
        });
    }
    for (int round = 0; round < 5; ++round) {
        signIn({1, 2, 3});
        manager()->setCurrentAccount(1);
        for (AccountBase *account : manager()->findChildren<AccountBase *>())
            account->setState(AccountBase::NORMAL);
        delete manager()->getAccountByIndex(1);
        while (manager()->count() > 0)
            manager()->logout(manager()->getAccountByIndex(0));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

QTEST_GUILESS_MAIN(TestAccountManager)
#include "tst_accountmanager.moc"
