#include "account/accountmanager.h"
#include "account/newdeviceloginmanager.h"
#include "account/threadmanager.h"
#include "base/json.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "support/fakeaccount.h"
#include "support/signallog.h"

#include <QDir>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

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

/// What happens when the next account is restored.
QString atRestore;

class Account : public FakeAccount
{
public:
    using FakeAccount::FakeAccount;
    void restore(QVariantMap params, bool connectNow, int reason) override
    {
        FakeAccount::restore(params, connectNow, reason);
        const QString what = std::exchange(atRestore, {});
        if (what == u"signed-out")
            setAuthorized(false);
        else if (what == u"log-out-all")
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

} // namespace

class TestAccountManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void scenarios();
    void accountsThatLeaveAreNotChosen();
    void eventsWhileAccountsEnd();
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
    const QStringList words = step.split(u' ').mid(1);
    QList<int> numbers;
    for (const QString &word : words)
        numbers.append(word.toInt());
    const auto number = [&](int i) { return numbers.value(i); };
    const auto flag = [&](int i) { return numbers.value(i) != 0; };
    const auto path = [&](int i) {
        return AppDirManager::instance()->defaultCacheDataDir() + words.value(i);
    };
    // What another process does.
    const auto database = [&] {
        return std::make_unique<SQLite::Database>(path(0).toStdString(), SQLite::OPEN_READWRITE);
    };
    static std::unique_ptr<SQLite::Database> locked;
    static int lockedDirectory = -1;
    AccountBase *account = manager()->getAccount(number(0));
    if (!account)
        account = manager()->loginAccount();
    const QHash<QString, std::function<void()>> verbs{
        {u"start"_s, [] { veto = false; }},
        {u"current"_s, [&] { settings()->setCurrentAccountId(number(0)); }},
        {u"leave"_s, [] { leaveApplication(); }},
        {u"run"_s, [] { startApplication<Account>(); }},
        {u"init"_s, [] { manager()->init({}); }}, // without a factory
        {u"load"_s, [] { settings()->loadGlobalData(); }},
        {u"flush"_s, [] { settings()->flush(); }},
        {u"await"_s, [&] { QTRY_COMPARE_WITH_TIMEOUT(manager()->count(), number(0), 20'000); }},
        {u"ids"_s,
         [&] {
             settings()->setAccountIds({words.cbegin(), words.cend()});
         }},
        {u"passcode"_s, [] { settings()->setPasscode(u"1234"_s); }},
        {u"keep"_s, [&] { settings()->setSaveasPath(words[0]); }},
        {u"reset-by-handler"_s,
         [] {
             connect(
                 settings(), &AppSettingModel::passcodeChanged, settings(),
                 [] { settings()->reset(); }, Qt::SingleShotConnection);
         }},
        {u"move"_s, [&] { QVERIFY(QDir().rename(path(0), path(1))); }},
        {u"mkdir"_s, [&] { QVERIFY(QDir().mkdir(path(0))); }},
        {u"rmdir"_s, [&] { QVERIFY(QDir().rmdir(path(0))); }},
        {u"touch"_s, [&] { QVERIFY(QFile(path(0)).open(QFile::WriteOnly)); }},
        {u"link"_s, [&] { QVERIFY(QFile::link(path(0), path(1))); }},
        {u"remove"_s, [&] { QVERIFY(QFile::remove(path(0))); }},
        {u"pragma"_s, [&] { database()->exec(qPrintable(u"PRAGMA "_s + words[1])); }},
        {u"lock"_s,
         [&] {
             locked = database();
             locked->exec("BEGIN EXCLUSIVE");
         }},
        {u"release"_s, [&] { locked.reset(); }},
        {u"lock-directory"_s,
         [&] {
             lockedDirectory = ::open(QFile::encodeName(path(0)).constData(), O_RDONLY);
             QCOMPARE(flock(lockedDirectory, LOCK_EX | LOCK_NB), 0);
         }},
        {u"release-directory"_s, [&] { ::close(lockedDirectory); }},
        {u"at-restore"_s, [&] { atRestore = words[0]; }},
        {u"retry"_s, [&] { manager()->retryAccount(number(0)); }},
        {u"width"_s, [&] { account->accountSettingModel()->setLeftTabWidth(number(1)); }},
        {u"rename"_s, [&] { account->setAccountId(number(1)); }},
        {u"state"_s, [&] { account->setState(number(1)); }},
        {u"give-up"_s, [&] { account->setAutoReconnect(false); }},
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
    const SignalLog log({manager()});
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
    if (settings()->isUnread())
        more += u", settings unread"_s;
    if (!settings()->saveasPath().isEmpty())
        more += u", keeps "_s + settings()->saveasPath();
    for (const QVariant &one : manager()->unavailableAccounts())
        more += u", absent "_s + QString::fromUtf8(mapToJson(one.toMap()));
    if (manager()->count() > 0 && !manager()->hasDisconnectedTcp())
        more += u", connected"_s;
    const AccountBase *current = manager()->currentAccount();
    if (current && current->accountSettingModel()->leftTabWidth() != 72)
        more += u", width %1"_s.arg(current->accountSettingModel()->leftTabWidth());
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

/// While the only account signs out, the shown one may go: nobody else can be shown just then.
void TestAccountManager::accountsThatLeaveAreNotChosen()
{
    class LeavingAccount : public Account
    {
    public:
        using Account::Account;
        std::function<void()> atLogout;
        void logout(bool deleteThis) override
        {
            Account::logout(deleteThis);
            if (atLogout)
                std::exchange(atLogout, {})();
        }
    };
    startApplication<LeavingAccount>();
    AccountManager *manager = AccountManager::getInstance();
    const QPointer login = static_cast<LeavingAccount *>(manager->loginAccount());
    login->atLogout = [&] {
        manager->unlockApp(false, true);
        QCOMPARE(manager->currentAccount(), manager->notebookAccount());
        delete manager->notebookAccount();
        QVERIFY(!manager->currentAccount());
    };
    // In the midst of its sign-in, which the notebook may not end.
    bool isAsked = false;
    connect(manager, &AccountManager::beginChangeCurrentItem, login,
            [&](int type, bool, QObject *, QObject *next) {
                if (login->authorized() && !std::exchange(isAsked, true))
                    manager->logout(login);
                if (!next)
                    manager->setCurrentItemChangeable(type, false);
            });
    QVERIFY(!login->signIn(3));
    QVERIFY(isAsked && login && !login->atLogout);
    QCOMPARE(manager->currentAccount(), login.data());
    QCOMPARE(manager->loginAccount(), login.data());
    QVERIFY(login->signIn(4));
}

void TestAccountManager::eventsWhileAccountsEnd()
{
    startApplication();
    signIn({1, 2, 3});
    int ended = 0;
    for (qint64 id : {1, 2, 3}) {
        connect(manager()->getAccount(id), &QObject::destroyed, [&] {
            QTest::qWait(1);
            ++ended;
        });
    }
    leaveApplication();
    QCOMPARE(ended, 3);
}

QTEST_GUILESS_MAIN(TestAccountManager)
#include "tst_accountmanager.moc"
