#include "account/threadmanager.h"
#include "dialog/datainfomodel.h"
#include "imcrypto/store.h"
#include "imlog/imlog.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMap>
#include <QProcess>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QStandardPaths>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <thread>
#include <utility>
#include <vector>

#ifdef Q_OS_UNIX
#    include <csignal>
#    include <ctime>
#    include <pthread.h>
#    include <unistd.h>
#endif

#if defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define SANITIZED
#    endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define SANITIZED
#endif

using namespace Qt::StringLiterals;

namespace
{

// What the process that is killed writes, and its parent looks for afterwards. Everything carries a
// number that only ever grows, also from one process to the next.

constexpr int rowCount = 12;  // of each store, written in this order by every step
constexpr int slotCount = 16; // of the ranges: each step saves one and removes another

/// As long as no other near it, so that a torn value shows.
QByteArray bytesOf(qint64 number)
{
    return QByteArray::number(number) + QByteArray(32 + int(number % 300), '.');
}

/// 0 where nothing is stored, -1 for what was never written.
qint64 numberOf(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return 0;
    const qint64 number = bytes.left(bytes.indexOf('.')).toLongLong();
    return bytes == bytesOf(number) ? number : -1;
}

QString rowKey(int row)
{
    return u"row/%1"_s.arg(row);
}

QString slotKey(qint64 number)
{
    return u"slot/%1"_s.arg(number % slotCount);
}

/// The machine-wide settings and two accounts, as a client has them open.
class Stores
{
public:
    Stores()
    {
        AppSettingModel::instance()->loadGlobalData();
        for (int i = 0; i < 2; ++i) {
            accounts[i].setAccountId(i + 1);
            m_open = accounts[i].openStorage(true) && m_open;
        }
        m_open = m_open && AppSettingModel::instance()->globalStorage()->isOpen();
    }
    ~Stores()
    {
        for (FakeAccount &account : accounts)
            account.closeStorage();
        AppSettingModel::releaseInstance();
    }
    Q_DISABLE_COPY_MOVE(Stores)

    bool isOpen() const { return m_open; }

    void write(qint64 number)
    {
        for (int row = 0; row < rowCount; ++row) {
            AppSettingModel::instance()->setValue(rowKey(row), bytesOf(number), true);
            for (FakeAccount &account : accounts) {
                account.accountSettingModel()->setValue(rowKey(row), bytesOf(number), true);
                account.dataInfoModel()->saveMissRange(rowKey(row), bytesOf(number));
            }
        }
        for (FakeAccount &account : accounts) {
            account.dataInfoModel()->saveMissRange(slotKey(number), bytesOf(number));
            account.dataInfoModel()->removeMissRange(slotKey(number + slotCount / 2));
        }
    }
    static constexpr int writesInStep = 5 * rowCount + 2 * 2;

    bool flush()
    {
        bool flushed = AppSettingModel::instance()->flush();
        for (FakeAccount &account : accounts) {
            flushed = account.accountSettingModel()->flush() && flushed;
            flushed = account.dataInfoModel()->flush() && flushed;
        }
        return flushed;
    }

    std::array<FakeAccount, 2> accounts;

private:
    bool m_open = true;
};

// The process that is killed. On its standard output it says, a line each, what it begins ("step
// 7", "keys 7") and what it has been told is safe: "settled 7", and "stored 7" with the keys that
// the stores made.

void say(const char *what, qint64 number, const QByteArray &keys = {})
{
    // In one call: two threads speak.
    std::printf("%s %lld %s\n", what, static_cast<long long>(number), keys.constData());
    std::fflush(stdout);
}

AccountManager *crashing = nullptr;

[[noreturn]] void fail()
{
    // In a crash every call fails, until the handler has ended the process.
    if (crashing)
        QThread::sleep(100);
    std::_Exit(2);
}

/// What is safe as soon as the call returns, from a thread that is not the main one.
void storeKeys(Stores &stores, qint64 number)
{
    for (;; ++number) {
        say("keys", number);
        QByteArray made;
        for (FakeAccount &account : stores.accounts) {
            crypto::Store *store = account.signalStore();
            if (!store->saveUserKey({7, 1, 1}, bytesOf(number))
                || !store->saveChatKey(u"G-1"_s, int(number), bytesOf(number)))
                fail();
            const QByteArray key = store->secureKey(u"id%1"_s.arg(number), 1, true);
            account.dataInfoModel()->saveContactsOffset(number);
            if (key.isEmpty() || !account.dataInfoModel()->flush())
                fail();
            made += key.toHex();
        }
        say("stored", number, made);
        QThread::usleep(QRandomGenerator::global()->bounded(3000));
    }
}
constexpr int writesWithKeys = 2 * 4;

#ifdef Q_OS_UNIX

/// As a client's handler: closes, and ends the process. Its code tells whether that took long.
void handleCrash(int)
{
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    crashing->closeAllDbInCrash();
    clock_gettime(CLOCK_MONOTONIC, &after);
    const bool fast =
        (after.tv_sec - before.tv_sec) * 1'000'000'000LL + after.tv_nsec - before.tv_nsec
        < 1'000'000'000LL;
    _exit(fast ? 77 : 78);
}

/// Has one of the threads crash at a random moment, wherever it is.
void crashSoon(const std::vector<pthread_t> &threads)
{
    QRandomGenerator random = QRandomGenerator::securelySeeded();
    QThread::usleep(random.bounded(40'000u));
    pthread_kill(threads[random.bounded(int(threads.size()))], SIGSEGV);
}

#endif

int writeUntilKilled(qint64 number, bool crash)
{
    Stores stores;
    if (!stores.isOpen())
        return 1;
    ThreadManager *threads = ThreadManager::getInstance();
    threads->init();
    std::thread keys(storeKeys, std::ref(stores), number);
#ifdef Q_OS_UNIX
    if (crash) {
        crashing = AccountManager::getInstance();
        ImLog::info(u"start"_s);
        std::signal(SIGSEGV, handleCrash);
        std::vector<pthread_t> targets{pthread_self(), keys.native_handle()};
        QSemaphore posted;
        ThreadManager::invoke(
            [&] {
                targets.push_back(pthread_self());
                posted.release();
            },
            true);
        posted.acquire();
        std::thread(crashSoon, targets).detach();
    }
#endif
    say("ready", 0);
    keys.detach();
    QRandomGenerator random = QRandomGenerator::securelySeeded();
    for (;; ++number) {
        if (crash) {
            // Accounts come and go.
            FakeAccount account;
            account.setAccountId(3);
            account.openStorage(true);
        }
        say("step", number);
        stores.write(number);
        switch (random.bounded(5)) {
        case 0:
        case 1:
            if (!stores.flush())
                fail();
            say("settled", number);
            break;
        case 2:
            if (crash) // it holds the save thread's handle
                break;
            threads->quitAll();
            say("settled", number);
            threads->init();
            break;
        case 3: // the save thread has its turn
            QThread::usleep(random.bounded(3000));
            break;
        default: // changes gather
            break;
        }
    }
}

/// What a killed process had said.
struct Said {
    qint64 step = 0; // the last one begun, and so on
    qint64 settled = 0;
    qint64 keys = 0;
    qint64 stored = 0;
    QMap<qint64, QByteArray> made;
    int writes = 0; // that were acknowledged

    explicit Said(const QByteArray &output)
    {
        int unsettled = 0; // writes
        // What follows the last line feed is half a line.
        for (const QByteArray &line : output.left(output.lastIndexOf('\n')).split('\n')) {
            const QList<QByteArray> words = line.split(' ');
            const qint64 number = words.value(1).toLongLong();
            if (words.first() == "step") {
                step = number;
                unsettled += Stores::writesInStep;
            } else if (words.first() == "settled") {
                writes += std::exchange(unsettled, 0);
                settled = number;
            } else if (words.first() == "keys") {
                keys = number;
            } else if (words.first() == "stored") {
                stored = number;
                made.insert(number, words.value(2));
                writes += writesWithKeys;
            }
        }
    }
};

} // namespace

/// A process that is killed, or crashes, at any moment loses nothing that it was told is safe, and
/// leaves no store in a state that it never had.
class tst_Killed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { wipe(); }
    void losesNothing_data();
    void losesNothing();

private:
    void wipe();
    void run(bool fromStart, bool crash, QByteArray &output);
    void checkFiles(const Stores &stores);
    void checkSteps(Stores &stores, const Said &said);
    void checkKeys(Stores &stores, const Said &said);
    void expect(bool holds, int &count, const QString &what);

    qint64 m_first = 1; // number of the round
    Said m_before{{}};  // what earlier rounds settled in the same stores
    qint64 m_startMicroseconds = 20'000;
    qint64 m_acknowledged = 0;
    int m_lost = 0;
    int m_torn = 0; // neither a state from before a change nor one from after it
};

void tst_Killed::wipe()
{
    QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)).removeRecursively();
    m_before = Said({});
}

void tst_Killed::expect(bool holds, int &count, const QString &what)
{
    if (holds)
        return;
    if (++count <= 10)
        qWarning().noquote() << what;
}

/// Runs a child and kills it, `fromStart` at a moment that may be before its stores are open.
void tst_Killed::run(bool fromStart, bool crash, QByteArray &output)
{
    QProcess child;
    if (!crash)
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QFile log(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + u"/log/im.log"_s);
    if (crash)
        log.remove();
    QElapsedTimer timer;
    timer.start();
    child.start(QCoreApplication::applicationFilePath(),
                {crash ? u"--crash"_s : u"--write"_s, QString::number(m_first)});
    QVERIFY(child.waitForStarted());
    if (crash) {
        const bool ended = child.waitForFinished();
        QVERIFY2(ended, "It hangs in its crash");
        QCOMPARE(child.exitCode(), 77);
        output = child.readAllStandardOutput();
        QVERIFY(log.open(QFile::ReadOnly));
        const QByteArray line = " info: AccountManager::closeAllDbInCrash\n";
        QVERIFY(log.readAll().contains(line));
        QVERIFY(child.readAllStandardError().contains(line));
        return;
    }
    auto *random = QRandomGenerator::global();
    if (fromStart) {
        QThread::usleep(random->bounded(quint32(m_startMicroseconds * 3 / 2)));
    } else {
        QVERIFY(child.waitForReadyRead());
        m_startMicroseconds = timer.nsecsElapsed() / 1000;
        QThread::usleep(random->bounded(40'000u));
    }
    child.kill();
    QVERIFY(child.waitForFinished());
    QVERIFY2(child.exitStatus() == QProcess::CrashExit,
             qPrintable(u"It ended by itself: %1"_s.arg(child.exitCode())));
    output = child.readAllStandardOutput();
}

void tst_Killed::checkFiles(const Stores &stores)
{
    const auto *global = AppSettingModel::instance()->globalStorage();
    QVERIFY(!global->recovered());
    QStringList files = {global->filePath()};
    for (const FakeAccount &account : stores.accounts) {
        QVERIFY(!account.storage()->recovered());
        files.append(account.storage()->filePath());
    }
    for (const QString &file : files) {
        SQLite::Database database(file.toStdString());
        QCOMPARE(database.execAndGet("PRAGMA integrity_check").getString(), std::string("ok"));
    }
}

void tst_Killed::checkSteps(Stores &stores, const Said &said)
{
    const qint64 settled = std::max(said.settled, m_before.settled);
    const qint64 begun = std::max(said.step, m_before.step);
    const auto check = [&](const QString &store, auto read) {
        std::vector<qint64> rows;
        for (int row = 0; row < rowCount; ++row) {
            rows.push_back(read(rowKey(row)));
            expect(
                rows.back() >= settled, m_lost,
                u"%1, row %2: %3 was settled, %4 is there"_s.arg(store).arg(row).arg(settled).arg(
                    rows.back()));
            expect(rows.back() <= begun, m_torn, u"%1: %2 came too early"_s.arg(store).arg(begun));
        }
        // Changes become durable in their order: the first rows may be one step ahead.
        expect(std::is_sorted(rows.crbegin(), rows.crend())
                   && (rows.front() - rows.back() <= 1
                       || (rows.back() < m_first && rows.front() <= m_first)),
               m_torn,
               u"%1 is torn: %2 in the first row, %3 in the last"_s.arg(store)
                   .arg(rows.front())
                   .arg(rows.back()));
    };
    check(u"settings"_s, [](const QString &key) {
        return numberOf(AppSettingModel::instance()->getValue(key, {}).toByteArray());
    });
    for (FakeAccount &account : stores.accounts) {
        check(u"settings of %1"_s.arg(account.accountId()), [&](const QString &key) {
            return numberOf(account.accountSettingModel()->getValue(key, {}).toByteArray());
        });
        const DataInfoModel *ranges = account.dataInfoModel();
        check(u"ranges of %1"_s.arg(account.accountId()),
              [&](const QString &key) { return numberOf(ranges->missRange(key)); });
        // What steps of this round saved and no later one may have removed or replaced, and what
        // they removed.
        for (qint64 number = std::max(m_first, begun - slotCount / 2 + 1); number <= said.settled;
             ++number)
            expect(numberOf(ranges->missRange(slotKey(number))) == number, m_lost,
                   u"range %1 is lost"_s.arg(number));
        for (qint64 number = std::max(m_first, begun - slotCount / 2 + 1); number <= said.settled;
             ++number)
            expect(ranges->missRange(slotKey(number + slotCount / 2)).isEmpty(), m_lost,
                   u"the removal of range %1 is lost"_s.arg(number));
    }
}

/// All that was said, in this round or in all of them.
void tst_Killed::checkKeys(Stores &stores, const Said &said)
{
    const qint64 stored = std::max(said.stored, m_before.stored);
    const qint64 begun = std::max(said.keys, m_before.keys);
    const auto isBetween = [&](qint64 number) { return number >= stored && number <= begun; };
    for (int i = 0; i < 2; ++i) {
        crypto::Store *store = stores.accounts[i].signalStore();
        expect(isBetween(numberOf(store->userKey({7, 1, 1}))), m_lost,
               u"user key %1 is lost"_s.arg(stored));
        expect(isBetween(stores.accounts[i].dataInfoModel()->contactsOffset()), m_lost,
               u"contacts offset %1 is lost"_s.arg(stored));
        QMap<qint64, QByteArray> chatKeys;
        for (const auto &[version, key] : store->getMissingChatKeys(
                 u"G-1"_s, said.made.isEmpty() ? 0 : int(said.made.firstKey()), int(begun)))
            chatKeys.insert(version, key);
        for (auto made = said.made.cbegin(); made != said.made.cend(); ++made) {
            expect(chatKeys.value(made.key()) == bytesOf(made.key()), m_lost,
                   u"chat key %1 is lost"_s.arg(made.key()));
            const QByteArray key =
                QByteArray(store->secureKey(u"id%1"_s.arg(made.key()), 1)).toHex();
            expect(key.size() == 64 && made->mid(i * 64, 64) == key, m_lost,
                   u"secure key %1 is lost"_s.arg(made.key()));
        }
    }
}

void tst_Killed::losesNothing_data()
{
#ifdef SANITIZED
    constexpr int divisor = 4; // a process starts slowly then
    qInfo("Fewer rounds under a sanitizer");
#else
    constexpr int divisor = 1;
#endif
    QTest::addColumn<int>("rounds");
    QTest::addColumn<bool>("anew");
    QTest::addColumn<bool>("crash");
    QTest::addRow("in stores that are being made") << 24 / divisor << true << false;
    QTest::addRow("in the same stores, round after round") << 200 / divisor << false << false;
#ifdef Q_OS_UNIX
    QTest::addRow("by a crash on any thread") << 80 / divisor << false << true;
#endif
}

void tst_Killed::losesNothing()
{
    QFETCH(const int, rounds);
    QFETCH(const bool, anew);
    QFETCH(const bool, crash);
    m_acknowledged = 0;
    m_lost = 0;
    m_torn = 0;
    wipe();
    // On a busy machine a process may be killed too early to have done anything.
    const auto isMissing = [&](int round) { return m_acknowledged == 0 && round < 20 * rounds; };
    for (int round = 0; round < rounds || isMissing(round); ++round) {
        if (anew)
            wipe();
        QByteArray output;
        run(anew ? round % 8 != 0 : round % 4 == 3, crash, output);
        if (QTest::currentTestFailed())
            return;
        const Said said(output);
        Stores stores;
        QVERIFY(stores.isOpen());
        checkFiles(stores);
        checkSteps(stores, said);
        checkKeys(stores, said);
        if (QTest::currentTestFailed())
            return;
        m_acknowledged += said.writes;
        m_before.settled = std::max(m_before.settled, said.settled);
        m_before.step = std::max(m_before.step, said.step);
        m_before.stored = std::max(m_before.stored, said.stored);
        m_before.keys = std::max(m_before.keys, said.keys);
        m_before.made.insert(said.made);
        m_first = std::max(m_before.step, m_before.keys) + 1;
    }
    {
        Stores stores;
        checkKeys(stores, m_before);
    }
    qInfo("Rounds: %d, writes acknowledged: %lld, lost: %d, torn: %d", rounds,
          static_cast<long long>(m_acknowledged), m_lost, m_torn);
    QVERIFY(m_acknowledged > 0);
    QCOMPARE(m_lost, 0);
    QCOMPARE(m_torn, 0);
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // The stores of an installed program stay as they are, and no keychain is asked.
    QStandardPaths::setTestModeEnabled(true);
    const QStringList arguments = app.arguments();
    const QString mode = arguments.value(1);
    if (mode == "--write"_L1 || mode == "--crash"_L1)
        return writeUntilKilled(arguments.value(2).toLongLong(), mode == "--crash"_L1);
    tst_Killed test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_killed.moc"
