#pragma once

#include "cryptobase/cryptobase_export.h"
#include "cryptobase/securebytes.h"

#include <optional>

namespace cryptobase
{

/// AES-256-GCM (NIST SP 800-38D) with a fresh random nonce for each call: for data kept at rest
/// under one key. `place` is authenticated but not stored; data sealed for one place does not open
/// in another.
///
/// The result is a format byte (1), a nonce of 12 bytes, the ciphertext and a tag of 16 bytes.
/// Empty, with a log line, when `key` is not 32 bytes long, `data` or `place` is larger than 1 GiB,
/// or the cipher fails. One key is good for 2^32 calls (section 8.3 of the standard).
///
/// Thread: any.
MODELBASE_CRYPTOBASE_EXPORT QByteArray seal(const QByteArray &data, const SecureBytes &key,
                                            const QByteArray &place);

/// The inverse. Nothing unless `sealed` was made by seal() with this key for this place. The caller
/// logs that, since it knows the meaning.
MODELBASE_CRYPTOBASE_EXPORT std::optional<SecureBytes>
unseal(const QByteArray &sealed, const SecureBytes &key, const QByteArray &place);

} // namespace cryptobase
