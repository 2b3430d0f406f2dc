#pragma once

#include "cryptobase/cryptobase_export.h"
#include "cryptobase/securebytes.h"

#include <optional>

namespace cryptobase
{

/// AES-256-GCM (NIST SP 800-38D) with a fresh random nonce each time: for what is kept at rest under
/// one key. `place` is authenticated and not stored; what was sealed for one place does not open in
/// another.
///
/// The result is a format byte (1), 12 bytes of nonce, the ciphertext and 16 bytes of tag. Empty,
/// with a log line, when `key` is not 32 bytes long, `data` or `place` is larger than 1 GiB, or the
/// cipher fails. One key is good for 2^32 calls (section 8.3 there).
///
/// Thread: any.
MODELBASE_CRYPTOBASE_EXPORT QByteArray seal(const QByteArray &data, const SecureBytes &key,
                                            const QByteArray &place);

/// The inverse. Nothing when `sealed` is not what seal() made with this key for this place. That is
/// for the caller to log, who knows what it means.
MODELBASE_CRYPTOBASE_EXPORT std::optional<SecureBytes>
unseal(const QByteArray &sealed, const SecureBytes &key, const QByteArray &place);

} // namespace cryptobase
