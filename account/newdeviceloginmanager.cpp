#include "account/newdeviceloginmanager.h"

#include "account/accountbase.h"
#include "account/accountmanager.h"
#include "base/json.h"
#include "settings/appsettingmodel.h"

#include <QPointer>

#include <algorithm>

namespace
{

int deviceId(const QVariantMap &device)
{
    return device.value(QStringLiteral("deviceId")).toInt();
}

} // namespace

NewDeviceLoginManager::NewDeviceLoginManager(QObject *parent) : QObject(parent) { }

void NewDeviceLoginManager::init()
{
    m_shown.clear();
    AppSettingModel *settings = AppSettingModel::instance();
    connect(settings, &AppSettingModel::accountIdsChanged, this,
            &NewDeviceLoginManager::accountIdsChanged, Qt::UniqueConnection);
    QSet<qint64> accounts;
    for (const QVariant &id : settings->accountIds())
        accounts.insert(id.toLongLong());
    const QVariantMap stored = jsonToMap(settings->newDeviceLoginRemind());
    for (auto it = stored.cbegin(); it != stored.cend(); ++it) {
        const qint64 accountId = it.key().toLongLong();
        if (accountId < 1 || !accounts.contains(accountId))
            continue;
        for (const QVariant &id : it.value().toList())
            m_shown[accountId].insert(id.toInt());
    }
}

void NewDeviceLoginManager::deviceLogin(AccountBase *account, const QVariantMap &newDevice)
{
    if (!account || account->accountId() < 1
        || m_shown.value(account->accountId()).contains(deviceId(newDevice)))
        return;
    if (account == AccountManager::getInstance()->currentAccount()) {
        show(account, newDevice);
        return;
    }
    QVariantList &waiting = m_waiting[account->accountId()];
    const bool known = std::any_of(waiting.cbegin(), waiting.cend(), [&](const QVariant &other) {
        return deviceId(other.toMap()) == deviceId(newDevice);
    });
    if (!known)
        waiting.append(newDevice);
}

void NewDeviceLoginManager::deviceLogout(qint64 accountId)
{
    m_waiting.remove(accountId);
    if (m_shown.remove(accountId))
        save();
}

void NewDeviceLoginManager::activeAccount(AccountBase *account)
{
    if (!account)
        return;
    // A handler of the signal may switch to another account, so that the rest waits again, or
    // delete this one.
    const QPointer<AccountBase> guard(account);
    for (const QVariant &device : m_waiting.take(account->accountId()))
        deviceLogin(guard, device.toMap());
}

void NewDeviceLoginManager::reset()
{
    m_waiting.clear();
}

void NewDeviceLoginManager::accountIdsChanged(const QVariantList &ids)
{
    if (!ids.isEmpty())
        return;
    m_shown.clear();
    m_waiting.clear();
}

void NewDeviceLoginManager::show(AccountBase *account, const QVariantMap &newDevice)
{
    m_shown[account->accountId()].insert(deviceId(newDevice));
    save();
    Q_EMIT AccountManager::getInstance()->newDeviceLogin(account, newDevice);
}

void NewDeviceLoginManager::save() const
{
    QVariantMap stored;
    for (auto it = m_shown.cbegin(); it != m_shown.cend(); ++it) {
        QVariantList ids;
        for (int id : it.value())
            ids.append(id);
        stored.insert(QString::number(it.key()), ids);
    }
    AppSettingModel::instance()->setNewDeviceLoginRemind(mapToJson(stored));
}
