#include "account/accountmanager.h"

#include "account/accounttraces_p.h"
#include "account/newdeviceloginmanager.h"
#include "base/json.h"
#include "core/logs_p.h"
#include "core/workers_p.h"
#include "imlog/imlog.h"
#include "settings/appdatamove.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"

#include <QDir>
#include <QFileInfo>
#include <QScopedValueRollback>

#include <algorithm>
#include <optional>
#include <utility>

namespace
{

/// Further attempts to reach the server when a wipe deletes an account.
constexpr int wipeRetries = 5;

} // namespace

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
    // A change that a handler asks for has its own veto.
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
    // Handlers may change everything. An account that one of them made current stays current.
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
        // The shown account keeps signing in.
        if (login != m_currentAccount || login->authorized())
            endLogin();
    }
    giveUp(previous);
    setActiveAccount(m_currentAccount);
    saveCurrentId(); // a handler may have stored the previous id
    m_newDeviceLoginManager->activeAccount(m_currentAccount);
}

AccountBase *AccountManager::successor(int row) const
{
    if (isListed(m_lastAccount) && m_lastAccount->authorized())
        return m_lastAccount;
    const QList<Account> listed = snapshot(false);
    if (!listed.isEmpty())
        return listed.at(std::clamp<qsizetype>(row, 0, listed.size() - 1));
    return m_loginAccount; // may be signing out, and is to be shown again after that
}

void AccountManager::chooseCurrentAccount(int row)
{
    if (m_currentAccount || m_closing)
        return;
    AccountBase *account = successor(row);
    if (isUsable(account))
        setCurrentAccount(account, true);
    else if (!account && m_accountFactory && !m_restoring)
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
    // A handler may log out the chosen successor. Do not ask twice for one that cannot follow.
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
    if (m_activeAccount != previous) { // setActive() has activated another
        if (guard && guard != m_activeAccount)
            guard->setActive(false);
        return;
    }
    qCDebug(lcModel, "AccountManager::setActiveAccount %lld",
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

    // Settings of the account must not stay readable in the database's log.
    storage::SettingStorage settings(
        *AppSettingModel::instance()->globalStorage()->settingStorage());
    Workers::invoke([settings]() mutable { settings.clearLog(); }, true);
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

    // The only account stays, and the sign-in page uses it.
    const bool stays = count() == 0 && (wasOnly || !successor(index));
    if (!stays && guard && account == m_currentAccount) {
        m_currentAccount = nullptr;
        chooseCurrentAccount(index);
    }
    if (guard && !m_deleteAll) {
        ImLog::info(lcModel(),
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
    if (count() == 0 && !m_currentAccount)
        setCurrentAccount(account, true);
    if (guard && (count() == 0 || guard == m_currentAccount))
        setLoginAccount(guard);
    giveUp(guard);
}

void AccountManager::finishWipe()
{
    if (std::exchange(m_finishingWipe, true))
        return;
    m_absent.clear();
    // Before the settings are cleared: after a kill here, the next start wipes the rest.
    if (m_notebookAccount)
        m_notebookAccount->closeStorage();
    const QVariantList left = AccountTraces::removeAll(usedStores());
    AppSettingModel::instance()->setAccountIds({}, true);
    logoutAll();
    updateTotals();
    m_finishingWipe = false;
    m_deleteAll = false;
    saveCurrentId();
    AccountTraces::note(left);
    AppSettingModel::instance()->flush();
    AppSettingModel::instance()->globalStorage()->removeSetAside();
    ImLog::instance()->removeFiles();
    if (!left.isEmpty()) {
        logRefusal(QStringLiteral("the wipe could not remove %1; the next start tries again")
                       .arg(QString::fromUtf8(listToJson(left))));
    }
    announceAbsent();
    QMetaObject::invokeMethod(this, &AccountManager::afterUnlockApp, Qt::QueuedConnection);
}

/// The directories of the stores that are open, or belong to accounts that could not be opened: an
/// account that a handler is signing in must not be listed without a store.
QStringList AccountManager::usedStores() const
{
    QStringList used;
    for (const AccountBase *account : findChildren<AccountBase *>(Qt::FindDirectChildrenOnly)) {
        if (account->storage()->isOpen())
            used.append(QFileInfo(account->storage()->filePath()).path());
    }
    for (const Absent &absent : m_absent)
        used.append(QDir::cleanPath(AccountBase::statusDataPath(absent.id)));
    return used;
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
    // The removal includes the row behind the last one: existing views expect it.
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
    ImLog::info(lcModel(), QStringLiteral("Unlock application."));
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
        account->deleteAccount(false, wipeRetries, true, recoverable);
    });
    // Not if handlers have finished it: someone may have signed in since.
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
