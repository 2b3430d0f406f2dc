#include "account/accountmanager.h"

#include "core/logs_p.h"
#include "i18n/translated_p.h"
#include "imlog/imlog.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

constexpr int syncMs = 5000; // at most

} // namespace

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
    qCDebug(lcModel, "AccountManager::addAccount");
    if (m_loginAccount)
        return true;
    // An account that signed out may still be current, without a sign-in under way.
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

    // Write the store to the disk before its id.
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
            saveAccounts(); // but not its id as the current one
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

/// Settings that have not been read may hold a list of their own: do not replace it.
void AccountManager::storeIds(const QVariantList &ids)
{
    AppSettingModel *settings = AppSettingModel::instance();
    for (const QVariant &id : ids)
        m_known.insert(id.toLongLong());
    if (!settings->isUnread() || !ids.isEmpty()) // an empty list would reset the store
        settings->setAccountIds(ids, true);
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
    // An empty list resets all settings once its signal has been delivered, including what a
    // handler of that signal has stored.
    AppSettingModel *settings = AppSettingModel::instance();
    QVariantList ids;
    do {
        ids = idsToSave();
        storeIds(ids);
    } while (!m_deleteAll && ids != idsToSave());
    saveCurrentId();
    // After a power cut, an account that signed in must not sign in again, nor one that signed out
    // return.
    settings->flush(QDeadlineTimer(syncMs));
    announceAbsent();
}

/// Not every change goes through setCurrentAccount(): the shown account may sign in, or log out
/// behind the notebook.
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
    // May be below 0: a mark that arrives before its mention is balanced by the mention.
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
