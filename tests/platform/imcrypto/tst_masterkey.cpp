#include "imcrypto/masterkey.h"
#include "imcrypto/masterkey_p.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <barrier>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#ifdef Q_OS_UNIX
#    include <sys/stat.h>
#    include <unistd.h>
#endif

using namespace crypto;
using Status = MasterKey::Status;

namespace
{

QByteArray key(const MasterKey::Answer &answer)
{
    return answer.status == Status::Found ? QByteArray(answer.key) : QByteArray();
}

QStringList files(const QString &directory)
{
    return QDir(directory).entryList(QDir::Files | QDir::Hidden);
}

/// A key on a file system that answers a wish for a hard link with `error`.
std::shared_ptr<MasterKey> keyWithoutLinks(const QString &path,
                                           std::errc error = std::errc::operation_not_permitted)
{
    return keyFile(path, [error](const auto &, const auto &) { return make_error_code(error); });
}

} // namespace

class TestMasterKey : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void file()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("deep/down/master.key"));
        QCOMPARE(MasterKey::inFile(path)->load().status, Status::None);
        const QByteArray made = key(MasterKey::inFile(path)->create());
        QCOMPARE(made.size(), 32);
        QCOMPARE(key(MasterKey::inFile(path)->load()), made);
        QCOMPARE(key(MasterKey::inFile(path)->create()), made);
        QCOMPARE(files(directory.filePath(QStringLiteral("deep/down"))),
                 QStringList{QStringLiteral("master.key")});

        const auto others =
            QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(path) & others));
        QVERIFY(QFile::setPermissions(path, QFile::permissions(path) | others));
        QCOMPARE(key(MasterKey::inFile(path)->load()), made);
        QVERIFY(!(QFile::permissions(path) & others));

        QVERIFY(key(MasterKey::inFile(directory.filePath(QStringLiteral("other")))->create())
                != made);
        const auto blocked = MasterKey::inFile(path + QStringLiteral("/master.key"));
        QCOMPARE(blocked->load().status, Status::None);
        QCOMPARE(blocked->create().status, Status::Unavailable);
    }

    void whatIsNoFileOfOurs()
    {
#ifdef Q_OS_UNIX
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("master.key"));
        const QString other = directory.filePath(QStringLiteral("other"));
        const QByteArray name = QFile::encodeName(path);
        const QByteArray others = QFile::encodeName(other);
        const std::function<bool()> obstacles[] = {
            [&] { return ::mkfifo(name.constData(), 0600) == 0; },
            [&] { return ::symlink(others.constData(), name.constData()) == 0; },
            [&] { return ::symlink("nowhere", name.constData()) == 0; },
            [&] { return ::mkdir(name.constData(), 0700) == 0; },
            [&] {
                return ::geteuid() != 0
                    || (write(path, QByteArray(32, 'k'))
                        && ::chown(name.constData(), 65534, 0) == 0);
            },
            [&] { return write(path, {}); },
            [&] { return write(path, QByteArray(31, 'k')); },
            [&] { return write(path, QByteArray(1 << 20, 'k')); },
            // In a keychain that does not run.
            [&] { return write(path, "keychain:master-00112233"); },
        };
        for (const auto &place : obstacles) {
            QVERIFY(write(other, QByteArray(32, 'o')));
            QVERIFY(QFile::setPermissions(other, QFile::Permissions(0x6644)));
            QVERIFY(place());
            const auto bytes = [&] {
                return QFileInfo(path).isFile() ? contents(path) : QByteArray();
            };
            const QByteArray before = bytes();
            const QStringList names = files(directory.path());
            const auto source = MasterKey::inFile(path);
            QCOMPARE(source->mayWait(), before.startsWith("keychain:"));
            QCOMPARE(source->load().status, Status::Unavailable);
            QCOMPARE(source->create().status, Status::Unavailable);
            QCOMPARE(bytes(), before);
            QCOMPARE(files(directory.path()), names);
            QCOMPARE(QFile::permissions(other), QFile::Permissions(0x6644));
            QCOMPARE(contents(other), QByteArray(32, 'o'));
            QVERIFY(QFile::remove(path) || QDir().rmdir(path));
        }
#else
        QSKIP("there are no such files here");
#endif
    }

    void removes()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("master.key"));
        const auto source = MasterKey::inFile(path);
        const QByteArray made = key(source->create());
        // Left by a process that died while it made the key, and somebody else's.
        QVERIFY(write(path + QStringLiteral(".0123456789abcdef"), made));
        QVERIFY(write(path + QStringLiteral(".copy"), "not ours"));
        QVERIFY(source->remove());
        QCOMPARE(files(directory.path()), QStringList(QStringLiteral("master.key.copy")));
        QCOMPARE(source->load().status, Status::None);
        QVERIFY(source->remove());
        QVERIFY(key(source->create()) != made);
    }

    void withoutHardLinks()
    {
        for (const std::errc error :
             {std::errc::operation_not_permitted, std::errc::operation_not_supported,
              std::errc::function_not_supported, std::errc::permission_denied}) {
            const QTemporaryDir directory;
            const QString path = directory.filePath(QStringLiteral("master.key"));
            const QByteArray made = key(keyWithoutLinks(path, error)->create());
            QCOMPARE(made.size(), 32);
            QCOMPARE(key(keyWithoutLinks(path, error)->create()), made);
            QCOMPARE(key(MasterKey::inFile(path)->load()), made);
            QCOMPARE(files(directory.path()).size(), 1);
            QVERIFY(!(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther)));
        }
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("master.key"));
        // Another trouble is no reason to do without.
        QCOMPARE(keyWithoutLinks(path, std::errc::no_space_on_device)->create().status,
                 Status::Unavailable);
        QVERIFY(files(directory.path()).isEmpty());
        // Somebody died while it was making the key.
        QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(),
                                   {QStringLiteral("die"), path}),
                 0);
        QCOMPARE(files(directory.path()).size(), 1);
        QCOMPARE(key(keyWithoutLinks(path)->create()).size(), 32);
    }

    void threadsAtOnce()
    {
        constexpr int count = 8;
        for (int round = 0; round < 40; ++round) {
            const QTemporaryDir directory;
            const QString path = directory.filePath(QStringLiteral("master.key"));
            std::barrier start(count);
            std::vector<QByteArray> made(count);
            {
                std::vector<std::jthread> threads;
                for (QByteArray &mine : made) {
                    threads.emplace_back([&] {
                        start.arrive_and_wait();
                        const auto source =
                            round % 2 ? MasterKey::inFile(path) : keyWithoutLinks(path);
                        mine = key(source->create());
                    });
                }
            }
            QCOMPARE(made.front().size(), 32);
            QCOMPARE(QSet<QByteArray>(made.begin(), made.end()).size(), 1);
            QCOMPARE(files(directory.path()).size(), 1);
        }
    }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && QByteArrayView(argv[1]) == "die") {
        QLockFile turn(QString::fromLocal8Bit(argv[2]) + QStringLiteral(".lock"));
        std::_Exit(turn.tryLock() ? 0 : 1);
    }
    TestMasterKey test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_masterkey.moc"
