#include "account/accountmanager.h"

#include "account/accounttraces_p.h"
#include "account/meetingstate_p.h"
#include "account/newdeviceloginmanager.h"
#include "core/logs_p.h"
#include "i18n/translated_p.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/messagegeometry_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/userstorageprovider.h"

#include <QCoreApplication>
#include <QJSEngine>
#include <QMetaEnum>
#include <QNetworkProxy>
#include <QScopedValueRollback>

#include <algorithm>
#include <new>
#include <utility>

namespace
{

/// Rounds of processing events and waiting, 20 ms each, before a thread is abandoned.
constexpr int waitRounds = 100;
constexpr int waitMilliseconds = 20;
constexpr int fileTransferMilliseconds = 3000;
constexpr int resetThreadCount = 5;
/// Pixels beside a message in the information panel while it is dragged; at start-up they are 96.
constexpr int draggedPanelMargins = 104;

AccountManager *theInstance = nullptr;

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
    static bool isReleasing = false;
    if (std::exchange(isReleasing, true)) // a handler called this again
        return logRefusal(QStringLiteral("the manager is being released already"));
    // Accounts ask for the manager while they are released, so the pointer is cleared last.
    delete theInstance;
    theInstance = nullptr;
    isReleasing = false;
}

AccountManager::AccountManager()
    : m_resetThreadPool(new QThreadPool(this)), m_fileTransferThread(new QThread(this)),
      m_meeting(new MeetingState(this)), m_newDeviceLoginManager(new NewDeviceLoginManager(this)),
      m_appDataMove(new AppDataMove(
          {[this] { return getAccountIds(); }, [this] { return m_deleteAll; }}, this))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    m_resetThreadPool->setObjectName(QStringLiteral("reset_account_thread_pool"));
    m_resetThreadPool->setMaxThreadCount(resetThreadCount);
    m_fileTransferThread->setObjectName(QStringLiteral("file_transfer_thread"));
    m_fileTransferThread->start(QThread::InheritPriority);
    MessageGeometry::instance()->reset();
    // reset() empties the list, but nobody has signed out.
    connect(this, &AccountManager::beginReset, m_appDataMove, &AppDataMove::cancel);
    connect(m_meeting, &MeetingState::meetingChanged, this, &AccountManager::meetingModelChanged);
    connect(m_meeting, &MeetingState::joiningChanged, this, &AccountManager::joiningMeetingChanged);
    connect(m_meeting, &MeetingState::joiningIdChanged, this,
            &AccountManager::joiningMeetingIdChanged);
    connect(m_appDataMove, &AppDataMove::directoryChanged, this,
            &AccountManager::updateUserCacheDataPath);
    connect(m_appDataMove, &AppDataMove::problemOccurred, this,
            [this](const QString &text) { Q_EMIT error(0, text, 0); });
}

AccountManager::~AccountManager()
{
    m_closing = true;
    reset();
    // The accounts report their end to the manager, and their clean-up tasks may use them.
    finishResetPool(waitRounds * waitMilliseconds);
    finishFileTransferThread();
    while (auto *account = findChild<AccountBase *>({}, Qt::FindDirectChildrenOnly)) {
        // Otherwise an event loop in a slot on destroyed() would delete it a second time.
        QCoreApplication::removePostedEvents(account, QEvent::DeferredDelete);
        delete account;
    }
}

/// Destroying a pool or thread that hangs would wait, or abort the process: it is abandoned
/// instead.
void AccountManager::finishResetPool(int milliseconds)
{
    if (m_resetThreadPool->waitForDone(milliseconds))
        return;
    ImLog::error(lcModel(),
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
    ImLog::error(lcModel(), QStringLiteral("The file transfer thread hangs and is given up"));
    m_fileTransferThread->setParent(nullptr);
}

void AccountManager::setAppLocked(bool locked)
{
    if (QCoreApplication *app = QCoreApplication::instance())
        app->setProperty("appLocked", locked);
}

void AccountManager::logRefusal(const QString &reason)
{
    ImLog::error(lcModel(), QStringLiteral("AccountManager: ") + reason);
}

void AccountManager::accountDeleted(AccountBase *account)
{
    account->m_leaving = true;
    if (theInstance)
        theInstance->forget(account);
}

// Start-up

void AccountManager::init(Factory factory)
{
    ImLog::info(lcModel(), QStringLiteral("AccountManager::init start"));
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
    // For the account that stays for the next sign-in; accounts that are still listed have yet to
    // clear their data.
    connect(settings, &AppSettingModel::paramsBeReseted, this, [this] {
        if (m_loginAccount)
            m_loginAccount->updateUserCacheDataPath();
        if (m_loggingOutAll)
            return;
        if (!m_deleteAll)
            m_foundLate += takeStored();
        // Resetting the settings signs nobody out.
        if (idsToSave().isEmpty())
            return;
        storeIds(idsToSave());
        saveAccounts();
        restoreLate();
    });
    // Before handlers of the signals that follow use the settings.
    connect(settings, &AppSettingModel::storeRead, this, [this, settings] {
        if (m_deleteAll)
            return;
        m_foundLate += takeStored();
        // Accounts that have signed out meanwhile are no longer among them.
        if (const QVariantList ids = idsToSave(); ids != settings->accountIds())
            storeIds(ids);
    });
    connect(settings, &AppSettingModel::infoPanelViewModeChanged, this, [this] {
        m_infoPanelVisible = infoPanelVisible();
        Q_EMIT infoPanelVisibleChanged();
    });
    connect(settings, &AppSettingModel::infoPanelWidthChanged, this, [this](int width) {
        setMaxMsgItemWidthInThread(width - draggedPanelMargins);
        updateInfoPanelVisible();
    });
    m_accountFactory = std::move(factory);

    const QVariantList storedIds = settings->accountIds();
    setAppLocked(!settings->passcode().isEmpty());
    const QList<qint64> ids = takeStored();
    m_restoring = true;
    for (qint64 id : ids) {
        if (isAbsent(id)) // a handler may have signed it in, or all out
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
    AccountTraces::removeLeft(usedStores());
    m_notebookAccount = createAccount(false, true);
    m_appDataMove->resume();
    MessageGeometry::instance()->load();
    m_infoPanelVisible = infoPanelVisible();
    ImLog::info(lcModel(), QStringLiteral("AccountManager::init end"));
}

/// Notes the stored accounts that have not been seen yet as unavailable; the current one first.
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

/// Restores accounts of settings that could not be read at start-up.
void AccountManager::restoreLate()
{
    const QList<qint64> ids = std::exchange(m_foundLate, {});
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
    // Handlers may log out all accounts; none is listed after that.
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
        const bool keptId = isUsable(account) && account->isAccountId(id);
        auto state = keptId ? account->storeState() : AccountBase::StoreClosed;
        const bool hasNoUser = state == AccountBase::StoreOpen && !account->authorized();
        if (hasNoUser || storage::UserStorageProvider::isMissing(AccountBase::statusDataPath(id))) {
            removeAbsent(id);
        } else {
            if (state == AccountBase::StoreMissing) // as that account reports
                state = AccountBase::StoreUnreadable;
            ImLog::error(
                lcModel(),
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
    if (m_resetting) // a handler called this again
        return;
    const QScopedValueRollback<bool> resetting(m_resetting, true);
    // No account is listed from now on, whatever handlers ask for.
    const QScopedValueRollback<bool> closing(m_closing, true);
    Q_EMIT beginReset();
    ImLog::info(lcModel(), QStringLiteral("AccountManager::reset"));
    m_newDeviceLoginManager->reset();
    m_lastAccount = nullptr;
    const Account current = std::exchange(m_currentAccount, nullptr);
    m_activeAccount = nullptr;
    Q_EMIT currentAccountChanged(nullptr, nullptr);

    if (count() > 0) {
        // Keep the ids as absent, so that a later sign-in does not remove them from the stored
        // list.
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

// Runs in a signal handler: no lock, no allocation or release, no list that another thread may be
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

MeetingModelBase *AccountManager::meetingModel() const
{
    return m_meeting->meeting();
}

void AccountManager::setMeetingModel(MeetingModelBase *meetingModel)
{
    m_meeting->setMeeting(meetingModel);
}

void AccountManager::createMeetingFinished(int code, MeetingModelBase *meeting,
                                           const QString &dialogId, const QString &meetingName)
{
    m_meeting->finish(code == 0, meeting,
                      [&] { Q_EMIT createMeetingFailed(dialogId, meetingName, code); });
}

void AccountManager::joinMeetingFinished(bool ok, MeetingModelBase *meeting, const QString &text)
{
    m_meeting->finish(ok, meeting, [&] { Q_EMIT joinMeetingFailed(meeting, text); });
}

void AccountManager::meetingWillBeDeleted(MeetingModelBase *meeting)
{
    if (meeting && meetingModel() == meeting)
        setMeetingModel(nullptr);
}

bool AccountManager::joiningMeeting() const
{
    return m_meeting->isJoining();
}

void AccountManager::setJoiningMeeting(bool joiningMeeting)
{
    m_meeting->setJoining(joiningMeeting);
}

const QString &AccountManager::joiningMeetingId() const
{
    return m_meeting->joiningId();
}

void AccountManager::setJoiningMeetingId(QString joiningMeetingId)
{
    m_meeting->setJoiningId(joiningMeetingId);
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

QSize AccountManager::dialogWindowSize() const
{
    return MessageGeometry::instance()->window();
}

bool AccountManager::infoPanelVisible() const
{
    return MessageGeometry::instance()->isInfoPanelVisible();
}

void AccountManager::updateInfoPanelVisible()
{
    const bool visible = infoPanelVisible();
    if (std::exchange(m_infoPanelVisible, visible) != visible)
        Q_EMIT infoPanelVisibleChanged();
}

void AccountManager::setDialogWindowSize(const QSize &size)
{
    if (!MessageGeometry::instance()->setWindow(size))
        return;
    updateInfoPanelVisible();
    Q_EMIT dialogWindowSizeChanged();
}

int AccountManager::maxMsgItemWidth() const
{
    return MessageGeometry::instance()->messageWidth();
}

void AccountManager::setMaxMsgItemWidth(int width)
{
    if (MessageGeometry::instance()->setMessageWidth(width))
        Q_EMIT maxMsgItemWidthChanged();
}

int AccountManager::maxMsgItemWidthInThread() const
{
    return MessageGeometry::instance()->widthInThread();
}

void AccountManager::setMaxMsgItemWidthInThread(int width)
{
    if (MessageGeometry::instance()->setWidthInThread(width))
        Q_EMIT maxMsgItemWidthInThreadChanged();
}
