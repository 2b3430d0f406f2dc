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

/// One account on this machine: its identity, connection, unread totals, store and keys. Abstract:
/// the application derives the class that talks to the server, and passes AccountManager::init() a
/// factory for it.
///
/// Life cycle: the factory and initialize(); then restore(), or a sign-in, which calls
/// setAccountId(), openStorage(), setAuthorized() and AccountManager::addAccount(); at the end
/// logout(), deleteAccount() or release().
///
/// A session lasts from setAuthorized(true) until the account is unauthorized and its store is
/// closed: logout() must call setAuthorized(false) and closeStorage(), in any order. When the
/// session ends, or an id above 0 is replaced by another, the account clears what it knows of the
/// person: phone and country code, e-mail and verification, device id, totals, features, banned
/// state, maxDeviceCount(), devices, settings, data ranges, the keys in memory, and the records of
/// its own file and sticker providers. Stored data stay. The id itself, what the application chose
/// (services, proxy, autoReconnect()), state() and authorized() are kept. Signals follow once
/// everything is cleared, in this order: those of deviceModel(), accountIdChanged() if the id
/// changed, those of accountSettingModel(), those of the account. What a first sign-in sets before
/// setAccountId() stays.
///
/// Thread: the main thread, except accountId(), isMyUserId(), state(), autoReconnect() and the
/// encryption operations, which may be called from any thread. Ownership: the AccountManager is the
/// parent; the account owns its storage, keys and models; QML never deletes an account. The
/// application may delete one: the manager then removes it from its list. Every setter signals only
/// a change.
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
        StoreClosed, ///< not opened yet, or closed again
        StoreOpen,
        StoreMissing,    ///< there is none, and none was to be created
        StoreLocked,     ///< another program is using it
        StoreNewer,      ///< a newer version of the application has written it
        StoreUnreadable, ///< no access, a failing disk, or something else in its place
    };
    Q_ENUM(StoreState)

    explicit AccountBase(QObject *parent = nullptr);
    /// Closes the account's storage, see closeStorage(); the log names what cannot be written.
    ~AccountBase() override;

    // What the application's class implements. The manager calls all of this except setPhone(), and
    // relies only on the effects stated here.

    /// Ends the session for good: AccountManager::logout() has removed the account from its list.
    /// With `deleteThis` the object deletes itself afterwards (deleteLater()); without it, the
    /// object becomes the next login account.
    Q_INVOKABLE virtual void logout(bool deleteThis = false) = 0;
    /// Drops the connection and makes a new one; `resetAutoReconnect` also switches autoReconnect()
    /// on again.
    Q_INVOKABLE virtual void abortAndReconnect(bool resetAutoReconnect) = 0;
    /// Connects if there is no connection. `resetTime`, which the manager always passes, skips the
    /// back-off delay after failed attempts.
    Q_INVOKABLE virtual void reconnectToServer(bool resetTime = false) = 0;
    /// Forgets which of several servers was chosen.
    Q_INVOKABLE virtual void resetCurrentServer() = 0;
    /// Deletes the account on the server, and its data here; ends in AccountManager::logout(). With
    /// `silent` it does so even if the server cannot be reached after `retryTimes` further
    /// attempts. A destroying AccountManager::unlockApp() passes false, 5, true and the setting
    /// destructRecoverable.
    Q_INVOKABLE virtual void deleteAccount(bool deleteChats = false, int retryTimes = 0,
                                           bool silent = false, bool recoverable = false) = 0;
    /// In memory only; see updatePhone().
    Q_INVOKABLE virtual void setPhone(QString phone);

    /// Called once, right after the factory made the object.
    virtual void initialize() = 0;
    /// Opens a stored account: `params` is {"userId": id}; `reason` is the application's own
    /// number, 0 from the manager. An account that could be opened is authorized() on return; any
    /// other is not listed but released, by release(false, true). If its store is open then, it
    /// belongs to no one, and the manager forgets the id. If its store is closed, the account is
    /// tried again later, see AccountManager::unavailableAccounts(), unless there is no database.
    virtual void restore(QVariantMap params, bool connectNow, int reason) = 0;
    /// Disposes of an object that is in no list; called once. `logOut` is false at shut-down and
    /// for an account that could not be restored, true when its sign-in ends or is refused.
    /// `deleteThis`, always true from the manager, is as for logout().
    virtual void release(bool logOut, bool deleteThis) = 0;
    /// Whether the account has the user's attention from now on.
    virtual void setActive(bool active) = 0;
    virtual void setProxy(const QNetworkProxy &proxy) = 0;
    /// Someone has tried to unlock the screen; the three numbers are the application's own.
    virtual void recordScreenLockLog(int sceneType, int unlockType, int result) = 0;
    /// Called on the notebook account, before it becomes the current one.
    virtual void enterNotebookMode() = 0;
    /// The storage layer asks to fetch the information of a group again, see
    /// storage::UserStorageProvider::updateGroupInfo(). Called on the account's thread by its event
    /// loop, whichever thread asked; never after ~AccountBase() has begun. By default it writes a
    /// debug line.
    virtual void refreshGroupInfo(qint64 groupId);

    // Identity.

    /// The user's id; 0 before a sign-in.
    qint64 accountId() const { return m_accountId; }
    /// Also chooses the directories below, named after the id. An id below 1 leaves them as they
    /// are, at first those of the id 0. Opens and moves nothing, but an open store still belongs to
    /// the old id: until openStorage(), the keys return nothing and settings and data ranges stay
    /// in memory. Replacing an id above 0 clears the person's data, see above. Refused, with a log
    /// line, while the account is authorized and listed by the manager.
    void setAccountId(qint64 accountId);
    bool isAccountId(qint64 id) const { return id == m_accountId; }
    /// True for this account's id and for the ids of its other identities: those whose user key of
    /// device 1 and type 1 is in the key store.
    Q_INVOKABLE bool isMyUserId(qint64 userId) const;
    /// The number of this installation among the account's devices; 0 while it has none.
    int deviceId() const { return m_deviceId; }
    void setDeviceId(int deviceId);
    const QString &phone() const { return m_phone; }
    const QString &countryCode() const { return m_countryCode; }
    Q_INVOKABLE void setCountryCode(QString countryCode);
    /// Sets both and stores them with the keys, where crypto::Store::userInfo() finds them. A
    /// failed write is repeated when the store or its keys are opened.
    void updatePhone(const QString &phone, const QString &countryCode);
    const QString &email() const { return m_email; }
    void updateEmail(const QString &email);
    const QString &verificationEmail() const { return m_verificationEmail; }
    void setVerificationEmail(const QString &email);
    bool verificationEnabled() const { return m_verificationEnabled; }
    void setVerificationEnabled(bool enabled);
    /// When the verification is reset, as the server reports it.
    qint64 verificationResetAt() const { return m_verificationResetAt; }
    void setVerificationResetAt(qint64 time);

    // State.

    // Set by the application's class, kept in memory only.

    /// Someone is signed in and the store is open.
    bool authorized() const { return m_authorized; }
    void setAuthorized(bool authorized);
    bool isConnected() const { return m_isConnected; }
    /// A NetworkState; DISCONNECTED at first. The account counts as connected in the states NORMAL
    /// and UPDATING.
    int state() const { return m_state; }
    Q_INVOKABLE void setState(int state);
    /// Whether the account reconnects by itself; on, except for the notebook account.
    bool autoReconnect() const { return m_autoReconnect; }
    void setAutoReconnect(bool autoReconnect) { m_autoReconnect = autoReconnect; }
    /// Unread messages, and those of them that mention the user.
    int totalUnreadCount() const { return m_totalUnreadCount; }
    void setTotalUnreadCount(int count);
    int totalAtMeCount() const { return m_totalAtMeCount; }
    void setTotalAtMeCount(int count);
    /// How many devices the server allows the account.
    int maxDeviceCount() const { return m_maxDeviceCount; }
    void setMaxDeviceCount(int count);
    BannedState bannedState() const { return m_bannedState; }
    void setBannedState(BannedState state);

    // Store, keys and models; all owned by the account and never null. They are empty until
    // openStorage().

    /// Opened and closed by openStorage() and closeStorage() only.
    storage::UserStorageProvider *storage() const { return m_storage.get(); }
    StoreState storeState() const;
    /// While a keychain is being asked for the master key, the key store is Opening and has no
    /// keys; see signalStoreOpened().
    crypto::Store *signalStore() const { return m_signalStore.get(); }
    DataInfoModel *dataInfoModel() const { return m_dataInfoModel; }
    AccountDeviceModel *deviceModel() const { return m_deviceModel; }
    AccountSettingModel *accountSettingModel() const { return m_accountSettingModel; }
    /// For a crash handler: closes the database without taking a lock. AccountManager's
    /// closeAllDbInCrash() closes all databases without calling this.
    void closeDbInCrash();

    /// Directory for media, "<id>" in AppDirManager::cacheDataDir(), with which it moves; ends in a
    /// separator. The first writer creates it.
    const QString &userCacheDataPath() const { return m_userCacheDataPath; }
    /// Directory for the account's database, "<id>/userstatus" in
    /// AppDirManager::defaultCacheDataDir(), which stays where it is; ends in a separator.
    const QString &userStatusDataPath() const { return m_userStatusDataPath; }
    /// Takes over AppDirManager::cacheDataDir(), after it has changed.
    void updateUserCacheDataPath();

    // What the application may set; not owned.

    /// The default is SharedStickers, made when a content first needs it; null before.
    StickerProvider *stickerProvider() const;
    void setStickerProvider(StickerProvider *provider) { m_stickerProvider = provider; }
    /// The default is a FileRegistry, made when a content first needs it; null before.
    FileProvider *fileProvider() const;
    void setFileProvider(FileProvider *provider) { m_fileProvider = provider; }
    /// For contents, which know the defaults of the two: calls `make` unless it was called before.
    /// Thread: any.
    void setDefaultProviders(std::unique_ptr<DefaultProviders> (*make)());
    /// Never null: by default, an account keeps its configuration in its store.
    ConfigurationService *configurationService() const;
    void setConfigurationService(ConfigurationService *service) { m_configuration = service; }
    /// Null unless it was set. Nothing in the library calls it.
    DeviceMessageHandler *deviceMsgHandler() const { return m_deviceMsgHandler; }
    void setDeviceMsgHandler(DeviceMessageHandler *handler) { m_deviceMsgHandler = handler; }

    // Dialogs: "G-<group>" for a group, "C-<smaller user>-<larger user>" for two users.

    /// The dialog of the group, or of this account's chat with that user.
    Q_INVOKABLE QString getDialogId(qint64 targetId, bool isGroup) const;
    /// The dialog of the group `a`, or of the chat of two users, in any order.
    static QString getDialogId(qint64 a, qint64 b, bool isGroup);
    /// The group, or the other user, of a dialog; 0 if the text is not a dialog id.
    Q_INVOKABLE qint64 getTargetId(QString dialogId) const;
    /// Those of the saved dialogs below `dialogId` that `accept` approves; empty unless overridden.
    virtual QStringList filterSavedDialogs(const QString &dialogId,
                                           std::function<bool(const QString &)> accept) const;
    /// The messages of a dialog that carry an emoji tag; empty unless overridden.
    virtual QList<qint64> messageIdsByEmojiTag(const QString &dialogId, const QString &emoji) const;

    // Encryption: AES-SIV (RFC 5297) with the vector that all clients share. A failure gives an
    // empty result and a log line without key or text.

    /// Encrypts under a key derived from `key`. A key whose length is not 32 bytes is replaced by a
    /// new random one, which the caller stores with the message or file. Empty data give an empty
    /// result and leave the key unchanged.
    QByteArray encrypt(const QByteArray &data, QByteArray &key) const;
    /// Rejects a key that cannot be returned, which must not be taken for a password either.
    template <std::same_as<QByteArray> Key>
    QByteArray encrypt(const QByteArray &data, const Key &key) const = delete;
    QByteArray decrypt(const QByteArray &data, const QByteArray &key) const;
    /// Encrypts under a password, of which the first 32 characters count. It is used as the key
    /// itself, without derivation.
    QByteArray encrypt(const QByteArray &data, QString password) const;
    QByteArray decrypt(const QByteArray &data, QString password) const;
    /// Encrypts under a secure key of the key store, created if it is missing. Returns the key; it
    /// and `out` are empty when the key store is not Ready.
    QByteArray encrypt(QByteArray &out, const QByteArray &data, const QString &keyId, int version);
    /// False, with `out` untouched, when there is no such key; true, with `out` empty, when the key
    /// exists but does not decrypt the data.
    bool decrypt(QByteArray &out, const std::string &data, const QString &keyId, int version) const;

    /// Version of the account's identity key; 0 unless overridden.
    virtual int idKeyVersion() const { return 0; }
    bool containsSecureKey(const QString &keyId, int version) const;
    /// The keys that another device of this account lacks, as a serialised
    /// im.DeviceMessage.ContentKeyPatch: the dialog's chat keys of these versions, and the secure
    /// key if its id is given. Empty when there are none.
    QByteArray getMissingChatKeys(const QString &dialogId, int fromVersion, int toVersion,
                                  const QString &secureKeyId) const;
    /// What two users compare to verify each other's keys: {"emoji": list of texts, "hex": text,
    /// "link": text}. Emoji only for a hash of 32 bytes.
    Q_INVOKABLE QVariantMap veirifyKey(qint64 myUserId, qint64 contactsUserId,
                                       QByteArray sha256) const;

    // Features, as the server enabled or disabled them; kept in the account's store. Ids are those
    // of im.feature.Feature.

    /// Maps {"featureId": int, "state": FeatureState as int}, by ascending id.
    QVariantList features() const;
    /// A FeatureState; disabled if the server never named the feature.
    Q_INVOKABLE int featureState(int featureId) const;
    void setFeatures(const QMap<int, FeatureState> &features);
    void updateFeature(int featureId, FeatureState state);
    /// Loads the stored features; openStorage() does so.
    void readFeatures();

Q_SIGNALS:
    // Signals that end in "Finished" or begin with "received" report answers of the server (a
    // `code` is an im::Error); the application's class emits them.
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
    /// A keychain that was asked for the keys has answered; signalStore()->state() gives the
    /// result.
    void signalStoreOpened();

protected:
    /// Opens the account's database in userStatusDataPath() and loads what it holds: settings, data
    /// ranges, features. False, with a log line, when it cannot be opened, and for an id below 1:
    /// only the notebook account has a store without an id of its own. With `create` false, as for
    /// restore(), an account without a database is refused. With `create` true, an account is
    /// refused while its old database, which a wipe failed to remove, still cannot be removed. The
    /// first call that needs the keys opens them, see crypto::Store.
    ///
    /// If the store of another id is still open, its changes are written and it is closed first. If
    /// they cannot be written within 5 seconds, the call is refused and that store stays open for
    /// another attempt. Changes that an earlier closeStorage() could not write are lost now, and
    /// named in the log. No change ever reaches the store of another id.
    bool openStorage(bool create);
    /// Writes pending changes and closes the database; the models keep their contents unless the
    /// session ends. Changes that cannot be written wait until the same store is opened again; if
    /// the session ends, they are lost, and named in the log. Returns within 5 seconds, whatever
    /// the disk and other threads do; whatever takes longer ends in the background.
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
    /// Set by the manager: the account logs out, was released or is being deleted, and is not
    /// listed again.
    bool m_leaving = false;
    /// Set by the manager: the account uses the store of the id 0.
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
    qint64 m_pathId = 0; // the id in the directories above
    QString m_storePath; // directory of the store that is open or has unwritten changes
    std::atomic_bool m_storeEntered = false; // the open store belongs to this id
    qint64 m_personId = 0;                   // owner of the details; 0: none, or signing in
    bool m_inSession = false;
    bool m_userInfoWaits = false; // phone and country code wait to be stored
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
