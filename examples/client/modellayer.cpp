#include "client/modellayer.h"

#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "client/clientaccount.h"
#include "imlog/imlog.h"
#include "settings/appsettingmodel.h"

ModelLayer::ModelLayer(ScriptedServer *server)
{
    ThreadManager::getInstance()->init();
    AppSettingModel::instance()->loadGlobalData();
    // Reading the console options applies those of earlier runs.
    AppSettingModel::instance()->consoleOptions();
    AccountManager::getInstance()->init(
        [server](QObject *parent) { return new ClientAccount(server, parent); });
}

ModelLayer::~ModelLayer()
{
    AccountManager::getInstance()->waitForFinished();
    AccountManager::releaseInstance();
    AppSettingModel::releaseInstance();
    ThreadManager::getInstance()->quitAll();
    ImLog::instance()->flush();
}
