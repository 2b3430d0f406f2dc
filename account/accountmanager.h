#pragma once

#include "account/accountbase.h"
#include "account/meetingmodelbase.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"
#include "settings/appdatamove.h"

#include <QAbstractListModel>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QSize>
#include <QThread>
#include <QThreadPool>

#include <deque>
#include <functional>
#include <mutex>

class MeetingState;
class NewDeviceLoginManager;

/// Owns every account on this machine, and is a list model of those that are signed in. It knows
/// which account is shown (current), which has the user's attention (active), which is signing in
/// (login) and the hidden notebook account, and keeps the ids of the listed accounts and of the
/// current one in the application settings. From init() on there is a current account: a listed one
/// or, while nobody is signed in, the login account.
///
/// Stored ids: the id of an account that signed in stays in the settings until the account logs
/// out, by logout(), logoutAll() or a destroying unlockApp(). An account that could not be opened,
/// or whose object the application deleted, moves from the list to unavailableAccounts(), and is
/// tried again at the next start. While the settings themselves cannot be read, no id is stored;
/// once they can be, the stored accounts are listed beside those that signed in meanwhile. The id
/// is removed when the account has no database, or one that opens but belongs to no one, see
/// AccountBase::restore(). AppSettingModel::reset() signs nobody out: the ids of the accounts and
/// of the current one are stored again. While an account is listed and current, its id is the
/// stored current id.
///
/// The dynamic property "appLocked" of the application object says whether a passcode is required:
/// init() sets it if there is one; unlockApp() and the end of the last account clear it.
///
/// Thread: the main thread, except getAccountIds(), containsAccount() and hasDisconnectedTcp(),
/// which may be called from any. No lock is held during signals and callbacks: a handler of any
/// signal may call every public operation, and may delete an account.
///
/// While rows are inserted or removed, views must not see another change. From
/// rowsAboutToBeInserted to rowsInserted (likewise for removals), including countChanged and the
/// signals of the totals, these operations return at once and run right after, in order:
/// addAccount(), setLoginAccount(), cancelSignIn(), logout(), logoutAll(), setCurrentAccount(),
/// activeNextAccount(), retryAccount(), unlockApp() and reset(). Those with a result document it.
/// At all other times they run at once. When several nested operations choose a current account,
/// the last choice wins.
///
/// Ownership: the manager is the parent of the accounts. It owns the listed ones, the current, the
/// login and the notebook account. It disposes of an object that is no longer any of these by
/// AccountBase::logout() or AccountBase::release(), each at most once; that object deletes itself
/// and is never listed again. A listed account is never released. The application may delete any
/// account while none of its functions is running: a listed one is removed from the list, and the
/// current one is replaced as after a logout(). createAccount() and setLoginAccount(nullptr) leave
/// the object to the caller.
class MODELBASE_EXPORT AccountManager : public QAbstractListModel
{
    Q_OBJECT
    MODELBASE_QML_SINGLETON(AccountManager, getInstance)
    Q_MOC_INCLUDE("account/newdeviceloginmanager.h")
    Q_PROPERTY(AccountBase *currentAccount READ currentAccount NOTIFY currentAccountChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int totalUnreadCount READ totalUnreadCount NOTIFY totalUnreadCountChanged)
    Q_PROPERTY(int viewIndex READ viewIndex WRITE setViewIndex NOTIFY viewIndexChanged)
    Q_PROPERTY(MeetingModelBase *meetingModel READ meetingModel WRITE setMeetingModel NOTIFY
                   meetingModelChanged)
    Q_PROPERTY(bool joiningMeeting READ joiningMeeting WRITE setJoiningMeeting NOTIFY
                   joiningMeetingChanged)
    Q_PROPERTY(QString joiningMeetingId READ joiningMeetingId WRITE setJoiningMeetingId NOTIFY
                   joiningMeetingIdChanged)
    Q_PROPERTY(bool notebookMode READ notebookMode WRITE setNotebookMode NOTIFY notebookModeChanged)
    Q_PROPERTY(int totalAtMeCount READ totalAtMeCount NOTIFY totalAtMeCountChanged)
    Q_PROPERTY(NewDeviceLoginManager *newDeviceLoginManager READ newDeviceLoginManager CONSTANT)
    Q_PROPERTY(AppDataMove *appDataMove READ appDataMove CONSTANT)
    Q_PROPERTY(AccountBase *loginAccount READ loginAccount NOTIFY loginAccountChanged)
    Q_PROPERTY(AccountBase *notebookAccount READ notebookAccount CONSTANT)
    Q_PROPERTY(QSize dialogWindowSize READ dialogWindowSize WRITE setDialogWindowSize NOTIFY
                   dialogWindowSizeChanged)
    Q_PROPERTY(int maxMsgItemWidth READ maxMsgItemWidth WRITE setMaxMsgItemWidth NOTIFY
                   maxMsgItemWidthChanged)
    Q_PROPERTY(int maxMsgItemWidthInThread READ maxMsgItemWidthInThread WRITE
                   setMaxMsgItemWidthInThread NOTIFY maxMsgItemWidthInThreadChanged)
    Q_PROPERTY(bool infoPanelVisible READ infoPanelVisible NOTIFY infoPanelVisibleChanged)
    Q_PROPERTY(
        QVariantList unavailableAccounts READ unavailableAccounts NOTIFY unavailableAccountsChanged)

public:
    /// Makes an account object with the given parent; see init().
    using Factory = std::function<AccountBase *(QObject *parent)>;

    /// A row's account, as "modelData".
    enum DataRole { ModelDataRole = Qt::UserRole + 1 };
    Q_ENUM(DataRole)
    /// What setCurrentItemChangeable() can veto.
    enum ChangedItemType { AccountItem = 0 };
    Q_ENUM(ChangedItemType)
    static constexpr int maxAccounts = 5;

    /// The first call makes it, on the main thread.
    static AccountManager *getInstance();
    /// Deletes the manager and, with it, every account. Call waitForFinished() first, and
    /// AppSettingModel::releaseInstance() afterwards. Takes at most 5 s for each account (see
    /// AccountBase::closeStorage()), in addition to the application's own release(), 2 s for tasks
    /// that still run in the reset pool, and 3 s for the file transfer thread unless it was
    /// abandoned before. Whatever takes longer is abandoned, with a log line. A handler of one of
    /// the manager's signals must not call it, since it deletes the manager; but handlers of
    /// signals that it emits itself may call it again, without effect.
    static void releaseInstance();

    /// Restores the stored accounts, the last current one first; offers a login account when there
    /// are none. If accounts were stored and none of them exists any more, resets all application
    /// settings. Call it once, on the main thread, with a QCoreApplication, after
    /// AppSettingModel::loadGlobalData(). `factory` is kept, and never returns null; an empty one
    /// is refused with a log line, and nothing is restored or reset. The stored list stays as it
    /// is, unless a handler signs an account in or out, or an account takes another id in its
    /// restore(): then both ids are stored.
    void init(Factory factory);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    // Accounts

    /// Lists an account that is signed in, and stores its id; does nothing unless it is
    /// authorized(). The login account, and the first account of all, becomes current unless a
    /// listener vetoes it; the sign-in is over in any case. Refused with a log line: an account
    /// with an id below 1, the notebook account, and one that was released. The application's class
    /// calls this at the end of a sign-in; containsAccount() then says whether it is listed.
    ///
    /// Also refused, and released: an account whose id is listed already, with error(), and one
    /// that comes while a destroying unlock wipes the others. If a handler switches to another
    /// account meanwhile, this one is still listed; if a handler logs it out or unauthorizes it, it
    /// is not.
    void addAccount(AccountBase *account);
    /// A new, initialised account object, whose parent is the manager; the caller decides what
    /// becomes of it. Null, with a log line, without a factory.
    AccountBase *createAccount(bool autoReconnect);
    bool containsAccount(AccountBase *account) const;
    AccountBase *currentAccount() const { return m_currentAccount; }
    /// Null while nobody is signing in.
    AccountBase *loginAccount() const { return m_loginAccount; }
    /// Null before init(). Never listed or saved.
    AccountBase *notebookAccount() const { return m_notebookAccount; }
    int count() const;
    /// True while a destroying unlock wipes the accounts.
    bool deleteAll() const { return m_deleteAll; }
    /// Makes an account the one that signs in, unless a listener vetoes it; if there is no current
    /// account, it becomes that as well. The previous login account is released. Null ends the
    /// sign-in; the object stays, and is the caller's unless it is current. An account that is
    /// listed, or about to be, is refused with a log line.
    void setLoginAccount(AccountBase *account);

    /// Starts a new sign-in, or continues the one under way. False, with error(), when there are
    /// maxAccounts already, and before init(). True even if a listener vetoes it: then nobody signs
    /// in. While rows change, the result is based on the present list.
    Q_INVOKABLE bool addAccount();
    /// Ends the sign-in under way, unless a listener vetoes it. Its account is released; if it was
    /// current, a listed account replaces it, or, if none is listed, a new login account.
    Q_INVOKABLE void cancelSignIn();
    /// The first listed account of that id, or null.
    Q_INVOKABLE AccountBase *getAccount(qint64 accountId) const;
    /// Null for an index outside the list.
    Q_INVOKABLE AccountBase *getAccountByIndex(int index) const;
    /// -1 for an account that is not listed.
    Q_INVOKABLE int accountIndex(AccountBase *account) const;
    /// The ids of the listed accounts that have one, in the list's order.
    Q_INVOKABLE QList<qint64> getAccountIds() const;
    /// The stored accounts that are not listed, as maps {"accountId": qint64, "state":
    /// AccountBase::StoreState as int}; retryAccount() tries one again.
    QVariantList unavailableAccounts() const;
    /// Opens and lists one of unavailableAccounts(), as at start-up; it becomes current if no other
    /// is listed. False for any other id, if it is not listed in the end, while another account is
    /// being restored, and while rows change.
    Q_INVOKABLE bool retryAccount(qint64 accountId);
    /// Removes an account from the list and calls its logout(). If it was current, the previously
    /// current account becomes current again, or a neighbour in the list. The last account stays as
    /// the login account, and removing its id resets all application settings. For a login account
    /// that is not listed, this ends the sign-in if other accounts are listed.
    Q_INVOKABLE void logout(AccountBase *account);
    /// Logs out all accounts, as one removal of the rows 0 to count(), which is one more than
    /// exist. The current account stays as the login account, and a sign-in under way ends.
    Q_INVOKABLE void logoutAll();
    /// Shows a listed account, unless a listener vetoes it, and ends a sign-in under way. Does
    /// nothing for an id that is not listed.
    Q_INVOKABLE void setCurrentAccount(qint64 accountId);
    /// As setCurrentAccount(), with the next account in the list after the current one; the first
    /// follows the last.
    Q_INVOKABLE void activeNextAccount();
    /// Calls AccountBase::setActive() of this account and of the previously active one. Every
    /// change of the current or login account does so by itself.
    Q_INVOKABLE void setActiveAccount(AccountBase *account);
    /// False when the account is not listed.
    Q_INVOKABLE bool setActiveAccountById(qint64 accountId);
    /// The veto, by a ChangedItemType: a handler of beginChangeCurrentItem sets false to prevent
    /// the change. Each such signal begins with true.
    Q_INVOKABLE bool currentItemChangeable(int type) const;
    Q_INVOKABLE void setCurrentItemChangeable(int type, bool changeable);
    /// The user has entered a passcode, which the application has checked. With `notebookMode` the
    /// notebook account is shown from now on; without it, the previous account replaces the
    /// notebook, or a new sign-in if there is none. With `destroy` every account is deleted instead
    /// (AccountBase::deleteAccount()), and the last one to log out ends in appWiped(). By then the
    /// application data directory holds no store of an account (including those that could not be
    /// opened, and the notebook's), no "master.key", no log files, and no damaged files that were
    /// set aside. But an account whose store is open then, such as one that is signing in, keeps
    /// its store and the key. The log names what cannot be removed; each start tries again.
    Q_INVOKABLE void unlockApp(bool destroy, bool notebookMode);
    /// The end of a wipe, which queues it; emits appWiped().
    Q_INVOKABLE void afterUnlockApp();
    /// Calls it for the listed accounts. Here and wherever calls are forwarded, an account that
    /// leaves before its turn is skipped.
    Q_INVOKABLE void recordScreenLockLog(int sceneType, int unlockType, int result);
    /// Forwarded to the listed accounts and the login account, as all of "Connection" is.
    void updateUserCacheDataPath();

    // Connection

    /// An `accountId` of 0 or below reaches the login account; below 0 reaches all listed accounts,
    /// an account's own id that one.
    Q_INVOKABLE void abortAndReconnect(bool resetAutoReconnect, qint64 accountId);
    void reconnectToServer();
    void resetCurrentServer();
    void setProxy(const QNetworkProxy &proxy);
    /// True when an account that is to connect by itself is not connected. From any thread.
    bool hasDisconnectedTcp() const;

    // Life

    /// Releases all accounts; their stored data stay. A veto has no effect. The destructor calls
    /// it.
    void reset();
    /// Waits for tasks in the reset pool, in 100 rounds of at most 40 ms in which events of the
    /// calling thread are processed, then at most 3 s for the file transfer thread, which is not
    /// started again. One that still runs is abandoned, with a log line, and never terminated,
    /// since that may abort the process.
    void waitForFinished();
    /// For a crash handler, on any thread and at any moment, including a signal handler. From now
    /// on every read and write by any database of this process fails, the notebook's included, so
    /// that a process in an unknown state writes nothing more. It takes no lock, allocates nothing,
    /// makes no instance, and does not wait.
    ///
    /// Everything reported as saved, by AppSettingModel::flush() and the like, is there at the next
    /// start. Pending changes are lost: they cannot be written without locks. A transaction that
    /// another thread is running is stored as a whole or not at all.
    ///
    /// On the main thread the list of accounts is emptied as well, without a signal; on another
    /// thread it stays as it is, since the main thread may be changing it. The log line goes to the
    /// log's file and to standard error, bypassing any handler. Only the manager's address is
    /// needed: a handler should not call getInstance(), which may make an instance.
    Q_INVOKABLE void closeAllDbInCrash();
    /// A thread for the application's uploads and downloads; the application moves its own objects
    /// to it. Runs from the construction of the manager to reset() or waitForFinished().
    QThread *fileTransferThread() const { return m_fileTransferThread; }
    /// A pool of 5 threads for the clean-up tasks of the application's accounts in release() and
    /// logout().
    QThreadPool *getResetThreadPool() const { return m_resetThreadPool; }
    NewDeviceLoginManager *newDeviceLoginManager() const { return m_newDeviceLoginManager; }
    AppDataMove *appDataMove() const { return m_appDataMove; }

    // Totals, meeting, geometry

    /// The sum over the listed accounts; the sum of the unread counts is at least 0.
    int totalUnreadCount() const { return m_totalUnreadCount; }
    int totalAtMeCount() const { return m_totalAtMeCount; }
    /// Which page the interface shows: the interface's own number, in memory only.
    Q_INVOKABLE int viewIndex() const { return m_viewIndex; }
    Q_INVOKABLE void setViewIndex(int index);
    bool notebookMode() const { return m_notebookMode; }
    void setNotebookMode(bool notebookMode);

    /// The meeting that the user is in, not owned; null if there is none, and once it is deleted.
    /// joiningMeeting() is true from the request for a meeting until it fails or the meeting ends.
    MeetingModelBase *meetingModel() const;
    Q_INVOKABLE void setMeetingModel(MeetingModelBase *meetingModel);
    bool joiningMeeting() const;
    Q_INVOKABLE void setJoiningMeeting(bool joiningMeeting);
    const QString &joiningMeetingId() const;
    Q_INVOKABLE void setJoiningMeetingId(QString joiningMeetingId);
    /// The server's answer: the meeting, or a code other than 0 (an im::Error), which
    /// createMeetingFailed() reports.
    void createMeetingFinished(int code, MeetingModelBase *meeting, const QString &dialogId,
                               const QString &meetingName);
    /// Likewise; `text` tells the user what went wrong.
    void joinMeetingFinished(bool ok, MeetingModelBase *meeting, const QString &text);
    void meetingWillBeDeleted(MeetingModelBase *meeting);

    /// The window without the list of dialogs, in pixels. init() takes the first size from the
    /// stored geometry of the main window.
    QSize dialogWindowSize() const;
    void setDialogWindowSize(const QSize &size);
    /// The maximum width of a message with media, in pixels, in a chat and in the narrower view of
    /// a thread: at least 200; widths below 1 are ignored. ContentItem::calcSize() uses them.
    int maxMsgItemWidth() const;
    void setMaxMsgItemWidth(int width);
    int maxMsgItemWidthInThread() const;
    void setMaxMsgItemWidthInThread(int width);
    /// True when the information panel is switched on and the window is wide enough for it.
    bool infoPanelVisible() const;

Q_SIGNALS:
    // Many of these are relays: accounts and other parts of the application emit them through the
    // manager, so that the interface has one place to connect to. The library itself emits the
    // change signals of the properties, beginReset, newDeviceLogin, error, sigReconnectToServer,
    // joinMeetingFailed, createMeetingFailed, reactionBeRead, beginChangeCurrentItem and appWiped.
    // Of the numbers, a `code` or `errorCode` is an im::Error, a `command` an im::Command, a
    // `callState` an im::Message::CallState; all others are the application's own.

    /// All accounts are about to be released.
    void beginReset();
    /// `lastAccount` is the previous account, if it is still signed in; both may be null.
    void currentAccountChanged(AccountBase *currentAccount, AccountBase *lastAccount);
    void countChanged(int count);
    void notifyNewMessage(QVariantList messages);
    void totalUnreadCountChanged(int totalUnreadCount);
    void voipInfoRecieved(QVariantMap sipInfo);
    void receivedCallMsg(qint64 accountId, QString callId, int callState);
    void newDeviceLogin(AccountBase *account, QVariantMap newDevice);
    void receiveMeetingInvite(MeetingModelBase *meetingModel);
    void versionNotSurport();
    /// A message for the user, in the application's language. The library's own messages have the
    /// code 0 and the reason 0.
    void error(int code, QString text, int reason);
    void cmdResult(int command, int code, QVariantMap result);
    void notify(int errorCode);
    void showBox(QString title, QString content);
    void sigReconnectToServer();
    void viewIndexChanged(int index);
    void meetingModelChanged(MeetingModelBase *meetingModel);
    void meetingBeFinished(qint64 accountId, QString meetingId);
    void joinMeetingFailed(MeetingModelBase *meeting, QString text);
    void createMeetingFailed(QString dialogId, QString meetingName, int code);
    void messageBeenRead(qint64 accountId, QString dialogId, qint64 readMsgId);
    void requestBeenRead(qint64 accountId, int type);
    void messagesBeDeleted(qint64 accountId, QString dialogId, QList<qint64> msgIds);
    void reactionBeRevoked(qint64 accountId, QString dialogId, qint64 msgId, qint64 userId,
                           QString emoji);
    void reactionBeRead(qint64 accountId, QString dialogId, QList<qint64> msgIds);
    /// Emitted before a change of the current or the login account (a ChangedItemType), while
    /// everything is still unchanged; see setCurrentItemChangeable(). With `forcedJump` a veto has
    /// no effect.
    void beginChangeCurrentItem(int changedItemType, bool forcedJump, QObject *oldCurrent,
                                QObject *newCurrent);
    void accountBeLogouted(qint64 accountId);
    void deletedReminder(qint64 accountId, QString remindId);
    void joiningMeetingChanged(bool joiningMeeting);
    void joiningMeetingIdChanged(QString joiningMeetingId);
    void getJoinMeetingLinkFinished(MeetingLinkItem *meetingLink, int code);
    void duplicateSession(AccountBase *account);
    void totalAtMeCountChanged();
    void loginAccountChanged();
    void forceUpgrade();
    void notebookModeChanged();
    void dialogWindowSizeChanged();
    void maxMsgItemWidthChanged();
    void maxMsgItemWidthInThreadChanged();
    void infoPanelVisibleChanged();
    /// A destroying unlock has removed the last account; the application decides what follows.
    void appWiped();
    void unavailableAccountsChanged();

protected:
    void removeAccount(int index);
    void setCurrentAccount(AccountBase *account, bool forced);
    void resetLoginAccount();
    void setTotalUnreadCount(int count);
    void setTotalAtMeCount(int count);
    QHash<int, QByteArray> roleNames() const override;

private Q_SLOTS:
    void accountAtMeCountChanged(int newCount, int oldCount);
    void accountUnreadCountChanged(int newCount, int oldCount);

private:
    friend class AccountBase;
    using Account = QPointer<AccountBase>;
    /// A stored account that is not listed, and why.
    struct Absent {
        qint64 id;
        AccountBase::StoreState state;
        bool operator==(const Absent &) const = default;
    };

    AccountManager();
    ~AccountManager() override;

    /// Called first in the destructor of an account.
    static void accountDeleted(AccountBase *account);
    void forget(AccountBase *account);

    AccountBase *createAccount(bool autoReconnect, bool isNotebook);
    bool mayChangeCurrentItem(bool forced, AccountBase *newCurrent);
    bool isListed(const AccountBase *account) const;
    /// False for null, and for an account that is leaving.
    static bool isUsable(const AccountBase *account);
    /// False for the notebook account, and for one that is listed or about to be.
    bool maySignIn(AccountBase *account) const;
    /// True when the manager owns it.
    bool isHeld(const AccountBase *account) const;
    /// Releases an object that the manager no longer holds; does nothing for any other.
    void giveUp(AccountBase *account, bool logOut = true);
    /// Releases an object that only these pointers still hold; for the end.
    void release(AccountBase *account);
    void restore(qint64 id);
    /// False for one that must not be listed; releases it, with a log line.
    bool checkListable(AccountBase *account);
    /// Releases an account that must not be listed. No veto can prevent it.
    void refuse(AccountBase *account);
    /// Ends the sign-in of an account and releases it; if it was current, another one becomes
    /// current.
    void abandonSignIn(AccountBase *account);
    void logoutListed(AccountBase *account);
    void logoutBeingListed(AccountBase *account);
    /// Makes the only account the login account when it logs out.
    void keepSignedOut(AccountBase *account);
    void endLogin();
    void setLogin(AccountBase *account);
    /// The account that becomes current when the one at that row leaves; may be null.
    AccountBase *successor(int row) const;
    /// Makes the successor current, or a new login account if there is none.
    void chooseCurrentAccount(int row);
    /// True while rows change: then rowsChanged() runs the operation.
    bool postponed(std::function<void()> operation);
    void rowsChanged();
    void removeEmptyRows();
    void removeAll();
    void updateTotals();
    bool isAbsent(qint64 id) const;
    void addAbsent(qint64 id, AccountBase::StoreState state);
    /// False when there is no such account.
    bool removeAbsent(qint64 id);
    void announceAbsent();
    QVariantList idsToSave() const;
    static void setAppLocked(bool locked);
    static void logRefusal(const QString &reason);
    QList<qint64> takeStored();
    void restoreLate();
    void storeIds(const QVariantList &ids);
    void storeCurrentId(qint64 id);
    void saveAccounts();
    void saveCurrentId();
    void finishWipe();
    QStringList usedStores() const;
    void updateInfoPanelVisible();
    void finishResetPool(int milliseconds);
    void finishFileTransferThread();
    /// The listed accounts, and the login account if `withLogin`; each pointer is null once
    /// deleted.
    QList<Account> snapshot(bool withLogin) const;
    /// Calls each of them, except those that leave before their turn.
    void forEach(bool withLogin, const std::function<void(AccountBase *)> &call);

    Factory m_accountFactory;
    /// In the order of the rows; null for an account that was deleted while rows changed.
    QList<AccountBase *> m_accounts;
    AccountBase *m_loginAccount = nullptr;
    /// Guards m_accounts and m_loginAccount against readers in other threads; only the main thread
    /// writes, and it releases the lock before it calls anything.
    mutable std::mutex m_lock;
    Account m_currentAccount;
    Account m_lastAccount;
    Account m_activeAccount;
    Account m_notebookAccount;
    /// Accounts that addAccount() is about to list; refusing one or logging it out removes it here.
    QList<AccountBase *> m_beingListed;
    QList<Absent> m_absent;
    QList<qint64> m_foundLate;       // restored after the settings are announced
    QSet<qint64> m_known;            // ids that are or were stored
    QList<Absent> m_announcedAbsent; // as last announced
    bool m_changingRows = false;
    std::deque<std::function<void()>> m_postponed; // run after the rows have changed
    const AccountBase *m_restored = nullptr;       // is being restored
    bool m_restoring = false;
    bool m_loggingOutAll = false; // the settings are being reset
    bool m_closing = false;
    bool m_resetting = false; // in reset()
    int m_totalUnreadCount = 0;
    int m_totalAtMeCount = 0;
    int m_viewIndex = 0;
    bool m_deleteAll = false;
    bool m_finishingWipe = false;
    QHash<int, bool> m_itemChangeable;
    int m_asking = 0;                                       // nesting depth of veto requests
    const Qt::HANDLE m_thread = QThread::currentThreadId(); // the main thread
    QThreadPool *m_resetThreadPool;
    QThread *m_fileTransferThread;
    MeetingState *m_meeting;
    NewDeviceLoginManager *m_newDeviceLoginManager;
    AppDataMove *m_appDataMove;
    bool m_notebookMode = false;
    bool m_infoPanelVisible = false; // as last announced
};
