#include "storage/configstorage.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

using namespace storage;
using namespace Qt::StringLiterals;

/// One account's store, as its next start finds it.
class tst_UserStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    void keepsTablesApart();
    void keepsType_data();
    void keepsType();
    void appliesAllOrNothing();
    void refusesWhatVanished_data();
    void refusesWhatVanished();
    void completesAnInterruptedRecovery();
    void recoversEveryTable();
    void refusesNewerSchema();
    void readsWhatIsLeft();
    void goesToAnotherDirectory();
    void asksForGroupInformation();

private:
    QString path(const char *name) const
    {
        return m_directory->filePath(QString::fromLatin1(name));
    }
    QString account() const { return path("7/userstatus/"); }
    QString file() const { return path("7/userstatus/account.db"); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

namespace
{

QVariant setting(const UserStorageProvider &provider, const QString &key)
{
    for (const SettingInfo &info : provider.settingStorage()->allInfos()) {
        if (info.key == key)
            return info.value;
    }
    return {};
}

bool fill(const QString &directory, int rows)
{
    UserStorageProvider provider;
    ConfigChanges changes;
    SettingChanges settings;
    for (int i = 0; i < rows; ++i) {
        const QString key = u"key/%1"_s.arg(i);
        changes.saved.append({key, QByteArray(50, char('a' + i % 26))});
        settings.saved.append({key, i, {}});
    }
    bool done = provider.open(directory) && provider.settingStorage()->apply(settings)
        && provider.bufferConfigStorage()->apply(changes)
        && provider.syncConfigStorage()->apply(changes);
    for (int i = 0; i < 20; ++i)
        done = done && provider.keyStorage()->save({u"chat"_s, u"G-1"_s, i, "sealed"});
    return done;
}

QByteArray contents(const QString &path)
{
    QFile input(path);
    return input.open(QFile::ReadOnly) ? input.readAll() : QByteArray();
}

} // namespace

void tst_UserStorage::keepsTablesApart()
{
    const QString key = u"x"_s;
    {
        UserStorageProvider provider;
        QVERIFY(provider.filePath().isEmpty());
        QVERIFY(provider.open(account()));
        QCOMPARE(provider.filePath(), file());
        QVERIFY(!provider.recovered());
        QVERIFY(provider.settingStorage()->save({key, 1, {}}));
        QVERIFY(provider.bufferConfigStorage()->save({key, 2}));
        QVERIFY(provider.syncConfigStorage()->save({key, 3}));
        QVERIFY(provider.keyStorage()->save({u"user"_s, key, 1, "4"}));
        QVERIFY(provider.syncConfigStorage()->save({u"gone"_s, 5}));
        QVERIFY(provider.syncConfigStorage()->remove(u"gone"_s));
        provider.close();
        QVERIFY(!provider.bufferConfigStorage()->save({u"closed"_s, 6}));
        QVERIFY(!provider.bufferConfigStorage()->value(key).isValid());
        QVERIFY(provider.bufferConfigStorage()->allInfos().isEmpty());
    }
    QCOMPARE(QFile::permissions(file()) & (QFile::ReadGroup | QFile::ReadOther),
             QFile::Permissions());
    UserStorageProvider provider;
    QVERIFY(provider.open(account(), false));
    QCOMPARE(setting(provider, key), 1);
    QCOMPARE(provider.bufferConfigStorage()->value(key), 2);
    QCOMPARE(provider.syncConfigStorage()->value(key), 3);
    QCOMPARE(provider.keyStorage()->value(u"user"_s, key, 1), QByteArray("4"));
    QCOMPARE(provider.bufferConfigStorage()->allInfos().size(), 1);
    QCOMPARE(provider.syncConfigStorage()->allInfos().size(), 1);
    QVERIFY(provider.syncConfigStorage()->remove(key));
    QVERIFY(!provider.syncConfigStorage()->value(key).isValid());
    QCOMPARE(provider.bufferConfigStorage()->value(key), 2);
}

void tst_UserStorage::keepsType_data()
{
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char *name, const QVariant &value) { QTest::newRow(name) << value; };
    row("bool", true);
    row("int", 0);
    row("offset", qint64(1) << 62);
    row("text", u"Grüße\u00a0\U0001f600"_s);
    row("empty text", u""_s);
    row("bytes", QByteArray("\0\xff,", 3));
    row("empty bytes", QByteArray(""));
    row("fraction", 1.75);
    row("list", QVariantList{1, u"a"_s, QVariantMap{{u"b"_s, true}}});
}

void tst_UserStorage::keepsType()
{
    QFETCH(const QVariant, value);
    const QString key = u"k'\"%1"_s;
    {
        UserStorageProvider provider;
        QVERIFY(provider.open(account()));
        QVERIFY(provider.bufferConfigStorage()->save({key, u"the one before"_s}));
        QVERIFY(provider.bufferConfigStorage()->save({key, value}));
    }
    UserStorageProvider provider;
    QVERIFY(provider.open(account(), false));
    const QList<ConfigInfo> infos = provider.bufferConfigStorage()->allInfos();
    QCOMPARE(infos.size(), 1);
    QCOMPARE(infos[0].key, key);
    QCOMPARE(infos[0].value.typeId(), value.typeId());
    QCOMPARE(infos[0].value, value);
    QCOMPARE(provider.bufferConfigStorage()->value(key), value);
}

void tst_UserStorage::appliesAllOrNothing()
{
    UserStorageProvider provider;
    QVERIFY(provider.open(account()));
    ConfigStorage &rows = *provider.bufferConfigStorage();
    QVERIFY(rows.apply({false, {}, {{u"a"_s, 1}, {u"b"_s, 2}}}));
    const QVariant unstorable = QVariant::fromValue<QObject *>(this);
    QVERIFY(!rows.apply({true, {u"a"_s}, {{u"c"_s, 3}, {u"b"_s, unstorable}}}));
    QCOMPARE(rows.allInfos().size(), 2);
    QCOMPARE(rows.value(u"a"_s), 1);
    QVERIFY(rows.apply({false, {u"a"_s, u"b"_s, u"unknown"_s}, {{u"b"_s, 4}}}));
    QVERIFY(!rows.value(u"a"_s).isValid());
    QCOMPARE(rows.value(u"b"_s), 4);
}

void tst_UserStorage::refusesWhatVanished_data()
{
    QTest::addColumn<QString>("directory");
    QTest::newRow("no directory") << u"1/userstatus/"_s;
    QTest::newRow("empty directory") << u""_s;
    QTest::newRow("no file there") << u"other"_s;
}

void tst_UserStorage::refusesWhatVanished()
{
    QFETCH(const QString, directory);
    QVERIFY(QDir(m_directory->path()).mkdir(u"other"_s));
    UserStorageProvider provider;
    QVERIFY(!provider.open(m_directory->filePath(directory), false));
    QVERIFY(!provider.isOpen());
    QVERIFY(!provider.bufferConfigStorage()->save({u"x"_s, 1}));
    // Nothing was made that the next start could take for an account.
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{u"other"_s});
    QVERIFY(QDir(path("other")).isEmpty());
    QVERIFY(provider.open(m_directory->filePath(directory), true));
}

void tst_UserStorage::completesAnInterruptedRecovery()
{
    QVERIFY(fill(account(), 3));
    QVERIFY(QFile::rename(file(), file() + u"-recovering"_s));
    UserStorageProvider provider;
    QVERIFY(provider.open(account(), false));
    QCOMPARE(provider.bufferConfigStorage()->allInfos().size(), 3);
}

void tst_UserStorage::recoversEveryTable()
{
    constexpr int rows = 500;
    QVERIFY(fill(account(), rows));
    QByteArray bytes = contents(file());
    bytes.replace(0, 4096, QByteArray(4096, '\xa5'));
    QFile output(file());
    QVERIFY(output.open(QFile::WriteOnly | QFile::Truncate));
    QCOMPARE(output.write(bytes), bytes.size());
    output.close();

    UserStorageProvider provider;
    QVERIFY(provider.open(account(), false));
    QVERIFY(provider.recovered());
    QCOMPARE(provider.settingStorage()->allInfos().size(), rows);
    QCOMPARE(provider.bufferConfigStorage()->allInfos().size(), rows);
    QCOMPARE(provider.syncConfigStorage()->value(u"key/27"_s), QByteArray(50, 'b'));
    QCOMPARE(provider.keyStorage()->infos(u"chat"_s, u"G-1"_s, 0, 100).size(), 20);
    QCOMPARE(QDir(account()).entryList({u"account.db.damaged-*"_s}).size(), 1);
}

void tst_UserStorage::refusesNewerSchema()
{
    QVERIFY(fill(account(), 3));
    {
        SQLite::Database database(file().toStdString(), SQLite::OPEN_READWRITE);
        database.exec("PRAGMA user_version = 99");
        database.exec("ALTER TABLE buffer_config ADD COLUMN extra");
    }
    const QByteArray before = contents(file());
    UserStorageProvider provider;
    QVERIFY(!provider.open(account()));
    QVERIFY(!provider.recovered());
    QCOMPARE(contents(file()), before);
}

void tst_UserStorage::readsWhatIsLeft()
{
    QVERIFY(fill(account(), 3));
    {
        SQLite::Database database(file().toStdString(), SQLite::OPEN_READWRITE);
        database.exec("UPDATE sync_config SET type = 'int', value = 'rubbish' WHERE key = 'key/1'");
    }
    UserStorageProvider provider;
    QVERIFY(provider.open(account(), false));
    const QList<ConfigInfo> infos = provider.syncConfigStorage()->allInfos();
    QCOMPARE(infos.size(), 2);
    QCOMPARE(infos[1].key, u"key/2"_s);
    QVERIFY(!provider.syncConfigStorage()->value(u"key/1"_s).isValid());
    QVERIFY(provider.syncConfigStorage()->save({u"key/1"_s, 1}));
    QCOMPARE(provider.syncConfigStorage()->value(u"key/1"_s), 1);
}

void tst_UserStorage::goesToAnotherDirectory()
{
    UserStorageProvider provider;
    QVERIFY(provider.open(path("1")));
    QVERIFY(provider.bufferConfigStorage()->save({u"x"_s, 1}));
    QVERIFY(provider.open(path("1/")));
    QVERIFY(provider.open(path("2")));
    QVERIFY(!provider.bufferConfigStorage()->value(u"x"_s).isValid());
    QVERIFY(provider.bufferConfigStorage()->save({u"x"_s, 2}));
    QVERIFY(!provider.open(path("3"), false));
    QVERIFY(!provider.isOpen());
    QVERIFY(provider.open(path("1"), false));
    QCOMPARE(provider.bufferConfigStorage()->value(u"x"_s), 1);
    provider.closeInCrash();
    QVERIFY(!provider.isOpen());
    QVERIFY(!provider.bufferConfigStorage()->save({u"x"_s, 3}));
}

void tst_UserStorage::asksForGroupInformation()
{
    UserStorageProvider provider;
    provider.updateGroupInfo(1);
    QList<qint64> asked;
    provider.setUpdateGroupInfoMethod([&](qint64 groupId) {
        asked.append(groupId);
        provider.setUpdateGroupInfoMethod({});
    });
    provider.updateGroupInfo(qint64(1) << 40);
    provider.updateGroupInfo(2);
    QCOMPARE(asked, QList<qint64>{qint64(1) << 40});
}

QTEST_GUILESS_MAIN(tst_UserStorage)
#include "tst_userstorage.moc"
