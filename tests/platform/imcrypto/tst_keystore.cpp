#include "imcrypto/store.h"

#include "storage/database_p.h"
#include "storage/keystorage.h"
#include "storage/keystorage_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSemaphore>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <barrier>
#include <limits>
#include <thread>

using namespace crypto;
using State = Store::State;

namespace
{

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

const QString keyId = QStringLiteral("profile/7");
const QString dialog = QStringLiteral("C-3-5");

QByteArray filled(char byte)
{
    return QByteArray(32, byte);
}

/// An account's directory, as a start of the program finds it.
struct Account {
    explicit Account(const QTemporaryDir &directory,
                     const QString &masterKey = QStringLiteral("master.key"),
                     std::shared_ptr<MasterKey> source = nullptr)
        : path(directory.filePath(QStringLiteral("account.db"))),
          keyPath(directory.filePath(masterKey)),
          store(&rows, source ? std::move(source) : MasterKey::inFile(keyPath))
    {
        database->open(path);
    }

    const QString path;
    const QString keyPath;
    const std::shared_ptr<storage::Database> database =
        std::make_shared<storage::Database>(storage::SchemaSteps{storage::keySchema});
    storage::KeyStorage rows{database};
    Store store;
};

/// A keychain that is asked until answer() lets each question go.
class Keychain : public MasterKey
{
public:
    explicit Keychain(Status status) : m_status(status) { }

    bool mayWait() const override { return true; }
    Answer load() override
    {
        ++questions;
        m_answers.acquire();
        if (m_status == Status::Found)
            return {Status::Found, cryptobase::SecureBytes(filled('m'))};
        return {m_status, {}};
    }
    Answer create() override
    {
        ++creations;
        m_status = Status::Found;
        return {Status::Found, cryptobase::SecureBytes(filled('m'))};
    }
    void answer() { m_answers.release(); }

    std::atomic_int questions = 0;
    std::atomic_int creations = 0;

private:
    std::atomic<Status> m_status;
    QSemaphore m_answers;
};

constexpr int patienceMs = 20000;

/// The bytes of every row, to see that nothing was touched.
QByteArray allBytes(const storage::KeyStorage &rows)
{
    QByteArray bytes;
    const auto infos = rows.allInfos();
    for (const storage::KeyInfo &info : infos.value())
        bytes += info.kind.toUtf8() + info.id.toUtf8() + info.value;
    return bytes;
}

bool flipBit(storage::KeyStorage &rows, const QString &kind, const QString &id, int version)
{
    QByteArray value = rows.value(kind, id, version).value();
    value[20] = char(value[20] ^ 1);
    return rows.save({kind, id, version, value});
}

} // namespace

class TestKeyStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keysSurviveRestart()
    {
        const QTemporaryDir directory;
        QByteArray made;
        {
            Account account(directory);
            Store &store = account.store;
            QVERIFY(store.secureKey(keyId, 3).isEmpty());
            QVERIFY(!store.containsSecureKey(keyId, 3));
            made = store.secureKey(keyId, 3, true);
            QCOMPARE(made.size(), 32);
            QVERIFY(QByteArray(store.secureKey(keyId, 4, true)) != made);
            QVERIFY(store.saveUserKey({5, 1, 1}, "old"));
            QVERIFY(store.saveUserKey({5, 1, 1}, "user key"));
            QVERIFY(store.saveChatKey(dialog, 2, filled('c')));
            QVERIFY(store.updateUserInfo({std::numeric_limits<qint64>::max(),
                                          QStringLiteral("5550100"), QStringLiteral("49")}));
        }
        Account account(directory);
        Store &store = account.store;
        QCOMPARE(store.state(), State::NotOpened);
        QVERIFY(store.containsSecureKey(keyId, 3));
        QCOMPARE(store.state(), State::Ready);
        QCOMPARE(QByteArray(store.secureKey(keyId, 3, true)), made);
        QVERIFY(!store.containsSecureKey(keyId, 5));
        QCOMPARE(QByteArray(store.userKey({5, 1, 1})), QByteArray("user key"));
        QVERIFY(store.containsUserKey({5, 1, 1}));
        for (const UserAddress &other : {UserAddress{51, 1, 1}, {5, 2, 1}, {5, 1, 2}, {-5, 1, 1}})
            QVERIFY(!store.containsUserKey(other));
        QCOMPARE(QByteArray(store.chatKey(dialog, 2)), filled('c'));
        const UserInfo info = store.userInfo().value();
        QCOMPARE(info.userId, std::numeric_limits<qint64>::max());
        QCOMPARE(info.phone, QStringLiteral("5550100"));
        QCOMPARE(info.countryCode, QStringLiteral("49"));
    }

    void nothingLegibleOnDisk()
    {
        const QTemporaryDir directory;
        Account account(directory);
        const QByteArray made = account.store.secureKey(keyId, 1, true);
        QVERIFY(account.store.saveChatKey(dialog, 1, filled('c')));
        QVERIFY(account.store.saveUserKey({5}, filled('u')));
        QVERIFY(account.store.updateUserInfo({5, QStringLiteral("5550100"), QStringLiteral("49")}));

        const auto expectSealed = [&](const QString &path) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray bytes = file.readAll();
            QVERIFY(bytes.contains(dialog.toLatin1())); // the rows are in this file
            for (const QByteArray &secret : {made.left(8), QByteArray("cccccccc"),
                                             QByteArray("uuuuuuuu"), QByteArray("5550100")})
                QVERIFY2(!bytes.contains(secret) && !bytes.contains(secret.toHex())
                             && !bytes.contains(secret.toBase64().chopped(2)),
                         secret.toHex());
        };
        expectSealed(account.path + QStringLiteral("-wal"));
        account.database->close();
        expectSealed(account.path);
    }

    void swappedRows()
    {
        const QTemporaryDir directory;
        Account account(directory);
        QVERIFY(account.store.saveChatKey(dialog, 1, filled('1')));
        QVERIFY(account.store.saveChatKey(dialog, 2, filled('2')));
        QVERIFY(account.store.saveChatKey(dialog + dialog, 1, filled('o')));
        const QByteArray value = account.rows.value(chat, dialog, 1).value();
        QVERIFY(account.rows.save({chat, dialog, 2, value}));
        QVERIFY(account.rows.save({chat, dialog + dialog, 1, value}));
        QVERIFY(account.rows.save({secure, dialog, 1, value}));
        QVERIFY(account.store.chatKey(dialog, 2).isEmpty());
        QVERIFY(account.store.chatKey(dialog + dialog, 1).isEmpty());
        QVERIFY(!account.store.containsSecureKey(dialog, 1));
        QCOMPARE(QByteArray(account.store.chatKey(dialog, 1)), filled('1'));

        // Where one field ends and the next begins counts.
        QVERIFY(account.store.saveChatKey(QStringLiteral("1"), 11, filled('a')));
        QVERIFY(account.rows.save({chat, QStringLiteral("11"), 1,
                                   account.rows.value(chat, QStringLiteral("1"), 11).value()}));
        QVERIFY(account.store.chatKey(QStringLiteral("11"), 1).isEmpty());
    }

    void changedRows()
    {
        const QTemporaryDir directory;
        Account account(directory);
        Store &store = account.store;
        const QByteArray made = store.secureKey(keyId, 1, true);
        QVERIFY(store.saveChatKey(dialog, 1, filled('1')));
        QVERIFY(store.saveChatKey(dialog, 2, filled('2')));
        QVERIFY(flipBit(account.rows, secure, keyId, 1));
        QVERIFY(flipBit(account.rows, chat, dialog, 1));
        const QByteArray before = allBytes(account.rows);

        QVERIFY(!store.containsSecureKey(keyId, 1));
        QVERIFY(store.secureKey(keyId, 1).isEmpty());
        QVERIFY(store.secureKey(keyId, 1, true).isEmpty());
        QCOMPARE(store.getMissingChatKeys(dialog, 1, 2).size(), 1);
        QCOMPARE(allBytes(account.rows), before);
        QCOMPARE(store.open(), State::Ready);
        QVERIFY(!store.secureKey(QStringLiteral("another"), 1, true).isEmpty());

        // Another device still has it.
        QVERIFY(store.saveSecureKey(keyId, 1, made));
        QCOMPARE(QByteArray(store.secureKey(keyId, 1)), made);
    }

    void withoutTheMasterKey_data()
    {
        QTest::addColumn<QByteArray>("file"); // in place of the key's; null: there is none
        QTest::addColumn<bool>("checkRow");
        QTest::addColumn<int>("state");
        for (const bool checkRow : {true, false}) {
            const char *with = checkRow ? "check row" : "no check row";
            QTest::addRow("lost, %s", with)
                << QByteArray() << checkRow << int(State::MasterKeyMissing);
            QTest::addRow("wrong, %s", with)
                << filled('w') << checkRow << int(State::MasterKeyWrong);
            QTest::addRow("damaged, %s", with)
                << QByteArray("") << checkRow << int(State::MasterKeyUnavailable);
        }
    }

    void withoutTheMasterKey()
    {
        QFETCH(const QByteArray, file);
        QFETCH(const bool, checkRow);
        QFETCH(const int, state);
        const QTemporaryDir directory;
        QByteArray made;
        {
            Account account(directory);
            made = account.store.secureKey(keyId, 1, true);
            if (!checkRow)
                QVERIFY(account.rows.remove(QStringLiteral("check"), QStringLiteral("master"), 1));
        }
        const QString keyPath = directory.filePath(QStringLiteral("master.key"));
        QVERIFY(QFile::rename(keyPath, keyPath + QStringLiteral(".away")));
        QFile other(keyPath);
        if (!file.isNull())
            QVERIFY(other.open(QIODevice::WriteOnly) && other.write(file) == file.size());
        other.close();

        Account account(directory);
        Store &store = account.store;
        const QByteArray before = allBytes(account.rows);
        QVERIFY(store.secureKey(keyId, 1, true).isEmpty());
        QVERIFY(store.secureKey(keyId, 2, true).isEmpty());
        QVERIFY(!store.saveSecureKey(keyId, 2, made));
        QVERIFY(!store.saveUserKey({5}, made));
        QVERIFY(!store.saveChatKey(dialog, 1, made));
        QVERIFY(!store.updateUserInfo({5, {}, {}}));
        QVERIFY(store.getMissingChatKeys(dialog, least, most).empty());
        QCOMPARE(store.state(), State(state));
        QCOMPARE(store.open(), State(state));
        QCOMPARE(allBytes(account.rows), before);
        QCOMPARE(other.exists() ? other.size() : -1, file.isNull() ? -1 : file.size());

        // It comes back...
        QVERIFY(file.isNull() || other.remove());
        QVERIFY(QFile::rename(keyPath + QStringLiteral(".away"), keyPath));
        QCOMPARE(store.open(), State::Ready);
        QCOMPARE(QByteArray(store.secureKey(keyId, 1)), made);

        // ... or it never does.
        QVERIFY(QFile::remove(keyPath));
        QCOMPARE(store.open(), State::MasterKeyMissing);
        QVERIFY(store.removeAll());
        QCOMPARE(store.open(), State::Ready);
        QVERIFY(!store.containsSecureKey(keyId, 1));
        QCOMPARE(store.secureKey(keyId, 1, true).size(), 32);
    }

    void checkRowLost()
    {
        const QTemporaryDir directory;
        QByteArray made;
        {
            Account account(directory);
            made = account.store.secureKey(keyId, 1, true);
            QVERIFY(flipBit(account.rows, QStringLiteral("check"), QStringLiteral("master"), 1));
        }
        {
            Account account(directory);
            QCOMPARE(QByteArray(account.store.secureKey(keyId, 1)), made);
            QVERIFY(account.rows.remove(QStringLiteral("check"), QStringLiteral("master"), 1));
        }
        Account account(directory);
        QCOMPARE(QByteArray(account.store.secureKey(keyId, 1)), made);
        QVERIFY(account.rows.contains(QStringLiteral("check"), QStringLiteral("master"), 1));
    }

    void closedStorage()
    {
        const QTemporaryDir directory;
        Account account(directory);
        account.database->close();
        QVERIFY(account.store.secureKey(keyId, 1, true).isEmpty());
        QCOMPARE(account.store.state(), State::StorageUnavailable);
        // The account's id, and with it the database, may be known only later.
        QVERIFY(!QFile::exists(account.keyPath));
        QVERIFY(account.database->open(account.path));
        QCOMPARE(account.store.secureKey(keyId, 1, true).size(), 32);
        account.database->close();
        QVERIFY(account.store.secureKey(keyId, 2, true).isEmpty());
        QVERIFY(!account.store.removeAll());
    }

    void badKeys()
    {
        const QTemporaryDir directory;
        Account account(directory);
        Store &store = account.store;
        QVERIFY(!store.saveSecureKey(keyId, 1, filled('k').chopped(1)));
        QVERIFY(!store.saveUserKey({5}, {}));
        QVERIFY(!store.saveChatKey(dialog, 1, {}));
        QVERIFY(!store.saveChatKey(dialog, 1, QByteArray(4097, 'k')));
        QVERIFY(store.saveChatKey(dialog, 1, "k"));
        QVERIFY(store.saveSecureKey(keyId, 1, filled('k')));
        QVERIFY(store.saveSecureKey(keyId, 1, filled('k')));
        // What was encrypted under the first would be lost.
        QVERIFY(!store.saveSecureKey(keyId, 1, filled('o')));
        QCOMPARE(QByteArray(store.secureKey(keyId, 1)), filled('k'));
    }

    void missingChatKeys()
    {
        const QTemporaryDir directory;
        Account account(directory);
        Store &store = account.store;
        for (const int version : {most, 7, 2, 1, -1, least})
            QVERIFY(store.saveChatKey(dialog, version, QByteArray::number(version)));
        QVERIFY(store.saveChatKey(QStringLiteral("G-7"), 3, "another dialog"));

        const auto versions = [&](int from, int to) {
            QList<int> found;
            for (const ChatKey &key : store.getMissingChatKeys(dialog, from, to)) {
                if (QByteArray(key.key) == QByteArray::number(key.version))
                    found.append(key.version);
            }
            return found;
        };
        QCOMPARE(versions(1, most), QList<int>({1, 2, 7, most}));
        QCOMPARE(versions(least, most), QList<int>({least, -1, 1, 2, 7, most}));
        QCOMPARE(versions(2, 7), QList<int>({2, 7}));
        QCOMPARE(versions(3, 6), QList<int>());
        QCOMPARE(versions(7, 2), QList<int>());
    }

    void storesAtOnce()
    {
        // In memory where there is one: each key waits for the disk, and all wait for each other.
        const QString memory = QStringLiteral("/dev/shm");
        const QTemporaryDir directory((QFileInfo(memory).isWritable() ? memory : QDir::tempPath())
                                      + QStringLiteral("/tst_keystore-XXXXXX"));
        constexpr int count = 6;
        constexpr int keys = 400;
        std::barrier start(count);
        std::vector<std::vector<QByteArray>> made(count);
        Account shared(directory);
        {
            std::vector<std::jthread> threads;
            for (int t = 0; t < count; ++t) {
                threads.emplace_back([&, t] {
                    // Half of them through one store, half each as a process of its own would.
                    std::unique_ptr<Account> own;
                    if (t % 2 == 1)
                        own = std::make_unique<Account>(directory);
                    Store &store = own ? own->store : shared.store;
                    for (int i = 0; i < keys; ++i) {
                        start.arrive_and_wait();
                        made[t].push_back(store.secureKey(keyId, i, true));
                    }
                });
            }
        }
        Account later(directory);
        for (int i = 0; i < keys; ++i) {
            QCOMPARE(made[0][i].size(), 32);
            for (int t = 1; t < count; ++t)
                QCOMPARE(made[t][i], made[0][i]);
            QCOMPARE(QByteArray(later.store.secureKey(keyId, i)), made[0][i]);
        }
    }

    void keychainThatIsAsked_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("state");
        QTest::newRow("it has the key") << int(MasterKey::Status::Found) << int(State::Ready);
        QTest::newRow("it has none yet") << int(MasterKey::Status::None) << int(State::Ready);
        QTest::newRow("it stays locked")
            << int(MasterKey::Status::Unavailable) << int(State::MasterKeyUnavailable);
    }

    void keychainThatIsAsked()
    {
        QFETCH(const int, answer);
        QFETCH(const int, state);
        const QTemporaryDir directory;
        const auto keychain = std::make_shared<Keychain>(MasterKey::Status(answer));
        Account account(directory, {}, keychain);
        Store &store = account.store;
        QSemaphore opened;
        store.setOpenedHandler([&] { opened.release(); });

        // The main thread never waits, however often it asks ...
        for (int i = 0; i < 3; ++i) {
            QVERIFY(store.secureKey(keyId, 1, true).isEmpty());
            QVERIFY(!store.containsUserKey({5}));
            QVERIFY(!store.saveUserKey({5}, "key"));
        }
        QCOMPARE(store.state(), State::Opening);
        QCOMPARE(store.open(), State::Opening);
        QVERIFY(account.rows.allInfos().value().isEmpty());
        // ... and others wait for the same answer.
        QByteArray made;
        std::jthread worker([&] { made = store.secureKey(keyId, 1, true); });
        QTest::qSleep(50);
        QVERIFY(!opened.available());
        keychain->answer();
        worker.join();
        QVERIFY(opened.tryAcquire(1, patienceMs));
        QCOMPARE(store.state(), State(state));
        QCOMPARE(QByteArray(store.secureKey(keyId, 1)), made);
        QCOMPARE(made.size(), state == int(State::Ready) ? 32 : 0);
        QCOMPARE(keychain->questions.load(), 1);
        QCOMPARE(keychain->creations.load(), answer == int(MasterKey::Status::None) ? 1 : 0);
        // Asked again, it is asked in the background again.
        QCOMPARE(store.open(), State::Opening);
        keychain->answer();
        QVERIFY(opened.tryAcquire(1, patienceMs));
        QCOMPARE(store.state(), State(state));
    }

    void storeThatGoesWhileTheKeychainIsAsked()
    {
        const QTemporaryDir directory;
        const auto keychain = std::make_shared<Keychain>(MasterKey::Status::Found);
        QSemaphore opened;
        {
            Account account(directory, {}, keychain);
            account.store.setOpenedHandler([&] { opened.release(); });
            QCOMPARE(account.store.open(), State::Opening);
            QByteArray made;
            std::jthread worker([&] { made = account.store.secureKey(keyId, 1, true); });
            QTest::qSleep(50);
            // What was asked for the account before is no answer for the next one.
            account.store.close();
            keychain->answer();
            worker.join();
            QVERIFY(made.isEmpty());
            QVERIFY(opened.tryAcquire(1, patienceMs));
            QVERIFY(!account.store.saveUserKey({5}, "key"));
            QCOMPARE(account.store.state(), State::NotOpened);
            QCOMPARE(keychain->questions.load(), 1);
            account.store.reopen();
            QVERIFY(!account.store.containsUserKey({5}));
            QCOMPARE(account.store.state(), State::Opening);
        }
        keychain->answer();
        QVERIFY(opened.tryAcquire(1, patienceMs));
    }

    void kdf()
    {
        const auto derived = [](const char *key) {
            return QByteArray(Store::kdf(QByteArray::fromHex(key))).toHex();
        };
        // By another implementation: what is stored and sent must stay readable.
        QCOMPARE(derived("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"),
                 QByteArray("ccb2a06d8fd844117d0e009b6e4e040608b71dbe20408b649e4ea78dcd84e731"));
        QCOMPARE(derived("").size(), 0);
        QCOMPARE(derived("01").size(), 64);
    }

private:
    const QString secure = QStringLiteral("secure");
    const QString chat = QStringLiteral("chat");
};

QTEST_GUILESS_MAIN(TestKeyStore)
#include "tst_keystore.moc"
