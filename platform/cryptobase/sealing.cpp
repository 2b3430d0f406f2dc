#include "cryptobase/sealing.h"

#include "cryptobase/evp_p.h"
#include "cryptobase/failure_p.h"

#include <openssl/err.h>
#include <openssl/rand.h>

namespace cryptobase
{
namespace
{

constexpr char format = 1;
constexpr int nonceSize = 12;
constexpr int tagSize = 16;
constexpr int keySize = 32;
constexpr int headSize = 1 + nonceSize;
constexpr int overhead = headSize + tagSize;
constexpr qsizetype largest = 1 << 30;

EVP_CIPHER *gcm()
{
    static EVP_CIPHER *const cipher = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
    return cipher;
}

} // namespace

QByteArray seal(const QByteArray &data, const SecureBytes &key, const QByteArray &place)
{
    if (key.size() != keySize || data.size() > largest || place.size() > largest) {
        logFailure(QStringLiteral("cannot seal %1 bytes under a key of %2")
                       .arg(data.size())
                       .arg(key.size()));
        return {};
    }
    const CipherContext context(EVP_CIPHER_CTX_new());
    const int size = int(data.size());
    QByteArray sealed(overhead + size, Qt::Uninitialized);
    sealed[0] = format;
    unsigned char *const nonce = octets(sealed) + 1;
    unsigned char *const out = nonce + nonceSize;
    int written = 0;
    if (!context || RAND_bytes(nonce, nonceSize) != 1
        || EVP_EncryptInit_ex2(context.get(), gcm(), octets(key), nonce, nullptr) != 1
        || EVP_EncryptUpdate(context.get(), nullptr, &written, octets(place), int(place.size()))
            != 1
        || EVP_EncryptUpdate(context.get(), out, &written, octets(data), size) != 1
        || EVP_EncryptFinal_ex(context.get(), out + written, &written) != 1
        || EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, tagSize, out + size) != 1) {
        logFailure(QStringLiteral("cannot seal %1 bytes: the cipher failed").arg(size));
        return {};
    }
    return sealed;
}

std::optional<SecureBytes> unseal(const QByteArray &sealed, const SecureBytes &key,
                                  const QByteArray &place)
{
    if (sealed.size() < overhead || sealed.size() > overhead + largest || sealed[0] != format
        || key.size() != keySize || place.size() > largest)
        return std::nullopt;
    const CipherContext context(EVP_CIPHER_CTX_new());
    const unsigned char *const nonce = octets(sealed) + 1;
    const unsigned char *const in = nonce + nonceSize;
    const int size = int(sealed.size()) - overhead;
    QByteArray data(size, Qt::Uninitialized);
    int written = 0;
    if (!context || EVP_DecryptInit_ex2(context.get(), gcm(), octets(key), nonce, nullptr) != 1
        || EVP_DecryptUpdate(context.get(), nullptr, &written, octets(place), int(place.size()))
            != 1
        || EVP_DecryptUpdate(context.get(), octets(data), &written, in, size) != 1
        || EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, tagSize,
                               const_cast<unsigned char *>(in + size))
            != 1
        || EVP_DecryptFinal_ex(context.get(), octets(data) + written, &written) != 1) {
        // Decrypted, but not authentic: must not be used.
        cleanse(data);
        ERR_clear_error();
        return std::nullopt;
    }
    return SecureBytes(std::move(data));
}

} // namespace cryptobase
