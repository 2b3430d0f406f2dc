#pragma once

#include "account/accountbase.h"
#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "settings/appsettingmodel.h"

#include <QCoreApplication>
#include <QNetworkProxy>
#include <QStringList>

/// An account as a small application would write it: its sessions have no server behind them, its
/// store and keys are real. It notes what is asked of it in `calls`.
class FakeAccount : public AccountBase
{
    Q_OBJECT

public:
    using AccountBase::AccountBase;
    using AccountBase::closeStorage;
    using AccountBase::openStorage;

    /// Signs in: makes the account's store and lists it with the manager. False when it could not
    /// be opened, or is not listed.
    bool signIn(qint64 id)
    {
        setAccountId(id);
        if (!openStorage(true))
            return false;
        setAuthorized(true);
        AccountManager::getInstance()->addAccount(this);
        return AccountManager::getInstance()->containsAccount(this);
    }

    void logout(bool deleteThis) override
    {
        note("logout", deleteThis);
        setAuthorized(false);
        closeStorage();
        if (deleteThis)
            deleteLater();
    }
    void abortAndReconnect(bool resetAutoReconnect) override
    {
        note("abortAndReconnect", resetAutoReconnect);
    }
    void reconnectToServer(bool resetTime) override { note("reconnectToServer", resetTime); }
    void resetCurrentServer() override { note("resetCurrentServer"); }
    void deleteAccount(bool deleteChats, int retryTimes, bool silent, bool recoverable) override
    {
        note("deleteAccount", deleteChats, retryTimes, silent, recoverable);
        AccountManager::getInstance()->logout(this);
    }
    void initialize() override { note("initialize"); }
    void restore(QVariantMap params, bool connectNow, int reason) override
    {
        note("restore", connectNow, reason);
        setAccountId(params.value(QStringLiteral("userId")).toLongLong());
        setAuthorized(openStorage(false));
    }
    void release(bool logOut, bool deleteThis) override
    {
        note("release", logOut, deleteThis);
        closeStorage();
        if (deleteThis)
            deleteLater();
    }
    void setActive(bool active) override { note("setActive", active); }
    void setProxy(const QNetworkProxy &) override { note("setProxy"); }
    void recordScreenLockLog(int sceneType, int unlockType, int result) override
    {
        note("recordScreenLockLog", sceneType, unlockType, result);
    }
    void enterNotebookMode() override { note("enterNotebookMode"); }

    QStringList calls;

private:
    template <typename... Arguments>
    void note(const char *name, Arguments... arguments)
    {
        QStringList texts;
        (texts.append(QString::number(int(arguments))), ...);
        calls.append(
            QStringLiteral("%1(%2)").arg(QString::fromLatin1(name), texts.join(QLatin1Char(','))));
    }
};

/// The application is started: settings first, then the accounts.
template <typename Account = FakeAccount>
void startApplication()
{
    ThreadManager::getInstance()->init();
    AppSettingModel::instance()->loadGlobalData();
    AccountManager::getInstance()->init([](QObject *parent) { return new Account(parent); });
}

/// The application is left, in the order that it does that.
inline void leaveApplication()
{
    AccountManager::getInstance()->waitForFinished();
    AccountManager::releaseInstance();
    AppSettingModel::releaseInstance();
    ThreadManager::getInstance()->quitAll();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
