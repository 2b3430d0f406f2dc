#include "imlog/imlog.h"

#include "support/facts.h"
#include "support/files.h"
#include "support/loglines.h"
#include "support/privacy.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <thread>

#ifdef Q_OS_LINUX
#    include <fcntl.h>
#    include <unistd.h>
#endif

using namespace Qt::StringLiterals;

/// What a person finds in the log files.
class tst_ImLog : public QObject
{
    Q_OBJECT

    static QStringList lines(const QString &directory)
    {
        return QString::fromUtf8(contents(directory + u"/im.log"_s))
            .split(u'\n', Qt::SkipEmptyParts);
    }

    static QProcess &runChild(QProcess &child, const char *kind, const QString &dataHome)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_DATA_HOME"_s, dataHome);
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(kind)});
        child.waitForFinished();
        return child;
    }

private Q_SLOTS:
    void threads()
    {
        QTemporaryDir directory;
        QVERIFY(ImLog::instance()->setDirectory(directory.path()));
        constexpr int count = 200;
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < 8; ++thread) {
            workers.emplace_back([thread] {
                for (int i = 0; i < count; ++i) {
                    ImLog::info(u"<%1>%2"_s.arg(thread).arg(i));
                    if (i % 100 == 0)
                        ImLog::instance()->flush();
                }
            });
        }
        workers.clear();
        ImLog::instance()->flush();
        const QStringList all = lines(directory.path());
        QCOMPARE(all.size(), 8 * count);
        for (int thread = 0; thread < 8; ++thread) {
            const QStringList own = all.filter(u"<%1>"_s.arg(thread));
            QCOMPARE(own.size(), count);
            for (int i = 0; i < count; ++i)
                QVERIFY2(own[i].endsWith(u">%1"_s.arg(i)), qPrintable(own[i]));
        }
    }

    void oneLegibleLineEach()
    {
        const QString more = u"... (4097 characters)"_s;
        QList<std::pair<QString, QString>> rows{
            {u"\t\r"_s, u"\\t\\r"_s},
            {QString(100'000, u'x'), QString(4096, u'x') + u"... (100000 characters)"_s},
            {u"😀"_s.repeated(2048) + u'x', u"😀"_s.repeated(2048) + more},
            {u'x' + u"😀"_s.repeated(2048), u'x' + u"😀"_s.repeated(2047) + more}};
        for (const QString &line : facts(u"lines.txt"_s))
            rows.append({line.section(u'\t', 0, 0), line.section(u'\t', 1)});
        QTemporaryDir directory;
        QVERIFY(ImLog::instance()->setDirectory(directory.path()));
        LogLines terminal("im.test");
        const QLoggingCategory category("im.test");
        for (const auto &[text, written] : rows) {
            ImLog::info(category, text);
            ImLog::error(category, text);
        }
        const QStringList printed = terminal.takeTexts();
        ImLog::instance()->flush();
        ImLog::infoInCrash("crash\n\x1b[2J");
        const QStringList all = lines(directory.path());
        QCOMPARE(all.size(), 2 * rows.size() + 1);
        QCOMPARE(printed.size(), 2 * rows.size());
        const auto parts = [](const QString &line) {
            static const QRegularExpression form(
                u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} [+-]\\d\\d:\\d\\d "
                "\\[\\d+\\] (\\w+): (.*)$"_s);
            return form.match(line).capturedTexts().mid(1);
        };
        for (qsizetype i = 0; i < rows.size(); ++i) {
            const QString &written = rows[i].second;
            QCOMPARE(parts(all[2 * i]), (QStringList{u"info"_s, written}));
            QCOMPARE(parts(all[2 * i + 1]), (QStringList{u"error"_s, written}));
            const QString shown = u"im.test: "_s + written;
            QCOMPARE(printed.mid(2 * i, 2), (QStringList{shown, shown}));
        }
        QCOMPARE(parts(all.last()), (QStringList{u"info"_s, u"crash??[2J"_s}));
    }

    void movesToAnotherDirectory()
    {
        QTemporaryDir directory;
        const QString first = directory.filePath(u"first"_s);
        const QString second = directory.filePath(u"deep/second"_s);
        ImLog &log = *ImLog::instance();
        QVERIFY(log.setDirectory(first));
        ImLog::info(u"1"_s);
        QVERIFY(log.setDirectory(second));
        ImLog::info(u"2"_s);
        // Below a file no directory can be made: the log stays where it is.
        QVERIFY(!log.setDirectory(second + u"/im.log/x"_s));
        QVERIFY(QDir().mkpath(directory.filePath(u"taken/im.log"_s)));
        QVERIFY(!log.setDirectory(directory.filePath(u"taken"_s)));
        QCOMPARE(log.directory(), second);
        ImLog::info(u"3"_s);
        log.flush();
        QVERIFY(lines(first).size() == 1 && lines(second).size() == 2);
    }

    void rotatesForItsOwnerAlone()
    {
        QTemporaryDir home;
        const NoUmask noUmask;
        const QDir directory(home.filePath(u"log"_s));
        QVERIFY(ImLog::instance()->setDirectory(directory.path()));
        QCOMPARE(openToOthers(home.path()), QStringList());
        QVERIFY(QFile::setPermissions(directory.filePath(u"im.log"_s), everybody));
        QVERIFY(ImLog::instance()->setDirectory(directory.path()));
        QCOMPARE(openToOthers(home.path()), QStringList());
        const QString text(4096, u'x');
        for (int i = 0; i < 7000; ++i)
            ImLog::info(text);
        ImLog::instance()->flush();
        ImLog::infoInCrash("crash");
        QVERIFY(lines(directory.path()).constLast().endsWith(u"crash"_s));
        QCOMPARE(openToChildren(home.path()), QStringList());
        QCOMPARE(openToOthers(home.path()), QStringList());
        const QFileInfoList files = directory.entryInfoList(QDir::Files);
        QCOMPARE(files.size(), 4);
        for (const QFileInfo &file : files)
            QVERIFY(file.size() <= 5 * 1024 * 1024);
    }

    void withoutApplication()
    {
        // No application object, many lines in flight at exit, and one from a static destructor.
        QTemporaryDir home;
        QProcess child;
        QCOMPARE(runChild(child, "--no-application", home.path()).exitCode(), 0);
        const QStringList found = lines(QDir(home.path()).filePath(u"log"_s))
            + lines(QDir(home.path()).filePath(u"tst_imlog/log"_s));
        QCOMPARE(found.size(), 1002);
        QVERIFY(found.constLast().endsWith(u"last words"_s));
    }

#ifdef Q_OS_LINUX
    void aDiskThatDoesNotAnswer()
    {
        QTemporaryDir home;
        QProcess child;
        QElapsedTimer timer;
        timer.start();
        runChild(child, "--stuck", home.path());
        QVERIFY2(child.exitStatus() == QProcess::NormalExit, "It hangs");
        QCOMPARE(child.exitCode(), 0);
        QVERIFY(timer.elapsed() < 9000);
        QCOMPARE(child.readAllStandardError().count("last words"), 1);
    }
#endif

    void nowhereToWrite()
    {
        QTemporaryDir home;
        QVERIFY(write(home.filePath(u"file"_s), {}));
        QProcess child;
        QCOMPARE(runChild(child, "--nowhere", home.filePath(u"file"_s)).exitCode(), 0);
        const QByteArray output = child.readAllStandardError();
        QVERIFY(output.count("nowhere to go") == 1 && output.count("last words") == 1);
    }
};

struct LateLogger {
    ~LateLogger()
    {
        if (enabled)
            ImLog::error(u"last words"_s);
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
        ImLog::error(u"end"_s);
        return 0;
    }
#ifdef Q_OS_LINUX
    if (std::strcmp(kind, "--stuck") == 0) {
        lateLogger.enabled = true;
        ImLog::info(u"opens the file"_s);
        ImLog::instance()->flush();
        // In place of the file comes a pipe that is full and that nobody reads.
        int pipe[2];
        const QByteArray full(1 << 20, 'x');
        if (::pipe2(pipe, O_NONBLOCK) != 0 || ::write(pipe[1], full.constData(), full.size()) <= 0)
            return 2;
        ::fcntl(pipe[1], F_SETFL, 0);
        for (const QFileInfo &file : QDir(u"/proc/self/fd"_s).entryInfoList(QDir::AllEntries)) {
            if (!file.symLinkTarget().endsWith(u"/im.log"_s))
                continue;
            const int log = file.fileName().toInt();
            if (!(::fcntl(log, F_GETFD) & FD_CLOEXEC)) // programs that are started would have it
                return 3;
            ::dup2(pipe[1], log);
        }
        bool isWritten = false;
        for (int i = 0; i < 3; ++i) {
            ImLog::info(u"waits"_s);
            isWritten = ImLog::instance()->flush(QDeadlineTimer(200)) || isWritten;
        }
        return isWritten ? 1 : 0;
    }
#endif
    if (std::strcmp(kind, "--nowhere") == 0) {
        // As an application does that wants everything in its log.
        static QtMessageHandler previous = nullptr;
        previous = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext &context, const QString &text) {
                ImLog::info(text);
                previous(type, context, text);
            });
        ImLog::error(u"nowhere to go"_s);
        ImLog::instance()->flush();
        return ImLog::instance()->directory().isEmpty() ? 0 : 1;
    }
    QCoreApplication app(argc, argv);
    tst_ImLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_imlog.moc"
