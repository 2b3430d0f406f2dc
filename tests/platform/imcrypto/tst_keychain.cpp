#include "imcrypto/masterkey.h"
#include "support/files.h"

#include <QLocalServer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <cstdlib>

using namespace crypto;

/// Where an installation's key ends up, with the session bus that it finds. Each start is a process
/// of its own, since one process knows one bus.
class TestKeychain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    /// No session bus, one that is gone, and one that never answers.
    void withoutKeychain()
    {
        QTemporaryDir bus;
        QLocalServer silent;
        QVERIFY(silent.listen(bus.filePath(QStringLiteral("bus"))));
        for (const QByteArray &address : {QByteArray(), QByteArray("unix:path=/nonexistent/bus"),
                                          "unix:path=" + silent.fullServerName().toLocal8Bit()}) {
            const QTemporaryDir directory;
            const QByteArray made = start(directory.path(), address);
            QCOMPARE(made.size(), 32);
            QCOMPARE(start(directory.path(), address), made);
        }
        QVERIFY(silent.hasPendingConnections());
    }

    void withKeychain()
    {
        const QByteArray bus = qgetenv("TEST_KEYCHAIN_BUS");
        if (bus.isEmpty())
            QSKIP("no keychain to test with: dbus-run-session or gnome-keyring-daemon is missing");
        const QTemporaryDir directory;
        const QByteArray made = start(directory.path(), bus);
        QCOMPARE(made.size(), 32);
        QCOMPARE(start(directory.path(), bus), made);

        const QByteArray content =
            contents(directory.filePath(QStringLiteral("tst_keychain/master.key")));
        QVERIFY2(content.startsWith("keychain:"), content);
        QVERIFY(!content.contains(made) && !content.contains(made.toHex()));

        // It lies in the keychain: without one there is no key, and none is made.
        QCOMPARE(start(directory.path(), {}), QByteArray());
        QCOMPARE(start(directory.path(), bus), made);
    }

private:
    /// One start of the program: the key's bytes, or nothing when it could not be had.
    static QByteArray start(const QString &dataHome, const QByteArray &busAddress)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                           QString::fromLatin1(busAddress));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("installation")});
        // Spins the event loop: the bus that does not answer has to accept.
        if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 20000))
            return "it hangs";
        return QByteArray::fromHex(process.readAllStandardOutput());
    }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 2 && QByteArrayView(argv[1]) == "installation") {
        const MasterKey::Answer answer = MasterKey::installation()->create();
        std::fputs(QByteArray(answer.key).toHex().constData(), stdout);
        std::fflush(stdout);
        // Not by way of Qt's own destructors: at the end they wait for a bus that never answers.
        std::_Exit(0);
    }
    TestKeychain test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_keychain.moc"
