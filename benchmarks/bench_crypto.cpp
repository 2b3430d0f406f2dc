// Encryption of messages and files, and sealing of keys, against the bare cipher.

#include "cryptobase/cryptoaes.h"
#include "cryptobase/sealing.h"
#include "support/comparison.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <memory>
#include <vector>

namespace
{

struct Deleter {
    void operator()(EVP_CIPHER *cipher) const { EVP_CIPHER_free(cipher); }
    void operator()(EVP_CIPHER_CTX *context) const { EVP_CIPHER_CTX_free(context); }
};

/// The minimum by hand: cipher, context and buffer are reused, only the key is new.
class BareCipher
{
public:
    explicit BareCipher(const char *name)
        : m_cipher(EVP_CIPHER_fetch(nullptr, name, nullptr)), m_context(EVP_CIPHER_CTX_new())
    {
    }

    bool encrypt(const QByteArray &data, const QByteArray &key, const unsigned char *nonce,
                 const QByteArray &associated)
    {
        m_out.resize(data.size() + 16);
        int written = 0;
        return EVP_EncryptInit_ex2(m_context.get(), m_cipher.get(), bytes(key), nonce, nullptr) == 1
            && EVP_EncryptUpdate(m_context.get(), nullptr, &written, bytes(associated),
                                 int(associated.size()))
            == 1
            && EVP_EncryptUpdate(m_context.get(), m_out.data() + 16, &written, bytes(data),
                                 int(data.size()))
            == 1
            && EVP_EncryptFinal_ex(m_context.get(), m_out.data() + 16 + written, &written) == 1
            && EVP_CIPHER_CTX_ctrl(m_context.get(), EVP_CTRL_AEAD_GET_TAG, 16, m_out.data()) == 1;
    }

    bool decrypt(const unsigned char *tag, const unsigned char *data, qsizetype size,
                 const QByteArray &key, const unsigned char *nonce, const QByteArray &associated)
    {
        m_out.resize(size);
        int written = 0;
        return EVP_DecryptInit_ex2(m_context.get(), m_cipher.get(), bytes(key), nonce, nullptr) == 1
            && EVP_CIPHER_CTX_ctrl(m_context.get(), EVP_CTRL_AEAD_SET_TAG, 16,
                                   const_cast<unsigned char *>(tag))
            == 1
            && EVP_DecryptUpdate(m_context.get(), nullptr, &written, bytes(associated),
                                 int(associated.size()))
            == 1
            && EVP_DecryptUpdate(m_context.get(), m_out.data(), &written, data, int(size)) == 1
            && EVP_DecryptFinal_ex(m_context.get(), m_out.data() + written, &written) == 1;
    }

    static const unsigned char *bytes(const QByteArray &array)
    {
        return reinterpret_cast<const unsigned char *>(array.constData());
    }

private:
    const std::unique_ptr<EVP_CIPHER, Deleter> m_cipher;
    const std::unique_ptr<EVP_CIPHER_CTX, Deleter> m_context;
    std::vector<unsigned char> m_out;
};

const QByteArray key(32, 'k');
const QByteArray vector(16, 'v');

void addSivRows(const std::string &size, const QByteArray &plain)
{
    comparison::add(
        "AES-SIV encryption, " + size, 1.3,
        [plain](benchmark::State &state) {
            const CryptoAES aes(2);
            for (auto _ : state) {
                if (aes.encrypt(plain, key, vector).isEmpty())
                    state.SkipWithError("not encrypted");
            }
        },
        [plain](benchmark::State &state) {
            BareCipher siv("AES-128-SIV");
            for (auto _ : state) {
                if (!siv.encrypt(plain, key, nullptr, vector))
                    state.SkipWithError("not encrypted");
            }
        });
    const QByteArray cipher = CryptoAES(CryptoAES::deterministic).encrypt(plain, key, vector);
    comparison::add(
        "AES-SIV decryption, " + size, 1.3,
        [cipher](benchmark::State &state) {
            const CryptoAES aes(2);
            for (auto _ : state) {
                if (aes.decrypt(cipher, key, vector).isEmpty())
                    state.SkipWithError("not decrypted");
            }
        },
        [cipher](benchmark::State &state) {
            BareCipher siv("AES-128-SIV");
            const unsigned char *const tag = BareCipher::bytes(cipher);
            for (auto _ : state) {
                if (!siv.decrypt(tag, tag + 16, cipher.size() - 16, key, nullptr, vector))
                    state.SkipWithError("not decrypted");
            }
        });
}

void addSealingRows()
{
    const QByteArray plain(32, 'p');
    const QByteArray place("secure/key-id/3");
    const QByteArray sealed =
        cryptobase::seal(plain, cryptobase::SecureBytes(QByteArray(key)), place);
    comparison::add(
        "sealing a key", 1.3,
        [plain, place](benchmark::State &state) {
            const cryptobase::SecureBytes master{QByteArray(key)};
            for (auto _ : state) {
                if (cryptobase::seal(plain, master, place).isEmpty())
                    state.SkipWithError("not sealed");
            }
        },
        [plain, place](benchmark::State &state) {
            BareCipher gcm("AES-256-GCM");
            for (auto _ : state) {
                unsigned char nonce[12];
                if (RAND_bytes(nonce, sizeof nonce) != 1 || !gcm.encrypt(plain, key, nonce, place))
                    state.SkipWithError("not sealed");
            }
        });
    comparison::add(
        "opening a sealed key", 1.3,
        [sealed, place](benchmark::State &state) {
            const cryptobase::SecureBytes master{QByteArray(key)};
            for (auto _ : state) {
                if (!cryptobase::unseal(sealed, master, place))
                    state.SkipWithError("not opened");
            }
        },
        [sealed, place](benchmark::State &state) {
            BareCipher gcm("AES-256-GCM");
            // A format byte, the nonce, the ciphertext, the tag.
            const unsigned char *const nonce = BareCipher::bytes(sealed) + 1;
            const unsigned char *const data = nonce + 12;
            const qsizetype size = sealed.size() - 1 - 12 - 16;
            for (auto _ : state) {
                if (!gcm.decrypt(data + size, data, size, key, nonce, place))
                    state.SkipWithError("not opened");
            }
        });
}

void addRows()
{
    addSivRows("1 KiB", QByteArray(1 << 10, 'm'));
    addSivRows("64 KiB", QByteArray(64 << 10, 'm'));
    addSivRows("1 MiB", QByteArray(1 << 20, 'm'));
    addSealingRows();
}

} // namespace

COMPARISON_MAIN(addRows)
