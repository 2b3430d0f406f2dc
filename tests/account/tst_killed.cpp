#include "imlog/imlog.h"
#include "support/session.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <ctime>
#include <pthread.h>
#include <thread>
#include <unistd.h>

#if defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define SANITIZED
#    endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define SANITIZED
#endif

using namespace Qt::StringLiterals;
using session::Value;

namespace
{

bool isCrashing = false;

[[noreturn]] void fail()
{
    // In a crash every call fails, until the handler has ended the process.
    if (isCrashing)
        QThread::sleep(100);
    std::_Exit(2);
}

/// As a client's handler: closes, and ends the process. Its code tells whether that took long.
void handleCrash(int)
{
    timespec before{};
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    session::manager()->closeAllDbInCrash();
    clock_gettime(CLOCK_MONOTONIC, &after);
    const bool fast =
        (after.tv_sec - before.tv_sec) * 1'000'000'000LL + after.tv_nsec - before.tv_nsec
        < 1'000'000'000LL;
    _exit(fast ? 77 : 78);
}

/// Sends the process a signal at a random moment, to one of the threads, wherever it is.
void endSoon(int signal, const std::vector<pthread_t> &threads)
{
    std::thread([=] {
        QRandomGenerator random = QRandomGenerator::securelySeeded();
        QThread::usleep(random.bounded(40'000u));
        pthread_kill(threads[random.bounded(int(threads.size()))], signal);
    }).detach();
}

/// The process that is killed, or crashes: changes gather on the main thread, and are safe now and
/// then; what is safe as soon as the call returns is stored on another one.
int writeUntilKilled(bool crash)
{
    // Now and then before its stores are open.
    if (!crash && QRandomGenerator::securelySeeded().bounded(10) == 0)
        endSoon(SIGKILL, {pthread_self()});
    startApplication();
    FakeAccount *account = session::signIn(session::firstId);
    if (!account)
        return 1;
    std::map<const Value *, int> numbers; // the last of each
    for (const Value &value : session::values)
        numbers[&value] = value.read(*account);
    std::thread keys([account, numbers]() mutable {
        for (;;) {
            for (auto &[value, number] : numbers) {
                if (value->flush)
                    continue;
                if (!value->write(*account, ++number))
                    fail();
                session::say(session::firstId, value->name, number);
            }
            QThread::usleep(QRandomGenerator::global()->bounded(3000));
        }
    });
    std::vector<pthread_t> targets{pthread_self()};
    if (crash) {
        isCrashing = true;
        ImLog::info(u"start"_s);
        std::signal(SIGSEGV, handleCrash);
        targets.push_back(keys.native_handle());
        QSemaphore posted;
        ThreadManager::invoke(
            [&] {
                targets.push_back(pthread_self());
                posted.release();
            },
            true);
        posted.acquire();
    }
    endSoon(crash ? SIGSEGV : SIGKILL, targets);
    keys.detach();
    QRandomGenerator random = QRandomGenerator::securelySeeded();
    for (;;) {
        if (crash) {
            // Accounts come and go.
            FakeAccount other;
            other.setAccountId(3);
            other.openStorage(true);
        }
        for (auto &[value, number] : numbers) {
            if (value->flush)
                value->write(*account, ++number);
        }
        const int then = random.bounded(5);
        const bool quits = then == 2 && !crash; // which needs the save thread
        if (quits)
            ThreadManager::getInstance()->quitAll();
        for (const auto &[value, number] : numbers) {
            if (!value->flush || (then > 1 && !quits))
                continue;
            if (!quits && !value->flush(*account))
                fail();
            session::say(session::firstId, value->name, number);
        }
        if (quits)
            ThreadManager::getInstance()->init();
        if (then == 3) // the save thread has its turn
            QThread::usleep(random.bounded(3000));
    }
}

} // namespace

/// A process that is killed, or crashes, at any moment loses nothing that it was told is safe, and
/// leaves no store in a state that it never had.
class tst_Killed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void losesNothing_data();
    void losesNothing();

private:
    static void run(bool crash, QByteArray *output);
};

/// Runs a child to its end.
void tst_Killed::run(bool crash, QByteArray *output)
{
    QProcess child;
    if (!crash)
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QFile log(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + u"/log/im.log"_s);
    if (crash)
        log.remove();
    child.start(QCoreApplication::applicationFilePath(), {crash ? u"--crash"_s : u"--write"_s});
    QVERIFY2(child.waitForFinished(), "It hangs");
    *output = child.readAllStandardOutput();
    if (!crash) {
        QVERIFY2(child.exitStatus() == QProcess::CrashExit,
                 qPrintable(u"It ended by itself: %1"_s.arg(child.exitCode())));
        return;
    }
    QCOMPARE(child.exitCode(), 77);
    QVERIFY(log.open(QFile::ReadOnly));
    const QByteArray line = " info: AccountManager::closeAllDbInCrash\n";
    QVERIFY(log.readAll().contains(line));
    QVERIFY(child.readAllStandardError().contains(line));
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
    QTest::addColumn<bool>("crash");
    QTest::addRow("in the same stores, round after round") << 200 / divisor << false;
    QTest::addRow("by a crash on any thread") << 80 / divisor << true;
}

void tst_Killed::losesNothing()
{
    QFETCH(const int, rounds);
    QFETCH(const bool, crash);
    QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)).removeRecursively();
    session::Safe safe;
    int said = 0;
    // On a busy machine a process may be killed too early to have done anything.
    for (int round = 0; round < rounds || (said < 2 && round < 20 * rounds); ++round) {
        QByteArray output;
        run(crash, &output);
        if (QTest::currentTestFailed())
            return;
        said += session::addSaid(output, &safe);
        QCOMPARE(session::check(safe, [](QStringList *) {}), QString());
    }
    qInfo("Rounds: %d, acknowledged: %d", rounds, said);
    QVERIFY(said > 1);
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // The stores of an installed program stay as they are, and no keychain is asked.
    QStandardPaths::setTestModeEnabled(true);
    const QString mode = app.arguments().value(1);
    if (mode == u"--write"_s || mode == u"--crash"_s)
        return writeUntilKilled(mode == u"--crash"_s);
    tst_Killed test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_killed.moc"
