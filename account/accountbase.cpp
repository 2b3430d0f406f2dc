#include "account/accountbase.h"

#include "account/accountdevicemodel.h"
#include "account/accountservices.h"
#include "account/verificationemoji_p.h"
#include "base/define.h"
#include "base/json.h"
#include "base/util.h"
#include "content/fileprovider.h"
#include "content/sharedstickers.h"
#include "cryptobase/cryptoaes.h"
#include "dialog/datainfomodel.h"
#include "imcrypto/store.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"

#include <QJSEngine>
#include <QLoggingCategory>
#include <QtEndian>

#include <algorithm>
#include <utility>

namespace
{

Q_LOGGING_CATEGORY(lcAccount, "im.modelbase")

constexpr int keySize = 32;
constexpr int closeMs = 5000;
/// Secure keys are synchronised between devices in this version.
constexpr int syncedSecureKeyVersion = 3;

/// The account's synchronised configuration, kept in its own store.
class StoredConfiguration : public ConfigurationService
{
public:
    explicit StoredConfiguration(storage::ConfigStorage *rows) : m_rows(rows) { }

    QByteArray value(const QString &name) const override
    {
        return m_rows->value(name).toByteArray();
    }
    void save(const QString &name, const QByteArray &json) override { m_rows->save({name, json}); }

private:
    storage::ConfigStorage *m_rows;
};

/// A key for a password. The password's bytes replace as many bytes as it has characters, so that a
/// password outside ASCII makes the key longer; both directions rely on that.
QByteArray passwordKey(QString password)
{
    password.truncate(keySize);
    QByteArray key(keySize, '\0');
    key.replace(0, password.size(), password.toUtf8());
    return key;
}

} // namespace

AccountBase::AccountBase(QObject *parent)
    : QObject(parent), m_aes(std::make_unique<CryptoAES>(2)),
      m_storage(std::make_unique<storage::UserStorageProvider>()),
      m_signalStore(std::make_unique<crypto::Store>(m_storage->keyStorage())),
      m_ownFiles(std::make_unique<FileRegistry>()),
      m_ownStickers(std::make_unique<SharedStickers>()),
      m_ownConfiguration(std::make_unique<StoredConfiguration>(m_storage->syncConfigStorage())),
      m_dataInfoModel(new DataInfoModel(this)), m_deviceModel(new AccountDeviceModel(this)),
      m_accountSettingModel(new AccountSettingModel(this))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    setAccountId(0);
    updateUserCacheDataPath();
    m_storage->setUpdateGroupInfoMethod([](qint64 groupId) {
        qCDebug(lcAccount, "Group %lld wants its information refreshed.", groupId);
    });
}

AccountBase::~AccountBase()
{
    closeStorage();
    // The models name what they still hold then.
    delete m_accountSettingModel;
    delete m_deviceModel;
    delete m_dataInfoModel;
}

bool AccountBase::openStorage(bool create)
{
    if (!m_storage->open(m_userStatusDataPath, create))
        return false;
    // What was found out about the keys of another database says nothing about this one's.
    if (m_signalStore->state() != crypto::Store::State::NotOpened)
        m_signalStore->open();
    m_dataInfoModel->loadLocalData(false);
    m_accountSettingModel->loadLocalData(false);
    readFeatures();
    return true;
}

void AccountBase::closeStorage()
{
    // One for all: the exit waits for each account.
    const QDeadlineTimer deadline(closeMs);
    m_accountSettingModel->flush(deadline);
    m_dataInfoModel->flush(deadline);
    m_storage->close(deadline);
}

void AccountBase::closeDbInCrash()
{
    m_storage->closeInCrash();
}

void AccountBase::setPhone(QString phone)
{
    if (std::exchange(m_phone, phone) != phone)
        Q_EMIT phoneChanged();
}

// Identity

void AccountBase::setAccountId(qint64 accountId)
{
    const qint64 old = m_accountId.exchange(accountId);
    if (m_userStatusDataPath.isEmpty() || (old != accountId && accountId > 0)) {
        m_userStatusDataPath = AppDirManager::instance()->defaultCacheDataDir()
            + QString::number(accountId) + Util::separator() + QStringLiteral("userstatus")
            + Util::separator();
        updateUserCacheDataPath();
    }
    if (old != accountId)
        Q_EMIT accountIdChanged();
}

void AccountBase::updateUserCacheDataPath()
{
    m_userCacheDataPath = AppDirManager::instance()->cacheDataDir() + QString::number(m_accountId)
        + Util::separator();
}

bool AccountBase::isMyUserId(qint64 userId) const
{
    return userId != 0 && (userId == m_accountId || m_signalStore->containsUserKey({userId, 1, 1}));
}

void AccountBase::setDeviceId(int deviceId)
{
    if (std::exchange(m_deviceId, deviceId) != deviceId)
        Q_EMIT deviceIdChanged();
}

void AccountBase::setCountryCode(QString countryCode)
{
    if (std::exchange(m_countryCode, countryCode) != countryCode)
        Q_EMIT countryCodeChanged();
}

void AccountBase::updatePhone(const QString &phone, const QString &countryCode)
{
    const bool phoneIsNew = std::exchange(m_phone, phone) != phone;
    const bool countryIsNew = std::exchange(m_countryCode, countryCode) != countryCode;
    if (!phoneIsNew && !countryIsNew)
        return;
    m_signalStore->updateUserInfo({m_accountId, phone, countryCode});
    if (phoneIsNew)
        Q_EMIT phoneChanged();
    if (countryIsNew)
        Q_EMIT countryCodeChanged();
}

void AccountBase::updateEmail(const QString &email)
{
    if (std::exchange(m_email, email) != email)
        Q_EMIT emailChanged();
}

void AccountBase::setVerificationEmail(const QString &email)
{
    if (std::exchange(m_verificationEmail, email) != email)
        Q_EMIT verificationEmailChanged();
}

void AccountBase::setVerificationEnabled(bool enabled)
{
    if (std::exchange(m_verificationEnabled, enabled) != enabled)
        Q_EMIT verificationEnabledChanged();
}

void AccountBase::setVerificationResetAt(qint64 time)
{
    if (std::exchange(m_verificationResetAt, time) != time)
        Q_EMIT verificationResetAtChanged();
}

// State

void AccountBase::setAuthorized(bool authorized)
{
    if (std::exchange(m_authorized, authorized) != authorized)
        Q_EMIT authorizedChanged();
}

void AccountBase::setState(int state)
{
    if (std::exchange(m_state, state) == state)
        return;
    const bool connected = state == NORMAL || state == UPDATING;
    const bool connectedChanged = std::exchange(m_isConnected, connected) != connected;
    Q_EMIT stateChanged();
    if (connectedChanged)
        Q_EMIT isConnectedChanged();
}

void AccountBase::setTotalUnreadCount(int count)
{
    if (const int old = std::exchange(m_totalUnreadCount, count); old != count)
        Q_EMIT totalUnreadCountChanged(count, old);
}

void AccountBase::setTotalAtMeCount(int count)
{
    if (const int old = std::exchange(m_totalAtMeCount, count); old != count)
        Q_EMIT totalAtMeCountChanged(count, old);
}

void AccountBase::setMaxDeviceCount(int count)
{
    if (std::exchange(m_maxDeviceCount, count) != count)
        Q_EMIT maxDeviceCountChanged();
}

void AccountBase::setBannedState(BannedState state)
{
    if (std::exchange(m_bannedState, state) != state)
        Q_EMIT bannedStateChanged();
}

StickerProvider *AccountBase::stickerProvider() const
{
    return m_stickerProvider ? m_stickerProvider : m_ownStickers.get();
}

FileProvider *AccountBase::fileProvider() const
{
    return m_fileProvider ? m_fileProvider : m_ownFiles.get();
}

ConfigurationService *AccountBase::configurationService() const
{
    return m_configuration ? m_configuration : m_ownConfiguration.get();
}

// Dialogs

QString AccountBase::getDialogId(qint64 targetId, bool isGroup) const
{
    return getDialogId(targetId, m_accountId, isGroup);
}

QString AccountBase::getDialogId(qint64 a, qint64 b, bool isGroup)
{
    if (isGroup)
        return QStringLiteral("G-%1").arg(a);
    return QStringLiteral("C-%1-%2").arg(std::min(a, b)).arg(std::max(a, b));
}

qint64 AccountBase::getTargetId(QString dialogId) const
{
    if (dialogId.startsWith(QStringLiteral("G-")))
        return QStringView(dialogId).mid(2).toLongLong();
    const QStringList users = dialogId.mid(2).split(QLatin1Char('-'));
    if (users.size() < 2)
        return 0;
    const qint64 first = users.at(0).toLongLong();
    return first != m_accountId ? first : users.at(1).toLongLong();
}

QStringList AccountBase::filterSavedDialogs(const QString &,
                                            std::function<bool(const QString &)>) const
{
    return {};
}

QList<qint64> AccountBase::messageIdsByEmojiTag(const QString &, const QString &) const
{
    return {};
}

// Encryption

QByteArray AccountBase::encrypt(const QByteArray &data, QByteArray &key) const
{
    if (data.isEmpty())
        return {};
    if (key.size() != keySize)
        key = CryptoAES::createKey(keySize);
    return m_aes->encrypt(data, m_signalStore->kdf(key), Define::comIV());
}

QByteArray AccountBase::decrypt(const QByteArray &data, const QByteArray &key) const
{
    if (data.isEmpty())
        return data;
    return m_aes->decrypt(data, m_signalStore->kdf(key), Define::comIV());
}

QByteArray AccountBase::encrypt(const QByteArray &data, QString password) const
{
    if (data.isEmpty())
        return {};
    return m_aes->encrypt(data, passwordKey(std::move(password)), Define::comIV());
}

QByteArray AccountBase::decrypt(const QByteArray &data, QString password) const
{
    return m_aes->decrypt(data, passwordKey(std::move(password)), Define::comIV());
}

QByteArray AccountBase::encrypt(QByteArray &out, const QByteArray &data, const QString &keyId,
                                int version)
{
    const cryptobase::SecureBytes key = m_signalStore->secureKey(keyId, version, true);
    out = m_aes->encrypt(data, key, Define::comIV());
    return key;
}

bool AccountBase::decrypt(QByteArray &out, const std::string &data, const QString &keyId,
                          int version) const
{
    const cryptobase::SecureBytes key = m_signalStore->secureKey(keyId, version, false);
    if (key.isEmpty()) {
        ImLog::error(
            lcAccount(),
            QStringLiteral("Decrypt failed: no secure key (%1_%2)").arg(keyId).arg(version));
        return false;
    }
    out = m_aes->decrypt(QByteArray::fromStdString(data), key, Define::comIV());
    return true;
}

bool AccountBase::containsSecureKey(const QString &keyId, int version) const
{
    return m_signalStore->containsSecureKey(keyId, version);
}

QByteArray AccountBase::getMissingChatKeys(const QString &dialogId, int fromVersion, int toVersion,
                                           const QString &secureKeyId) const
{
    im::DeviceMessage::ContentKeyPatch patch;
    if (fromVersion <= toVersion && toVersion >= 1) {
        for (const auto &chatKey :
             m_signalStore->getMissingChatKeys(dialogId, fromVersion, toVersion)) {
            im::DialogKey *entry = patch.add_dialog_keys();
            entry->set_dialog_id(dialogId.toStdString());
            entry->set_key(chatKey.key.constData(), std::size_t(chatKey.key.size()));
            entry->set_key_ver(chatKey.version);
        }
    }
    if (!secureKeyId.isEmpty()) {
        const cryptobase::SecureBytes key =
            m_signalStore->secureKey(secureKeyId, syncedSecureKeyVersion, false);
        if (!key.isEmpty()) {
            im::SecureKey *entry = patch.add_secure_keys();
            entry->set_id(secureKeyId.toStdString());
            entry->set_type(im::SecureKey::Type(syncedSecureKeyVersion));
            entry->set_key(key.constData(), std::size_t(key.size()));
        }
    }
    return QByteArray::fromStdString(patch.SerializeAsString());
}

QVariantMap AccountBase::veirifyKey(qint64 myUserId, qint64 contactsUserId, QByteArray sha256) const
{
    im::QRCode code;
    im::QRCode::SecurityCode *security = code.mutable_security_code();
    security->set_agreement(sha256.toStdString());
    security->set_alice_uid(int(std::min(myUserId, contactsUserId)));
    security->set_bob_uid(int(std::max(myUserId, contactsUserId)));
    std::string link;
    if (!code.SerializeToString(&link))
        qCDebug(lcAccount, "=====Serialize proto buffer failed");

    return {{QStringLiteral("emoji"), verificationEmoji(sha256)},
            {QStringLiteral("hex"), QString::fromLatin1(sha256.toHex().toUpper())},
            {QStringLiteral("link"), QString::fromLatin1(QByteArray::fromStdString(link).toHex())}};
}

// Features

QVariantList AccountBase::features() const
{
    QVariantList list;
    for (auto it = m_features.cbegin(); it != m_features.cend(); ++it) {
        list.append(QVariantMap{{QStringLiteral("featureId"), it.key()},
                                {QStringLiteral("state"), int(it.value())}});
    }
    return list;
}

int AccountBase::featureState(int featureId) const
{
    return m_features.value(featureId, Feature_DISABLED);
}

void AccountBase::setFeatures(const QMap<int, FeatureState> &features)
{
    if (features == m_features)
        return;
    m_features = features;
    m_dataInfoModel->saveFatures(listToJson(this->features()));
    Q_EMIT featuresChanged();
}

void AccountBase::updateFeature(int featureId, FeatureState state)
{
    QMap<int, FeatureState> changed = m_features;
    changed.insert(featureId, state);
    setFeatures(changed);
}

void AccountBase::readFeatures()
{
    QMap<int, FeatureState> features;
    for (const QVariant &entry : jsonToList(m_dataInfoModel->fatures())) {
        const QVariantMap map = entry.toMap();
        features.insert(map.value(QStringLiteral("featureId")).toInt(),
                        map.value(QStringLiteral("state")).toInt() == Feature_ENABLED
                            ? Feature_ENABLED
                            : Feature_DISABLED);
    }
    if (std::exchange(m_features, features) != features)
        Q_EMIT featuresChanged();
}
