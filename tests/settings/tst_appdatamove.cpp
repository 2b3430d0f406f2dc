#include "base/json.h"
#include "content/filedata.h"
#include "content/photodata.h"
#include "settings/datamove.h"

#include "support/facts.h"

#include <QGuiApplication>
#include <QMetaEnum>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QThread>

#include <cstdlib>

#ifdef Q_OS_UNIX
#    include <sys/wait.h>
#    include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace
{

using Outcome = AppDataMove::Outcome;
using Reason = AppDataMove::Reason;
using FileCause = AppDataMove::FileCause;

/// What was stored of a file, read back.
std::unique_ptr<FileData> restored(const QString &path, const QString &cachePath = {})
{
    return std::make_unique<FileData>(QVariantMap{{u"fileState"_s, int(BaseFile::Downloaded)},
                                                  {u"filePath"_s, path},
                                                  {u"cachePath"_s, cachePath}},
                                      FileData::ParseType::Source);
}

/// What a process does that ends during a move: it calls exit() in a handler, or main() returns. In
/// the mode "resume", it goes on with the stored move and ends after it.
int moveAsChild(const QString &mode, const QString &target)
{
    ThreadManager::getInstance()->init();
    AppSettingModel *settings = AppSettingModel::instance();
    settings->loadGlobalData();
    if (settings->accountIds().isEmpty())
        settings->setAccountIds({accountIds.cbegin(), accountIds.cend()});
    startApplication<MediaAccount>();
    AppDataMove *move = AccountManager::getInstance()->appDataMove();
    if (mode == u"resume"_s) {
        const bool ok = QTest::qWaitFor([&] { return !move->unfinished(); }, 60'000);
        leaveApplication();
        return ok ? 0 : 2;
    }
    // After what the main thread keeps is destroyed.
    std::atexit([] { AppSettingModel::instance()->accountIds(); });
#ifdef Q_OS_UNIX
    const pid_t fork = ::fork();
    int status = 0;
    if (fork == 0)
        std::exit(0);
    if (waitpid(fork, &status, 0) != fork || status != 0)
        return 4;
#endif
    QObject::connect(move, &AppDataMove::movedBytesChanged, qApp, [mode] {
        if (mode == u"exit"_s)
            std::exit(5);
        qApp->exit(5);
    });
    return move->moveTo(target) ? qApp->exec() : 3;
}

} // namespace

class TestAppDataMove : public DataMoveTest
{
    Q_OBJECT

    /// Waits for the end of a move; true when it was a success.
    bool finish()
    {
        if (m_finished->isEmpty() && !m_finished->wait(60'000))
            return false;
        return m_finished->size() == 1 && m_finished->takeFirst().at(0).toBool()
            && !dataMove()->running();
    }

    bool moveAll(const QString &place) { return dataMove()->moveTo(place) && finish(); }

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

    /// Runs a process that moves the data below `disk` in its home.
    int run(const QString &mode) const
    {
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_DATA_HOME"_s, m_home->path() + u"/disk"_s);
        environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s); // some just end
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {mode, target()});
        const bool hasEnded = child.waitForFinished(60'000);
        return hasEnded && child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
    }

private Q_SLOTS:
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
            QCOMPARE_GT(dataMove()->percent(), std::exchange(percent, dataMove()->percent()));
        });
        QVERIFY(dataMove()->moveTo(QUrl::fromLocalFile(target()).toString()));
        QVERIFY(!dataMove()->moveTo(m_home->path()));
        QCOMPARE(takeError(), u"A move is under way."_s);
        QVERIFY(finish());
        QCOMPARE(dataMove()->outcome(), Outcome::Moved);
        QVERIFY(switchedFirst);
        QCOMPARE(readMedia(target()), before);
        QVERIFY(readMedia(source()).files.isEmpty() && !QDir(source() + u"10001/photo"_s).exists());
        QVERIFY(QFileInfo::exists(source() + u"10001/userstatus/kept"_s));
        QVERIFY(!QFileInfo::exists(target() + u"10001/userstatus"_s));
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(settings()->oldCacheDataPath(), source());
        QCOMPARE(settings()->movedDataInfo(), QByteArray());
        QCOMPARE(AccountManager::getInstance()->getAccount(10002)->userCacheDataPath(),
                 target() + u"10002/"_s);
        QCOMPARE(percent, 100);
        QCOMPARE(wrongThread, 0);
        QCOMPARE(dataMove()->movedBytes(), before.bytes());
        QCOMPARE(dataMove()->totalBytes(), before.bytes());
        QVERIFY(m_errors->isEmpty());
    }

    void refusesWithAReason()
    {
        fillMedia(source(), 2);
        const MediaTree before = readMedia(source());
        const QString around = QFileInfo(QDir::cleanPath(source())).path();
        const QString home = m_home->path();
        QVERIFY(QFile::link(source(), home + u"/link"_s));
        QVERIFY(QFile::link(around, home + u"/parent"_s));
        MediaTree::write(home + u"/file"_s, "file");
        const QString current = QDir::currentPath();
        const auto restore = qScopeGuard([&] { QDir::setCurrent(current); });
        QVERIFY(QDir::setCurrent(QFileInfo(QDir::cleanPath(target())).path()));
        for (QString line : facts(u"datamoverefusals.txt"_s)) {
            line.replace(u"{source}"_s, source())
                .replace(u"{around}"_s, around)
                .replace(u"{home}"_s, home);
            const QStringList row = line.split(u" | "_s);
            QVERIFY2(!dataMove()->moveTo(row[0]), qPrintable(line));
            QCOMPARE(dataMove()->outcome(), Outcome::Refused);
            QCOMPARE(QLatin1StringView(
                         QMetaEnum::fromType<Reason>().valueToKey(int(dataMove()->reason()))),
                     row[1]);
            QCOMPARE(takeError(), row[2]);
            QCOMPARE(dataMove()->reasonText(), row[2]);
        }
        QVERIFY(usesSource());
        QCOMPARE(readMedia(source()), before);
        QVERIFY(m_finished->isEmpty());
    }

    void tooLittleSpace()
    {
        constexpr qint64 size = qint64(1) << 43;
        MediaTree::write(source() + u"10002/video/file"_s, {});
        // Without as many blocks.
        if (!QFile::resize(source() + u"10002/video/file"_s, size))
            QSKIP("The file system has no large sparse files");
        QVERIFY(!moveAll(target()));
        QCOMPARE(takeError(), u"There is not enough space at the new place."_s);
        QCOMPARE(dataMove()->reason(), Reason::NoSpace);
        QVERIFY(usesSource() && QDir(target()).isEmpty());
        // As one could have known.
        QMap<QString, QPair<qint64, qint64>> measured;
        connect(dataMove(), &AppDataMove::measured, this,
                [&](const QString &place, qint64 needed, qint64 available) {
                    measured.insert(place, {needed, available});
                });
        dataMove()->measure(target());
        dataMove()->measure(u"/not there"_s);
        QTRY_COMPARE(measured.size(), 2);
        QCOMPARE(measured.value(target()).first, size);
        QVERIFY(measured.value(target()).second > 0);
        QCOMPARE(measured.value(u"/not there"_s).second, -1);
    }

    void undoesTheSwitch()
    {
        fillMedia(source(), 4);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001"_s, "a file in the way");
        QSignalSpy switches(settings(), &AppSettingModel::cacheDataPathChanged);
        QVERIFY(!moveAll(target()));
        QCOMPARE(takeError(), u"The new place cannot be written to."_s);
        QCOMPARE(switches.size(), 2);
        for (int times = 0; times < 2; ++times) {
            QVERIFY(usesSource() && !dataMove()->running());
            QCOMPARE(settings()->oldCacheDataPath(), QString());
            QCOMPARE(AppDirManager::instance()->oldCacheDataDir(), QString());
            QCOMPARE(readMedia(source()), before);
            restart();
        }
    }

    void namesTheObstacle()
    {
        fillMedia(source(), 5);
        MediaTree before = readMedia(source());
        MediaTree::write(target() + u"10001/sticker"_s, "a file in the way");
        QVERIFY(!moveAll(target()));
        QCOMPARE(takeError(), u"Some files could not be moved."_s);
        QCOMPARE(dataMove()->outcome(), Outcome::Failed);
        QCOMPARE(dataMove()->reason(), Reason::FilesLeft);
        QCOMPARE(dataMove()->movedBytes(), dataMove()->totalBytes() - readMedia(source()).bytes());
        QCOMPARE(dataMove()->problems().size(), 6);
        const QVariantMap problem = dataMove()->problems().constFirst().toMap();
        QVERIFY(problem.value(u"path"_s).toString().startsWith(source() + u"10001/sticker/"_s));
        QCOMPARE(problem.value(u"cause"_s).value<FileCause>(), FileCause::InTheWay);
        QCOMPARE(problem.value(u"obstacle"_s), target() + u"10001/sticker"_s);
        QCOMPARE(problem.value(u"text"_s), u"Something else is in its way at the new place."_s);
        const QByteArray info = settings()->movedDataInfo();
        const auto hasUnmoved = [map = jsonToMap(info)](const QString &id) {
            return map.value(id).toString().contains(u"\"moved\":false");
        };
        QVERIFY(hasUnmoved(u"10001"_s) && !hasUnmoved(u"10002"_s));

        // Nothing is begun that the next start would not know of.
        settings()->closeGlobalStorage();
        QVERIFY(!moveAll(source()));
        QCOMPARE(dataMove()->reason(), Reason::NotStored);
        QCOMPARE(takeError(), u"The settings cannot be stored just now."_s);
        QCOMPARE(settings()->cacheDataPath(), target());
        QCOMPARE(settings()->oldCacheDataPath(), source());
        QCOMPARE(settings()->movedDataInfo(), info);
        settings()->loadGlobalData();
        MediaTree all = readMedia(source());
        all.files.insert(readMedia(target()).files);
        before.files.insert(u"10001/sticker"_s, all.files.value(u"10001/sticker"_s));
        QCOMPARE(all, before);
    }

    void wipeOfWhatCannotBeRemoved_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("comesBack");
        QTest::addColumn<qint64>("lockedId");
        QTest::newRow("nobody comes back") << u"userstatus"_s << false << qint64(0);
        QTest::newRow("only media stay") << u"image"_s << false << qint64(0);
        QTest::newRow("who was there comes back") << u"userstatus"_s << true << qint64(0);
        QTest::newRow("and cannot be opened") << u"userstatus"_s << true << qint64(10001);
    }
    void wipeOfWhatCannotBeRemoved()
    {
        QFETCH(const QString, folder);
        QFETCH(const bool, comesBack);
        QFETCH(const qint64, lockedId);
        restart(10002);
        const QString account = source() + u"10001"_s;
        const QString store = account + u"/userstatus"_s;
        const QString stuck = account + u'/' + folder;
        const QString key = source() + u"master.key"_s;
        MediaTree::write(store + u"/other"_s, "secret");
        MediaTree::write(stuck + u"/file"_s, "secret");
        QVERIFY(QFile::setPermissions(stuck, QFile::ReadOwner | QFile::ExeOwner));
        QFile::remove(key);
        MediaTree::write(key + u"/in the way"_s, "");
        AccountManager *manager = AccountManager::getInstance();
        QSignalSpy wiped(manager, &AccountManager::appWiped);
        manager->unlockApp(true, false);
        QVERIFY(wiped.wait());
        QVERIFY(QFileInfo::exists(stuck) && !QFileInfo::exists(source() + u"10002"_s));
        QCOMPARE(QFileInfo::exists(store), stuck == store);
        QVERIFY(QDir(key).removeRecursively());
        MediaTree::write(key, QByteArray(32, 'k'));
        // Nobody gets to see it again, and a reset does not forget it.
        settings()->reset();
        const auto signIn = [&] {
            return static_cast<MediaAccount *>(manager->loginAccount())->signIn(10001);
        };
        QVERIFY(stuck != store || !signIn());
        QVERIFY(
            QFile::setPermissions(stuck, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(!comesBack || (signIn() && !QFileInfo::exists(store + u"/other"_s)));
        const QByteArray left = settings()->value(u"left_stores"_s, {}).toByteArray();
        settings()->setValue(u"left_stores"_s, listToJson(jsonToList(left) << u"music"_s), true);
        // The next start removes only what the wipe left, and only what belongs to accounts.
        const QString others[] = {source() + u"777/userstatus/account.db"_s,
                                  source() + u"music/kept"_s};
        for (const QString &other : others)
            MediaTree::write(other, "kept");
        restart(lockedId);
        QCOMPARE(QFileInfo::exists(account), comesBack);
        QCOMPARE(QFileInfo::exists(key), comesBack);
        for (const QString &other : others)
            QVERIFY(QFileInfo::exists(other));
        QVERIFY(!settings()->value(u"left_stores"_s, {}).isValid());
    }

    void settingsThatCannotBeRead_data()
    {
        QTest::addColumn<bool>("wipes");
        QTest::newRow("a move is refused") << false;
        QTest::newRow("a wipe removes what they tell of") << true;
    }
    void settingsThatCannotBeRead()
    {
        QFETCH(bool, wipes);
        fillMedia(source(), 14);
        QVERIFY(moveAll(target()));
        MediaTree::write(target() + u"0/image/ofTheNotebook"_s, "new");
        const MediaTree moved = readMedia(target());
        leaveApplication();
        const QString file =
            QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + u"/global.db"_s;
        QVERIFY(QFile::rename(file, file + u".aside"_s) && QDir().mkdir(file));
        start();
        QVERIFY(!dataMove()->moveTo(source()));
        QCOMPARE(takeError(), u"The settings cannot be stored just now."_s);
        if (wipes) {
            QSignalSpy wiped(AccountManager::getInstance(), &AccountManager::appWiped);
            AccountManager::getInstance()->unlockApp(true, false);
            QVERIFY(wiped.wait());
        }
        QVERIFY(QDir().rmdir(file) && QFile::rename(file + u".aside"_s, file));
        QVERIFY(settings()->flush());
        restart();
        QCOMPARE(AppDirManager::instance()->cacheDataDir(), wipes ? source() : target());
        QCOMPARE(readMedia(target()), wipes ? MediaTree() : moved);
        QCOMPARE(QFileInfo::exists(target() + u"0/image/ofTheNotebook"_s), !wipes);
    }

    void storedMapsOfAllKinds_data()
    {
        const auto entries = [](int modelType, int fileType) {
            return QString::fromUtf8(listToJson({QVariantMap{
                {u"modelType"_s, modelType}, {u"fileType"_s, fileType}, {u"moved"_s, false}}}));
        };
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<int>("moved");
        QTest::newRow("no JSON") << "\x00\xff{"_ba << 62;
        QTest::newRow("of no account") << "{}"_ba << 62;
        QTest::newRow("hostile") << mapToJson({{u"../new2"_s, entries(1, 0)},
                                               {u"10001"_s, entries(64, 0)},
                                               {u"10002"_s, entries(1, 7)},
                                               {u"0"_s, entries(1, 0)}})
                                 << 62;
        // The photos of 10001 only.
        QTest::newRow("part") << mapToJson({{u"10001"_s, entries(1, 0)}, {u"777"_s, entries(1, 1)}})
                              << 6;
    }
    void storedMapsOfAllKinds()
    {
        QFETCH(QByteArray, info);
        QFETCH(int, moved);
        fillMedia(source(), 11);
        const MediaTree before = readMedia(source());
        MediaTree::write(target() + u"777/photo/x"_s, "of an account that is gone");
        settings()->setCacheDataPath(target());
        settings()->setMovedDataInfo(info);
        // What a kill leaves that comes between the reset of the settings and the end of a move.
        restart();
        QVERIFY(!dataMove()->unfinished());
        settings()->setOldCacheDataPath(source());
        settings()->setMovedDataInfo(info);
        restart();
        QVERIFY(dataMove()->running());
        QVERIFY(finish());
        QCOMPARE(readMedia(target()).files.size(), moved);
        MediaTree all = readMedia(source());
        all.files.insert(readMedia(target()).files);
        QCOMPARE(all, before);
        QCOMPARE(QFileInfo::exists(target() + u"777"_s), moved > 6);
        QCOMPARE(settings()->movedDataInfo(), QByteArray());
    }

    void placesThatAreNotThere()
    {
        fillMedia(source(), 12);
        const MediaTree before = readMedia(source());
        const QByteArray info = mapToJson({{u"10001"_s, u"[]"_s}});
        // The new place may have become another name of the old one.
        const QString link = m_home->path() + u"/link/"_s;
        QVERIFY(QFile::link(source(), link.chopped(1)));
        settings()->setOldCacheDataPath(source());
        settings()->setMovedDataInfo(info);
        for (const auto &[place, reason] :
             {std::pair{m_home->path() + u"/unplugged/"_s, Reason::NoTarget},
              {link, Reason::SamePlace}}) {
            settings()->setCacheDataPath(place);
            dataMove()->resume();
            QVERIFY(!finish());
            QCOMPARE(dataMove()->reason(), reason);
            QCOMPARE(settings()->movedDataInfo(), info);
            QCOMPARE(readMedia(source()), before);
        }
        QVERIFY(!QFileInfo::exists(m_home->path() + u"/unplugged"_s));
    }

    // Where a place of media leads that is stored.
    void storedPaths()
    {
        const QString name = u"10001/photo/sub/a.jpg"_s;
        MediaTree::write(source() + name, "a");
        QVERIFY(moveAll(target()));
        const QString missing = m_home->path() + u"/missing/"_s;
        const auto check = [&](const QString &path, const QString &place) {
            const auto state = place.isEmpty() ? BaseFile::Missing : BaseFile::Downloaded;
            const PhotoData photo(
                QVariantMap{{u"photoPath"_s, path}, {u"fileState"_s, int(BaseFile::Downloaded)}});
            QCOMPARE(restored(path)->filePath(), place);
            QCOMPARE(restored(path)->fileState(), state);
            QCOMPARE(restored(missing, path)->filePath(), place);
            QVERIFY(place.isEmpty() || photo.filePath() == place);
            QCOMPARE(photo.fileState(), state);
        };
        for (const QString &path :
             {source() + name, target() + name, u"/home/2024/photo/x/"_s + name,
              u"C:\\Users\\me\\10001\\photo\\sub\\a.jpg"_s,
              u"\\\\host\\share\\"_s + QString(name).replace(u'/', u'\\')})
            check(path, target() + name);
        for (const QString &path :
             {missing + u"10001/photo/sub/b.jpg"_s, missing + u"10001/sub/a.jpg"_s, missing,
              missing + u"10001/photo/../photo/sub"_s + u"/../../sub/a.jpg"_s, QString(),
              missing + u"010001/photo/sub/a.jpg"_s})
            check(path, {});
        FileData record;
        record.update({{u"fileState"_s, int(BaseFile::Downloaded)}});
        QCOMPARE(record.fileState(), BaseFile::Missing);
    }

    void processEndsDuringAMove_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::newRow("exit() in a handler") << u"exit"_s;
        QTest::newRow("main() returns") << u"return"_s;
    }
    void processEndsDuringAMove()
    {
        QFETCH(QString, mode);
        const QString data =
            m_home->path() + u"/disk/"_s + QCoreApplication::applicationName() + u'/';
        fillMedia(data, 31, 8);
        const MediaTree before = readMedia(data);
        QCOMPARE(run(mode), 5);
        QCOMPARE(run(u"resume"_s), 0);
        QCOMPARE(readMedia(target()), before);
    }
};

int main(int argc, char *argv[])
{
    respectPermissions(argv);
    QGuiApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3)
        return moveAsChild(arguments.at(1), arguments.at(2));
    TestAppDataMove test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_appdatamove.moc"
