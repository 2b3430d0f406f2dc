#include "settings/appdirmanager.h"

#include "base/util.h"
#include "settings/appsettingmodel.h"

#include <QStandardPaths>

AppDirManager *AppDirManager::instance()
{
    static AppDirManager manager;
    return &manager;
}

AppDirManager::AppDirManager()
    : m_tempDir(QStandardPaths::writableLocation(QStandardPaths::TempLocation) + Util::separator()),
      m_documentDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)),
      m_defaultCacheDataDir(Util::defaultCacheDataDir())
{
    const QString separator = Util::separator();
    m_stickerDir = m_defaultCacheDataDir + separator + QStringLiteral("sticker") + separator;
    m_customEmojiDir = m_defaultCacheDataDir + separator + QStringLiteral("emoji") + separator;
}

void AppDirManager::init()
{
    const AppSettingModel *settings = AppSettingModel::instance();
    updateCacheDataDir(settings->cacheDataPath(), settings->oldCacheDataPath());
}

void AppDirManager::updateCacheDataDir(const QString &cacheDataDir, const QString &oldCacheDataDir)
{
    m_cacheDataDir = cacheDataDir;
    m_oldCacheDataDir = oldCacheDataDir;
}
