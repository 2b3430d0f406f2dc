#pragma once

#include "account/accountbase.h"
#include "client/connection.h"

/// The account of this application: implements AccountBase as a session with a server.
///
/// The results of a sign-in are kept in the account's own store, where restore() finds them.
/// Signing out removes everything that the account has on this machine: its device is unlinked, so
/// its keys become useless.
class ClientAccount : public AccountBase
{
    Q_OBJECT

public:
    ClientAccount(ScriptedServer *server, QObject *parent);

    const QString &name() const { return m_name; }
    /// The server's clock when the account connected; ms since 1970, UTC.
    qint64 serverTime() const { return m_serverTime; }

    // Signing in; afterwards the account is listed and current.

    Reply requestCode(const QString &countryCode, const QString &phone);
    Reply signIn(const QString &countryCode, const QString &phone, const QString &code);

    // A signed-in account.

    /// Fills deviceModel().
    Reply fetchDevices();
    Reply unlinkDevice(int deviceId);
    /// The state of a lottery, which its message does not contain.
    Reply fetchLottery(const std::string &lotteryId, im::Lottery &lottery) const;
    /// A call whose result this version of the sample does not use.
    Reply reportFocus(bool focused);

    // Called by the manager.

    void initialize() override { }
    void restore(QVariantMap params, bool connectNow, int reason) override;
    void logout(bool deleteThis) override;
    void release(bool logOut, bool deleteThis) override;
    void deleteAccount(bool deleteChats = false, int retryTimes = 0, bool silent = false,
                       bool recoverable = false) override;
    void setActive(bool active) override;
    void enterNotebookMode() override;
    void abortAndReconnect(bool resetAutoReconnect) override;
    void reconnectToServer(bool resetTime) override;
    void resetCurrentServer() override;
    void setProxy(const QNetworkProxy &proxy) override;
    void recordScreenLockLog(int sceneType, int unlockType, int result) override;

private:
    void readUser();
    void connectToServer();
    void fetchDialogs();
    void closeSession();

    Connection m_connection;
    QString m_name;
    qint64 m_serverTime = 0;
};
