#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

class AccountDeviceModel;
class AccountSettingModel;
class ConfigurationService;
class CryptoAES;
class DataInfoModel;
class FileProvider;
class DeviceMessageHandler;
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
/// its keys. Abstract: the application derives the class that talks to the server.
///
/// Thread: the main thread, but for accountId() and the encryption operations, which may be called
/// from any thread. Ownership: the AccountManager is the parent; storage, keys and models belong to
/// the account; QML never deletes one. Every setter signals on a change only.
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

    explicit AccountBase(QObject *parent = nullptr);
    ~AccountBase() override;

    // What the application's class does.

    /// Ends the session. With `deleteThis` the object deletes itself afterwards.
    Q_INVOKABLE virtual void logout(bool deleteThis = false) = 0;
    Q_INVOKABLE virtual void abortAndReconnect(bool resetAutoReconnect) = 0;
    Q_INVOKABLE virtual void reconnectToServer(bool resetTime = false) = 0;
    Q_INVOKABLE virtual void resetCurrentServer() = 0;
    /// Deletes the account on the server, and its data here; ends in AccountManager::logout().
    Q_INVOKABLE virtual void deleteAccount(bool deleteChats = false, int retryTimes = 0,
                                           bool silent = false, bool recoverable = false) = 0;
    Q_INVOKABLE virtual void setPhone(QString phone);

    /// Run once, right after the factory made the object.
    virtual void initialize() = 0;
    /// Opens a stored account, {"userId": id}. An account that could be opened is authorized()
    /// afterwards.
    virtual void restore(QVariantMap params, bool connectNow, int reason) = 0;
    /// Gives up an object that no list holds any more.
    virtual void release(bool logOut, bool deleteThis) = 0;
    virtual void setActive(bool active) = 0;
    virtual void setProxy(const QNetworkProxy &proxy) = 0;
    virtual void recordScreenLockLog(int sceneType, int unlockType, int result) = 0;
    virtual void enterNotebookMode() = 0;

    // Identity.

    qint64 accountId() const { return m_accountId; }
    /// Fixes the account's directories; an id below 1 is kept but has none.
    void setAccountId(qint64 accountId);
    bool isAccountId(qint64 id) const { return id == m_accountId; }
    /// True for this account's id and for the ids of its other identities.
    Q_INVOKABLE bool isMyUserId(qint64 userId) const;
    int deviceId() const { return m_deviceId; }
    void setDeviceId(int deviceId);
    const QString &phone() const { return m_phone; }
    const QString &countryCode() const { return m_countryCode; }
    Q_INVOKABLE void setCountryCode(QString countryCode);
    /// Sets both and tells the key store.
    void updatePhone(const QString &phone, const QString &countryCode);
    const QString &email() const { return m_email; }
    void updateEmail(const QString &email);
    const QString &verificationEmail() const { return m_verificationEmail; }
    void setVerificationEmail(const QString &email);
    bool verificationEnabled() const { return m_verificationEnabled; }
    void setVerificationEnabled(bool enabled);
    qint64 verificationResetAt() const { return m_verificationResetAt; }
    void setVerificationResetAt(qint64 time);

    // State.

    bool authorized() const { return m_authorized; }
    void setAuthorized(bool authorized);
    bool isConnected() const { return m_isConnected; }
    int state() const { return m_state; }
    /// A NetworkState. The account counts as connected in the states NORMAL and UPDATING.
    Q_INVOKABLE void setState(int state);
    bool autoReconnect() const { return m_autoReconnect; }
    void setAutoReconnect(bool autoReconnect) { m_autoReconnect = autoReconnect; }
    int totalUnreadCount() const { return m_totalUnreadCount; }
    void setTotalUnreadCount(int count);
    int totalAtMeCount() const { return m_totalAtMeCount; }
    void setTotalAtMeCount(int count);
    int maxDeviceCount() const { return m_maxDeviceCount; }
    void setMaxDeviceCount(int count);
    BannedState bannedState() const { return m_bannedState; }
    void setBannedState(BannedState state);

    // Store, keys and models; all owned by the account and never null.

    storage::UserStorageProvider *storage() const { return m_storage.get(); }
    crypto::Store *signalStore() const { return m_signalStore.get(); }
    DataInfoModel *dataInfoModel() const { return m_dataInfoModel; }
    AccountDeviceModel *deviceModel() const { return m_deviceModel; }
    AccountSettingModel *accountSettingModel() const { return m_accountSettingModel; }
    /// Closes the databases without taking a lock.
    void closeDbInCrash();

    /// Directory for media, moved with the data directory; ends in a separator.
    const QString &userCacheDataPath() const { return m_userCacheDataPath; }
    /// Directory for the account's databases, which stays where it is; ends in a separator.
    const QString &userStatusDataPath() const { return m_userStatusDataPath; }
    /// Takes over the data directory in use.
    void updateUserCacheDataPath();

    // What the application may set; not owned.

    /// Never null: without one of the application's, an account has SharedStickers.
    StickerProvider *stickerProvider() const;
    void setStickerProvider(StickerProvider *provider) { m_stickerProvider = provider; }
    /// Never null: without one of the application's, an account has a FileRegistry.
    FileProvider *fileProvider() const;
    void setFileProvider(FileProvider *provider) { m_fileProvider = provider; }
    /// Never null: without one of the application's, an account keeps its configuration in its
    /// store.
    ConfigurationService *configurationService() const;
    void setConfigurationService(ConfigurationService *service) { m_configuration = service; }
    DeviceMessageHandler *deviceMsgHandler() const { return m_deviceMsgHandler; }
    void setDeviceMsgHandler(DeviceMessageHandler *handler) { m_deviceMsgHandler = handler; }

    // Dialogs: "G-<group>" for a group, "C-<smaller user>-<larger user>" for two users.

    Q_INVOKABLE QString getDialogId(qint64 targetId, bool isGroup) const;
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
    QByteArray decrypt(const QByteArray &data, const QByteArray &key) const;
    /// Under a password, whose first 32 characters count.
    QByteArray encrypt(const QByteArray &data, QString password) const;
    QByteArray decrypt(const QByteArray &data, QString password) const;
    /// Under a secure key of the key store, which is made when it is missing. Returns the key.
    QByteArray encrypt(QByteArray &out, const QByteArray &data, const QString &keyId, int version);
    /// False, with `out` untouched, when there is no such key.
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

    // Features, as the server switched them; kept in the account's store.

    QVariantList features() const;
    /// Disabled for a feature that the server never named.
    Q_INVOKABLE int featureState(int featureId) const;
    void setFeatures(const QMap<int, FeatureState> &features);
    void updateFeature(int featureId, FeatureState state);
    void readFeatures();

Q_SIGNALS:
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

protected:
    /// Opens the account's database and keys in userStatusDataPath() and loads what lies there:
    /// settings, data ranges, features. False, with a log line, when they cannot be opened. With
    /// `create` false an account without a database is refused.
    bool openStorage(bool create);
    void closeStorage();

private:
    std::atomic<qint64> m_accountId = 0;
    int m_totalUnreadCount = 0;
    int m_totalAtMeCount = 0;
    int m_state = DISCONNECTED;
    int m_maxDeviceCount = 5;
    int m_deviceId = 0;
    BannedState m_bannedState = NOT_BANNED;
    bool m_isConnected = false;
    bool m_authorized = false;
    bool m_autoReconnect = true;
    QString m_phone;
    QString m_countryCode;
    QString m_email;
    QString m_verificationEmail;
    bool m_verificationEnabled = false;
    qint64 m_verificationResetAt = 0;
    const std::unique_ptr<CryptoAES> m_aes;
    const std::unique_ptr<storage::UserStorageProvider> m_storage;
    const std::unique_ptr<crypto::Store> m_signalStore;
    const std::unique_ptr<FileProvider> m_ownFiles;
    const std::unique_ptr<StickerProvider> m_ownStickers;
    const std::unique_ptr<ConfigurationService> m_ownConfiguration;
    DataInfoModel *m_dataInfoModel;
    AccountDeviceModel *m_deviceModel;
    AccountSettingModel *m_accountSettingModel;
    QString m_userStatusDataPath;
    QString m_userCacheDataPath;
    QMap<int, FeatureState> m_features;
    StickerProvider *m_stickerProvider = nullptr;
    FileProvider *m_fileProvider = nullptr;
    ConfigurationService *m_configuration = nullptr;
    DeviceMessageHandler *m_deviceMsgHandler = nullptr;
};
