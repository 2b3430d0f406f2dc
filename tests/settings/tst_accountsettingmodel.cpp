#include "account/accountservices.h"
#include "account/threadmanager.h"
#include "base/util.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"
#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/settingtable.h"
#include "support/signallog.h"

#include <QDir>
#include <QFile>
#include <QJSEngine>
#include <QMetaProperty>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

/// The account's configuration on a server: keeps it and notes what is saved.
class FakeConfiguration : public ConfigurationService
{
public:
    QByteArray value(const QString &name) const override { return values.value(name); }
    void save(const QString &name, const QByteArray &json) override
    {
        values.insert(name, json);
        saved.append(name);
    }

    QHash<QString, QByteArray> values;
    QStringList saved;
};

const QString notifications = u"mobileNotification"_s;
const QString chatFolders = u"dialog_folder_config"_s;

} // namespace

class TestAccountSettingModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        wipeMachine();
        FakeAccount account;
        account.setAccountId(7);
        QDir(account.userStatusDataPath()).removeRecursively();
        m_configuration = FakeConfiguration();
        open();
    }
    void cleanup()
    {
        m_account.reset();
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
        QCoreApplication::instance()->setProperty("imName", QVariant());
    }

    void everySetting()
    {
        SettingTable table{[this] { return static_cast<QObject *>(&model()); }, [this] { open(); },
                           [this] {
                               model().flush();
                               QVariantMap all = rows();
                               for (const QString &name : {notifications, chatFolders}) {
                                   const QVariantMap shared =
                                       jsonToMap(m_configuration.values.value(name));
                                   for (auto it = shared.cbegin(); it != shared.cend(); ++it)
                                       all.insert(name + u'/' + it.key(), it.value());
                               }
                               return all;
                           },
                           [this] { init(); },
                           [this](const QByteArray &name) {
                               return name == "downloadFolder" ? u"(downloads)"_s : QString();
                           }};
        QStringList lines = table.lines();
        // Those without a property, by their getters.
        for (const QString &line : facts(u"accountsettings.txt"_s)) {
            if (line.contains(u" | by "))
                lines.append(silentLine(line.section(u' ', 0, 0).toLatin1(),
                                        line.section(u" | "_s, 1).section(u' ', 0, 0),
                                        line.section(u" | by "_s, 1).section(u' ', 0, 0)));
        }
        SettingTable::compare(lines, QFINDTESTDATA("accountsettings.txt"));
    }

    void defaultDownloadFolder()
    {
        QCoreApplication::instance()->setProperty("imName", u"Im Grünen"_s);
        QCOMPARE(model().downloadFolder(),
                 QStandardPaths::writableLocation(QStandardPaths::DownloadLocation)
                     + Util::separator() + u"Im Grünen"_s);
        model().setDownloadFolder(u""_s);
        QCOMPARE(model().downloadFolder(), u""_s);
    }

    void openNotebookIsNeverStored()
    {
        QSignalSpy changed(&model(), &AccountSettingModel::openNotebookChanged);
        model().setOpenNotebook(true);
        model().setOpenNotebook(true);
        QCOMPARE(changed, (QList<QVariantList>{{true}}));
        QVERIFY(model().openNotebook());
        QVERIFY(model().flush());
        QVERIFY(rows().isEmpty());
        model().loadLocalData(true);
        QVERIFY(model().openNotebook());
        model().loadLocalData(false);
        QVERIFY(!model().openNotebook());
    }

    void customTheme()
    {
        QVERIFY(model().setValue(u"current_theme"_s, 1, false));
        QVERIFY(!model().containsCustomThemeInfo());
        for (const QString &key :
             {u"chat_background_color"_s, u"chat_background_gradient_color"_s,
              u"dark_mode_chat_background_color"_s, u"chat_background_id"_s,
              u"chat_background_blur"_s, u"chat_background_gradient_rotation"_s,
              u"chat_shader_opacity"_s}) {
            model().clearData(false);
            QVERIFY(model().setValue(key, QVariant(), false));
            QVERIFY2(model().containsCustomThemeInfo(), qPrintable(key));
        }
    }

    void valuesWithoutARow()
    {
        model().saveToCoreDb(u"a"_s, 1, true);
        model().saveToCoreDb(u"b"_s, 1, false);
        QCOMPARE(model().getValue(u"a"_s, -1), -1);
        QVERIFY(model().flush());
        QCOMPARE(rows(), (QVariantMap{{u"a"_s, 1}}));
        model().removeKey(u""_s);
        QVERIFY(model().setValue(u"d"_s, 2, true));
        QVERIFY(!model().setValue(u"d"_s, 2, true));
        QSignalSpy speed(&model(), &AccountSettingModel::voiceDefalutPlaySpeedChanged);
        for (int i = 0; i < 2; ++i)
            model().setVoiceDefalutPlaySpeed(std::nan(""), false);
        QCOMPARE(speed.size(), 1);
        QCOMPARE(model().voiceDefalutPlaySpeed(), 2.0);
        // What cannot be stored is not kept in memory either, and keeps nothing else from it.
        QJSEngine engine;
        const QVariant script = QVariant::fromValue(engine.evaluate(u"({a: () => 1})"_s));
        const auto refuse = [&](auto set) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u" cannot be stored: "_s));
            set();
        };
        for (const QVariant &value : {script, QVariant::fromValue<QObject *>(this)}) {
            refuse([&] { QVERIFY(!model().setValue(u"c"_s, value, true)); });
            refuse([&] { model().setSyncMsgInfo({{u"a"_s, value}}); });
            refuse([&] { model().setNotebookSetting({{u"a"_s, value}}, true); });
            refuse([&] { model().updateTagInfo({value}); });
            refuse([&] { model().saveToCoreDb(u"c"_s, value, true); });
        }
        QVERIFY(!model().getValue(u"c"_s, {}).isValid());
        QVERIFY(
            model().setValue(u"e"_s, QVariant::fromValue(engine.evaluate(u"[1, 'x']"_s)), true));
        const QVariantList list{1, u"x"_s};
        QCOMPARE(model().getValue(u"e"_s, {}), list);
        QVERIFY(model().flush());
        QCOMPARE(rows(), (QVariantMap{{u"a"_s, 1}, {u"d"_s, 2}, {u"e"_s, list}}));
    }

    void loadingAnnouncesInOrder()
    {
        model().setLeftTabWidth(90);
        m_configuration.values.insert(notifications, "{\"at\":0}");
        const SignalLog order({&model()});
        QSignalSpy width(&model(), &AccountSettingModel::leftTabWidthChanged);
        QSignalSpy aite(&model(), &AccountSettingModel::notifyAiteChanged);
        model().loadLocalData(true);
        QVERIFY(order.names().isEmpty());
        model().loadLocalData(false);
        SettingTable::compare(order.names(), QFINDTESTDATA("accountload.txt"));
        QCOMPARE(width[0][0], 90);
        QCOMPARE(aite[0][0], false);
    }

    /// From another device: in either type, and nothing is handed on.
    void notificationsOfAnotherDevice()
    {
        static const QRegularExpression fact(u"^(\\w+) bool = .* mobileNotification/(\\w+) as "_s);
        int count = 0;
        for (const QString &line : facts(u"accountsettings.txt"_s)) {
            const auto found = fact.match(line);
            if (!found.hasMatch())
                continue;
            ++count;
            const QByteArray name = found.captured(1).toLatin1();
            const SignalLog order({&model()});
            const bool fallback = model().property(name).toBool();
            // What is not in the map yet is a change, be it the default.
            for (const QVariant &value :
                 {QVariant(fallback), QVariant(int(!fallback)), QVariant(!fallback)}) {
                model().updateNotifyConfig({{found.captured(2), value}, {u"unknown"_s, true}});
                QCOMPARE(model().property(name), value.toBool());
            }
            const QString changed = found.captured(1) + u"Changed"_s;
            QCOMPARE(order.names(), (QStringList{changed, changed}));
        }
        QCOMPARE(count, 8);
        QVERIFY(m_configuration.saved.isEmpty());
    }

    void olderRowsStandInForTheMap()
    {
        QVERIFY(model().setValue(u"notifications"_s, false, true));
        QVERIFY(model().setValue(u"messagePreview"_s, false, true));
        QVERIFY(!model().globalNotifications());
        QVERIFY(!model().globalMessagePreview());
        model().setGlobalNotifications(true, false);
        QVERIFY(model().globalNotifications());
        QVERIFY(!model().globalMessagePreview());
    }

    void resetNotification()
    {
        m_configuration.values.insert(
            notifications, "{\"notifications\":false,\"reply\":0,\"atAll\":0,\"other\":[1]}");
        open();
        model().setBounceDockIcon(true);
        SignalLog order({&model()});
        model().resetNotification();
        QCOMPARE(order.take(),
                 u"globalNotificationsChanged globalMessagePreviewChanged "
                 "alwaysShowNotificationChanged notifyReplyChanged notifyAiteChanged "
                 "notifyAiteAllChanged bounceDockIconChanged"_s);
        QCOMPARE(m_configuration.saved, QStringList(notifications));
        QCOMPARE(notificationMap(),
                 jsonToMap("{\"notifications\":true,\"messagePreview\":true,\"reply\":1,"
                           "\"at\":1,\"atAll\":1,\"other\":[1]}"));
        QVERIFY(model().alwaysShowNotification());
        QVERIFY(!model().bounceDockIcon());
    }

    void mutedGroups()
    {
        m_configuration.values.insert(
            notifications,
            "{\"group\":{\"kept\":1,\"exceptionMention\":[{\"dialogID\":\"G-1\",\"note\":2}]}}");
        open();
        // The entries after a change, and how often they were handed on.
        const auto check = [this](const QStringList &entries, int saved) {
            const QVariantMap group = notificationMap().value(u"group"_s).toMap();
            QStringList found;
            for (const QVariant &entry : group.value(u"exceptionMention"_s).toList())
                found.append(QString::fromUtf8(mapToJson(entry.toMap())).remove(u'"'));
            QCOMPARE(found, entries);
            QCOMPARE(group.value(u"kept"_s), 1);
            QCOMPARE(m_configuration.saved.size(), saved);
        };
        const QString first = u"{at:false,atAll:false,dialogID:G-1,note:2,reply:false}"_s;
        model().updateMutedGroupNotification(u"G-2"_s, true, false, true);
        model().updateMutedGroupNotification(u"G-1"_s, false, false, false);
        for (int i = 0; i < 2; ++i) {
            check({first, u"{at:false,atAll:true,dialogID:G-2,reply:true}"_s}, 2);
            model().updateMutedGroupNotification(u"G-2"_s, true, false, true);
        }
        model().updateMutedGroupNotification(u"G-2"_s, true, true, true);
        check({first, u"{at:true,atAll:true,dialogID:G-2,reply:true}"_s}, 3);
        for (int i = 0; i < 2; ++i) {
            model().deleteMutedGroupNotification(u"G-1"_s);
            check({u"{at:true,atAll:true,dialogID:G-2,reply:true}"_s}, 4);
        }
    }

    void chatFolderSwitches()
    {
        const auto switches = [this] {
            return QList<bool>{model().chatFolderShowTabs(), model().chatFolderUnreadBadge(),
                               model().chatFolderIconOnly()};
        };
        QCOMPARE(switches(), (QList<bool>{true, true, false}));
        QCOMPARE(model().getChatFolderValue(u"unknown"_s, 5), 5);
        SignalLog order({&model()});
        model().setChatFolderShowTabs(true, true);
        QVERIFY(order.names().isEmpty() && m_configuration.saved.isEmpty());
        model().setChatFolderIconOnly(true, true);
        model().setChatFolderUnreadBadge(false, false);
        QCOMPARE(m_configuration.saved, QStringList(chatFolders));
        model().updateChatFolderConfig("{\"show_tab\":false}");
        QCOMPARE(order.take(),
                 u"chatFolderIconOnlyChanged chatFolderUnreadBadgeChanged "
                 "chatFolderShowTabsChanged chatFolderUnreadBadgeChanged "
                 "chatFolderIconOnlyChanged"_s);
        QCOMPARE(switches(), (QList<bool>{false, true, false}));
        // What was handed on is read again.
        QCOMPARE(m_configuration.saved.size(), 1);
        open();
        QCOMPARE(switches(), (QList<bool>{true, true, true}));
    }

    void otherConfigurations()
    {
        m_configuration.values = {{notifications, "{\"at\":0"}, {chatFolders, "[1]"}};
        open();
        QVERIFY(model().notifyAite() && model().chatFolderShowTabs());
        // The account's own.
        m_account->setConfigurationService(nullptr);
        model().setNotifyAite(false, true);
        model().setChatFolderIconOnly(true, true);
        open(nullptr);
        QVERIFY(!model().notifyAite() && model().chatFolderIconOnly());
    }

    void tags()
    {
        const auto all = [this](const QString &part = u""_s) {
            QStringList texts;
            for (const QVariant &tag : model().queryTagInfo(part))
                texts.append(tag.toString());
            return texts.join(u' ');
        };
        model().removeTag(u"a"_s);
        QVERIFY(!model().getValue(u"tag_info"_s, {}).isValid());
        model().updateTagInfo({u"b"_s, u"c"_s});
        QCOMPARE(all(), u"b c"_s);
        model().updateTagInfo({u"a"_s, u"b"_s});
        open();
        QCOMPARE(all(), u"b a c"_s);
        model().setTagInfo({u"x"_s, u"Hallo"_s, u"x"_s, u"all"_s, u"ALL"_s}, true);
        QCOMPARE(all(u"all"_s), u"Hallo all"_s);
        model().removeTag(u"unknown"_s);
        model().removeTag(u"x"_s);
        QCOMPARE(all(), u"Hallo x all ALL"_s);
        model().updateTagInfo({u"all"_s});
        QCOMPARE(all(), u"all Hallo x ALL"_s);

        // Never more than a hundred.
        init();
        QVariantList many;
        for (int i = 0; i < 120; ++i)
            many.append(i);
        model().updateTagInfo(many);
        QCOMPARE(model().queryTagInfo(u""_s), many.first(100));
        model().updateTagInfo(many.last(20));
        QCOMPARE(model().queryTagInfo(u""_s).size(), 100);
        QCOMPARE(model().queryTagInfo(u""_s).constFirst(), 119);
        QCOMPARE(model().queryTagInfo(u""_s).constLast(), 79);
    }

    /// An older version's rows | what becomes the machine's | what stays the account's.
    void olderSettings()
    {
        QFile file(QFINDTESTDATA("oldersettings.txt"));
        QVERIFY(file.open(QFile::ReadOnly));
        const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
        QVERIFY(lines.size() > 3);
        for (const QByteArray &line : lines) {
            init();
            wipeMachine();
            const QList<QByteArray> parts = line.split('|');
            const QVariantMap old = jsonToMap(parts.at(0));
            const QVariantMap machine = jsonToMap(parts.at(1));
            store(old);
            for (int start = 0; start < 2; ++start) {
                for (auto it = machine.cbegin(); it != machine.cend(); ++it)
                    QCOMPARE(app()->value(it.key(), {}), it.value());
                QCOMPARE(machineRows(), machine);
                restartMachine();
            }
            // The model itself goes on reading them until the next load.
            QCOMPARE(model().leftTabWidth(), old.value(u"left_tab_width"_s, 72).toInt());
            open();
            QCOMPARE(model().leftTabWidth(), 72);
            QCOMPARE(rows(), jsonToMap(parts.at(2)));
            // From then on they are settings as any other, at every load.
            model().setLeftTabWidth(100);
            open();
            open();
            QCOMPARE(model().leftTabWidth(), 100);
            QCOMPARE(machineRows(), machine);
        }
    }

    /// Whenever the move is interrupted, the next start finds it undone or ends it.
    void theMoveIsOneStep()
    {
        const QVariantMap old{{u"auto_download_photo_limit"_s, 5}, {u"left_tab_width"_s, 80}};
        const QVariantMap moved{{u"auto_download_media"_s, true},
                                {u"auto_download_image_limit"_s, 5},
                                {u"auto_download_file_limit"_s, 80}};
        // A store that takes some rows and not others takes none; later it takes them all.
        SQLite::Database machine(app()->globalStorage()->filePath().toStdString(),
                                 SQLite::OPEN_READWRITE);
        machine.exec("DELETE FROM settings; CREATE TRIGGER bad BEFORE INSERT ON settings"
                     " WHEN NEW.key = 'auto_download_image_limit'"
                     " BEGIN SELECT RAISE(ABORT, 'bad'); END");
        restartMachine();
        store(old);
        QVERIFY(machineRows().isEmpty());
        QCOMPARE(rows(), old);
        machine.exec("DROP TRIGGER bad");
        restartMachine();
        open();
        QCOMPARE(machineRows(), moved);
        QVERIFY(rows().isEmpty());

        // Killed between the two stores: the account's still has its rows, unless they are its own
        // because another account's were moved.
        for (const qint64 id : {7, 8}) {
            QVariantMap both = moved;
            both.insert(u"auto_download_moved_from"_s, id);
            app()->saveToConfig(both);
            restartMachine();
            store(old);
            QCOMPARE(app()->autoDownloadImageLimit(), 5);
            QCOMPARE(machineRows(), id == 7 ? moved : both);
            QCOMPARE(rows(), id == 7 ? QVariantMap() : old);
        }
        QCOMPARE(model().leftTabWidth(), 80);
    }

    void frequentContacts()
    {
        store({{u"frequent_contacts"_s, QByteArray("{\"C-3-5\":12,\"G-1\":\"7\",\"x\":[]}")},
               {u"left_tab_width"_s, 80}});
        const auto expected = [](int lastMsgId) {
            return QVariantMap{{u"beginMsgId"_s, 1}, {u"lastMsgId"_s, lastMsgId}};
        };
        const QVariantMap contacts{
            {u"C-3-5"_s, expected(12)}, {u"G-1"_s, expected(7)}, {u"x"_s, expected(0)}};
        const QString key = u"frequent_contact_list"_s;
        QCOMPARE(jsonToMap(model().getValue(key, {}).toByteArray()), contacts);
        QVERIFY(model().flush());
        QCOMPARE(jsonToMap(rows().value(key).toByteArray()), contacts);
        QVERIFY(!rows().contains(u"frequent_contacts"_s));
        // The machine has its settings already: nothing is moved.
        QCOMPARE(rows().value(u"left_tab_width"_s), 80);
    }

private:
    static AppSettingModel *app() { return AppSettingModel::instance(); }
    static void restartMachine()
    {
        AppSettingModel::releaseInstance();
        app()->loadGlobalData();
    }
    AccountSettingModel &model() { return *m_account->accountSettingModel(); }

    /// The machine's settings as they are before any account was loaded.
    static void wipeMachine()
    {
        AppSettingModel::releaseInstance();
        {
            storage::GlobalStorageProvider provider;
            QVERIFY(provider.open());
            QVERIFY(provider.settingStorage()->removeAll());
        }
        app()->loadGlobalData();
    }

    static QVariantMap machineRows()
    {
        storage::GlobalStorageProvider provider;
        provider.open();
        return SettingTable::rowsOf(provider.settingStorage());
    }

    /// The account as the next start of the program has it.
    void open() { open(&m_configuration); }
    void open(ConfigurationService *configuration)
    {
        m_account.reset();
        m_account = std::make_unique<FakeAccount>();
        m_account->setConfigurationService(configuration);
        m_account->setAccountId(7);
        QVERIFY(m_account->openStorage(true));
    }

    /// The account as it starts on what an older version left.
    void store(const QVariantMap &values)
    {
        m_account.reset();
        FakeAccount account;
        account.setAccountId(7);
        storage::UserStorageProvider provider;
        QVERIFY(provider.open(account.userStatusDataPath()));
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            QVERIFY(provider.settingStorage()->save({it.key(), it.value(), {}}));
        provider.close();
        open();
    }

    /// What another process would find in the store now.
    QVariantMap rows() const
    {
        storage::UserStorageProvider provider;
        provider.open(m_account->userStatusDataPath(), false);
        return SettingTable::rowsOf(provider.settingStorage());
    }

    QVariantMap notificationMap() const
    {
        return jsonToMap(m_configuration.values.value(notifications));
    }

    QVariant get(const QByteArray &getter)
    {
        const QMetaObject *meta = model().metaObject();
        const QMetaMethod method = meta->method(meta->indexOfMethod(getter + "()"));
        QVariant value(method.returnMetaType());
        method.invoke(&model(), QGenericReturnArgument(method.typeName(), value.data()));
        return value;
    }

    /// name type = default | key as stored type | by its setter | what is odd
    QString silentLine(const QByteArray &getter, const QString &key, const QString &setter)
    {
        init();
        const QVariant before = get(getter);
        const QVariant other = SettingTable::otherValue({}, before);
        const QMetaObject *meta = model().metaObject();
        const QByteArray name = setter.toLatin1();
        const bool hasChoice = setter == u"setValue"
            || meta->indexOfMethod(name + '(' + before.typeName() + ",bool)") >= 0;
        const auto set = [&](bool save) {
            const QGenericArgument argument(other.typeName(), other.constData());
            return setter == u"setValue" ? model().setValue(key, other, save)
                : hasChoice ? QMetaObject::invokeMethod(&model(), name, argument, Q_ARG(bool, save))
                            : QMetaObject::invokeMethod(&model(), name, argument);
        };
        const bool isSet = set(true) && get(getter) == other;
        model().flush();
        const QVariantMap stored = rows();
        open();
        const bool isKept = get(getter) == other;
        init();
        const bool isAlwaysSaved = set(false) && (open(), get(getter) == other);
        return u"%1 %2 = %3 | %4 as %5 | by %6%7%8%9"_s.arg(
            QLatin1StringView(getter), QLatin1StringView(before.typeName()),
            SettingTable::text(before), stored.keys().join(u", "_s),
            QLatin1StringView(stored.value(key).typeName()), setter,
            isSet ? u""_s : u" | not set"_s, isKept ? u""_s : u" | lost at the next start"_s,
            isAlwaysSaved ? u" | always saved"_s : u""_s);
    }

    FakeConfiguration m_configuration;
    std::unique_ptr<FakeAccount> m_account;
};

QTEST_GUILESS_MAIN(TestAccountSettingModel)
#include "tst_accountsettingmodel.moc"
