#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRect>
#include <QTest>
#include <QUrl>

#include <SQLiteCpp/SQLiteCpp.h>

#include <cmath>
#include <limits>

using namespace storage;

/// Setting rows as the next start of the program sees them.
class tst_SettingStorage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keepsType_data();
    void keepsType();
    void keepsOddTexts();
    void refusesWhatCannotBeStored();
    void plainForSqlTools();
    void appliesInOrder();
    void closedAndReopened();
    void leavesOutDamagedValues_data();
    void leavesOutDamagedValues();

private:
    QVariant storedAndReadAgain(const QVariant &value);
    static QStringList rows(const SettingStorage &settings);
};

namespace
{

QVariant nestedList(int depth)
{
    QVariant value = 1;
    for (int i = 0; i < depth; ++i)
        value = QVariantList{value};
    return value;
}

const QString loneSurrogate = QStringLiteral("a") + QChar(0xd83d) + QStringLiteral("b");

} // namespace

void tst_SettingStorage::init()
{
    GlobalStorageProvider provider;
    for (const char *suffix : {"", "-wal", "-shm"})
        QFile::remove(provider.filePath() + QLatin1StringView(suffix));
}

QVariant tst_SettingStorage::storedAndReadAgain(const QVariant &value)
{
    {
        GlobalStorageProvider provider;
        if (!provider.open()
            || !provider.settingStorage()->save({QStringLiteral("key"), value, {}}))
            return QStringLiteral("was not stored");
    }
    GlobalStorageProvider provider;
    provider.open();
    const QList<SettingInfo> infos = provider.settingStorage()->allInfos();
    return infos.size() == 1 ? infos.constFirst().value : QStringLiteral("was not read");
}

QStringList tst_SettingStorage::rows(const SettingStorage &settings)
{
    QStringList result;
    for (const SettingInfo &info : settings.allInfos())
        result.append(info.key + u'=' + info.value.toString() + u'/' + info.remark);
    result.sort();
    return result;
}

void tst_SettingStorage::keepsType_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("true") << QVariant(true);
    QTest::newRow("false") << QVariant(false);
    QTest::newRow("int") << QVariant(std::numeric_limits<int>::min());
    QTest::newRow("uint") << QVariant(std::numeric_limits<uint>::max());
    QTest::newRow("qint64") << QVariant(std::numeric_limits<qint64>::min());
    QTest::newRow("quint64") << QVariant(std::numeric_limits<quint64>::max());
    QTest::newRow("short") << QVariant::fromValue(short(-7));
    QTest::newRow("double") << QVariant(0.1);
    QTest::newRow("whole double") << QVariant(3.0);
    QTest::newRow("infinity") << QVariant(-std::numeric_limits<double>::infinity());
    QTest::newRow("float") << QVariant(1.1f);
    QTest::newRow("text") << QVariant(QStringLiteral("Grüße, 世界 👋🏽"));
    QTest::newRow("digits as text") << QVariant(QStringLiteral("0012"));
    QTest::newRow("empty text") << QVariant(QStringLiteral(""));
    QTest::newRow("null text") << QVariant(QString());
    QTest::newRow("text with NUL") << QVariant(QString::fromUtf16(u"a\0b\0", 4));
    QTest::newRow("lone surrogate") << QVariant(loneSurrogate);
    QTest::newRow("byte order mark") << QVariant(QString(QChar(0xfeff)) + QStringLiteral("x"));
    QTest::newRow("noncharacter") << QVariant(QString(QChar(0xffff)));
    QTest::newRow("bytes") << QVariant(QByteArray("\0\xff\x80", 3));
    QTest::newRow("empty bytes") << QVariant(QByteArray(""));
    QTest::newRow("null bytes") << QVariant(QByteArray());
    QTest::newRow("1 MiB") << QVariant(QByteArray(1 << 20, 'x'));
    QTest::newRow("invalid") << QVariant();
    QTest::newRow("null int") << QVariant(QMetaType::fromType<int>());
    QTest::newRow("null QString") << QVariant(QMetaType::fromType<QString>());
    QTest::newRow("map") << QVariant(
        QVariantMap{{QStringLiteral("b"), true},
                    {loneSurrogate, QVariantList{1u, QVariant(), QVariantMap{{QString(), 1.5f}}}},
                    {QStringLiteral("null"), QString()},
                    {QStringLiteral("list"), QStringList{QString(), loneSurrogate}}});
    QTest::newRow("hash") << QVariant(QVariantHash{{QStringLiteral("k"), QByteArray("v")}});
    QTest::newRow("deep list") << nestedList(50);
    QTest::newRow("string list") << QVariant(QStringList{QStringLiteral("a"), QString()});
    QTest::newRow("int list") << QVariant::fromValue(QList<int>{1, -1});
    QTest::newRow("time") << QVariant(QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC));
    QTest::newRow("url") << QVariant(QUrl(QStringLiteral("https://example.org/ä?q=1")));
    QTest::newRow("rectangle") << QVariant(QRect(-1, 2, 3, 4));
}

void tst_SettingStorage::keepsType()
{
    QFETCH(QVariant, value);
    const QVariant read = storedAndReadAgain(value);
    QCOMPARE(read.typeId(), value.typeId());
    QCOMPARE(read.isNull(), value.isNull());
    QVERIFY2(read == value, qPrintable(read.toString()));
    QCOMPARE(read.toString().isNull(), value.toString().isNull());
    QCOMPARE(read.toByteArray().isNull(), value.toByteArray().isNull());

    const QVariant nan = storedAndReadAgain(std::nan(""));
    QCOMPARE(nan.typeId(), int(QMetaType::Double));
    QVERIFY(std::isnan(nan.toDouble()));
}

void tst_SettingStorage::keepsOddTexts()
{
    // Keys and remarks too, and each key is one row however often it is saved.
    const QStringList keys{QString(), QString::fromUtf16(u"a\0b", 3), QStringLiteral("a"),
                           loneSurrogate, QString(QChar(0xfeff))};
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    for (int round = 0; round < 2; ++round) {
        for (const QString &key : keys)
            QVERIFY(provider.settingStorage()->save({key, round, key}));
    }
    const QList<SettingInfo> infos = provider.settingStorage()->allInfos();
    QCOMPARE(infos.size(), keys.size());
    for (int i = 0; i < keys.size(); ++i) {
        QCOMPARE(infos[i].key, keys[i]);
        QCOMPARE(infos[i].remark, keys[i]);
        QCOMPARE(infos[i].value, QVariant(1));
    }
    for (const QString &key : keys)
        QVERIFY(provider.settingStorage()->remove(key));
    QVERIFY(provider.settingStorage()->allInfos().isEmpty());
}

void tst_SettingStorage::refusesWhatCannotBeStored()
{
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    SettingStorage &settings = *provider.settingStorage();
    QVERIFY(settings.save({QStringLiteral("a"), 1, {}}));
    const QVariant pointer = QVariant::fromValue(static_cast<QObject *>(this));
    for (const QVariant &value : {pointer, QVariant(QVariantList{pointer}), nestedList(10'000)}) {
        // All or nothing: the sound row before the bad one is not written either.
        QVERIFY(!settings.apply(
            {true, {}, {{QStringLiteral("b"), 2, {}}, {QStringLiteral("c"), value, {}}}}));
        QCOMPARE(rows(settings), QStringList{QStringLiteral("a=1/")});
    }
    QVERIFY(settings.save({QStringLiteral("b"), 2, {}}));

    // Whoever hears of a failure may use the store at once.
    static SettingStorage *store = nullptr;
    static qsizetype seen = 0;
    store = &settings;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
            seen = store->allInfos().size();
        });
    QVERIFY(!settings.save({QStringLiteral("c"), pointer, {}}));
    qInstallMessageHandler(previous);
    QCOMPARE(seen, 2);
}

void tst_SettingStorage::plainForSqlTools()
{
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    QVERIFY(provider.settingStorage()->apply(
        {false,
         {},
         {{QStringLiteral("b"), true, {}},
          {QStringLiteral("s"), QStringLiteral("ä"), QStringLiteral("remark")},
          {QStringLiteral("d"), 14.5, {}}}}));
    SQLite::Database other(provider.filePath().toStdString(), SQLite::OPEN_READWRITE);
    const auto get = [&](const char *sql) { return other.execAndGet(sql).getString(); };
    QCOMPARE(get("SELECT type || value || typeof(value) FROM settings WHERE key='b'"),
             std::string("bool1integer"));
    QCOMPARE(get("SELECT type || value || remark FROM settings WHERE key='s'"),
             std::string("QStringäremark"));
    QCOMPARE(get("SELECT type || value || typeof(value) FROM settings WHERE key='d'"),
             std::string("double14.5real"));
    // A value that was changed with such a tool is taken as what its type says.
    other.exec("UPDATE settings SET value = 15 WHERE key = 'd'");
    QCOMPARE(provider.settingStorage()->allInfos().at(2).value, QVariant(15.0));
    QCOMPARE(QFileInfo(provider.filePath()).permissions() & QFile::Permissions(0x0077), 0);
}

void tst_SettingStorage::appliesInOrder()
{
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    SettingStorage &settings = *provider.settingStorage();
    const auto row = [](const char *key, int value, const char *remark = "") {
        return SettingInfo{QString::fromLatin1(key), value, QString::fromLatin1(remark)};
    };
    QVERIFY(settings.apply({false, {}, {row("a", 1), row("b", 2, "r"), row("a", 3)}}));
    QCOMPARE(rows(settings), (QStringList{QStringLiteral("a=3/"), QStringLiteral("b=2/r")}));
    // Removed and saved in one go: the row is there.
    QVERIFY(settings.apply({false, {QStringLiteral("a"), QStringLiteral("none")}, {row("a", 4)}}));
    QCOMPARE(rows(settings), (QStringList{QStringLiteral("a=4/"), QStringLiteral("b=2/r")}));
    // A row that is saved again loses the remark it had.
    QVERIFY(settings.save(row("b", 5)));
    QCOMPARE(rows(settings), (QStringList{QStringLiteral("a=4/"), QStringLiteral("b=5/")}));
    QVERIFY(settings.apply({true, {QStringLiteral("c")}, {row("c", 6)}}));
    QCOMPARE(rows(settings), QStringList{QStringLiteral("c=6/")});
    QVERIFY(settings.removeAll());
    QCOMPARE(rows(settings), QStringList());
}

void tst_SettingStorage::closedAndReopened()
{
    GlobalStorageProvider provider;
    SettingStorage &settings = *provider.settingStorage();
    const SettingInfo info{QStringLiteral("a"), 1, {}};
    for (int round = 0; round < 3; ++round) {
        QVERIFY(!settings.save(info));
        QVERIFY(settings.allInfos().isEmpty());
        QVERIFY(provider.open());
        QVERIFY(provider.open());
        QVERIFY(!provider.recovered());
        QCOMPARE(settings.allInfos().size(), round == 0 ? 0 : 1);
        QVERIFY(settings.save(info));
        if (round == 0)
            provider.close();
        else
            provider.closeInCrash();
        QVERIFY(!provider.isOpen());
    }
}

void tst_SettingStorage::leavesOutDamagedValues_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("unknown type") << QByteArray("Matrix") << QByteArray("x");
    QTest::newRow("not a number") << QByteArray("int") << QByteArray("x");
    QTest::newRow("no kind") << QByteArray("QVariant") << QByteArray();
    QTest::newRow("unknown kind") << QByteArray("QVariant") << QByteArray("\x77");
    const QByteArray listOfOne("\3\0\0\0\1", 5);
    QTest::newRow("deep") << QByteArray("QVariant") << listOfOne.repeated(200'000);
    QTest::newRow("long list") << QByteArray("QVariant") << QByteArray("\3\xff\xff\xff\xf0\0", 6);
    QTest::newRow("long map") << QByteArray("QVariant") << QByteArray("\4\xff\xff\xff\xf0\0", 6);
    const auto single = [](const char *type, const QByteArray &bytes) {
        const QByteArray name(type);
        return QByteArray("\2\0\0\0", 4) + char(name.size()) + name + bytes;
    };
    const QByteArray many("\xff\xff\xff\xf0\0\0\0\0", 8);
    for (const char *type : {"QStringList", "QString", "QByteArray", "QVariantList", "QVariantMap",
                             "QObject*", "NoSuchType", "void"})
        QTest::newRow(type) << QByteArray("QVariant") << single(type, many);
    QTest::newRow("rest") << QByteArray("QVariant") << single("int", QByteArray("\0\0\0\1x", 5));
}

void tst_SettingStorage::leavesOutDamagedValues()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, bytes);
    GlobalStorageProvider provider;
    QVERIFY(provider.open());
    SettingStorage &settings = *provider.settingStorage();
    QVERIFY(settings.apply({false,
                            {},
                            {{QStringLiteral("a"), 1, {}},
                             {QStringLiteral("m"), QVariantMap{{QStringLiteral("k"), 1}}, {}},
                             {QStringLiteral("z"), 2, {}}}}));
    const QStringList others{QStringLiteral("a=1/"), QStringLiteral("z=2/")};

    SQLite::Database other(provider.filePath().toStdString(), SQLite::OPEN_READWRITE);
    SQLite::Statement update(other, "UPDATE settings SET type = ?, value = ? WHERE key = 'm'");
    update.bind(1, type.toStdString());
    update.bind(2, static_cast<const void *>(bytes.constData()), int(bytes.size()));
    update.exec();
    QCOMPARE(rows(settings), others);

    // And so with the beginning of sound bytes, wherever they end.
    QVERIFY(settings.save({QStringLiteral("m"), QVariantMap{{QStringLiteral("k"), 1}}, {}}));
    while (other.execAndGet("SELECT length(value) FROM settings WHERE key = 'm'").getInt() > 0) {
        other.exec("UPDATE settings SET value = substr(value, 1, length(value) - 1) "
                   "WHERE key = 'm'");
        QCOMPARE(rows(settings), others);
    }
    QVERIFY(settings.save({QStringLiteral("m"), 3, {}}));
    QCOMPARE(rows(settings).size(), 3);
}

QTEST_GUILESS_MAIN(tst_SettingStorage)
#include "tst_settingstorage.moc"
