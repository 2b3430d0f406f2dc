#include "settings/leftmedia_p.h"

#include "base/json.h"
#include "base/util.h"
#include "settings/appsettingmodel.h"
#include "settings/foldermove_p.h"
#include "settings/movemap_p.h"
#include "settings/settingkeys_p.h"

#include <QDir>
#include <QFile>

namespace
{

/// Where media wait to be deleted.
QString trashFolder(const QString &directory)
{
    return directory + MoveMap::nameOfOurs("left", directory);
}

} // namespace

bool LeftMedia::isBare(const QString &directory)
{
    return QDir(directory).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System
                                   | QDir::NoDotAndDotDot);
}

bool LeftMedia::setAside(const QString &directory, const QString &id)
{
    if (isBare(directory))
        return false;
    QFile::remove(MoveMap::scratchFile(directory, id));
    bool isDone = true;
    for (const MoveMap::MediaFolder &folder : MoveMap::mediaFolders())
        isDone = FolderMove::moveAway(directory, MoveMap::accountFolder(id) + folder.path,
                                      trashFolder(directory))
            && isDone;
    QDir().rmdir(directory + id);
    return isDone;
}

QVariantMap LeftMedia::stored()
{
    return jsonToMap(
        AppSettingModel::instance()->getValue(SettingKey::leftMedia(), {}).toByteArray());
}

void LeftMedia::store(const QVariantMap &left)
{
    AppSettingModel *settings = AppSettingModel::instance();
    if (!left.isEmpty())
        settings->setValue(SettingKey::leftMedia(), mapToJson(left), true);
    else if (settings->getValue(SettingKey::leftMedia(), {}).isValid())
        settings->removeKey(SettingKey::leftMedia());
}

void LeftMedia::add(const QStringList &directories, const QStringList &ids)
{
    if (ids.isEmpty())
        return;
    QVariantMap left = stored();
    for (const QString &directory : directories) {
        QStringList all = left.value(directory).toStringList() + ids;
        all.removeDuplicates();
        left.insert(directory, all);
    }
    store(left);
}

void LeftMedia::remove(const QVariantMap &removed)
{
    QVariantMap left = stored();
    for (auto entry = removed.cbegin(); entry != removed.cend(); ++entry) {
        QStringList ids = left.value(entry.key()).toStringList();
        for (const QString &id : entry.value().toStringList())
            ids.removeAll(id);
        if (ids.isEmpty())
            left.remove(entry.key());
        else
            left.insert(entry.key(), ids);
    }
    store(left);
}

bool LeftMedia::emptyTrash(const QString &directory, const std::atomic<bool> &stop)
{
    const QDir trash(trashFolder(directory));
    for (const QString &name : trash.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        if (stop || !Util::removeLocalFolder(trash.filePath(name)))
            return false;
    }
    return !trash.exists() || QDir().rmdir(trash.path());
}
