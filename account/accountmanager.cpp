#include "account/accountmanager.h"

#include "account/newdeviceloginmanager.h"
#include "account/threadmanager.h"
#include "base/json.h"
#include "base/util.h"
#include "i18n/translated_p.h"
#include "imcrypto/masterkey.h"
#include "imlog/imlog.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJSEngine>
#include <QLoggingCategory>
#include <QMetaEnum>
#include <QNetworkProxy>
#include <QScopedValueRollback>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <optional>
#include <utility>

namespace
{

Q_LOGGING_CATEGORY(lcAccounts, "im.modelbase")

constexpr int minMsgItemWidth = 200;
/// The message view's place beside the information panel.
constexpr int roomBesideInfoPanel = 380;
/// Rounds of processing events and waiting, 20 ms each, before a thread is given up.
constexpr int waitRounds = 100;
constexpr int waitMilliseconds = 20;
constexpr int fileTransferMilliseconds = 3000;
constexpr int syncMs = 5000; // at most

AccountManager *theInstance = nullptr;

void setAppLocked(bool locked)
{
    if (QCoreApplication *app = QCoreApplication::instance())
        app->setProperty("appLocked", locked);
}

void processEvents()
{
    QCoreApplication::processEvents(QEventLoop::AllEvents, waitMilliseconds);
}

/// The folders that a wipe could not remove, as a JSON list: the next start tries again.
QString leftStoresKey()
{
    return QStringLiteral("left_stores");
}

/// Stands in that list for the key that the stores are sealed under.
QString masterKeyName()
{
    return QStringLiteral("master_key");
}

void logRefusal(const QString &reason)
{
    ImLog::error(lcAccounts(), QStringLiteral("AccountManager: ") + reason);
}

} // namespace

AccountManager *AccountManager::getInstance()
{
    if (!theInstance)
        theInstance = new AccountManager;
    return theInstance;
}

void AccountManager::releaseInstance()
{
    // Accounts ask for the manager while they are given up, so it is forgotten last.
    delete theInstance;
    theInstance = nullptr;
}

AccountManager::AccountManager()
    : m_resetThreadPool(new QThreadPool(this)), m_fileTransferThread(new QThread(this)),
      m_newDeviceLoginManager(new NewDeviceLoginManager(this)), m_appDataMove(new AppDataMove(this))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    m_resetThreadPool->setObjectName(QStringLiteral("reset_account_thread_pool"));
    m_resetThreadPool->setMaxThreadCount(5);
    m_fileTransferThread->setObjectName(QStringLiteral("file_transfer_thread"));
    m_fileTransferThread->start(QThread::InheritPriority);
}

AccountManager::~AccountManager()
{
    m_closing = true;
    reset();
    // The accounts report their end to the manager, and what cleans up after them may use them.
    finishResetPool(waitRounds * waitMilliseconds);
    finishFileTransferThread();
    while (auto *account = findChild<AccountBase *>({}, Qt::FindDirectChildrenOnly)) {
        // Or an event loop in a slot of destroyed() would delete it a second time.
        QCoreApplication::removePostedEvents(account, QEvent::DeferredDelete);
        delete account;
    }
}

/// A pool or thread that is destroyed while it hangs would wait, or abort the process: it is left
/// to itself instead.
void AccountManager::finishResetPool(int milliseconds)
{
    if (m_resetThreadPool->waitForDone(milliseconds))
        return;
    ImLog::error(lcAccounts(),
                 QStringLiteral("Tasks of the reset pool that hang and are given up: %1")
                     .arg(m_resetThreadPool->activeThreadCount()));
    m_resetThreadPool->setParent(nullptr);
}

void AccountManager::finishFileTransferThread()
{
    if (!m_fileTransferThread->parent())
        return;
    m_fileTransferThread->quit();
    if (m_fileTransferThread->wait(fileTransferMilliseconds))
        return;
    ImLog::error(lcAccounts(), QStringLiteral("The file transfer thread hangs and is given up"));
    m_fileTransferThread->setParent(nullptr);
}

// Start-up

void AccountManager::init(Factory factory)
{
    ImLog::info(lcAccounts(), QStringLiteral("AccountManager::init start"));
    if (!factory)
        return logRefusal(QStringLiteral("init() needs a function that makes accounts"));
    AppSettingModel *settings = AppSettingModel::instance();
    m_newDeviceLoginManager->init();
    AppDirManager::instance()->init();

    connect(settings, &AppSettingModel::accountIdsChanged, QCoreApplication::instance(),
            [](const QVariantList &ids) {
                if (ids.isEmpty())
                    setAppLocked(false);
            });
    // The account that stays for the next sign-in; those that are still listed have yet to clear
    // what they have.
    connect(settings, &AppSettingModel::paramsBeReseted, this, [this] {
        if (m_loginAccount)
            m_loginAccount->updateUserCacheDataPath();
        if (m_loggingOutAll)
            return;
        const QList<qint64> found = m_deleteAll ? QList<qint64>() : takeStored();
        // Whoever resets the settings signs nobody out.
        if (idsToSave().isEmpty())
            return;
        storeIds(idsToSave());
        saveAccounts();
        restoreLate(found);
    });
    connect(settings, &AppSettingModel::infoPanelViewModeChanged, this, [this] {
        m_infoPanelVisible = infoPanelVisible();
        Q_EMIT infoPanelVisibleChanged();
    });
    connect(settings, &AppSettingModel::infoPanelWidthChanged, this, [this](int width) {
        // The panel's margins while it is dragged; at start-up they are 96.
        setMaxMsgItemWidthInThread(width - 104);
        updateInfoPanelVisible();
    });
    m_accountFactory = std::move(factory);

    const QVariantList storedIds = settings->accountIds();
    setAppLocked(!settings->passcode().isEmpty());
    const QList<qint64> ids = takeStored();
    m_restoring = true;
    for (qint64 id : ids) {
        if (isAbsent(id)) // unless a handler has signed it in, or everybody out
            restore(id);
    }
    m_restoring = false;
    if (count() == 0) {
        addAccount();
        if (!storedIds.isEmpty() && m_absent.isEmpty())
            settings->reset();
    }
    chooseCurrentAccount(0);
    saveCurrentId();
    announceAbsent();
    if (const QByteArray left = settings->value(leftStoresKey(), {}).toByteArray(); !left.isEmpty())
        storeLeft(removeTraces(jsonToList(left)));
    m_notebookAccount = createAccount(false, true);
    m_appDataMove->resume();
    initGeometry();
    ImLog::info(lcAccounts(), QStringLiteral("AccountManager::init end"));
}

/// Notes the stored accounts that have not been met yet, as not available; the current one first.
QList<qint64> AccountManager::takeStored()
{
    const AppSettingModel *settings = AppSettingModel::instance();
    QList<qint64> found;
    for (const QVariant &stored : settings->accountIds()) {
        const qint64 id = stored.toLongLong();
        if (id < 1)
            logRefusal(
                QStringLiteral("the stored account id \"%1\" is none").arg(stored.toString()));
        if (id < 1 || m_known.contains(id))
            continue;
        m_known.insert(id);
        if (id == settings->currentAccountId())
            found.prepend(id);
        else
            found.append(id);
    }
    for (qint64 id : std::as_const(found))
        addAbsent(id, AccountBase::StoreClosed);
    return found;
}

/// Restores accounts of settings that could not be read at the start.
void AccountManager::restoreLate(const QList<qint64> &ids)
{
    if (ids.isEmpty())
        return;
    if (!AppSettingModel::instance()->passcode().isEmpty())
        setAppLocked(true);
    QMetaObject::invokeMethod(
        this,
        [this, ids] {
            for (qint64 id : ids)
                retryAccount(id);
            m_appDataMove->resume();
        },
        Qt::QueuedConnection);
}

void AccountManager::restore(qint64 id)
{
    const Account account(createAccount(true));
    // Handlers may log everybody out; nobody comes in after that.
    if (account && isAbsent(id)) {
        m_restored = account;
        account->restore({{QStringLiteral("userId"), id}}, true, 0);
        if (account && !isListed(account)) {
            if (isAbsent(id) || getAccount(id))
                addAccount(account);
            else if (isUsable(account) && account->authorized())
                refuse(account);
        }
        m_restored = nullptr;
    }
    if (isAbsent(id)) {
        const bool isOurs = isUsable(account) && account->isAccountId(id);
        auto state = isOurs ? account->storeState() : AccountBase::StoreClosed;
        const bool isNobodys = state == AccountBase::StoreOpen && !account->authorized();
        if (isNobodys || storage::UserStorageProvider::isMissing(AccountBase::statusDataPath(id))) {
            removeAbsent(id);
        } else {
            if (state == AccountBase::StoreMissing) // as far as that account could tell
                state = AccountBase::StoreUnreadable;
            ImLog::error(
                lcAccounts(),
                QStringLiteral("Account %1 could not be opened (%2); it is tried again at "
                               "the next start and on request.")
                    .arg(id)
                    .arg(QLatin1StringView(
                        QMetaEnum::fromType<AccountBase::StoreState>().valueToKey(state))));
            addAbsent(id, state);
        }
    }
    giveUp(account, false);
}

bool AccountManager::retryAccount(qint64 accountId)
{
    if (!isAbsent(accountId) || m_restoring || m_restored || m_deleteAll || m_closing
        || postponed([this, accountId] { retryAccount(accountId); }))
        return false;
    const bool isFirst = count() == 0;
    restore(accountId);
    saveAccounts();
    AccountBase *account = getAccount(accountId);
    if (account && isFirst && m_currentAccount != m_notebookAccount)
        setCurrentAccount(account, false);
    return getAccount(accountId);
}

bool AccountManager::isAbsent(qint64 id) const
{
    return std::ranges::find(m_absent, id, &Absent::id) != m_absent.end();
}

void AccountManager::addAbsent(qint64 id, AccountBase::StoreState state)
{
    const auto found = std::ranges::find(m_absent, id, &Absent::id);
    if (found == m_absent.end())
        m_absent.append({id, state});
    else
        found->state = state;
}

bool AccountManager::removeAbsent(qint64 id)
{
    return m_absent.removeIf([id](const Absent &absent) { return absent.id == id; }) > 0;
}

void AccountManager::announceAbsent()
{
    if (m_announcedAbsent == m_absent)
        return;
    m_announcedAbsent = m_absent;
    Q_EMIT unavailableAccountsChanged();
}

QVariantList AccountManager::unavailableAccounts() const
{
    QVariantList accounts;
    for (const Absent &absent : m_absent) {
        accounts.append(QVariantMap{{QStringLiteral("accountId"), absent.id},
                                    {QStringLiteral("state"), int(absent.state)}});
    }
    return accounts;
}

void AccountManager::initGeometry()
{
    const AppSettingModel *settings = AppSettingModel::instance();
    const QVariantMap window = jsonToMap(settings->mainwindowGeometry().toUtf8());
    const int listWidth = settings->miniSessionMode() ? 80 : settings->sessionListWidth();
    m_dialogWindowSize = QSize(window.value(QStringLiteral("width")).toInt() - listWidth,
                               window.value(QStringLiteral("height")).toInt() - 22);

    int width = m_dialogWindowSize.width();
    if (infoPanelVisible())
        width -= settings->infoPanelWidth();
    m_maxMsgItemWidth = settings->plainModel()
        ? std::max(width - 112, minMsgItemWidth)
        : std::max(std::min(width - 144, 560), minMsgItemWidth);
    m_maxMsgItemWidthInThread = std::max(settings->infoPanelWidth() - 96, minMsgItemWidth);
    m_infoPanelVisible = infoPanelVisible();
}

// The list

int AccountManager::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant AccountManager::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || role != ModelDataRole)
        return {};
    AccountBase *account = getAccountByIndex(index.row());
    return account ? QVariant::fromValue(account) : QVariant();
}

QHash<int, QByteArray> AccountManager::roleNames() const
{
    return {{ModelDataRole, QByteArrayLiteral("modelData")}};
}

int AccountManager::count() const
{
    return int(m_accounts.size());
}

AccountBase *AccountManager::getAccount(qint64 accountId) const
{
    for (AccountBase *account : m_accounts) {
        if (account && account->isAccountId(accountId))
            return account;
    }
    return nullptr;
}

AccountBase *AccountManager::getAccountByIndex(int index) const
{
    return m_accounts.value(index);
}

int AccountManager::accountIndex(AccountBase *account) const
{
    return account ? int(m_accounts.indexOf(account)) : -1;
}

QList<qint64> AccountManager::getAccountIds() const
{
    QList<qint64> ids;
    const std::lock_guard lock(m_lock);
    for (const AccountBase *account : m_accounts) {
        if (const qint64 id = account ? account->accountId() : 0; id > 0)
            ids.append(id);
    }
    return ids;
}

bool AccountManager::containsAccount(AccountBase *account) const
{
    const std::lock_guard lock(m_lock);
    return account && m_accounts.contains(account);
}

bool AccountManager::isListed(const AccountBase *account) const
{
    return account && m_accounts.contains(account);
}

bool AccountManager::isUsable(const AccountBase *account)
{
    return account && !account->m_leaving;
}

bool AccountManager::maySignIn(AccountBase *account) const
{
    return !account->m_isNotebook && !isListed(account) && !m_beingListed.contains(account);
}

bool AccountManager::isHeld(const AccountBase *account) const
{
    return account == m_currentAccount || account == m_loginAccount || account == m_notebookAccount
        || isListed(account);
}

QList<AccountManager::Account> AccountManager::snapshot(bool withLogin) const
{
    QList<Account> accounts;
    if (withLogin && m_loginAccount)
        accounts.append(m_loginAccount);
    for (AccountBase *account : m_accounts) {
        if (account)
            accounts.append(account);
    }
    return accounts;
}

void AccountManager::forEach(bool withLogin, const std::function<void(AccountBase *)> &call)
{
    for (const Account &account : snapshot(withLogin)) {
        if (isListed(account) || (withLogin && account && account == m_loginAccount))
            call(account);
    }
}

AccountBase *AccountManager::createAccount(bool autoReconnect)
{
    return createAccount(autoReconnect, false);
}

AccountBase *AccountManager::createAccount(bool autoReconnect, bool isNotebook)
{
    const Account account(m_accountFactory ? m_accountFactory(this) : nullptr);
    if (!account) {
        logRefusal(
            QStringLiteral("there is no account without a function that makes them, see init()"));
        return nullptr;
    }
    account->m_isNotebook = isNotebook;
    account->setAutoReconnect(autoReconnect);
    account->initialize();
    return account;
}

// Changes of rows

bool AccountManager::postponed(std::function<void()> operation)
{
    if (m_changingRows)
        m_postponed.push_back(std::move(operation));
    return m_changingRows;
}

void AccountManager::rowsChanged()
{
    m_changingRows = false;
    removeEmptyRows();
    while (!m_postponed.empty() && !m_changingRows) {
        const std::function<void()> operation = std::move(m_postponed.front());
        m_postponed.pop_front();
        operation();
    }
}

bool AccountManager::addAccount()
{
    if (!m_accountFactory) {
        //% "The accounts have not been loaded yet."
        Q_EMIT error(0, translated(QT_TRID_NOOP("accounts_not_loaded")), 0);
        return false;
    }
    if (count() >= maxAccounts) {
        //% "No more than %1 accounts can be signed in on one device."
        Q_EMIT error(0, translated(QT_TRID_NOOP("max_supported_accounts")).arg(maxAccounts), 0);
        return false;
    }
    if (m_closing)
        return false;
    if (postponed([this] { addAccount(); }))
        return true;
    qCDebug(lcAccounts, "AccountManager::addAccount");
    if (m_loginAccount)
        return true;
    // Somebody who signed out may have stayed, without being asked to sign in again.
    Account account = m_currentAccount;
    if (!isUsable(account) || !maySignIn(account))
        account = createAccount(true);
    if (!account)
        return false;
    setLoginAccount(account);
    giveUp(account);
    return true;
}

void AccountManager::addAccount(AccountBase *account)
{
    if (!account || !account->authorized())
        return;
    if (postponed([this, guard = Account(account)] { addAccount(guard.data()); }))
        return;
    if (!isUsable(account) || account->m_isNotebook)
        return logRefusal(
            QStringLiteral("an account that was given up, or the notebook's, is not listed"));
    if (account->accountId() < 1)
        return logRefusal(
            QStringLiteral("an account of the id %1 is not listed").arg(account->accountId()));
    if (m_beingListed.contains(account) || (!isListed(account) && !checkListable(account)))
        return;
    connect(account, &AccountBase::totalUnreadCountChanged, this,
            &AccountManager::accountUnreadCountChanged, Qt::UniqueConnection);
    connect(account, &AccountBase::totalAtMeCountChanged, this,
            &AccountManager::accountAtMeCountChanged, Qt::UniqueConnection);

    // Its store is on the disk before its id is.
    if (account != m_restored)
        account->accountSettingModel()->flush(QDeadlineTimer(syncMs));
    const bool wasLogin = account == m_loginAccount;
    m_beingListed.append(account);
    if (wasLogin || !m_currentAccount)
        setCurrentAccount(account, false);
    if (!m_beingListed.removeOne(account))
        return saveCurrentId();
    if (!isListed(account)) {
        if (!account->authorized()) {
            if (account == m_currentAccount && !m_loginAccount)
                setLoginAccount(account);
            else if (wasLogin)
                giveUp(account);
            saveAccounts(); // and not its id as the current one
            return;
        }
        if (!checkListable(account))
            return;
        const Account guard(account);
        const bool restored = account == m_restored;
        m_changingRows = true;
        beginInsertRows({}, count(), count());
        const bool wasStored = guard && removeAbsent(guard->accountId());
        // The sign-in is over, whatever handlers have vetoed or begun meanwhile.
        const bool endsLogin = guard && guard == m_loginAccount;
        {
            const std::lock_guard lock(m_lock);
            m_accounts.append(guard);
            if (endsLogin)
                m_loginAccount = nullptr;
        }
        updateTotals();
        Q_EMIT countChanged(count());
        endInsertRows();
        rowsChanged();
        if (endsLogin)
            Q_EMIT loginAccountChanged();
        if (restored && wasStored)
            return;
    }
    saveAccounts();
}

bool AccountManager::checkListable(AccountBase *account)
{
    const bool listedAlready = getAccount(account->accountId());
    if (m_closing) {
        giveUp(account, false);
        return false;
    }
    if (!listedAlready && !m_deleteAll)
        return true;
    logRefusal(listedAlready ? QStringLiteral("an account is not listed twice")
                             : QStringLiteral("nobody signs in while the accounts are wiped"));
    refuse(account);
    if (listedAlready) {
        //% "This account is already signed in on this device."
        Q_EMIT error(0, translated(QT_TRID_NOOP("account_already_signed_in")), 0);
    }
    return false;
}

void AccountManager::refuse(AccountBase *account)
{
    const Account guard(account);
    m_beingListed.removeAll(account);
    if (account == m_loginAccount) {
        setLogin(nullptr);
        Q_EMIT loginAccountChanged();
    }
    if (isUsable(guard))
        abandonSignIn(guard);
    setActiveAccount(m_currentAccount);
    saveCurrentId();
}

void AccountManager::removeAccount(int index)
{
    if (index < 0 || index >= count())
        return;
    m_changingRows = true;
    beginRemoveRows({}, index, index);
    AccountBase *account;
    {
        const std::lock_guard lock(m_lock);
        account = m_accounts.takeAt(index);
    }
    updateTotals();
    Q_EMIT countChanged(count());
    endRemoveRows();
    if (m_lastAccount == account)
        m_lastAccount = nullptr;
    rowsChanged();
}

QVariantList AccountManager::idsToSave() const
{
    QVariantList ids;
    for (const AccountBase *account : m_accounts) {
        if (account && account->authorized() && account->accountId() > 0)
            ids.append(account->accountId());
    }
    for (const Absent &absent : m_absent) {
        if (!ids.contains(absent.id))
            ids.append(absent.id);
    }
    return ids;
}

/// Settings that have not been read may hold a list of their own: it is not replaced.
void AccountManager::storeIds(const QVariantList &ids)
{
    AppSettingModel *settings = AppSettingModel::instance();
    for (const QVariant &id : ids)
        m_known.insert(id.toLongLong());
    if (!settings->isUnread())
        settings->setAccountIds(ids, true);
    else if (!ids.isEmpty()) // which would reset what is stored
        settings->setAccountIds(ids, false);
}

void AccountManager::storeCurrentId(qint64 id)
{
    AppSettingModel *settings = AppSettingModel::instance();
    settings->setCurrentAccountId(id, !settings->isUnread());
}

void AccountManager::saveAccounts()
{
    if (m_deleteAll)
        return;
    takeStored();
    // An empty list resets all settings, once its signal has been delivered, and with them what a
    // handler of that has stored.
    AppSettingModel *settings = AppSettingModel::instance();
    QVariantList ids;
    do {
        ids = idsToSave();
        storeIds(ids);
    } while (!m_deleteAll && ids != idsToSave());
    saveCurrentId();
    // Who has signed in is not to do so again after a power cut; nor is who signed out back.
    settings->flush(QDeadlineTimer(syncMs));
    announceAbsent();
}

/// Not all changes come by setCurrentAccount(): one that is shown may sign in, or log out behind
/// the notebook.
void AccountManager::saveCurrentId()
{
    AppSettingModel *settings = AppSettingModel::instance();
    AccountBase *current = m_currentAccount;
    const bool signedIn =
        isListed(current) || (m_beingListed.contains(current) && current->authorized());
    if (signedIn && !m_deleteAll)
        storeCurrentId(current->accountId());
    else if (!idsToSave().contains(settings->currentAccountId()))
        storeCurrentId(0);
}

// The end of an object

void AccountManager::giveUp(AccountBase *account, bool logOut)
{
    if (!isUsable(account) || isHeld(account) || m_beingListed.contains(account))
        return;
    account->m_leaving = true;
    if (m_lastAccount == account)
        m_lastAccount = nullptr;
    if (m_activeAccount == account)
        m_activeAccount = nullptr;
    account->release(logOut && account != m_restored, true);
}

void AccountManager::accountDeleted(AccountBase *account)
{
    account->m_leaving = true;
    if (theInstance)
        theInstance->forget(account);
}

void AccountManager::forget(AccountBase *account)
{
    m_beingListed.removeAll(account);
    if (account == m_restored)
        m_restored = nullptr;
    for (Account *pointer : {&m_lastAccount, &m_activeAccount, &m_notebookAccount}) {
        if (*pointer == account)
            *pointer = nullptr;
    }
    const bool wasCurrent = m_currentAccount == account;
    if (wasCurrent)
        m_currentAccount = nullptr;
    const bool wasLogin = m_loginAccount == account;
    if (wasLogin)
        setLogin(nullptr);
    const int row = accountIndex(account);
    if (row >= 0) {
        const qint64 id = account->accountId();
        if (account->authorized() && id > 0)
            addAbsent(id, AccountBase::StoreClosed);
        const std::lock_guard lock(m_lock);
        m_accounts[row] = nullptr;
    }
    if (row < 0 && !wasCurrent && !wasLogin)
        return;

    const auto close = [this, row, wasCurrent, wasLogin] {
        removeEmptyRows();
        if (wasLogin)
            Q_EMIT loginAccountChanged();
        if (wasCurrent)
            chooseCurrentAccount(row);
        else
            setActiveAccount(m_currentAccount);
        if (m_deleteAll && count() == 0)
            finishWipe();
        announceAbsent();
    };
    if (!postponed(close))
        close();
}

void AccountManager::removeEmptyRows()
{
    for (qsizetype row = 0; (row = m_accounts.indexOf(nullptr)) >= 0;)
        removeAccount(int(row));
}

// Totals

void AccountManager::accountUnreadCountChanged(int, int)
{
    updateTotals();
}

void AccountManager::accountAtMeCountChanged(int, int)
{
    updateTotals();
}

void AccountManager::updateTotals()
{
    const auto sum = [this](int (AccountBase::*countOf)() const, qint64 least) {
        qint64 total = 0;
        for (const AccountBase *account : std::as_const(m_accounts))
            total += account ? (account->*countOf)() : 0;
        return int(std::clamp<qint64>(total, least, std::numeric_limits<int>::max()));
    };
    setTotalUnreadCount(sum(&AccountBase::totalUnreadCount, 0));
    // Below 0 as well: a mark that comes in before its mention evens out when that arrives.
    setTotalAtMeCount(sum(&AccountBase::totalAtMeCount, std::numeric_limits<int>::min()));
}

void AccountManager::setTotalUnreadCount(int count)
{
    if (std::exchange(m_totalUnreadCount, count) != count)
        Q_EMIT totalUnreadCountChanged(count);
}

void AccountManager::setTotalAtMeCount(int count)
{
    if (std::exchange(m_totalAtMeCount, count) != count)
        Q_EMIT totalAtMeCountChanged();
}

// Which account is shown, active, signing in

bool AccountManager::currentItemChangeable(int type) const
{
    return m_itemChangeable.value(type);
}

void AccountManager::setCurrentItemChangeable(int type, bool changeable)
{
    m_itemChangeable.insert(type, changeable);
}

bool AccountManager::mayChangeCurrentItem(bool forced, AccountBase *newCurrent)
{
    // A change that a handler asks for has a veto of its own.
    const std::optional<bool> outer =
        m_asking ? std::optional(currentItemChangeable(AccountItem)) : std::nullopt;
    ++m_asking;
    m_itemChangeable.insert(AccountItem, true);
    Q_EMIT beginChangeCurrentItem(AccountItem, forced, m_currentAccount, newCurrent);
    --m_asking;
    const bool changeable = currentItemChangeable(AccountItem);
    if (outer)
        m_itemChangeable.insert(AccountItem, *outer);
    return forced || changeable;
}

void AccountManager::setCurrentAccount(qint64 accountId)
{
    if (postponed([this, accountId] { setCurrentAccount(accountId); }))
        return;
    if (AccountBase *account = getAccount(accountId))
        setCurrentAccount(account, false);
}

void AccountManager::setCurrentAccount(AccountBase *account, bool forced)
{
    if (account == m_currentAccount) {
        if (account)
            resetLoginAccount();
        return;
    }
    if (m_closing)
        return;
    // Handlers may change everything. Whoever was made current by one stays that.
    const Account guard(account);
    const Account previous = m_currentAccount;
    const auto overtaken = [&] {
        if (m_currentAccount != previous)
            return true;
        if (!account || isUsable(guard))
            return false;
        chooseCurrentAccount(0);
        return true;
    };
    if (!mayChangeCurrentItem(forced, account) || overtaken())
        return;

    if (!m_currentAccount || m_currentAccount != m_notebookAccount)
        m_lastAccount = m_currentAccount;
    if (m_lastAccount && !m_lastAccount->authorized())
        m_lastAccount = nullptr;
    // An account that logged out may still have its id.
    if (account && account->authorized() && account->accountId() > 0) {
        storeCurrentId(account->accountId());
        if (overtaken())
            return saveCurrentId();
    }
    m_currentAccount = guard;
    Q_EMIT currentAccountChanged(m_currentAccount, m_lastAccount);

    if (const Account login = m_loginAccount) {
        // One that is shown and not signed in yet goes on signing in.
        if (login != m_currentAccount || login->authorized())
            endLogin();
    }
    giveUp(previous);
    setActiveAccount(m_currentAccount);
    saveCurrentId(); // a handler may have stored that of the account before
    m_newDeviceLoginManager->activeAccount(m_currentAccount);
}

AccountBase *AccountManager::successor(int row) const
{
    if (isListed(m_lastAccount) && m_lastAccount->authorized())
        return m_lastAccount;
    const QList<Account> listed = snapshot(false);
    if (!listed.isEmpty())
        return listed.at(std::clamp<qsizetype>(row, 0, listed.size() - 1));
    return m_loginAccount;
}

void AccountManager::chooseCurrentAccount(int row)
{
    if (m_currentAccount || m_closing)
        return;
    if (AccountBase *account = successor(row))
        setCurrentAccount(account, true);
    else if (m_accountFactory && !m_restoring)
        addAccount();
    else
        Q_EMIT currentAccountChanged(nullptr, nullptr);
}

void AccountManager::setLogin(AccountBase *account)
{
    const std::lock_guard lock(m_lock);
    m_loginAccount = account;
}

void AccountManager::setLoginAccount(AccountBase *account)
{
    if (account == m_loginAccount && !m_changingRows) {
        if (account)
            setActiveAccount(account);
        return;
    }
    const Account guard(account);
    const bool ends = !account;
    if (postponed([this, guard, ends, login = Account(m_loginAccount)] {
            // The caller means the sign-in that was under way.
            if (guard || (ends && login == m_loginAccount))
                setLoginAccount(guard);
        }))
        return;
    if (account && (!isUsable(account) || !maySignIn(account)))
        return logRefusal(QStringLiteral(
            "an account that is listed or given up, or the notebook's, does not sign in"));
    if (account && m_closing)
        return;
    const Account before(m_loginAccount);
    if (m_currentAccount) {
        if (!mayChangeCurrentItem(false, account))
            return;
    } else {
        setCurrentAccount(account, true);
    }
    // A handler may have ended the account, or begun another sign-in.
    if ((account && (!isUsable(guard) || !maySignIn(guard)))
        || (m_loginAccount && m_loginAccount != before))
        return;
    setLogin(account);
    if (account)
        setActiveAccount(account);
    Q_EMIT loginAccountChanged();
    if (!ends)
        giveUp(before);
}

void AccountManager::endLogin()
{
    const Account login(m_loginAccount);
    setLoginAccount(nullptr);
    giveUp(login);
}

void AccountManager::resetLoginAccount()
{
    if (m_loginAccount)
        endLogin();
    setActiveAccount(m_currentAccount);
}

void AccountManager::abandonSignIn(AccountBase *account)
{
    const Account guard(account);
    m_beingListed.removeAll(account);
    if (account != m_currentAccount && account == m_loginAccount)
        resetLoginAccount();
    // A handler may log out the one that was to follow. One that cannot follow is not asked twice.
    AccountBase *asked = guard;
    while (isUsable(guard) && guard == m_currentAccount && !m_closing) {
        AccountBase *next = count() > 0 ? successor(0) : nullptr;
        if (next && next != guard && next != asked) {
            asked = next;
            setCurrentAccount(next, true);
        } else {
            if (guard == m_loginAccount)
                setLogin(nullptr);
            m_currentAccount = nullptr;
            chooseCurrentAccount(0);
        }
    }
    giveUp(guard);
}

void AccountManager::cancelSignIn()
{
    if (postponed([this] { cancelSignIn(); }))
        return;
    const Account login(m_loginAccount);
    if (!login)
        return;
    if (count() > 0)
        return abandonSignIn(login);
    const Account fresh(createAccount(true));
    if (!fresh)
        return;
    setLoginAccount(fresh);
    if (login && login == m_currentAccount && fresh && fresh == m_loginAccount)
        setCurrentAccount(fresh, true);
    giveUp(fresh);
}

void AccountManager::setActiveAccount(AccountBase *account)
{
    if (account == m_activeAccount || (account && !isUsable(account)))
        return;
    const Account guard(account);
    const Account previous = m_activeAccount;
    if (account)
        account->setActive(true);
    if (m_activeAccount != previous) { // the account has handed it on
        if (guard && guard != m_activeAccount)
            guard->setActive(false);
        return;
    }
    qCDebug(lcAccounts, "AccountManager::setActiveAccount %lld",
            guard ? guard->accountId() : qint64(0));
    if (previous && previous->authorized())
        previous->setActive(false);
    m_activeAccount = isUsable(guard) ? guard : nullptr;
}

bool AccountManager::setActiveAccountById(qint64 accountId)
{
    AccountBase *account = getAccount(accountId);
    if (account)
        setActiveAccount(account);
    return account != nullptr;
}

void AccountManager::activeNextAccount()
{
    if (postponed([this] { activeNextAccount(); }))
        return;
    const int size = count();
    if (size < 2)
        return;
    int index = accountIndex(m_currentAccount);
    qint64 id = 0;
    for (int step = 0; step < size; ++step) {
        index = (index + 1) % size;
        if (m_accounts.at(index)->authorized()) {
            id = m_accounts.at(index)->accountId();
            break;
        }
    }
    setCurrentAccount(id);
}

// Signing out

void AccountManager::logout(AccountBase *account)
{
    if (!isUsable(account))
        return;
    const Account guard(account);
    if (postponed([this, guard] { logout(guard); }))
        return;
    if (account->authorized())
        m_newDeviceLoginManager->deviceLogout(account->accountId());
    if (isListed(guard))
        logoutListed(guard);
    else if (m_beingListed.contains(guard))
        logoutBeingListed(guard);
    else if (guard && guard == m_loginAccount && count() > 0)
        abandonSignIn(guard);

    // What the settings knew of the account is not to stay legible in their log.
    storage::SettingStorage settings(
        *AppSettingModel::instance()->globalStorage()->settingStorage());
    ThreadManager::invoke([settings]() mutable { settings.clearLog(); }, true);
    if (m_deleteAll && count() == 0)
        finishWipe();
}

void AccountManager::logoutListed(AccountBase *account)
{
    const Account guard(account);
    const bool wasOnly = count() == 1;
    const int index = accountIndex(account);
    account->m_leaving = true;
    removeAccount(index);

    // The only account stays, and the sign-in page takes it over.
    const bool stays = count() == 0 && (wasOnly || !successor(index));
    if (!stays && guard && account == m_currentAccount) {
        m_currentAccount = nullptr;
        chooseCurrentAccount(index);
    }
    if (guard && !m_deleteAll) {
        ImLog::info(lcAccounts(),
                    QStringLiteral("Logout account [%1.%2].")
                        .arg(account->accountId())
                        .arg(account->deviceId()));
    }
    if (guard)
        account->logout(!stays);
    if (guard && stays)
        keepSignedOut(account);
    saveAccounts();
}

void AccountManager::logoutBeingListed(AccountBase *account)
{
    const Account guard(account);
    m_beingListed.removeAll(account);
    const bool wasAbsent = removeAbsent(account->accountId());
    account->m_leaving = true;
    const bool stays = count() == 0;
    if (!stays) {
        if (account == m_currentAccount)
            setCurrentAccount(successor(0), true);
        else if (account == m_loginAccount)
            resetLoginAccount();
    }
    if (guard)
        account->logout(!stays);
    if (guard && stays)
        keepSignedOut(account);
    if (wasAbsent)
        saveAccounts();
}

void AccountManager::keepSignedOut(AccountBase *account)
{
    const Account guard(account);
    account->m_leaving = false;
    if (count() == 0 || account == m_currentAccount)
        setLoginAccount(account);
    giveUp(guard);
}

void AccountManager::finishWipe()
{
    if (std::exchange(m_finishingWipe, true))
        return;
    m_absent.clear();
    // Before the settings forget: whoever is killed here wipes the rest at the next start.
    const QVariantList left = removeTraces(storeFolders());
    AppSettingModel::instance()->setAccountIds({}, true);
    logoutAll();
    updateTotals();
    m_finishingWipe = false;
    m_deleteAll = false;
    saveCurrentId();
    storeLeft(left);
    AppSettingModel::instance()->flush();
    AppSettingModel::instance()->globalStorage()->removeSetAside();
    ImLog::instance()->removeFiles();
    announceAbsent();
    QMetaObject::invokeMethod(this, &AccountManager::afterUnlockApp, Qt::QueuedConnection);
}

/// What a wipe removes: the folders of all accounts in the data directory, and the key.
QVariantList AccountManager::storeFolders()
{
    QVariantList names;
    const QDir data(AppDirManager::instance()->defaultCacheDataDir());
    for (const QString &name : data.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isId = false;
        name.toLongLong(&isId);
        if (isId && QFileInfo::exists(data.filePath(name) + QStringLiteral("/userstatus")))
            names.append(name);
    }
    return names << masterKeyName();
}

void AccountManager::storeLeft(const QVariantList &names)
{
    AppSettingModel *settings = AppSettingModel::instance();
    if (!names.isEmpty())
        settings->setValue(leftStoresKey(), listToJson(names), true);
    else if (settings->value(leftStoresKey(), {}).isValid())
        settings->removeKey(leftStoresKey());
}

/// Removes what storeFolders() named, and returns what could not be removed. Whoever signs in just
/// now, in a handler, keeps store and key: an account is not to be listed without a store.
QVariantList AccountManager::removeTraces(const QVariantList &names)
{
    if (m_notebookAccount)
        m_notebookAccount->closeStorage();
    QStringList inUse;
    for (const AccountBase *account : findChildren<AccountBase *>(Qt::FindDirectChildrenOnly)) {
        if (account->storage()->isOpen())
            inUse.append(QFileInfo(account->storage()->filePath()).path());
    }
    for (const Absent &absent : m_absent)
        inUse.append(QDir::cleanPath(AccountBase::statusDataPath(absent.id)));
    const QDir data(AppDirManager::instance()->defaultCacheDataDir());
    QVariantList left;
    for (const QVariant &entry : names) {
        const QString name = entry.toString();
        bool isId = false;
        name.toLongLong(&isId);
        const QString folder = data.filePath(name);
        const QString store = QDir::cleanPath(folder + QStringLiteral("/userstatus"));
        if (isId && !inUse.contains(store) && !Util::removeLocalFolder(folder))
            left.append(name);
    }
    if (!inUse.isEmpty())
        logRefusal(
            QStringLiteral("the wipe leaves the store and the key of an account that signs in"));
    else if (names.contains(masterKeyName()) && !crypto::MasterKey::installation()->remove())
        left.append(masterKeyName());
    return left;
}

void AccountManager::logoutAll()
{
    if (postponed([this] { logoutAll(); }))
        return;
    m_absent.clear();
    {
        const QScopedValueRollback<bool> loggingOut(m_loggingOutAll, true);
        AppSettingModel::instance()->setAccountIds({}, true);
    }
    m_lastAccount = nullptr;
    if (m_currentAccount && m_currentAccount == m_notebookAccount && count() > 0)
        m_currentAccount = m_accounts.first();
    Q_EMIT currentAccountChanged(m_currentAccount, m_lastAccount);

    if (count() > 0)
        removeAll();

    if (!m_currentAccount) {
        setCurrentAccount(nullptr, true);
        const Account login(m_loginAccount);
        setLogin(nullptr);
        Q_EMIT loginAccountChanged();
        giveUp(login);
    } else if (m_currentAccount != m_notebookAccount && !isListed(m_currentAccount)) {
        setLoginAccount(m_currentAccount);
    }
    saveAccounts();
    if (m_deleteAll && count() == 0)
        finishWipe();
}

void AccountManager::removeAll()
{
    // Views were made for the row behind the last one: it has always been announced.
    m_changingRows = true;
    beginRemoveRows({}, 0, count());
    while (count() > 0) {
        Account account;
        {
            const std::lock_guard lock(m_lock);
            account = m_accounts.takeFirst();
        }
        if (!account)
            continue;
        const bool stays = account == m_currentAccount;
        account->m_leaving = true;
        account->logout(!stays);
        if (account && stays)
            account->m_leaving = false;
    }
    updateTotals();
    Q_EMIT countChanged(0);
    endRemoveRows();
    rowsChanged();
}

void AccountManager::unlockApp(bool destroy, bool notebookMode)
{
    if (postponed([this, destroy, notebookMode] { unlockApp(destroy, notebookMode); }))
        return;
    ImLog::info(lcAccounts(), QStringLiteral("Unlock application."));
    if (!destroy) {
        if (notebookMode) {
            if (m_notebookAccount)
                m_notebookAccount->enterNotebookMode();
            if (m_notebookAccount)
                setCurrentAccount(m_notebookAccount, true);
        } else if (m_notebookAccount && m_currentAccount == m_notebookAccount) {
            AccountBase *target = m_lastAccount;
            if (!target)
                target = count() > 0 ? m_accounts.first() : m_loginAccount;
            if (!target) {
                addAccount();
                target = m_loginAccount;
            }
            if (target && m_currentAccount == m_notebookAccount)
                setCurrentAccount(target, false);
        }
        setNotebookMode(notebookMode);
        setAppLocked(false);
        return;
    }

    // Otherwise the accounts log out one by one, and the last one finishes the wipe.
    const bool nothingListed = count() == 0;
    m_appDataMove->wipe();
    m_lastAccount = nullptr;
    m_deleteAll = true;
    Q_EMIT currentAccountChanged(m_currentAccount, nullptr);
    const bool recoverable = AppSettingModel::instance()->destructRecoverable();
    forEach(false, [recoverable](AccountBase *account) {
        account->deleteAccount(false, 5, true, recoverable);
    });
    // Not where handlers have finished it: somebody may have signed in since.
    if (m_deleteAll)
        storeCurrentId(0);
    if (nothingListed && m_deleteAll)
        finishWipe();
}

void AccountManager::afterUnlockApp()
{
    Q_EMIT appWiped();
}

void AccountManager::recordScreenLockLog(int sceneType, int unlockType, int result)
{
    forEach(false, [=](AccountBase *account) {
        account->recordScreenLockLog(sceneType, unlockType, result);
    });
}

// Connection

void AccountManager::reconnectToServer()
{
    forEach(true, [](AccountBase *account) { account->reconnectToServer(true); });
    Q_EMIT sigReconnectToServer();
}

void AccountManager::abortAndReconnect(bool resetAutoReconnect, qint64 accountId)
{
    forEach(true, [=, this](AccountBase *account) {
        const bool signsIn = account == m_loginAccount && accountId <= 0;
        const bool named = accountId < 0 || account->isAccountId(accountId);
        if (signsIn || (named && isListed(account)))
            account->abortAndReconnect(resetAutoReconnect);
    });
    Q_EMIT sigReconnectToServer();
}

void AccountManager::resetCurrentServer()
{
    forEach(true, [](AccountBase *account) { account->resetCurrentServer(); });
}

void AccountManager::setProxy(const QNetworkProxy &proxy)
{
    forEach(true, [&proxy](AccountBase *account) { account->setProxy(proxy); });
}

void AccountManager::updateUserCacheDataPath()
{
    forEach(true, [](AccountBase *account) { account->updateUserCacheDataPath(); });
}

bool AccountManager::hasDisconnectedTcp() const
{
    const auto isDisconnected = [](const AccountBase *account) {
        return account && account->autoReconnect() && account->state() != AccountBase::NORMAL
            && account->state() != AccountBase::UPDATING;
    };
    const std::lock_guard lock(m_lock);
    return isDisconnected(m_loginAccount)
        || std::any_of(m_accounts.cbegin(), m_accounts.cend(), isDisconnected);
}

// Life

void AccountManager::reset()
{
    if (!m_closing && postponed([this] { reset(); }))
        return;
    if (m_resetting) // and a handler asks for it again
        return;
    const QScopedValueRollback<bool> resetting(m_resetting, true);
    // Nobody comes in any more, whatever handlers ask for.
    const QScopedValueRollback<bool> closing(m_closing, true);
    Q_EMIT beginReset();
    ImLog::info(lcAccounts(), QStringLiteral("AccountManager::reset"));
    m_newDeviceLoginManager->reset();
    m_lastAccount = nullptr;
    const Account current = std::exchange(m_currentAccount, nullptr);
    m_activeAccount = nullptr;
    Q_EMIT currentAccountChanged(nullptr, nullptr);

    if (count() > 0) {
        // Should somebody sign in afterwards, that does not forget them on the disk.
        for (const QVariant &id : idsToSave())
            addAbsent(id.toLongLong(), AccountBase::StoreClosed);
        m_changingRows = true;
        beginRemoveRows({}, 0, count() - 1);
        const QList<Account> listed = snapshot(false);
        {
            const std::lock_guard lock(m_lock);
            m_accounts.clear();
        }
        endRemoveRows();
        updateTotals();
        Q_EMIT countChanged(0);
        rowsChanged();
        for (const Account &account : listed)
            release(account);
    }
    m_appDataMove->reset();

    if (const Account login = m_loginAccount) {
        if (m_currentAccount)
            mayChangeCurrentItem(false, nullptr);
        setLogin(nullptr);
        Q_EMIT loginAccountChanged();
        release(login);
    }
    release(std::exchange(m_notebookAccount, nullptr));
    release(current);
    m_deleteAll = false;
    m_fileTransferThread->quit();
}

void AccountManager::release(AccountBase *account)
{
    if (!isUsable(account))
        return;
    for (Account *pointer : {&m_currentAccount, &m_lastAccount, &m_activeAccount}) {
        if (*pointer == account)
            *pointer = nullptr;
    }
    m_beingListed.removeAll(account);
    giveUp(account, false);
}

void AccountManager::waitForFinished()
{
    for (int round = 0; round < waitRounds && m_resetThreadPool->activeThreadCount() > 0; ++round) {
        processEvents();
        m_resetThreadPool->waitForDone(waitMilliseconds);
    }
    processEvents();
    finishFileTransferThread();
}

// In a signal handler: no lock, nothing that allocates or frees, no list that another thread may be
// changing.
void AccountManager::closeAllDbInCrash()
{
    storage::GlobalStorageProvider::closeAllInCrash();
    if (QThread::currentThreadId() == m_thread) {
        using List = decltype(m_accounts);
        alignas(List) static std::byte list[sizeof(List)]; // never destroyed
        new (list) List(std::move(m_accounts));
    }
    ImLog::infoInCrash("AccountManager::closeAllDbInCrash");
}

// Meeting

void AccountManager::setMeetingModel(MeetingModelBase *meetingModel)
{
    if (m_meetingModel == meetingModel)
        return;
    setMeeting(meetingModel);
    if (!meetingModel)
        setJoiningMeeting(false);
}

void AccountManager::setMeeting(MeetingModelBase *meeting)
{
    disconnect(m_meetingEnd);
    m_meetingModel = meeting;
    if (meeting) {
        m_meetingEnd =
            connect(meeting, &QObject::destroyed, this, [this] { setMeetingModel(nullptr); });
    }
    Q_EMIT meetingModelChanged(meeting);
}

void AccountManager::meetingFinished(bool ok, MeetingModelBase *meeting,
                                     const std::function<void()> &signalFailure)
{
    if (ok) {
        if (m_meetingModel == meeting)
            return;
        setMeeting(meeting);
        if (meeting)
            return;
    } else {
        signalFailure();
    }
    setJoiningMeeting(false);
}

void AccountManager::createMeetingFinished(int code, MeetingModelBase *meeting,
                                           const QString &dialogId, const QString &meetingName)
{
    meetingFinished(code == 0, meeting,
                    [&] { Q_EMIT createMeetingFailed(dialogId, meetingName, code); });
}

void AccountManager::joinMeetingFinished(bool ok, MeetingModelBase *meeting, const QString &text)
{
    meetingFinished(ok, meeting, [&] { Q_EMIT joinMeetingFailed(meeting, text); });
}

void AccountManager::meetingWillBeDeleted(MeetingModelBase *meeting)
{
    if (meeting && m_meetingModel == meeting)
        setMeetingModel(nullptr);
}

void AccountManager::setJoiningMeeting(bool joiningMeeting)
{
    if (std::exchange(m_joiningMeeting, joiningMeeting) != joiningMeeting)
        Q_EMIT joiningMeetingChanged(joiningMeeting);
}

void AccountManager::setJoiningMeetingId(QString joiningMeetingId)
{
    if (m_joiningMeetingId == joiningMeetingId)
        return;
    setJoiningMeeting(!joiningMeetingId.isEmpty());
    m_joiningMeetingId = joiningMeetingId;
    Q_EMIT joiningMeetingIdChanged(joiningMeetingId);
}

// View and geometry

void AccountManager::setViewIndex(int index)
{
    if (std::exchange(m_viewIndex, index) != index)
        Q_EMIT viewIndexChanged(index);
}

void AccountManager::setNotebookMode(bool notebookMode)
{
    if (std::exchange(m_notebookMode, notebookMode) != notebookMode)
        Q_EMIT notebookModeChanged();
}

bool AccountManager::infoPanelVisible() const
{
    const AppSettingModel *settings = AppSettingModel::instance();
    return settings->infoPanelViewMode()
        && m_dialogWindowSize.width() >= settings->infoPanelWidth() + roomBesideInfoPanel;
}

void AccountManager::updateInfoPanelVisible()
{
    const bool visible = infoPanelVisible();
    if (std::exchange(m_infoPanelVisible, visible) != visible)
        Q_EMIT infoPanelVisibleChanged();
}

void AccountManager::setDialogWindowSize(const QSize &size)
{
    if (size == m_dialogWindowSize)
        return;
    m_dialogWindowSize = size;
    updateInfoPanelVisible();
    Q_EMIT dialogWindowSizeChanged();
}

void AccountManager::setMaxMsgItemWidth(int width)
{
    if (width < 1)
        return;
    width = std::max(width, minMsgItemWidth);
    if (std::exchange(m_maxMsgItemWidth, width) != width)
        Q_EMIT maxMsgItemWidthChanged();
}

void AccountManager::setMaxMsgItemWidthInThread(int width)
{
    if (width < 1)
        return;
    width = std::max(width, minMsgItemWidth);
    if (std::exchange(m_maxMsgItemWidthInThread, width) != width)
        Q_EMIT maxMsgItemWidthInThreadChanged();
}
