#include "account/threadmanager.h"
#include "core/storedvalues_p.h"
#include "core/storewriter_p.h"
#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/loglines.h"
#include "support/powercut.h"
#include "support/stuckdisk.h"

#include <QFileInfo>
#include <QMutex>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <optional>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

class TestStoreWriter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        PowerCut::install();
        StuckDisk::install("/global.db");
    }
    void init()
    {
        QVERIFY(m_provider.open());
        QVERIFY(storage()->removeAll());
    }
    void cleanup() { ThreadManager::getInstance()->quitAll(); }

    void aRemovalOfNothingWhileTheRowsAreRead()
    {
        QVERIFY(storage()->save({u"stored"_s, 1, {}}));
        StoredValues<QMutex> values(storage());
        values.enter();
        values.load([&](ValueCache &) { values.remove(u"stored"_s, true); });
        QCOMPARE(values.value(u"stored"_s, 0), 1); // as it still is in the store
        values.suspend();
    }

    void aResetByAHandlerOfAWriteThatFails()
    {
        StoreWriter writer(*storage());
        m_provider.close();
        static std::function<void()> reset;
        reset = [&] { writer.removeAll({{u"kept"_s, 1, {}}}); };
        // Called inside of save(), where the task runs at once.
        const auto before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                if (reset)
                    std::exchange(reset, nullptr)();
            });
        writer.save({u"gone"_s, 0, {}});
        qInstallMessageHandler(before);
        QVERIFY(!reset);
        writer.save({u"later"_s, 2, {}});
        QVERIFY(!writer.flush());
        // Whoever reads finds it all the same.
        QCOMPARE(writer.allInfos().size(), 2);
        QVERIFY(m_provider.open());
        QVERIFY(writer.flush());
        QCOMPARE(values(), (QMap<QString, QVariant>{{u"kept"_s, 1}, {u"later"_s, 2}}));
    }

    void whatComesWhileAnotherThreadWrites()
    {
        StoreWriter writer(*storage());
        StuckDisk disk;
        std::jthread first([&] { writer.save({u"a"_s, 1, {}}); });
        QVERIFY(disk.isReached());
        ThreadManager::getInstance()->init();
        writer.save({u"b"_s, 2, {}});
        ThreadManager::getInstance()->quitAll(); // its task has run
        disk.release();
        first.join();
        QCOMPARE(values().size(), 2);
    }

    void whatIsNotOnTheDiskIsNotConfirmed()
    {
        StoreWriter writer(*storage());
        m_provider.close();
        {
            LogLines log("im.settingmodel");
            for (const int value : {0, 1})
                writer.save({u"a"_s, value, {}});
            QCOMPARE(log.count(), 1);
        }
        QVERIFY(m_provider.open());
        writer.allInfos(); // which writes it
        const QTemporaryDir left;
        QVERIFY(PowerCut::copy(QFileInfo(m_provider.filePath()).path().toStdString() + '/',
                               left.path().toStdString() + '/'));
        storage::GlobalStorageProvider next;
        next.setDirectory(left.path());
        QVERIFY(next.open());
        QCOMPARE(next.settingStorage()->allInfos().size(), 1);

        StuckDisk::failsToSync = true;
        writer.save({u"a"_s, 2, {}});
        QVERIFY(!writer.flush());
        StuckDisk::failsToSync = false;
        QVERIFY(writer.flush());
        // What has been written since a sync that there will not be.
        writer.save({u"a"_s, 3, {}});
        storage::GlobalStorageProvider::closeAllInCrash();
        QVERIFY(!writer.flush());
    }

    void savesOnAfterAThreadWasGivenUp()
    {
        // So many of somebody else's tasks hang that the writer's behind them is dropped.
        ThreadManager::getInstance()->init();
        static QSemaphore hold; // the threads may outlive the test
        StoreWriter writer(*storage());
        for (int i = 0; i < 4; ++i)
            ThreadManager::invoke([&] { hold.acquire(); }, true);
        // However often it is flushed, one task waits.
        for (int i = 0; i < 10; ++i) {
            writer.save({u"a"_s, i, {}});
            QVERIFY(writer.flush());
        }
        writer.save({u"a"_s, 1, {}});
        for (int i = 0; i < 3; ++i)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Gave up a save task"_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"tasks lost: [12]$"_s));
        ThreadManager::getInstance()->quitAll();
        ThreadManager::getInstance()->init();
        writer.save({u"b"_s, 2, {}});
        QTRY_COMPARE(values().size(), 2);
        hold.release(4);
    }

    void aDiskThatNoLongerAnswers()
    {
        const QTemporaryDir directory;
        auto provider = std::make_unique<storage::GlobalStorageProvider>();
        provider->setDirectory(directory.path());
        storage::UserStorageProvider other;
        QVERIFY(provider->open() && other.open(directory.path()));
        ThreadManager::getInstance()->init();
        auto writer = std::make_unique<StoreWriter>(*provider->settingStorage());
        StoreWriter others(*other.syncConfigStorage());
        std::optional<StuckDisk> disk(std::in_place);
        writer->save({u"a"_s, 1, {}});
        QVERIFY(disk->isReached());
        writer->save({u"b"_s, u"secret"_s, {}});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Gave up a save task that hangs"_s));
        ThreadManager::getInstance()->quitAll();

        // A new thread saves for the others, and is not kept by what is lost.
        ThreadManager::getInstance()->init();
        writer->save({u"c"_s, u"secret"_s, {}});
        others.save({u"d"_s, 4});
        QTRY_COMPARE(other.syncConfigStorage()->value(u"d"_s), 4);

        // Whoever gives up all of it is told what is lost, and goes on.
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"Lost changes .*: 3 \\(a, b, c\\)$"_s));
        const QDeadlineTimer deadline(5000);
        QVERIFY(!writer->close(deadline) && !provider->close(deadline));
        writer.reset();
        provider.reset();
        ThreadManager::getInstance()->quitAll();

        // What still holds the file in the background lets go of it once it can.
        disk.reset();
        storage::GlobalStorageProvider next;
        next.setDirectory(directory.path());
        QVERIFY(next.open());
        QTRY_COMPARE(next.settingStorage()->allInfos().size(), 1);
    }

private:
    storage::SettingStorage *storage() { return m_provider.settingStorage(); }
    QMap<QString, QVariant> values()
    {
        QMap<QString, QVariant> rows;
        for (const storage::SettingInfo &info : storage()->allInfos())
            rows.insert(info.key, info.value);
        return rows;
    }

    storage::GlobalStorageProvider m_provider;
};

QTEST_GUILESS_MAIN(TestStoreWriter)
#include "tst_storewriter.moc"
