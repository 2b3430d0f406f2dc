#include "account/accountbase.h"

#include "account/accountcipher_p.h"
#include "account/accountdevicemodel.h"
#include "account/accountmanager.h"
#include "account/accountservices.h"
#include "account/accounttraces_p.h"
#include "account/datainfomodel.h"
#include "account/defaultproviders_p.h"
#include "account/verificationemoji_p.h"
#include "base/json.h"
#include "base/util.h"
#include "core/logs_p.h"
#include "core/storedvalues_p.h"
#include "imcrypto/store.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "storage/configstorage.h"
#include "storage/userstorageprovider.h"

#include <QJSEngine>
#include <QPointer>
#include <QtEndian>

#include <algorithm>
#include <mutex>
#include <utility>

namespace
{

constexpr int defaultMaxDevices = 5;
constexpr int closeMs = 5000;
constexpr qsizetype dialogPrefixLength = 2; // "G-" or "C-"
/// The user key that every identity of the account has.
constexpr int identityDevice = 1;
constexpr int identityType = 1;

/// The account's synchronised configuration, kept in its own store while `entered` is true.
class StoredConfiguration : public ConfigurationService
{
public:
    StoredConfiguration(storage::ConfigStorage *rows, const std::atomic_bool &entered)
        : m_rows(rows), m_entered(entered)
    {
    }

    QByteArray value(const QString &name) const override
    {
        return m_entered ? m_rows->value(name).toByteArray() : QByteArray();
    }
    void save(const QString &name, const QByteArray &json) override
    {
        if (m_entered)
            m_rows->save({name, json});
        else
            ImLog::error(lcModel(),
                         QStringLiteral("\"%1\" is not stored: no store is open").arg(name));
    }

private:
    storage::ConfigStorage *const m_rows;
    const std::atomic_bool &m_entered;
};

} // namespace

/// Lets other threads reach the account: its event loop runs what they post, as long as it lives.
class AccountBase::Mailbox
{
public:
    explicit Mailbox(AccountBase *account) : m_account(account) { }

    void post(std::function<void(AccountBase *)> task)
    {
        const std::lock_guard lock(m_mutex);
        if (!m_account)
            return;
        QMetaObject::invokeMethod(
            m_account, [account = m_account, task = std::move(task)] { task(account); },
            Qt::QueuedConnection);
    }
    void close()
    {
        const std::lock_guard lock(m_mutex);
        m_account = nullptr;
    }

private:
    std::mutex m_mutex;
    AccountBase *m_account; // null once its destruction has begun
};

// Defined here, since settings know nothing of accounts beyond what they are given.
AccountSettingModel::AccountSettingModel(AccountBase *account)
    : AccountSettingModel(
        account, account,
        {account->storage()->settingStorage(), [account] { return account->accountId(); },
         [account](const QString &name) { return account->configurationService()->value(name); },
         [account](const QString &name, const QByteArray &json) {
             account->configurationService()->save(name, json);
         }})
{
}

AccountBase::AccountBase(QObject *parent)
    : QObject(parent), m_storage(std::make_unique<storage::UserStorageProvider>()),
      m_signalStore(std::make_unique<crypto::Store>(m_storage->keyStorage())),
      m_cipher(std::make_unique<AccountCipher>(m_signalStore.get())),
      m_ownConfiguration(
          std::make_unique<StoredConfiguration>(m_storage->syncConfigStorage(), m_storeEntered)),
      m_dataInfoModel(new DataInfoModel(this)), m_deviceModel(new AccountDeviceModel(this)),
      m_accountSettingModel(new AccountSettingModel(this)),
      m_mailbox(std::make_shared<Mailbox>(this))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    setAccountId(0);
    updateUserCacheDataPath();
    m_storage->setUpdateGroupInfoMethod([mailbox = m_mailbox](qint64 groupId) {
        mailbox->post([groupId](AccountBase *account) { account->refreshGroupInfo(groupId); });
    });
    m_signalStore->setOpenedHandler([mailbox = m_mailbox] {
        mailbox->post([](AccountBase *account) {
            if (account->m_userInfoWaits)
                account->storeUserInfo();
            Q_EMIT account->signalStoreOpened();
        });
    });
}

AccountBase::~AccountBase()
{
    AccountManager::accountDeleted(this);
    m_mailbox->close();
    m_inSession = false; // a destructor emits no signals
    closeStorage();
    // The models log what closeStorage() could not write.
    delete m_accountSettingModel;
    delete m_deviceModel;
    delete m_dataInfoModel;
}

// The store

bool AccountBase::openStorage(bool create)
{
    if (m_accountId < 1 && !m_isNotebook) {
        ImLog::error(lcModel(),
                     QStringLiteral("There is no store for the id %1, which is not an account's")
                         .arg(m_accountId));
        return false;
    }
    if (m_pathId != m_accountId) {
        ImLog::error(lcModel(),
                     QStringLiteral("Account %1 has no store: its directory is that of account %2")
                         .arg(m_accountId)
                         .arg(m_pathId));
        return false;
    }
    if (m_storePath != m_userStatusDataPath && !leaveStore(QDeadlineTimer(closeMs))) {
        ImLog::error(
            lcModel(),
            QStringLiteral("The store of account %1 is not opened: changes in %2 cannot be "
                           "written now")
                .arg(m_accountId)
                .arg(m_storePath));
        return false;
    }
    if (create && !AccountTraces::makeRoom(m_accountId, m_userStatusDataPath)) {
        ImLog::error(lcModel(),
                     QStringLiteral("The store of account %1 is not opened: a wipe could not "
                                    "remove what it held before")
                         .arg(m_accountId));
        return false;
    }
    if (!m_storage->open(m_userStatusDataPath, create))
        return false;
    m_storePath = m_userStatusDataPath;
    m_storeEntered = true;
    m_personId = m_accountId;
    m_dataInfoModel->m_values->enter();
    m_accountSettingModel->m_values->enter();
    m_signalStore->reopen();

    const QPointer<AccountBase> guard(this);
    m_dataInfoModel->loadLocalData(false);
    m_accountSettingModel->loadLocalData(false);
    if (guard && m_storeEntered)
        readFeatures();
    if (guard && m_storeEntered && m_userInfoWaits)
        storeUserInfo();
    return guard && m_storeEntered;
}

void AccountBase::closeStorage()
{
    // One deadline for all steps: the exit waits for each account in turn.
    const QDeadlineTimer deadline(closeMs);
    suspendStore();
    if (m_storage->isOpen()) {
        m_accountSettingModel->flush(deadline);
        m_dataInfoModel->flush(deadline);
        m_storage->close(deadline);
    }
    endSession(deadline);
}

/// From now on no change reaches the store, and the keys return nothing.
void AccountBase::suspendStore()
{
    m_storeEntered = false;
    m_accountSettingModel->m_values->suspend();
    m_dataInfoModel->m_values->suspend();
    m_signalStore->close();
}

/// Detaches everything from the present store. False, with the store still open, when its changes
/// cannot be written.
bool AccountBase::leaveStore(QDeadlineTimer deadline)
{
    suspendStore();
    if (m_storage->isOpen()) {
        if (!m_accountSettingModel->flush(deadline) || !m_dataInfoModel->flush(deadline))
            return false;
        m_storage->close(deadline);
    }
    if (!m_accountSettingModel->m_values->leave(deadline)
        || !m_dataInfoModel->m_values->leave(deadline))
        return false;
    m_accountSettingModel->clear();
    m_dataInfoModel->clearData(true);
    m_storePath.clear();
    return true;
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

AccountBase::StoreState AccountBase::storeState() const
{
    using Failure = storage::UserStorageProvider::OpenFailure;
    if (m_storage->isOpen())
        return StoreOpen;
    switch (m_storage->openFailure()) {
    case Failure::None:
        return StoreClosed;
    case Failure::Missing:
        return StoreMissing;
    case Failure::Locked:
        return StoreLocked;
    case Failure::Newer:
        return StoreNewer;
    case Failure::Unreadable:
        break;
    }
    return StoreUnreadable;
}

// Identity

QString AccountBase::statusDataPath(qint64 id)
{
    return AppDirManager::instance()->defaultCacheDataDir() + QString::number(id)
        + Util::separator() + QStringLiteral("userstatus") + Util::separator();
}

void AccountBase::setAccountId(qint64 accountId)
{
    if (const auto *manager = qobject_cast<AccountManager *>(parent());
        m_authorized && accountId != m_accountId && manager && manager->containsAccount(this)) {
        ImLog::error(lcModel(),
                     QStringLiteral("Account %1 is listed and keeps its id; refused: %2")
                         .arg(m_accountId)
                         .arg(accountId));
        return;
    }
    const qint64 old = m_accountId.exchange(accountId);
    if (m_userStatusDataPath.isEmpty() || (old != accountId && accountId > 0)) {
        m_pathId = accountId;
        m_userStatusDataPath = statusDataPath(accountId);
        updateUserCacheDataPath();
    }
    if (old == accountId)
        return;
    suspendStore();
    // A content of the previous person may have been made after the end of the session.
    if (DefaultProviders *defaults = m_defaults; defaults && old > 0)
        defaults->clear();
    const bool isAnother = std::exchange(m_personId, accountId) > 0;
    if (!isAnother)
        return Q_EMIT accountIdChanged();
    const QPointer<AccountBase> guard(this);
    const std::function<void()> announce = forgetPerson(QDeadlineTimer(closeMs));
    if (guard)
        Q_EMIT accountIdChanged();
    if (guard)
        announce();
}

void AccountBase::endSession(QDeadlineTimer deadline)
{
    if (!m_inSession || m_authorized || m_storage->isOpen())
        return;
    m_personId = 0;
    const QPointer<AccountBase> guard(this);
    const std::function<void()> announce = forgetPerson(deadline);
    if (guard)
        announce();
}

/// Clears the person's data; the returned function emits the signals of the account and of its
/// settings.
std::function<void()> AccountBase::forgetPerson(QDeadlineTimer deadline)
{
    m_inSession = false;
    m_userInfoWaits = false;
    QList<void (AccountBase::*)()> changes;
    const auto reset = [&](auto &member, auto value, auto signal) {
        if (std::exchange(member, value) != value)
            changes.append(signal);
    };
    reset(m_deviceId, 0, &AccountBase::deviceIdChanged);
    reset(m_phone, QString(), &AccountBase::phoneChanged);
    reset(m_countryCode, QString(), &AccountBase::countryCodeChanged);
    reset(m_email, QString(), &AccountBase::emailChanged);
    reset(m_verificationEmail, QString(), &AccountBase::verificationEmailChanged);
    reset(m_verificationEnabled, false, &AccountBase::verificationEnabledChanged);
    reset(m_verificationResetAt, 0, &AccountBase::verificationResetAtChanged);
    reset(m_maxDeviceCount, defaultMaxDevices, &AccountBase::maxDeviceCountChanged);
    reset(m_bannedState, NOT_BANNED, &AccountBase::bannedStateChanged);
    reset(m_features, QMap<int, FeatureState>(), &AccountBase::featuresChanged);
    const int unread = std::exchange(m_totalUnreadCount, 0);
    const int atMe = std::exchange(m_totalAtMeCount, 0);
    if (DefaultProviders *defaults = m_defaults)
        defaults->clear();
    const QVariantList settings = m_accountSettingModel->propertyValues();
    m_accountSettingModel->clear();
    m_dataInfoModel->clearData(true);
    // Pending changes no longer have an owner: drop and log them.
    if (!m_storage->isOpen())
        leaveStore(deadline);

    // Devices go last, since clearing them emits signals.
    const QPointer<AccountBase> guard(this);
    const bool hadDevice = !m_deviceModel->currentDevice().isEmpty();
    m_deviceModel->clearData(true);
    if (guard)
        m_deviceModel->setDeviceDeleteTimer(AccountDeviceModel::Never);
    if (guard && hadDevice)
        Q_EMIT m_deviceModel->currentDeviceChanged({});

    return [this, guard, changes, unread, atMe, settings] {
        m_accountSettingModel->announceChanges(settings);
        if (guard && unread != 0)
            Q_EMIT totalUnreadCountChanged(m_totalUnreadCount, unread);
        if (guard && atMe != 0)
            Q_EMIT totalAtMeCountChanged(m_totalAtMeCount, atMe);
        for (const auto change : changes) {
            if (guard)
                Q_EMIT(this->*change)();
        }
    };
}

void AccountBase::updateUserCacheDataPath()
{
    m_userCacheDataPath = AppDirManager::instance()->cacheDataDir() + QString::number(m_accountId)
        + Util::separator();
}

bool AccountBase::isMyUserId(qint64 userId) const
{
    return userId != 0
        && (userId == m_accountId
            || m_signalStore->containsUserKey({userId, identityDevice, identityType}));
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
    // Store them even if they are unchanged: setPhone() may have set them in memory only.
    storeUserInfo();
    const QPointer<AccountBase> guard(this);
    if (phoneIsNew)
        Q_EMIT phoneChanged();
    if (guard && countryIsNew)
        Q_EMIT countryCodeChanged();
}

void AccountBase::storeUserInfo()
{
    m_userInfoWaits = true;
    if (!m_storeEntered)
        return;
    const crypto::UserInfo info{m_accountId, m_phone, m_countryCode};
    const std::optional<crypto::UserInfo> stored = m_signalStore->userInfo();
    if (m_signalStore->state() != crypto::Store::State::Opening)
        m_userInfoWaits = stored != info && !m_signalStore->updateUserInfo(info);
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
    if (std::exchange(m_authorized, authorized) == authorized)
        return;
    m_inSession = m_inSession || authorized;
    const QPointer<AccountBase> guard(this);
    Q_EMIT authorizedChanged();
    if (guard)
        endSession(QDeadlineTimer(closeMs));
}

void AccountBase::setState(int state)
{
    if (m_state.exchange(state) == state)
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
    DefaultProviders *const defaults = m_defaults;
    return m_stickerProvider || !defaults ? m_stickerProvider : defaults->stickers();
}

FileProvider *AccountBase::fileProvider() const
{
    DefaultProviders *const defaults = m_defaults;
    return m_fileProvider || !defaults ? m_fileProvider : defaults->files();
}

void AccountBase::setDefaultProviders(std::unique_ptr<DefaultProviders> (*make)())
{
    std::call_once(m_madeDefaults, [this, make] {
        m_ownedDefaults = make();
        m_defaults = m_ownedDefaults.get();
    });
}

ConfigurationService *AccountBase::configurationService() const
{
    return m_configuration ? m_configuration : m_ownConfiguration.get();
}

void AccountBase::refreshGroupInfo(qint64 groupId)
{
    qCDebug(lcModel, "The information of group %lld is to be fetched again.", groupId);
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
        return QStringView(dialogId).mid(dialogPrefixLength).toLongLong();
    const QStringList users = dialogId.mid(dialogPrefixLength).split(QLatin1Char('-'));
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
    return m_cipher->encrypt(data, key);
}

QByteArray AccountBase::decrypt(const QByteArray &data, const QByteArray &key) const
{
    return m_cipher->decrypt(data, key);
}

QByteArray AccountBase::encrypt(const QByteArray &data, QString password) const
{
    return m_cipher->encrypt(data, password);
}

QByteArray AccountBase::decrypt(const QByteArray &data, QString password) const
{
    return m_cipher->decrypt(data, password);
}

QByteArray AccountBase::encrypt(QByteArray &out, const QByteArray &data, const QString &keyId,
                                int version)
{
    return m_cipher->encrypt(out, data, keyId, version);
}

bool AccountBase::decrypt(QByteArray &out, const std::string &data, const QString &keyId,
                          int version) const
{
    return m_cipher->decrypt(out, data, keyId, version);
}

bool AccountBase::containsSecureKey(const QString &keyId, int version) const
{
    return m_signalStore->containsSecureKey(keyId, version);
}

QByteArray AccountBase::getMissingChatKeys(const QString &dialogId, int fromVersion, int toVersion,
                                           const QString &secureKeyId) const
{
    return m_cipher->missingChatKeys(dialogId, fromVersion, toVersion, secureKeyId);
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
        qCDebug(lcModel, "=====Serialize proto buffer failed");

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
