#include "base/basefile.h"
#include "settings/fileinuse.h"
#include "settings/foldermove_p.h"

#include "support/mediatree.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#ifdef Q_OS_LINUX
#    include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

class TestFolderMove : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;

    // A media folder of the account 1.
    QString source(const QString &name = {}) const
    {
        return m_home->path() + u"/old/1/a/"_s + name;
    }
    QString target(const QString &name = {}) const
    {
        return m_home->path() + u"/new/1/a/"_s + name;
    }

    FolderMove makeMove(
        FolderMove::Advance advance = [](qint64) { return true; },
        const QStringList &skipped = {}) const
    {
        return FolderMove({m_home->path() + u"/old/"_s, m_home->path() + u"/new/"_s, u"1/a/"_s,
                           m_home->path() + u"/new/.moving"_s, skipped},
                          std::move(advance));
    }

    /// As the caller does: copies, removes, and goes round again for what has changed.
    bool moveAll() const
    {
        for (int round = 0; round < 3; ++round) {
            FolderMove move = makeMove();
            if (move.copy() != FolderMove::Done)
                return false;
            if (move.removeOriginals())
                return true;
        }
        return false;
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(m_home->path() + u"/new"_s));
        QVERIFY(QDir().mkpath(source()));
    }

    void movesFilesOfAllKinds()
    {
        MediaTree::fill(source(), 30, 1);
        MediaTree::write(source(u"read-only.png"_s), "r");
        QVERIFY(QFile::setPermissions(source(u"read-only.png"_s), QFile::ReadOwner));
        const QFile::Permissions permissions = QFile::permissions(source(u"read-only.png"_s));
        const MediaTree before = MediaTree::read(source());
        QVERIFY(before.files.size() == 31);
        QCOMPARE(FolderMove::size(m_home->path() + u"/old/"_s, u"1/a/"_s), before.bytes());

        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(target()), before);
        QCOMPARE(QFile::permissions(target(u"read-only.png"_s)), permissions);
        QVERIFY(!QFileInfo::exists(source()));
        QCOMPARE(QDir(m_home->path() + u"/new"_s)
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{u"1"_s});
        // That it is there tells a disk whose files have gone from one that is not connected.
        QVERIFY(QFileInfo::exists(m_home->path() + u"/old/1"_s));
    }

    // Whatever the umask lets others do; and holes stay holes.
    void copiesArePrivateAndSparse()
    {
#ifdef Q_OS_LINUX
        const mode_t mask = ::umask(0);
        const auto restore = qScopeGuard([&] { ::umask(mask); });
        MediaTree::write(source(u"sub/film"_s), "begin");
        QFile film(source(u"sub/film"_s));
        QVERIFY(film.resize(20'000'000) && film.open(QIODevice::ReadWrite));
        QVERIFY(film.seek(9'000'001) && film.write("middle") == 6);
        film.close();
        const MediaTree before = MediaTree::read(source());
        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(target()), before);
        struct stat info;
        for (const QString &name : {u".."_s, QString(), u"sub"_s, u"sub/film"_s}) {
            const QByteArray path = QFile::encodeName(QDir::cleanPath(target(name)));
            QCOMPARE(::stat(path.constData(), &info), 0);
            QCOMPARE(info.st_mode & 0777, S_ISDIR(info.st_mode) ? 0700U : 0600U);
        }
        QCOMPARE_LT(info.st_blocks * 512, 5'000'000);
#endif
    }

    // Stops at the first point at which it can be stopped, then at the second, and so on.
    void isStoppedAnywhere()
    {
        for (int point = 0;; ++point) {
            QVERIFY(QDir(m_home->path()).removeRecursively());
            init();
            MediaTree::fill(source(), 4, 2);
            const MediaTree before = MediaTree::read(source());
            int left = point;
            FolderMove move = makeMove([&](qint64) { return left-- > 0; });
            const FolderMove::Result result = move.copy();
            QCOMPARE(MediaTree::read(source()), before);
            QVERIFY(moveAll());
            QCOMPARE(MediaTree::read(target()), before);
            QVERIFY(!QFileInfo::exists(source()));
            if (result == FolderMove::Done)
                break;
            QCOMPARE(result, FolderMove::Cancelled);
        }
    }

    void countsEachByteOnce()
    {
        MediaTree::fill(source(), 10, 3);
        const qint64 bytes = MediaTree::read(source()).bytes();
        qint64 counted = 0;
        bool changed = false;
        FolderMove move = makeMove([&](qint64 count) {
            counted += count;
            // Something that is copied changes, and is counted anew.
            if (count > 0 && !std::exchange(changed, true)) {
                for (const QString &name : MediaTree::read(source()).files.keys())
                    MediaTree::touch(source(name));
            }
            return true;
        });
        QCOMPARE(move.copy(), FolderMove::Done);
        QCOMPARE(counted, bytes);
    }

    void filesThatChange_data()
    {
        QTest::addColumn<int>("call"); // of the callback, at which the file changes
        for (int call = 1; call <= 8; ++call)
            QTest::addRow("call %d", call) << call;
    }
    void filesThatChange()
    {
        QFETCH(int, call);
        MediaTree::write(source(u"grows"_s), "old");
        MediaTree::write(source(u"vanishes"_s), "old");
        MediaTree::write(source(u"stays"_s), "old");
        FolderMove move = makeMove([&](qint64) {
            if (--call == 0) {
                MediaTree::write(source(u"grows"_s), "new content");
                MediaTree::write(source(u"comes"_s), "new");
                QFile::remove(source(u"vanishes"_s));
            }
            return true;
        });
        QCOMPARE(move.copy(), FolderMove::Done);
        move.removeOriginals();
        QVERIFY(moveAll());
        // What has been deleted stays deleted.
        const MediaTree after = MediaTree::read(target());
        QCOMPARE(after.files.keys(), (QStringList{u"comes"_s, u"grows"_s, u"stays"_s}));
        QCOMPARE(after.files.value(u"grows"_s).content, "new content"_ba);
        QVERIFY(!QFileInfo::exists(source()));
    }

    // A change within one tick of the clock, of the same size, does not show. And a copy that has
    // been spoilt, or replaced, is none.
    void changesBetweenCopyAndRemoval()
    {
        const auto write = [](const QString &path, const QByteArray &content) {
            MediaTree::write(path, content);
            MediaTree::touch(path);
        };
        MediaTree::write(source(u"fresh"_s), "old");
        for (const char *name : {"shows", "spoilt", "replaced"})
            write(source(QString::fromLatin1(name)), "old");
        FolderMove move = makeMove();
        QCOMPARE(move.copy(), FolderMove::Done);
        const std::filesystem::path file = QFileInfo(source(u"fresh"_s)).filesystemFilePath();
        const auto time = std::filesystem::last_write_time(file);
        MediaTree::write(source(u"fresh"_s), "new");
        std::filesystem::last_write_time(file, time);
        MediaTree::write(source(u"shows"_s), "newer");
        MediaTree::write(target(u"spoilt"_s), "cut");
        MediaTree::write(source(u"replaced"_s), "newer");
        MediaTree::write(target(u"replaced"_s), "the client's own");
        QVERIFY(!move.removeOriginals());
        QCOMPARE(MediaTree::read(source()).files.size(), 4);

        QVERIFY(moveAll());
        QMap<QString, QByteArray> contents;
        const QMap<QString, MediaTree::File> after = MediaTree::read(target()).files;
        for (auto entry = after.cbegin(); entry != after.cend(); ++entry)
            contents.insert(entry.key(), entry.value().content);
        const QMap<QString, QByteArray> wanted = {
            {u"fresh"_s, "new"_ba},          {u"shows"_s, "newer"_ba},
            {u"spoilt"_s, "cut"_ba},         {u"spoilt (1)"_s, "old"_ba},
            {u"replaced (1)"_s, "newer"_ba}, {u"replaced"_s, "the client's own"_ba},
        };
        QCOMPARE(contents, wanted);
    }

    void filesInUse_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("announced"); // by a FileInUse; otherwise the file is just open
        QTest::addColumn<bool>("late");      // it begins when there is a copy
        for (const bool late : {false, true}) {
            const char *when = late ? "later" : "before";
            QTest::addRow("announced %s", when) << u"film.mp4"_s << true << late;
            QTest::addRow("beside it %s", when) << u"film.mp4.part"_s << true << late;
            QTest::addRow("open %s", when) << u"film.mp4"_s << false << late;
        }
    }
    void filesInUse()
    {
        QFETCH(QString, name);
        QFETCH(bool, announced);
        QFETCH(bool, late);
#ifndef Q_OS_LINUX
        if (!announced)
            QSKIP("Only Linux tells what is open");
#endif
        MediaTree::write(source(name), "begun, ");
        MediaTree::write(source(u"film.mp3"_s), "song");
        FolderMove move = makeMove();
        if (late)
            QCOMPARE(move.copy(), FolderMove::Done);
        auto use = announced ? std::make_unique<FileInUse>(source(u"//film.mp4"_s)) : nullptr;
        QFile writer(source(name));
        QVERIFY(writer.open(announced ? QIODevice::ReadOnly : QIODevice::Append));
        if (!late)
            QCOMPARE(move.copy(), FolderMove::InUse);
        QVERIFY(move.removeOriginals());
        QCOMPARE(move.worst(), FolderMove::InUse);
        QCOMPARE(move.problems().size(), 1);
        QCOMPARE(move.problems().first().path, source(name));
        QCOMPARE(MediaTree::read(source()).files.keys(), QStringList{name});
        writer.close();
        QVERIFY(writer.open(QIODevice::Append));
        writer.write("and finished");
        writer.close();
        use.reset();

        QVERIFY(moveAll());
        const MediaTree after = MediaTree::read(target());
        QCOMPARE(after.files.keys(), (QStringList{u"film.mp3"_s, name}));
        QCOMPARE(after.files.value(name).content, "begun, and finished"_ba);
    }

    void oneThatFailsStopsNoOther_data()
    {
        QTest::addColumn<QString>("place"); // at the source, made unreadable
        QTest::addColumn<QString>("named");
        QTest::newRow("file") << u"sub/secret"_s << u"sub/secret"_s;
        QTest::newRow("folder") << u"sub"_s << u"sub"_s;
        QTest::newRow("its parent") << u".."_s << u""_s;
    }
    void oneThatFailsStopsNoOther()
    {
        QFETCH(QString, place);
        QFETCH(QString, named);
        const bool others = place != u".."_s;
        const QString locked = QDir::cleanPath(source(place));
        MediaTree::write(source(u"sub/secret"_s), "secret");
        MediaTree::write(source(u"a"_s), "a");
        MediaTree::write(source(u"z"_s), "z");
        const QFile::Permissions permissions = QFile::permissions(locked);
        QVERIFY(QFile::setPermissions(locked, {}));
        const auto restore = qScopeGuard([&] { QFile::setPermissions(locked, permissions); });
        if (QDir(source(u"sub"_s)).isReadable()
            && QFile(source(u"sub/secret"_s)).open(QFile::ReadOnly))
            QSKIP("Nothing is unreadable here");
        FolderMove move = makeMove();
        QCOMPARE(move.copy(), FolderMove::Failed);
        QCOMPARE(move.problems().size(), 1);
        QCOMPARE(move.problems().first().cause, FolderMove::Unreadable);
        QCOMPARE(move.nameOf(move.problems().first()), named);
        QVERIFY(move.removeOriginals());
        QCOMPARE(MediaTree::read(target()).files.size(), others ? 2 : 0);

        FolderMove skipping = makeMove([](qint64) { return true; }, {named});
        QCOMPARE(skipping.copy(), FolderMove::Done);
        QVERIFY(skipping.removeOriginals());
        QFile::setPermissions(locked, permissions);
        QCOMPARE(MediaTree::read(source()).files.size(), others ? 1 : 3);
        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(target()).files.size(), 3);
    }

    // Nothing that goes by text can open them.
    void namesThatAreNoText()
    {
#ifdef Q_OS_LINUX
        MediaTree::write(source(u"z"_s), "z");
        const std::string path = QFile::encodeName(source(u"bad"_s)).toStdString() + "\xff.jpg";
        std::ofstream(path) << "x";
        FolderMove move = makeMove();
        QCOMPARE(move.copy(), FolderMove::Failed);
        QCOMPARE(move.problems().size(), 1);
        QVERIFY(move.removeOriginals());
        QVERIFY(std::filesystem::exists(path));
        FolderMove skipping =
            makeMove([](qint64) { return true; }, {move.nameOf(move.problems().first())});
        QCOMPARE(skipping.copy(), FolderMove::Done);
#else
        QSKIP("Names are text here");
#endif
    }

    // Records follow each file, before its original goes; those who listen are told afterwards.
    void recordsFollow()
    {
        MediaTree::write(source(u"a.jpg"_s), "content");
        MediaTree::write(target(u"a.jpg"_s), "CONTENT");
        BaseFile record;
        record.setFilePath(source(u"a.jpg"_s));
        record.setCacheFilePath(source(u"./a.jpg"_s));
        BaseFile listed(&record);
        auto gone = std::make_unique<BaseFile>(&record);
        BaseFile other;
        other.setFilePath(source(u"b.jpg"_s));
        QStringList told;
        for (BaseFile *file : {&record, &listed, gone.get()}) {
            connect(file, &BaseFile::filePathChanged, this, [&](const QString &path) {
                told.append(path);
                gone.reset();
            });
        }
        FolderMove move = makeMove();
        QCOMPARE(move.copy(), FolderMove::Done);
        QCOMPARE(record.filePath(), source(u"a.jpg"_s));
        QVERIFY(move.removeOriginals());
        const QString now = target(u"a (1).jpg"_s);
        for (const BaseFile *file : {&record, &listed}) {
            QCOMPARE(file->filePath(), now);
            QCOMPARE(file->cacheFilePath(), now);
        }
        QCOMPARE(other.filePath(), source(u"b.jpg"_s));
        QVERIFY(told.isEmpty());
        BaseFile::tellFollowers(move.moved());
        BaseFile::tellFollowers(move.moved());
        QVERIFY(!gone);
        QVERIFY(told.size() >= 2 && told.size() <= 3);
        QCOMPARE(told.first(), now);
    }

    // Records come, change and go while files move.
    void recordsOfManyThreads()
    {
        const auto work = [&](int seed) {
            QRandomGenerator random(seed);
            for (int i = 0; i < 2000; ++i) {
                const auto path = [&] { return source(QString::number(random.bounded(4))); };
                BaseFile record;
                record.setFilePath(path());
                const BaseFile copy(&record);
                BaseFile::followFile(path(), path());
                record.setCacheFilePath(path());
                BaseFile::tellFollowers({path()});
                record.setFilePath(random.bounded(2) ? path() : QString());
            }
        };
        std::vector<std::thread> threads;
        for (int i = 1; i <= 4; ++i)
            threads.emplace_back(work, i);
        for (std::thread &thread : threads)
            thread.join();
    }

    void namesThatAreTaken()
    {
        MediaTree::write(source(u"same.jpg"_s), "content");
        MediaTree::write(source(u"other.tar.gz"_s), "content");
        MediaTree::write(source(u".hidden"_s), "content");
        MediaTree::write(source(u"folder"_s), "content");
        MediaTree::write(source(u"link.d/link"_s), "content");
        MediaTree::write(target(u"same.jpg"_s), "content");
        MediaTree::write(target(u"other.tar.gz"_s), "CONTENT");
        MediaTree::write(target(u"other.tar (1).gz"_s), "conten");
        MediaTree::write(target(u".hidden"_s), "CONTENT");
        MediaTree::write(target(u"folder/x"_s), "x");
        // As long as a name may be, in bytes.
        const QString longName = QString(83, QChar(0x4e2d)) + u"abc.jp"_s;
        MediaTree::write(source(longName), "content");
        MediaTree::write(target(longName), "CONTENT");
        const QString outside = m_home->path() + u"/outside"_s;
        MediaTree::write(outside, "content");
        QVERIFY(QDir().mkpath(target(u"link.d"_s)));
        QVERIFY(QFile::link(outside, target(u"link.d/link"_s)));

        QVERIFY(moveAll());
        const QMap<QString, MediaTree::File> after = MediaTree::read(target()).files;
        QCOMPARE(after.keys(),
                 (QStringList{u".hidden"_s, u".hidden (1)"_s, u"folder (1)"_s, u"folder/x"_s,
                              u"link.d/link (1)"_s, u"other.tar (1).gz"_s, u"other.tar (2).gz"_s,
                              u"other.tar.gz"_s, u"same.jpg"_s,
                              QString(82, QChar(0x4e2d)) + u" (1).jp"_s, longName}));
        QCOMPARE(after.value(u"other.tar.gz"_s).content, "CONTENT"_ba);
        QCOMPARE(after.value(u"other.tar (2).gz"_s).content, "content"_ba);
        QVERIFY(!QFileInfo::exists(source()));
    }

    void linksAtTheSourceStay()
    {
        const QString outside = m_home->path() + u"/outside"_s;
        MediaTree::write(outside + u"/secret"_s, "secret");
        MediaTree::write(source(u"file"_s), "file");
        QVERIFY(QFile::link(outside + u"/secret"_s, source(u"to file"_s)));
        QVERIFY(QFile::link(outside, source(u"to folder"_s)));
        QVERIFY(QFile::link(source(), source(u"round"_s)));
        QVERIFY(QFile::link(u"nowhere"_s, source(u"dangling"_s)));
        QCOMPARE(FolderMove::size(m_home->path() + u"/old/"_s, u"1/a/"_s), 4);

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"1/a/: links are left.*: 4"_s));
        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(target()).files.keys(), QStringList{u"file"_s});
        QCOMPARE(
            QDir(source()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size(),
            4);
        QVERIFY(QFileInfo::exists(outside + u"/secret"_s));

        // The folder itself is one.
        QVERIFY(QDir(source()).removeRecursively());
        QVERIFY(QFile::link(outside, m_home->path() + u"/old/1/a"_s));
        QCOMPARE(FolderMove::size(m_home->path() + u"/old/"_s, u"1/a/"_s), 0);
        QVERIFY(moveAll());
        QVERIFY(QFileInfo::exists(outside + u"/secret"_s));
        QVERIFY(!QFileInfo::exists(target(u"secret"_s)));
    }

    void obstaclesAtTheTarget()
    {
        MediaTree::write(source(u"sub/file"_s), "file");
        const QString outside = m_home->path() + u"/outside"_s;
        QVERIFY(QDir().mkpath(outside) && QDir().mkpath(target()));
        QVERIFY(QFile::link(outside, target(u"sub"_s)));
        const auto obstacle = [this] {
            FolderMove move = makeMove();
            move.copy();
            return move.problems().value(0);
        };
        QCOMPARE(obstacle().obstacle, target(u"sub"_s));
        QVERIFY(QDir(outside).isEmpty());

        QVERIFY(QFile::remove(target(u"sub"_s)));
        MediaTree::write(target(u"sub"_s), "a file in the way");
        QCOMPARE(obstacle().cause, FolderMove::InTheWay);
        QCOMPARE(obstacle().obstacle, target(u"sub"_s));
        QCOMPARE(MediaTree::read(source()).files.keys(), QStringList{u"sub/file"_s});

        // What is written goes to a file of its own, whatever stands at its place.
        QVERIFY(QFile::remove(target(u"sub"_s)));
        MediaTree::write(outside + u"/kept"_s, "kept");
        const QString scratch = m_home->path() + u"/new/.moving"_s;
        QVERIFY(QDir().mkdir(scratch));
        QCOMPARE(obstacle().cause, FolderMove::InTheWay);
        QCOMPARE(obstacle().obstacle, scratch);
        QVERIFY(QDir().rmdir(scratch));
        QVERIFY(QFile::link(outside + u"/kept"_s, scratch));
        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(outside).files.value(u"kept"_s).content, "kept"_ba);
        QCOMPARE(MediaTree::read(target()).files.keys(), QStringList{u"sub/file"_s});
    }
};

int main(int argc, char *argv[])
{
    respectPermissions(argv);
    QCoreApplication app(argc, argv);
    TestFolderMove test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_foldermove.moc"
