#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QVariant>

class AccountBase;

/// Watches for sign-ins of an account on new devices and tells the user once of each: by
/// AccountManager::newDeviceLogin, while that account is the one that is shown; what comes in for
/// another account waits until the user turns to it. Which ones were shown is kept in the
/// application settings (newDeviceLoginRemind) and survives restarts.
///
/// Thread: main. Owned by the AccountManager.
class MODELBASE_EXPORT NewDeviceLoginManager : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE

public:
    explicit NewDeviceLoginManager(QObject *parent);

    /// Reads what was shown before of the stored accounts. Once, after the application settings were
    /// loaded. From then on everything is forgotten when the last stored account goes.
    void init();
    /// Reports a sign-in; a device map as AccountDeviceModel makes it, told apart by its
    /// "deviceId". Nothing happens for an account without an id.
    void deviceLogin(AccountBase *account, const QVariantMap &newDevice);
    /// Forgets what is known of an account that logs out.
    void deviceLogout(qint64 accountId);
    /// Tells what waits for the account, which is shown from now on; may be null.
    void activeAccount(AccountBase *account);
    /// Forgets what waits; what is stored stays.
    void reset();

private:
    void accountIdsChanged(const QVariantList &ids);
    void show(AccountBase *account, const QVariantMap &newDevice);
    void save() const;

    QHash<qint64, QSet<int>> m_shown;      // by account id
    QHash<qint64, QVariantList> m_waiting; // by account id
};
