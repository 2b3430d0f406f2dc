#pragma once

#include "modelbase_export.h"

#include <QString>

/// The directories that the client writes to; nothing here creates them. All but documentDir() end
/// in a separator.
///
/// Thread: the instance may be asked for from any thread. init() and updateCacheDataDir() write
/// without a lock: not while other threads read cacheDataDir() or oldCacheDataDir().
class MODELBASE_EXPORT AppDirManager
{
public:
    /// Made by the first call; lives until the process ends.
    static AppDirManager *instance();

    /// Takes cacheDataDir() and oldCacheDataDir() over from the application settings.
    /// AccountManager::init() calls it; who has no accounts does so after
    /// AppSettingModel::loadGlobalData(): before, the settings read their defaults.
    void init();
    /// After the cache data directory has been moved. The caller stores the two paths in the
    /// application settings as well.
    void updateCacheDataDir(const QString &cacheDataDir, const QString &oldCacheDataDir);

    /// The platform's directory for temporary files.
    const QString &tempDir() const { return m_tempDir; }
    /// Stickers. Below the default cache data directory even when that in use is another.
    const QString &stickerDir() const { return m_stickerDir; }
    /// Custom emoji; as stickerDir().
    const QString &customEmojiDir() const { return m_customEmojiDir; }
    /// The user's documents.
    const QString &documentDir() const { return m_documentDir; }
    /// Where the cache data directory is as long as the user has not moved it:
    /// Util::defaultCacheDataDir().
    const QString &defaultCacheDataDir() const { return m_defaultCacheDataDir; }
    /// The cache data directory in use; empty before init().
    const QString &cacheDataDir() const { return m_cacheDataDir; }
    /// The one in use before the last move; empty before init() and when there was no move.
    const QString &oldCacheDataDir() const { return m_oldCacheDataDir; }

private:
    AppDirManager();
    Q_DISABLE_COPY_MOVE(AppDirManager)

    QString m_tempDir;
    QString m_stickerDir;
    QString m_customEmojiDir;
    QString m_documentDir;
    QString m_defaultCacheDataDir;
    QString m_cacheDataDir;
    QString m_oldCacheDataDir;
};
