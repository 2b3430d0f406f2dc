#include "imlog/imlog.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <thread>

/// What a person finds in the log files.
class tst_ImLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void threads();
    void oneLineEach();
    void movesToAnotherDirectory();
    void rotates();
    void withoutApplication();
    void nowhereToWrite();

private:
    static QStringList lines(const QString &directory)
    {
        QFile file(directory + QStringLiteral("/im.log"));
        if (!file.open(QFile::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
};

void tst_ImLog::threads()
{
    QTemporaryDir directory;
    QVERIFY(ImLog::instance()->setDirectory(directory.path()));
    constexpr int threads = 8;
    constexpr int count = 200;
    {
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < threads; ++thread) {
            workers.emplace_back([thread] {
                for (int i = 0; i < count; ++i) {
                    ImLog::info(QStringLiteral("<%1>%2").arg(thread).arg(i));
                    if (i % 100 == 0)
                        ImLog::instance()->flush();
                }
            });
        }
    }
    ImLog::instance()->flush();
    const QStringList all = lines(directory.path());
    QCOMPARE(all.size(), threads * count);
    for (int thread = 0; thread < threads; ++thread) {
        const QStringList own = all.filter(QStringLiteral("<%1>").arg(thread));
        QCOMPARE(own.size(), count);
        for (int i = 0; i < count; ++i)
            QVERIFY2(own[i].endsWith(QStringLiteral(">%1").arg(i)), qPrintable(own[i]));
    }
}

void tst_ImLog::oneLineEach()
{
    QTemporaryDir directory;
    QVERIFY(ImLog::instance()->setDirectory(directory.path()));
    ImLog::info(QStringLiteral("é {} %s"));
    ImLog::error(QStringLiteral("a\n2000-01-01 00:00:00 info: forged\r\nb"));
    ImLog::instance()->flush();
    const QStringList all = lines(directory.path());
    QCOMPARE(all.size(), 2);
    const QRegularExpression form(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} [+-]\\d\\d:\\d\\d "
                       "\\[\\d+\\] (\\w+): "));
    QCOMPARE(form.match(all[0]).captured(1), QStringLiteral("info"));
    QVERIFY(all[0].endsWith(QStringLiteral("é {} %s")));
    QCOMPARE(form.match(all[1]).captured(1), QStringLiteral("error"));
}

void tst_ImLog::movesToAnotherDirectory()
{
    QTemporaryDir directory;
    const QString first = directory.filePath(QStringLiteral("first"));
    const QString second = directory.filePath(QStringLiteral("deep/second"));
    QVERIFY(ImLog::instance()->setDirectory(first));
    ImLog::info(QStringLiteral("1"));
    QVERIFY(ImLog::instance()->setDirectory(second));
    QCOMPARE(ImLog::instance()->directory(), second);
    ImLog::info(QStringLiteral("2"));
    // Below a file no directory can be made: the log stays where it is.
    QVERIFY(!ImLog::instance()->setDirectory(second + QStringLiteral("/im.log/x")));
    QVERIFY(QDir().mkpath(directory.filePath(QStringLiteral("taken/im.log"))));
    QVERIFY(!ImLog::instance()->setDirectory(directory.filePath(QStringLiteral("taken"))));
    QCOMPARE(ImLog::instance()->directory(), second);
    ImLog::info(QStringLiteral("3"));
    ImLog::instance()->flush();
    QCOMPARE(lines(first).size(), 1);
    QCOMPARE(lines(second).size(), 2);
}

void tst_ImLog::rotates()
{
    QTemporaryDir directory;
    QVERIFY(ImLog::instance()->setDirectory(directory.path()));
    const QString text(1 << 20, u'x');
    for (int i = 0; i < 30; ++i)
        ImLog::info(text);
    ImLog::instance()->flush();
    const QFileInfoList files = QDir(directory.path()).entryInfoList(QDir::Files);
    QCOMPARE(files.size(), 4);
    for (const QFileInfo &file : files)
        QVERIFY(file.size() <= 5 * 1024 * 1024);
}

// --- Children: processes that begin or end in unusual ways.

static QProcess &runChild(QProcess &child, const char *kind, const QString &dataHome)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(kind)});
    child.waitForFinished();
    return child;
}

void tst_ImLog::withoutApplication()
{
    // No application object, many lines in flight at exit, and one from a static destructor.
    QTemporaryDir home;
    QProcess child;
    QCOMPARE(runChild(child, "--no-application", home.path()).exitCode(), 0);
    const QStringList found = lines(QDir(home.path()).filePath(QStringLiteral("log")))
        + lines(QDir(home.path()).filePath(QStringLiteral("tst_imlog/log")));
    QCOMPARE(found.size(), 1002);
    QVERIFY(found.constLast().endsWith(QStringLiteral("last words")));
}

void tst_ImLog::nowhereToWrite()
{
    QTemporaryDir home;
    QFile file(home.filePath(QStringLiteral("file")));
    QVERIFY(file.open(QFile::WriteOnly));
    QProcess child;
    QCOMPARE(runChild(child, "--nowhere", file.fileName()).exitCode(), 0);
    const QByteArray output = child.readAllStandardError();
    QCOMPARE(output.count("nowhere to go"), 1);
    QCOMPARE(output.count("last words"), 1);
}

struct LateLogger {
    ~LateLogger()
    {
        if (enabled)
            ImLog::error(QStringLiteral("last words"));
    }
    bool enabled = false;
};
static LateLogger lateLogger; // made before the log, so destroyed after it would be

int main(int argc, char **argv)
{
    const char *kind = argc > 1 ? argv[1] : "";
    lateLogger.enabled = std::strncmp(kind, "--no", 4) == 0;
    if (std::strcmp(kind, "--no-application") == 0) {
        for (int i = 0; i < 1000; ++i)
            ImLog::info(QString::number(i));
        ImLog::error(QStringLiteral("end"));
        return 0;
    }
    if (std::strcmp(kind, "--nowhere") == 0) {
        // As an application does that wants everything in its log.
        static QtMessageHandler previous = nullptr;
        previous = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext &context, const QString &text) {
                ImLog::info(text);
                previous(type, context, text);
            });
        ImLog::error(QStringLiteral("nowhere to go"));
        ImLog::instance()->flush();
        return ImLog::instance()->directory().isEmpty() ? 0 : 1;
    }
    QCoreApplication app(argc, argv);
    tst_ImLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_imlog.moc"
