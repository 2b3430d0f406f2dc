#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <atomic>
#include <concepts>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

class AccountCipher;
class AccountDeviceModel;
class AccountSettingModel;
class ConfigurationService;
class DataInfoModel;
class DefaultProviders;
class DeviceMessageHandler;
class FileProvider;
class QNetworkProxy;
class StickerProvider;

namespace crypto
{
class Store;
}
namespace storage
{
class UserStorageProvider;
}

/// One account on this machine: who it is, how it is connected, what it has unread, its store and
/// its keys. Abstract: the application derives the class that talks to the server, and gives
/// AccountManager::init() a function that makes its objects.
///
/// A life: the factory, initialize(); then restore(), or a sign-in, which calls setAccountId(),
/// openStorage(), setAuthorized() and AccountManager::addAccount(); at the end logout(),
/// deleteAccount() or release().
///
/// A session lasts from setAuthorized(true) until the account is neither authorized nor its store
/// open: logout() needs setAuthorized(false) and closeStorage(), in any order. At its end, and when
/// another id follows one above 0, the account forgets the person: phone and country code, e-mail
/// and verification, device id, totals, features, banned state, maxDeviceCount(), devices, settings,
/// data ranges, the keys in memory, and the records of its own file and sticker providers. What is
/// stored stays. Not forgotten: the id itself, what the application chose (services, proxy,
/// autoReconnect()), state() and authorized(). The signals come when all is gone, in this order:
/// those of deviceModel(), accountIdChanged() with another id, those of accountSettingModel(), those
/// of the account. What a first sign-in sets before setAccountId() stays.
///
/// Thread: the main thread, but for accountId(), isMyUserId(), state(), autoReconnect() and the
/// encryption operations, which may be called from any thread. Ownership: the AccountManager is the
/// parent; storage, keys and models belong to the account; QML never deletes one. The application
/// may delete one: the manager then takes it off its list. Every setter signals on a change only.
class MODELBASE_EXPORT AccountBase : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_MOC_INCLUDE("account/accountdevicemodel.h")
    Q_MOC_INCLUDE("settings/accountsettingmodel.h")
    Q_PROPERTY(bool authorized READ authorized NOTIFY authorizedChanged)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(int state READ state WRITE setState NOTIFY stateChanged)
    Q_PROPERTY(int deviceId READ deviceId NOTIFY deviceIdChanged)
    Q_PROPERTY(QString phone READ phone WRITE setPhone NOTIFY phoneChanged)
    Q_PROPERTY(int totalUnreadCount READ totalUnreadCount NOTIFY totalUnreadCountChanged)
    Q_PROPERTY(int totalAtMeCount READ totalAtMeCount NOTIFY totalAtMeCountChanged)
    Q_PROPERTY(qint64 accountId READ accountId NOTIFY accountIdChanged)
    Q_PROPERTY(QString countryCode READ countryCode WRITE setCountryCode NOTIFY countryCodeChanged)
    Q_PROPERTY(QVariantList features READ features NOTIFY featuresChanged)
    Q_PROPERTY(int maxDeviceCount READ maxDeviceCount NOTIFY maxDeviceCountChanged)
    Q_PROPERTY(QString email READ email NOTIFY emailChanged)
    Q_PROPERTY(QString verificationEmail READ verificationEmail NOTIFY verificationEmailChanged)
    Q_PROPERTY(bool verificationEnabled READ verificationEnabled NOTIFY verificationEnabledChanged)
    Q_PROPERTY(
        qint64 verificationResetAt READ verificationResetAt NOTIFY verificationResetAtChanged)
    Q_PROPERTY(BannedState bannedState READ bannedState NOTIFY bannedStateChanged)
    Q_PROPERTY(AccountDeviceModel *deviceModel READ deviceModel CONSTANT)
    Q_PROPERTY(AccountSettingModel *accountSettingModel READ accountSettingModel CONSTANT)

public:
    enum NetworkState { NORMAL, DISCONNECTED, CONNECTING, UPDATING, UNKNOWN };
    Q_ENUM(NetworkState)
    enum SupportedMeetingType { NOT_SUPPORT, AUDIO_CALL, VIDEO_CALL };
    Q_ENUM(SupportedMeetingType)
    enum FeatureState { Feature_ENABLED, Feature_DISABLED };
    Q_ENUM(FeatureState)
    enum BannedState { NOT_BANNED, TEMPORARY, PERMANENT };
    Q_ENUM(BannedState)
    /// Whether the account's store is open, and if not, why.
    enum StoreState {
        StoreClosed, ///< not asked for so far, or closed again
        StoreOpen,
        StoreMissing,    ///< there is none, and none was to be made
        StoreLocked,     ///< another program is using it
        StoreNewer,      ///< a newer version of the application has written it
        StoreUnreadable, ///< no access, a failing disk, or something else in its place
    };
    Q_ENUM(StoreState)

    explicit AccountBase(QObject *parent = nullptr);
    /// Closes the account's storage, see closeStorage(); what cannot be written is named in the
    /// log.
    ~AccountBase() override;

    // What the application's class does. The manager calls all of this but setPhone(), and looks at
    // nothing that comes of it beyond what is said here.

    /// Ends the session for good: AccountManager::logout() has taken the account off its list. With
    /// `deleteThis` the object deletes itself afterwards (deleteLater()); without, it is the next
    /// login account.
    Q_INVOKABLE virtual void logout(bool deleteThis = false) = 0;
    /// Drops the connection and makes a new one; with `resetAutoReconnect` autoReconnect() is on
    /// again afterwards.
    Q_INVOKABLE virtual void abortAndReconnect(bool resetAutoReconnect) = 0;
    /// Connects where there is no connection; with `resetTime`, which the manager always gives,
    /// without the pause that failed attempts have earned.
    Q_INVOKABLE virtual void reconnectToServer(bool resetTime = false) = 0;
    /// Forgets which of several servers was chosen.
    Q_INVOKABLE virtual void resetCurrentServer() = 0;
    /// Deletes the account on the server, and its data here; ends in AccountManager::logout(), with
    /// `silent` also when the server cannot be reached after `retryTimes` further attempts. A
    /// destroying AccountManager::unlockApp() gives false, 5, true and the setting
    /// destructRecoverable.
    Q_INVOKABLE virtual void deleteAccount(bool deleteChats = false, int retryTimes = 0,
                                           bool silent = false, bool recoverable = false) = 0;
    /// In memory only; see updatePhone().
    Q_INVOKABLE virtual void setPhone(QString phone);

    /// Run once, right after the factory made the object.
    virtual void initialize() = 0;
    /// Opens a stored account: `params` is {"userId": id}, `reason` the application's own number, 0
    /// from the manager. An account that could be opened is authorized() when this returns; any
    /// other is not listed but given up, by release(false, true). With its store open it is
    /// nobody's then, and its id is forgotten. With its store closed it is tried again later, see
    /// AccountManager::unavailableAccounts(); unless there is no database.
    virtual void restore(QVariantMap params, bool connectNow, int reason) = 0;
    /// Gives up an object that is in no list, once: at shut-down or because it could not be restored
    /// (`logOut` false), or because its sign-in ends or is refused (true). `deleteThis`, always true
    /// from the manager, is as for logout().
    virtual void release(bool logOut, bool deleteThis) = 0;
    /// The account has the user's attention from now on, or has no longer.
    virtual void setActive(bool active) = 0;
    virtual void setProxy(const QNetworkProxy &proxy) = 0;
    /// Somebody has tried to unlock the screen; the three numbers are the application's own.
    virtual void recordScreenLockLog(int sceneType, int unlockType, int result) = 0;
    /// Called of the notebook account, before it becomes the current one.
    virtual void enterNotebookMode() = 0;
    /// The storage layer wants the information of a group fetched anew, see
    /// storage::UserStorageProvider::updateGroupInfo(). Whoever asks, on whatever thread, this is
    /// called on the account's thread, by its event loop; not any more once ~AccountBase() has
    /// begun. Writes a debug line unless overridden.
    virtual void refreshGroupInfo(qint64 groupId);

    // Identity.

    /// The user's id; 0 before a sign-in.
    qint64 accountId() const { return m_accountId; }
    /// Also chooses the directories below: those named after the id. With an id below 1 they stay
    /// what they are, at first those of the id 0. Opens and moves nothing; but an open store is that
    /// of the id before: until openStorage(), the keys answer nothing and settings and data ranges
    /// stay in memory. Another id after one above 0 forgets the person, see above. Refused, with a
    /// log line, while the account is authorized and the manager lists it.
    void setAccountId(qint64 accountId);
    bool isAccountId(qint64 id) const { return id == m_accountId; }
    /// True for this account's id and for the ids of its other identities: those of which the key
    /// store has the user key of device 1 and type 1.
    Q_INVOKABLE bool isMyUserId(qint64 userId) const;
    /// The number of this installation among the account's devices; 0 while it has none.
    int deviceId() const { return m_deviceId; }
    void setDeviceId(int deviceId);
    const QString &phone() const { return m_phone; }
    const QString &countryCode() const { return m_countryCode; }
    Q_INVOKABLE void setCountryCode(QString countryCode);
    /// Sets both and stores them with the keys, where crypto::Store::userInfo() finds them again.
    /// What cannot be stored now is tried again when the store or its keys are opened.
    void updatePhone(const QString &phone, const QString &countryCode);
    const QString &email() const { return m_email; }
    void updateEmail(const QString &email);
    const QString &verificationEmail() const { return m_verificationEmail; }
    void setVerificationEmail(const QString &email);
    bool verificationEnabled() const { return m_verificationEnabled; }
    void setVerificationEnabled(bool enabled);
    /// When the verification is reset, as the server tells it.
    qint64 verificationResetAt() const { return m_verificationResetAt; }
    void setVerificationResetAt(qint64 time);

    // State.

    // Set by the application's class, kept in memory only.

    /// Somebody is signed in and the store is open.
    bool authorized() const { return m_authorized; }
    void setAuthorized(bool authorized);
    bool isConnected() const { return m_isConnected; }
    /// A NetworkState; DISCONNECTED at first. The account counts as connected in the states NORMAL
    /// and UPDATING.
    int state() const { return m_state; }
    Q_INVOKABLE void setState(int state);
    /// Whether the account is to connect again by itself; on, but for the notebook account.
    bool autoReconnect() const { return m_autoReconnect; }
    void setAutoReconnect(bool autoReconnect) { m_autoReconnect = autoReconnect; }
    /// Messages that the user has not read, and those that mention the user.
    int totalUnreadCount() const { return m_totalUnreadCount; }
    void setTotalUnreadCount(int count);
    int totalAtMeCount() const { return m_totalAtMeCount; }
    void setTotalAtMeCount(int count);
    /// How many devices the server lets the account have.
    int maxDeviceCount() const { return m_maxDeviceCount; }
    void setMaxDeviceCount(int count);
    BannedState bannedState() const { return m_bannedState; }
    void setBannedState(BannedState state);

    // Store, keys and models; all owned by the account and never null. Until openStorage() there is
    // nothing in them.

    /// Opened and closed by openStorage() and closeStorage() only.
    storage::UserStorageProvider *storage() const { return m_storage.get(); }
    StoreState storeState() const;
    /// While a keychain is asked for its master key, it is Opening and has no keys; see
    /// signalStoreOpened().
    crypto::Store *signalStore() const { return m_signalStore.get(); }
    DataInfoModel *dataInfoModel() const { return m_dataInfoModel; }
    AccountDeviceModel *deviceModel() const { return m_deviceModel; }
    AccountSettingModel *accountSettingModel() const { return m_accountSettingModel; }
    /// For a crash handler: closes the database without taking a lock. AccountManager's
    /// closeAllDbInCrash() closes those of all accounts without going through them.
    void closeDbInCrash();

    /// Directory for media, "<id>" in AppDirManager::cacheDataDir(), with which it moves; ends in a
    /// separator. Made by whoever writes to it first.
    const QString &userCacheDataPath() const { return m_userCacheDataPath; }
    /// Directory for the account's database, "<id>/userstatus" in
    /// AppDirManager::defaultCacheDataDir(), which stays where it is; ends in a separator.
    const QString &userStatusDataPath() const { return m_userStatusDataPath; }
    /// Takes over AppDirManager::cacheDataDir(), after it has changed.
    void updateUserCacheDataPath();

    // What the application may set; not owned.

    /// Without one of the application's, SharedStickers once a content has needed them, null before.
    StickerProvider *stickerProvider() const;
    void setStickerProvider(StickerProvider *provider) { m_stickerProvider = provider; }
    /// Without one of the application's, a FileRegistry once a content has needed it, null before.
    FileProvider *fileProvider() const;
    void setFileProvider(FileProvider *provider) { m_fileProvider = provider; }
    /// For contents, which know the defaults of the two: calls `make` unless it was called before.
    /// Thread: any.
    void setDefaultProviders(std::unique_ptr<DefaultProviders> (*make)());
    /// Never null: without one of the application's, an account keeps its configuration in its
    /// store.
    ConfigurationService *configurationService() const;
    void setConfigurationService(ConfigurationService *service) { m_configuration = service; }
    /// Null unless it was set. Nothing in the library calls it.
    DeviceMessageHandler *deviceMsgHandler() const { return m_deviceMsgHandler; }
    void setDeviceMsgHandler(DeviceMessageHandler *handler) { m_deviceMsgHandler = handler; }

    // Dialogs: "G-<group>" for a group, "C-<smaller user>-<larger user>" for two users.

    /// Of the group, or of the chat of this account with that user.
    Q_INVOKABLE QString getDialogId(qint64 targetId, bool isGroup) const;
    /// Of the group `a`, or of the chat of two users, in any order.
    static QString getDialogId(qint64 a, qint64 b, bool isGroup);
    /// The group, or the other user, of a dialog; 0 for what is no dialog id.
    Q_INVOKABLE qint64 getTargetId(QString dialogId) const;
    /// Those of the saved dialogs below `dialogId` that `accept` wants; none unless overridden.
    virtual QStringList filterSavedDialogs(const QString &dialogId,
                                           std::function<bool(const QString &)> accept) const;
    /// The messages of a dialog that carry an emoji tag; none unless overridden.
    virtual QList<qint64> messageIdsByEmojiTag(const QString &dialogId, const QString &emoji) const;

    // Encryption: AES-SIV (RFC 5297) with the vector that all clients share. Whatever fails gives
    // an empty result and a log line without key or text.

    /// Encrypts under a key derived from `key`. A key of any other length than 32 bytes is replaced
    /// by a new random one, which the caller stores with the message or file. Empty data give an
    /// empty result and leave the key alone.
    QByteArray encrypt(const QByteArray &data, QByteArray &key) const;
    /// A key that cannot be handed back is no password either.
    template <std::same_as<QByteArray> Key>
    QByteArray encrypt(const QByteArray &data, const Key &key) const = delete;
    QByteArray decrypt(const QByteArray &data, const QByteArray &key) const;
    /// Under a password, whose first 32 characters count. It is the key: nothing is derived from
    /// it.
    QByteArray encrypt(const QByteArray &data, QString password) const;
    QByteArray decrypt(const QByteArray &data, QString password) const;
    /// Under a secure key of the key store, which is made when it is missing. Returns the key; it
    /// and `out` are empty when the key store is not Ready.
    QByteArray encrypt(QByteArray &out, const QByteArray &data, const QString &keyId, int version);
    /// False, with `out` untouched, when there is no such key; true, with `out` empty, when there
    /// is one and the data do not open with it.
    bool decrypt(QByteArray &out, const std::string &data, const QString &keyId, int version) const;

    /// Version of the account's identity key; 0 unless overridden.
    virtual int idKeyVersion() const { return 0; }
    bool containsSecureKey(const QString &keyId, int version) const;
    /// The keys that another device of this account lacks, as a serialised
    /// im.DeviceMessage.ContentKeyPatch: the dialog's chat keys of the versions, and the secure key
    /// if its id is given. Empty when there are none.
    QByteArray getMissingChatKeys(const QString &dialogId, int fromVersion, int toVersion,
                                  const QString &secureKeyId) const;
    /// What two users compare to verify each other's keys: {"emoji": list of texts, "hex": text,
    /// "link": text}. Emoji only for a hash of 32 bytes.
    Q_INVOKABLE QVariantMap veirifyKey(qint64 myUserId, qint64 contactsUserId,
                                       QByteArray sha256) const;

    // Features, as the server switched them; kept in the account's store. Ids are those of
    // im.feature.Feature.

    /// Maps {"featureId": int, "state": FeatureState as int}, by ascending id.
    QVariantList features() const;
    /// A FeatureState; disabled for a feature that the server never named.
    Q_INVOKABLE int featureState(int featureId) const;
    void setFeatures(const QMap<int, FeatureState> &features);
    void updateFeature(int featureId, FeatureState state);
    /// Takes over what is stored; openStorage() does so.
    void readFeatures();

Q_SIGNALS:
    // Those that end in "Finished" or begin with "received" tell of answers of the server (a `code`
    // is an im::Error): the application's class emits them.
    void authorizedChanged();
    void isConnectedChanged();
    void stateChanged();
    void deviceIdChanged();
    void phoneChanged();
    void totalUnreadCountChanged(int totalUnreadCount, int oldCount);
    void totalAtMeCountChanged(int totalAtMeCount, int oldCount);
    void accountIdChanged();
    void userVerifyFinished(qint64 userId, const QByteArray &sha256);
    void countryCodeChanged();
    void receivedSyncSecureKeys(QList<QVariantMap> keyIdTypes);
    void receivedMsgKeys(QSet<QString> dialogIds);
    void featuresChanged();
    void activeFeatureFinished(int featureId, int code);
    void enableFeatureFinished(int featureId, int code);
    void disableFeatureFinished(int featureId, int code);
    void maxDeviceCountChanged();
    void emailChanged();
    void verificationEmailChanged();
    void verificationEnabledChanged();
    void verificationResetAtChanged();
    void bannedStateChanged();
    /// A keychain that had to be asked for the keys has answered: signalStore()->state() tells what
    /// came of it.
    void signalStoreOpened();

protected:
    /// Opens the account's database in userStatusDataPath() and loads what lies there: settings,
    /// data ranges, features. False, with a log line, when it cannot be opened, and for an id below
    /// 1: only the notebook account has a store without an id of its own. With `create` false, as
    /// for restore(), an account without a database is refused. With `create` true, one of which a
    /// wipe could not remove the database is refused as long as that cannot be removed. The keys are
    /// opened by the first call that needs them, see crypto::Store.
    ///
    /// The store of another id that is still open is closed first, with its changes written. When
    /// they cannot be written within 5 seconds, the call is refused and that store stays open, so
    /// that it can be tried again; what could not be written before closeStorage() is lost now, and
    /// named in the log. No change ever reaches the store of another id.
    bool openStorage(bool create);
    /// Writes what is pending and closes the database; the models keep what they hold, unless it is
    /// the end of a session. What cannot be written waits for the same store to be opened again, or
    /// is lost, and named in the log, when the session ends. Returns after 5 seconds at most,
    /// whatever the disk and other threads do; what takes longer ends in the background.
    void closeStorage();

private:
    friend class AccountManager;
    class Mailbox;

    static QString statusDataPath(qint64 id);
    void suspendStore();
    bool leaveStore(QDeadlineTimer deadline);
    void storeUserInfo();
    void endSession(QDeadlineTimer deadline);
    std::function<void()> forgetPerson(QDeadlineTimer deadline);

    std::atomic<qint64> m_accountId = 0;
    int m_totalUnreadCount = 0;
    int m_totalAtMeCount = 0;
    std::atomic<int> m_state = DISCONNECTED;
    int m_maxDeviceCount = 5;
    int m_deviceId = 0;
    BannedState m_bannedState = NOT_BANNED;
    bool m_isConnected = false;
    bool m_authorized = false;
    std::atomic<bool> m_autoReconnect = true;
    /// The manager's: it logs out, was given up or is being deleted, and is not taken in again.
    bool m_leaving = false;
    /// The manager's: its store is that of the id 0.
    bool m_isNotebook = false;
    QString m_phone;
    QString m_countryCode;
    QString m_email;
    QString m_verificationEmail;
    bool m_verificationEnabled = false;
    qint64 m_verificationResetAt = 0;
    const std::unique_ptr<storage::UserStorageProvider> m_storage;
    const std::unique_ptr<crypto::Store> m_signalStore;
    const std::unique_ptr<AccountCipher> m_cipher;
    const std::unique_ptr<ConfigurationService> m_ownConfiguration;
    DataInfoModel *m_dataInfoModel;
    AccountDeviceModel *m_deviceModel;
    AccountSettingModel *m_accountSettingModel;
    QString m_userStatusDataPath;
    QString m_userCacheDataPath;
    qint64 m_pathId = 0; // whose directories these are
    QString m_storePath; // directory of the store that is open, or that changes still wait for
    std::atomic_bool m_storeEntered = false; // it is open, and that of this id
    qint64 m_personId = 0; // whose details these are; 0: nobody's, or of who is signing in
    bool m_inSession = false;
    bool m_userInfoWaits = false; // phone and country code are still to be stored
    const std::shared_ptr<Mailbox> m_mailbox;
    QMap<int, FeatureState> m_features;
    std::once_flag m_madeDefaults;
    std::unique_ptr<DefaultProviders> m_ownedDefaults;
    std::atomic<DefaultProviders *> m_defaults = nullptr;
    StickerProvider *m_stickerProvider = nullptr;
    FileProvider *m_fileProvider = nullptr;
    ConfigurationService *m_configuration = nullptr;
    DeviceMessageHandler *m_deviceMsgHandler = nullptr;
};
