#include "imcrypto/store.h"

#include "imcrypto/log_p.h"

#include "cryptobase/cryptoaes.h"
#include "cryptobase/hkdf.h"
#include "cryptobase/sealing.h"
#include "storage/keystorage.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <algorithm>
#include <condition_variable>
#include <system_error>
#include <thread>
#include <utility>

using cryptobase::SecureBytes;
using storage::KeyInfo;

namespace crypto
{
namespace
{

constexpr int keySize = 32;
constexpr qsizetype largestKey = 4096;

// Kinds of rows. They are part of the sealed data and never change.
const QString secureKind = QStringLiteral("secure");
const QString userKind = QStringLiteral("user");
const QString chatKind = QStringLiteral("chat");
const QString infoKind = QStringLiteral("info");
/// One row that tells the right master key from a wrong one.
const QString checkKind = QStringLiteral("check");
const QString checkId = QStringLiteral("master");
const QString infoId = QStringLiteral("account");
/// Rows of the kinds "user", "info" and "check" have one version only.
constexpr int onlyVersion = 1;
constexpr int loggedIdLength = 64;

QString addressId(const UserAddress &address)
{
    return QStringLiteral("%1.%2.%3").arg(address.userId).arg(address.deviceId).arg(address.type);
}

/// The row that a value is bound to. Kind and version contain no zero byte, so an id with one
/// cannot make one row's place look like another's.
QByteArray place(const QString &kind, const QString &id, int version)
{
    return kind.toUtf8() + '\0' + id.toUtf8() + '\0' + QByteArray::number(version);
}

std::optional<SecureBytes> unsealed(const KeyInfo &info, const SecureBytes &masterKey)
{
    return cryptobase::unseal(info.value, masterKey, place(info.kind, info.id, info.version));
}

QString describe(const QString &kind, const QString &id, int version)
{
    return QStringLiteral("%1 key %2_%3").arg(kind, id.left(loggedIdLength)).arg(version);
}

void logUnreadable(const QString &kind, const QString &id, int version)
{
    logFailure(QStringLiteral("%1 does not open").arg(describe(kind, id, version)));
}

const char *reason(Store::State state)
{
    switch (state) {
    case Store::State::StorageUnavailable:
        return "the rows cannot be read or written";
    case Store::State::MasterKeyUnavailable:
        return "the master key is not available";
    case Store::State::MasterKeyMissing:
        return "there are sealed rows, but their master key is gone";
    case Store::State::MasterKeyWrong:
        return "there are sealed rows, and the master key opens none of them";
    case Store::State::Opening:
        return "the keychain is being asked";
    case Store::State::NotOpened:
    case Store::State::Ready:
        break;
    }
    return "the store is closed";
}

bool onMainThread()
{
    const QCoreApplication *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

} // namespace

/// The result of fetching the master key; `key` is null unless it was found.
struct Store::Fetched {
    MasterKey::Status status = MasterKey::Status::Unavailable;
    Key key;
};

/// A request for the master key. Shared with the thread that fetches it, which may outlive the
/// store.
class Store::Opening
{
public:
    void finish(Fetched fetched)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_fetched = std::move(fetched);
        }
        m_finished.notify_all();
    }

    /// Nothing if the key has not arrived and the caller must not wait.
    std::optional<Fetched> fetched(bool wait)
    {
        std::unique_lock lock(m_mutex);
        if (wait)
            m_finished.wait(lock, [this] { return m_fetched.has_value(); });
        return m_fetched;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_finished;
    std::optional<Fetched> m_fetched;
};

/// A row as read: absent, present but unreadable (`key` is empty), or valid.
struct Store::Row {
    bool present = false;
    SecureBytes key;
};

Store::Store(storage::KeyStorage *storage, std::shared_ptr<MasterKey> masterKey)
    : m_storage(storage), m_source(std::move(masterKey))
{
}

Store::~Store() = default;

Store::State Store::open()
{
    reopen();
    return attempt();
}

Store::State Store::state()
{
    std::optional<Fetched> fetched;
    int generation;
    {
        const std::lock_guard lock(m_mutex);
        if (m_opening)
            fetched = m_opening->fetched(false);
        if (!fetched)
            return m_state;
        generation = m_generation;
    }
    return conclude(unlock(*fetched), fetched->key, generation);
}

void Store::setOpenedHandler(std::function<void()> handler)
{
    m_openedHandler = std::move(handler);
}

void Store::close()
{
    const std::lock_guard lock(m_mutex);
    forget(State::NotOpened);
    m_closed = true;
}

void Store::reopen()
{
    const std::lock_guard lock(m_mutex);
    m_closed = false;
}

/// Call it under the lock.
void Store::forget(State state)
{
    ++m_generation;
    m_state = state;
    m_masterKey.reset();
    m_opening.reset();
    m_userIds.reset();
}

Store::State Store::attempt()
{
    const bool mayWait = !onMainThread();
    std::shared_ptr<Opening> opening;
    int generation;
    {
        const std::lock_guard lock(m_mutex);
        opening = m_opening;
        generation = m_generation;
    }
    if (!opening) {
        // Checked before the keychain is asked.
        bool mayCreate = false;
        if (!m_storage->value(checkKind, checkId, onlyVersion)) {
            const std::optional<QList<KeyInfo>> rows =
                m_storage->isOpen() ? m_storage->allInfos() : std::nullopt;
            if (!rows)
                return conclude(State::StorageUnavailable, nullptr, generation);
            mayCreate = rows->isEmpty();
        }
        if (mayWait || !m_source->mayWait()) {
            const Fetched fetched = fetch(*m_source, mayCreate);
            return conclude(unlock(fetched), fetched.key, generation);
        }
        opening = std::make_shared<Opening>();
        {
            const std::lock_guard lock(m_mutex);
            if (m_generation != generation)
                return m_state;
            m_opening = opening;
            m_state = State::Opening;
        }
        try {
            std::thread([source = m_source, opening, mayCreate, handler = m_openedHandler] {
                opening->finish(fetch(*source, mayCreate));
                if (handler)
                    handler();
            }).detach();
        } catch (const std::system_error &) {
            opening->finish({});
        }
    }
    const std::optional<Fetched> fetched = opening->fetched(mayWait);
    if (!fetched)
        return State::Opening;
    return conclude(unlock(*fetched), fetched->key, generation);
}

Store::Fetched Store::fetch(MasterKey &source, bool mayCreate)
{
    MasterKey::Answer answer = source.load();
    if (answer.status == MasterKey::Status::None && mayCreate)
        answer = source.create();
    if (answer.status != MasterKey::Status::Found)
        return {answer.status, nullptr};
    return {answer.status, std::make_shared<const SecureBytes>(std::move(answer.key))};
}

/// Applies the result of an attempt, unless the store was closed in the meantime.
Store::State Store::conclude(State state, Key key, int generation)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_generation != generation)
            return m_state;
        forget(state);
        if (state == State::Ready)
            m_masterKey = std::move(key);
    }
    if (state != State::Ready)
        logFailure(
            QStringLiteral("the store is closed: %1").arg(QString::fromLatin1(reason(state))));
    return state;
}

/// Tests the master key on the stored rows.
Store::State Store::unlock(const Fetched &fetched) const
{
    if (fetched.status == MasterKey::Status::None)
        return State::MasterKeyMissing;
    if (!fetched.key)
        return State::MasterKeyUnavailable;
    const SecureBytes &key = *fetched.key;
    const auto check = [this] { return m_storage->value(checkKind, checkId, onlyVersion); };
    const auto opens = [&key](const std::optional<QByteArray> &value) {
        return value && unsealed({checkKind, checkId, onlyVersion, *value}, key);
    };
    const std::optional<QByteArray> stored = check();
    if (opens(stored))
        return State::Ready;

    // The check row is missing or damaged: any other row will do.
    const std::optional<QList<KeyInfo>> rows = m_storage->allInfos();
    if (!rows)
        return State::StorageUnavailable;
    if (!rows->isEmpty() && std::none_of(rows->cbegin(), rows->cend(), [&key](const KeyInfo &row) {
            return unsealed(row, key).has_value();
        }))
        return State::MasterKeyWrong;
    if (stored)
        return State::Ready;
    const QByteArray value = cryptobase::seal({}, key, place(checkKind, checkId, onlyVersion));
    if (value.isEmpty() || !m_storage->saveIfAbsent({checkKind, checkId, onlyVersion, value}))
        return State::StorageUnavailable;
    // Another writer of the check row had the same master key, or this store must not write
    // anything.
    return opens(check()) ? State::Ready : State::MasterKeyWrong;
}

Store::Key Store::masterKey()
{
    const bool isOpen = m_storage->isOpen();
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed)
            return nullptr;
        switch (m_state) {
        case State::Ready:
        case State::NotOpened:
        case State::Opening:
        case State::StorageUnavailable:
            // Before the account's id is known, and after it signed out, nothing has failed.
            if (!isOpen) {
                forget(State::StorageUnavailable);
                return nullptr;
            }
            if (m_state != State::Ready)
                break;
            [[fallthrough]];
        case State::MasterKeyUnavailable:
        case State::MasterKeyMissing:
        case State::MasterKeyWrong:
            return m_masterKey;
        }
    }
    attempt();
    const std::lock_guard lock(m_mutex);
    return m_masterKey;
}

Store::Row Store::read(const QString &kind, const QString &id, int version)
{
    const Key master = masterKey();
    if (!master)
        return {};
    const std::optional<QByteArray> value = m_storage->value(kind, id, version);
    if (!value)
        return {};
    std::optional<SecureBytes> key = unsealed({kind, id, version, *value}, *master);
    if (!key) {
        logUnreadable(kind, id, version);
        return {true, {}};
    }
    return {true, *std::move(key)};
}

std::optional<KeyInfo> Store::sealed(const QString &kind, const QString &id, int version,
                                     const QByteArray &bytes)
{
    const Key master = masterKey();
    if (!master) {
        logFailure(QStringLiteral("%1 is not stored: %2")
                       .arg(describe(kind, id, version), QString::fromLatin1(reason(state()))));
        return std::nullopt;
    }
    QByteArray value = cryptobase::seal(bytes, *master, place(kind, id, version));
    if (value.isEmpty())
        return std::nullopt;
    return KeyInfo{kind, id, version, std::move(value)};
}

SecureBytes Store::secureKey(const QString &keyId, int version, bool create)
{
    Row row = read(secureKind, keyId, version);
    if (row.present || !create)
        return std::move(row.key);
    const SecureBytes made(CryptoAES::createKey(keySize));
    if (made.isEmpty())
        return {};
    const std::optional<KeyInfo> info = sealed(secureKind, keyId, version, made);
    if (!info || !m_storage->saveIfAbsent(*info))
        return {};
    // Not `made`: another caller may have been first.
    return read(secureKind, keyId, version).key;
}

bool Store::containsSecureKey(const QString &keyId, int version)
{
    return !secureKey(keyId, version).isEmpty();
}

bool Store::saveSecureKey(const QString &keyId, int version, const QByteArray &key)
{
    return saveOnce(secureKind, keyId, version, key, keySize);
}

bool Store::saveOnce(const QString &kind, const QString &id, int version, const QByteArray &key,
                     int smallest)
{
    if (key.size() < smallest || key.size() > largestKey) {
        logFailure(QStringLiteral("%1 is not stored: it has %2 bytes")
                       .arg(describe(kind, id, version))
                       .arg(key.size()));
        return false;
    }
    Row row = read(kind, id, version);
    if (row.key.isEmpty()) {
        const std::optional<KeyInfo> info = sealed(kind, id, version, key);
        if (!info || !(row.present ? m_storage->save(*info) : m_storage->saveIfAbsent(*info)))
            return false;
        row = read(kind, id, version);
    }
    if (QByteArray(row.key) == key)
        return true;
    logFailure(
        QStringLiteral("%1 is not stored: there is another").arg(describe(kind, id, version)));
    return false;
}

SecureBytes Store::userKey(const UserAddress &address)
{
    return read(userKind, addressId(address), onlyVersion).key;
}

bool Store::containsUserKey(const UserAddress &address)
{
    const Key master = masterKey();
    if (!master)
        return false;
    const QString id = addressId(address);
    int saved;
    {
        const std::lock_guard lock(m_mutex);
        if (m_userIds)
            return m_userIds->contains(id);
        saved = m_userKeysSaved;
    }
    const std::optional<QList<KeyInfo>> rows = m_storage->allInfos(userKind);
    if (!rows)
        return false;
    QSet<QString> ids;
    for (const KeyInfo &row : *rows) {
        if (unsealed(row, *master))
            ids.insert(row.id);
        else
            logUnreadable(row.kind, row.id, row.version);
    }
    const bool found = ids.contains(id);
    const std::lock_guard lock(m_mutex);
    if (m_masterKey == master && m_userKeysSaved == saved)
        m_userIds = std::move(ids);
    return found;
}

bool Store::saveUserKey(const UserAddress &address, const QByteArray &key)
{
    if (key.isEmpty() || key.size() > largestKey) {
        logFailure(QStringLiteral("%1 is not stored: it has %2 bytes")
                       .arg(describe(userKind, addressId(address), onlyVersion))
                       .arg(key.size()));
        return false;
    }
    const std::optional<KeyInfo> info = sealed(userKind, addressId(address), onlyVersion, key);
    if (!info || !m_storage->save(*info))
        return false;
    const std::lock_guard lock(m_mutex);
    ++m_userKeysSaved;
    if (m_userIds)
        m_userIds->insert(info->id);
    return true;
}

SecureBytes Store::chatKey(const QString &dialogId, int version)
{
    return read(chatKind, dialogId, version).key;
}

bool Store::saveChatKey(const QString &dialogId, int version, const QByteArray &key)
{
    return saveOnce(chatKind, dialogId, version, key, 1);
}

std::vector<ChatKey> Store::getMissingChatKeys(const QString &dialogId, int fromVersion,
                                               int toVersion)
{
    std::vector<ChatKey> keys;
    const Key master = masterKey();
    if (!master)
        return keys;
    const QList<KeyInfo> rows = m_storage->infos(chatKind, dialogId, fromVersion, toVersion);
    for (const KeyInfo &row : rows) {
        if (std::optional<SecureBytes> key = unsealed(row, *master))
            keys.push_back({row.version, *std::move(key)});
        else
            logUnreadable(row.kind, row.id, row.version);
    }
    return keys;
}

bool Store::updateUserInfo(const UserInfo &info)
{
    const QJsonObject fields{{QStringLiteral("user_id"), info.userId},
                             {QStringLiteral("phone"), info.phone},
                             {QStringLiteral("country_code"), info.countryCode}};
    const SecureBytes bytes(QJsonDocument(fields).toJson(QJsonDocument::Compact));
    const std::optional<KeyInfo> row = sealed(infoKind, infoId, onlyVersion, bytes);
    return row && m_storage->save(*row);
}

std::optional<UserInfo> Store::userInfo()
{
    const Row row = read(infoKind, infoId, onlyVersion);
    if (row.key.isEmpty())
        return std::nullopt;
    const QJsonObject fields = QJsonDocument::fromJson(row.key).object();
    return UserInfo{fields[QLatin1StringView("user_id")].toInteger(),
                    fields[QLatin1StringView("phone")].toString(),
                    fields[QLatin1StringView("country_code")].toString()};
}

bool Store::removeAll()
{
    if (!m_storage->removeAll())
        return false;
    const std::lock_guard lock(m_mutex);
    forget(State::NotOpened);
    return true;
}

SecureBytes Store::kdf(const QByteArray &key)
{
    // The label is part of the format of everything ever encrypted and never changes.
    return cryptobase::hkdfSha256(key, {}, QByteArrayLiteral("im content key 1"), keySize);
}

} // namespace crypto
