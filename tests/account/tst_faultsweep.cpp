#include "settings/appdatamove.h"
#include "settings/appdirmanager.h"
#include "storage/configstorage.h"
#include "storage/settingstorage.h"
#include "support/mediatree.h"
#include "support/sequences.h"
#include "support/session.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <numeric>
#include <set>
#include <thread>

using namespace Qt::StringLiterals;
using session::manager;

// A session on a disk that goes wrong at one call (see support/faultdisk.cpp), once for each call
// and way. What the session was told is safe is there at the next start, on a sound disk.

namespace
{

constexpr int steps = 8;
const QStringList kinds = {u"cut"_s,  u"torn"_s, u"kill"_s, u"fail"_s,
                           u"gone"_s, u"full"_s, u"short"_s};

QString place(const QString &name)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u'/' + name;
}

MediaTree media(const QString &root)
{
    return MediaTree::read(root + u'/' + QString::number(session::id) + u"/photo"_s);
}

/// The process whose disk goes wrong: signs in, stores, and moves the media in the midst of it.
int runSession()
{
    startApplication();
    FakeAccount *account = session::signIn();
    std::map<const session::Value *, int> safe;
    for (int step = 1; step <= steps; ++step) {
        for (const session::Value &value : session::values) {
            // A key that is not stored is asked for again.
            const int number = value.flush ? step : safe[&value] + 1;
            if (!manager()->containsAccount(account) || !value.write(*account, number)
                || (value.flush && !value.flush(*account)))
                continue;
            safe[&value] = number;
            session::say(value.name, number);
        }
        if (step == 2 && manager()->appDataMove()->moveTo(place(u"target"_s))) {
            if (!QTest::qWaitFor([] { return !manager()->appDataMove()->running(); }, 60'000))
                return 3;
        }
    }
    leaveApplication();
    return 0;
}

/// The process whose power fails when it has stored once, and each value is safe in a way of its
/// own.
int runOnce(const QString &how)
{
    startApplication();
    FakeAccount *account = session::signIn();
    if (!account)
        return 3;
    std::vector<const session::Value *> flushed;
    for (const session::Value &value : session::values) {
        if (value.flush)
            flushed.push_back(&value);
    }
    for (const session::Value *value : flushed)
        std::thread([&] { value->write(*account, 1); }).join();
    DataInfoModel *ranges = account->dataInfoModel();
    if (how == u"late" && !QTest::qWaitFor([&] {
            return !account->storage()->bufferConfigStorage()->allInfos().isEmpty();
        }))
        return 3;
    if (how == u"never")
        QTest::qWait(1500);
    else if (how == u"late" ? ranges->flush() : ranges->flush(QDeadlineTimer(5000)))
        flushed = {&session::values[2]};
    for (const session::Value *value : flushed)
        session::say(value->name, 1);
    session::settings()->globalStorage()->settingStorage()->save({u"unsynced"_s, 1, {}});
    QFile(place(u"power-cut"_s)).open(QIODevice::WriteOnly);
    return 3;
}

/// Runs a session; true when it ended as it should.
bool run(const QStringList &arguments, const QString &kind, int at, unsigned seed,
         QByteArray *output)
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
    child.start(QCoreApplication::applicationFilePath(), arguments);
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
    void powerCut_data();
    void powerCut();
    void sweep();
};

/// What is confirmed is on the disk; and what nobody asks for is, after a while.
void TestFaultSweep::powerCut_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("flushed in time") << u"in time"_s;
    QTest::newRow("flushed after it was written") << u"late"_s;
    QTest::newRow("never flushed, for a while") << u"never"_s;
}

void TestFaultSweep::powerCut()
{
    QFETCH(const QString, how);
    QDir(place(u".."_s)).removeRecursively();
    QDir().mkpath(place({}));
    QByteArray output;
    QVERIFY(run({u"--once"_s, how}, u"cut"_s, -1, 1, &output));
    session::Safe safe;
    QVERIFY(session::addSaid(output, &safe) > 1 && safe.contains("ranges"));
    const auto checkCut = [](QStringList *wrong) {
        if (session::settings()->getValue(u"unsynced"_s, {}).isValid())
            wrong->append(u"The power did not fail"_s);
    };
    QCOMPARE(session::check(safe, checkCut), QString());
}

void TestFaultSweep::sweep()
{
    const QString app = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const QString taken = u"/%1/photo/taken"_s.arg(session::id);
    MediaTree before;
    const auto runAnew = [&](const QString &kind, int at, unsigned seed, QByteArray *output) {
        QDir(place(u".."_s)).removeRecursively();
        QDir().mkpath(place(u"target"_s));
        MediaTree::fill(app + u"/%1/photo"_s.arg(session::id), 3, 1);
        MediaTree::write(app + taken, "from there");
        MediaTree::write(place(u"target"_s) + taken, "from here");
        before = media(app);
        return run({u"--session"_s}, kind, at, seed, output);
    };
    const auto checkMedia = [&](QStringList *wrong) {
        if (!QTest::qWaitFor([] { return !manager()->appDataMove()->unfinished(); }, 30'000))
            wrong->append(u"The move does not end"_s);
        const QString &where = AppDirManager::instance()->cacheDataDir();
        MediaTree there = media(where);
        // Its name was taken: it has another one, and only that.
        if (QDir(where) != QDir(app) && there.files.take(u"taken"_s).content == "from here")
            there.files.insert(u"taken"_s, there.files.take(u"taken (1)"_s));
        if (there != before || (QDir(where) != QDir(app) && !media(app).files.isEmpty()))
            wrong->append(u"Of the media, %1 have %2 of %3"_s.arg(where)
                              .arg(there.files.size())
                              .arg(before.files.size()));
    };
    QByteArray output;
    QVERIFY(runAnew(u"count"_s, 0, 0, &output));
    QFile count(place(u"../calls"_s));
    QVERIFY(count.open(QIODevice::ReadOnly));
    const int calls = count.readAll().trimmed().toInt();
    QCOMPARE(media(place(u"target"_s)).files.size(), before.files.size() + 1);
    QCOMPARE(output.count('\n'), 1 + steps * int(std::size(session::values)));

    // Neighbouring seeds stand far apart in the session, and all its calls come in turn.
    int stride = calls * 5 / 13;
    while (std::gcd(stride, calls) != 1)
        ++stride;
    std::set<int> points;
    int said = 0;
    runSequences("disk", 105, 1, [&](Sequence &sequence) {
        const unsigned turn = sequence.seed() / unsigned(kinds.size());
        const int at = 1 + int(qint64(turn) * stride % calls);
        const QString &kind = kinds.at(sequence.seed() % kinds.size());
        sequence.note(u"%1 at call %2 of %3"_s.arg(kind).arg(at).arg(calls));
        points.insert(at);
        QVERIFY(runAnew(kind, at, sequence.seed(), &output));
        session::Safe safe;
        said += session::addSaid(output, &safe);
        QCOMPARE(session::check(safe, checkMedia), QString());
    });
    qInfo("Calls: %d, points: %zu, confirmed: %d", calls, points.size(), said);
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true); // no keychain is asked
    const QString mode = app.arguments().value(1);
    if (mode == u"--session"_s)
        return runSession();
    if (mode == u"--once"_s)
        return runOnce(app.arguments().value(2));
    TestFaultSweep test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_faultsweep.moc"
