#include "storage/configstorage.h"
#include "storage/globalstorageprovider.h"
#include "storage/keystorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/facts.h"

#include <QBitArray>
#include <QCborValue>
#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QEasingCurve>
#include <QFile>
#include <QFont>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeySequence>
#include <QLine>
#include <QLocale>
#include <QPen>
#include <QPolygon>
#include <QRect>
#include <QRegion>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QTransform>
#include <QUrl>
#include <QUuid>

#include <SQLiteCpp/SQLiteCpp.h>

#include <cmath>
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

/// What a row can hold; values.txt has the form that each lies there in, line by line.
const QVariantList &values()
{
    static const QDateTime moment = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
    // clang-format off
    static const QVariantList all{
        true, false, std::numeric_limits<int>::min(), std::numeric_limits<uint>::max(), std::numeric_limits<qint64>::min(),
        std::numeric_limits<quint64>::max(), 0.1, 3.0, -std::numeric_limits<double>::infinity(), 1.1f,
        u"Grüße, 世界 👋🏽"_s, u"0012"_s, u""_s, QString(), QString::fromUtf16(u"a\0b\0", 4), loneSurrogate, u"\ufeffx"_s,
        QString(QChar(0xffff)), QByteArray("\0\xff\x80", 3), QByteArray(""), QByteArray(), QVariant(),
        QVariant(QMetaType::fromType<int>()), QVariant(QMetaType::fromType<QString>()), QVariant(QMetaType::fromType<QVariantMap>()),
        QVariant::fromValue(nullptr), QVariant::fromValue(short(-7)), QVariant::fromValue(7l), QVariant::fromValue('c'), QChar(u'ä'),
        QVariant::fromValue(u'ä'), QUuid(u"{67c8770b-44f1-410a-ab9a-f9b5446f13ee}"_s), QUrl(u"https://example.org/ä?q=1"_s),
        moment, moment.date(), moment.time(), QDateTime(moment.date(), moment.time(), QTimeZone("Europe/Vienna")),
        QPoint(1, -2), QPointF(1.5, 2), QSize(1, 2), QSizeF(1.5, 2), QRect(-1, 2, 3, 4), QRectF(1.5, 2, 3, 4),
        QLine(1, 2, 3, 4), QLineF(1.5, 2, 3, 4), QVariant(QColor(1, 2, 3, 4)), QColor::fromHsvF(0.5, 0.5, 0.5),
        QStringList{u"a"_s, QString()}, QVariant::fromValue(QByteArrayList{"a", QByteArray()}),
        QVariant::fromValue(QList<bool>{true}), QVariant::fromValue(QList<int>{1, -1}), QVariant::fromValue(QList<qint64>{1LL << 40}),
        QVariant::fromValue(QList<QPointF>{{1.5, 2}}), QVariant::fromValue(QList<QDateTime>{moment}),
        QVariant::fromValue(QMap<QString, int>{{u"a"_s, 1}, {u"b"_s, 2}}), QVariant::fromValue(QMap<QString, QString>{{u"a"_s, QString()}}),
        QVariant::fromValue(QHash<QString, double>{{u"a"_s, 1.5}}), QVariantHash{{u"k"_s, QByteArray("v")}},
        QVariantList{true, 1.5f, u"a"_s, QByteArray("b"), QVariant(QColor(1, 2, 3)), QUuid()}, nestedList(5),
        QVariantMap{{u"b"_s, true}, {u"null"_s, QString()}, {u"list"_s, QStringList{QString(), loneSurrogate}},
                    {loneSurrogate, QVariantList{1u, QVariant(), QVariantMap{{QString(), 1.5f}}}}}};
    // clang-format on
    return all;
}

bool isSame(const QVariant &a, const QVariant &b)
{
    return a.metaType() == b.metaType() && a == b && a.isNull() == b.isNull()
        && a.toString().isNull() == b.toString().isNull()
        && a.toByteArray().isNull() == b.toByteArray().isNull();
}

/// Both stores, and their four tables of values as if they were of one kind.
struct Stores {
    explicit Stores(const QTemporaryDir &directory)
    {
        global.setDirectory(directory.path());
        isOpen = global.open() && user.open(directory.filePath(u"7"_s));
    }
    /// Calls `use` with each of the tables, and what makes one of its rows.
    template <typename Use>
    void forEach(Use use)
    {
        const auto setting = [](const QString &key, const QVariant &value) {
            return SettingInfo{key, value, key + u'!'};
        };
        const auto config = [](const QString &key, const QVariant &value) {
            return ConfigInfo{key, value};
        };
        use(*global.settingStorage(), setting);
        use(*user.settingStorage(), setting);
        use(*user.bufferConfigStorage(), config);
        use(*user.syncConfigStorage(), config);
    }

    GlobalStorageProvider global;
    UserStorageProvider user;
    bool isOpen = false;
};

template <typename Storage>
QStringList rowsOf(const Storage &storage)
{
    QStringList rows;
    for (const auto &info : storage.allInfos()) {
        rows.append(info.key + u'=' + info.value.toString());
        if constexpr (requires { info.remark; }) {
            if (info.remark != info.key + u'!')
                rows.last() += u" with another remark"_s;
        }
    }
    return rows;
}

/// One line of values.txt: the type, and the value as SQL has it.
QStringList storedForm(SQLite::Database &database, const std::string &table)
{
    QStringList lines;
    SQLite::Statement rows(database,
                           "SELECT type || '|' || quote(value) FROM " + table + " ORDER BY rowid");
    while (rows.executeStep())
        lines.append(QString::fromStdString(rows.getColumn(0).getString()));
    return lines;
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

private Q_SLOTS:
    void init() { m_directory = std::make_unique<QTemporaryDir>(); }

    void keepsTypesAndForms()
    {
        const QStringList forms = facts(u"values.txt"_s);
        {
            Stores stores(*m_directory);
            QVERIFY(stores.isOpen);
            stores.forEach([](auto &table, auto row) {
                for (int i = 0; i < values().size(); ++i)
                    QVERIFY(table.save(row(QString::number(i), values()[i])));
            });
        }
        for (const char *table : {"settings", "buffer_config", "sync_config"}) {
            SQLite::Database database = plainly("7/account.db");
            const QStringList written = storedForm(database, table);
            for (int i = 0; i < written.size(); ++i)
                QCOMPARE(written[i], forms.value(i));
            QCOMPARE(written.size(), forms.size());
            // What was changed with such a tool is taken as what its type says.
            QCOMPARE(database.exec(std::string("UPDATE ") + table
                                   + " SET value = 4 WHERE value = 3.0 AND type = 'double'"),
                     1);
        }
        Stores stores(*m_directory);
        stores.forEach([&](auto &table, auto) {
            const auto infos = table.allInfos();
            QCOMPARE(infos.size(), values().size());
            for (int i = 0; i < infos.size(); ++i) {
                const bool isChanged = values()[i] == QVariant(3.0)
                    && static_cast<void *>(&table) != stores.global.settingStorage();
                QVERIFY2(isSame(infos[i].value, isChanged ? QVariant(4.0) : values()[i]),
                         qPrintable(forms[i]));
            }
        });
        QVERIFY(stores.user.syncConfigStorage()->save({u"nan"_s, std::nan("")}));
        const QVariant nan = stores.user.syncConfigStorage()->value(u"nan"_s);
        QVERIFY(nan.typeId() == QMetaType::Double && std::isnan(nan.toDouble()));
        const QByteArray big(1 << 20, 'x');
        QVERIFY(stores.user.syncConfigStorage()->save({u"big"_s, big}));
        QCOMPARE(stores.user.syncConfigStorage()->value(u"big"_s), big);
    }

    void leavesOutDamagedValues()
    {
        Stores stores(*m_directory);
        ConfigStorage &table = *stores.user.syncConfigStorage();
        QVERIFY(table.apply({false, {}, {{u"a"_s, 1}, {u"m"_s, 2}, {u"z"_s, 3}}}));
        SQLite::Database other = plainly("7/account.db");
        SQLite::Statement update(other,
                                 "UPDATE sync_config SET type = ?, value = ? WHERE key = 'm'");
        // The row's value as it is read; nothing where the row is left out, alone.
        const auto read = [&](const std::string &type, const QByteArray &bytes) {
            update.reset();
            update.bind(1, type);
            update.bind(2, static_cast<const void *>(bytes.constData()), int(bytes.size()));
            update.exec();
            QStringList rows;
            std::optional<QVariant> value;
            for (const ConfigInfo &info : table.allInfos()) {
                rows.append(info.key);
                if (info.key == u"m")
                    value = info.value;
            }
            rows.removeOne(u"m"_s);
            if (rows != QStringList{u"a"_s, u"z"_s} || table.value(u"a"_s) != 1)
                qFatal("other rows are concerned");
            return value;
        };
        const auto single = [](const QByteArray &type, const QByteArray &bytes) {
            return QByteArray("\2\0\0\0", 4) + char(type.size()) + type + bytes;
        };
        const auto bytesOf = [](const QVariant &value) {
            QByteArray bytes;
            QDataStream out(&bytes, QIODevice::WriteOnly);
            out.setVersion(QDataStream::Qt_6_0);
            value.metaType().save(out, value.constData());
            return bytes;
        };
        QVERIFY(!read("Matrix", "x"));
        QVERIFY(!read("int", "x"));
        QVERIFY(!read("QVariant", QByteArray("\3\0\0\0\1", 5).repeated(200'000)));
        QVERIFY(!read("QVariant", QByteArray("\1\0\0\0\7", 5) + "QRegion"));
        for (const char *type :
             {"QVariantList", "QVariantMap", "QMap<QString,int>", "QObject*", "NoSuchType", "void"})
            QVERIFY2(!read("QVariant", single(type, QByteArray("\xff\xff\xff\xf0\0\0\0\0", 8))),
                     type);
        // Some of their operators trust the bytes; sound ones are refused as well.
        for (const QVariant &value :
             {QVariant(QRegion(0, 0, 9, 9)), QVariant(QFont(u"a"_s)), QVariant(QPen()),
              QVariant(QImage()), QVariant(QEasingCurve()), QVariant(QBitArray(3)),
              QVariant(QRegularExpression(u"a"_s))})
            QVERIFY2(!read("QVariant", single(value.typeName(), bytesOf(value))), value.typeName());
        QByteArray colour = single("QColor", bytesOf(QColor(1, 2, 3)));
        QVERIFY(read("QVariant", colour));
        colour[11] = 6; // of no kind
        QVERIFY(!read("QVariant", colour));

        QVERIFY(!table.save({u"m"_s, QVariant::fromValue<QObject *>(this)}));
        QVERIFY(table.save({u"m"_s, 4}));
        QCOMPARE(table.value(u"m"_s), 4);
    }

    void refusesWhatCannotBeStored()
    {
        // clang-format off
        const QVariant others[] = {
            QFont(), QVariant(QPen()), QVariant(QImage()), QVariant(QRegion()), QEasingCurve(), QBitArray(3),
            QRegularExpression(u"a"_s), QJsonObject(), QJsonDocument(), QVariant::fromValue(QCborValue()), QLocale(), QPolygon(),
            QTransform(), QKeySequence(), QVariant::fromValue(QList<QFont>()), QVariant::fromValue(Qt::red),
            QVariant::fromValue(QList<QVariantMap>()), QVariant::fromValue(QMap<int, int>()), QVariant::fromValue(std::vector<int>{1}),
            QVariant::fromValue(static_cast<QObject *>(this)), nestedList(101), nestedList(10'000)};
        // clang-format on
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
        for (const QVariant &value : others) {
            // All or nothing: the sound row before the bad one is not written either.
            if (RowStorage::isStorable(value)
                || RowStorage::isStorable(QVariantMap{{u"a"_s, value}})
                || settings.apply({true, {}, {{u"b"_s, 2, {}}, {u"c"_s, value, {}}}}))
                wrong.append(QString::fromLatin1(value.typeName()));
        }
        qInstallMessageHandler(previous);
        QCOMPARE(wrong, QStringList());
        QCOMPARE(seen, qsizetype(std::size(others)));
        QVERIFY(RowStorage::isStorable(nestedList(100)));
        QCOMPARE(rowsOf(settings), QStringList{u"a=1"_s});
    }

    void appliesInOrder()
    {
        const QStringList odd{QString(), QString::fromUtf16(u"a\0b", 3), loneSurrogate,
                              QString(QChar(0xfeff))};
        Stores stores(*m_directory);
        stores.forEach([&](auto &table, auto row) {
            using List = QStringList;
            QVERIFY(table.apply({false, {}, {row(u"a"_s, 1), row(u"b"_s, 2), row(u"a"_s, 3)}}));
            QCOMPARE(rowsOf(table), (List{u"a=3"_s, u"b=2"_s}));
            // Removed and saved in one go: the row is there, as the newest.
            QVERIFY(table.apply({false, {u"a"_s, u"none"_s}, {row(u"a"_s, 4)}}));
            QCOMPARE(rowsOf(table), (List{u"b=2"_s, u"a=4"_s}));
            QVERIFY(table.remove(u"a"_s) && table.remove(u"a"_s));
            QCOMPARE(rowsOf(table), List(u"b=2"_s));
            // Each odd key is one row, however often it is saved.
            for (int round = 0; round < 2; ++round) {
                for (const QString &key : odd)
                    QVERIFY(table.save(row(key, round)));
            }
            QCOMPARE(rowsOf(table).size(), 1 + odd.size());
            QCOMPARE(table.allInfos().last().key, odd.last());
            QVERIFY(table.apply({true, {u"c"_s}, {row(u"c"_s, 6)}}));
            QCOMPARE(rowsOf(table), List(u"c=6"_s));
        });
        QVERIFY(stores.user.settingStorage()->save({u"c"_s, 6, u"other"_s}));
        QCOMPARE(rowsOf(*stores.user.settingStorage()), QStringList(u"c=6 with another remark"_s));
    }

    void keyRows()
    {
        const QString chat = u"chat"_s;
        const QString id = u"C-3-5"_s;
        constexpr int least = std::numeric_limits<int>::min();
        const QByteArray bytes = QByteArray::fromHex("00ff00610a");
        for (const bool reopened : {false, true}) {
            Stores stores(*m_directory);
            KeyStorage &keys = *stores.user.keyStorage();
            if (!reopened) {
                QVERIFY(keys.save({chat, id, 1, "old"}));
                QVERIFY(keys.save({chat, id, 1, bytes}));
                QVERIFY(keys.saveIfAbsent({chat, id, 1, "too late"}));
                QVERIFY(keys.saveIfAbsent({u"secure"_s, id, 1, {}}));
                QVERIFY(keys.save({chat, id + id, least, "other"}));
            }
            QCOMPARE(keys.allInfos().value().size(), 3);
            QCOMPARE(keys.value(chat, id, 1), bytes);
            QCOMPARE(keys.value(u"secure"_s, id, 1), QByteArray());
            QCOMPARE(keys.value(chat, id + id, least), QByteArray("other"));
            QVERIFY(!keys.contains(u"secure"_s, id, 2) && !keys.contains(chat, id.toLower(), 1));
            if (!reopened)
                continue;
            QVERIFY(keys.remove(chat, id, 1) && !keys.contains(chat, id, 1));
            QVERIFY(keys.contains(u"secure"_s, id, 1));
            QVERIFY(keys.removeAll());
            QCOMPARE(keys.allInfos().value().size(), 0);
            stores.user.close();
            QVERIFY(!keys.save({chat, id, 1, "key"}) && !keys.saveIfAbsent({chat, id, 1, "key"}));
            QVERIFY(!keys.remove(chat, id, 1) && !keys.removeAll() && !keys.allInfos());
        }
    }

    void opensAndCloses()
    {
        Stores stores(*m_directory);
        for (const bool crash : {false, true, true}) {
            QVERIFY(stores.global.open() && stores.user.open(m_directory->filePath(u"7/"_s)));
            stores.forEach([](auto &table, auto row) { QVERIFY(table.save(row(u"a"_s, 1))); });
            if (crash) {
                stores.global.closeInCrash();
                stores.user.closeInCrash();
            } else {
                stores.global.close();
                stores.user.close();
            }
            QVERIFY(!stores.global.isOpen() && !stores.user.isOpen());
            stores.forEach([](auto &table, auto row) {
                QVERIFY(!table.isOpen() && !table.save(row(u"a"_s, 2)) && !table.remove(u"a"_s));
                QVERIFY(table.allInfos().isEmpty());
            });
        }
        // Another directory is another account; one that is not there is none.
        UserStorageProvider &user = stores.user;
        QVERIFY(user.open(m_directory->filePath(u"8"_s)));
        QVERIFY(user.settingStorage()->allInfos().isEmpty());
        QVERIFY(user.settingStorage()->save({u"a"_s, 8, u"a!"_s}));
        QVERIFY(QDir(m_directory->path()).mkdir(u"empty"_s));
        for (const QString &name : {u"9/userstatus"_s, u"empty"_s}) {
            QVERIFY(!user.open(m_directory->filePath(name), false) && !user.isOpen());
            QVERIFY(!user.bufferConfigStorage()->save({u"x"_s, 1}));
        }
        QCOMPARE(QDir(m_directory->path()).entryList({u"9*"_s}), QStringList());
        QVERIFY(QDir(m_directory->filePath(u"empty"_s)).isEmpty());
        QVERIFY(user.open(m_directory->filePath(u"7"_s), false));
        QCOMPARE(rowsOf(*user.settingStorage()), QStringList(u"a=1"_s));
    }

    void recoversEveryTable()
    {
        constexpr int count = 500;
        {
            Stores stores(*m_directory);
            stores.forEach([](auto &table, auto row) {
                for (int i = 0; i < count; ++i)
                    QVERIFY(table.save(row(u"key/%1"_s.arg(i), QByteArray(50, 'v'))));
            });
            for (int i = 0; i < 20; ++i)
                QVERIFY(stores.user.keyStorage()->save({u"chat"_s, u"G-1"_s, i, "sealed"}));
        }
        for (const char *name : {"global.db", "7/account.db"}) {
            QFile file(m_directory->filePath(QLatin1StringView(name)));
            QVERIFY(file.open(QFile::ReadWrite));
            QCOMPARE(file.write(QByteArray(4096, '\xa5')), 4096);
        }
        Stores stores(*m_directory);
        QVERIFY(stores.global.recovered() && stores.user.recovered());
        stores.forEach([&](auto &table, auto) { QCOMPARE(rowsOf(table).size(), count); });
        QCOMPARE(stores.user.keyStorage()->infos(u"chat"_s, u"G-1"_s, 0, 100).size(), 20);
        const QDir directory(m_directory->path());
        QCOMPARE(directory.entryList({u"global.db.damaged-*"_s}).size(), 1);
        QVERIFY(stores.global.removeSetAside());
        QCOMPARE(directory.entryList({u"global.db.*"_s}), QStringList());
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

QTEST_GUILESS_MAIN(tst_Rows)
#include "tst_rows.moc"
