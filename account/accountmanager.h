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
/// signing in (login) and the hidden notebook account, and keeps their ids in the application
/// settings.
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

    static AccountManager *getInstance();
    /// Deletes the manager and, with it, every account. Call waitForFinished() first.
    static void releaseInstance();

    /// Restores the stored accounts, the one that was current first; offers a login account when
    /// there are none. Once, on the main thread, after AppSettingModel::loadGlobalData().
    void init(Factory factory);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    // Accounts

    /// Lists an account that is signed in; does nothing unless it is authorized().
    void addAccount(AccountBase *account);
    /// A fresh account object, initialised and belonging to the manager; what becomes of it is the
    /// caller's decision.
    AccountBase *createAccount(bool autoReconnect);
    bool containsAccount(AccountBase *account) const;
    AccountBase *currentAccount() const { return m_currentAccount; }
    AccountBase *loginAccount() const { return m_loginAccount; }
    AccountBase *notebookAccount() const { return m_notebookAccount; }
    int count() const;
    /// True while a destroying unlock wipes the accounts.
    bool deleteAll() const { return m_deleteAll; }
    void setLoginAccount(AccountBase *account);

    /// Starts a new sign-in, or goes on with the one under way. False, with error(), when there are
    /// five accounts already.
    Q_INVOKABLE bool addAccount();
    /// The first listed account of that id, or null.
    Q_INVOKABLE AccountBase *getAccount(qint64 accountId) const;
    Q_INVOKABLE AccountBase *getAccountByIndex(int index) const;
    Q_INVOKABLE int accountIndex(AccountBase *account) const;
    /// The ids of the listed accounts that have one, in the list's order.
    Q_INVOKABLE QList<qint64> getAccountIds() const;
    Q_INVOKABLE void logout(AccountBase *account);
    Q_INVOKABLE void logoutAll();
    Q_INVOKABLE void setCurrentAccount(qint64 accountId);
    Q_INVOKABLE void activeNextAccount();
    Q_INVOKABLE void setActiveAccount(AccountBase *account);
    Q_INVOKABLE bool setActiveAccountById(qint64 accountId);
    /// The veto: a handler of beginChangeCurrentItem sets false to keep things as they are.
    Q_INVOKABLE bool currentItemChangeable(int type) const;
    Q_INVOKABLE void setCurrentItemChangeable(int type, bool changeable);
    Q_INVOKABLE void unlockApp(bool destroy, bool notebookMode);
    /// Runs once the last account of a wipe is gone; emits appWiped().
    Q_INVOKABLE void afterUnlockApp();
    Q_INVOKABLE void recordScreenLockLog(int sceneType, int unlockType, int result);
    void updateUserCacheDataPath();

    // Connection

    /// `accountId` 0 or below reaches the login account; below 0, or the account's own id, a listed
    /// one.
    Q_INVOKABLE void abortAndReconnect(bool resetAutoReconnect, qint64 accountId);
    void reconnectToServer();
    void resetCurrentServer();
    void setProxy(const QNetworkProxy &proxy);
    bool hasDisconnectedTcp() const;

    // Life

    /// Gives all accounts up. Run by the destructor.
    void reset();
    /// Waits, in bounded rounds, for what runs in the background.
    void waitForFinished();
    /// For a crash handler: closes every database without taking a lock.
    Q_INVOKABLE void closeAllDbInCrash();
    QThread *fileTransferThread() const { return m_fileTransferThread; }
    QThreadPool *getResetThreadPool() const { return m_resetThreadPool; }
    NewDeviceLoginManager *newDeviceLoginManager() const { return m_newDeviceLoginManager; }
    AppDataMove *appDataMove() const { return m_appDataMove; }

    // Totals, meeting, geometry

    int totalUnreadCount() const { return m_totalUnreadCount; }
    int totalAtMeCount() const { return m_totalAtMeCount; }
    Q_INVOKABLE int viewIndex() const { return m_viewIndex; }
    Q_INVOKABLE void setViewIndex(int index);
    bool notebookMode() const { return m_notebookMode; }
    void setNotebookMode(bool notebookMode);

    MeetingModelBase *meetingModel() const { return m_meetingModel; }
    Q_INVOKABLE void setMeetingModel(MeetingModelBase *meetingModel);
    bool joiningMeeting() const { return m_joiningMeeting; }
    Q_INVOKABLE void setJoiningMeeting(bool joiningMeeting);
    const QString &joiningMeetingId() const { return m_joiningMeetingId; }
    Q_INVOKABLE void setJoiningMeetingId(QString joiningMeetingId);
    void createMeetingFinished(int code, MeetingModelBase *meeting, const QString &dialogId,
                               const QString &meetingName);
    void joinMeetingFinished(bool ok, MeetingModelBase *meeting, const QString &text);
    void meetingWillBeDeleted(MeetingModelBase *meeting);

    /// Pixels. Item widths are at least 200; widths below 1 are ignored.
    QSize dialogWindowSize() const { return m_dialogWindowSize; }
    void setDialogWindowSize(const QSize &size);
    int maxMsgItemWidth() const { return m_maxMsgItemWidth; }
    void setMaxMsgItemWidth(int width);
    int maxMsgItemWidthInThread() const { return m_maxMsgItemWidthInThread; }
    void setMaxMsgItemWidthInThread(int width);
    /// True when the information panel is wanted and the window is wide enough for it.
    bool infoPanelVisible() const;

Q_SIGNALS:
    // Many of these are relays: accounts and other parts of the application emit them through the
    // manager, so that the interface has one place to connect to.
    void beginReset();
    void currentAccountChanged(AccountBase *currentAccount, AccountBase *lastAccount);
    void countChanged(int count);
    void notifyNewMessage(QVariantList messages);
    void totalUnreadCountChanged(int totalUnreadCount);
    void voipInfoRecieved(QVariantMap sipInfo);
    void receivedCallMsg(qint64 accountId, QString callId, int callState);
    void newDeviceLogin(AccountBase *account, QVariantMap newDevice);
    void receiveMeetingInvite(MeetingModelBase *meetingModel);
    void versionNotSurport();
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
