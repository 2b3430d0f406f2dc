#include "base/util.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"

#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

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
        QCOMPARE(dirs->defaultCacheDataDir(), Util::defaultCacheDataDir());
        QVERIFY(dirs->stickerDir().startsWith(dirs->defaultCacheDataDir()));
        QVERIFY(dirs->stickerDir().endsWith(separator + u"sticker"_s + separator));
        QVERIFY(dirs->customEmojiDir().endsWith(separator + u"emoji"_s + separator));
        QVERIFY(dirs->cacheDataDir().isEmpty() && dirs->oldCacheDataDir().isEmpty());

        AppSettingModel *settings = AppSettingModel::instance();
        settings->loadGlobalData();
        dirs->init();
        QCOMPARE(dirs->cacheDataDir(), dirs->defaultCacheDataDir());
        QCOMPARE(dirs->oldCacheDataDir(), QString());

        const QString sticker = dirs->stickerDir();
        settings->setCacheDataPath(u"/new/"_s);
        settings->setOldCacheDataPath(u"/old/"_s);
        dirs->init();
        QCOMPARE(dirs->cacheDataDir(), u"/new/"_s);
        QCOMPARE(dirs->oldCacheDataDir(), u"/old/"_s);
        dirs->updateCacheDataDir(u"/newer/"_s, u"/new/"_s);
        QCOMPARE(dirs->cacheDataDir(), u"/newer/"_s);
        QCOMPARE(dirs->oldCacheDataDir(), u"/new/"_s);
        QCOMPARE(dirs->stickerDir(), sticker);
        AppSettingModel::releaseInstance();
    }
};

QTEST_GUILESS_MAIN(TestAppDirManager)
#include "tst_appdirmanager.moc"
