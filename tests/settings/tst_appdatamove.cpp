#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "base/json.h"
#include "settings/appdatamove.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"

#include "support/fakeaccount.h"
#include "support/mediatree.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

const QList<qint64> accountIds = {10001, 10002};

const QString noSpace = u"There is not enough space at the new place."_s;
const QString notWritable = u"The new place cannot be written to."_s;
const QString overlap = u"The new place must lie neither in the present one nor around it."_s;
const QString unfinished = u"The last move has not finished yet."_s;

/// An account that opens its store wherever it is.
class MediaAccount : public FakeAccount
{
public:
    using FakeAccount::FakeAccount;
    void restore(QVariantMap params, bool, int) override
    {
        setAccountId(params.value(u"userId"_s).toLongLong());
        setAuthorized(openStorage(true));
    }
};

/// One start of the application, with the stored accounts.
void startUp()
{
    ThreadManager::getInstance()->init();
    AppSettingModel *settings = AppSettingModel::instance();
    settings->loadGlobalData();
    AccountManager::getInstance()->init([](QObject *parent) { return new MediaAccount(parent); });
}

void shutDown()
{
    AccountManager::getInstance()->waitForFinished();
    AccountManager::releaseInstance();
    ThreadManager::getInstance()->quitAll();
    AppSettingModel::releaseInstance();
}

/// The media of all accounts: what is to be moved, and nothing of what lies beside it.
MediaTree readMedia(const QString &root)
{
    MediaTree media;
    for (const qint64 id : accountIds) {
        const QString account = root + u'/' + QString::number(id);
        const MediaTree files = MediaTree::read(account);
        for (auto file = files.files.cbegin(); file != files.files.cend(); ++file) {
            if (!file.key().startsWith(u"userstatus/"))
                media.files.insert(QString::number(id) + u'/' + file.key(), file.value());
        }
    }
    return media;
}

void fillMedia(const QString &root, quint32 seed, int count = 6)
{
    for (const qint64 id : accountIds) {
        for (const QString &folder : {u"photo"_s, u"sticker"_s, u"clouddrive/video"_s,
                                      u"schedule/messagefile"_s, u"file"_s})
            MediaTree::fill(root + u'/' + QString::number(id) + u'/' + folder, count, ++seed);
        MediaTree::write(root + u"/%1/audio/empty"_s.arg(id), {});
    }
}

/// What a process does that is started to be killed: it starts up, which goes on with a move that
/// is stored, moves the data unless they are there, and ends when all of them are.
int moveAsChild(const QString &target)
{
    ThreadManager::getInstance()->init();
    AppSettingModel *settings = AppSettingModel::instance();
    settings->loadGlobalData();
    settings->setAccountIds({accountIds.cbegin(), accountIds.cend()});
    startUp();
    AppDataMove *move = AccountManager::getInstance()->appDataMove();
    std::puts("ready");
    std::fflush(stdout);
    QObject::connect(
        move, &AppDataMove::finished, qApp, [](bool ok) { qApp->exit(ok ? 0 : 2); },
        Qt::QueuedConnection);
    if (!move->running()) {
        if (QDir(settings->cacheDataPath()) == QDir(target))
            return 0;
        if (!move->moveTo(target))
            return 3;
    }
    const int result = qApp->exec();
    shutDown();
    return result;
}

} // namespace

class TestAppDataMove : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QSignalSpy> m_errors;
    std::unique_ptr<QSignalSpy> m_finished;

    static QString source() { return AppDirManager::instance()->defaultCacheDataDir(); }
    QString target() const { return m_home->path() + u"/new/"_s; }
    static AppDataMove *dataMove() { return AccountManager::getInstance()->appDataMove(); }
    static AppSettingModel *settings() { return AppSettingModel::instance(); }

    void start()
    {
        startUp();
        m_errors =
            std::make_unique<QSignalSpy>(AccountManager::getInstance(), &AccountManager::error);
        m_finished = std::make_unique<QSignalSpy>(dataMove(), &AppDataMove::finished);
    }

    /// Waits for the end of a move; true when it was a success.
    bool finish()
    {
        if (m_finished->isEmpty() && !m_finished->wait(60'000))
            return false;
        return m_finished->size() == 1 && m_finished->takeFirst().at(0).toBool()
            && !dataMove()->running();
    }

    QString takeError()
    {
        return m_errors->size() == 1 ? m_errors->takeFirst().at(1).toString() : QString();
    }

    static bool usesSource()
    {
        return settings()->cacheDataPath() == source() && settings()->movedDataInfo().isEmpty()
            && AppDirManager::instance()->cacheDataDir() == source()
            && AccountManager::getInstance()->getAccount(10001)->userCacheDataPath()
            == source() + u"10001/"_s;
    }

    /// The stored flags of an account, true ones first.
    static QList<bool> flags(qint64 id)
    {
        QList<bool> all;
        const QVariantMap map = jsonToMap(settings()->movedDataInfo());
        for (const QVariant &entry : jsonToList(map.value(QString::number(id)).toString().toUtf8()))
            all.append(entry.toMap().value(u"moved"_s).toBool());
        return all;
    }

    std::unique_ptr<QProcess> startChild(const QString &home, const QString &shellSetup = {}) const
    {
        auto child = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_DATA_HOME"_s, home + u"/data"_s);
        child->setProcessEnvironment(environment);
        child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const QString program = QCoreApplication::applicationFilePath();
        if (shellSetup.isEmpty()) {
            child->start(program, {u"move"_s, home + u"/new"_s});
        } else {
            child->start(u"/bin/sh"_s,
                         {u"-c"_s, shellSetup + u"; exec \"$0\" \"$@\""_s, program, u"move"_s,
                          home + u"/new"_s});
        }
        if (!child->waitForReadyRead(30'000))
            qWarning("A child does not get ready");
        return child;
    }

    static int run(QProcess &child)
    {
        child.waitForFinished(60'000);
        return child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(target()));
        ThreadManager::getInstance()->init();
        settings()->loadGlobalData();
        settings()->setAccountIds({accountIds.cbegin(), accountIds.cend()});
        start();
        QVERIFY(usesSource());
    }

    void cleanup()
    {
        shutDown();
        for (const QString &entry :
             QDir(source()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            if (entry != u"log") {
                QDir(source() + entry).removeRecursively();
                QFile::remove(source() + entry);
            }
        }
    }

    void movesEverything()
    {
        fillMedia(source(), 1);
        MediaTree::write(source() + u"10001/userstatus/kept"_s, "kept");
        const MediaTree before = readMedia(source());

        int wrongThread = 0;
        int percent = -1;
        bool switchedFirst = false;
        connect(settings(), &AppSettingModel::cacheDataPathChanged, this,
                [&] { switchedFirst = readMedia(target()).files.isEmpty(); });
        connect(dataMove(), &AppDataMove::percentChanged, this, [&] {
            wrongThread += QThread::currentThread() != thread();
            QCOMPARE_GT(dataMove()->percent(), percent);
            percent = dataMove()->percent();
        });
        QVERIFY(dataMove()->moveTo(QUrl::fromLocalFile(target()).toString()));
        QVERIFY(dataMove()->running());
        QVERIFY(!dataMove()->moveTo(m_home->path()));
        QCOMPARE(takeError(), unfinished);
        QVERIFY(finish());

        QVERIFY(switchedFirst);
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(source()).files.isEmpty());
        QVERIFY(QFileInfo::exists(source() + u"10001/userstatus/kept"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/userstatus"_s));
        QVERIFY(!QFileInfo::exists(source() + u"10001/photo"_s));
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(settings()->oldCacheDataPath(), source());
        QCOMPARE(settings()->movedDataInfo(), QByteArray());
        QCOMPARE(AppDirManager::instance()->cacheDataDir(), target());
        QCOMPARE(AccountManager::getInstance()->getAccount(10002)->userCacheDataPath(),
                 target() + u"10002/"_s);
        QCOMPARE(percent, 100);
        QCOMPARE(wrongThread, 0);
        QCOMPARE(dataMove()->movedBytes(), before.bytes());
        QCOMPARE(dataMove()->totalBytes(), before.bytes());

        // And back, without a path that says "back".
        shutDown();
        start();
        QVERIFY(dataMove()->moveTo(source()));
        QVERIFY(finish());
        QCOMPARE(readMedia(source()), before);
        QVERIFY(readMedia(target()).files.isEmpty());
        QVERIFY(m_errors->isEmpty());
    }

    void refusesPlacesThatOverlap()
    {
        fillMedia(source(), 2);
        const MediaTree before = readMedia(source());
        const QString parent = QFileInfo(QDir::cleanPath(source())).path();
        QVERIFY(QFile::link(source(), m_home->path() + u"/link"_s));
        QVERIFY(QFile::link(parent, m_home->path() + u"/parent"_s));
        for (const QString &place :
             {source(), source() + u"10001"_s, source() + u"not/there"_s, parent, u"/"_s,
              source() + u"10001/../.."_s, m_home->path() + u"/link"_s,
              m_home->path() + u"/link/10001/photo"_s, m_home->path() + u"/parent"_s}) {
            QVERIFY2(!dataMove()->moveTo(place), qUtf8Printable(place));
            QCOMPARE(takeError(), overlap);
        }
        QVERIFY(!dataMove()->moveTo({}));
        QCOMPARE(takeError(), notWritable);
        QVERIFY(usesSource());
        QCOMPARE(readMedia(source()), before);
        QVERIFY(m_finished->isEmpty());
    }

    void tooLittleSpace()
    {
        fillMedia(source(), 3);
        MediaTree::write(source() + u"10002/video/file"_s, {});
        // Without as many blocks.
        if (!QFile::resize(source() + u"10002/video/file"_s, qint64(1) << 43))
            QSKIP("The file system has no large sparse files");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), noSpace);
        QVERIFY(usesSource());
        QVERIFY(QDir(target()).isEmpty());

        QVERIFY(dataMove()->moveTo(m_home->path() + u"/not there"_s));
        QVERIFY(!finish());
        QCOMPARE(takeError(), noSpace);
        QVERIFY(usesSource());
    }

    void undoesTheSwitch()
    {
        fillMedia(source(), 4);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001"_s, "a file in the way");
        QSignalSpy switches(settings(), &AppSettingModel::cacheDataPathChanged);
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), notWritable);
        QCOMPARE(switches.size(), 2);
        QVERIFY(usesSource());
        QCOMPARE(settings()->oldCacheDataPath(), QString());
        QCOMPARE(AppDirManager::instance()->oldCacheDataDir(), QString());
        QCOMPARE(readMedia(source()), before);

        shutDown();
        start();
        QVERIFY(usesSource());
        QVERIFY(!dataMove()->running());
    }

    void goesOnAfterAnObstacle()
    {
        fillMedia(source(), 5);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001/sticker"_s, "a file in the way");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), notWritable);
        QCOMPARE(settings()->cacheDataPath(), target());
        QVERIFY(flags(10001).contains(false));
        QVERIFY(!flags(10002).contains(false));
        // Only a way back is open as long as it waits.
        QVERIFY(!dataMove()->moveTo(m_home->path() + u"/other"_s));
        QCOMPARE(takeError(), unfinished);

        QVERIFY(QFile::remove(target() + u"10001/sticker"_s));
        shutDown();
        start();
        QVERIFY(dataMove()->running());
        QVERIFY(finish());
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(source()).files.isEmpty());
    }

    void isTakenBack()
    {
        fillMedia(source(), 6);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001/sticker"_s, "a file in the way");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QVERIFY(!readMedia(target()).files.isEmpty());
        m_errors->clear();

        // Nothing is begun that the next start would not know of.
        const QByteArray info = settings()->movedDataInfo();
        settings()->closeGlobalStorage();
        QVERIFY(dataMove()->moveTo(source()));
        QVERIFY(!finish());
        QCOMPARE(takeError(), noSpace);
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(settings()->oldCacheDataPath(), source());
        QCOMPARE(settings()->movedDataInfo(), info);
        settings()->loadGlobalData();

        QVERIFY(dataMove()->moveTo(source()));
        QVERIFY(finish());
        QCOMPARE(readMedia(source()), before);
        QVERIFY(usesSource());
    }

    // Whatever point it has reached.
    void isCancelledAndGoesOn()
    {
        fillMedia(source(), 7);
        const MediaTree before = readMedia(source());
        const auto moved = [&] { return !readMedia(target()).files.isEmpty(); };
        QVERIFY(dataMove()->moveTo(target()));
        dataMove()->cancel();
        QVERIFY(!finish());
        QVERIFY(usesSource());

        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(QTest::qWaitFor(moved));
        dataMove()->cancel();
        const bool done = finish(); // when the files were quicker
        QVERIFY(m_errors->isEmpty());
        dataMove()->resume();
        QCOMPARE(dataMove()->running(), !done);
        QVERIFY(done || finish());
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(source()).files.isEmpty());
    }

    // The manager gives its accounts up before the move; they are not gone for that.
    void endsWithTheApplication()
    {
        fillMedia(source(), 8);
        const MediaTree before = readMedia(source());
        for (int pause = 0; pause < 100; pause += 10) {
            if (!dataMove()->running() && settings()->cacheDataPath() != target())
                QVERIFY(dataMove()->moveTo(target()));
            QTest::qWait(pause);
            shutDown();
            QCOMPARE(readMedia(source()).files.size() > 0
                         || readMedia(target()).files.size() == before.files.size(),
                     true);
            start();
        }
        if (dataMove()->running())
            QVERIFY(finish());
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(source()).files.isEmpty());
    }

    void accountsThatAreGone()
    {
        fillMedia(source(), 9);
        MediaTree kept = readMedia(source());
        kept.files.removeIf([](const auto &file) { return !file.key().startsWith(u"10002/"_s); });
        MediaTree::write(target() + u"10001/sticker"_s, "a file in the way");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QVERIFY(readMedia(target()).files.size() > kept.files.size());

        AccountManager *manager = AccountManager::getInstance();
        manager->logout(manager->getAccount(10001));
        dataMove()->resume();
        QVERIFY(finish());
        QVERIFY(!QFileInfo::exists(target() + u"10001"_s));
        QCOMPARE(readMedia(target()), kept);
    }

    // One that could not be opened this time is not gone.
    void accountsThatAreNotListed()
    {
        fillMedia(source(), 10);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001/sticker"_s, "a file in the way");
        QVERIFY(dataMove()->moveTo(target()));
        QVERIFY(!finish());
        QVERIFY(QFile::remove(target() + u"10001/sticker"_s));
        AccountManager *manager = AccountManager::getInstance();
        manager->logout(manager->getAccount(10001));
        settings()->setAccountIds({accountIds.cbegin(), accountIds.cend()});
        dataMove()->resume();
        QVERIFY(finish());
        QCOMPARE(readMedia(target()), before);
    }

    void storedMapsOfAllKinds_data()
    {
        const auto entries = [](int modelType, int fileType) {
            return QString::fromUtf8(listToJson({QVariantMap{
                {u"modelType"_s, modelType}, {u"fileType"_s, fileType}, {u"moved"_s, false}}}));
        };
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<int>("left"); // files at the old place
        QTest::newRow("no JSON") << "\x00\xff{"_ba << 0;
        QTest::newRow("of no account") << "{}"_ba << 0;
        QTest::newRow("hostile") << mapToJson({{u"../new2"_s, entries(1, 0)},
                                               {u"10001"_s, entries(64, 0)},
                                               {u"10002"_s, entries(1, 7)},
                                               {u"0"_s, entries(1, 0)}})
                                 << 0;
        // The media of 10001 but for one folder.
        QTest::newRow("part") << mapToJson({{u"10001"_s, entries(1, 0)}, {u"777"_s, entries(1, 1)}})
                              << -1;
    }
    void storedMapsOfAllKinds()
    {
        QFETCH(QByteArray, info);
        QFETCH(int, left);
        fillMedia(source(), 11);
        const MediaTree before = readMedia(source());
        MediaTree::write(source() + u"10001/userstatus/kept"_s, "kept");
        MediaTree::write(target() + u"777/photo/x"_s, "of an account that is gone");
        settings()->setCacheDataPath(target());
        settings()->setOldCacheDataPath(source());
        settings()->setMovedDataInfo(info);
        shutDown();
        start();
        QVERIFY(dataMove()->running());
        QVERIFY(finish());
        QVERIFY(QFileInfo::exists(source() + u"10001/userstatus/kept"_s));
        const MediaTree stayed = readMedia(source());
        if (left == 0) {
            QCOMPARE(readMedia(target()), before);
            QCOMPARE(stayed.files.size(), 0);
        } else {
            QCOMPARE(readMedia(target()).files.size(), 6);
            QCOMPARE(stayed.files.size(), before.files.size() - 6);
            QVERIFY(!QFileInfo::exists(target() + u"777"_s));
        }
        QCOMPARE(settings()->movedDataInfo(), QByteArray());
    }

    void placesThatAreNotThere()
    {
        fillMedia(source(), 12);
        const MediaTree before = readMedia(source());
        const QByteArray info = mapToJson({{u"10001"_s, u"[]"_s}});
        settings()->setOldCacheDataPath(source());
        settings()->setCacheDataPath(m_home->path() + u"/unplugged/"_s);
        settings()->setMovedDataInfo(info);
        dataMove()->resume();
        QVERIFY(!finish());
        QCOMPARE(takeError(), notWritable);
        QVERIFY(!QFileInfo::exists(m_home->path() + u"/unplugged"_s));
        settings()->setOldCacheDataPath(m_home->path() + u"/unplugged/"_s);
        settings()->setCacheDataPath(target());
        dataMove()->resume();
        QVERIFY(!dataMove()->running());
        // The new place has become another name of the old one.
        QVERIFY(QFile::link(source(), m_home->path() + u"/link"_s));
        settings()->setOldCacheDataPath(source());
        settings()->setCacheDataPath(m_home->path() + u"/link/"_s);
        dataMove()->resume();
        QVERIFY(!finish());
        QCOMPARE(takeError(), overlap);
        QCOMPARE(settings()->movedDataInfo(), info);
        QCOMPARE(readMedia(source()), before);
    }

    void writesThatFail()
    {
        if (!QFileInfo(u"/bin/sh"_s).isExecutable())
            QSKIP("No shell to limit the size of files");
        const QString data = m_home->path() + u"/data/"_s + QCoreApplication::applicationName();
        fillMedia(data, 13);
        MediaTree::write(data + u"/10001/photo/large"_s, QByteArray(6'000'000, 'x'));
        const MediaTree before = readMedia(data);
        // 2 or 4 MB, as the shell counts.
        std::unique_ptr<QProcess> child =
            startChild(m_home->path(), u"trap '' XFSZ; ulimit -f 4096"_s);
        QCOMPARE(run(*child), 2);
        QVERIFY(QFileInfo::exists(data + u"/10001/photo/large"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/photo/large"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/.moving"_s));

        child = startChild(m_home->path());
        QCOMPARE(run(*child), 0);
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(data).files.isEmpty());
    }

    void isKilledAtAnyMoment()
    {
        qint64 duration = 0; // microseconds from being ready to the end
        int kills = 0;
        int halfway = 0; // of these, with files at both places
        constexpr int rounds = 24;
        for (int round = 0; round < rounds; ++round) {
            const QTemporaryDir home;
            const QString data = home.path() + u"/data/"_s + QCoreApplication::applicationName();
            QVERIFY(QDir().mkpath(home.path() + u"/new"_s));
            fillMedia(data, quint32(100 + 10 * round), 3);
            const MediaTree before = readMedia(data);
            for (int start = round % 3; start < 3 && round > 0; ++start) {
                const std::unique_ptr<QProcess> child = startChild(home.path());
                QElapsedTimer timer;
                timer.start();
                const qint64 moment = QRandomGenerator::global()->bounded(duration);
                while (timer.nsecsElapsed() / 1000 < moment) { }
                child->kill();
                kills += run(*child) == -1;
                halfway += !readMedia(data).files.isEmpty()
                    && !readMedia(home.path() + u"/new"_s).files.isEmpty();
            }
            const std::unique_ptr<QProcess> child = startChild(home.path());
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(run(*child), 0);
            if (round == 0)
                duration = timer.nsecsElapsed() / 1000;
            QCOMPARE(readMedia(home.path() + u"/new"_s), before);
            QVERIFY(readMedia(data).files.isEmpty());
        }
        qInfo("%d kills within %lld ms, %d of them halfway", kills, duration / 1000, halfway);
        QVERIFY(halfway > rounds / 4);
    }
};

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments.at(1) == u"move"_s)
        return moveAsChild(arguments.at(2));
    TestAppDataMove test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_appdatamove.moc"
