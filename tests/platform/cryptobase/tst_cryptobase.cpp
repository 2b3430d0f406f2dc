#include "cryptobase/cryptoaes.h"
#include "cryptobase/hkdf.h"
#include "cryptobase/sealing.h"
#include "cryptobase/securebytes.h"
#include "support/facts.h"

#include <QCryptographicHash>
#include <QSet>
#include <QTest>

#include <atomic>
#include <limits>
#include <thread>
#include <tuple>
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
    void vectors()
    {
        for (const QString &line : facts(QStringLiteral("vectors.txt"))) {
            QByteArrayList fields = line.toLatin1().split('\t');
            const QByteArray kind = fields.takeFirst();
            for (QByteArray &field : fields)
                field = QByteArray::fromHex(field);
            const auto &[input, data, info, output] =
                std::tie(fields[0], fields[1], fields[2], fields[3]);
            if (kind == "hkdf") {
                QCOMPARE(QByteArray(hkdfSha256(input, data, info, int(output.size()))), output);
                continue;
            }
            // Only the first 32 bytes of a longer key count.
            for (const QByteArray &longKey : {input, input + "more"}) {
                QCOMPARE(aes.encrypt(info, longKey, data), output);
                QCOMPARE(aes.decrypt(output, longKey, data), info);
            }
        }
    }

    void sivLengths()
    {
        // Many blocks, against another implementation's result: stored files must stay readable.
        const QByteArray cipher = aes.encrypt(pattern(1000), key, vector);
        QCOMPARE(QCryptographicHash::hash(cipher, QCryptographicHash::Sha256).toHex(),
                 QByteArray("bbbf44b5c17b3cead5b2f723f5e500f3b3d60cfa3894e0ed4315b8510b7b007f"));

        for (const int size : {65537, 1 << 20, (1 << 20) + 1}) {
            const QByteArray plain = pattern(size);
            QCOMPARE(aes.decrypt(aes.encrypt(plain, key, vector), key, vector), plain);
        }
    }

    void sivFromManyThreads()
    {
        std::atomic_int failures = 0;
        std::vector<std::jthread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([t, &failures] {
                const QByteArray own = key.mid(1) + char(t);
                for (int i = 1; i < 200; ++i) {
                    const QByteArray plain = pattern(i * 13 + t);
                    const QByteArray cipher = aes.encrypt(plain, own, vector);
                    failures += int(cipher != aes.encrypt(plain, own, vector)
                                    || aes.decrypt(cipher, own, vector) != plain
                                    || hkdfSha256(own, {}, "label", 32).size() != 32);
                }
            });
        }
        threads.clear();
        QCOMPARE(failures, 0);
    }

    /// Neither a key comes twice, nor a nonce, without which GCM falls apart.
    void makesWhatIsNew()
    {
        const SecureBytes master{QByteArray(key)};
        QSet<QByteArray> keys;
        QSet<QByteArray> nonces;
        for (int i = 0; i < 100; ++i) {
            keys.insert(CryptoAES::createKey(32));
            nonces.insert(seal("key bytes", master, "place").mid(1, 12));
        }
        QVERIFY(keys.size() == 100 && nonces.size() == 100);
        QCOMPARE(keys.cbegin()->size(), 32);
    }

    void refusesBadInput()
    {
        const QByteArray cipher = aes.encrypt("text", key, vector);
        const SecureBytes master{QByteArray(key)};
        QVERIFY(unseal(seal({}, master, "place"), master, "place")); // nothing is no bad input
        const QByteArray sealed = seal("key bytes", master, "place");
        for (const qsizetype size : {0, 1, 16, 31}) {
            QVERIFY(aes.encrypt("text", key.left(size), vector).isEmpty());
            QVERIFY(aes.decrypt(cipher, key.left(size), vector).isEmpty());
            QVERIFY(seal("key bytes", SecureBytes(key.left(size)), "place").isEmpty());
            QVERIFY(!unseal(sealed, SecureBytes(key.left(size)), "place"));
        }
        for (const int mode : {-1, 0, 1, 3}) {
            QVERIFY(CryptoAES(mode).encrypt("text", key, vector).isEmpty());
            QVERIFY(CryptoAES(mode).decrypt(cipher, key, vector).isEmpty());
        }
        QVERIFY(aes.encrypt({}, key, vector).isEmpty());
        QVERIFY(hkdfSha256({}, "salt", "info", 32).isEmpty());
        for (const int size : {-1, 0, 255 * 32 + 1, std::numeric_limits<int>::max()}) {
            QVERIFY(hkdfSha256("key", "salt", "info", size).isEmpty());
            QVERIFY(CryptoAES::createKey(size).isEmpty());
        }
        QCOMPARE(hkdfSha256("key", "salt", "info", 255 * 32).size(), 255 * 32);
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

        // Looks at what is left in the next allocation of that size: the allocator hands out
        // the block freed last. Cut at both ends, so that the secret is also outside the used part.
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
