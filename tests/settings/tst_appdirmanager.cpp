#include "base/util.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"

#include <QStandardPaths>
#include <QTest>

class TestAppDirManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pathsFollowTheSettings()
    {
        AppDirManager *dirs = AppDirManager::instance();
        const QString separator = Util::separator();
        QCOMPARE(dirs->tempDir(),
                 QStandardPaths::writableLocation(QStandardPaths::TempLocation) + separator);
        QCOMPARE(dirs->documentDir(),
                 QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
        QVERIFY(!dirs->documentDir().endsWith(separator));
        QCOMPARE(dirs->defaultCacheDataDir(), Util::defaultCacheDataDir());
        QVERIFY(dirs->stickerDir().startsWith(dirs->defaultCacheDataDir()));
        QVERIFY(dirs->stickerDir().endsWith(separator + QStringLiteral("sticker") + separator));
        QVERIFY(dirs->customEmojiDir().endsWith(separator + QStringLiteral("emoji") + separator));
        QCOMPARE(dirs->cacheDataDir(), QString());
        QCOMPARE(dirs->oldCacheDataDir(), QString());

        AppSettingModel *settings = AppSettingModel::instance();
        settings->loadGlobalData();
        dirs->init();
        QCOMPARE(dirs->cacheDataDir(), dirs->defaultCacheDataDir());
        QCOMPARE(dirs->oldCacheDataDir(), QString());

        const QString sticker = dirs->stickerDir();
        settings->setCacheDataPath(QStringLiteral("/new/"));
        settings->setOldCacheDataPath(QStringLiteral("/old/"));
        dirs->init();
        QCOMPARE(dirs->cacheDataDir(), QStringLiteral("/new/"));
        QCOMPARE(dirs->oldCacheDataDir(), QStringLiteral("/old/"));
        dirs->updateCacheDataDir(QStringLiteral("/newer/"), QStringLiteral("/new/"));
        QCOMPARE(dirs->cacheDataDir(), QStringLiteral("/newer/"));
        QCOMPARE(dirs->oldCacheDataDir(), QStringLiteral("/new/"));
        QCOMPARE(dirs->stickerDir(), sticker);
        AppSettingModel::releaseInstance();
    }
};

QTEST_GUILESS_MAIN(TestAppDirManager)
#include "tst_appdirmanager.moc"
