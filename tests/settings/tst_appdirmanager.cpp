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
        const auto inDefault = [&](const char *name) {
            return dirs->defaultCacheDataDir() + separator + QString::fromLatin1(name) + separator;
        };
        QCOMPARE(dirs->stickerDir(), inDefault("sticker"));
        QCOMPARE(dirs->customEmojiDir(), inDefault("emoji"));
        QVERIFY(dirs->cacheDataDir().isEmpty() && dirs->oldCacheDataDir().isEmpty());

        AppSettingModel *settings = AppSettingModel::instance();
        settings->loadGlobalData();
        dirs->init();
        QCOMPARE(dirs->cacheDataDir(), dirs->defaultCacheDataDir());
        QCOMPARE(dirs->oldCacheDataDir(), QString());

        settings->setCacheDataPath(u"/new/"_s);
        settings->setOldCacheDataPath(u"/old/"_s);
        dirs->init();
        QCOMPARE(dirs->cacheDataDir(), u"/new/"_s);
        QCOMPARE(dirs->oldCacheDataDir(), u"/old/"_s);
        QCOMPARE(dirs->stickerDir(), inDefault("sticker"));
        AppSettingModel::releaseInstance();
    }
};

QTEST_GUILESS_MAIN(TestAppDirManager)
#include "tst_appdirmanager.moc"
