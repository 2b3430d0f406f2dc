#include "base/basefile.h"
#include "settings/fileinuse.h"
#include "settings/foldermove_p.h"

#include "support/files.h"
#include "support/mediatree.h"
#include "support/sequences.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

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
        MediaTree::fill(source(), 10, 1);
        MediaTree::write(source(u"read-only.png"_s), "r");
        QVERIFY(QFile::setPermissions(source(u"read-only.png"_s), QFile::ReadOwner));
        const MediaTree before = MediaTree::read(source());
        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(target()), before);
        QVERIFY(!(QFile::permissions(target(u"read-only.png"_s)) & QFile::WriteOwner));
        struct stat info;
        for (const QString &name : {u".."_s, QString(), u"sub"_s, u"sub/film"_s}) {
            const QByteArray path = QFile::encodeName(QDir::cleanPath(target(name)));
            QCOMPARE(::stat(path.constData(), &info), 0);
            QCOMPARE(info.st_mode & 0777, S_ISDIR(info.st_mode) ? 0700U : 0600U);
        }
        QCOMPARE_LT(info.st_blocks * 512, 5'000'000);
#endif
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

    // And are named; another folder has no problem with them.
    void filesThatStay_data()
    {
        QTest::addColumn<QString>("stays"); // is unreadable, or in use
        QTest::addColumn<QString>("named");
        QTest::addColumn<int>("how");
        QTest::newRow("file") << u"sub/film.part"_s << u"sub/film.part"_s << 0;
        QTest::newRow("folder") << u"sub"_s << u"sub"_s << 0;
        QTest::newRow("its parent") << u".."_s << u""_s << 0;
        QTest::newRow("announced") << u"sub/film.part"_s << u"sub/film.part"_s << 1;
        QTest::newRow("beside what is announced") << u"sub/film.part"_s << u"sub/film.part"_s << 2;
        QTest::newRow("open") << u"sub/film.part"_s << u"sub/film.part"_s << 3;
    }
    void filesThatStay()
    {
        QFETCH(QString, stays);
        QFETCH(QString, named);
        QFETCH(int, how);
        for (const char *name : {"sub/film.part", "sub/film2", "a", "z"})
            MediaTree::write(source(QString::fromLatin1(name)), name);
        const QString path = QDir::cleanPath(source(stays));
        const QFile::Permissions permissions = QFile::permissions(path);
        const auto unlock = [=] { QFile::setPermissions(path, permissions); };
        const auto restore = qScopeGuard(unlock);
        const QString announced = how == 2 ? path.chopped(5) : u"//"_s + path;
        auto use = how == 1 || how == 2 ? std::make_unique<FileInUse>(announced) : nullptr;
        QFile writer(path);
        if (how == 0)
            QVERIFY(QFile::setPermissions(path, {}));
        else if (how == 3)
            QVERIFY(writer.open(QIODevice::Append));
        const qsizetype left = stays == u".."_s ? 4 : stays == u"sub"_s ? 2 : 1;
        FolderMove move = makeMove();
        QCOMPARE(move.copy(), how ? FolderMove::InUse : FolderMove::Failed);
        QVERIFY(move.removeOriginals());
        QCOMPARE(move.problems().size(), 1);
        QCOMPARE(move.problems().first().cause,
                 how ? FolderMove::BeingWritten : FolderMove::Unreadable);
        QCOMPARE(move.nameOf(move.problems().first()), named);
        QCOMPARE(MediaTree::read(target()).files.size(), 4 - left);
        FolderMove skipping = makeMove([](qint64) { return true; }, {named});
        QCOMPARE(skipping.copy(), FolderMove::Done);
        QVERIFY(skipping.removeOriginals());
        use.reset();
        writer.close();
        unlock();
        QCOMPARE(MediaTree::read(source()).files.size(), left);
        QVERIFY(moveAll());
        QCOMPARE(MediaTree::read(target()).files.size(), 4);
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

    // Whatever comes at any point: each file is there once, as it was last, and what has been
    // deleted stays so.
    void randomSequences()
    {
        runSequences("folder move", 80, 12, [this](Sequence &sequence) {
            QVERIFY(QDir(m_home->path()).removeRecursively());
            init();
            const auto makeContent = [&] {
                static int last = 0;
                return QByteArray::number(++last).rightJustified(8, '0');
            };
            QMap<QString, QByteArray> files;  // what is to be moved
            QMap<QString, QByteArray> others; // the client's own at the target
            std::map<QString, std::unique_ptr<BaseFile>> records;
            std::unique_ptr<QFile> writer;
            std::unique_ptr<FileInUse> use;
            const auto write = [&](const QString &name) {
                const QByteArray content = makeContent();
                const std::filesystem::path path = QFileInfo(source(name)).filesystemFilePath();
                std::error_code error;
                const auto time = std::filesystem::last_write_time(path, error);
                MediaTree::write(source(name), content);
                // A change within one tick of the clock, of the same size, does not show.
                const auto now = std::filesystem::file_time_type::clock::now();
                if (!error && time + std::chrono::seconds(1) > now && sequence.chance(80))
                    std::filesystem::last_write_time(path, time);
                else if (sequence.chance(50))
                    MediaTree::touch(source(name));
                files[name] = content;
                if (sequence.chance(50)) {
                    std::unique_ptr<BaseFile> &record = records[name];
                    record = std::make_unique<BaseFile>();
                    record->setFilePath(source(name));
                    record->setCacheFilePath(source(u"./"_s + name));
                }
            };
            const auto doSomething = [&] {
                const QString name = sequence.pick(QStringList{u"a.jpg"_s, u"b"_s, u"sub/c"_s});
                const bool isThere = QFileInfo::exists(source(name));
                const int operation = sequence.below(6);
                sequence.note(u"%1 of %2"_s.arg(operation).arg(name));
                switch (operation) {
                case 0:
                    if (isThere || !files.contains(name))
                        write(name);
                    break;
                case 1:
                    if (isThere) {
                        writer.reset(); // which may be its
                        QFile::remove(source(name));
                        files.remove(name);
                        records.erase(name);
                    }
                    break;
                case 2: // the copy, or what has its name, is the client's from now on
                    if (isThere || !files.contains(name)) {
                        others[name] = makeContent();
                        MediaTree::write(target(name), others[name]);
                    }
                    break;
                case 3:
                    use = sequence.chance(50) ? std::make_unique<FileInUse>(source(name)) : nullptr;
                    break;
                case 4:
                    writer = std::make_unique<QFile>(source(name));
                    if (!isThere || !writer->open(QIODevice::Append | QIODevice::Unbuffered))
                        writer.reset();
                    break;
                case 5:
                    if (writer && QFileInfo::exists(writer->fileName())) {
                        const QByteArray more = makeContent();
                        writer->write(more);
                        files[QDir(source()).relativeFilePath(writer->fileName())] += more;
                    }
                }
            };
            while (sequence.next()) {
                doSomething();
                if (sequence.chance(60))
                    continue;
                // A move that is stopped forgets of what changes which copies it has made.
                const bool stops = sequence.chance(30);
                bool isCopying = true; // later on nothing tells two contents of one tick apart
                FolderMove move = makeMove([&](qint64) {
                    if (isCopying && !stops && sequence.chance(15))
                        doSomething();
                    return !stops || sequence.chance(90);
                });
                const FolderMove::Result result = move.copy();
                isCopying = false;
                if (result == FolderMove::Cancelled) {
                    use.reset();
                    writer.reset();
                    QVERIFY(moveAll());
                    continue;
                }
                QVERIFY(result <= FolderMove::InUse);
                if (sequence.chance(80))
                    doSomething();
                move.removeOriginals();
                QVERIFY(!writer || QFileInfo::exists(writer->fileName()));
                BaseFile::tellFollowers(move.moved());
            }
            use.reset();
            writer.reset();
            QVERIFY(moveAll());
            QVERIFY(!QFileInfo::exists(source()));
            QList<QByteArray> wanted = files.values() + others.values();
            QList<QByteArray> found;
            for (const MediaTree::File &file : MediaTree::read(target()).files)
                found.append(file.content);
            std::sort(wanted.begin(), wanted.end());
            std::sort(found.begin(), found.end());
            QCOMPARE(found, wanted);
            for (auto other = others.cbegin(); other != others.cend(); ++other)
                QCOMPARE(contents(target(other.key())), other.value());
            for (const auto &[name, record] : records) {
                QCOMPARE(contents(record->filePath()), files.value(name));
                QCOMPARE(record->cacheFilePath(), record->filePath());
            }
        });
    }

    // Who listens is told once all has been moved, and may be gone by then.
    void recordsFollow()
    {
        MediaTree::write(source(u"a.jpg"_s), "content");
        BaseFile record;
        record.setFilePath(source(u"a.jpg"_s));
        auto gone = std::make_unique<BaseFile>(&record);
        QStringList told;
        for (BaseFile *file : {&record, gone.get()}) {
            connect(file, &BaseFile::filePathChanged, this, [&](const QString &path) {
                told.append(path);
                gone.reset();
            });
        }
        FolderMove move = makeMove();
        QCOMPARE(move.copy(), FolderMove::Done);
        QCOMPARE(record.filePath(), source(u"a.jpg"_s));
        QVERIFY(move.removeOriginals());
        QCOMPARE(record.filePath(), target(u"a.jpg"_s));
        QVERIFY(told.isEmpty());
        for (int i = 0; i < 2; ++i)
            BaseFile::tellFollowers(move.moved());
        QVERIFY(!gone && !told.isEmpty() && told.size() <= 2);
        QCOMPARE(told.first(), target(u"a.jpg"_s));
    }

    void namesThatAreTaken()
    {
        // As long as a name may be, in bytes.
        const QString longName = QString(83, QChar(0x4e2d)) + u"abc.jp"_s;
        for (const QString &name : {u"same.jpg"_s, u"other.tar.gz"_s, u".hidden"_s, u"folder"_s,
                                    u"link.d/link"_s, longName})
            MediaTree::write(source(name), "content");
        for (const QString &name :
             {u"other.tar.gz"_s, u"other.tar (1).gz"_s, u".hidden"_s, u"folder/x"_s, longName})
            MediaTree::write(target(name), "CONTENT");
        MediaTree::write(target(u"same.jpg"_s), "content");
        const QString outside = m_home->path() + u"/outside"_s;
        MediaTree::write(outside, "content");
        QVERIFY(QDir().mkpath(target(u"link.d"_s)));
        QVERIFY(QFile::link(outside, target(u"link.d/link"_s)));

        QVERIFY(moveAll());
        QStringList moved;
        QStringList kept;
        const QMap<QString, MediaTree::File> after = MediaTree::read(target()).files;
        for (auto file = after.cbegin(); file != after.cend(); ++file)
            (file->content == "content" ? moved : kept).append(file.key());
        QCOMPARE(moved,
                 (QStringList{u".hidden (1)"_s, u"folder (1)"_s, u"link.d/link (1)"_s,
                              u"other.tar (2).gz"_s, u"same.jpg"_s,
                              QString(82, QChar(0x4e2d)) + u" (1).jp"_s}));
        QCOMPARE(kept,
                 (QStringList{u".hidden"_s, u"folder/x"_s, u"other.tar (1).gz"_s, u"other.tar.gz"_s,
                              longName}));
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
