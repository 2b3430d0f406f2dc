#include "client/clientaccount.h"

#include "account/accountdevicemodel.h"
#include "account/accountmanager.h"
#include "account/datainfomodel.h"
#include "base/util.h"
#include "imcrypto/store.h"
#include "imlog/imlog.h"
#include "protocol/account_service.pb.h"
#include "protocol/chat_service.pb.h"
#include "protocol/connection.pb.h"
#include "protocol/user_service.pb.h"
#include "settings/accountsettingmodel.h"
#include "settings/appdirmanager.h"
#include "storage/userstorageprovider.h"

namespace
{

// Rows of the account's settings, for values that the library has no place for.
const QString nameKey = QStringLiteral("sample_client_name");
const QString deviceIdKey = QStringLiteral("sample_client_device_id");

} // namespace

ClientAccount::ClientAccount(ScriptedServer *server, QObject *parent)
    : AccountBase(parent), m_connection(server)
{
    connect(this, &AccountBase::signalStoreOpened, this, &ClientAccount::readUser);
}

// Signing in and starting again

Reply ClientAccount::requestCode(const QString &countryCode, const QString &phone)
{
    im::account::SendCodeReq request;
    request.set_country_code(countryCode.toStdString());
    request.set_phone(phone.toStdString());
    return m_connection.call("im.account.CreateAccountService", "SendCode", request);
}

Reply ClientAccount::signIn(const QString &countryCode, const QString &phone, const QString &code)
{
    im::account::CreateAccountReq request;
    request.set_country_code(countryCode.toStdString());
    request.set_phone(phone.toStdString());
    request.set_code(code.toStdString());
    im::account::CreateAccountResp response;
    if (const Reply reply =
            m_connection.call("im.account.CreateAccountService", "Submit", request, response);
        !reply)
        return reply;

    setAccountId(response.user().user_id());
    if (!openStorage(true)) {
        im::SystemErrorData detail;
        detail.set_desc("the account's store cannot be made; is there room on the disk?");
        return {im::INTERNAL_SERVER_ERROR, detail.SerializeAsString()};
    }
    m_name = QString::fromStdString(response.user().name());
    accountSettingModel()->setValue(nameKey, m_name, true);
    setDeviceId(response.device_id());
    accountSettingModel()->setValue(deviceIdKey, deviceId(), true);
    updatePhone(phone, countryCode); // stored with the keys

    setAuthorized(true);
    AccountManager::getInstance()->addAccount(this);
    reconnectToServer(true);
    return {};
}

void ClientAccount::restore(QVariantMap params, bool connectNow, int)
{
    setAccountId(params.value(QStringLiteral("userId")).toLongLong());
    if (!openStorage(false))
        return; // not authorized, so the manager does not list it
    m_name = accountSettingModel()->getValue(nameKey, QString()).toString();
    setDeviceId(accountSettingModel()->getValue(deviceIdKey, 0).toInt());
    if (deviceId() == 0) {
        // The store was damaged, and the sign-in is lost with it. After a new sign-in the rest is
        // still there.
        closeStorage();
        return;
    }
    readUser();
    setAuthorized(true);
    if (connectNow)
        reconnectToServer(true);
}

// If a keychain is locked, its keys come only when the user has opened it.
void ClientAccount::readUser()
{
    if (const auto user = signalStore()->userInfo()) {
        setPhone(user->phone);
        setCountryCode(user->countryCode);
    }
}

// The session

void ClientAccount::reconnectToServer(bool)
{
    if (!authorized() || !autoReconnect() || state() != DISCONNECTED)
        return;
    setState(CONNECTING);
    // As with a real network, nothing arrives before the event loop runs.
    QMetaObject::invokeMethod(this, &ClientAccount::connectToServer, Qt::QueuedConnection);
}

void ClientAccount::connectToServer()
{
    if (!authorized() || state() != CONNECTING)
        return;
    AccountManager *manager = AccountManager::getInstance();
    im::AuthReq request; // a real request is signed with the device's key
    request.mutable_sign_auth()->set_user_id(int(accountId()));
    request.mutable_sign_auth()->set_device_id(deviceId());
    im::AuthResp response;
    if (const Reply reply = m_connection.call("im.ConnectService", "Auth", request, response);
        !reply) {
        setState(DISCONNECTED);
        Q_EMIT manager->error(reply.code, reply.text(), 0);
        if (reply.code == im::INVALID_AUTH__INVALID_DEVICE)
            manager->logout(this);
        return;
    }
    m_connection.setUserId(int(accountId()));
    setState(UPDATING);
    im::GetTimeResp time;
    if (m_connection.call("im.ConnectService", "GetTime", im::Empty(), time))
        m_serverTime = time.timestamp();
    fetchDialogs();
    setState(NORMAL);
}

void ClientAccount::abortAndReconnect(bool resetAutoReconnect)
{
    setState(DISCONNECTED);
    if (resetAutoReconnect)
        setAutoReconnect(true);
    reconnectToServer(true);
}

// There is one server, and no network.
void ClientAccount::resetCurrentServer() { }
void ClientAccount::setProxy(const QNetworkProxy &) { }

void ClientAccount::setActive(bool active)
{
    if (!isConnected())
        return;
    im::user::UpdateLastSeenReq request;
    request.set_type(active ? im::user::UpdateLastSeenReq::ONLINE
                            : im::user::UpdateLastSeenReq::OFFLINE);
    im::user::UpdateLastSeenResp response;
    m_connection.call("im.user.LastSeenService", "Update", request, response);
}

void ClientAccount::fetchDialogs()
{
    im::chat::ListDialogsResp response;
    if (!m_connection.call("im.chat.DialogService", "List", im::chat::ListDialogsReq(), response))
        return;
    int unread = 0;
    for (const im::Dialog &dialog : response.dialogs())
        unread += dialog.unread_count();
    setTotalUnreadCount(unread);
}

Reply ClientAccount::fetchDevices()
{
    im::user::ListDevicesResp response;
    const Reply reply =
        m_connection.call("im.user.UserService", "ListDevices", im::Empty(), response);
    if (reply)
        deviceModel()->setDeviceList(response);
    return reply;
}

Reply ClientAccount::unlinkDevice(int deviceId)
{
    im::user::UnlinkDevicesReq request;
    request.add_device_ids(deviceId);
    const Reply reply = m_connection.call("im.user.UserService", "UnlinkDevices", request);
    if (reply)
        deviceModel()->removeDevices({deviceId});
    return reply;
}

Reply ClientAccount::fetchLottery(const std::string &lotteryId, im::Lottery &lottery) const
{
    im::chat::GetLotteryDetailReq request;
    request.set_lottery_id(lotteryId);
    im::chat::GetLotteryDetailResp response;
    const Reply reply =
        m_connection.call("im.chat.LotteryService", "GetLotteryDetail", request, response);
    lottery = response.lottery();
    return reply;
}

Reply ClientAccount::reportFocus(bool focused)
{
    im::user::UpdateFocusReq request;
    request.set_focus(focused);
    return m_connection.call("im.user.LastSeenService", "UpdateFocus", request);
}

void ClientAccount::recordScreenLockLog(int, int, int result)
{
    ImLog::info(QStringLiteral("Account %1: unlocking %2.")
                    .arg(accountId())
                    .arg(result == 0 ? QStringLiteral("succeeded") : QStringLiteral("failed")));
}

void ClientAccount::enterNotebookMode()
{
    // No one signs in to the notebook. Its account has the id 0, which has its own directory.
    if (storage()->isOpen() || openStorage(true))
        dataInfoModel()->saveNotebookOpened(true);
}

// The end

void ClientAccount::closeSession()
{
    m_connection.setUserId(0);
    setState(DISCONNECTED);
    setAuthorized(false);
    closeStorage();
}

void ClientAccount::logout(bool deleteThis)
{
    unlinkDevice(deviceId()); // this device; without a connection the server finds out later
    closeSession();
    if (accountId() > 0) {
        Util::removeLocalFolder(userCacheDataPath());
        Util::removeLocalFolder(AppDirManager::instance()->defaultCacheDataDir()
                                + QString::number(accountId()));
    }
    if (deleteThis)
        deleteLater();
    else
        setAccountId(0); // ready for the next sign-in
}

void ClientAccount::release(bool, bool deleteThis)
{
    closeSession();
    if (deleteThis)
        deleteLater();
}

void ClientAccount::deleteAccount(bool deleteChats, int retryTimes, bool silent, bool recoverable)
{
    im::account::DeleteAccountReq request;
    request.set_delete_chats(deleteChats);
    request.set_reason(silent ? im::account::DeleteAccountReq::SELF_DESTRUCT
                              : im::account::DeleteAccountReq::NORMAL);
    request.set_recoverable(recoverable);
    Reply reply;
    for (int attempt = 0; attempt <= retryTimes; ++attempt) {
        reply = m_connection.call("im.account.CreateAccountService", "Delete", request);
        if (reply)
            break;
    }
    AccountManager *manager = AccountManager::getInstance();
    if (!reply && !silent)
        return Q_EMIT manager->error(reply.code, reply.text(), 0);
    manager->logout(this); // which also removes the local data
}
