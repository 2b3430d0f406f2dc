#pragma once

#include "account/accountbase.h"
#include "client/connection.h"

/// The account as this application has it: what AccountBase leaves open is a session with a server.
///
/// What a sign-in brings is kept in the account's own store, where restore() finds it. Signing out
/// removes all that the account has on this machine: its device is unlinked, so that its keys are
/// of no use any more.
class ClientAccount : public AccountBase
{
    Q_OBJECT

public:
    ClientAccount(ScriptedServer *server, QObject *parent);

    const QString &name() const { return m_name; }
    /// The server's clock when the account connected; ms since 1970, UTC.
    qint64 serverTime() const { return m_serverTime; }

    // Signing in; from then on the account is listed and current.

    Reply requestCode(const QString &countryCode, const QString &phone);
    Reply signIn(const QString &countryCode, const QString &phone, const QString &code);

    // A signed-in account.

    /// Fills deviceModel().
    Reply fetchDevices();
    Reply unlinkDevice(int deviceId);
    /// How a lottery goes: what its message does not tell.
    Reply fetchLottery(const std::string &lotteryId, im::Lottery &lottery) const;
    /// A call that this version of the sample makes no further use of.
    Reply reportFocus(bool focused);

    // What the manager calls.

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
