#include "cryptobase/hkdf.h"

#include "cryptobase/evp_p.h"
#include "cryptobase/failure_p.h"

#include <openssl/core_names.h>
#include <openssl/kdf.h>
#include <openssl/params.h>

namespace cryptobase
{
namespace
{

constexpr int largestOutput = 255 * 32;

/// Fetched once and never freed, like the cipher of CryptoAES.
EVP_KDF *hkdf()
{
    static EVP_KDF *const kdf = EVP_KDF_fetch(nullptr, "HKDF", nullptr);
    return kdf;
}

OSSL_PARAM octetString(const char *name, const QByteArray &bytes)
{
    return OSSL_PARAM_construct_octet_string(name, const_cast<char *>(bytes.constData()),
                                             size_t(bytes.size()));
}

} // namespace

SecureBytes hkdfSha256(const QByteArray &key, const QByteArray &salt, const QByteArray &info,
                       int size)
{
    if (key.isEmpty() || size < 1 || size > largestOutput) {
        logFailure(QStringLiteral("cannot derive %1 bytes from %2").arg(size).arg(key.size()));
        return {};
    }
    char digest[] = "SHA256";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
        octetString(OSSL_KDF_PARAM_KEY, key),
        octetString(OSSL_KDF_PARAM_SALT, salt),
        octetString(OSSL_KDF_PARAM_INFO, info),
        OSSL_PARAM_construct_end(),
    };
    const std::unique_ptr<EVP_KDF_CTX, decltype(&EVP_KDF_CTX_free)> context(EVP_KDF_CTX_new(hkdf()),
                                                                            EVP_KDF_CTX_free);
    QByteArray derived(size, Qt::Uninitialized);
    if (!context || EVP_KDF_derive(context.get(), octets(derived), size_t(size), parameters) != 1) {
        logFailure(QStringLiteral("cannot derive %1 bytes: the derivation failed").arg(size));
        return {};
    }
    return SecureBytes(std::move(derived));
}

} // namespace cryptobase
