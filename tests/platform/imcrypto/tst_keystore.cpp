#include "imcrypto/store.h"

#include "storage/database_p.h"
#include "storage/keystorage.h"
#include "storage/keystorage_p.h"
#include "support/facts.h"
#include "support/files.h"
#include "support/sequences.h"

#include <QDir>
#include <QFileInfo>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <barrier>
#include <limits>
#include <map>
#include <thread>
#include <tuple>

using namespace Qt::StringLiterals;

using namespace crypto;
using State = Store::State;

namespace
{

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

const QString keyId = u"profile/7"_s;
const QString dialog = u"C-3-5"_s;

QByteArray filled(char byte)
{
    return QByteArray(32, byte);
}

/// An account's directory, as a start of the program finds it.
struct Account {
    explicit Account(const QTemporaryDir &directory, std::shared_ptr<MasterKey> source = nullptr)
        : path(directory.filePath(u"account.db"_s)), keyPath(directory.filePath(u"master.key"_s)),
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

/// In memory where that can be: each key waits for the disk.
QString newDirectory()
{
    const QString memory = u"/dev/shm"_s;
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) + u"/tst_keystore-XXXXXX"_s;
}

/// Where a key lies: the kind of its row, its id and version.
using Place = std::tuple<QString, QString, int>;
/// An empty one does not open.
using Keys = std::map<Place, QByteArray>;

const QString secure = u"secure"_s;
const QString user = u"user"_s;
const QString chat = u"chat"_s;

const std::vector<Place> places = [] {
    std::vector<Place> all;
    for (const QString &line : facts(u"places.txt"_s)) {
        const QStringList columns = line.split(u'\t');
        all.emplace_back(columns[0], columns[1], columns[2].toInt());
    }
    return all;
}();

UserAddress address(const QString &id)
{
    const QStringList parts = id.split(u'.');
    return {parts[0].toLongLong(), parts[1].toInt(), parts[2].toInt()};
}

bool save(Store &store, const Place &place, const QByteArray &key)
{
    const auto &[kind, id, version] = place;
    return kind == user ? store.saveUserKey(address(id), key)
        : kind == chat  ? store.saveChatKey(id, version, key)
                        : store.saveSecureKey(id, version, key);
}

QByteArray read(Store &store, const Place &place)
{
    const auto &[kind, id, version] = place;
    const QByteArray key(kind == user       ? store.userKey(address(id))
                             : kind == chat ? store.chatKey(id, version)
                                            : store.secureKey(id, version));
    const bool isThere = kind == user ? store.containsUserKey(address(id))
        : kind == chat                ? !key.isEmpty()
                                      : store.containsSecureKey(id, version);
    return isThere == key.isEmpty() ? "it is said to be there" : key;
}

const UserInfo owner{std::numeric_limits<qint64>::max(), u"5550100"_s, u"49"_s};

} // namespace

class TestKeyStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    /// Keys of every kind, over starts that find rows damaged and the master key gone.
    void likeTheModel()
    {
        runSequences("Keys", 40, 60, [this](Sequence &sequence) {
            const QTemporaryDir directory(newDirectory());
            auto account = std::make_unique<Account>(directory);
            QVERIFY(account->store.updateUserInfo(owner)); // a row that always opens
            Keys keys;
            while (sequence.next()) {
                const Place place = sequence.pick(places);
                const auto &[kind, id, version] = place;
                sequence.note(u"%1 %2 %3"_s.arg(kind, id).arg(version));
                if (sequence.chance(20)) {
                    account.reset();
                    if (sequence.chance(25))
                        startWithoutMasterKey(directory, keys, sequence);
                    else
                        damage(directory, keys, sequence);
                    account = std::make_unique<Account>(directory);
                    QCOMPARE(account->store.state(), State::NotOpened);
                } else if (kind == secure && sequence.chance(50)) {
                    const QByteArray made = account->store.secureKey(id, version, true);
                    QVERIFY(keys.contains(place) || made.size() == 32);
                    keys.try_emplace(place, made);
                    QCOMPARE(made, keys[place]);
                } else {
                    const int size = sequence.pick(QList{0, 1, 31, 32, 4096, 4097});
                    const QByteArray key(size, char('a' + sequence.below(2)));
                    const QByteArray before = keys.contains(place) ? keys[place] : QByteArray();
                    // What was encrypted under the first one would be lost.
                    const bool isGood = size >= (kind == secure ? 32 : 1) && size <= 4096
                        && (kind == user || before.isEmpty() || before == key);
                    QCOMPARE(save(account->store, place, key), isGood);
                    if (isGood)
                        keys[place] = key;
                }
                compare(account->store, keys, sequence);
            }
        });
    }

    void nothingLegibleOnDisk()
    {
        const QTemporaryDir directory;
        Account account(directory);
        const QByteArray made = account.store.secureKey(keyId, 1, true);
        QVERIFY(account.store.saveChatKey(dialog, 1, filled('c')));
        QVERIFY(account.store.saveUserKey({5}, filled('u')));
        QVERIFY(account.store.updateUserInfo({5, u"5550100"_s, u"49"_s}));

        const auto expectSealed = [&](const QString &path) {
            const QByteArray bytes = contents(path);
            QVERIFY(bytes.contains(dialog.toLatin1())); // the rows are in this file
            for (const QByteArray &secret : {made.left(8), QByteArray("cccccccc"),
                                             QByteArray("uuuuuuuu"), QByteArray("5550100")})
                QVERIFY(!bytes.contains(secret) && !bytes.contains(secret.toHex())
                        && !bytes.contains(secret.toBase64().chopped(2)));
        };
        expectSealed(account.path + u"-wal"_s);
        account.database->close();
        expectSealed(account.path);
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
        QVERIFY(account.store.secureKey(keyId, 2, true).isEmpty() && !account.store.removeAll());
    }

    void storesAtOnce()
    {
        const QTemporaryDir directory(newDirectory());
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

    void keychainThatIsAsked()
    {
        using Status = MasterKey::Status;
        for (const auto &[answer, state] : {std::pair(Status::Found, State::Ready),
                                            {Status::None, State::Ready},
                                            {Status::Unavailable, State::MasterKeyUnavailable}}) {
            const QTemporaryDir directory;
            const auto keychain = std::make_shared<Keychain>(answer);
            Account account(directory, keychain);
            Store &store = account.store;
            QSemaphore opened;
            store.setOpenedHandler([&] { opened.release(); });

            // The main thread never waits, however often it asks ...
            for (int i = 0; i < 3; ++i) {
                QVERIFY(store.secureKey(keyId, 1, true).isEmpty());
                QVERIFY(!store.containsUserKey({5}) && !store.saveUserKey({5}, "key"));
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
            QCOMPARE(store.state(), state);
            QCOMPARE(QByteArray(store.secureKey(keyId, 1)), made);
            QCOMPARE(made.size(), state == State::Ready ? 32 : 0);
            QCOMPARE(keychain->questions.load(), 1);
            QCOMPARE(keychain->creations.load(), answer == Status::None ? 1 : 0);
            // Asked again, it is asked in the background again.
            QCOMPARE(store.open(), State::Opening);
            keychain->answer();
            QVERIFY(opened.tryAcquire(1, patienceMs));
            QCOMPARE(store.state(), state);
        }
    }

    void storeThatGoesWhileTheKeychainIsAsked()
    {
        const QTemporaryDir directory;
        const auto keychain = std::make_shared<Keychain>(MasterKey::Status::Found);
        QSemaphore opened;
        {
            Account account(directory, keychain);
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
    /// The file of the master key is lost, another one's or damaged: nothing opens, no row changes.
    static void startWithoutMasterKey(const QTemporaryDir &directory, Keys &keys,
                                      Sequence &sequence)
    {
        Account account(directory);
        Store &store = account.store;
        QVERIFY(sequence.chance(50) || account.rows.remove(u"check"_s, u"master"_s, 1));
        const QByteArray bytes = allBytes(account.rows);
        const QString away = account.keyPath + u".away"_s;
        QVERIFY(QFile::rename(account.keyPath, away));
        const auto &[file, state] =
            sequence.pick(QList{std::pair(QByteArray(), State::MasterKeyMissing),
                                {filled('w'), State::MasterKeyWrong},
                                {QByteArray(""), State::MasterKeyUnavailable}});
        QVERIFY(file.isNull() || write(account.keyPath, file));
        sequence.note(u"start in state %1"_s.arg(int(state)));

        for (const Place &place : places) {
            QVERIFY(!save(store, place, filled('k')) && read(store, place).isEmpty());
            QVERIFY(store.secureKey(std::get<1>(place), 2, true).isEmpty());
        }
        QVERIFY(!store.updateUserInfo(owner) && !store.userInfo());
        QVERIFY(store.getMissingChatKeys(dialog, least, most).empty());
        QCOMPARE(store.state(), state);
        QCOMPARE(store.open(), state);
        QCOMPARE(allBytes(account.rows), bytes);
        QCOMPARE(contents(account.keyPath), file);

        QVERIFY(file.isNull() || QFile::remove(account.keyPath));
        if (sequence.chance(50)) { // the key comes back
            QVERIFY(QFile::rename(away, account.keyPath));
            QCOMPARE(store.open(), State::Ready);
        } else {
            QCOMPARE(store.open(), State::MasterKeyMissing);
            QVERIFY(store.removeAll());
            keys.clear();
            QCOMPARE(store.open(), State::Ready);
            QVERIFY(store.updateUserInfo(owner) && QFile::remove(away));
        }
    }

    /// What a start may find: a row changed, or in another one's place; the check row lost.
    static void damage(const QTemporaryDir &directory, Keys &keys, Sequence &sequence)
    {
        Account account(directory);
        const auto infos = account.rows.allInfos();
        storage::KeyInfo row = sequence.pick(infos.value());
        Place place{row.kind, row.id, row.version};
        const int kind = sequence.below(4);
        sequence.note(u"start %1"_s.arg(kind));
        if (kind == 0) {
            QVERIFY(account.rows.remove(u"check"_s, u"master"_s, 1));
            QCOMPARE(account.store.open(), State::Ready);
            QVERIFY(account.rows.contains(u"check"_s, u"master"_s, 1));
        } else if (kind == 1 && row.kind != u"info") {
            ++row.value.data()[20];
            QVERIFY(account.rows.save(row));
            if (row.kind != u"check")
                keys[place] = QByteArray();
        } else if (kind == 2) {
            const Place other = sequence.chance(50)
                ? Place(row.kind == chat ? secure : chat, row.id, row.version)
                : sequence.pick(places);
            if (other == place)
                return;
            const auto &[otherKind, id, version] = other;
            QVERIFY(account.rows.save({otherKind, id, version, row.value}));
            keys[other] = QByteArray();
        }
    }

    static void compare(Store &store, const Keys &keys, Sequence &sequence)
    {
        const int from = sequence.pick(QList{least, -1, 1, 2, 8});
        const int to = sequence.pick(QList{most, 7, 6, 2});
        QList<std::pair<int, QByteArray>> expected;
        for (const Place &place : places) {
            const auto found = keys.find(place);
            const QByteArray key = found == keys.end() ? QByteArray() : found->second;
            QCOMPARE(read(store, place), key);
            const auto &[kind, id, version] = place;
            if (kind == chat && id == dialog && version >= from && version <= to && !key.isEmpty())
                expected.prepend({version, key});
        }
        QList<std::pair<int, QByteArray>> missing;
        for (const ChatKey &key : store.getMissingChatKeys(dialog, from, to))
            missing.append({key.version, QByteArray(key.key)});
        QCOMPARE(missing, expected);
        QCOMPARE(store.state(), State::Ready);
        QVERIFY(store.userInfo() == owner);
    }
};

QTEST_GUILESS_MAIN(TestKeyStore)
#include "tst_keystore.moc"
