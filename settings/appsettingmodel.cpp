#include "settings/appsettingmodel.h"

#include "core/logs_p.h"
#include "core/storewriter_p.h"
#include "core/valuecache_p.h"
#include "core/workers_p.h"
#include "i18n/languagefollower.h"
#include "i18n/translations.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/consoleoptions_p.h"
#include "settings/emojiskins_p.h"
#include "settings/settingmodel_p.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <QMetaMethod>
#include <QQmlEngine>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <array>
#include <utility>

namespace
{

std::atomic<AppSettingModel *> theModel = nullptr;
std::mutex theModelMutex; // guards the making of it, and what follows
bool isReleasing = false;
constexpr int closeMs = 5000;
// For a store that does not open: each time twice as long.
constexpr int firstRetryMs = 1000;
constexpr int lastRetryMs = 60'000;

constexpr int defaultFontSize = 14;
constexpr int maximumFontSize = 1000;
constexpr int infoPanelMinimum = 320;
constexpr int infoPanelMaximum = 480;

constexpr auto upgradeKey = [] { return QStringLiteral("upgrade"); };
constexpr auto databaseVersionKey = [] { return QStringLiteral("database_version"); };
constexpr auto serverConfigKey = [] { return QStringLiteral("server_config"); };
constexpr auto consoleOptionsKey = [] { return QStringLiteral("console_options"); };
constexpr auto skinIndexesKey = [] { return QStringLiteral("emoji_skin_indexes"); };
constexpr auto accountsKey = [] { return QStringLiteral("accounts"); };
constexpr auto currentAccountKey = [] { return QStringLiteral("current_account"); };
constexpr auto formerPlacesKey = [] { return QStringLiteral("moved_file_names"); };

/// Settings whose changes are announced before and after, see beginConfig.
bool isBracketed(const QString &key)
{
    return key == QStringLiteral("large_emoji") || key == QStringLiteral("plain_model");
}

/// A dynamic property of the application object; invalid where there is none.
QVariant applicationProperty(const char *name)
{
    const QCoreApplication *app = QCoreApplication::instance();
    return app ? app->property(name) : QVariant();
}

} // namespace

/// Holds the lock while settings change. Once the last of them lets go, what was put for saving
/// meanwhile is handed on: the task may run at once, and nobody is to wait for the disk then.
class AppSettingModel::Change
{
public:
    explicit Change(AppSettingModel *model) : m_model(model)
    {
        model->m_mutex.lock();
        ++model->m_changes;
    }
    ~Change()
    {
        const bool write = --m_model->m_changes == 0 && std::exchange(m_model->m_writeDue, false)
            && !m_model->m_isStandIn;
        m_model->m_mutex.unlock();
        if (write)
            m_model->m_writer->write();
    }
    Q_DISABLE_COPY_MOVE(Change)

private:
    AppSettingModel *const m_model;
};

AppSettingModel *AppSettingModel::instance()
{
    if (AppSettingModel *model = theModel.load(std::memory_order_acquire))
        return model;
    const std::lock_guard lock(theModelMutex);
    if (!theModel)
        theModel = new AppSettingModel;
    return theModel;
}

void AppSettingModel::releaseInstance()
{
    AppSettingModel *model;
    AppSettingModel *standIn;
    {
        const std::lock_guard lock(theModelMutex);
        model = theModel;
        if (!model || std::exchange(isReleasing, true))
            return;
        standIn = new AppSettingModel;
        standIn->m_isStandIn = true;
        {
            const std::lock_guard values(model->m_mutex);
            standIn->m_cache = model->m_cache;
        }
        standIn->m_lineHeight = model->m_lineHeight.load();
        theModel = standIn;
    }
    delete model;
    standIn->m_writer->close(QDeadlineTimer(closeMs)); // names what was set meanwhile
    {
        const std::lock_guard lock(theModelMutex);
        theModel = nullptr;
        isReleasing = false;
    }
    delete standIn;
}

AppSettingModel::AppSettingModel()
    : m_storage(new storage::GlobalStorageProvider(this)),
      m_writer(std::make_unique<SettingWriter>(m_storage->settingStorage())),
      m_translations(std::make_unique<Translations>()), m_skins(std::make_unique<EmojiSkins>())
{
    // What concerns the application object runs where this object lives.
    if (const QCoreApplication *app = QCoreApplication::instance())
        moveToThread(app->thread());
    QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
    qRegisterMetaType<AppSettingModel *>("AppSettingModel *");
}

AppSettingModel::~AppSettingModel()
{
    closeStorage();
    m_writer.reset();
    delete m_storage;
}

void AppSettingModel::loadGlobalData()
{
    const bool wasUnread = m_isUnread;
    m_isUnread = !m_storage->open();
    if (m_isUnread && !wasUnread && QCoreApplication::instance())
        readLater(firstRetryMs);
    const bool isLate = wasUnread && !m_isUnread;
    QVariantMap stored;
    if (isLate) {
        for (const storage::SettingInfo &row : m_storage->settingStorage()->allInfos())
            stored.insert(row.key, row.value);
    }
    // What was changed while the store was closed is newer than what is in it, and among these.
    const QList<storage::SettingInfo> rows = m_writer->allInfos();
    {
        const std::lock_guard lock(m_mutex);
        m_cache.clear();
    }
    for (const storage::SettingInfo &row : rows) {
        if (row.key == upgradeKey()) {
            setUpgradeInfo({{QStringLiteral("value"), row.value.toString()},
                            {QStringLiteral("remark"), row.remark}},
                           false);
        } else {
            const std::lock_guard lock(m_mutex);
            m_cache.insert_or_assign(row.key, row.value);
        }
    }
    if (isLate) {
        ImLog::info(lcSettings(), QStringLiteral("The settings can be read now"));
        Q_EMIT storeRead(stored);
    }
    recalcLineHeight();
    setApplicationProperty("fontPixelSize", themeFontSize());
    loadTranslations();
    switchLanguage();
    retranslate();
    Q_EMIT screenCaptureHotkeyChanged(screenCaptureHotkey());
    Q_EMIT screenRecordHotkeyChanged(screenRecordHotkey());
    Q_EMIT showImHotkeyChanged(showImHotkey());
    if (isLate)
        announceAll();
}

bool AppSettingModel::isUnread() const
{
    return m_isUnread;
}

/// Asks for the store until it opens: in the save thread, as that may take long.
void AppSettingModel::readLater(int ms)
{
    QTimer::singleShot(ms, this, [this, ms] {
        if (readNow())
            return;
        Workers::invoke([storage = *m_storage->settingStorage()]() mutable { storage.apply({}); },
                        true);
        readLater(std::min(2 * ms, lastRetryMs));
    });
}

/// Reads an unread store if it has opened meanwhile. False while there is one.
bool AppSettingModel::readNow()
{
    if (m_isUnread && thread() == QThread::currentThread() && m_storage->isOpen())
        loadGlobalData();
    return !m_isUnread;
}

template <typename T>
T AppSettingModel::readAs(const QString &key, const T &fallback) const
{
    return readCached(m_mutex, m_cache, key, fallback);
}

bool AppSettingModel::read(const QString &key, bool fallback) const
{
    return readAs(key, fallback);
}

int AppSettingModel::read(const QString &key, int fallback) const
{
    return readAs(key, fallback);
}

qint64 AppSettingModel::read(const QString &key, qint64 fallback) const
{
    return readAs(key, fallback);
}

QString AppSettingModel::read(const QString &key, const QString &fallback) const
{
    return readAs(key, fallback);
}

QByteArray AppSettingModel::read(const QString &key, const QByteArray &fallback) const
{
    return readAs(key, fallback);
}

bool AppSettingModel::holds(const QString &key, const QVariant &value) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_cache.find(key);
    return found != m_cache.end() && isSame(found->second, value);
}

const QVariant &AppSettingModel::getValue(const QString &key, const QVariant &defaultValue) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_cache.find(key);
    return found == m_cache.end() ? defaultValue : found->second;
}

QVariant AppSettingModel::value(const QString &key, const QVariant &defaultValue) const
{
    return readAs(key, defaultValue);
}

bool AppSettingModel::setValue(const QString &key, const QVariant &given, bool needSave)
{
    std::optional<QVariant> kept;
    if (!isPlain(given)) {
        // Comparing costs less than looking at what may be large, or a script's.
        if (holds(key, given))
            return false;
        kept = storable(key, given);
        if (!kept)
            return false;
    }
    const QVariant &value = kept ? *kept : given;
    const Change change(this);
    const auto found = m_cache.find(key);
    if (found != m_cache.end() && isSame(found->second, value))
        return false;
    const bool bracketed = isBracketed(key);
    if (bracketed)
        Q_EMIT beginConfig(key, found == m_cache.end() ? QVariant() : found->second);
    // A slot on that signal may have changed the cache itself.
    if (bracketed || found == m_cache.end())
        m_cache.insert_or_assign(key, value);
    else
        found->second = value;
    if (needSave)
        put({key, value, {}});
    if (bracketed)
        Q_EMIT endConfig(key, value);
    return true;
}

void AppSettingModel::saveToConfig(QString key, QVariant value, bool needSave)
{
    saveToConfig(std::move(key), std::move(value), QString(), needSave);
}

void AppSettingModel::saveToConfig(QString key, QVariant value, QString remark, bool needSave)
{
    if (!needSave || !SettingWriter::accepts(key, value))
        return;
    const Change change(this);
    put({std::move(key), std::move(value), std::move(remark)});
}

/// Inside a Change, with what the writer accepts.
void AppSettingModel::put(storage::SettingInfo &&row)
{
    if (m_writer->put(std::move(row)))
        m_writeDue = true;
}

void AppSettingModel::saveToConfig(const QVariantMap &rows)
{
    QList<storage::SettingInfo> infos;
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        if (!SettingWriter::accepts(row.key(), row.value()))
            return;
        infos.append({row.key(), row.value(), {}});
    }
    const Change change(this);
    if (m_writer->put(std::move(infos)))
        m_writeDue = true;
}

void AppSettingModel::removeKey(const QString &key)
{
    const Change change(this);
    m_cache.erase(key);
    if (m_writer->putRemoval(key))
        m_writeDue = true;
}

bool AppSettingModel::flush()
{
    if (m_isUnread && thread() == QThread::currentThread())
        m_storage->open();
    return readNow() && m_writer->flush();
}

bool AppSettingModel::flush(QDeadlineTimer deadline)
{
    return readNow() && m_writer->flush(deadline);
}

void AppSettingModel::reset()
{
    if (!readNow() && read(accountsKey(), QByteArray()) != "[]") {
        ImLog::error(lcSettings(), QStringLiteral("reset() before the settings could be read"));
        return;
    }
    QVariant keptVersion;
    QByteArray keptServerConfig;
    {
        const Change change(this);
        keptServerConfig = serverConfig();
        keptVersion = getValue(databaseVersionKey(), 1);
        keepSignedIn();
        // What has yet to be deleted; and where a handler of what a reset announces resets again, those
        // that another has stored again before.
        QStringList lasting{QStringLiteral("left_media"), QStringLiteral("left_stores")};
        if (m_resets != Resets::None && !m_signedIn.isEmpty())
            lasting += {accountsKey(), currentAccountKey()};
        ValueCache values;
        for (const QString &key : std::as_const(lasting)) {
            if (const auto found = m_cache.find(key); found != m_cache.end())
                values.insert(*found);
        }
        if (const QVariant places = m_signedIn.value(formerPlacesKey()); places.isValid())
            values.insert_or_assign(formerPlacesKey(), places);
        // What is kept goes with the wipe: a kill between the two must not lose it.
        QList<storage::SettingInfo> kept = {{databaseVersionKey(), keptVersion, {}},
                                            {serverConfigKey(), keptServerConfig, {}}};
        for (const auto &[key, value] : values)
            kept.append({key, value, {}});
        for (auto row = m_signedIn.cbegin(); row != m_signedIn.cend(); ++row)
            kept.append({row.key(), row.value(), {}});
        m_cache = std::move(values);
        if (m_writer->putRemovalOfAll(kept))
            m_writeDue = true;
    }
    setValue(databaseVersionKey(), keptVersion, true);
    setServerConfig(keptServerConfig, true);
    recalcLineHeight();
    setApplicationProperty("autoRun", false);
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_resets, m_resets == Resets::None ? Resets::One : Resets::More)
            != Resets::None)
            return;
    }
    // A handler may have reset anew what had been announced. After the second time they are left to
    // themselves: a handler that sets and resets each time would never let this end.
    for (const bool again : {false, true}) {
        announceAll();
        ImLog::info(lcSettings(), QStringLiteral("AppSettingModel::resetAppSetting"));
        const std::lock_guard lock(m_mutex);
        if (again || std::exchange(m_resets, Resets::One) == Resets::One) {
            m_resets = Resets::None;
            break;
        }
    }
    dropSignedIn();
}

/// Notes the rows that a reset leaves for those who stay signed in: who they are, and where media of
/// theirs lie. They are stored again by a slot of what is announced; until then a kill signs nobody
/// out.
void AppSettingModel::keepSignedIn()
{
    for (const QString &key : {accountsKey(), currentAccountKey(), formerPlacesKey()}) {
        if (const auto found = m_cache.find(key); found != m_cache.end())
            m_signedIn.insert(key, found->second);
    }
    if (jsonToList(m_signedIn.value(accountsKey()).toByteArray()).isEmpty())
        return m_signedIn.clear();
    QVariant &places = m_signedIn[formerPlacesKey()];
    places =
        AppDirManager::withFormerDirs(places.toByteArray(), {cacheDataPath(), oldCacheDataPath()});
}

/// Removes what keepSignedIn() left when nobody has stayed.
void AppSettingModel::dropSignedIn()
{
    const Change change(this);
    const QVariantMap rows = std::exchange(m_signedIn, {});
    if (m_cache.find(accountsKey()) != m_cache.end())
        return;
    for (auto row = rows.keyBegin(); row != rows.keyEnd(); ++row) {
        m_cache.erase(*row);
        if (m_writer->putRemoval(*row))
            m_writeDue = true;
    }
}

/// Announces all values, as a reset does its defaults.
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

void AppSettingModel::resetBadgeCounter()
{
    setCountMuteDialog(false, true);
    setUnreadMessagesCounter(false, true);
}

QString AppSettingModel::language() const
{
    const QString selected = selectedLanguage();
    if (!selected.isEmpty())
        return selected;
    const QLocale system = QLocale::system();
    const QString plain = QLocale(system.language()).name();
    const QStringList available = applicationProperty("availableLanguages").toStringList();
    return available.contains(plain) ? plain : system.name();
}

void AppSettingModel::setLanguage(QString value, bool needSave)
{
    if (setValue(QStringLiteral("language"), value, needSave)) {
        loadTranslations();
        Q_EMIT languageChanged(value);
        retranslate();
    }
}

void AppSettingModel::setApplicationProperty(const char *name, const QVariant &value)
{
    QMetaObject::invokeMethod(this, [name, value] {
        if (QCoreApplication *app = QCoreApplication::instance())
            app->setProperty(name, value);
    });
}

void AppSettingModel::loadTranslations()
{
    // Translators are the main thread's. On another one this comes before the slots of
    // languageChanged that are to run there.
    QMetaObject::invokeMethod(this, [this] { m_translations->setLanguage(language()); });
}

void AppSettingModel::retranslate()
{
    QMetaObject::invokeMethod(this, [this] {
        const QString now = language();
        if (std::exchange(m_toldLanguage, now) != now)
            LanguageFollower::tellAll();
    });
}

Translations *AppSettingModel::translations() const
{
    return m_translations.get();
}

void AppSettingModel::switchLanguage()
{
    QMetaObject::invokeMethod(this, [this] {
        QCoreApplication *app = QCoreApplication::instance();
        if (app && app->metaObject()->indexOfMethod("switchLanguage(QString)") >= 0) {
            QMetaObject::invokeMethod(app, "switchLanguage", Qt::DirectConnection,
                                      Q_ARG(QString, language()));
        }
    });
}

void AppSettingModel::setSendMessageKeys(QString value, bool needSave)
{
    if (!value.isEmpty() && setValue(QStringLiteral("sendMsgKeys"), value, needSave))
        Q_EMIT sendMessageKeysChanged(value);
}

void AppSettingModel::setNetworkProxyList(QString value, bool needSave)
{
    if (setValue(QStringLiteral("network_proxy_list"), value, needSave))
        Q_EMIT networkProxyListChanged(value);
    if (value.size() < 3)
        setNetworkProxyState(0, true);
}

int AppSettingModel::themeFontSize() const
{
    const int size = read(QStringLiteral("theme_font_size"), defaultFontSize);
    return size >= 1 && size <= maximumFontSize ? size : defaultFontSize;
}

void AppSettingModel::setThemeFontSize(int value, bool needSave)
{
    if (value < 1 || value > maximumFontSize) {
        ImLog::error(lcSettings(), QStringLiteral("%1 pixels are no font size").arg(value));
        return;
    }
    if (setValue(QStringLiteral("theme_font_size"), value, needSave)) {
        recalcLineHeight();
        Q_EMIT themeFontSizeChanged(value);
    }
}

void AppSettingModel::setScreenCaptureHotkey(QVariantMap value, bool needSave)
{
    const QString key = QStringLiteral("screenCaptureHotKey");
    if (makeStorable(key, &value) && setValue(key, mapToJson(value), needSave))
        Q_EMIT screenCaptureHotkeyChanged(screenCaptureHotkey());
}

int AppSettingModel::infoPanelWidth() const
{
    return std::clamp(read(QStringLiteral("infoPanelWidth"), infoPanelMinimum), infoPanelMinimum,
                      infoPanelMaximum);
}

void AppSettingModel::setInfoPanelWidth(int value, bool needSave)
{
    const int width = std::clamp(value, infoPanelMinimum, infoPanelMaximum);
    if (setValue(QStringLiteral("infoPanelWidth"), width, needSave))
        Q_EMIT infoPanelWidthChanged(width);
}

QVariantMap AppSettingModel::upgradeInfo() const
{
    const std::lock_guard lock(m_mutex);
    return getValue(upgradeKey(), QVariant()).toMap();
}

void AppSettingModel::setUpgradeInfo(QVariantMap value, bool needSave)
{
    if (!makeStorable(upgradeKey(), &value))
        return;
    storage::SettingInfo row{upgradeKey(), value.value(QStringLiteral("value")),
                             value.value(QStringLiteral("remark")).toString()};
    const Change change(this);
    if (holds(upgradeKey(), value))
        return;
    if (needSave)
        put(std::move(row));
    m_cache.insert_or_assign(upgradeKey(), value);
    Q_EMIT upgradeInfoChanged(value);
}

QVariantList AppSettingModel::accountIds() const
{
    return jsonToList(read(accountsKey(), QByteArrayLiteral("[]")));
}

void AppSettingModel::setAccountIds(QVariantList value, bool needSave)
{
    const QString key = accountsKey();
    if (!makeStorable(key, &value))
        return;
    // Or it would replace a list that nobody has read.
    needSave = needSave && (!m_isUnread || value.isEmpty());
    if (setValue(key, listToJson(value), needSave))
        Q_EMIT accountIdsChanged(value);
    if (value.isEmpty())
        reset();
}

QString AppSettingModel::consoleOptions() const
{
    const QString stored = read(consoleOptionsKey(), QString());
    if (stored.isEmpty())
        return ConsoleOptions::defaultText();
    const ConsoleOptions options(stored);
    options.apply();
    return options.text();
}

void AppSettingModel::setConsoleOptions(QString newConsoleOptions, bool needSave)
{
    if (setValue(consoleOptionsKey(), newConsoleOptions, needSave))
        Q_EMIT consoleOptionsChanged(newConsoleOptions);
}

void AppSettingModel::changeConsoleOption(QString uri, bool enabled)
{
    ConsoleOptions options(consoleOptions());
    options.change(uri, enabled);
    setConsoleOptions(options.text(), true);
    options.apply();
}

int AppSettingModel::emojiSkinIndex(QString emoji) const
{
    const std::lock_guard lock(m_mutex);
    return m_skins->index(read(skinIndexesKey(), QString()), emoji);
}

void AppSettingModel::setEmojiSkinIndex(QString emoji, int index)
{
    const Change change(this);
    setValue(skinIndexesKey(), m_skins->changed(read(skinIndexesKey(), QString()), emoji, index),
             true);
}

void AppSettingModel::setGlobalSkinIndex(int index, bool needSave)
{
    setValue(skinIndexesKey(), QString(), true);
    if (setValue(QStringLiteral("global_skin_index"), index, needSave))
        Q_EMIT globalSkinIndexChanged();
}

bool AppSettingModel::requestUserLocation() const
{
    return m_requestUserLocation;
}

void AppSettingModel::setRequestUserLocation(bool newRequestUserLocation)
{
    if (m_requestUserLocation.exchange(newRequestUserLocation) != newRequestUserLocation)
        Q_EMIT requestUserLocationChanged();
}

QByteArray AppSettingModel::serverConfig() const
{
    return read(serverConfigKey(), QByteArray());
}

void AppSettingModel::setServerConfig(QByteArray serverConfig, bool needSave)
{
    setValue(serverConfigKey(), serverConfig, needSave);
}

QString AppSettingModel::themeColor() const
{
    return read(QStringLiteral("theme_color"), applicationProperty("productColor").toString());
}

QString AppSettingModel::appIconPath() const
{
    return QStringLiteral(":/resource/image/icon/%1.ico").arg(appIcon());
}

bool AppSettingModel::containsCustomThemeInfo() const
{
    const std::lock_guard lock(m_mutex);
    return m_cache.contains(QStringLiteral("theme_color"))
        || m_cache.contains(QStringLiteral("gradient_start_color"))
        || m_cache.contains(QStringLiteral("gradient_color"))
        || m_cache.contains(QStringLiteral("chat_background_mode"));
}

bool AppSettingModel::containsAutoDownloadSetting() const
{
    const std::lock_guard lock(m_mutex);
    return m_cache.contains(QStringLiteral("auto_download_media"));
}

int AppSettingModel::lineHeigt() const
{
    return m_lineHeight;
}

void AppSettingModel::recalcLineHeight()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return;
    const auto measured = [this] {
        QFont font = QGuiApplication::font();
        font.setPixelSize(themeFontSize());
        m_lineHeight = int(QFontMetricsF(font).height());
        return font;
    };
    // Here for slots on this thread. Once more where the font is set, so that of changes on two
    // threads the later one is measured last.
    if (QThread::currentThread() != thread())
        measured();
    QMetaObject::invokeMethod(this, [measured] {
        if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
            QGuiApplication::setFont(measured());
    });
}

storage::GlobalStorageProvider *AppSettingModel::globalStorage() const
{
    return m_storage;
}

void AppSettingModel::closeGlobalStorage()
{
    closeStorage();
}

void AppSettingModel::closeStorage()
{
    const QDeadlineTimer deadline(closeMs);
    m_writer->flush(deadline);
    m_storage->close(deadline);
}
