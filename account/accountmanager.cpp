#include "account/accountmanager.h"

#include "account/newdeviceloginmanager.h"
#include "base/json.h"
#include "i18n/translated_p.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"

#include <QCoreApplication>
#include <QJSEngine>
#include <QLoggingCategory>
#include <QNetworkProxy>

#include <algorithm>
#include <cstddef>
#include <new>
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
    reset();
    finishResetPool(waitRounds * waitMilliseconds);
    finishFileTransferThread();
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
    AppSettingModel *settings = AppSettingModel::instance();
    m_newDeviceLoginManager->init();
    AppDirManager::instance()->init();

    connect(settings, &AppSettingModel::accountIdsChanged, QCoreApplication::instance(),
            [](const QVariantList &ids) {
                if (ids.isEmpty())
                    setAppLocked(false);
            });
    connect(settings, &AppSettingModel::infoPanelViewModeChanged, this,
            &AccountManager::infoPanelVisibleChanged);
    connect(settings, &AppSettingModel::infoPanelWidthChanged, this, [this](int width) {
        // The panel's margins while it is dragged; at start-up they are 96.
        setMaxMsgItemWidthInThread(width - 104);
    });
    m_accountFactory = std::move(factory);

    const QVariantList storedIds = settings->accountIds();
    const qint64 storedCurrentId = settings->currentAccountId();
    QList<qint64> ids;
    for (const QVariant &stored : storedIds) {
        const qint64 id = stored.toLongLong();
        if (id < 1 || ids.contains(id))
            continue;
        if (id == storedCurrentId)
            ids.prepend(id);
        else
            ids.append(id);
    }

    setAppLocked(!settings->passcode().isEmpty());
    for (qint64 id : std::as_const(ids)) {
        AccountBase *account = createAccount(true);
        account->restore({{QStringLiteral("userId"), id}}, true, 0);
        addAccount(account);
    }
    if (count() == 0) {
        setLoginAccount(createAccount(true));
        if (!storedIds.isEmpty())
            settings->reset();
    }
    m_notebookAccount = createAccount(false);
    m_appDataMove->resume();
    initGeometry();
    ImLog::info(lcAccounts(), QStringLiteral("AccountManager::init end"));
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
        if (account->isAccountId(accountId))
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
    return int(m_accounts.indexOf(account));
}

QList<qint64> AccountManager::getAccountIds() const
{
    QList<qint64> ids;
    const std::lock_guard lock(m_lock);
    for (const AccountBase *account : m_accounts) {
        if (const qint64 id = account->accountId(); id > 0)
            ids.append(id);
    }
    return ids;
}

bool AccountManager::containsAccount(AccountBase *account) const
{
    const std::lock_guard lock(m_lock);
    return m_accounts.contains(account);
}

QList<AccountManager::Account> AccountManager::snapshot() const
{
    return {m_accounts.cbegin(), m_accounts.cend()};
}

QList<AccountManager::Account> AccountManager::snapshotWithLogin() const
{
    QList<Account> accounts = snapshot();
    accounts.prepend(m_loginAccount);
    return accounts;
}

AccountBase *AccountManager::createAccount(bool autoReconnect)
{
    AccountBase *account = m_accountFactory(this);
    account->setAutoReconnect(autoReconnect);
    account->initialize();
    return account;
}

bool AccountManager::addAccount()
{
    if (count() >= maxAccounts) {
        //% "No more than %1 accounts can be signed in on one device."
        Q_EMIT error(0, translated(QT_TRID_NOOP("max_supported_accounts")).arg(maxAccounts), 0);
        return false;
    }
    qCDebug(lcAccounts, "AccountManager::addAccount");
    if (!m_loginAccount)
        setLoginAccount(createAccount(true));
    return true;
}

void AccountManager::addAccount(AccountBase *account)
{
    if (!account || !account->authorized())
        return;
    connect(account, &AccountBase::totalUnreadCountChanged, this,
            &AccountManager::accountUnreadCountChanged, Qt::UniqueConnection);
    connect(account, &AccountBase::totalAtMeCountChanged, this,
            &AccountManager::accountAtMeCountChanged, Qt::UniqueConnection);

    const Account guard(account);
    const bool signedIn = account == m_loginAccount;
    if (signedIn || !m_currentAccount)
        setCurrentAccount(account, false);
    if (!guard || m_accounts.contains(account))
        return;
    beginInsertRows({}, count(), count());
    {
        const std::lock_guard lock(m_lock);
        m_accounts.append(account);
    }
    Q_EMIT countChanged(count());
    endInsertRows();
    if (signedIn)
        saveAccounts();
}

void AccountManager::removeAccount(int index)
{
    if (index < 0 || index >= count())
        return;
    beginRemoveRows({}, index, index);
    AccountBase *account;
    {
        const std::lock_guard lock(m_lock);
        account = m_accounts.takeAt(index);
    }
    const Account guard(account);
    setTotalUnreadCount(std::max(m_totalUnreadCount - account->totalUnreadCount(), 0));
    if (guard)
        setTotalAtMeCount(m_totalAtMeCount - account->totalAtMeCount());
    if (guard) {
        disconnect(account, &AccountBase::totalUnreadCountChanged, this,
                   &AccountManager::accountUnreadCountChanged);
        disconnect(account, &AccountBase::totalAtMeCountChanged, this,
                   &AccountManager::accountAtMeCountChanged);
    }
    Q_EMIT countChanged(count());
    endRemoveRows();
    if (m_lastAccount == account)
        m_lastAccount = nullptr;
}

void AccountManager::saveAccounts()
{
    if (m_deleteAll)
        return;
    QVariantList ids;
    for (const AccountBase *account : std::as_const(m_accounts)) {
        if (account->authorized() && account->accountId() > 0)
            ids.append(account->accountId());
    }
    AppSettingModel::instance()->setAccountIds(ids, true);
}

void AccountManager::accountUnreadCountChanged(int newCount, int oldCount)
{
    setTotalUnreadCount(std::max(m_totalUnreadCount - oldCount + newCount, 0));
}

void AccountManager::accountAtMeCountChanged(int newCount, int oldCount)
{
    // Not clamped: a mark that comes in before its mention evens out when that arrives.
    setTotalAtMeCount(m_totalAtMeCount - oldCount + newCount);
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
    m_itemChangeable.insert(AccountItem, true);
    Q_EMIT beginChangeCurrentItem(AccountItem, forced, m_currentAccount, newCurrent);
    return forced || currentItemChangeable(AccountItem);
}

void AccountManager::setCurrentAccount(qint64 accountId)
{
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
    const Account guard(account);
    if (!mayChangeCurrentItem(forced, account) || (account && !guard))
        return;

    if (m_currentAccount != m_notebookAccount || !m_currentAccount)
        m_lastAccount = m_currentAccount;
    if (m_lastAccount && !m_lastAccount->authorized())
        m_lastAccount = nullptr;
    if (account && account->accountId() > 0)
        AppSettingModel::instance()->setCurrentAccountId(account->accountId(), true);
    m_currentAccount = guard;
    Q_EMIT currentAccountChanged(m_currentAccount, m_lastAccount);

    if (const Account login = m_loginAccount) {
        setLoginAccount(nullptr);
        if (login && login != m_currentAccount)
            login->release(true, true);
    }
    setActiveAccount(m_currentAccount);
    m_newDeviceLoginManager->activeAccount(m_currentAccount);
}

void AccountManager::setLoginAccount(AccountBase *account)
{
    if (account == m_loginAccount) {
        if (account)
            setActiveAccount(account);
        return;
    }
    const Account guard(account);
    if (m_currentAccount) {
        if (!mayChangeCurrentItem(false, account))
            return;
    } else {
        setCurrentAccount(account, true);
    }
    m_loginAccount = guard;
    if (guard)
        setActiveAccount(guard);
    Q_EMIT loginAccountChanged();
}

void AccountManager::resetLoginAccount()
{
    if (const Account login = m_loginAccount) {
        setLoginAccount(nullptr);
        if (login && login != m_currentAccount)
            login->release(true, true);
    }
    setActiveAccount(m_currentAccount);
}

void AccountManager::setActiveAccount(AccountBase *account)
{
    if (account == m_activeAccount)
        return;
    const Account guard(account);
    const Account previous = m_activeAccount;
    if (account)
        account->setActive(true);
    qCDebug(lcAccounts, "AccountManager::setActiveAccount %lld",
            guard ? guard->accountId() : qint64(0));
    if (previous && previous->authorized())
        previous->setActive(false);
    m_activeAccount = guard;
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
    if (!account)
        return;
    const Account guard(account);
    if (account->authorized())
        m_newDeviceLoginManager->deviceLogout(account->accountId());
    const int before = count();
    const bool wasLogin = account == m_loginAccount;
    const int index = wasLogin ? -1 : accountIndex(account);

    if (index >= 0) {
        removeAccount(index);
        if (before > 1 && account == m_currentAccount) {
            m_currentAccount = nullptr;
            if (m_lastAccount && m_lastAccount->authorized())
                setCurrentAccount(m_lastAccount, true);
            else
                setCurrentAccount(getAccountByIndex(std::min(index, before - 2)), true);
        }
        if (guard && !m_deleteAll) {
            ImLog::info(lcAccounts(),
                        QStringLiteral("Logout account [%1.%2].")
                            .arg(account->accountId())
                            .arg(account->deviceId()));
        }
        if (guard)
            account->logout(before > 1);
        // The only account stays, and the sign-in page takes it over.
        if (guard && before == 1)
            setLoginAccount(account);
        saveAccounts();
    } else if (wasLogin && before > 0) {
        resetLoginAccount();
    }

    if (m_deleteAll && count() == 0)
        finishWipe();
}

void AccountManager::finishWipe()
{
    AppSettingModel::instance()->setAccountIds({}, true);
    logoutAll();
    setTotalUnreadCount(0);
    setTotalAtMeCount(0);
    QMetaObject::invokeMethod(this, &AccountManager::afterUnlockApp, Qt::QueuedConnection);
}

void AccountManager::logoutAll()
{
    AppSettingModel::instance()->setAccountIds({}, true);
    m_lastAccount = nullptr;
    if (m_currentAccount && m_currentAccount == m_notebookAccount && count() > 0)
        m_currentAccount = m_accounts.first();
    Q_EMIT currentAccountChanged(m_currentAccount, m_lastAccount);

    // Views were made for the row behind the last one: it has always been announced.
    beginRemoveRows({}, 0, count());
    while (count() > 0) {
        AccountBase *account;
        {
            const std::lock_guard lock(m_lock);
            account = m_accounts.takeFirst();
        }
        account->logout(account != m_currentAccount);
    }
    Q_EMIT countChanged(0);
    endRemoveRows();

    if (m_currentAccount) {
        setLoginAccount(m_currentAccount);
    } else {
        setCurrentAccount(nullptr, true);
        m_loginAccount = nullptr;
        Q_EMIT loginAccountChanged();
    }
    saveAccounts();
}

void AccountManager::unlockApp(bool destroy, bool notebookMode)
{
    ImLog::info(lcAccounts(), QStringLiteral("Unlock application."));
    if (!destroy) {
        if (notebookMode) {
            if (m_notebookAccount)
                m_notebookAccount->enterNotebookMode();
            setCurrentAccount(m_notebookAccount, true);
        } else if (m_notebookAccount && m_currentAccount == m_notebookAccount) {
            AccountBase *target = m_lastAccount;
            if (!target)
                target = count() > 0 ? m_accounts.first() : m_loginAccount.data();
            setCurrentAccount(target, false);
        }
        setNotebookMode(notebookMode);
        setAppLocked(false);
        return;
    }

    // Otherwise the accounts log out one by one, and the last one finishes the wipe.
    const bool nothingListed = count() == 0;
    m_lastAccount = nullptr;
    m_deleteAll = true;
    Q_EMIT currentAccountChanged(m_currentAccount, nullptr);
    const bool recoverable = AppSettingModel::instance()->destructRecoverable();
    for (const Account &account : snapshot()) {
        if (account)
            account->deleteAccount(false, 5, true, recoverable);
    }
    AppSettingModel::instance()->setCurrentAccountId(0, true);
    if (nothingListed)
        finishWipe();
}

void AccountManager::afterUnlockApp()
{
    m_deleteAll = false;
    Q_EMIT appWiped();
}

void AccountManager::recordScreenLockLog(int sceneType, int unlockType, int result)
{
    for (const Account &account : snapshot()) {
        if (account)
            account->recordScreenLockLog(sceneType, unlockType, result);
    }
}

// Connection

void AccountManager::reconnectToServer()
{
    for (const Account &account : snapshotWithLogin()) {
        if (account)
            account->reconnectToServer(true);
    }
    Q_EMIT sigReconnectToServer();
}

void AccountManager::abortAndReconnect(bool resetAutoReconnect, qint64 accountId)
{
    const QList<Account> listed = snapshot();
    if (m_loginAccount && accountId <= 0)
        m_loginAccount->abortAndReconnect(resetAutoReconnect);
    for (const Account &account : listed) {
        if (account && (accountId < 0 || account->isAccountId(accountId)))
            account->abortAndReconnect(resetAutoReconnect);
    }
    Q_EMIT sigReconnectToServer();
}

void AccountManager::resetCurrentServer()
{
    for (const Account &account : snapshotWithLogin()) {
        if (account)
            account->resetCurrentServer();
    }
}

void AccountManager::setProxy(const QNetworkProxy &proxy)
{
    for (const Account &account : snapshotWithLogin()) {
        if (account)
            account->setProxy(proxy);
    }
}

void AccountManager::updateUserCacheDataPath()
{
    for (const Account &account : snapshotWithLogin()) {
        if (account)
            account->updateUserCacheDataPath();
    }
}

bool AccountManager::hasDisconnectedTcp() const
{
    const QList<Account> accounts = snapshotWithLogin();
    return std::any_of(accounts.cbegin(), accounts.cend(), [](const Account &account) {
        return account && account->autoReconnect() && account->state() != AccountBase::NORMAL
            && account->state() != AccountBase::UPDATING;
    });
}

// Life

void AccountManager::reset()
{
    Q_EMIT beginReset();
    ImLog::info(lcAccounts(), QStringLiteral("AccountManager::reset"));
    m_newDeviceLoginManager->reset();
    m_lastAccount = nullptr;
    m_currentAccount = nullptr;
    m_activeAccount = nullptr;
    Q_EMIT currentAccountChanged(nullptr, nullptr);

    if (count() > 0) {
        beginRemoveRows({}, 0, count() - 1);
        const QList<Account> listed = snapshot();
        {
            const std::lock_guard lock(m_lock);
            m_accounts.clear();
        }
        endRemoveRows();
        Q_EMIT countChanged(0);
        for (const Account &account : listed) {
            if (account)
                account->release(false, true);
        }
    }
    m_appDataMove->reset();

    if (const Account login = m_loginAccount) {
        if (!m_currentAccount || mayChangeCurrentItem(false, nullptr)) {
            m_loginAccount = nullptr;
            Q_EMIT loginAccountChanged();
        }
        if (login)
            login->release(false, true);
    }
    if (const Account notebook = std::exchange(m_notebookAccount, nullptr))
        notebook->release(false, true);
    m_fileTransferThread->quit();
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
    m_meetingModel = meetingModel;
    Q_EMIT meetingModelChanged(meetingModel);
    if (!meetingModel)
        setJoiningMeeting(false);
}

void AccountManager::meetingFinished(bool ok, MeetingModelBase *meeting,
                                     const std::function<void()> &signalFailure)
{
    if (ok) {
        if (m_meetingModel == meeting)
            return;
        m_meetingModel = meeting;
        Q_EMIT meetingModelChanged(meeting);
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

void AccountManager::setDialogWindowSize(const QSize &size)
{
    if (size == m_dialogWindowSize)
        return;
    const bool wasVisible = infoPanelVisible();
    m_dialogWindowSize = size;
    if (infoPanelVisible() != wasVisible)
        Q_EMIT infoPanelVisibleChanged();
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
