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

/// The one owner of every account on this machine, as a list model of those that are signed in. It
/// knows which account is shown (current), which has the user's attention (active), which is
/// signing in (login) and the hidden notebook account, and keeps the ids of the listed ones, and of
/// the current one, in the application settings. From init() on there is a current account: a
/// listed one, or, while nobody is signed in, the login account.
///
/// What is kept: the id of an account that signed in stays in the settings until it logs out, by
/// logout(), logoutAll() or a destroying unlockApp(). One that could not be opened just now, and
/// one whose object the application deleted, are not listed but in unavailableAccounts(), and tried
/// again at the next start. While the settings themselves cannot be read, no id is stored; once they
/// can be, those that are stored come in beside those that signed in meanwhile. Forgotten are
/// accounts that are gone: without a database, or with one that opens and is nobody's, see
/// AccountBase::restore(). AppSettingModel::reset() signs nobody out: their ids, and that of the
/// current account, are stored again. While an account is listed and current, its id is the stored
/// current one.
///
/// The dynamic property "appLocked" of the application object tells whether a passcode is asked
/// for: init() sets it when there is one, unlockApp() and the end of the last account clear it.
///
/// Thread: the main thread, but for getAccountIds(), containsAccount() and hasDisconnectedTcp(),
/// which may be called from any. No lock is held while anything is called out: a handler of any
/// signal may call every public operation, and may delete an account.
///
/// While rows are inserted or removed, views must not see another change: from
/// rowsAboutToBeInserted to rowsInserted (likewise for removals), countChanged and the totals'
/// signals included, these operations return at once and are carried out right after, in their
/// order: addAccount(), setLoginAccount(), cancelSignIn(), logout(), logoutAll(),
/// setCurrentAccount(), activeNextAccount(), retryAccount(), unlockApp() and reset(). Those that
/// return something say what. In all other moments they are carried out at once. When several
/// nested ones choose a current account, the one that was asked for last stays.
///
/// Ownership: the manager is the parent of the accounts. It owns the listed ones, the current, the
/// login and the notebook account, and gives an object up once it is none of these any more, by
/// AccountBase::logout() or AccountBase::release(), each at most once; that object deletes itself and
/// is not taken in again. A listed account is never released. The application may delete any
/// account, as long as none of its functions is running: a listed one comes off the list, and the
/// current one gives way as after a logout(). createAccount() and setLoginAccount(nullptr) leave the
/// object to the caller.
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
    /// What may be vetoed by setCurrentItemChangeable().
    enum ChangedItemType { AccountItem = 0 };
    Q_ENUM(ChangedItemType)
    static constexpr int maxAccounts = 5;

    /// Made by the first call, on the main thread.
    static AccountManager *getInstance();
    /// Deletes the manager and, with it, every account. Call waitForFinished() first, and
    /// AppSettingModel::releaseInstance() afterwards. Takes at most 5 s for each account (see
    /// AccountBase::closeStorage()), besides what the application's own release() does, 2 s for
    /// what still runs in the reset pool, and 3 s for the file transfer thread unless it was given
    /// up before. What takes longer is left to itself, with a log line. Not for a handler of one of
    /// the manager's signals, which it deletes; but what itself emits may call it again, to no effect.
    static void releaseInstance();

    /// Restores the stored accounts, the one that was current first; offers a login account when
    /// there are none. When accounts were stored and all of them are gone, all application settings
    /// are reset. Once, on the main thread, with a QCoreApplication, after
    /// AppSettingModel::loadGlobalData(). `factory` is kept, and never gives null; an empty one is
    /// refused with a log line, and nothing is restored or reset. Stores no list, unless somebody
    /// signs in or out in a handler, or an account takes another id in its restore(): then both ids
    /// are stored.
    void init(Factory factory);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    // Accounts

    /// Lists an account that is signed in, and stores its id; does nothing unless it is
    /// authorized(). The login account, and the first one of all, becomes the current one, unless a
    /// listener vetoes it; the sign-in is over in any case. Refused with a log line: an account
    /// with an id below 1, the notebook account, and one that was given up. The application's class
    /// calls this at the end of a sign-in; containsAccount() then tells whether it is listed.
    ///
    /// An account whose id is listed already is refused with error(), one that comes while a
    /// destroying unlock wipes the others is refused, too: both are given up. An account that a
    /// handler switches away from meanwhile is listed all the same; one that a handler logs out, or
    /// takes the authorisation of, is not.
    void addAccount(AccountBase *account);
    /// A fresh account object, initialised and belonging to the manager; what becomes of it is the
    /// caller's decision. Null, with a log line, without a factory.
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
    /// Makes an account the one that signs in, unless a listener vetoes it; without a current
    /// account it becomes that as well. One that was signing in before is given up. Null ends the
    /// sign-in; the object stays, and is the caller's unless it is current. An account that is
    /// listed, or about to be, is refused with a log line.
    void setLoginAccount(AccountBase *account);

    /// Starts a new sign-in, or goes on with the one under way. False, with error(), when there are
    /// maxAccounts already, and before init(). True also where a listener vetoes it: then nobody
    /// signs in. While rows change the answer is about the list as it is.
    Q_INVOKABLE bool addAccount();
    /// Ends the sign-in under way, unless a listener vetoes it. Its account is given up; if it was
    /// current, a listed account is, or, where nobody is listed, a fresh login account.
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
    /// AccountBase::StoreState as int}; each may be tried again by retryAccount().
    QVariantList unavailableAccounts() const;
    /// Opens and lists one of unavailableAccounts(), as a start would; it becomes the current one
    /// where nobody is listed. False for all others, where it is not listed in the end, while
    /// another account is being restored, and while rows change.
    Q_INVOKABLE bool retryAccount(qint64 accountId);
    /// Takes an account off the list and calls its logout(); if it was current, the one before it
    /// is current again, or a neighbour in the list. The last account stays as the login account,
    /// and with its id all application settings are reset. Of a login account that is not listed:
    /// the sign-in ends, where accounts are listed.
    Q_INVOKABLE void logout(AccountBase *account);
    /// The same of all accounts, as one removal of the rows 0 to count(), one more than there are.
    /// The current one stays as the login account, and a sign-in under way ends for it.
    Q_INVOKABLE void logoutAll();
    /// Shows a listed account, unless a listener vetoes it, and ends a sign-in under way. Nothing
    /// happens for an id that is not listed.
    Q_INVOKABLE void setCurrentAccount(qint64 accountId);
    /// As setCurrentAccount(), with the account that follows the current one in the list, after the
    /// last one the first.
    Q_INVOKABLE void activeNextAccount();
    /// Tells this account, and the one that was active, by AccountBase::setActive(). Every change
    /// of the current or login account does so by itself.
    Q_INVOKABLE void setActiveAccount(AccountBase *account);
    /// False when there is no such account in the list.
    Q_INVOKABLE bool setActiveAccountById(qint64 accountId);
    /// The veto, by a ChangedItemType: a handler of beginChangeCurrentItem sets false to keep
    /// things as they are. Each such signal begins with true.
    Q_INVOKABLE bool currentItemChangeable(int type) const;
    Q_INVOKABLE void setCurrentItemChangeable(int type, bool changeable);
    /// The user has given a passcode, which the application has checked. With `notebookMode` the
    /// notebook account is shown from now on; without, it gives way to the account before it. With
    /// `destroy` every account is deleted instead (AccountBase::deleteAccount()), and the last one
    /// to log out ends in appWiped(). By then the application data directory holds no store of an
    /// account any more, be it one that could not be opened, or the notebook's, nor "master.key",
    /// log files, or damaged files that were set aside; but an account whose store is open then, as
    /// of one that is signing in, keeps that and the key. What cannot be removed is named in the log,
    /// and tried again at each start. Where there is nothing to go back to from
    /// the notebook, a new sign-in is.
    Q_INVOKABLE void unlockApp(bool destroy, bool notebookMode);
    /// The end of a wipe, queued by it; emits appWiped().
    Q_INVOKABLE void afterUnlockApp();
    /// Passed on to the listed accounts. Here and in all that is passed on: not to an account that
    /// leaves before its turn.
    Q_INVOKABLE void recordScreenLockLog(int sceneType, int unlockType, int result);
    /// Passed on to the listed accounts and the login account, as all of "Connection" is.
    void updateUserCacheDataPath();

    // Connection

    /// `accountId` 0 or below reaches the login account; below 0, or the account's own id, a listed
    /// one.
    Q_INVOKABLE void abortAndReconnect(bool resetAutoReconnect, qint64 accountId);
    void reconnectToServer();
    void resetCurrentServer();
    void setProxy(const QNetworkProxy &proxy);
    /// True when one that is to connect by itself is not connected. From any thread.
    bool hasDisconnectedTcp() const;

    // Life

    /// Gives all accounts up; what is stored of them stays. A veto does not count. Run by the
    /// destructor.
    void reset();
    /// Waits for what runs in the reset pool, in 100 rounds of at most 40 ms in which events of the
    /// calling thread are processed, then at most 3 s for the file transfer thread, which is not
    /// started again. One that still runs is never terminated, since that may abort the process: a
    /// log line tells of it, and it is left to itself.
    void waitForFinished();
    /// For a crash handler, on any thread and at any moment: a signal handler may call it. From now
    /// on everything that is stored or read by any database of this process fails, the notebook's
    /// included, so that a process in an unknown state writes nothing more. It takes no lock,
    /// allocates nothing, makes no instance, and waits for nobody.
    ///
    /// All that was reported as saved, by AppSettingModel::flush() and the like, is found at the
    /// next start. What is still pending is not: it cannot be written without locks. A transaction
    /// that another thread is in the middle of is stored whole or not at all.
    ///
    /// On the main thread the list of accounts is emptied, too, without a signal; on another one it
    /// stays as it is, since the main thread may be changing it. The log line goes to the log's
    /// file and to standard error without passing any handler. Only the manager's own address is
    /// needed: a handler should not call getInstance(), which makes one where there is none.
    Q_INVOKABLE void closeAllDbInCrash();
    /// A thread for the application's uploads and downloads, which it moves its own objects to.
    /// Runs from the making of the manager to reset() or waitForFinished().
    QThread *fileTransferThread() const { return m_fileTransferThread; }
    /// A pool of 5 threads for what the application's accounts clean up in release() and logout().
    QThreadPool *getResetThreadPool() const { return m_resetThreadPool; }
    NewDeviceLoginManager *newDeviceLoginManager() const { return m_newDeviceLoginManager; }
    AppDataMove *appDataMove() const { return m_appDataMove; }

    // Totals, meeting, geometry

    /// The sum over the listed accounts; that of the unread counts is at least 0.
    int totalUnreadCount() const { return m_totalUnreadCount; }
    int totalAtMeCount() const { return m_totalAtMeCount; }
    /// Which page the interface shows: its own number, in memory only.
    Q_INVOKABLE int viewIndex() const { return m_viewIndex; }
    Q_INVOKABLE void setViewIndex(int index);
    bool notebookMode() const { return m_notebookMode; }
    void setNotebookMode(bool notebookMode);

    /// The meeting that the user is in, not owned; null without one, and once it is deleted.
    /// joiningMeeting() is true from the moment that one is asked for: it ends with a failure, or
    /// with the meeting.
    MeetingModelBase *meetingModel() const;
    Q_INVOKABLE void setMeetingModel(MeetingModelBase *meetingModel);
    bool joiningMeeting() const;
    Q_INVOKABLE void setJoiningMeeting(bool joiningMeeting);
    const QString &joiningMeetingId() const;
    Q_INVOKABLE void setJoiningMeetingId(QString joiningMeetingId);
    /// What the server answered: the meeting, or a code other than 0 (an im::Error), of which
    /// createMeetingFailed() tells.
    void createMeetingFinished(int code, MeetingModelBase *meeting, const QString &dialogId,
                               const QString &meetingName);
    /// Likewise; `text` tells the user what went wrong.
    void joinMeetingFinished(bool ok, MeetingModelBase *meeting, const QString &text);
    void meetingWillBeDeleted(MeetingModelBase *meeting);

    /// The window without the list of dialogs, in pixels. init() takes the first size from the
    /// stored geometry of the main window.
    QSize dialogWindowSize() const;
    void setDialogWindowSize(const QSize &size);
    /// How wide a message with media may be, in pixels, in a chat and in the narrower view of a
    /// thread: at least 200; widths below 1 are ignored. ContentItem::calcSize() goes by them.
    int maxMsgItemWidth() const;
    void setMaxMsgItemWidth(int width);
    int maxMsgItemWidthInThread() const;
    void setMaxMsgItemWidthInThread(int width);
    /// True when the information panel is wanted and the window is wide enough for it.
    bool infoPanelVisible() const;

Q_SIGNALS:
    // Many of these are relays: accounts and other parts of the application emit them through the
    // manager, so that the interface has one place to connect to. The library itself emits the
    // change signals of the properties, beginReset, newDeviceLogin, error, sigReconnectToServer,
    // joinMeetingFailed, createMeetingFailed, reactionBeRead, beginChangeCurrentItem and appWiped.
    // Of the numbers, a `code` or `errorCode` is an im::Error, a `command` an im::Command, a
    // `callState` an im::Message::CallState; all others are the application's own.

    /// All accounts are about to be given up.
    void beginReset();
    /// `lastAccount` is the one before, while it is signed in; both may be null.
    void currentAccountChanged(AccountBase *currentAccount, AccountBase *lastAccount);
    void countChanged(int count);
    void notifyNewMessage(QVariantList messages);
    void totalUnreadCountChanged(int totalUnreadCount);
    void voipInfoRecieved(QVariantMap sipInfo);
    void receivedCallMsg(qint64 accountId, QString callId, int callState);
    void newDeviceLogin(AccountBase *account, QVariantMap newDevice);
    void receiveMeetingInvite(MeetingModelBase *meetingModel);
    void versionNotSurport();
    /// Something for the user to read, in the application's language. What the library tells has
    /// the code 0 and the reason 0.
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
    /// Before a change of the current or the login account (a ChangedItemType), while all is as it
    /// was; see setCurrentItemChangeable(). With `forcedJump` a veto does not count.
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

    /// Called first thing in the destructor of an account.
    static void accountDeleted(AccountBase *account);
    void forget(AccountBase *account);

    AccountBase *createAccount(bool autoReconnect, bool isNotebook);
    bool mayChangeCurrentItem(bool forced, AccountBase *newCurrent);
    bool isListed(const AccountBase *account) const;
    /// False for null, and for an account that is on its way out.
    static bool isUsable(const AccountBase *account);
    /// False for the notebook account, and for one that is listed or about to be.
    bool maySignIn(AccountBase *account) const;
    /// True when the manager owns it.
    bool isHeld(const AccountBase *account) const;
    /// Releases an object that the manager does not hold any more, and no other.
    void giveUp(AccountBase *account, bool logOut = true);
    /// The same of one that only these pointers still hold, at the end.
    void release(AccountBase *account);
    void restore(qint64 id);
    /// False for one that must not be listed; it is given up, with a log line.
    bool checkListable(AccountBase *account);
    /// Gives up an account that must not be listed. No veto can keep it.
    void refuse(AccountBase *account);
    /// Ends the sign-in of an account, which is given up; if it was current, another one is.
    void abandonSignIn(AccountBase *account);
    void logoutListed(AccountBase *account);
    void logoutBeingListed(AccountBase *account);
    /// Makes one that logged out, and was the only one, the login account.
    void keepSignedOut(AccountBase *account);
    void endLogin();
    void setLogin(AccountBase *account);
    /// Which account is to be current when the one of that row is not any more; may be null.
    AccountBase *successor(int row) const;
    /// Makes the successor current, or a new login account, where none is.
    void chooseCurrentAccount(int row);
    /// True while rows change: then the operation is carried out by rowsChanged().
    bool postponed(std::function<void()> operation);
    void rowsChanged();
    void removeEmptyRows();
    void removeAll();
    void updateTotals();
    bool isAbsent(qint64 id) const;
    void addAbsent(qint64 id, AccountBase::StoreState state);
    /// False when it is none.
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
    /// The accounts of the list, and the login account if that is wanted, each null once deleted.
    QList<Account> snapshot(bool withLogin) const;
    /// Passes something on, but not to those that leave before their turn.
    void forEach(bool withLogin, const std::function<void(AccountBase *)> &call);

    Factory m_accountFactory;
    /// In the order of the rows; null for one that was deleted while rows changed.
    QList<AccountBase *> m_accounts;
    AccountBase *m_loginAccount = nullptr;
    /// Guards m_accounts and m_loginAccount against readers in other threads; only the main thread
    /// writes, and it lets go before it calls anything.
    mutable std::mutex m_lock;
    Account m_currentAccount;
    Account m_lastAccount;
    Account m_activeAccount;
    Account m_notebookAccount;
    /// Those that addAccount() is about to list. Whoever refuses or logs out one takes it out.
    QList<AccountBase *> m_beingListed;
    QList<Absent> m_absent;
    QList<qint64> m_foundLate;       // to be restored once the settings are announced
    QSet<qint64> m_known;            // ids that were stored, or are
    QList<Absent> m_announcedAbsent; // by unavailableAccountsChanged()
    bool m_changingRows = false;
    std::deque<std::function<void()>> m_postponed; // until the rows have changed
    const AccountBase *m_restored = nullptr;       // that is being restored
    bool m_restoring = false;
    bool m_loggingOutAll = false; // the settings are being reset for that
    bool m_closing = false;
    bool m_resetting = false; // in reset()
    int m_totalUnreadCount = 0;
    int m_totalAtMeCount = 0;
    int m_viewIndex = 0;
    bool m_deleteAll = false;
    bool m_finishingWipe = false;
    QHash<int, bool> m_itemChangeable;
    int m_asking = 0;                                       // for a veto, nested
    const Qt::HANDLE m_thread = QThread::currentThreadId(); ///< the main one
    QThreadPool *m_resetThreadPool;
    QThread *m_fileTransferThread;
    MeetingState *m_meeting;
    NewDeviceLoginManager *m_newDeviceLoginManager;
    AppDataMove *m_appDataMove;
    bool m_notebookMode = false;
    bool m_infoPanelVisible = false; // as it was announced last
};
