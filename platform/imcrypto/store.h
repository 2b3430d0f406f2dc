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

    bool operator==(const UserInfo &) const = default;
};

/// The end-to-end keys of one account: rows of its database, each sealed with AES-256-GCM under the
/// installation's master key and bound to its kind, id and version, so that no row opens in
/// another's place.
///
/// Every call opens the store where that has not been done. While it is not Ready, reads find
/// nothing, without a log line, and writes return false, with one. A row that does not open (someone
/// changed it) reads as missing, with a log line; creating does not replace it. A key that is handed
/// out as made, or reported as saved, is on the disk, where a power cut does not take it back.
///
/// Where a keychain has the master key, its answer may take half a minute and more (see MasterKey).
/// The main thread never waits for it: the store is Opening then, a thread of its own asks, and the
/// handler of setOpenedHandler() is called at the end. Calls on other threads wait. Where the key is
/// in a file, no call waits.
///
/// Keys are handed out in memory that is cleansed when it dies; nothing is kept but the master key,
/// and which user keys there are. Thread: any. Nothing here throws.
class MODELBASE_IMCRYPTO_EXPORT Store
{
public:
    enum class State {
        NotOpened,
        Opening, ///< a keychain is being asked; see above
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
    /// the state stays until this is called again, or close(). To be called, too, when `storage` has
    /// been opened on another database.
    State open();
    /// What the last attempt to open came to. Logged, if it was neither Ready nor Opening.
    State state();
    /// Called when the keychain has been asked, on the thread that asked, with nothing held; state()
    /// then tells what came of it. The store may be gone by then. To be set before the first call.
    void setOpenedHandler(std::function<void()> handler);
    /// Forgets the master key and all that was found out. As long as nobody calls open() or
    /// reopen(), reads find nothing and writes are refused.
    void close();
    /// Lifts close(): the next call opens the store.
    void reopen();

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
    /// Reads the rows once, when it is first called, and does not look at the disk again.
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
    mutable std::mutex m_mutex; ///< guards what follows; not held while anything is called
    State m_state = State::NotOpened;
    Key m_masterKey;
    std::shared_ptr<Opening> m_opening; ///< while a keychain is being asked for the main thread
    bool m_closed = false;
    int m_generation = 0;                   ///< what was begun in an earlier one changes nothing
    std::optional<QSet<QString>> m_userIds; ///< ids of the user keys, once somebody asked
    int m_userKeysSaved = 0;
};

} // namespace crypto
