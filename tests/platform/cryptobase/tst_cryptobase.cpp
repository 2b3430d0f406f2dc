#include "cryptobase/cryptoaes.h"
#include "cryptobase/hkdf.h"
#include "cryptobase/sealing.h"
#include "cryptobase/securebytes.h"

#include <QCryptographicHash>
#include <QSet>
#include <QTest>

#include <atomic>
#include <limits>
#include <numeric>
#include <thread>
#include <vector>

using namespace cryptobase;

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

QByteArray pattern(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char(i * 7 + 3);
    return bytes;
}

const QByteArray key = hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
const QByteArray vector = hex("404142434445464748494a4b4c4d4e4f");
const CryptoAES aes(2);

} // namespace

class TestCryptoBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sivVector()
    {
        // RFC 5297, A.1
        const QByteArray rfcKey =
            hex("fffefdfcfbfaf9f8f7f6f5f4f3f2f1f0f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
        const QByteArray data = hex("101112131415161718191a1b1c1d1e1f2021222324252627");
        const QByteArray plain = hex("112233445566778899aabbccddee");
        const QByteArray cipher =
            hex("85632d07c6e8f37f950acd320a2ecc9340c02b9690c4dc04daef7f6afe5c");
        // Only the first 32 bytes of a longer key count.
        for (const QByteArray &longKey : {rfcKey, rfcKey + "more"}) {
            QCOMPARE(aes.encrypt(plain, longKey, data).toHex(), cipher.toHex());
            QCOMPARE(aes.decrypt(cipher, longKey, data).toHex(), plain.toHex());
        }
    }

    void sivLengths()
    {
        // Many blocks, against another implementation's result: stored files must stay readable.
        const QByteArray cipher = aes.encrypt(pattern(1000), key, vector);
        QCOMPARE(QCryptographicHash::hash(cipher, QCryptographicHash::Sha256).toHex(),
                 QByteArray("bbbf44b5c17b3cead5b2f723f5e500f3b3d60cfa3894e0ed4315b8510b7b007f"));

        std::vector<int> sizes(65);
        std::iota(sizes.begin(), sizes.end(), 0);
        sizes.insert(sizes.end(), {255, 256, 257, 4095, 4096, 65537, 1 << 20, (1 << 20) + 1});
        for (const QByteArray &iv : {vector, QByteArray()}) {
            for (const int size : sizes) {
                const QByteArray plain = pattern(size);
                const QByteArray sealed = aes.encrypt(plain, key, iv);
                QCOMPARE(sealed.size(), size == 0 ? 0 : size + 16);
                QCOMPARE(aes.encrypt(plain, key, iv), sealed);
                QCOMPARE(aes.decrypt(sealed, key, iv), plain);
            }
        }
    }

    void sivRefusesWhatWasChanged()
    {
        const QByteArray plain("lake, Saturday");
        const QByteArray cipher = aes.encrypt(plain, key, vector);
        for (qsizetype size = 0; size < cipher.size(); ++size)
            QVERIFY(aes.decrypt(cipher.left(size), key, vector).isEmpty());
        QVERIFY(aes.decrypt(cipher + '\0', key, vector).isEmpty());

        // The whole key counts, both halves of it, and so does the vector.
        for (const int i : {0, 15, 16, 31}) {
            QByteArray other = key;
            other[i] = char(other[i] ^ 1);
            QVERIFY(aes.decrypt(cipher, other, vector).isEmpty());
        }
        QVERIFY(aes.decrypt(cipher, key, vector + '\0').isEmpty());
        QVERIFY(aes.decrypt(cipher, key, {}).isEmpty());
        QCOMPARE(aes.decrypt(cipher, key, vector), plain);
    }

    void sivRefusesBadInput()
    {
        const QByteArray cipher = aes.encrypt("text", key, vector);
        for (const qsizetype size : {0, 1, 16, 31}) {
            QVERIFY(aes.encrypt("text", key.left(size), vector).isEmpty());
            QVERIFY(aes.decrypt(cipher, key.left(size), vector).isEmpty());
        }
        for (const int mode : {-1, 0, 1, 3}) {
            QVERIFY(CryptoAES(mode).encrypt("text", key, vector).isEmpty());
            QVERIFY(CryptoAES(mode).decrypt(cipher, key, vector).isEmpty());
        }
    }

    void sivFromManyThreads()
    {
        std::atomic_int failures = 0;
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([t, &failures] {
                const QByteArray own = key.mid(1) + char(t);
                for (int i = 1; i < 200; ++i) {
                    const QByteArray plain = pattern(i * 13 + t);
                    const QByteArray cipher = aes.encrypt(plain, own, vector);
                    if (cipher != aes.encrypt(plain, own, vector)
                        || aes.decrypt(cipher, own, vector) != plain
                        || hkdfSha256(own, {}, "label", 32).size() != 32)
                        ++failures;
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(failures, 0);
    }

    void createKey()
    {
        QSet<QByteArray> keys;
        for (int i = 0; i < 100; ++i) {
            const QByteArray made = CryptoAES::createKey(32);
            QCOMPARE(made.size(), 32);
            keys.insert(made);
        }
        QCOMPARE(keys.size(), 100);
        for (const int size : {-1, 0, 4097, std::numeric_limits<int>::max()})
            QVERIFY(CryptoAES::createKey(size).isEmpty());
    }

    void hkdfVectors()
    {
        const auto run = [](int first, int last) {
            QByteArray bytes;
            for (int i = first; i <= last; ++i)
                bytes.append(char(i));
            return bytes;
        };
        struct {
            QByteArray input, salt, info, output;
        } vectors[] = {
            // RFC 5869, A.1 to A.3
            {QByteArray(22, 0x0b), run(0x00, 0x0c), run(0xf0, 0xf9),
             hex("3cb25f25faacd57a90434f64d0362f2a2d2d0a90cf1a5a4c5db02d56ecc4c5bf34007208d5b887185"
                 "865")},
            {run(0x00, 0x4f), run(0x60, 0xaf), run(0xb0, 0xff),
             hex("b11e398dc80327a1c8e7f78c596a49344f012eda2d4efad8a050cc4c19afa97c59045a99cac782727"
                 "1cb41c6"
                 "5e590e09da3275600c2f09b8367793a9aca3db71cc30c58179ec3e87c14c01d5c1f3434f1d87")},
            {QByteArray(22, 0x0b),
             {},
             {},
             hex("8da4e775a563c18f715f802a063c5a31b8a11f5c5ee1879ec3454e5f3c738d2d9d201395faa4b61a9"
                 "6c8")},
        };
        for (const auto &[input, salt, info, output] : vectors) {
            const SecureBytes derived = hkdfSha256(input, salt, info, int(output.size()));
            QCOMPARE(QByteArray(derived).toHex(), output.toHex());
        }
    }

    void hkdfRefusesBadInput()
    {
        QVERIFY(hkdfSha256({}, "salt", "info", 32).isEmpty());
        for (const int size : {-1, 0, 255 * 32 + 1, std::numeric_limits<int>::max()})
            QVERIFY(hkdfSha256("key", "salt", "info", size).isEmpty());
        QCOMPARE(hkdfSha256("key", "salt", "info", 255 * 32).size(), 255 * 32);
    }

    void sealing()
    {
        const SecureBytes master{QByteArray(key)};
        for (const int size : {0, 1, 32, 5000}) {
            const QByteArray plain = pattern(size);
            const QByteArray sealed = seal(plain, master, "place");
            QCOMPARE(QByteArray(unseal(sealed, master, "place").value()), plain);
            QVERIFY(!unseal(sealed, master, "elsewhere"));
        }

        // GCM falls apart when a nonce comes twice.
        QSet<QByteArray> nonces;
        for (int i = 0; i < 100; ++i)
            nonces.insert(seal("key bytes", master, "place").mid(1, 12));
        QCOMPARE(nonces.size(), 100);

        const QByteArray sealed = seal("key bytes", master, "place");
        for (qsizetype size = 0; size < sealed.size(); ++size)
            QVERIFY(!unseal(sealed.left(size), master, "place"));
        for (const qsizetype size : {0, 16, 31}) {
            QVERIFY(seal("key bytes", SecureBytes(key.left(size)), "place").isEmpty());
            QVERIFY(!unseal(sealed, SecureBytes(key.left(size)), "place"));
        }
        QVERIFY(!unseal(sealed, SecureBytes(pattern(32)), "place"));
    }

    void cleansing()
    {
        QByteArray bytes("secret");
        const QByteArray shared = bytes;
        cleanse(bytes);
        QVERIFY(bytes.isEmpty());
        QCOMPARE(shared, QByteArray("secret"));

        // A literal lies in read-only memory: cleansing it must not write there.
        QByteArray literal = QByteArrayLiteral("constant");
        cleanse(literal);
        QVERIFY(literal.isEmpty());

        SecureBytes first(QByteArray("first"));
        SecureBytes second(std::move(first));
        QVERIFY(first.isEmpty());
        QCOMPARE(QByteArray(second), QByteArray("first"));
        second = SecureBytes(QByteArray("second"));
        QCOMPARE(QByteArray(second), QByteArray("second"));

        // What is left behind, looked at in the next allocation of that size: the allocator hands out
        // the block freed last. Cut at both ends, so that the secret lies outside what is in use, too.
        QByteArray doomed(200, 'S');
        doomed.remove(0, 40);
        doomed.chop(40);
        const char *const block = doomed.constData();
        cleanse(doomed);
        const QByteArray next(200, Qt::Uninitialized);
        if (block < next.constData() || block > next.constData() + next.size())
            QSKIP("the allocator did not reuse the block");
        QVERIFY(!next.contains("SSSS"));
    }
};

QTEST_GUILESS_MAIN(TestCryptoBase)
#include "tst_cryptobase.moc"
