#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QVariant>

class AccountBase;

/// Watches for sign-ins of an account on new devices and reports each to the user once, by
/// AccountManager::newDeviceLogin. A sign-in is reported while its account is shown; for any other
/// account it waits until the user switches there. The application settings (newDeviceLoginRemind)
/// record which ones were shown, also across restarts.
///
/// Thread: main. Owned by the AccountManager.
class MODELBASE_EXPORT NewDeviceLoginManager : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    explicit NewDeviceLoginManager(QObject *parent);

    /// Reads which sign-ins of the stored accounts were shown before. Call it once, after the
    /// application settings were loaded. From then on everything is cleared when the last stored
    /// account leaves.
    void init();
    /// Reports a sign-in by a device map as AccountDeviceModel makes it, identified by its
    /// "deviceId". Does nothing for an account without an id.
    void deviceLogin(AccountBase *account, const QVariantMap &newDevice);
    /// Forgets the sign-ins of an account that logs out.
    void deviceLogout(qint64 accountId);
    /// Reports what waits for the account, which is shown from now on; may be null.
    void activeAccount(AccountBase *account);
    /// Forgets waiting sign-ins; stored ones stay.
    void reset();

private:
    void accountIdsChanged(const QVariantList &ids);
    void show(AccountBase *account, const QVariantMap &newDevice);
    void save() const;

    QHash<qint64, QSet<int>> m_shown;      // by account id
    QHash<qint64, QVariantList> m_waiting; // by account id
};
