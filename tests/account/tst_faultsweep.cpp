#include "account/threadmanager.h"
#include "dialog/datainfomodel.h"
#include "imcrypto/store.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdatamove.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"
#include "support/mediatree.h"
#include "support/sequences.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdio>
#include <numeric>
#include <set>

using namespace Qt::StringLiterals;

// A session on a disk that goes wrong at one call (see support/faultdisk.cpp), once for each call
// and way. What the session was told is safe is there at the next start, on a sound disk.

namespace
{

// The first stays; the second comes and leaves during the session.
const QList<qint64> ids = {10001, 10002};
constexpr int steps = 10;
constexpr int comes = 2;  // before the media are moved
constexpr int resets = 7; // all settings, and stays signed in
constexpr int leaves = 9;
const QStringList kinds = {u"cut"_s, u"torn"_s, u"fail"_s, u"gone"_s, u"full"_s, u"short"_s};

QString place(const QString &name)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u'/' + name;
}

QByteArray bytesOf(int number)
{
    return QByteArray::number(number) + QByteArray(400 * number, '.');
}

int numberOf(const QByteArray &bytes)
{
    const int number = bytes.left(bytes.indexOf('.')).toInt();
    return bytes.isEmpty() ? 0 : bytes == bytesOf(number) ? number : -1;
}

using Account = FakeAccount;

AccountManager *manager()
{
    return AccountManager::getInstance();
}

AppSettingModel *settings()
{
    return AppSettingModel::instance();
}

void start()
{
    ThreadManager::getInstance()->init();
    settings()->loadGlobalData();
    manager()->init([](QObject *parent) { return new FakeAccount(parent); });
}

void stop()
{
    manager()->waitForFinished();
    AccountManager::releaseInstance();
    ThreadManager::getInstance()->quitAll();
    AppSettingModel::releaseInstance();
}

QString photos(const QString &root, qint64 id)
{
    return u"%1/%2/photo"_s.arg(root).arg(id);
}

/// One thing that the session stores, with a number that grows.
struct Value {
    const char *name;
    bool (*store)(Account *, int number); // true once it is safe
    int (*read)(Account *);               // -1 for what was never stored
};

const Value values[] = {
    {"setting",
     [](Account *, int number) {
         settings()->setValue(u"sweep"_s, bytesOf(number), true);
         return settings()->flush();
     },
     [](Account *) { return numberOf(settings()->getValue(u"sweep"_s, {}).toByteArray()); }},
    {"account setting",
     [](Account *account, int number) {
         account->accountSettingModel()->setValue(u"sweep"_s, bytesOf(number), true);
         return account->accountSettingModel()->flush();
     },
     [](Account *account) {
         return numberOf(account->accountSettingModel()->getValue(u"sweep"_s, {}).toByteArray());
     }},
    {"range",
     [](Account *account, int number) {
         account->dataInfoModel()->saveMissRange(u"sweep"_s, bytesOf(number));
         return account->dataInfoModel()->flush();
     },
     [](Account *account) { return numberOf(account->dataInfoModel()->missRange(u"sweep"_s)); }},
    {"user key",
     [](Account *account, int number) {
         return account->signalStore()->saveUserKey({7, 1, 1}, bytesOf(number));
     },
     [](Account *account) {
         return numberOf(account->signalStore()->userKey({7, 1, 1}));
     }},
    {"chat key",
     [](Account *account, int number) {
         return account->signalStore()->saveChatKey(u"G-1"_s, number, bytesOf(number));
     },
     [](Account *account) {
         for (int number = steps; number > 0; --number) {
             if (const QByteArray key = account->signalStore()->chatKey(u"G-1"_s, number);
                 !key.isEmpty())
                 return numberOf(key) == number ? number : -1;
         }
         return 0;
     }},
    {"secure key",
     [](Account *account, int number) {
         return !account->signalStore()->secureKey(u"key"_s, number, true).isEmpty();
     },
     [](Account *account) {
         int number = steps;
         while (number > 0 && !account->signalStore()->containsSecureKey(u"key"_s, number))
             --number;
         return number;
     }},
};

void say(qint64 id, const char *what, int number)
{
    std::printf("%lld %s %d\n", id, what, number);
    std::fflush(stdout);
}

void signIn(qint64 id)
{
    manager()->addAccount();
    auto *account = static_cast<Account *>(manager()->loginAccount());
    if (account && account->signIn(id) && settings()->flush())
        say(id, "account", 1);
}

Account *listed(qint64 id)
{
    return static_cast<Account *>(manager()->getAccount(id));
}

/// The process whose disk goes wrong: two accounts sign in and store, one leaves, and the media are
/// moved, and moved back, in the midst of it. A line for each value that is safe.
int session()
{
    const QString home = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    start();
    signIn(ids.first());
    for (int number = 1; number <= steps; ++number) {
        if (number == comes)
            signIn(ids.last());
        if (number == resets) {
            for (qint64 id : ids)
                say(id, "setting", 0);
            settings()->reset();
        }
        if (number == leaves) {
            say(ids.last(), "leaves", 1);
            manager()->logout(listed(ids.last()));
            if (settings()->flush())
                say(ids.last(), "left", 1);
        }
        for (qint64 id : ids) {
            for (const Value &value : values) {
                if (Account *account = listed(id); account && value.store(account, number))
                    say(id, value.name, number);
            }
        }
        if ((number == 2 && manager()->appDataMove()->moveTo(place(u"target"_s)))
            || (number == 6 && manager()->appDataMove()->moveTo(home))) {
            if (!QTest::qWaitFor([] { return !manager()->appDataMove()->running(); }, 60'000))
                return 3;
        }
    }
    stop();
    return 0;
}

/// Runs a session; true when it ended as it should.
bool runSession(const QString &kind, int at, unsigned seed, QByteArray *output)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LD_PRELOAD"_s, QStringLiteral(FAULTDISK));
    environment.insert(u"FAULT_ROOT"_s, place({}));
    environment.insert(u"FAULT_KIND"_s, kind);
    environment.insert(u"FAULT_AT"_s, QString::number(at));
    environment.insert(u"FAULT_SEED"_s, QString::number(seed));
    environment.insert(u"FAULT_COUNT"_s, place(u"../calls"_s));
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), {u"--session"_s});
    const bool ended = child.waitForFinished(60'000) && child.exitStatus() == QProcess::NormalExit
        && (child.exitCode() == 0 || child.exitCode() == 99);
    *output = child.readAllStandardOutput();
    if (!ended)
        qWarning().noquote() << child.exitCode() << child.readAllStandardError();
    return ended;
}

} // namespace

class TestFaultSweep : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sweep();

private:
    void check(const QByteArray &output);
    void expect(bool holds, int &count, const QString &what);

    QMap<qint64, MediaTree> m_media;
    int m_confirmed = 0;
    int m_lost = 0;
    int m_shut = 0; // stores that did not open, or only after a repair
};

void TestFaultSweep::expect(bool holds, int &count, const QString &what)
{
    if (holds)
        return;
    ++count;
    Sequence::current()->note(what);
    QTest::qFail(qPrintable(what), __FILE__, __LINE__);
}

/// The next start, on a sound disk.
void TestFaultSweep::check(const QByteArray &output)
{
    QMap<QByteArray, int> confirmed; // by account and name
    for (const QByteArray &line : output.left(output.lastIndexOf('\n')).split('\n')) {
        if (!line.isEmpty())
            confirmed[line.left(line.lastIndexOf(' '))] = line.mid(line.lastIndexOf(' ')).toInt();
        m_confirmed += !line.isEmpty();
    }
    start();
    const auto *global = settings()->globalStorage();
    expect(global->isOpen() && !global->recovered(), m_shut, u"The settings do not open"_s);
    expect(QTest::qWaitFor([] { return !manager()->appDataMove()->unfinished(); }, 30'000), m_lost,
           u"The move does not end"_s);
    for (qint64 id : ids) {
        const auto safe = [&](const char *name) {
            return confirmed.value(QByteArray::number(id) + ' ' + name);
        };
        Account *account = listed(id);
        expect(!account || !safe("left"), m_lost, u"%1 is listed and has left"_s.arg(id));
        if (safe("leaves"))
            continue;
        expect(account || !safe("account"), m_lost, u"%1 is not listed"_s.arg(id));
        if (!account)
            continue;
        expect(account->storage()->isOpen() && !account->storage()->recovered(), m_shut,
               u"The store of %1 does not open"_s.arg(id));
        for (const Value &value : values) {
            const int there = value.read(account);
            expect(there >= safe(value.name), m_lost,
                   u"%1, %2: %3 was safe, %4 is there"_s.arg(id)
                       .arg(QLatin1StringView(value.name))
                       .arg(safe(value.name))
                       .arg(there));
        }
        for (auto file = m_media[id].files.cbegin(); file != m_media[id].files.cend(); ++file) {
            const QStringList dirs = AppDirManager::instance()->everyDir();
            const bool isThere = std::any_of(dirs.cbegin(), dirs.cend(), [&](const QString &dir) {
                return MediaTree::read(photos(dir, id)).files.value(file.key()) == *file;
            });
            expect(isThere, m_lost, u"%1 has no %2"_s.arg(id).arg(file.key()));
        }
    }
    expect(numberOf(settings()->getValue(u"sweep"_s, {}).toByteArray()) >= 0, m_lost,
           u"A setting is torn"_s);
    stop();
    for (const QString &file : {u"global.db"_s}) {
        SQLite::Database database(
            place(u"%1/"_s.arg(QCoreApplication::applicationName()) + file).toStdString());
        expect(database.execAndGet("PRAGMA integrity_check").getString() == "ok", m_shut, file);
    }
}

void TestFaultSweep::sweep()
{
    const QString app = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const auto run = [&](const QString &kind, int at, unsigned seed, QByteArray *output) {
        QDir(place(u".."_s)).removeRecursively();
        QDir().mkpath(place(u"target"_s));
        for (qint64 id : ids) {
            MediaTree::fill(photos(app, id), 3, quint32(id));
            m_media[id] = MediaTree::read(photos(app, id));
        }
        return runSession(kind, at, seed, output);
    };
    QByteArray output;
    QVERIFY(run(u"count"_s, 0, 0, &output));
    QFile count(place(u"../calls"_s));
    QVERIFY(count.open(QIODevice::ReadOnly));
    const int calls = count.readAll().trimmed().toInt();
    // Each account, its values, and what it has after a reset; two lines of the one that leaves.
    QCOMPARE(output.count('\n'), 6 + (steps + leaves - comes) * int(std::size(values)));

    // Neighbouring seeds stand far apart in the session, and all its calls come in turn.
    int stride = calls * 5 / 13;
    while (std::gcd(stride, calls) != 1)
        ++stride;
    std::set<int> points;
    runSequences("disk", 60, 1, [&](Sequence &sequence) {
        const unsigned turn = sequence.seed() / unsigned(kinds.size());
        const int at = 1 + int(qint64(turn) * stride % calls);
        const QString &kind = kinds.at(sequence.seed() % kinds.size());
        sequence.note(u"%1 at call %2 of %3"_s.arg(kind).arg(at).arg(calls));
        points.insert(at);
        if (!run(kind, at, sequence.seed(), &output))
            QTest::qFail("The session does not end as it should", __FILE__, __LINE__);
        else
            check(output);
    });
    qInfo("Calls: %d, points: %zu, confirmed: %d, lost: %d, not opening: %d", calls, points.size(),
          m_confirmed, m_lost, m_shut);
    QCOMPARE(m_lost, 0);
    QCOMPARE(m_shut, 0);
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true); // no keychain is asked
    if (app.arguments().value(1) == u"--session"_s)
        return session();
    TestFaultSweep test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_faultsweep.moc"
