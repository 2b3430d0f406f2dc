#include "core/logs_p.h"
#include "core/storedvalues_p.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/settingkeys_p.h"
#include "settings/settingmodel_p.h"
#include "storage/settingstorage.h"

#include <array>
#include <utility>

// AppSettingModel::reset(): what it keeps, and the order in which the defaults are announced.

void AppSettingModel::reset()
{
    if (!readNow() && read(SettingKey::accounts(), QByteArray()) != "[]") {
        ImLog::error(lcSettings(),
                     QStringLiteral("Refused reset(): the settings have not been read"));
        return;
    }
    QVariant keptVersion;
    QByteArray keptServerConfig;
    {
        Values::Access access(*m_values);
        keptServerConfig = serverConfig();
        keptVersion = getValue(SettingKey::databaseVersion(), 1);
        keepSignedIn();
        // What has yet to be deleted; and, when a handler of a reset's signals resets again, the
        // rows that another handler has stored again before.
        QStringList lasting{SettingKey::leftMedia(), SettingKey::leftStores()};
        if (m_resets != Resets::None && !m_signedIn.isEmpty())
            lasting += {SettingKey::accounts(), SettingKey::currentAccount()};
        ValueCache values;
        for (const QString &key : std::as_const(lasting)) {
            if (const QVariant *held = access.find(key))
                values.emplace(key, *held);
        }
        if (const QVariant places = m_signedIn.value(SettingKey::formerPlaces()); places.isValid())
            values.insert_or_assign(SettingKey::formerPlaces(), places);
        // The kept rows are written in the same transaction: a kill must not lose them.
        QList<storage::Row> kept = {{SettingKey::databaseVersion(), keptVersion, {}},
                                    {SettingKey::serverConfig(), keptServerConfig, {}}};
        for (const auto &[key, value] : values)
            kept.append({key, value, {}});
        for (auto row = m_signedIn.cbegin(); row != m_signedIn.cend(); ++row)
            kept.append({row.key(), row.value(), {}});
        access.replaceAll(std::move(values));
        access.putRemovalOfAll(kept);
    }
    setValue(SettingKey::databaseVersion(), keptVersion, true);
    setServerConfig(keptServerConfig, true);
    recalcLineHeight();
    setApplicationProperty("autoRun", false);
    {
        const Values::Access access(*m_values);
        if (std::exchange(m_resets, m_resets == Resets::None ? Resets::One : Resets::More)
            != Resets::None)
            return;
    }
    // A handler may have reset values that were announced before. Announce everything at most
    // twice: a handler that sets and resets each time would never end.
    for (const bool again : {false, true}) {
        announceAll();
        ImLog::info(lcSettings(), QStringLiteral("AppSettingModel::resetAppSetting"));
        const Values::Access access(*m_values);
        if (again || std::exchange(m_resets, Resets::One) == Resets::One) {
            m_resets = Resets::None;
            break;
        }
    }
    dropSignedIn();
}

/// Notes the rows that a reset keeps for signed-in accounts: their ids, and where their media are.
/// Slots of the reset's signals store them again; until then a kill signs no one out.
void AppSettingModel::keepSignedIn()
{
    for (const QString &key :
         {SettingKey::accounts(), SettingKey::currentAccount(), SettingKey::formerPlaces()}) {
        if (const QVariant held = value(key, QVariant()); held.isValid())
            m_signedIn.insert(key, held);
    }
    if (jsonToList(m_signedIn.value(SettingKey::accounts()).toByteArray()).isEmpty())
        return m_signedIn.clear();
    QVariant &places = m_signedIn[SettingKey::formerPlaces()];
    places =
        AppDirManager::withFormerDirs(places.toByteArray(), {cacheDataPath(), oldCacheDataPath()});
}

/// Removes the rows of keepSignedIn() when no account has stayed signed in.
void AppSettingModel::dropSignedIn()
{
    Values::Access access(*m_values);
    const QVariantMap rows = std::exchange(m_signedIn, {});
    if (access.find(SettingKey::accounts()))
        return;
    for (auto row = rows.keyBegin(); row != rows.keyEnd(); ++row) {
        access.erase(*row);
        access.putRemoval(*row);
    }
}

/// Announces all values, as a reset announces its defaults.
void AppSettingModel::announceAll()
{
#define CHANGED(name)                                                                              \
    announce<AppSettingModel, &AppSettingModel::name, &AppSettingModel::name##Changed>
    static constexpr std::array order = {
        CHANGED(updateAutomaticallly),
        CHANGED(systemTrayIconVisible),
        CHANGED(launchWhenSystemStart),
        CHANGED(messageFontSize),
        +[](AppSettingModel *model) { model->loadTranslations(); },
        CHANGED(language),
        +[](AppSettingModel *model) { model->switchLanguage(); },
        +[](AppSettingModel *model) { model->retranslate(); },
        CHANGED(sendMessageKeys),
        CHANGED(debug),
        CHANGED(networkProxyState),
        CHANGED(currentNetworkProxy),
        CHANGED(networkProxyList),
        CHANGED(useProxyForCall),
        CHANGED(themeFontSize),
        CHANGED(msgDoubleClickAction),
        CHANGED(msgSendType),
        CHANGED(musicPlay),
        CHANGED(darkMode),
        CHANGED(mainwindowGeometry),
        CHANGED(passcode),
        CHANGED(screenLockTime),
        CHANGED(miniSessionMode),
        CHANGED(infoPanelViewMode),
        CHANGED(infoPanelOutdision),
        CHANGED(infoPanelWidth),
        CHANGED(messageDisplayMode),
        CHANGED(firstDayOfWeek),
        CHANGED(autoPlayGif),
        CHANGED(autoPlayVideo),
        CHANGED(autoPlayLivePhoto),
        CHANGED(screenCapture),
        CHANGED(upgradeInfo),
        CHANGED(accountIds),
        CHANGED(currentAccountId),
        CHANGED(unlockWithTouchID),
        CHANGED(appearenceFollowSystemTheme),
        CHANGED(themeColorFollowSystem),
        CHANGED(saveasPath),
        CHANGED(destructionPasscode),
        CHANGED(countMuteDialog),
        CHANGED(unreadMessagesCounter),
        CHANGED(plainModel),
        CHANGED(systemFont),
        CHANGED(spellChecker),
        CHANGED(openFilePath),
        CHANGED(handleMarkDown),
        CHANGED(lastUploadLogTime),
        CHANGED(screenLockErrorCountDownSeconds),
        CHANGED(screenCaptureHotkey),
        CHANGED(screenRecordHotkey),
        CHANGED(showImHotkey),
        CHANGED(largeEmoji),
        CHANGED(useStandRouting),
        CHANGED(appIcon),
        CHANGED(reduceAnimation),
        CHANGED(consoleOptions),
        CHANGED(isFirstSendReceipt),
        CHANGED(isFirstReadReceipt),
        CHANGED(isFirstSwitchAccount),
        CHANGED(isFirstDropToMyStorage),
        CHANGED(showTrayIcon),
        CHANGED(messageBubbleCorners),
        CHANGED(fullScreen),
        CHANGED(isFirstScrollMedia),
        CHANGED(requestUserLocation),
        CHANGED(sessionListWidth),
    };
#undef CHANGED
    for (const auto step : order)
        step(this);
    Q_EMIT paramsBeReseted();
}
