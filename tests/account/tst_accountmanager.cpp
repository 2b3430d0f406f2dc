#include "account/accountmanager.h"
#include "account/newdeviceloginmanager.h"
#include "account/threadmanager.h"
#include "base/json.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "support/fakeaccount.h"
#include "support/signallog.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>

#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

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

/// Whose accounts open, but are signed out.
Ids signedOutIds;
/// The next account that is restored has everybody logged out.
bool logsOutAll = false;

class Account : public FakeAccount
{
public:
    using FakeAccount::FakeAccount;
    void restore(QVariantMap params, bool connectNow, int reason) override
    {
        FakeAccount::restore(params, connectNow, reason);
        setAuthorized(authorized() && !signedOutIds.contains(accountId()));
        if (std::exchange(logsOutAll, false))
            manager()->logoutAll();
    }
};

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

/// Has SQLite fail to open the accounts' databases, as on a disk that gives errors.
struct FailingDisk {
    static void install()
    {
        static sqlite3_vfs vfs;
        if (usual)
            return;
        usual = sqlite3_vfs_find(nullptr);
        vfs = *usual;
        vfs.zName = "failing";
        vfs.xOpen = [](sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *out) {
            if (fails && name && std::strstr(name, "account.db"))
                return SQLITE_IOERR;
            return usual->xOpen(usual, name, file, flags, out);
        };
        sqlite3_vfs_register(&vfs, 1);
    }
    static inline sqlite3_vfs *usual = nullptr;
    static inline bool fails = false;
};

} // namespace

Q_DECLARE_METATYPE(std::function<std::function<void()>(const QString &)>)

class TestAccountManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void beforeInit();
    void settingsThatOpenLate_data()
    {
        QTest::addColumn<bool>("signsIn");
        QTest::addColumn<QString>("how");
        QTest::newRow("nobody signs in") << false << u"waits"_s;
        QTest::newRow("somebody signs in") << true << u"waits"_s;
        QTest::newRow("another process had them") << true << u"flush"_s;
        QTest::newRow("they are loaded again") << true << u"load"_s;
        QTest::newRow("a handler resets them") << true << u"reset"_s;
        QTest::newRow("everybody has signed out") << true << u"log out"_s;
    }
    void settingsThatOpenLate();
    void accountsThatCannotBeRestored_data();
    void accountsThatCannotBeRestored();
    void scenarios();
    void eventsWhileAccountsEnd();
    void lostConnections();
    void otherThreadsReadTheList();

private:
    static QString result(const QString &step);
    static QString name(AccountBase *account);
};

void TestAccountManager::init()
{
    QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)).removeRecursively();
}

void TestAccountManager::cleanup()
{
    leaveApplication();
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

void TestAccountManager::accountsThatCannotBeRestored_data()
{
    using Undo = std::function<void()>;
    using Break = std::function<Undo(const QString &)>;
    QTest::addColumn<Break>("breakStore"); // given the path of the account's directory
    QTest::addColumn<int>("state");        // -1 where the account is gone
    const auto row = [](const char *name, int state, const Break &breakStore) {
        QTest::newRow(name) << breakStore << state;
    };
    const auto execute = [](const QString &path, const char *sql) {
        auto other = std::make_shared<SQLite::Database>(
            (path + u"/userstatus/account.db"_s).toStdString(), SQLite::OPEN_READWRITE);
        other->exec(sql);
        return other;
    };
    // Moves what is there aside, and undoes that.
    const auto replace = [](const QString &path, const std::function<void()> &put,
                            const std::function<void()> &take) {
        QDir().rename(path, path + u"-aside"_s);
        put();
        return [path, take] {
            take();
            QDir().rename(path + u"-aside"_s, path);
        };
    };
    const QString database = u"/userstatus/account.db"_s;
    row("locked by another program", AccountBase::StoreLocked, [=](const QString &path) -> Undo {
        return [other = execute(path, "BEGIN EXCLUSIVE")]() mutable { other->exec("COMMIT"); };
    });
    row("written by a newer version", AccountBase::StoreNewer, [=](const QString &path) -> Undo {
        const int version = execute(path, "")->execAndGet("PRAGMA user_version").getInt();
        execute(path, "PRAGMA user_version = 99");
        return [=] { execute(path, qPrintable(u"PRAGMA user_version = %1"_s.arg(version))); };
    });
    row("on a failing disk", AccountBase::StoreUnreadable, [](const QString &) -> Undo {
        FailingDisk::fails = true;
        return [] { FailingDisk::fails = false; };
    });
    row("a directory in its place", AccountBase::StoreUnreadable, [=](const QString &path) -> Undo {
        const QString file = path + database;
        return replace(
            file, [=] { QDir().mkdir(file); }, [=] { QDir().rmdir(file); });
    });
    row("a file in the place of its directory", AccountBase::StoreUnreadable,
        [=](const QString &path) -> Undo {
            return replace(
                path, [=] { QVERIFY(QFile(path).open(QFile::WriteOnly)); },
                [=] { QFile::remove(path); });
        });
    row("a link to what is not there", AccountBase::StoreUnreadable,
        [=](const QString &path) -> Undo {
            return replace(
                path, [=] { QFile::link(path + u"-away"_s, path); }, [=] { QFile::remove(path); });
        });
    row("no database", -1, [=](const QString &path) -> Undo {
        QFile::remove(path + database);
        return {};
    });
    row("nobody's", -1, [](const QString &) -> Undo {
        signedOutIds.append(7);
        return {};
    });
    row("logged out meanwhile", -1, [](const QString &) -> Undo {
        logsOutAll = true;
        return {};
    });
}

void TestAccountManager::accountsThatCannotBeRestored()
{
    QFETCH(const std::function<std::function<void()>(const QString &)>, breakStore);
    QFETCH(const int, state);
    FailingDisk::install();
    startApplication<Account>();
    signIn({7});
    manager()->currentAccount()->accountSettingModel()->setLeftTabWidth(90);
    settings()->setDarkMode(true);
    leaveApplication();
    const auto undo = breakStore(AppDirManager::instance()->defaultCacheDataDir() + u'7');
    startApplication<Account>();
    signedOutIds.clear();
    QCOMPARE(manager()->count(), 0);
    QVERIFY(manager()->loginAccount());
    const bool isGone = state < 0;
    QCOMPARE(settings()->darkMode(), !isGone);
    QCOMPARE(savedIds(), isGone ? Ids{} : Ids{7});
    if (isGone) {
        QVERIFY(manager()->unavailableAccounts().isEmpty() && !manager()->retryAccount(7));
        return;
    }
    const QVariantList unavailable{QVariantMap{{u"accountId"_s, qint64(7)}, {u"state"_s, state}}};
    QCOMPARE(manager()->unavailableAccounts(), unavailable);
    QVERIFY(!manager()->retryAccount(7));
    QCOMPARE(manager()->unavailableAccounts(), unavailable);
    undo();
    QSignalSpy changed(manager(), &AccountManager::unavailableAccountsChanged);
    QVERIFY(manager()->retryAccount(7));
    QCOMPARE(changed.size(), 1);
    QVERIFY(manager()->unavailableAccounts().isEmpty());
    QCOMPARE(manager()->currentAccount(), manager()->getAccount(7));
    QVERIFY(!manager()->loginAccount());
    QCOMPARE(manager()->currentAccount()->accountSettingModel()->leftTabWidth(), 90);
    QCOMPARE(savedIds(), Ids{7});
}

/// Runs the steps of accountscenarios.txt. Behind each arrow stands what is shown and stored
/// afterwards, what was asked of the accounts, and which signals came, in their order.
void TestAccountManager::scenarios()
{
    QFile file(QFINDTESTDATA("accountscenarios.txt"));
    QVERIFY(file.open(QFile::ReadOnly));
    const QStringList expected = QString::fromUtf8(file.readAll()).split(u'\n');
    QStringList actual;
    for (const QString &line : expected) {
        const QString step = line.section(u" -> "_s, 0, 0);
        if (step == QLatin1StringView("start anew")) {
            cleanup();
            init();
            startApplication<Account>();
        } else if (step.isEmpty() || step.startsWith(u'#')) {
            actual.append(line);
            continue;
        }
        actual.append((step + u" -> "_s + result(step)).trimmed());
    }
    for (qsizetype i = 0; i < expected.size(); ++i)
        QCOMPARE(actual.at(i), expected.at(i));
}

QString TestAccountManager::result(const QString &step)
{
    static bool veto = false;
    static auto meeting = std::make_unique<MeetingModelBase>();
    NewDeviceLoginManager *devices = manager()->newDeviceLoginManager();
    const QString verb = step.section(u' ', 0, 0);
    QList<int> numbers;
    for (const QString &word : step.split(u' ').mid(1))
        numbers.append(word.toInt());
    const auto number = [&](int i) { return numbers.value(i); };
    const auto flag = [&](int i) { return numbers.value(i) != 0; };
    AccountBase *account = manager()->getAccount(number(0));
    if (!account)
        account = manager()->loginAccount();
    const QHash<QString, std::function<void()>> verbs{
        {u"start"_s, [] { veto = false; }},
        {u"restart"_s,
         [] {
             leaveApplication();
             startApplication<Account>();
         }},
        {u"restart-with"_s, // the current id, and all
         [&] {
             settings()->setCurrentAccountId(number(0));
             settings()->setPasscode(u"1234"_s);
             leaveApplication();
             settings()->loadGlobalData();
             const QStringList ids = step.split(u' ').mid(2);
             settings()->setAccountIds({ids.cbegin(), ids.cend()});
             AppSettingModel::releaseInstance();
             startApplication<Account>();
         }},
        {u"crash"_s,
         [] {
             settings()->flush();
             manager()->closeAllDbInCrash();
         }},
        {u"veto"_s, [] { veto = !veto; }},
        {u"add"_s, [] { manager()->addAccount(); }},
        {u"cancel"_s, [] { manager()->cancelSignIn(); }},
        {u"sign-in"_s, [&] { fake(manager()->loginAccount())->signIn(number(0)); }},
        {u"show"_s, [&] { manager()->setCurrentAccount(number(0)); }},
        {u"next"_s, [] { manager()->activeNextAccount(); }},
        {u"activate"_s, [&] { manager()->setActiveAccountById(number(0)); }},
        {u"log-out"_s, [&] { manager()->logout(account); }},
        {u"log-out-all"_s, [] { manager()->logoutAll(); }},
        {u"unlock"_s, [&] { manager()->unlockApp(flag(0), flag(1)); }},
        {u"counts"_s,
         [&] {
             account->setTotalUnreadCount(number(1));
             account->setTotalAtMeCount(number(2));
         }},
        {u"reconnect"_s, [] { manager()->reconnectToServer(); }},
        {u"abort"_s, [&] { manager()->abortAndReconnect(flag(0), number(1)); }},
        {u"reset-server"_s, [] { manager()->resetCurrentServer(); }},
        {u"proxy"_s, [] { manager()->setProxy({}); }},
        {u"lock-log"_s, [] { manager()->recordScreenLockLog(1, 2, 3); }},
        {u"reset-settings"_s, [] { settings()->reset(); }},
        {u"device"_s,
         [&] {
             devices->deviceLogin(account, {{u"deviceId"_s, qint64(number(1))}});
         }},
        {u"device-out"_s, [&] { devices->deviceLogout(number(0)); }},
        {u"join"_s, [&] { manager()->setJoiningMeetingId(step.mid(5)); }},
        {u"joining"_s, [&] { manager()->setJoiningMeeting(flag(0)); }},
        {u"created"_s,
         [&] {
             manager()->createMeetingFinished(number(0), flag(0) ? nullptr : meeting.get(),
                                              u"G-1"_s, u"name"_s);
         }},
        {u"joined"_s, [&] { manager()->joinMeetingFinished(flag(0), meeting.get(), u"full"_s); }},
        {u"meeting-ends"_s, [] { manager()->meetingWillBeDeleted(meeting.get()); }},
        {u"meeting-dies"_s, [] { meeting = std::make_unique<MeetingModelBase>(); }},
        {u"geometry"_s,
         [&] {
             const QVariantMap size{{u"width"_s, number(0)}, {u"height"_s, number(1)}};
             settings()->setMainwindowGeometry(QString::fromUtf8(mapToJson(size)));
             settings()->setSessionListWidth(number(2));
         }},
        {u"panel"_s,
         [&] {
             settings()->setInfoPanelViewMode(flag(0));
             settings()->setInfoPanelWidth(number(1));
         }},
        {u"window"_s,
         [&] {
             manager()->setDialogWindowSize({number(0), number(1)});
         }},
        {u"widest"_s,
         [&] {
             manager()->setMaxMsgItemWidth(number(0));
             manager()->setMaxMsgItemWidthInThread(number(1));
         }},
    };
    const SignalLog log{manager()};
    connect(manager(), &AccountManager::beginChangeCurrentItem, &log,
            [](int type) { manager()->setCurrentItemChangeable(type, !veto); });
    for (FakeAccount *one : manager()->findChildren<FakeAccount *>())
        one->calls.clear();
    verbs.value(verb, [&] { qFatal("no step: %s", qPrintable(step)); })();
    QStringList calls;
    for (FakeAccount *one : manager()->findChildren<FakeAccount *>()) {
        for (const QString &call : std::as_const(one->calls))
            calls.append(name(one) + u'.' + call);
    }
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    QStringList shown;
    for (int row = 0; row < manager()->count(); ++row)
        shown.append(name(manager()->getAccountByIndex(row)));
    QStringList stored;
    for (qint64 id : savedIds())
        stored.append(QString::number(id));
    const QSize window = manager()->dialogWindowSize();
    QString more;
    if (QCoreApplication::instance()->property("appLocked").toBool())
        more += u", locked"_s;
    if (manager()->meetingModel() || manager()->joiningMeeting())
        more += u", meeting %1, joining %2"_s.arg(manager()->meetingModel() == meeting.get())
                    .arg(manager()->joiningMeeting());
    if (window.width() > 0)
        more += u", window %1x%2, widest %3 %4, panel %5"_s.arg(window.width())
                    .arg(window.height())
                    .arg(manager()->maxMsgItemWidth())
                    .arg(manager()->maxMsgItemWidthInThread())
                    .arg(manager()->infoPanelVisible());
    if (const QByteArray told = settings()->newDeviceLoginRemind(); told.size() > 2)
        more += u", devices "_s + QString::fromUtf8(told);
    return u"[%1] current %2, login %3, stored [%4] %5, counts %6 %7%8; %9; %10"_s
        .arg(shown.join(u' '), name(manager()->currentAccount()), name(manager()->loginAccount()),
             stored.join(u' '))
        .arg(settings()->currentAccountId())
        .arg(manager()->totalUnreadCount())
        .arg(manager()->totalAtMeCount())
        .arg(more, calls.join(u' '), log.names().join(u' '));
}

QString TestAccountManager::name(AccountBase *account)
{
    if (!account)
        return u"-"_s;
    if (account == manager()->notebookAccount())
        return u"notebook"_s;
    return QString::number(account->accountId());
}

void TestAccountManager::lostConnections()
{
    startApplication<Account>();
    signIn({1});
    QVERIFY(manager()->addAccount());
    // A connection counts as lost unless it is up, or given up on purpose.
    QVERIFY(manager()->hasDisconnectedTcp());
    manager()->loginAccount()->setState(AccountBase::UPDATING);
    manager()->getAccount(1)->setState(AccountBase::NORMAL);
    QVERIFY(!manager()->hasDisconnectedTcp());
    manager()->getAccount(1)->setState(AccountBase::CONNECTING);
    QVERIFY(manager()->hasDisconnectedTcp());
    manager()->getAccount(1)->setAutoReconnect(false);
    QVERIFY(!manager()->hasDisconnectedTcp());
}

void TestAccountManager::otherThreadsReadTheList()
{
    startApplication<Account>();
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

/// The disk is full, or another process holds the settings, when the application starts.
void TestAccountManager::settingsThatOpenLate()
{
    QFETCH(bool, signsIn);
    QFETCH(QString, how);
    const bool byFlush = how == u"flush"_s;
    startApplication();
    signIn({1, 2});
    manager()->setCurrentAccount(1);
    settings()->setPasscode(QStringLiteral("digest"));
    settings()->setSaveasPath(QStringLiteral("kept"));
    leaveApplication();

    const QString directory = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const QString file = directory + QStringLiteral("/global.db");
    const QString aside = file + QStringLiteral(".aside");
    int other = -1;
    if (byFlush) {
        other = ::open(QFile::encodeName(directory).constData(), O_RDONLY);
        QCOMPARE(flock(other, LOCK_EX | LOCK_NB), 0);
    } else {
        QVERIFY(QFile::rename(file, aside) && QDir().mkdir(file));
    }
    startApplication();
    QVERIFY(settings()->isUnread());
    settings()->reset(); // refused: the stored accounts are not known
    settings()->setDarkMode(true);
    if (signsIn) {
        signIn({3});
        // Who comes and goes meanwhile resets nothing that is stored.
        signIn({4});
        manager()->logout(manager()->getAccount(4));
    }
    if (how == u"log out"_s) {
        signIn({1, 2});
        for (const qint64 id : {3, 1, 2})
            manager()->logout(manager()->getAccount(id));
    }
    QVERIFY(!settings()->flush());
    QVERIFY(!QCoreApplication::instance()->property("appLocked").toBool());

    if (byFlush) {
        ::close(other);
        QVERIFY(settings()->flush());
    } else {
        QVERIFY(QDir().rmdir(file) && QFile::rename(aside, file));
        if (how == u"load"_s)
            settings()->loadGlobalData();
    }
    if (how == u"log out"_s) {
        QVERIFY(settings()->flush());
        QCOMPARE(settings()->saveasPath(), QString());
        leaveApplication();
        startApplication();
        QCOMPARE(manager()->count(), 0);
        return;
    }
    if (how == u"reset"_s) {
        connect(
            settings(), &AppSettingModel::passcodeChanged, settings(), [] { settings()->reset(); },
            Qt::SingleShotConnection);
    }
    QTRY_COMPARE_WITH_TIMEOUT(manager()->count(), signsIn ? 3 : 2, 20'000);
    QVERIFY(!settings()->isUnread());
    if (how != u"reset"_s) {
        QVERIFY(QCoreApplication::instance()->property("appLocked").toBool());
        QCOMPARE(settings()->saveasPath(), QStringLiteral("kept"));
        QVERIFY(settings()->darkMode());
    }
    QVERIFY(manager()->unavailableAccounts().isEmpty());
    const Ids expected = signsIn ? Ids{3, 1, 2} : Ids{1, 2};
    QCOMPARE(manager()->getAccountIds(), expected);
    QCOMPARE(manager()->currentAccount()->accountId(), expected.first());
    QVERIFY(settings()->flush());
    leaveApplication();
    startApplication();
    QCOMPARE(manager()->getAccountIds(), expected);
}

void TestAccountManager::eventsWhileAccountsEnd()
{
    startApplication();
    signIn({1, 2, 3});
    manager()->getAccount(1)->setAccountId(2);
    QCOMPARE(manager()->getAccountIds(), (Ids{1, 2, 3}));
    int ended = 0;
    for (qint64 id : {1, 2, 3}) {
        connect(manager()->getAccount(id), &QObject::destroyed, [&] {
            QEventLoop loop;
            QTimer::singleShot(1, &loop, &QEventLoop::quit);
            loop.exec();
            ++ended;
        });
    }
    leaveApplication();
    QCOMPARE(ended, 3);
}

QTEST_GUILESS_MAIN(TestAccountManager)
#include "tst_accountmanager.moc"
