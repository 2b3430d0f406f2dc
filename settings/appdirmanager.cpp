#include "settings/appdirmanager.h"

#include "base/json.h"
#include "base/util.h"
#include "settings/appsettingmodel.h"
#include "settings/settingkeys_p.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace
{

constexpr auto dirsKey = [] { return QStringLiteral("dirs"); };
constexpr auto filesKey = [] { return QStringLiteral("files"); };

QString clean(const QString &path)
{
    return QDir::cleanPath(QDir::fromNativeSeparators(path));
}

QString cleanDir(const QString &path)
{
    const QString dir = clean(path);
    return dir.endsWith(u'/') ? dir : dir + u'/';
}

} // namespace

AppDirManager *AppDirManager::instance()
{
    static auto *const manager = new AppDirManager; // never deleted: threads may use it at any time
    return manager;
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
    {
        const QVariantMap stored =
            jsonToMap(settings->getValue(SettingKey::formerPlaces(), {}).toByteArray());
        const QVariantMap files = stored.value(filesKey()).toMap();
        const std::lock_guard lock(m_mutex);
        m_formerDirs = stored.value(dirsKey()).toStringList();
        m_renamed.clear();
        for (auto file = files.cbegin(); file != files.cend(); ++file)
            m_renamed.insert(file.key(), file.value().toString());
        m_hasRenamed = !m_renamed.isEmpty();
    }
    QObject::disconnect(m_resets);
    m_resets = QObject::connect(settings, &AppSettingModel::paramsBeReseted, [this] { init(); });
    QObject::disconnect(m_reads);
    m_reads = QObject::connect(settings, &AppSettingModel::storeRead, [this] { init(); });
}

void AppDirManager::updateCacheDataDir(const QString &cacheDataDir, const QString &oldCacheDataDir)
{
    m_cacheDataDir = cacheDataDir;
    m_oldCacheDataDir = oldCacheDataDir;
    const std::lock_guard lock(m_mutex);
    m_mediaDirs.clear();
    for (const QString &dir : {cacheDataDir, oldCacheDataDir}) {
        if (!dir.isEmpty())
            m_mediaDirs.append(dir);
    }
}

QStringList AppDirManager::mediaDirs() const
{
    const std::lock_guard lock(m_mutex);
    return m_mediaDirs;
}

QStringList AppDirManager::everyDir() const
{
    const std::lock_guard lock(m_mutex);
    QStringList dirs;
    for (const QString &dir : m_mediaDirs + m_formerDirs + QStringList{m_defaultCacheDataDir})
        dirs.append(QDir::toNativeSeparators(cleanDir(dir)));
    dirs.removeDuplicates();
    return dirs;
}

QStringList AppDirManager::formerDirs(const QByteArray &stored)
{
    return jsonToMap(stored).value(dirsKey()).toStringList();
}

QByteArray AppDirManager::withFormerDirs(const QByteArray &stored, const QStringList &dirs)
{
    QVariantMap map = jsonToMap(stored);
    QStringList former = map.value(dirsKey()).toStringList();
    for (const QString &dir : dirs) {
        if (!dir.isEmpty() && !former.contains(cleanDir(dir)))
            former.append(cleanDir(dir));
    }
    if (former.isEmpty())
        return stored;
    map.insert(dirsKey(), former);
    return mapToJson(map);
}

void AppDirManager::addFormerDir(const QString &directory)
{
    const QString dir = cleanDir(directory);
    const std::lock_guard lock(m_mutex);
    m_formerDirs.removeAll(dir);
    m_formerDirs.append(dir);
}

void AppDirManager::addRenamed(const QString &source, const QString &name, const QString &newName)
{
    const QString sourceDir = cleanDir(source);
    const std::lock_guard lock(m_mutex);
    for (QString &present : m_renamed) {
        if (present == name)
            present = newName;
    }
    // A file of that name in another place is this file, too, unless it is known to be another or
    // still exists there. In the directory in use, something else has that name.
    const QString inUse = m_mediaDirs.isEmpty() ? QString() : cleanDir(m_mediaDirs.first());
    for (const QString &dir : m_formerDirs + QStringList{sourceDir}) {
        if (dir != inUse && !m_renamed.contains(dir + name)
            && (dir == sourceDir || !QFileInfo::exists(dir + name)))
            m_renamed.insert(dir + name, newName);
    }
    m_hasRenamed = true;
}

QString AppDirManager::renamed(const QString &path) const
{
    if (!m_hasRenamed)
        return {};
    const QString key = clean(path);
    const std::lock_guard lock(m_mutex);
    return m_renamed.value(key);
}

QByteArray AppDirManager::renamedFiles() const
{
    const std::lock_guard lock(m_mutex);
    QVariantMap files;
    for (auto file = m_renamed.cbegin(); file != m_renamed.cend(); ++file)
        files.insert(file.key(), file.value());
    return mapToJson({{dirsKey(), m_formerDirs}, {filesKey(), files}});
}
