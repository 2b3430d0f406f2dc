#include "account/threadmanager.h"
#include "dialog/datainfomodel.h"
#include "imcrypto/store.h"
#include "settings/accountsettingmodel.h"
#include "settings/appsettingmodel.h"
#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/fakeaccount.h"
#include "support/powercut.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

/// What was confirmed is on the disk, where a power cut does not take it back.
class TestPowerCut : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { PowerCut::install(); }
    void init()
    {
        QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)).removeRecursively();
        ThreadManager::getInstance()->init();
        settings()->loadGlobalData();
    }
    void cleanup()
    {
        AccountManager::releaseInstance();
        AppSettingModel::releaseInstance();
        ThreadManager::getInstance()->quitAll();
    }

    void confirmedRows_data()
    {
        using Change = std::function<bool(FakeAccount &)>;
        QTest::addColumn<Change>("change");
        const auto row = [](const char *name, const Change &change) {
            QTest::newRow(name) << change;
        };
        row("settings", [](FakeAccount &) {
            settings()->setDarkMode(true);
            return settings()->flush();
        });
        row("an account's settings", [](FakeAccount &account) {
            account.accountSettingModel()->setLeftTabWidth(90);
            return account.accountSettingModel()->flush();
        });
        row("ranges", [](FakeAccount &account) {
            account.dataInfoModel()->saveMissRange(u"a"_s, "b");
            return account.dataInfoModel()->flush(QDeadlineTimer(5000));
        });
        row("what was written before", [](FakeAccount &account) {
            account.dataInfoModel()->saveMissRange(u"a"_s, "b");
            return QTest::qWaitFor([&] { return rowsOf(*account.storage()).size() == 1; })
                && account.dataInfoModel()->flush();
        });
        row("a chat key", [](FakeAccount &account) {
            return account.signalStore()->saveChatKey(u"G-1"_s, 1, QByteArray(32, 'k'));
        });
        row("a user key", [](FakeAccount &account) {
            return account.signalStore()->saveUserKey({7, 1, 1}, QByteArray(32, 'k'));
        });
        row("a secure key", [](FakeAccount &account) {
            return !account.signalStore()->secureKey(u"id"_s, 1, true).isEmpty();
        });
        row("everything, soon", [](FakeAccount &account) {
            settings()->setDarkMode(true);
            account.accountSettingModel()->setLeftTabWidth(90);
            account.dataInfoModel()->saveMissRange(u"a"_s, "b");
            QTest::qWait(1500);
            return true;
        });
    }
    void confirmedRows()
    {
        QFETCH(const std::function<bool(FakeAccount &)>, change);
        FakeAccount account;
        account.setAccountId(7);
        QVERIFY(account.openStorage(true) && settings()->flush());
        const QStringList before =
            rowsOf(*settings()->globalStorage()) + rowsOf(*account.storage());
        QVERIFY(change(account));
        const QStringList found = rowsAfterPowerCut(account);
        QVERIFY(found.size() > before.size());
        QCOMPARE(found, rowsOf(*settings()->globalStorage()) + rowsOf(*account.storage()));
    }

    void whatIsNotSyncedIsGone()
    {
        storage::SettingStorage &rows = *settings()->globalStorage()->settingStorage();
        QVERIFY(rows.save({u"a"_s, 1, {}}));
        const QTemporaryDir copy;
        QVERIFY(cut(settings()->globalStorage()->filePath(), copy));
        storage::GlobalStorageProvider found;
        found.setDirectory(copy.path());
        QVERIFY(found.open());
        QCOMPARE(rowsOf(found), QStringList());
        QCOMPARE(rowsOf(*settings()->globalStorage()).size(), 1);
    }

    void signIns()
    {
        AccountManager::getInstance()->init(
            [](QObject *parent) { return new FakeAccount(parent); });
        auto *account = static_cast<FakeAccount *>(AccountManager::getInstance()->loginAccount());
        QVERIFY(account->signIn(7));
        const QStringList found = rowsAfterPowerCut(*account);
        QVERIFY(found.contains(u"accounts=[7]"_s));
        QCOMPARE(found, rowsOf(*settings()->globalStorage()) + rowsOf(*account->storage()));
    }

private:
    static AppSettingModel *settings() { return AppSettingModel::instance(); }

    template <typename Infos>
    static void append(QStringList &rows, const Infos &infos)
    {
        for (const auto &info : infos)
            rows.append(info.key + u'=' + info.value.toString());
    }
    static QStringList rowsOf(const storage::GlobalStorageProvider &provider)
    {
        QStringList rows;
        append(rows, provider.settingStorage()->allInfos());
        return rows;
    }
    static QStringList rowsOf(const storage::UserStorageProvider &provider)
    {
        QStringList rows;
        append(rows, provider.settingStorage()->allInfos());
        append(rows, provider.bufferConfigStorage()->allInfos());
        for (const storage::KeyInfo &key : provider.keyStorage()->allInfos().value_or(
                 QList<storage::KeyInfo>{{u"unreadable"_s, {}, 0, {}}}))
            rows.append(key.kind + key.id + QString::fromLatin1(key.value.toHex()));
        return rows;
    }
    static bool cut(const QString &file, const QTemporaryDir &copy)
    {
        return PowerCut::copy((QFileInfo(file).path() + u'/').toStdString(),
                              (copy.path() + u'/').toStdString());
    }
    static QStringList rowsAfterPowerCut(const FakeAccount &account)
    {
        const QTemporaryDir globalCopy;
        const QTemporaryDir accountCopy;
        cut(settings()->globalStorage()->filePath(), globalCopy);
        cut(account.storage()->filePath(), accountCopy);
        storage::GlobalStorageProvider global;
        global.setDirectory(globalCopy.path());
        storage::UserStorageProvider user;
        return global.open() && user.open(accountCopy.path()) ? rowsOf(global) + rowsOf(user)
                                                              : QStringList();
    }
};

QTEST_GUILESS_MAIN(TestPowerCut)
#include "tst_powercut.moc"
