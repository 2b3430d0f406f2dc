#include "imcrypto/store.h"

#include "imcrypto/log_p.h"

#include "cryptobase/cryptoaes.h"
#include "cryptobase/hkdf.h"
#include "cryptobase/sealing.h"
#include "storage/keystorage.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using cryptobase::SecureBytes;
using storage::KeyInfo;

namespace crypto
{
namespace
{

constexpr int keySize = 32;
constexpr qsizetype largestKey = 4096;

// Kinds of rows. They are part of what is sealed and never change.
const QString secureKind = QStringLiteral("secure");
const QString userKind = QStringLiteral("user");
const QString chatKind = QStringLiteral("chat");
const QString infoKind = QStringLiteral("info");
/// One row whose only purpose is to tell the right master key from a wrong one.
const QString checkKind = QStringLiteral("check");
const QString checkId = QStringLiteral("master");
const QString infoId = QStringLiteral("account");

QString addressId(const UserAddress &address)
{
    return QStringLiteral("%1.%2.%3").arg(address.userId).arg(address.deviceId).arg(address.type);
}

/// What a row is bound to. Kind and version contain no zero byte: an id that does cannot make one
/// row's place look like another's.
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
    return QStringLiteral("%1 key %2_%3").arg(kind, id.left(64)).arg(version);
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
    case Store::State::NotOpened:
    case Store::State::Ready:
        break;
    }
    return "";
}

} // namespace

/// A row as it was found: absent, present but not to be opened (`key` is empty), or whole.
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
    SecureBytes key;
    const State state = unlock(key);
    if (state != State::Ready) {
        logFailure(
            QStringLiteral("the store is closed: %1").arg(QString::fromLatin1(reason(state))));
    }
    Key opened =
        state == State::Ready ? std::make_shared<const SecureBytes>(std::move(key)) : nullptr;
    const std::lock_guard lock(m_mutex);
    m_state = state;
    m_masterKey = std::move(opened);
    return state;
}

Store::State Store::state() const
{
    const std::lock_guard lock(m_mutex);
    return m_state;
}

Store::State Store::unlock(SecureBytes &key) const
{
    const auto check = [this] { return m_storage->value(checkKind, checkId, 1); };
    const auto opens = [&key](const std::optional<QByteArray> &value) {
        return value && unsealed({checkKind, checkId, 1, *value}, key);
    };

    // Before the keychain is troubled.
    const std::optional<QByteArray> stored = check();
    std::optional<QList<KeyInfo>> rows;
    if (!stored && !(rows = m_storage->allInfos()))
        return State::StorageUnavailable;

    MasterKey::Answer master = m_source->load();
    if (master.status == MasterKey::Status::None) {
        if (stored || !rows->isEmpty())
            return State::MasterKeyMissing;
        master = m_source->create();
    }
    if (master.status != MasterKey::Status::Found)
        return State::MasterKeyUnavailable;
    key = std::move(master.key);
    if (opens(stored))
        return State::Ready;

    // The check row is missing or damaged: any other row tells as well.
    if (!rows && !(rows = m_storage->allInfos()))
        return State::StorageUnavailable;
    if (!rows->isEmpty() && std::none_of(rows->cbegin(), rows->cend(), [&key](const KeyInfo &row) {
            return unsealed(row, key).has_value();
        }))
        return State::MasterKeyWrong;
    if (stored)
        return State::Ready;
    const QByteArray value = cryptobase::seal({}, key, place(checkKind, checkId, 1));
    if (value.isEmpty() || !m_storage->saveIfAbsent({checkKind, checkId, 1, value}))
        return State::StorageUnavailable;
    // Whoever wrote it first had the same master key, or this one must not write anything.
    return opens(check()) ? State::Ready : State::MasterKeyWrong;
}

Store::Key Store::masterKey()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state != State::NotOpened && m_state != State::StorageUnavailable)
            return m_masterKey;
    }
    open();
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
    if (!master)
        return std::nullopt;
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
    // Not `made`: somebody else may have been first.
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
    return read(userKind, addressId(address), 1).key;
}

bool Store::containsUserKey(const UserAddress &address)
{
    return !userKey(address).isEmpty();
}

bool Store::saveUserKey(const UserAddress &address, const QByteArray &key)
{
    if (key.isEmpty() || key.size() > largestKey) {
        logFailure(QStringLiteral("%1 is not stored: it has %2 bytes")
                       .arg(describe(userKind, addressId(address), 1))
                       .arg(key.size()));
        return false;
    }
    const std::optional<KeyInfo> info = sealed(userKind, addressId(address), 1, key);
    return info && m_storage->save(*info);
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
    const std::optional<KeyInfo> row = sealed(infoKind, infoId, 1, bytes);
    return row && m_storage->save(*row);
}

std::optional<UserInfo> Store::userInfo()
{
    const Row row = read(infoKind, infoId, 1);
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
    m_state = State::NotOpened;
    m_masterKey.reset();
    return true;
}

SecureBytes Store::kdf(const QByteArray &key)
{
    // The label is part of the format of everything that was ever encrypted and never changes.
    return cryptobase::hkdfSha256(key, {}, QByteArrayLiteral("im content key 1"), keySize);
}

} // namespace crypto
