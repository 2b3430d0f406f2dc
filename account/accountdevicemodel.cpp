#include "account/accountdevicemodel.h"

#include "account/accountbase.h"
#include "protocol/common_data.pb.h"
#include "protocol/user_service.pb.h"

#include <QJSEngine>
#include <QSet>

#include <algorithm>
#include <utility>

namespace
{

constexpr auto idKey = [] { return QStringLiteral("deviceId"); };
constexpr auto modelKey = [] { return QStringLiteral("deviceModel"); };

int idOf(const QVariantMap &device)
{
    return device.value(idKey()).toInt();
}

} // namespace

AccountDeviceModel::AccountDeviceModel(AccountBase *account)
    : QAbstractListModel(account), m_account(account)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

int AccountDeviceModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant AccountDeviceModel::data(const QModelIndex &index, int role) const
{
    if (role != DEVICE_ROLE || index.row() < 0 || index.row() >= count())
        return {};
    return m_devices.at(index.row());
}

QHash<int, QByteArray> AccountDeviceModel::roleNames() const
{
    return {{DEVICE_ROLE, QByteArrayLiteral("device")}};
}

void AccountDeviceModel::setDeviceList(const im::user::ListDevicesResp &resp)
{
    // Cleared with the rest, but the record in the answer is still compared with it.
    const QVariantMap before = m_currentDevice;
    empty();
    QList<QVariantMap> devices;
    for (const im::Device &device : resp.devices()) {
        QVariantMap map = makeDeviceInfo(device);
        if (device.device_id() != m_account->deviceId()) {
            devices.append(std::move(map));
        } else {
            m_currentDevice = std::move(map);
        }
    }
    for (const im::Device &device : resp.sealed_devices())
        devices.append(makeDeviceInfo(device));
    if (!m_currentDevice.isEmpty() && m_currentDevice != before)
        Q_EMIT currentDeviceChanged(m_currentDevice);
    if (m_valid)
        return; // a handler has filled the list again
    if (!devices.isEmpty()) {
        beginInsertRows({}, 0, int(devices.size()) - 1);
        m_devices = std::move(devices);
        endInsertRows();
    }
    Q_EMIT countChanged(count());
    setDeviceDeleteTimer(resp.delete_timer());
    setValid(true);
}

void AccountDeviceModel::removeDevices(const QVariantList &ids)
{
    QSet<int> unlinked;
    for (const QVariant &id : ids) {
        bool isNumber = false;
        const int number = id.toInt(&isNumber);
        if (isNumber)
            unlinked.insert(number);
    }
    const auto isUnlinked = [&](int row) { return unlinked.contains(idOf(m_devices.at(row))); };
    const int before = count();
    // From the end, one run of rows at a time: the rows still to come keep their index.
    for (int last = before - 1; last >= 0; --last) {
        if (!isUnlinked(last))
            continue;
        int first = last;
        while (first > 0 && isUnlinked(first - 1))
            --first;
        beginRemoveRows({}, first, last);
        m_devices.remove(first, last - first + 1);
        endRemoveRows();
        last = first;
    }
    if (count() != before)
        Q_EMIT countChanged(count());
}

void AccountDeviceModel::setDeviceDeleteTimer(int timer)
{
    if (std::exchange(m_deviceDeleteTimer, timer) != timer)
        Q_EMIT deviceDeleteTimerChanged();
}

void AccountDeviceModel::setValid(bool valid)
{
    if (std::exchange(m_valid, valid) != valid)
        Q_EMIT validChanged();
}

QVariantList AccountDeviceModel::allOtherDeviceIds() const
{
    QVariantList ids;
    for (const QVariantMap &device : m_devices) {
        if (!device.value(QStringLiteral("sealed")).toBool())
            ids.append(idOf(device));
    }
    return ids;
}

QString AccountDeviceModel::getDeviceModelName(int deviceId) const
{
    for (const QVariantMap &device : m_devices) {
        if (idOf(device) == deviceId)
            return device.value(modelKey()).toString();
    }
    return deviceId == m_account->deviceId() ? m_currentDevice.value(modelKey()).toString()
                                             : QString();
}

QString AccountDeviceModel::getAppName(const QString &deviceModel) const
{
    for (const QVariantMap &device : m_devices) {
        if (device.value(modelKey()).toString() == deviceModel)
            return device.value(QStringLiteral("appName")).toString();
    }
    return {};
}

QVariantMap AccountDeviceModel::makeDeviceInfo(const im::Device &device)
{
    return {{QStringLiteral("appName"), QString::fromStdString(device.app_name())},
            {QStringLiteral("os"), QString::fromStdString(device.os())},
            {QStringLiteral("ip"), QString::fromStdString(device.ip())},
            {QStringLiteral("ipAddress"), QString::fromStdString(device.ip_address())},
            {QStringLiteral("updateTime"), qint64(device.timestamp())},
            {QStringLiteral("createTime"), qint64(device.create_time())},
            {modelKey(), QString::fromStdString(device.device_model())},
            {idKey(), int(device.device_id())},
            {QStringLiteral("isWeb"), device.is_web()},
            {QStringLiteral("sealed"), device.sealed()},
            {QStringLiteral("prompt"), QString::fromStdString(device.prompt())},
            {QStringLiteral("refererId"), int(device.referer())},
            {QStringLiteral("available"), device.available()},
            {QStringLiteral("language"), QString::fromStdString(device.paperkey_lang())},
            {QStringLiteral("permissions"), int(device.permissions())}};
}

void AccountDeviceModel::loadLocalData(bool) { }

void AccountDeviceModel::clearData(bool)
{
    const int before = count();
    empty();
    if (before > 0)
        Q_EMIT countChanged(0);
}

void AccountDeviceModel::empty()
{
    setValid(false);
    beginResetModel();
    m_devices.clear();
    endResetModel();
    m_currentDevice.clear();
}
