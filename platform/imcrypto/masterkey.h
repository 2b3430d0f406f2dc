#pragma once

#include "imcrypto/imcrypto_export.h"

#include "cryptobase/securebytes.h"

#include <QString>

#include <memory>

namespace crypto
{

/// The source of the 32 bytes under which all keys of this installation are sealed.
///
/// Thread: any. A keychain may ask the user to unlock it, and load() and create() wait for that: up
/// to half a minute for each answer, of which load() needs one and create() several. A caller that
/// must not wait checks mayWait() first, and calls them on another thread.
class MODELBASE_IMCRYPTO_EXPORT MasterKey
{
public:
    enum class Status {
        Found,       ///< the key was loaded
        None,        ///< no key was ever made
        Unavailable, ///< there is one, but it cannot be read now: the keychain is locked or not
                     ///< running, the file is damaged or not readable. Logged.
    };
    struct Answer {
        Status status = Status::Unavailable;
        cryptobase::SecureBytes key;
    };

    virtual ~MasterKey();

    /// Whether load() or create() may have to wait for an answer now. Returns at once; false unless
    /// overridden.
    virtual bool mayWait() const { return false; }
    virtual Answer load() = 0;
    /// Creates the key if load() returns None, and never replaces one. When two processes or
    /// threads do so at once, both get the same key. Never returns None.
    virtual Answer create() = 0;
    /// Destroys the key: data sealed under it can never be opened again, except by stores that
    /// still hold the key, so close those before. create() then makes another. False, with a log
    /// line, when the key still exists, and unless overridden. A keychain entry is deleted in the
    /// background.
    virtual bool remove() { return false; }

    /// A key file, readable by its owner only. A link, a pipe, or another user's file in its place
    /// is refused as Unavailable, and left unchanged. The key is created in the file, never in a
    /// keychain; but a file of installation() that names an entry is understood.
    static std::shared_ptr<MasterKey> inFile(const QString &filePath);

    /// The installation's key: its place is decided when the key is created, and recorded in
    /// "master.key" in the application data directory (QStandardPaths::AppDataLocation, looked up
    /// now). If a keychain runs, it stores the key and the file names the entry; otherwise, and in
    /// Qt's test mode, the file holds the key.
    static std::shared_ptr<MasterKey> installation();

protected:
    MasterKey() = default;

private:
    Q_DISABLE_COPY_MOVE(MasterKey)
};

} // namespace crypto
