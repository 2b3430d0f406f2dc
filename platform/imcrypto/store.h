#pragma once

#include "imcrypto/imcrypto_export.h"
#include "imcrypto/masterkey.h"

#include "cryptobase/securebytes.h"

#include <QByteArray>
#include <QSet>
#include <QString>

#include <functional>
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

/// The owner of a user key: a device of a user, and which of its keys.
struct UserAddress {
    qint64 userId = 0;
    int deviceId = 1;
    int type = 1;
};

struct ChatKey {
    int version = 0;
    cryptobase::SecureBytes key;
};

/// The account's user.
struct UserInfo {
    qint64 userId = 0;
    QString phone;
    QString countryCode;

    bool operator==(const UserInfo &) const = default;
};

/// The end-to-end keys of one account: rows of its database, each sealed with AES-256-GCM under the
/// installation's master key and bound to its kind, id and version, so that no row opens in the
/// place of another.
///
/// Every call opens the store if necessary. While it is not Ready, reads find nothing, without a
/// log line, and writes return false, with one. A row that does not open (it was tampered with)
/// reads as missing, with a log line; creating does not replace it. A key returned as created, or
/// reported as saved, is on the disk, safe from a power cut.
///
/// If a keychain holds the master key, its answer may take half a minute or more (see MasterKey).
/// The main thread never waits for it: the store is Opening then, a separate thread asks, and the
/// handler of setOpenedHandler() is called at the end. Calls on other threads wait. If the key is
/// in a file, no call waits.
///
/// Keys are returned in memory that is cleansed on destruction; the store keeps only the master key
/// and the ids of the user keys. Thread: any. Nothing here throws.
class MODELBASE_IMCRYPTO_EXPORT Store
{
public:
    enum class State {
        NotOpened,
        Opening, ///< a keychain is being asked; see above
        Ready,
        StorageUnavailable,   ///< the rows cannot be read or written, e.g. while the database is
                              ///< closed; the next call tries again
        MasterKeyUnavailable, ///< see MasterKey::Status::Unavailable
        MasterKeyMissing,     ///< there are sealed rows, but their key does not exist
        MasterKeyWrong,       ///< there are sealed rows, but none opens with the master key
    };

    /// `storage` is not owned and must outlive the store. Nothing is read before the first call.
    explicit Store(storage::KeyStorage *storage,
                   std::shared_ptr<MasterKey> masterKey = MasterKey::installation());
    ~Store();

    /// Gets the master key, creating it if neither a key nor a sealed row exists, and tests it on
    /// the stored rows. If it is unavailable, missing or wrong, the rows stay as they are, and the
    /// state stays until the next call of this or of close(). Call it also when `storage` has been
    /// opened on another database.
    State open();
    /// The result of the last attempt to open. It was logged unless it is Ready or Opening.
    State state();
    /// Called when the keychain has answered, on the thread that asked, without a lock; state()
    /// then gives the result. The store may be destroyed by then. Set it before the first call.
    void setOpenedHandler(std::function<void()> handler);
    /// Clears the master key and all cached state. Until open() or reopen(), reads find nothing and
    /// writes are refused.
    void close();
    /// Reverts close(): the next call opens the store.
    void reopen();

    /// The secure key, 32 bytes if it was created here; empty when there is none. With `create` a
    /// missing one is created and stored first: concurrent callers, in other threads or through
    /// other stores, get the same one.
    cryptobase::SecureBytes secureKey(const QString &keyId, int version, bool create = false);
    bool containsSecureKey(const QString &keyId, int version);
    /// Stores a key that came from elsewhere, 32 to 4096 bytes. True when this key is stored
    /// afterwards. False, with a log line, when another one is: a secure key never changes. A row
    /// that does not open is replaced.
    bool saveSecureKey(const QString &keyId, int version, const QByteArray &key);

    /// The user's key; empty when there is none.
    cryptobase::SecureBytes userKey(const UserAddress &address);
    /// Reads the rows on the first call, and not again.
    bool containsUserKey(const UserAddress &address);
    /// Stores the key, 1 to 4096 bytes, replacing the previous one.
    bool saveUserKey(const UserAddress &address, const QByteArray &key);

    /// The dialog's key; empty when there is none.
    cryptobase::SecureBytes chatKey(const QString &dialogId, int version);
    /// As saveSecureKey(), with 1 to 4096 bytes.
    bool saveChatKey(const QString &dialogId, int version, const QByteArray &key);
    /// The stored keys with fromVersion <= version <= toVersion, ascending, for another device that
    /// lacks them. The cost depends on the stored keys, not on the range.
    std::vector<ChatKey> getMissingChatKeys(const QString &dialogId, int fromVersion,
                                            int toVersion);

    /// True when it was stored, sealed like the keys.
    bool updateUserInfo(const UserInfo &info);
    std::optional<UserInfo> userInfo();

    /// Removes every key of the account, including those that no longer open: the way out of
    /// MasterKeyMissing and MasterKeyWrong. False when the rows cannot be removed; all stay then.
    bool removeAll();

    /// The working key for the key of a message or file: 32 bytes of HKDF-SHA-256 (RFC 5869)
    /// without salt, with "im content key 1" as info; the same on every device. Empty, with a log
    /// line, for an empty key.
    static cryptobase::SecureBytes kdf(const QByteArray &key);

private:
    Q_DISABLE_COPY_MOVE(Store)
    using Key = std::shared_ptr<const cryptobase::SecureBytes>;
    class Opening;
    struct Fetched;
    struct Row;

    static Fetched fetch(MasterKey &source, bool mayCreate);
    State attempt();
    State unlock(const Fetched &fetched) const;
    State conclude(State state, Key key, int generation);
    void forget(State state);
    Key masterKey();
    Row read(const QString &kind, const QString &id, int version);
    std::optional<storage::KeyInfo> sealed(const QString &kind, const QString &id, int version,
                                           const QByteArray &bytes);
    bool saveOnce(const QString &kind, const QString &id, int version, const QByteArray &key,
                  int smallest);

    storage::KeyStorage *const m_storage;
    const std::shared_ptr<MasterKey> m_source;
    std::function<void()> m_openedHandler;
    mutable std::mutex m_mutex; ///< guards what follows; not held during outside calls
    State m_state = State::NotOpened;
    Key m_masterKey;
    std::shared_ptr<Opening> m_opening; ///< while a keychain is being asked for the main thread
    bool m_closed = false;
    int m_generation = 0;                   ///< results of an earlier one are ignored
    std::optional<QSet<QString>> m_userIds; ///< ids of the user keys, once read
    int m_userKeysSaved = 0;
};

} // namespace crypto
