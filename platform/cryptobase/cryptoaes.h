#pragma once

#include "cryptobase/cryptobase_export.h"

#include <QByteArray>

/// Encryption of message and file bytes under a key that the caller holds.
///
/// Mode 2 is the only one: AES-SIV (RFC 5297, AEAD_AES_SIV_CMAC_256), deterministic authenticated
/// encryption. It stays safe when a key and a vector are reused; equal inputs reveal only that they
/// are equal. The ciphertext is a tag of 16 bytes followed by as many bytes as the plaintext has.
/// The vector, of any length, is the associated data: decryption needs the same one. An empty one
/// means no associated data.
///
/// Thread: any; one object may be used from many threads at once. Nothing here throws.
class MODELBASE_CRYPTOBASE_EXPORT CryptoAES
{
public:
    /// The only mode, see above.
    static constexpr int deterministic = 2;
    /// With any other mode encrypt() and decrypt() refuse all calls.
    explicit CryptoAES(int mode);

    /// Uses the first 32 bytes of a longer key. Empty, with a log line, for a shorter key, for more
    /// than 2 GiB of data, or when the cipher fails. Empty data gives an empty result.
    QByteArray encrypt(const QByteArray &data, const QByteArray &key, const QByteArray &iv) const;

    /// The inverse. Empty, with a log line, when `data` was encrypted with another key or vector,
    /// or was truncated or changed: there is no partial or unchecked result. Empty data gives an
    /// empty result.
    QByteArray decrypt(const QByteArray &data, const QByteArray &key, const QByteArray &iv) const;

    /// `size` random bytes, suitable for a key: from OpenSSL's generator for secrets (a DRBG of
    /// NIST SP 800-90A that the system seeds). Empty, with a log line, when it fails or `size` is
    /// not in 1..4096.
    static QByteArray createKey(int size);

private:
    int m_mode;
};
