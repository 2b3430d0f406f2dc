#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/facts.h"
#include "support/sequences.h"

#include <QDir>
#include <QFile>
#include <QFont>
#include <QTemporaryDir>
#include <QTest>

#include <SQLiteCpp/SQLiteCpp.h>

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

using namespace storage;

namespace
{

const QString loneSurrogate = u"a"_s + QChar(0xd83d) + u"b"_s;

QVariant nestedList(int depth)
{
    QVariant value = 1;
    for (int i = 0; i < depth; ++i)
        value = QVariantList{value};
    return value;
}

/// Both stores, and their four tables of values as if they were of one kind.
struct Stores {
    explicit Stores(const QTemporaryDir &directory)
    {
        global.setDirectory(directory.path());
        isOpen = global.open() && user.open(directory.filePath(u"7"_s));
    }
    /// Calls `use` with each of the tables, what makes one of its rows, and its number.
    template <typename Use>
    void forEach(Use use)
    {
        const auto setting = [](const QString &key, const QVariant &value) {
            return SettingInfo{key, value, key + u'!'};
        };
        const auto config = [](const QString &key, const QVariant &value) {
            return ConfigInfo{key, value, key + u'!'}; // the remark is not kept
        };
        use(*global.settingStorage(), setting, 0);
        use(*user.settingStorage(), setting, 1);
        use(*user.bufferConfigStorage(), config, 2);
        use(*user.syncConfigStorage(), config, 3);
    }

    GlobalStorageProvider global;
    UserStorageProvider user;
    bool isOpen = false;
};

using Rows = QList<std::pair<QString, int>>;

const QStringList names{QString(),     QString::fromUtf16(u"a\0b", 3),
                        loneSurrogate, QString(QChar(0xfeff)),
                        u"a"_s,        u"A"_s};

template <typename Storage>
Rows rowsOf(const Storage &storage)
{
    constexpr bool hasRemarks = std::is_same_v<Storage, SettingStorage>;
    Rows rows;
    for (const Row &row : storage.allInfos()) {
        rows.append({row.key, row.value.toInt()});
        if (row.remark != (hasRemarks ? row.key + u'!' : QString()))
            rows.last().first += u" with another remark"_s;
        if (storage.value(row.key) != row.value)
            rows.last().first += u" with another value"_s;
    }
    return rows;
}

} // namespace

/// Rows of every table, as the next start of the program sees them.
class tst_Rows : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_directory;
    SQLite::Database plainly(const char *name) const
    {
        return SQLite::Database(m_directory->filePath(QLatin1StringView(name)).toStdString(),
                                SQLite::OPEN_READWRITE);
    }

    /// Everything is closed, perhaps damaged, and opened again. While it is closed, nothing works.
    void restart(Stores &stores, Sequence &sequence)
    {
        const bool crash = sequence.chance(50);
        const bool damaged = !crash && sequence.chance(50);
        sequence.note(u"restart %1 %2"_s.arg(crash).arg(damaged));
        if (crash) {
            stores.global.closeInCrash();
            stores.user.closeInCrash();
        } else {
            stores.global.close();
            stores.user.close();
        }
        QVERIFY(!stores.global.isOpen() && !stores.user.isOpen());
        stores.forEach([](auto &table, auto row, int) {
            QVERIFY(!table.isOpen() && !table.save(row(u"a"_s, 2)) && !table.remove(u"a"_s));
            QVERIFY(table.allInfos().isEmpty());
        });
        KeyStorage &keys = *stores.user.keyStorage();
        QVERIFY(!keys.save({u"chat"_s, {}, 1, "key"}) && !keys.saveIfAbsent({{}, {}, 1, "key"}));
        QVERIFY(!keys.remove(u"chat"_s, {}, 1) && !keys.removeAll() && !keys.allInfos());
        for (const QString &name : {u"global.db"_s, u"7/account.db"_s}) {
            QFile file(m_directory->filePath(name));
            QVERIFY(!damaged
                    || (file.open(QFile::ReadWrite) && file.write(QByteArray(4096, '\xa5')) > 0));
        }
        QVERIFY(stores.global.open() && stores.user.open(m_directory->filePath(u"7/"_s)));
        QVERIFY(stores.global.recovered() == damaged && stores.user.recovered() == damaged);
        const QDir directory(m_directory->path());
        QCOMPARE(directory.entryList({u"global.db.damaged-*"_s}).size(), int(damaged));
        QVERIFY(stores.global.removeSetAside());
        QCOMPARE(directory.entryList({u"global.db.*"_s}), QStringList());
    }

    template <typename Table, typename MakeRow>
    void change(Table &table, MakeRow row, Rows &expected, Sequence &sequence)
    {
        Changes changes{sequence.chance(10), {}, {}};
        Rows after = changes.removeAll ? Rows() : expected;
        for (int left = sequence.below(3); left > 0; --left) {
            changes.removed.append(sequence.pick(names));
            after.removeIf([&](const auto &each) { return each.first == changes.removed.last(); });
        }
        for (int left = sequence.below(4); left > 0; --left) {
            const QString key = sequence.pick(names);
            const int value = sequence.below(1000);
            changes.saved.append(row(key, value));
            const auto found = std::find_if(after.begin(), after.end(),
                                            [&](const auto &each) { return each.first == key; });
            if (found == after.end())
                after.append({key, value});
            else
                found->second = value;
        }
        const bool isRefused = !changes.saved.isEmpty() && sequence.chance(10);
        if (isRefused)
            changes.saved.append(row(u"b"_s, QVariant::fromValue<QObject *>(this)));
        sequence.note(u"changes: %1 %2 %3"_s.arg(changes.removeAll)
                          .arg(changes.removed.size())
                          .arg(changes.saved.size()));
        const bool isSave = changes.saved.size() == 1 && changes.removed.isEmpty();
        const bool isRemoval = changes.removed.size() == 1 && changes.saved.isEmpty();
        const bool done = changes.removeAll || (!isSave && !isRemoval) ? table.apply(changes)
            : isSave ? table.save(changes.saved[0])
                     : table.remove(changes.removed[0]);
        QCOMPARE(done, !isRefused);
        if (done)
            expected = after;
    }

private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    void valuesOfEveryType()
    {
        Stores stores(*m_directory);
        QVERIFY(stores.isOpen);
        stores.forEach([&](auto &table, auto row, int number) {
            if (number == 0) // as that of the account
                return;
            const char *const names[] = {"", "settings", "buffer_config", "sync_config"};
            const std::string name = names[number];
            const QStringList around{u"a"_s, u"z"_s};
            QVERIFY(table.apply({false, {}, {row(u"a"_s, 1), row(u"m"_s, 2), row(u"z"_s, 3)}}));
            SQLite::Database other = plainly("7/account.db");
            for (const QString &line : facts(u"values.txt"_s)) {
                const QStringList parts = line.split(u'\t');
                const QString type = parts[0].section(u'|', 0, 0);
                other.exec(u"UPDATE %1 SET type = '%2', value = %3 WHERE key = 'm'"_s
                               .arg(QString::fromStdString(name), type, parts[0].section(u'|', 1))
                               .toStdString());
                QString read = u"left out"_s;
                QStringList others;
                QVariant value;
                for (const auto &info : table.allInfos()) {
                    if (info.key != u"m") {
                        others.append(info.key);
                        continue;
                    }
                    value = info.value;
                    read = QString::fromLatin1(value.typeName()) + u' ' + value.toString();
                }
                QCOMPARE(others, around);
                QCOMPARE(read.trimmed(), parts[1].trimmed());
                if (read == u"left out")
                    continue;
                QVERIFY2(table.save(row(u"m"_s, value)), qPrintable(line));
                QCOMPARE(other
                             .execAndGet("SELECT type || '|' || quote(value) FROM " + name
                                         + " WHERE key = 'm'")
                             .getString(),
                         parts.value(2, parts[0]).toStdString());
            }
        });
    }

    void refusesWhatCannotBeStored()
    {
        QStringList storable;
        QVariantList others{QVariant::fromValue(QList<QFont>()),
                            QVariant::fromValue(Qt::red),
                            QVariant::fromValue(QList<QVariantMap>()),
                            QVariant::fromValue(QMap<int, int>()),
                            QVariant::fromValue(std::vector<int>{1}),
                            QVariant::fromValue(static_cast<QObject *>(this)),
                            nestedList(101),
                            nestedList(10'000)};
        for (int id = 1; id < QMetaType::User; ++id) {
            const QMetaType type(id);
            if (type.sizeOf() == 0) // there is no such type, or it is void
                continue;
            const QVariant value(type);
            if (RowStorage::isStorable(value))
                storable.append(QString::fromLatin1(value.typeName()));
            else
                others.append(value);
        }
        QCOMPARE(storable, facts(u"storable_types.txt"_s));
        Stores stores(*m_directory);
        SettingStorage &settings = *stores.global.settingStorage();
        QVERIFY(settings.save({u"a"_s, 1, u"a!"_s}));
        // Whoever hears of a failure may use the store at once.
        static SettingStorage *store = &settings;
        static qsizetype seen = 0;
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                seen += store->allInfos().size();
            });
        QStringList wrong;
        for (const QVariant &value : std::as_const(others)) {
            if (RowStorage::isStorable(value)
                || RowStorage::isStorable(QVariantMap{{u"a"_s, value}})
                || settings.save({u"c"_s, value, {}}))
                wrong.append(QString::fromLatin1(value.typeName()));
        }
        qInstallMessageHandler(previous);
        QCOMPARE(wrong, QStringList());
        QCOMPARE(seen, others.size());
        QVERIFY(RowStorage::isStorable(nestedList(100)));
        QCOMPARE(rowsOf(settings), (Rows{{u"a"_s, 1}}));
    }

    /// Any changes, starts and damage, beside lists that are right by themselves.
    void likeTheModel()
    {
        runSequences("Rows", 15, 60, [this](Sequence &sequence) {
            init();
            std::array<Rows, 4> expected;
            Stores stores(*m_directory);
            while (sequence.next()) {
                if (sequence.chance(5))
                    restart(stores, sequence);
                stores.forEach([&](auto &table, auto row, int number) {
                    if (sequence.chance(30))
                        change(table, row, expected[number], sequence);
                    QCOMPARE(rowsOf(table), expected[number]);
                });
            }
        });
    }

    void opensOtherAccounts()
    {
        Stores stores(*m_directory);
        UserStorageProvider &user = stores.user;
        QVERIFY(user.settingStorage()->save({u"a"_s, 7, u"a!"_s}));
        QVERIFY(user.open(m_directory->filePath(u"8"_s)));
        QVERIFY(user.settingStorage()->allInfos().isEmpty());
        QVERIFY(user.settingStorage()->save({u"a"_s, 8, u"other"_s}));
        QCOMPARE(rowsOf(*user.settingStorage()), (Rows{{u"a with another remark"_s, 8}}));
        QVERIFY(QDir(m_directory->path()).mkdir(u"empty"_s));
        for (const QString &name : {u"9/userstatus"_s, u"empty"_s}) {
            QVERIFY(!user.open(m_directory->filePath(name), false) && !user.isOpen());
            QVERIFY(!user.bufferConfigStorage()->save({u"x"_s, 1}));
        }
        QCOMPARE(QDir(m_directory->path()).entryList({u"9*"_s}), QStringList());
        QVERIFY(QDir(m_directory->filePath(u"empty"_s)).isEmpty());
        QVERIFY(user.open(m_directory->filePath(u"7"_s), false));
        QCOMPARE(rowsOf(*user.settingStorage()), (Rows{{u"a"_s, 7}}));
    }

    void asksForGroupInformation()
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
};

QTEST_MAIN(tst_Rows)
#include "tst_rows.moc"
