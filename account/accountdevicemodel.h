#pragma once

#include "core/modelbase.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QAbstractListModel>
#include <QList>
#include <QVariant>

class AccountBase;

namespace im
{
class Device;
}
namespace im::user
{
class ListDevicesResp;
}

/// The other devices of an account, one map a row, and separately the record of this device. Empty
/// and not valid() until the application passes on the server's answer; nothing is stored.
///
/// A device map holds "appName", "os", "ip", "ipAddress", "deviceModel", "prompt", "language"
/// (texts), "updateTime", "createTime" (64-bit, as the server counts), "deviceId", "refererId",
/// "permissions" (int), "isWeb", "sealed" and "available" (bool).
///
/// Thread: the account's. Owned by the account; QML never deletes it.
class MODELBASE_EXPORT AccountDeviceModel : public QAbstractListModel, public ModelBase
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_MOC_INCLUDE("account/accountbase.h")
    Q_PROPERTY(AccountBase *account READ account CONSTANT)
    Q_PROPERTY(QVariantMap currentDevice READ currentDevice NOTIFY currentDeviceChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(int deviceDeleteTimer READ deviceDeleteTimer WRITE setDeviceDeleteTimer NOTIFY
                   deviceDeleteTimerChanged)
    Q_PROPERTY(bool valid READ valid WRITE setValid NOTIFY validChanged)

public:
    /// A row's map, as "device".
    enum DataRole { DEVICE_ROLE = Qt::UserRole + 1, ROLE_MAX };
    Q_ENUM(DataRole)
    /// After how long without use the server unlinks a device; im.GlobalEnums.DeviceDeleteTimer.
    enum DeviceDeleteTimer { Never, OneWeek, OneMonth, ThreeMonth, SixMonths };
    Q_ENUM(DeviceDeleteTimer)

    explicit AccountDeviceModel(AccountBase *account);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Replaces everything by the answer of the server. Devices that it lists as sealed always
    /// become rows; of the others, the one with the account's own id becomes the current device.
    /// Web devices are left out.
    void setDeviceList(const im::user::ListDevicesResp &resp);
    /// Removes the rows of these device ids after the devices were unlinked. Ignores unknown ids;
    /// the current device stays.
    Q_INVOKABLE void removeDevices(const QVariantList &ids);

    AccountBase *account() const { return m_account; }
    int count() const { return int(m_devices.size()); }
    /// Empty when the server has not named this device.
    const QVariantMap &currentDevice() const { return m_currentDevice; }
    int deviceDeleteTimer() const { return m_deviceDeleteTimer; }
    Q_INVOKABLE void setDeviceDeleteTimer(int timer);
    /// True when the list was filled since it was last cleared.
    bool valid() const { return m_valid; }
    void setValid(bool valid);

    /// The ids of the rows that are not sealed, as ints in their order.
    Q_INVOKABLE QVariantList allOtherDeviceIds() const;
    /// The model name of a row's device, or of this device for the account's own id; else empty.
    Q_INVOKABLE QString getDeviceModelName(int deviceId) const;
    /// The application's name on the first row's device of that model name; empty if there is none.
    Q_INVOKABLE QString getAppName(const QString &deviceModel) const;

    static QVariantMap makeDeviceInfo(const im::Device &device);

    /// Does nothing.
    void loadLocalData(bool skip) override;
    /// Empties the list and the current device. The argument is ignored.
    void clearData(bool clear) override;

Q_SIGNALS:
    void currentDeviceChanged(QVariantMap currentDevice);
    void countChanged(int count);
    void deviceDeleteTimerChanged();
    void validChanged();

private:
    void empty();

    AccountBase *const m_account;
    QList<QVariantMap> m_devices;
    QVariantMap m_currentDevice;
    int m_deviceDeleteTimer = Never;
    bool m_valid = false;
};
