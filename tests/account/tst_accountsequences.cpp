#include "watchedaccount.h"

#include "account/threadmanager.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "support/sequences.h"

#include <QDir>
#include <QLoggingCategory>
#include <QMetaMethod>
#include <QScopeGuard>
#include <QStandardPaths>

// Random sequences of everything that can be done to the accounts, with handlers that veto, delete
// and call back at every signal and in every function of an account. What must hold is derived from
// what happens to the accounts themselves: who signed in and was neither logged out nor given up
// nor deleted is listed, stored and counted, and nobody else.

namespace
{

using Account = QPointer<WatchedAccount>;

AppSettingModel *settings()
{
    return AppSettingModel::instance();
}

QSet<qint64> storedIds()
{
    QSet<qint64> ids;
    for (const QVariant &id : settings()->accountIds())
        ids.insert(id.toLongLong());
    return ids;
}

/// Runs a handler at every signal that an object has.
class Handlers : public QObject
{
    Q_OBJECT

public:
    void watch(QObject *object)
    {
        const QMetaObject *meta = object->metaObject();
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("handle()"));
        for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
            if (meta->method(i).methodType() == QMetaMethod::Signal)
                connect(object, meta->method(i), this, slot, Qt::DirectConnection);
        }
    }

private:
    const int phoneSignal = FakeAccount::staticMetaObject.indexOfSignal("phoneChanged()");

private Q_SLOTS:
    void handle()
    {
        // Whoever is told that a person has gone finds nothing of them.
        if (auto *account = qobject_cast<WatchedAccount *>(sender());
            account && senderSignalIndex() == phoneSignal && account->phone().isEmpty())
            account->checkBelongsTo(0);
        WatchedAccount::react();
    }
};

/// What the application does, and what it knows of its accounts.
class Application
{
public:
    explicit Application(Sequence &sequence) : m_sequence(sequence) { the = this; }
    ~Application() { the = nullptr; }
    Q_DISABLE_COPY_MOVE(Application)

    void run()
    {
        start();
        while (m_sequence.next()) {
            if (m_closed || m_sequence.chance(6))
                restart();
            else
                operate();
            settle();
            check();
        }
        stop();
    }

    void react()
    {
        if (m_depth >= 3 || !m_sequence.chance(m_stopping ? 2 : 7))
            return;
        const QScopedValueRollback<int> depth(m_depth, m_depth + 1);
        operate();
    }
    /// The id that an account has after it was restored, or 0 for one that does not open.
    qint64 restoredId(qint64 id)
    {
        const qint64 other = m_sequence.chance(85) ? id : m_sequence.below(4);
        if (other != id || m_blocked.contains(id)) {
            note(u"%1 is restored as %2"_s.arg(id).arg(other));
            if (!m_gone.contains(id))
                m_absent.insert(id);
            m_renamed = m_renamed || other > 0;
        }
        return other;
    }

    void forget(qint64 id) { m_absent.remove(id); }
    void mayBeAbsent(qint64 id)
    {
        if (!m_gone.contains(id))
            m_maybeAbsent.insert(id);
    }
    /// In a handler it may come at once or later, and where the settings are being reset no signal
    /// tells when.
    void forgetAll()
    {
        if (m_depth > 0) {
            m_maybeAbsent += m_absent;
            m_absent.clear();
        }
    }

    static inline Application *the = nullptr;
    Handlers handlers;

private:
    void note(const QString &what) { m_sequence.note(QString(m_depth * 2, u' ') + what); }

    void start()
    {
        note(u"start"_s);
        m_wasStarting = true;
        ThreadManager::getInstance()->init();
        settings()->loadGlobalData();
        m_closed = false;
        m_wiping = false;
        QObject::connect(settings(), &AppSettingModel::accountIdsChanged, manager(),
                         [this](const QVariantList &ids) {
                             if (ids.isEmpty() && !m_resetting)
                                 m_absent.clear();
                         });
        QObject::connect(manager(), &AccountManager::appWiped, manager(), [this] {
            m_wiping = false;
            m_absent.clear();
        });
        QObject::connect(manager(), &AccountManager::beginReset, manager(), [this] {
            m_wiping = false;
            m_closed = true;
        });
        m_mirror = std::make_unique<Mirror>(manager());
        handlers.watch(manager());
        handlers.watch(settings());
        manager()->init([](QObject *parent) { return new WatchedAccount(parent); });
    }

    void stop()
    {
        note(u"stop"_s);
        const QScopedValueRollback<bool> stopping(m_stopping, true);
        for (const Account &account : ofStage([](WatchedAccount *one) { return one->mine; }))
            delete account;
        manager()->waitForFinished();
        m_mirror->tester.reset();
        m_releasing = true;
        AccountManager::releaseInstance();
        m_releasing = false;
        m_absent.clear();
        m_maybeAbsent.clear();
        m_gone.clear();
        m_storedIds = settings()->accountIds();
        m_storedCurrentId = settings()->currentAccountId();
        m_storedPath = settings()->saveasPath();
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_mirror.reset();
        CHECK(WatchedAccount::all.isEmpty());
    }

    void restart();
    static QString storeOf(qint64 id)
    {
        return AppDirManager::instance()->defaultCacheDataDir()
            + u"%1/userstatus/account.db"_s.arg(id);
    }
    /// Puts a directory in the place of a database, or takes it away again.
    void block(qint64 id, bool isBlocked)
    {
        const QString aside = storeOf(id) + u"-aside"_s;
        if (!isBlocked && !QFile::exists(aside)) // a wipe has removed it
            return;
        CHECK(isBlocked ? QFile::rename(storeOf(id), aside) && QDir().mkdir(storeOf(id))
                        : QDir().rmdir(storeOf(id)) && QFile::rename(aside, storeOf(id)));
    }

    /// What the event loop would do next.
    static void settle()
    {
        for (int round = 0; round < 5; ++round) {
            QCoreApplication::sendPostedEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    template <typename Filter>
    static QList<Account> ofStage(Filter filter)
    {
        QList<Account> found;
        for (WatchedAccount *account : std::as_const(WatchedAccount::all)) {
            if (account->stage != WatchedAccount::Gone && filter(account))
                found.append(account);
        }
        return found;
    }
    Account any()
    {
        return m_sequence.pick(ofStage([](WatchedAccount *) { return true; }) << nullptr);
    }
    Account anyListed()
    {
        return m_sequence.pick(
            ofStage([](WatchedAccount *one) { return manager()->containsAccount(one); })
            << nullptr);
    }
    static QString name(WatchedAccount *account)
    {
        return account ? QString::number(account->accountId()) : u"null"_s;
    }

    void signIn(const Account &account)
    {
        if (!account || account->stage != WatchedAccount::SignedOut || account->busy > 0
            || account == manager()->notebookAccount())
            return;
        // An id of 0 or below is refused wherever it comes up.
        const qint64 id = m_sequence.chance(5) ? -m_sequence.below(2) : 1 + m_sequence.below(7);
        note(u"%1 signs in as %2"_s.arg(name(account)).arg(id));
        if (id < 1) {
            account->run([&] {
                account->setAccountId(id);
                CHECK(!account->openStorage(true));
                account->setAuthorized(true);
                manager()->addAccount(account);
                CHECK(!manager()->containsAccount(account));
                account->setAuthorized(false);
            });
            return;
        }
        account->run([&] {
            account->setAccountId(id);
            account->setTotalUnreadCount(m_sequence.below(4));
            // A wipe may have removed what is in the way. A handler of what is loaded may end the
            // sign-in.
            const bool isBlocked = QFileInfo(storeOf(id)).isDir();
            const bool isOpen = account->openStorage(true);
            if (account->stage != WatchedAccount::SignedOut)
                return;
            CHECK(isOpen != isBlocked);
            account->setAuthorized(isOpen);
            if (isOpen) {
                account->checkBelongsTo(id);
                account->fill(id);
            }
        });
        if (account->stage != WatchedAccount::SignedOut || !account->authorized())
            return;
        account->stage = WatchedAccount::SignedIn;
        manager()->addAccount(account);
    }
    void operate();
    void check();

    Sequence &m_sequence;
    int m_depth = 0;
    bool m_stopping = false;
    bool m_releasing = false;
    bool m_closed = false;
    bool m_wiping = false;
    bool m_resetting = false;
    bool m_wasStarting = false; // since the last check
    bool m_renamed = false;     // since the start, in a restore()
    QSet<qint64> m_absent;
    QSet<qint64> m_blocked; // whose databases cannot be opened
    QSet<qint64>
        m_gone; // who have no database or are nobody's: stored until somebody signs in or out
    QSet<qint64> m_maybeAbsent; // deleted by a handler, perhaps of a signal that all are forgotten
    QVariantList m_storedIds;
    qint64 m_storedCurrentId = 0;
    QString m_storedPath; // stands for all settings
    std::unique_ptr<Mirror> m_mirror;
};

} // namespace

void WatchedAccount::react()
{
    if (Application::the)
        Application::the->react();
}

WatchedAccount::WatchedAccount(QObject *parent) : FakeAccount(parent)
{
    all.append(this);
    Application::the->handlers.watch(this);
}

void WatchedAccount::givenUp()
{
    Application::the->mayBeAbsent(accountId());
}

void WatchedAccount::loggedOut()
{
    Application::the->forget(accountId());
}

void WatchedAccount::restore(QVariantMap params, bool connectNow, int reason)
{
    const QScopedValueRollback<int> running(busy, busy + 1);
    const qint64 id = params.value(u"userId"_s).toLongLong();
    if (const qint64 other = Application::the->restoredId(id); other > 0)
        FakeAccount::restore({{u"userId"_s, other}}, connectNow, reason);
    else
        setAccountId(id);
    if (stage != Gone)
        stage = authorized() ? SignedIn : SignedOut;
}

namespace
{

void Application::operate()
{
    const auto call = [this](const char *what, const auto &operation) {
        note(QLatin1StringView(what));
        operation();
    };
    switch (m_sequence.below(29)) {
    case 0:
    case 1:
        return call("addAccount", [] { manager()->addAccount(); });
    case 2:
    case 3:
    case 4:
    case 5:
        if (!manager()->loginAccount())
            manager()->addAccount();
        return signIn(static_cast<WatchedAccount *>(manager()->loginAccount()));
    case 6: {
        const Account account(static_cast<WatchedAccount *>(manager()->createAccount(true)));
        if (account && account->stage != WatchedAccount::Gone)
            account->mine = true;
        return signIn(account);
    }
    case 7:
        return signIn(any());
    case 8:
        // The session ends before the sign-in does.
        for (const Account &account : ofStage([](WatchedAccount *one) {
                 return one->stage == WatchedAccount::SignedIn && !manager()->containsAccount(one);
             })) {
            if (m_mirror->inserting) // too late
                return;
            note(u"revoke %1"_s.arg(name(account)));
            account->stage = WatchedAccount::SignedOut;
            m_gone.insert(account->accountId()); // where it was being restored
            m_absent.remove(account->accountId());
            account->run([&] { account->setAuthorized(false); });
            return;
        }
        return;
    case 9:
    case 10:
        if (const Account account = anyListed()) {
            note(u"show %1"_s.arg(name(account)));
            manager()->setCurrentAccount(account->accountId());
        }
        return;
    case 11:
    case 12: {
        const Account account = m_sequence.chance(70) ? anyListed() : any();
        note(u"log out %1"_s.arg(name(account)));
        return manager()->logout(account);
    }
    case 13: {
        const Account account = any();
        if (!account || account->busy > 0)
            return;
        note(u"delete %1"_s.arg(name(account)));
        if (manager()->containsAccount(account)
            || (account->stage == WatchedAccount::SignedIn
                && (m_resetting || (storedIds() - m_gone).contains(account->accountId())))) {
            m_absent.remove(account->accountId()); // it has come back since
            (m_depth > 0 ? m_maybeAbsent : m_absent).insert(account->accountId());
        }
        delete account;
        return;
    }
    case 14:
        if (m_sequence.chance(50)) {
            forgetAll();
            call("logoutAll", [] { manager()->logoutAll(); });
        }
        return;
    case 15:
        if (m_sequence.chance(40)) {
            for (const Account &account : ofStage([](WatchedAccount *) { return true; }))
                account->slow = m_sequence.chance(30);
            m_wiping = true;
            forgetAll();
            call("wipe", [] { manager()->unlockApp(true, false); });
        }
        return;
    case 16:
        return call("notebook", [] { manager()->unlockApp(false, true); });
    case 17:
        return call("leave notebook", [] { manager()->unlockApp(false, false); });
    case 18:
        if (const Account account = anyListed()) {
            account->run([&] {
                account->setTotalUnreadCount(m_sequence.below(9) - 2);
                account->setTotalAtMeCount(m_sequence.below(9) - 2);
            });
        }
        return;
    case 19:
        if (const Account account = anyListed()) {
            note(u"list %1 again"_s.arg(name(account)));
            manager()->addAccount(account);
        }
        return;
    case 20:
        return call("cancel", [] { manager()->cancelSignIn(); });
    case 21:
        if (m_sequence.chance(50)) {
            if (const Account login = static_cast<WatchedAccount *>(manager()->loginAccount()))
                login->mine = true;
            call("setLoginAccount null", [] { manager()->setLoginAccount(nullptr); });
        } else if (const Account account = any();
                   account && account->stage == WatchedAccount::SignedOut) {
            note(u"setLoginAccount %1"_s.arg(name(account)));
            manager()->setLoginAccount(account);
        }
        return;
    case 22:
        call("activeNextAccount", [] { manager()->activeNextAccount(); });
        return manager()->setActiveAccount(any());
    case 23:
        return call("pass on", [] {
            manager()->reconnectToServer();
            manager()->abortAndReconnect(true, -1);
            manager()->setProxy({});
            manager()->recordScreenLockLog(1, 2, 3);
            manager()->hasDisconnectedTcp();
        });
    case 24:
        // Answers come in to those that are being deleted.
        for (const Account &account : ofStage([](WatchedAccount *one) { return one->slow; })) {
            if (manager()->deleteAll() && manager()->containsAccount(account)) {
                note(u"%1 is deleted at last"_s.arg(name(account)));
                return manager()->logout(account);
            }
        }
        return;
    case 25:
        if (m_releasing)
            return call("release", [] { AccountManager::releaseInstance(); });
        return m_sequence.chance(10) ? call("reset", [] { manager()->reset(); }) : void();
    case 27:
        if (!m_absent.isEmpty()) {
            const qint64 id = m_sequence.pick(m_absent.values());
            note(u"try %1 again"_s.arg(id));
            manager()->retryAccount(id);
        }
        return;
    case 26: {
        const QScopedValueRollback<bool> resetting(m_resetting, true);
        return call("reset the settings", [] { settings()->reset(); });
    }
    default:
        return call("veto", [] { manager()->setCurrentItemChangeable(0, false); });
    }
}

void Application::restart()
{
    settings()->setSaveasPath(u"kept"_s);
    stop();
    if (QTest::currentTestFailed())
        return;
    const QVariantList stored = m_storedIds;
    for (const QVariant &value : stored) {
        const qint64 id = value.toLongLong();
        const bool isGone = !QFile::exists(storeOf(id)) || m_sequence.chance(10);
        if (!isGone && m_sequence.chance(90))
            continue;
        note(QString::number(id) + QLatin1StringView(isGone ? " is gone" : " cannot be opened"));
        if (isGone)
            QFile::remove(storeOf(id));
        else
            block(id, true);
        (isGone ? m_gone : m_blocked).insert(id);
    }
    const qint64 current = m_storedCurrentId;
    // Without handlers the next start gives what was stored, and nothing else.
    const QScopedValueRollback<int> quiet(m_depth, m_sequence.chance(50) ? 3 : 0);
    m_renamed = false;
    start();
    const auto unblock = qScopeGuard([this] {
        for (qint64 id : std::exchange(m_blocked, {}))
            block(id, false);
    });
    if (m_depth == 0)
        return;
    QList<qint64> expected;
    for (const QVariant &value : stored) {
        const qint64 id = value.toLongLong();
        if (!m_absent.contains(id) && !m_gone.contains(id))
            expected.insert(id == current ? 0 : expected.size(), id);
    }
    if (m_renamed)
        return;
    CHECK(manager()->getAccountIds() == expected);
    // The settings are reset where all accounts are gone, and not for any other reason.
    const bool isReset = !stored.isEmpty() && expected.isEmpty() && m_absent.isEmpty();
    CHECK(settings()->accountIds() == (isReset ? QVariantList() : stored));
    CHECK(settings()->saveasPath() == (isReset ? QString() : m_storedPath));
}

void Application::check()
{
    if (QTest::currentTestFailed())
        return;
    m_mirror->check();
    const QList<WatchedAccount *> rows = listed();
    QSet<qint64> ids;
    qint64 unread = 0;
    qint64 atMe = 0;
    for (WatchedAccount *account : rows) {
        CHECK(WatchedAccount::all.contains(account) && account->stage == WatchedAccount::SignedIn);
        CHECK(account->accountId() > 0 && !ids.contains(account->accountId()));
        ids.insert(account->accountId());
        account->checkBelongsTo(account->accountId());
        unread += account->totalUnreadCount();
        atMe += account->totalAtMeCount();
        account->mine = false;
    }
    CHECK(manager()->totalUnreadCount() == std::max<qint64>(unread, 0));
    CHECK(manager()->totalAtMeCount() == atMe);

    auto *current = static_cast<WatchedAccount *>(manager()->currentAccount());
    auto *login = static_cast<WatchedAccount *>(manager()->loginAccount());
    for (WatchedAccount *account : std::as_const(WatchedAccount::all)) {
        CHECK(account->stage != WatchedAccount::Gone);
        const bool isListed = rows.contains(account);
        // One that was taken from a manager being given up stays as it is.
        CHECK(isListed == (account->stage == WatchedAccount::SignedIn)
              || (m_closed && account->mine));
        CHECK(isListed || account == current || account == login
              || account == manager()->notebookAccount() || account->mine);
    }
    CHECK(!current || WatchedAccount::all.contains(current));
    CHECK(!login || (WatchedAccount::all.contains(login) && !rows.contains(login)));
    if (m_closed)
        return;
    CHECK(current);
    CHECK(!m_wiping || manager()->deleteAll()); // or it would have been told
    if (!manager()->deleteAll()) {
        QSet<qint64> unavailable;
        for (const QVariant &one : manager()->unavailableAccounts())
            unavailable.insert(one.toMap().value(u"accountId"_s).toLongLong());
        m_absent += m_maybeAbsent & storedIds();
        // A handler may have signed in as another the one that init() was about to restore.
        if (m_wasStarting && !m_maybeAbsent.isEmpty()) {
            m_absent += unavailable;
            // And one that a handler has deleted was restored after that, and is nobody's.
            m_gone += m_maybeAbsent - unavailable - ids;
            m_absent -= m_gone;
        }
        m_maybeAbsent.clear();
        m_wasStarting = false;
        m_absent -= ids;
        m_gone = (m_gone - ids - m_absent) & storedIds();
        CHECK(storedIds() - m_gone == ids + m_absent);
        CHECK(unavailable - m_gone == m_absent);
        const qint64 currentId = settings()->currentAccountId();
        CHECK(currentId == 0 || storedIds().contains(currentId));
        CHECK(!rows.contains(current) || currentId == current->accountId());
    }
}

} // namespace

class TestAccountSequences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // What goes wrong here on purpose fills the log.
        QLoggingCategory::setFilterRules(u"*=false"_s);
    }
    void sequences()
    {
        const QDir home(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
        runSequences("accounts", 300, 30, [&](Sequence &sequence) {
            for (const QString &file : home.entryList(QDir::Files))
                QFile::remove(home.filePath(file));
            Application(sequence).run();
        });
    }
};

QTEST_GUILESS_MAIN(TestAccountSequences)
#include "tst_accountsequences.moc"
