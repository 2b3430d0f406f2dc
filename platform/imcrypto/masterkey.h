#pragma once

#include "imcrypto/imcrypto_export.h"

#include "cryptobase/securebytes.h"

#include <QString>

#include <memory>

namespace crypto
{

/// Where the 32 bytes come from that all of this installation's keys are sealed under.
///
/// Thread: any. A keychain may ask the user to unlock it, and load() and create() wait for that: up
/// to half a minute for each answer, of which load() needs one and create() several. Whoever must
/// not wait asks mayWait() first, and calls them on another thread.
class MODELBASE_IMCRYPTO_EXPORT MasterKey
{
public:
    enum class Status {
        Found,       ///< the key is here
        None,        ///< no key was ever made
        Unavailable, ///< there is one, but it cannot be had now: the keychain is locked or not
                     ///< running, the file is damaged or not readable. Logged.
    };
    struct Answer {
        Status status = Status::Unavailable;
        cryptobase::SecureBytes key;
    };

    virtual ~MasterKey();

    /// Whether load() or create() may have to ask somebody, now. Answers at once; false unless
    /// overridden.
    virtual bool mayWait() const { return false; }
    virtual Answer load() = 0;
    /// Makes the key where load() says None, and never in place of another. When two processes or
    /// threads do so at once, both get the same key. Never answers None.
    virtual Answer create() = 0;
    /// Destroys the key: what is sealed under it never opens again, but in stores that hold it yet,
    /// which have to be closed before. create() then makes another. False, with a log line, when it
    /// is still there, and unless overridden. A keychain is told in the background.
    virtual bool remove() { return false; }

    /// A key file, readable by its owner only. A link, a pipe, or another user's file in its place is
    /// refused as Unavailable, and left as it is. The key is made in the file and in no keychain; but a
    /// file of installation() that names an entry is understood.
    static std::shared_ptr<MasterKey> inFile(const QString &filePath);

    /// The installation's: decided when the key is made, and recorded in "master.key" in the
    /// application data directory (QStandardPaths::AppDataLocation, looked up now). Where a keychain
    /// runs, the key lies there and the file names its entry; elsewhere, and in Qt's test mode, the
    /// file holds the key.
    static std::shared_ptr<MasterKey> installation();

protected:
    MasterKey() = default;

private:
    Q_DISABLE_COPY_MOVE(MasterKey)
};

} // namespace crypto
