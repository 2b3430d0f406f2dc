#include "settings/appsettingmodel.h"

#include "core/logs_p.h"
#include "core/storedvalues_p.h"
#include "core/workers_p.h"
#include "i18n/languagefollower.h"
#include "i18n/translations.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/consoleoptions_p.h"
#include "settings/emojiskins_p.h"
#include "settings/settingkeys_p.h"
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
std::mutex theModelMutex; // guards its construction, and the following
bool isReleasing = false;
constexpr int closeMs = 5000;
// For a store that does not open: the delay doubles each time.
constexpr int firstRetryMs = 1000;
constexpr int lastRetryMs = 60'000;

constexpr int defaultFontSize = 14;
constexpr int maximumFontSize = 1000;
constexpr int infoPanelMinimum = 320;
constexpr int infoPanelMaximum = 480;

constexpr auto upgradeKey = [] { return QStringLiteral("upgrade"); };
constexpr auto consoleOptionsKey = [] { return QStringLiteral("console_options"); };
constexpr auto skinIndexesKey = [] { return QStringLiteral("emoji_skin_indexes"); };

/// Settings with signals before and after a change, see beginConfig.
bool isBracketed(const QString &key)
{
    return key == QStringLiteral("large_emoji") || key == QStringLiteral("plain_model");
}

/// A dynamic property of the application object; invalid if there is none.
QVariant applicationProperty(const char *name)
{
    const QCoreApplication *app = QCoreApplication::instance();
    return app ? app->property(name) : QVariant();
}

} // namespace

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
        standIn->m_values->standInFor(*model->m_values);
        standIn->m_lineHeight = model->m_lineHeight.load();
        theModel = standIn;
    }
    delete model;
    standIn->m_values->leave(QDeadlineTimer(closeMs)); // logs the keys set meanwhile
    {
        const std::lock_guard lock(theModelMutex);
        theModel = nullptr;
        isReleasing = false;
    }
    delete standIn;
}

AppSettingModel::AppSettingModel()
    : m_storage(new storage::GlobalStorageProvider(this)),
      m_values(std::make_unique<Values>(m_storage->settingStorage())),
      m_translations(std::make_unique<Translations>()), m_skins(std::make_unique<EmojiSkins>())
{
    // Changes to the application object run in this object's thread.
    if (const QCoreApplication *app = QCoreApplication::instance())
        moveToThread(app->thread());
    QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
    qRegisterMetaType<AppSettingModel *>("AppSettingModel *");
}

AppSettingModel::~AppSettingModel()
{
    closeStorage();
    m_values.reset();
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
        for (const storage::Row &row : m_storage->settingStorage()->allInfos())
            stored.insert(row.key, row.value);
    }
    // Changes made while the store was closed are newer than its rows, and already among these.
    const QList<storage::Row> rows = m_values->allInfos();
    m_values->clear();
    for (const storage::Row &row : rows) {
        if (row.key == upgradeKey()) {
            setUpgradeInfo({{QStringLiteral("value"), row.value.toString()},
                            {QStringLiteral("remark"), row.remark}},
                           false);
        } else {
            Values::Access(*m_values).assign(row.key, row.value);
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

/// Tries to open the store until it succeeds: in the save thread, since that may take long.
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

/// Reads an unread store if it can be opened now. False while it is unread.
bool AppSettingModel::readNow()
{
    if (m_isUnread && thread() == QThread::currentThread() && m_storage->isOpen())
        loadGlobalData();
    return !m_isUnread;
}

bool AppSettingModel::read(const QString &key, bool fallback) const
{
    return m_values->value(key, fallback);
}

int AppSettingModel::read(const QString &key, int fallback) const
{
    return m_values->value(key, fallback);
}

qint64 AppSettingModel::read(const QString &key, qint64 fallback) const
{
    return m_values->value(key, fallback);
}

QString AppSettingModel::read(const QString &key, const QString &fallback) const
{
    return m_values->value(key, fallback);
}

QByteArray AppSettingModel::read(const QString &key, const QByteArray &fallback) const
{
    return m_values->value(key, fallback);
}

const QVariant &AppSettingModel::getValue(const QString &key, const QVariant &defaultValue) const
{
    return m_values->reference(key, defaultValue);
}

QVariant AppSettingModel::value(const QString &key, const QVariant &defaultValue) const
{
    return m_values->value(key, defaultValue);
}

bool AppSettingModel::setValue(const QString &key, const QVariant &given, bool needSave)
{
    std::optional<QVariant> kept;
    if (!isPlain(given)) {
        // Comparing costs less than inspecting a value that may be large, or a script's.
        if (m_values->holds(key, given))
            return false;
        kept = storable(key, given);
        if (!kept)
            return false;
    }
    const QVariant &value = kept ? *kept : given;
    Values::Access access(*m_values);
    const bool bracketed = isBracketed(key);
    if (bracketed) {
        const QVariant *held = access.find(key);
        if (held && isSame(*held, value))
            return false;
        Q_EMIT beginConfig(key, held ? *held : QVariant());
        access.assign(key, value); // a slot on the signal may have changed it as well
    } else if (!access.replace(key, value)) {
        return false;
    }
    if (needSave)
        access.put({key, value, {}});
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
    if (needSave && StoreWriter::accepts(key, value))
        Values::Access(*m_values).put({std::move(key), std::move(value), std::move(remark)});
}

void AppSettingModel::saveToConfig(const QVariantMap &rows)
{
    QList<storage::Row> infos;
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        if (!StoreWriter::accepts(row.key(), row.value()))
            return;
        infos.append({row.key(), row.value(), {}});
    }
    Values::Access(*m_values).put(std::move(infos));
}

void AppSettingModel::removeKey(const QString &key)
{
    Values::Access access(*m_values);
    access.erase(key);
    access.putRemoval(key);
}

bool AppSettingModel::flush()
{
    if (m_isUnread && thread() == QThread::currentThread())
        m_storage->open();
    return readNow() && m_values->flush();
}

bool AppSettingModel::flush(QDeadlineTimer deadline)
{
    return readNow() && m_values->flush(deadline);
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
    // Translators belong to the main thread. From another one, this runs there before the slots of
    // languageChanged.
    QMetaObject::invokeMethod(this, [this] { m_translations->setLanguage(language()); });
}

void AppSettingModel::retranslate()
{
    QMetaObject::invokeMethod(this, [this] {
        const QString now = language();
        if (std::exchange(m_shownLanguage, now) != now)
            LanguageFollower::notifyAll();
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
    return value(upgradeKey(), QVariant()).toMap();
}

void AppSettingModel::setUpgradeInfo(QVariantMap value, bool needSave)
{
    if (!makeStorable(upgradeKey(), &value))
        return;
    storage::Row row{upgradeKey(), value.value(QStringLiteral("value")),
                     value.value(QStringLiteral("remark")).toString()};
    Values::Access access(*m_values);
    if (!access.replace(upgradeKey(), value))
        return;
    if (needSave)
        access.put(std::move(row));
    Q_EMIT upgradeInfoChanged(value);
}

QVariantList AppSettingModel::accountIds() const
{
    return jsonToList(read(SettingKey::accounts(), QByteArrayLiteral("[]")));
}

void AppSettingModel::setAccountIds(QVariantList value, bool needSave)
{
    const QString key = SettingKey::accounts();
    if (!makeStorable(key, &value))
        return;
    // Otherwise it would replace a list that has not been read.
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
    const Values::Access access(*m_values);
    return m_skins->index(read(skinIndexesKey(), QString()), emoji);
}

void AppSettingModel::setEmojiSkinIndex(QString emoji, int index)
{
    const Values::Access access(*m_values);
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
    return read(SettingKey::serverConfig(), QByteArray());
}

void AppSettingModel::setServerConfig(QByteArray serverConfig, bool needSave)
{
    setValue(SettingKey::serverConfig(), serverConfig, needSave);
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
    return m_values->contains(QStringLiteral("theme_color"))
        || m_values->contains(QStringLiteral("gradient_start_color"))
        || m_values->contains(QStringLiteral("gradient_color"))
        || m_values->contains(QStringLiteral("chat_background_mode"));
}

bool AppSettingModel::containsAutoDownloadSetting() const
{
    return m_values->contains(QStringLiteral("auto_download_media"));
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
    // For slots on this thread. It is measured again where the font is set, so that of changes on
    // two threads the later one is measured last.
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
    m_values->flush(deadline);
    m_storage->close(deadline);
}
