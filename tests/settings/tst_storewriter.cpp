#include "account/threadmanager.h"
#include "settings/storewriter_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QSemaphore>
#include <QTest>

using namespace Qt::StringLiterals;

class TestStoreWriter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY(m_provider.open());
        QVERIFY(storage()->removeAll());
    }
    void cleanup() { ThreadManager::getInstance()->quitAll(); }

    // Each change as its own transaction, and all gathered into one: the same in the end.
    void theLastChangeOfAKeyCounts_data()
    {
        QTest::addColumn<bool>("gathered");
        QTest::addRow("one by one") << false;
        QTest::addRow("gathered") << true;
    }
    void theLastChangeOfAKeyCounts()
    {
        QFETCH(const bool, gathered);
        SettingWriter writer(storage());
        writer.save({u"old"_s, 0, {}});
        QVERIFY(writer.flush());
        if (gathered)
            ThreadManager::getInstance()->init();
        writer.save({u"wiped"_s, 1, {}});
        writer.remove(u"kept"_s);
        writer.removeAll({{u"kept"_s, 2, u"remark"_s}, {u"changed"_s, 3, {}}});
        writer.save({u"changed"_s, 4, {}});
        writer.save({u"gone"_s, 5, {}});
        writer.save({u"other"_s, 6, {}});
        writer.remove(u"gone"_s);
        writer.remove(u"back"_s);
        writer.save({u"back"_s, 7, {}});
        writer.save({u"back"_s, 8, {}});
        writer.remove(u"never"_s);
        ThreadManager::getInstance()->quitAll();
        const QMap<QString, QVariant> expected{
            {u"kept"_s, 2}, {u"changed"_s, 4}, {u"other"_s, 6}, {u"back"_s, 8}};
        QCOMPARE(values(), expected);
        for (const storage::SettingInfo &info : storage()->allInfos())
            QCOMPARE(info.remark, info.key == u"kept" ? u"remark"_s : QString());
    }

    void whatFailedIsTriedAgainUnderWhatCameLater()
    {
        SettingWriter writer(storage());
        writer.save({u"removed"_s, 0, {}});
        m_provider.close();
        ThreadManager::getInstance()->init();
        QSemaphore hold;
        ThreadManager::invoke([&] { hold.acquire(); }, true);
        // More than gathers before what is superseded is thrown out.
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < 3000; ++i)
                writer.save({QString::number(i), round, {}});
        }
        QVERIFY(!writer.flush());
        writer.save({u"0"_s, 9, {}});
        writer.remove(u"removed"_s);
        QVERIFY(!writer.flush());
        // Whoever reads finds it all the same.
        QCOMPARE(writer.allInfos().size(), 3000);
        hold.release();
        ThreadManager::getInstance()->quitAll();
        QVERIFY(m_provider.open());
        writer.save({u"last"_s, 1, {}});
        const auto rows = values();
        QCOMPARE(rows.size(), 3001);
        QCOMPARE(rows[u"0"_s], 9);
        QCOMPARE(rows[u"2999"_s], 2);
        QVERIFY(!rows.contains(u"removed"_s));
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
