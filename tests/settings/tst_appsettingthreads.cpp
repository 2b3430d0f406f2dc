#include "account/threadmanager.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "support/loglines.h"
#include "support/sequences.h"
#include "support/stuckdisk.h"

#include <QCoreApplication>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <future>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

AppSettingModel *model()
{
    return AppSettingModel::instance();
}

} // namespace

/// Without a graphical application, or any; and from many threads.
class TestAppSettingThreads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { StuckDisk::install("/global.db"); }
    void cleanup()
    {
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
    }
    void withoutAGraphicalApplication()
    {
        for (const bool application : {false, true}) {
            int argc = 1;
            char name[] = "test";
            char *argv[] = {name, nullptr};
            const auto app = application ? std::make_unique<QCoreApplication>(argc, argv) : nullptr;

            LogLines log;
            ThreadManager::getInstance()->init();
            model()->loadGlobalData();
            model()->reset();
            model()->setThemeFontSize(20);
            const QString language = model()->language();
            cleanup();
            model()->loadGlobalData();
            QCOMPARE(log.takeTexts(),
                     QStringList{u"im.settingmodel: AppSettingModel::resetAppSetting"_s});
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

    /// While a change is written by its caller, everybody else goes on.
    void nobodyWaitsForTheDisk()
    {
        const auto inASlot = [](auto change) {
            connect(model(), &AppSettingModel::beginConfig, model(), change, Qt::DirectConnection);
            model()->setLargeEmoji(!model()->largeEmoji());
        };
        const std::pair<const char *, std::function<void()>> changes[] = {
            {"setValue", [] { model()->setValue(u"a"_s, 1, true); }},
            {"one row", [] { model()->saveToConfig(u"a"_s, 1, true); }},
            {"upgrade",
             [] {
                 model()->setUpgradeInfo({{u"value"_s, 1}});
             }},
            {"emoji", [] { model()->setEmojiSkinIndex(u"\u270B"_s, 1); }},
            {"rows", [=] { inASlot([] {
                               model()->saveToConfig({{u"a"_s, 1}, {u"b"_s, 2}});
                           }); }},
            {"slot", [=] { inASlot([] { model()->setDarkMode(!model()->darkMode()); }); }},
            {"reset", [] { model()->reset(); }},
        };
        for (const auto &[name, change] : changes) {
            model()->loadGlobalData();
            model()->reset();
            QVERIFY(model()->flush());
            std::optional<StuckDisk> disk(std::in_place);
            const auto changed = std::async(std::launch::async, change);
            QVERIFY2(disk->isReached(), name);
            const auto others = std::async(std::launch::async, [] {
                model()->setThemeFontSize(17);
                return model()->themeFontSize();
            });
            const bool went =
                others.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
            disk.reset();
            QVERIFY2(went, name);
            changed.wait();
            AppSettingModel::releaseInstance();
            model()->loadGlobalData();
            QCOMPARE(model()->themeFontSize(), 17);
            cleanup();
        }
    }

    void handlersUseTheModelWhileItIsReleased()
    {
        model()->loadGlobalData();
        model()->setThemeFontSize(17);
        QVERIFY(model()->flush());
        model()->globalStorage()->close();
        static QList<int> sizes;
        static int heard = 0;
        const auto use = [] {
            sizes.append(model()->themeFontSize());
            model()->setSessionListWidth(++heard);
        };
        connect(model(), &QObject::destroyed, use);
        const auto before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                sizes.append(model()->themeFontSize());
                model()->setSessionListWidth(++heard);
            });
        model()->setDarkMode(true); // cannot be written: the handler is called
        const qsizetype written = sizes.size();
        AppSettingModel::releaseInstance();
        qInstallMessageHandler(before);
        QVERIFY(written > 0 && sizes.size() > written);
        QCOMPARE(sizes, QList<int>(sizes.size(), 17));
        // And the next one is a new one.
        QCOMPARE(model()->themeFontSize(), 14);
        model()->loadGlobalData();
        QCOMPARE(model()->themeFontSize(), 17);
    }

    void fromStartToExit()
    {
        runSequences("settings from start to exit", 60, 30, [](Sequence &sequence) {
            model()->loadGlobalData();
            model()->reset();
            QMap<QString, QVariant> memory;
            QMap<QString, QVariant> saved;
            std::unique_ptr<SQLite::Database> other;
            const auto provider = [] { return model()->globalStorage(); };
            const auto rows = [&](const QList<storage::SettingInfo> &infos) {
                QMap<QString, QVariant> found;
                for (const storage::SettingInfo &info : infos) {
                    if (info.key.startsWith(u"key"))
                        found.insert(info.key, info.value);
                }
                return found;
            };
            const auto writable = [&] {
                other.reset();
                QVERIFY(provider()->open());
            };
            for (int number = 1; sequence.next(); ++number) {
                const int operation = sequence.below(14);
                sequence.note(QString::number(operation));
                switch (operation) {
                case 0:
                    ThreadManager::getInstance()->init();
                    break;
                case 1:
                    other.reset();
                    ThreadManager::getInstance()->quitAll();
                    break;
                case 2:
                    provider()->close();
                    break;
                case 3:
                    writable();
                    break;
                case 4: // as long as nobody waits for it
                    if (provider()->isOpen() && ThreadManager::getInstance()->thread() && !other) {
                        other = std::make_unique<SQLite::Database>(
                            provider()->filePath().toStdString(), SQLite::OPEN_READWRITE, 10'000);
                        other->exec("BEGIN IMMEDIATE");
                    }
                    break;
                case 5:
                    writable();
                    QVERIFY(model()->flush());
                    QCOMPARE(rows(provider()->settingStorage()->allInfos()), saved);
                    break;
                case 6:
                    writable();
                    AppSettingModel::releaseInstance();
                    model()->loadGlobalData();
                    memory = saved;
                    break;
                case 7:
                    other.reset();
                    model()->loadGlobalData();
                    memory = saved;
                    break;
                case 8:
                    other.reset();
                    model()->reset();
                    memory.clear();
                    saved.clear();
                    break;
                default: {
                    if (!ThreadManager::getInstance()->thread())
                        other.reset();
                    const QString key = u"key%1"_s.arg(sequence.below(5));
                    // While nothing can be written, more than is kept without being thinned out.
                    for (int i = 0; operation == 9 && (other || !provider()->isOpen()) && i < 5000;
                         ++i) {
                        const QString each = u"key%1"_s.arg(i < 5 ? i : i % 2);
                        model()->setValue(each, -i, true);
                        memory[each] = saved[each] = -i;
                    }
                    if (sequence.chance(25)) {
                        model()->removeKey(key);
                        memory.remove(key);
                        saved.remove(key);
                        break;
                    }
                    const bool save = sequence.chance(70);
                    QVERIFY(model()->setValue(key, number, save));
                    memory[key] = number;
                    if (save)
                        saved[key] = number;
                }
                }
                for (int i = 0; i < 5; ++i) {
                    const QString key = u"key%1"_s.arg(i);
                    QCOMPARE(model()->getValue(key, {}), memory.value(key));
                }
            }
            writable();
            AppSettingModel::releaseInstance();
            ThreadManager::getInstance()->quitAll();
            model()->loadGlobalData();
            QCOMPARE(rows(provider()->settingStorage()->allInfos()), saved);
            AppSettingModel::releaseInstance();
        });
    }
};

QTEST_APPLESS_MAIN(TestAppSettingThreads)
#include "tst_appsettingthreads.moc"
