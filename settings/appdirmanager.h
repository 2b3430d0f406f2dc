#pragma once

#include "modelbase_export.h"

#include <QHash>
#include <QMetaObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <mutex>

/// The directories that the client writes to; nothing here creates them. All but documentDir() end
/// in a separator.
///
/// Thread: the instance may be asked for from any thread. init(), updateCacheDataDir(), and a reset
/// of the application settings write without a lock: not while other threads read cacheDataDir() or
/// oldCacheDataDir(). mediaDirs() and what is said of renamed media may be used from any.
class MODELBASE_EXPORT AppDirManager
{
public:
    /// Made by the first call; lives until the process ends.
    static AppDirManager *instance();

    /// Takes cacheDataDir() and oldCacheDataDir() over from the application settings.
    /// AccountManager::init() calls it; who has no accounts does so after
    /// AppSettingModel::loadGlobalData(): before, the settings read their defaults. From then on a
    /// reset of the settings is followed.
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

    /// Where media may lie: cacheDataDir(), and oldCacheDataDir() as long as there is one.
    QStringList mediaDirs() const;

    /// Wherever media have been: cacheDataDir(), the default one, and those that were moved away
    /// from, or were in use before a reset of the settings, since somebody is signed in. All end in a
    /// separator.
    QStringList everyDir() const;

    // When media are moved, a name may be taken at the new place. What was stored of such a file
    // has its old path; these tell where it is now. A "name" is a path below a cache data directory,
    // with "/" in it: "10001/image/a.jpg".

    /// The file that was called `name` in the directory `source` has been moved and is called
    /// `newName`. Takes all into account that it was called before.
    void addRenamed(const QString &source, const QString &name, const QString &newName);
    /// Media are about to be moved away from here.
    void addFormerDir(const QString &directory);
    /// The present name of what was stored as `path`; empty when it was not renamed.
    QString renamed(const QString &path) const;
    /// For the setting "moved_file_names", which init() reads.
    QByteArray renamedFiles() const;
    /// The former directories in that setting.
    static QStringList formerDirs(const QByteArray &stored);
    /// That setting with further ones.
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

    mutable std::mutex m_mutex; // guards what follows
    QStringList m_mediaDirs;
    QStringList m_formerDirs;          // the latest at the end; each ends in "/"
    QHash<QString, QString> m_renamed; // clean old paths, present names
    std::atomic<bool> m_hasRenamed = false;
};
