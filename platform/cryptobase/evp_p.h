#pragma once

#include <QByteArray>

#include <openssl/evp.h>

#include <memory>

namespace cryptobase
{

struct CipherContextDeleter {
    void operator()(EVP_CIPHER_CTX *context) const { EVP_CIPHER_CTX_free(context); }
};
/// Freeing it cleanses the key schedule.
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherContextDeleter>;

inline const unsigned char *octets(const QByteArray &bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.constData());
}

/// Detaches `bytes` if they are shared.
inline unsigned char *octets(QByteArray &bytes)
{
    return reinterpret_cast<unsigned char *>(bytes.data());
}

} // namespace cryptobase
