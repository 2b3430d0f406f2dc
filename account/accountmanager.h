#pragma once

#include "account/accountbase.h"
#include "account/meetingmodelbase.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"
#include "settings/appdatamove.h"

#include <QAbstractListModel>
#include <QHash>
#include <QPointer>
#include <QSize>
#include <QThread>
#include <QThreadPool>

#include <functional>
#include <mutex>

class NewDeviceLoginManager;

/// The one owner of every account on this machine, as a list model of those that are signed in. It
/// knows which account is shown (current), which has the user's attention (active), which is
/// signing in (login) and the hidden notebook account, and keeps the ids of the listed ones, and of
/// the current one, in the application settings. From init() on there is a current account: a
/// listed one, or, while nobody is signed in, the login account.
///
/// The dynamic property "appLocked" of the application object tells whether a passcode is asked
/// for: init() sets it when there is one, unlockApp() and the end of the last account clear it.
///
/// Thread: the main thread, but for getAccountIds() and containsAccount(), which may be called from
/// any. No lock is held while anything is called out: a handler of any signal may call every public
/// operation at once.
/// Ownership: the manager is the parent of the accounts. An account that leaves the list deletes
/// itself, or is deleted by its release operation; the manager then forgets it.
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
    /// up before. What takes longer is left to itself, with a log line.
    static void releaseInstance();

    /// Restores the stored accounts, the one that was current first; offers a login account when
    /// there are none. When accounts were stored and none of them could be restored, all
    /// application settings are reset. Once, on the main thread, with a QCoreApplication, after
    /// AppSettingModel::loadGlobalData(). `factory` is kept, and never gives null.
    void init(Factory factory);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    // Accounts

    /// Lists an account that is signed in; does nothing unless it is authorized(). The login
    /// account, and the first one of all, becomes the current one. The application's class calls
    /// this at the end of a sign-in.
    void addAccount(AccountBase *account);
    /// A fresh account object, initialised and belonging to the manager; what becomes of it is the
    /// caller's decision.
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
    /// account it becomes that as well. Null ends the sign-in; the object stays.
    void setLoginAccount(AccountBase *account);

    /// Starts a new sign-in, or goes on with the one under way. False, with error(), when there are
    /// maxAccounts already.
    Q_INVOKABLE bool addAccount();
    /// The first listed account of that id, or null.
    Q_INVOKABLE AccountBase *getAccount(qint64 accountId) const;
    /// Null for an index outside the list.
    Q_INVOKABLE AccountBase *getAccountByIndex(int index) const;
    /// -1 for an account that is not listed.
    Q_INVOKABLE int accountIndex(AccountBase *account) const;
    /// The ids of the listed accounts that have one, in the list's order.
    Q_INVOKABLE QList<qint64> getAccountIds() const;
    /// Takes an account off the list and calls its logout(); if it was current, the one before it
    /// is current again, or a neighbour in the list. The last account stays as the login account,
    /// and with its id all application settings are reset. Of the login account: the sign-in ends,
    /// where accounts are listed.
    Q_INVOKABLE void logout(AccountBase *account);
    /// The same of all accounts. The current one stays as the login account.
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
    /// to log out ends in appWiped().
    Q_INVOKABLE void unlockApp(bool destroy, bool notebookMode);
    /// The end of a wipe, queued by it; emits appWiped().
    Q_INVOKABLE void afterUnlockApp();
    /// Passed on to the listed accounts.
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
    /// True when one that is to connect by itself is not connected.
    bool hasDisconnectedTcp() const;

    // Life

    /// Gives all accounts up. Run by the destructor.
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

    /// Of the listed accounts together, as far as they changed while they were listed.
    int totalUnreadCount() const { return m_totalUnreadCount; }
    int totalAtMeCount() const { return m_totalAtMeCount; }
    /// Which page the interface shows: its own number, in memory only.
    Q_INVOKABLE int viewIndex() const { return m_viewIndex; }
    Q_INVOKABLE void setViewIndex(int index);
    bool notebookMode() const { return m_notebookMode; }
    void setNotebookMode(bool notebookMode);

    /// The meeting that the user is in, not owned; null without one. joiningMeeting() is true from
    /// the moment that one is asked for: it ends with a failure, or with the meeting.
    MeetingModelBase *meetingModel() const { return m_meetingModel; }
    Q_INVOKABLE void setMeetingModel(MeetingModelBase *meetingModel);
    bool joiningMeeting() const { return m_joiningMeeting; }
    Q_INVOKABLE void setJoiningMeeting(bool joiningMeeting);
    const QString &joiningMeetingId() const { return m_joiningMeetingId; }
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
    QSize dialogWindowSize() const { return m_dialogWindowSize; }
    void setDialogWindowSize(const QSize &size);
    /// How wide a message with media may be, in pixels, in a chat and in the narrower view of a
    /// thread: at least 200; widths below 1 are ignored. ContentItem::calcSize() goes by them.
    int maxMsgItemWidth() const { return m_maxMsgItemWidth; }
    void setMaxMsgItemWidth(int width);
    int maxMsgItemWidthInThread() const { return m_maxMsgItemWidthInThread; }
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
    using Account = QPointer<AccountBase>;

    AccountManager();
    ~AccountManager() override;

    bool mayChangeCurrentItem(bool forced, AccountBase *newCurrent);
    void saveAccounts();
    void finishWipe();
    void initGeometry();
    void finishResetPool(int milliseconds);
    void finishFileTransferThread();
    /// The listed accounts, each null once it is deleted.
    QList<Account> snapshot() const;
    QList<Account> snapshotWithLogin() const;
    void meetingFinished(bool ok, MeetingModelBase *meeting,
                         const std::function<void()> &signalFailure);

    Factory m_accountFactory;
    QList<AccountBase *> m_accounts;
    Account m_currentAccount;
    Account m_lastAccount;
    Account m_activeAccount;
    Account m_loginAccount;
    Account m_notebookAccount;
    /// Guards m_accounts against readers in other threads; only the main thread writes, and it lets
    /// go before it calls anything.
    mutable std::mutex m_lock;
    int m_totalUnreadCount = 0;
    int m_totalAtMeCount = 0;
    int m_viewIndex = 0;
    bool m_deleteAll = false;
    QHash<int, bool> m_itemChangeable;
    const Qt::HANDLE m_thread = QThread::currentThreadId(); ///< the main one
    QThreadPool *m_resetThreadPool;
    QThread *m_fileTransferThread;
    QPointer<MeetingModelBase> m_meetingModel;
    NewDeviceLoginManager *m_newDeviceLoginManager;
    AppDataMove *m_appDataMove;
    bool m_joiningMeeting = false;
    QString m_joiningMeetingId;
    bool m_notebookMode = false;
    QSize m_dialogWindowSize;
    int m_maxMsgItemWidth = 425;
    int m_maxMsgItemWidthInThread = 224;
};
