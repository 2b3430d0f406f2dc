#include "account/threadmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QCoreApplication>
#include <QTest>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

AppSettingModel *model()
{
    return AppSettingModel::instance();
}

QStringList messages;
void collect(QtMsgType, const QMessageLogContext &, const QString &text)
{
    messages.append(text);
}

} // namespace

/// Without a graphical application, or any; and from many threads.
class TestAppSettingThreads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup()
    {
        ThreadManager::getInstance()->quitAll();
        AppSettingModel::releaseInstance();
    }
    void withoutAGraphicalApplication()
    {
        for (const bool application : {false, true}) {
            int argc = 1;
            char name[] = "test";
            char *argv[] = {name, nullptr};
            const auto app = application ? std::make_unique<QCoreApplication>(argc, argv) : nullptr;

            const QtMessageHandler before = qInstallMessageHandler(collect);
            ThreadManager::getInstance()->init();
            model()->loadGlobalData();
            model()->reset();
            model()->setThemeFontSize(20);
            const QString language = model()->language();
            cleanup();
            model()->loadGlobalData();
            qInstallMessageHandler(before);

            QCOMPARE(std::exchange(messages, {}),
                     QStringList{u"AppSettingModel::resetAppSetting"_s});
            QCOMPARE(model()->themeFontSize(), 20);
            QCOMPARE(model()->lineHeigt(), 0);
            QCOMPARE(language, QLocale::system().name());
            QCOMPARE(model()->themeColor(), u""_s);
            if (app) {
                QCOMPARE(app->property("fontPixelSize"), 20);
                QCOMPARE(app->property("autoRun"), false);
            }
            cleanup();
        }
    }

    void eightThreads()
    {
        constexpr int threads = 8;
        constexpr int rounds = 500;
        ThreadManager::getInstance()->init();
        model()->loadGlobalData();
        std::atomic<int> wrong = 0;
        std::vector<std::thread> all;
        for (int thread = 0; thread < threads; ++thread) {
            all.emplace_back([thread, &wrong] {
                const QString own = u"thread%1"_s.arg(thread);
                for (int i = 0; i < rounds; ++i) {
                    // Its own key, read back at once ...
                    model()->setValue(own, i, true);
                    if (model()->getValue(own, -1) != i)
                        ++wrong;
                    // ... one that all fight for, in every kind of type ...
                    model()->setSessionListWidth(thread * rounds + i);
                    model()->setDarkMode(i % 2 == 0);
                    model()->setPasscode(QString(20 + i % 3, QChar(u'0' + thread)));
                    model()->setImageEditTool({{u"size"_s, thread}});
                    model()->setEmojiSkinIndex(u"\u270B"_s, thread);
                    // ... and never a torn one.
                    const QString passcode = model()->passcode();
                    if (passcode.count(passcode[0]) != passcode.size())
                        ++wrong;
                    const int tone = model()->emojiSkinIndex(u"\u270B"_s);
                    if (tone < 0 || tone >= threads || model()->imageEditTool().size() != 1)
                        ++wrong;
                    model()->largeEmoji();
                    model()->setLargeEmoji(i % 3 == 0);
                    model()->containsAutoDownloadSetting();
                }
            });
        }
        for (std::thread &thread : all)
            thread.join();
        QCOMPARE(wrong.load(), 0);
        const int width = model()->sessionListWidth();
        const QString passcode = model()->passcode();
        const int tone = model()->emojiSkinIndex(u"\u270B"_s);
        ThreadManager::getInstance()->quitAll();

        // What is stored is what was in memory last, for every key.
        QVERIFY(model()->globalStorage()->isOpen());
        QHash<QString, QVariant> rows;
        for (const storage::SettingInfo &row :
             model()->globalStorage()->settingStorage()->allInfos())
            rows.insert(row.key, row.value);
        for (int thread = 0; thread < threads; ++thread)
            QCOMPARE(rows[u"thread%1"_s.arg(thread)], rounds - 1);
        QCOMPARE(rows[u"session_list_width"_s], width);
        QCOMPARE(rows[u"passcode"_s], passcode);
        AppSettingModel::releaseInstance();
        model()->loadGlobalData();
        QCOMPARE(model()->emojiSkinIndex(u"\u270B"_s), tone);
    }

    void writersStartersAndQuitters()
    {
        model()->loadGlobalData();
        std::atomic<bool> stop = false;
        std::vector<int> last(4);
        std::vector<std::thread> writers;
        for (int writer = 0; writer < 4; ++writer) {
            writers.emplace_back([&stop, writer, &last] {
                for (int i = 1; !stop; ++i) {
                    model()->setValue(u"writer%1"_s.arg(writer), i, true);
                    last[writer] = i;
                }
            });
        }
        for (int i = 0; i < 20; ++i) {
            ThreadManager::getInstance()->init();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            ThreadManager::getInstance()->quitAll();
        }
        stop = true;
        for (std::thread &writer : writers)
            writer.join();
        // Nothing is running any more, so all is on disk.
        for (const storage::SettingInfo &row :
             model()->globalStorage()->settingStorage()->allInfos()) {
            if (row.key.startsWith(u"writer"))
                QCOMPARE(row.value, last[row.key.last(1).toInt()]);
        }
    }
};

QTEST_APPLESS_MAIN(TestAppSettingThreads)
#include "tst_appsettingthreads.moc"
