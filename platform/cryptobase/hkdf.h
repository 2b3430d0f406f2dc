#pragma once

#include "cryptobase/cryptobase_export.h"
#include "cryptobase/securebytes.h"

namespace cryptobase
{

/// HKDF with SHA-256, extract and expand (RFC 5869): `size` bytes derived from `key`, which must
/// not be empty. An empty salt is the RFC's default. Empty, with a log line, when `key` is empty,
/// `size` is not in 1..8160 (255 hashes), or the derivation fails.
///
/// Thread: any.
MODELBASE_CRYPTOBASE_EXPORT SecureBytes hkdfSha256(const QByteArray &key, const QByteArray &salt,
                                                   const QByteArray &info, int size);

} // namespace cryptobase
