#pragma once

#include "modelbase_export.h"

#include <QHash>
#include <QMetaObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <mutex>

/// The directories that the client writes to; nothing here creates them. All except documentDir()
/// end in a separator.
///
/// Thread: instance() may be called from any thread. init(), updateCacheDataDir() and a reset of
/// the application settings write without a lock: they must not run while other threads read
/// cacheDataDir() or oldCacheDataDir(). mediaDirs() and the functions for renamed media may be used
/// from any thread.
class MODELBASE_EXPORT AppDirManager
{
public:
    /// Made by the first call; lives until the process ends.
    static AppDirManager *instance();

    /// Takes cacheDataDir() and oldCacheDataDir() from the application settings.
    /// AccountManager::init() calls it; an application without accounts calls it after
    /// AppSettingModel::loadGlobalData(), since before the settings return their defaults. From
    /// then on a reset of the settings is followed.
    void init();
    /// Called after the cache data directory has been moved. The caller also stores the two paths
    /// in the application settings.
    void updateCacheDataDir(const QString &cacheDataDir, const QString &oldCacheDataDir);

    /// The platform's directory for temporary files.
    const QString &tempDir() const { return m_tempDir; }
    /// Stickers. Below the default cache data directory even when another one is in use.
    const QString &stickerDir() const { return m_stickerDir; }
    /// Custom emoji; as stickerDir().
    const QString &customEmojiDir() const { return m_customEmojiDir; }
    /// The user's documents.
    const QString &documentDir() const { return m_documentDir; }
    /// The cache data directory unless the user has moved it: Util::defaultCacheDataDir().
    const QString &defaultCacheDataDir() const { return m_defaultCacheDataDir; }
    /// The cache data directory in use; empty before init().
    const QString &cacheDataDir() const { return m_cacheDataDir; }
    /// The directory in use before the last move; empty before init() and without a move.
    const QString &oldCacheDataDir() const { return m_oldCacheDataDir; }

    /// Where media may lie: cacheDataDir(), and oldCacheDataDir() if there is one.
    QStringList mediaDirs() const;

    /// Every directory that has held media since an account signed in: cacheDataDir(), the default
    /// one, and those that a move or a reset of the settings replaced. All end in a separator.
    QStringList everyDir() const;

    // When media are moved, a name may be taken at the new place. A stored record of such a file
    // has the old path; these functions find the present one. A "name" is a path below a cache data
    // directory, with "/" in it: "10001/image/a.jpg".

    /// The file `name` in the directory `source` has been moved and renamed to `newName`. Its
    /// earlier names are taken into account.
    void addRenamed(const QString &source, const QString &name, const QString &newName);
    /// Media are about to be moved out of this directory.
    void addFormerDir(const QString &directory);
    /// The present name of the file stored as `path`; empty when it was not renamed.
    QString renamed(const QString &path) const;
    /// The value for the setting "moved_file_names", which init() reads.
    QByteArray renamedFiles() const;
    /// The former directories in that setting.
    static QStringList formerDirs(const QByteArray &stored);
    /// That setting with further directories added.
    static QByteArray withFormerDirs(const QByteArray &stored, const QStringList &dirs);

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
    QMetaObject::Connection m_resets;
    QMetaObject::Connection m_reads;

    mutable std::mutex m_mutex; // guards the following
    QStringList m_mediaDirs;
    QStringList m_formerDirs;          // the latest at the end; each ends in "/"
    QHash<QString, QString> m_renamed; // clean old path to present name
    std::atomic<bool> m_hasRenamed = false;
};
