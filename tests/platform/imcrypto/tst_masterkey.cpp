#include "imcrypto/masterkey.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <barrier>
#include <memory>
#include <thread>
#include <vector>

using namespace crypto;
using Status = MasterKey::Status;

namespace
{

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray key(const MasterKey::Answer &answer)
{
    return answer.status == Status::Found ? QByteArray(answer.key) : QByteArray();
}

QStringList files(const QString &directory)
{
    return QDir(directory).entryList(QDir::Files | QDir::Hidden);
}

} // namespace

class TestMasterKey : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void file();
    void damagedFile_data();
    void damagedFile();
    void unwritableDirectory();
    void threadsAtOnce();
    void processesAtOnce();
};

void TestMasterKey::file()
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

    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    QVERIFY(!(QFile::permissions(path) & others));
    QVERIFY(QFile::setPermissions(path, QFile::permissions(path) | others));
    QCOMPARE(key(MasterKey::inFile(path)->load()), made);
    QVERIFY(!(QFile::permissions(path) & others));

    QVERIFY(key(MasterKey::inFile(directory.filePath(QStringLiteral("other")))->create()) != made);
}

void TestMasterKey::damagedFile_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut") << QByteArray(31, 'k');
    QTest::newRow("longer") << QByteArray(33, 'k');
    QTest::newRow("huge") << QByteArray(1 << 20, 'k');
    QTest::newRow("in a keychain that does not run") << QByteArray("keychain:master-00112233");
}

void TestMasterKey::damagedFile()
{
    QFETCH(QByteArray, bytes);
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("master.key"));
    QVERIFY(write(path, bytes));
    QCOMPARE(MasterKey::inFile(path)->load().status, Status::Unavailable);
    QCOMPARE(MasterKey::inFile(path)->create().status, Status::Unavailable);
    QCOMPARE(contents(path), bytes);
    QCOMPARE(files(directory.path()).size(), 1);
}

void TestMasterKey::unwritableDirectory()
{
    const QTemporaryDir directory;
    QVERIFY(write(directory.filePath(QStringLiteral("file")), "in the way"));
    const auto blocked = MasterKey::inFile(directory.filePath(QStringLiteral("file/master.key")));
    QCOMPARE(blocked->load().status, Status::None);
    QCOMPARE(blocked->create().status, Status::Unavailable);
}

void TestMasterKey::threadsAtOnce()
{
    constexpr int count = 8;
    for (int round = 0; round < 20; ++round) {
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("master.key"));
        std::barrier start(count);
        std::vector<QByteArray> made(count);
        {
            std::vector<std::jthread> threads;
            for (QByteArray &mine : made) {
                threads.emplace_back([&] {
                    start.arrive_and_wait();
                    mine = key(MasterKey::inFile(path)->create());
                });
            }
        }
        QCOMPARE(made.front().size(), 32);
        QCOMPARE(QSet<QByteArray>(made.begin(), made.end()).size(), 1);
        QCOMPARE(files(directory.path()).size(), 1);
    }
}

void TestMasterKey::processesAtOnce()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("master.key"));
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 4; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(QCoreApplication::applicationFilePath(),
                                {QStringLiteral("create"), path});
    }
    QSet<QByteArray> made;
    for (const std::unique_ptr<QProcess> &process : processes) {
        QVERIFY(process->waitForFinished(60000));
        QCOMPARE(process->exitCode(), 0);
        made.insert(process->readAllStandardOutput());
    }
    QCOMPARE(made, QSet<QByteArray>{key(MasterKey::inFile(path)->load()).toHex()});
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // What processesAtOnce() starts.
    if (argc == 3 && QByteArrayView(argv[1]) == "create") {
        const QByteArray made = key(MasterKey::inFile(QString::fromLocal8Bit(argv[2]))->create());
        return std::fputs(made.toHex().constData(), stdout) < 0;
    }
    TestMasterKey test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_masterkey.moc"
