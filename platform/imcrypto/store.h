#pragma once

#include "imcrypto/imcrypto_export.h"
#include "imcrypto/masterkey.h"

#include "cryptobase/securebytes.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace storage
{
class KeyStorage;
struct KeyInfo;
} // namespace storage

namespace crypto
{

/// Whose user key: a device of a user, and which of its keys.
struct UserAddress {
    qint64 userId = 0;
    int deviceId = 1;
    int type = 1;
};

struct ChatKey {
    int version = 0;
    cryptobase::SecureBytes key;
};

/// Whom the account belongs to.
struct UserInfo {
    qint64 userId = 0;
    QString phone;
    QString countryCode;
};

/// The end-to-end keys of one account: rows of its database, each sealed with AES-256-GCM under the
/// installation's master key and bound to its kind, id and version, so that no row opens in
/// another's place.
///
/// Every call opens the store where that has not been done. While it is not Ready, reads find
/// nothing and writes return false. A row that does not open (someone changed it) reads as missing,
/// with a log line; creating does not replace it.
///
/// Keys are handed out in memory that is cleansed when it dies; nothing is kept but the master key.
/// Thread: any. Nothing here throws. The master key's source may wait for the user, see MasterKey.
class IMCRYPTO_EXPORT Store
{
public:
    enum class State {
        NotOpened,
        Ready,
        StorageUnavailable, ///< the rows can be neither read nor written, as while the database is
                            ///< closed; the next call tries again
        MasterKeyUnavailable, ///< see MasterKey::Status::Unavailable
        MasterKeyMissing,     ///< there are sealed rows, and the key they are sealed under is gone
        MasterKeyWrong,       ///< there are sealed rows, and none opens with the master key
    };

    /// `storage` is not owned and outlives the store. Nothing is read before the first call.
    explicit Store(storage::KeyStorage *storage,
                   std::shared_ptr<MasterKey> masterKey = MasterKey::installation());
    ~Store();

    /// Gets the master key, making it where neither a key nor a sealed row exists, and tries it on
    /// what is stored. Where it is unavailable, missing or wrong, what is sealed stays as it is and
    /// the state stays until this is called again. To be called, too, when `storage` has been opened
    /// on another database.
    State open();
    /// What the last attempt to open came to. Logged, if it was not Ready.
    State state() const;

    /// The secure key, 32 bytes where it was made here; empty when there is none. With `create` a
    /// missing one is made and stored first: whoever asks for it at the same time, in another thread
    /// or through another store, gets the same.
    cryptobase::SecureBytes secureKey(const QString &keyId, int version, bool create = false);
    bool containsSecureKey(const QString &keyId, int version);
    /// Stores a key that came from elsewhere, 32 to 4096 bytes. True when this key is stored
    /// afterwards. False, with a log line, when another key is: a secure key never changes. A row
    /// that does not open is replaced.
    bool saveSecureKey(const QString &keyId, int version, const QByteArray &key);

    /// The user's key; empty when there is none.
    cryptobase::SecureBytes userKey(const UserAddress &address);
    bool containsUserKey(const UserAddress &address);
    /// Stores the key, 1 to 4096 bytes, in place of the one before.
    bool saveUserKey(const UserAddress &address, const QByteArray &key);

    /// The dialog's key; empty when there is none.
    cryptobase::SecureBytes chatKey(const QString &dialogId, int version);
    /// As saveSecureKey(), with 1 to 4096 bytes.
    bool saveChatKey(const QString &dialogId, int version, const QByteArray &key);
    /// The stored keys with fromVersion <= version <= toVersion, ascending: what another device
    /// lacks that has none of these. Costs what is stored, however large the range.
    std::vector<ChatKey> getMissingChatKeys(const QString &dialogId, int fromVersion,
                                            int toVersion);

    /// True when it is stored, sealed like the keys.
    bool updateUserInfo(const UserInfo &info);
    std::optional<UserInfo> userInfo();

    /// Forgets every key of the account, also those that no longer open: the way out of
    /// MasterKeyMissing and MasterKeyWrong. False when the rows cannot be removed; all stay then.
    bool removeAll();

    /// The working key for a message's or a file's key: 32 bytes of HKDF-SHA-256 (RFC 5869) without
    /// salt, with "im content key 1" as info; the same on every device. Empty, with a log line, for
    /// an empty key.
    static cryptobase::SecureBytes kdf(const QByteArray &key);

private:
    Q_DISABLE_COPY_MOVE(Store)
    using Key = std::shared_ptr<const cryptobase::SecureBytes>;
    struct Row;

    State unlock(cryptobase::SecureBytes &key) const;
    Key masterKey();
    Row read(const QString &kind, const QString &id, int version);
    std::optional<storage::KeyInfo> sealed(const QString &kind, const QString &id, int version,
                                           const QByteArray &bytes);
    bool saveOnce(const QString &kind, const QString &id, int version, const QByteArray &key,
                  int smallest);

    storage::KeyStorage *const m_storage;
    const std::shared_ptr<MasterKey> m_source;
    mutable std::mutex m_mutex; ///< guards what follows; not held while anything is called
    State m_state = State::NotOpened;
    Key m_masterKey;
};

} // namespace crypto
