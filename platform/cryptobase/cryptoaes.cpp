#include "cryptobase/cryptoaes.h"

#include "cryptobase/evp_p.h"
#include "cryptobase/failure_p.h"
#include "cryptobase/securebytes.h"

#include <openssl/rand.h>

#include <limits>

using namespace cryptobase;

namespace
{

constexpr int sivMode = 2;
constexpr int keySize = 32;
constexpr int tagSize = 16;
constexpr int largestKey = 4096;

/// Fetched once: looking an algorithm up costs more than encrypting a short message. Never freed,
/// since other threads may still use it when the process ends.
EVP_CIPHER *siv()
{
    static EVP_CIPHER *const cipher = EVP_CIPHER_fetch(nullptr, "AES-128-SIV", nullptr);
    return cipher;
}

/// Why the arguments are refused; empty when they are valid.
QString refusal(int mode, const QByteArray &data, const QByteArray &key, const QByteArray &iv)
{
    constexpr qsizetype most = std::numeric_limits<int>::max() - tagSize;
    if (mode != sivMode)
        return QStringLiteral("there is no mode %1").arg(mode);
    if (key.size() < keySize)
        return QStringLiteral("the key has %1 bytes, not 32").arg(key.size());
    if (data.size() > most || iv.size() > most)
        return QStringLiteral("%1 bytes of data, %2 of vector: too many")
            .arg(data.size())
            .arg(iv.size());
    return {};
}

bool addAssociatedData(EVP_CIPHER_CTX *context, const QByteArray &iv)
{
    int written = 0;
    return iv.isEmpty()
        || EVP_CipherUpdate(context, nullptr, &written, octets(iv), int(iv.size())) == 1;
}

} // namespace

CryptoAES::CryptoAES(int mode) : m_mode(mode) { }

QByteArray CryptoAES::encrypt(const QByteArray &data, const QByteArray &key,
                              const QByteArray &iv) const
{
    if (data.isEmpty())
        return {};
    if (const QString reason = refusal(m_mode, data, key, iv); !reason.isEmpty()) {
        logFailure(QStringLiteral("cannot encrypt: ") + reason);
        return {};
    }
    const CipherContext context(EVP_CIPHER_CTX_new());
    const int size = int(data.size());
    QByteArray result(tagSize + size, Qt::Uninitialized);
    unsigned char *const out = octets(result);
    int written = 0;
    if (!context || EVP_EncryptInit_ex2(context.get(), siv(), octets(key), nullptr, nullptr) != 1
        || !addAssociatedData(context.get(), iv)
        || EVP_EncryptUpdate(context.get(), out + tagSize, &written, octets(data), size) != 1
        || EVP_EncryptFinal_ex(context.get(), out + tagSize + written, &written) != 1
        || EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, tagSize, out) != 1) {
        logFailure(QStringLiteral("cannot encrypt: the cipher failed"));
        return {};
    }
    return result;
}

QByteArray CryptoAES::decrypt(const QByteArray &data, const QByteArray &key,
                              const QByteArray &iv) const
{
    if (data.isEmpty())
        return {};
    if (const QString reason = refusal(m_mode, data, key, iv); !reason.isEmpty()) {
        logFailure(QStringLiteral("cannot decrypt: ") + reason);
        return {};
    }
    if (data.size() <= tagSize) {
        logFailure(QStringLiteral("cannot decrypt: %1 bytes are too few").arg(data.size()));
        return {};
    }
    const CipherContext context(EVP_CIPHER_CTX_new());
    const int size = int(data.size()) - tagSize;
    QByteArray result(size, Qt::Uninitialized);
    int written = 0;
    // SIV takes the tag first and checks it in the single update.
    if (!context || EVP_DecryptInit_ex2(context.get(), siv(), octets(key), nullptr, nullptr) != 1
        || EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, tagSize,
                               const_cast<unsigned char *>(octets(data)))
            != 1
        || !addAssociatedData(context.get(), iv)
        || EVP_DecryptUpdate(context.get(), octets(result), &written, octets(data) + tagSize, size)
            != 1
        || EVP_DecryptFinal_ex(context.get(), octets(result) + written, &written) != 1) {
        cleanse(result);
        logFailure(QStringLiteral("cannot decrypt %1 bytes: changed, or another key or vector")
                       .arg(data.size()));
        return {};
    }
    return result;
}

QByteArray CryptoAES::createKey(int size)
{
    if (size < 1 || size > largestKey) {
        logFailure(QStringLiteral("cannot make a key of %1 bytes").arg(size));
        return {};
    }
    QByteArray key(size, Qt::Uninitialized);
    if (RAND_priv_bytes(octets(key), size) != 1) {
        logFailure(QStringLiteral("cannot make a key: no random bytes"));
        return {};
    }
    return key;
}
