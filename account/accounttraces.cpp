#include "account/accounttraces_p.h"

#include "base/json.h"
#include "base/util.h"
#include "core/logs_p.h"
#include "imcrypto/masterkey.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/settingkeys_p.h"

#include <QDir>
#include <QFileInfo>

namespace
{

/// Stands for the key file in that list.
constexpr auto masterKeyName = [] { return QStringLiteral("master_key"); };

QVariantList noted()
{
    return jsonToList(
        AppSettingModel::instance()->value(SettingKey::leftStores(), {}).toByteArray());
}

QVariantList everything()
{
    QVariantList names;
    const QDir data(AppDirManager::instance()->defaultCacheDataDir());
    for (const QString &name : data.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isId = false;
        name.toLongLong(&isId);
        if (isId && QFileInfo::exists(data.filePath(name) + QStringLiteral("/userstatus")))
            names.append(name);
    }
    return names << masterKeyName();
}

QVariantList remove(const QVariantList &names, const QStringList &usedStores)
{
    const QDir data(AppDirManager::instance()->defaultCacheDataDir());
    QVariantList left;
    for (const QVariant &entry : names) {
        const QString name = entry.toString();
        bool isId = false;
        name.toLongLong(&isId);
        const QString folder = data.filePath(name);
        const QString store = QDir::cleanPath(folder + QStringLiteral("/userstatus"));
        if (isId && !usedStores.contains(store) && !Util::removeLocalFolder(folder))
            left.append(name);
    }
    if (!usedStores.isEmpty())
        ImLog::error(lcModel(),
                     QStringLiteral("The wipe leaves the store and the key of an account in use"));
    else if (names.contains(masterKeyName()) && !crypto::MasterKey::installation()->remove())
        left.append(masterKeyName());
    return left;
}

} // namespace

QVariantList AccountTraces::removeAll(const QStringList &usedStores)
{
    return remove(everything(), usedStores);
}

void AccountTraces::removeLeft(const QStringList &usedStores)
{
    if (const QVariantList left = noted(); !left.isEmpty())
        note(remove(left, usedStores));
}

void AccountTraces::note(const QVariantList &left)
{
    AppSettingModel *settings = AppSettingModel::instance();
    if (!left.isEmpty())
        settings->setValue(SettingKey::leftStores(), listToJson(left), true);
    else if (settings->value(SettingKey::leftStores(), {}).isValid())
        settings->removeKey(SettingKey::leftStores());
}

bool AccountTraces::makeRoom(qint64 accountId, const QString &directory)
{
    const QString name = QString::number(accountId);
    QVariantList left = noted();
    if (!left.contains(name))
        return true;
    if (!Util::removeLocalFolder(directory))
        return false;
    left.removeAll(name);
    note(left);
    return true;
}
