#pragma once

#include "cryptobase/cryptobase_export.h"

#include <QByteArray>

/// Encryption of message and file bytes under a key that the caller holds.
///
/// Mode 2, the only one there is: AES-SIV (RFC 5297, AEAD_AES_SIV_CMAC_256), deterministic
/// authenticated encryption. It stays safe where a key and a vector are used again and again; all
/// that equal inputs give away is that they are equal. The ciphertext is 16 bytes of tag followed
/// by as many bytes as the plaintext has. The vector, of any length, is the associated data: the
/// same one is needed to decrypt. An empty one means no associated data.
///
/// Thread: any; one object may be used from many threads at once. Nothing here throws.
class MODELBASE_CRYPTOBASE_EXPORT CryptoAES
{
public:
    /// The one mode there is, see above.
    static constexpr int deterministic = 2;
    /// With any other mode encrypt() and decrypt() refuse everything.
    explicit CryptoAES(int mode);

    /// Of a longer key the first 32 bytes are used. Empty, with a log line, for a shorter key, for
    /// more than 2 GiB of data, or when the cipher fails. Empty data gives an empty result.
    QByteArray encrypt(const QByteArray &data, const QByteArray &key, const QByteArray &iv) const;

    /// The inverse. Empty, with a log line, when key or vector are not those that `data` was
    /// encrypted with, or when it was cut or changed: there is no partial or unchecked result.
    /// Empty data gives an empty result.
    QByteArray decrypt(const QByteArray &data, const QByteArray &key, const QByteArray &iv) const;

    /// `size` random bytes, fit for a key: from OpenSSL's generator for secrets (a DRBG of NIST SP
    /// 800-90A that the system seeds). Empty, with a log line, when it fails or `size` is not in
    /// 1..4096.
    static QByteArray createKey(int size);

private:
    int m_mode;
};
