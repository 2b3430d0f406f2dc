#include "imlog/imlog.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <thread>

using namespace Qt::StringLiterals;

/// What a person finds in the log files.
class tst_ImLog : public QObject
{
    Q_OBJECT

    static QStringList lines(const QString &directory)
    {
        QFile file(directory + u"/im.log"_s);
        if (!file.open(QFile::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
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

    void oneLineEach()
    {
        QTemporaryDir directory;
        QVERIFY(ImLog::instance()->setDirectory(directory.path()));
        ImLog::info(u"é {} %s"_s);
        ImLog::error(u"a\n2000-01-01 00:00:00 info: forged\r\nb"_s);
        ImLog::instance()->flush();
        ImLog::infoInCrash("crash");
        const QStringList all = lines(directory.path());
        QCOMPARE(all.size(), 3);
        const QRegularExpression form(
            u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} [+-]\\d\\d:\\d\\d "
            "\\[\\d+\\] (\\w+): "_s);
        QCOMPARE(form.match(all[0]).captured(1), u"info"_s);
        QVERIFY(all[0].endsWith(u"é {} %s"_s));
        QCOMPARE(form.match(all[1]).captured(1), u"error"_s);
        QCOMPARE(form.match(all[2]).captured(1), u"info"_s);
        QVERIFY(all[2].endsWith(u"crash"_s));
    }

    void movesToAnotherDirectory()
    {
        QTemporaryDir directory;
        const QString first = directory.filePath(u"first"_s);
        const QString second = directory.filePath(u"deep/second"_s);
        QVERIFY(ImLog::instance()->setDirectory(first));
        ImLog::info(u"1"_s);
        QVERIFY(ImLog::instance()->setDirectory(second));
        QCOMPARE(ImLog::instance()->directory(), second);
        ImLog::info(u"2"_s);
        // Below a file no directory can be made: the log stays where it is.
        QVERIFY(!ImLog::instance()->setDirectory(second + u"/im.log/x"_s));
        QVERIFY(QDir().mkpath(directory.filePath(u"taken/im.log"_s)));
        QVERIFY(!ImLog::instance()->setDirectory(directory.filePath(u"taken"_s)));
        QCOMPARE(ImLog::instance()->directory(), second);
        ImLog::info(u"3"_s);
        ImLog::instance()->flush();
        QCOMPARE(lines(first).size(), 1);
        QCOMPARE(lines(second).size(), 2);
    }

    void rotates()
    {
        QTemporaryDir directory;
        QVERIFY(ImLog::instance()->setDirectory(directory.path()));
        const QString text(1 << 20, u'x');
        for (int i = 0; i < 30; ++i)
            ImLog::info(text);
        ImLog::instance()->flush();
        ImLog::infoInCrash("crash");
        QVERIFY(lines(directory.path()).constLast().endsWith(u"crash"_s));
        const QFileInfoList files = QDir(directory.path()).entryInfoList(QDir::Files);
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

    void nowhereToWrite()
    {
        QTemporaryDir home;
        QFile file(home.filePath(u"file"_s));
        QVERIFY(file.open(QFile::WriteOnly));
        QProcess child;
        QCOMPARE(runChild(child, "--nowhere", file.fileName()).exitCode(), 0);
        const QByteArray output = child.readAllStandardError();
        QCOMPARE(output.count("nowhere to go"), 1);
        QCOMPARE(output.count("last words"), 1);
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
