#include "storage/globalstorageprovider.h"
#include "storage/settingstorage.h"

#include <QBitArray>
#include <QCborValue>
#include <QColor>
#include <QDateTime>
#include <QEasingCurve>
#include <QFile>
#include <QFileInfo>
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

QVariant nestedList(int depth)
{
    QVariant value = 1;
    for (int i = 0; i < depth; ++i)
        value = QVariantList{value};
    return value;
}

/// As QVariant::save() and earlier versions of the store have it: the type's own operator.
QByteArray bytesOf(const QVariant &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_0);
    value.metaType().save(out, value.constData());
    return bytes;
}

/// One value of that type in a BLOB.
QByteArray single(const QByteArray &type, const QByteArray &bytes)
{
    return QByteArray("\2\0\0\0", 4) + char(type.size()) + type + bytes;
}

const QString loneSurrogate = u"a"_s + QChar(0xd83d) + u"b"_s;

} // namespace

/// Setting rows as the next start of the program sees them.
class tst_SettingStorage : public QObject
{
    Q_OBJECT

    QVariant storedAndReadAgain(const QVariant &value)
    {
        {
            GlobalStorageProvider provider;
            if (!provider.open() || !provider.settingStorage()->save({u"key"_s, value, {}}))
                return u"was not stored"_s;
        }
        GlobalStorageProvider provider;
        provider.open();
        const QList<SettingInfo> infos = provider.settingStorage()->allInfos();
        return infos.size() == 1 ? infos.constFirst().value : u"was not read"_s;
    }

    static QStringList rows(const SettingStorage &settings)
    {
        QStringList result;
        for (const SettingInfo &info : settings.allInfos())
            result.append(info.key + u'=' + info.value.toString() + u'/' + info.remark);
        result.sort();
        return result;
    }

private Q_SLOTS:
    void init()
    {
        GlobalStorageProvider provider;
        for (const char *suffix : {"", "-wal", "-shm"})
            QFile::remove(provider.filePath() + QLatin1StringView(suffix));
    }
    void keepsType()
    {
        // clang-format off
        const QVariant values[] = {
            true, false, std::numeric_limits<int>::min(), std::numeric_limits<uint>::max(),
            std::numeric_limits<qint64>::min(), std::numeric_limits<quint64>::max(),
            QVariant::fromValue(short(-7)), 0.1, 3.0, -std::numeric_limits<double>::infinity(), 1.1f,
            u"Grüße, 世界 👋🏽"_s, u"0012"_s, u""_s, QString(), QString::fromUtf16(u"a\0b\0", 4),
            loneSurrogate, u"\ufeffx"_s, QString(QChar(0xffff)), QByteArray("\0\xff\x80", 3),
            QByteArray(""), QByteArray(), QByteArray(1 << 20, 'x'), QVariant(),
            QVariant(QMetaType::fromType<int>()), QVariant(QMetaType::fromType<QString>()),
            QVariantMap{{u"b"_s, true}, {u"null"_s, QString()}, {u"list"_s, QStringList{QString(), loneSurrogate}},
                        {loneSurrogate, QVariantList{1u, QVariant(), QVariantMap{{QString(), 1.5f}}}}},
            QVariantHash{{u"k"_s, QByteArray("v")}}, nestedList(50), QStringList{u"a"_s, QString()},
            QVariant::fromValue(QList<int>{1, -1}), QUrl(u"https://example.org/ä?q=1"_s), QRect(-1, 2, 3, 4),
            QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC), QVariant::fromValue(nullptr),
            QVariant(QMetaType::fromType<QVariantMap>())};
        // clang-format on
        for (const QVariant &value : values) {
            const QVariant read = storedAndReadAgain(value);
            const QByteArray about =
                QByteArray(value.typeName()) + ' ' + read.toByteArray().left(50);
            QVERIFY2(read.typeId() == value.typeId() && read == value, about);
            QVERIFY2(read.isNull() == value.isNull(), about);
            QVERIFY2(read.toString().isNull() == value.toString().isNull(), about);
            QVERIFY2(read.toByteArray().isNull() == value.toByteArray().isNull(), about);
        }
        const QVariant nan = storedAndReadAgain(std::nan(""));
        QCOMPARE(nan.typeId(), int(QMetaType::Double));
        QVERIFY(std::isnan(nan.toDouble()));
    }

    void readsWhatTheOperatorsWrote()
    {
        const QDateTime moment = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
        // clang-format off
        const QVariant values[] = {
            true, 'c', QVariant::fromValue(short(-7)), QVariant::fromValue(7l), u"Grüße"_s, QByteArray("\0x", 2),
            QChar(u'ä'), QVariant::fromValue(u'ä'), QUuid::createUuid(), QUrl(u"https://example.org"_s),
            moment, moment.date(), moment.time(), QDateTime(moment.date(), moment.time(), QTimeZone("Europe/Vienna")),
            QPoint(1, -2), QPointF(1.5, 2), QSize(1, 2), QSizeF(1.5, 2), QRect(-1, 2, 3, 4), QRectF(1.5, 2, 3, 4),
            QLine(1, 2, 3, 4), QLineF(1.5, 2, 3, 4), QVariant(QColor(1, 2, 3, 4)), QColor::fromHsvF(0.5, 0.5, 0.5),
            QStringList{u"a"_s, QString()}, QVariant::fromValue(QByteArrayList{"a", QByteArray()}),
            QVariant::fromValue(QList<bool>{true}), QVariant::fromValue(QList<qint64>{1LL << 40}),
            QVariant::fromValue(QList<QPointF>{{1.5, 2}}), QVariant::fromValue(QList<QDateTime>{moment}),
            QVariant::fromValue(QMap<QString, int>{{u"a"_s, 1}, {u"b"_s, 2}}),
            QVariant::fromValue(QMap<QString, QString>{{u"a"_s, QString()}}),
            QVariant::fromValue(QHash<QString, double>{{u"a"_s, 1.5}, {u"b"_s, 2}})};
        // clang-format on
        GlobalStorageProvider provider;
        QVERIFY(provider.open());
        SQLite::Database other(provider.filePath().toStdString(), SQLite::OPEN_READWRITE);
        SQLite::Statement row(other,
                              "INSERT OR REPLACE INTO settings VALUES ('key', 'QVariant', ?, '')");
        for (const QVariant &value : values) {
            QVERIFY2(SettingStorage::isStorable(value), value.typeName());
            const QByteArray bytes = single(value.typeName(), bytesOf(value));
            row.reset();
            row.bind(1, static_cast<const void *>(bytes.constData()), int(bytes.size()));
            row.exec();
            const QVariant read = provider.settingStorage()->allInfos().value(0).value;
            QVERIFY2(read.metaType() == value.metaType() && read == value, value.typeName());
            // What is written today is the same.
            const QVariant again = QVariantList{value};
            QVERIFY(provider.settingStorage()->save({u"key"_s, again, {}}));
            QCOMPARE(QByteArray::fromStdString(
                         other.execAndGet("SELECT value FROM settings").getString()),
                     QByteArray("\3\0\0\0\1", 5) + bytes);
            QCOMPARE(provider.settingStorage()->allInfos().value(0).value, again);
        }
    }

    void keepsOddTexts()
    {
        // Keys and remarks too, and each key is one row however often it is saved.
        const QStringList keys{QString(), QString::fromUtf16(u"a\0b", 3), u"a"_s, loneSurrogate,
                               QString(QChar(0xfeff))};
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

    void refusesWhatCannotBeStored()
    {
        GlobalStorageProvider provider;
        QVERIFY(provider.open());
        SettingStorage &settings = *provider.settingStorage();
        QVERIFY(settings.save({u"a"_s, 1, {}}));
        const QVariant pointer = QVariant::fromValue(static_cast<QObject *>(this));
        // Whoever hears of a failure may use the store at once.
        static SettingStorage *store = &settings;
        static qsizetype seen = 0;
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                seen += store->allInfos().size();
            });
        bool saved = false;
        for (const QVariant &value :
             {pointer, QVariant(QVariantList{pointer}), nestedList(10'000)}) {
            // All or nothing: the sound row before the bad one is not written either.
            saved = settings.apply({true, {}, {{u"b"_s, 2, {}}, {u"c"_s, value, {}}}}) || saved;
        }
        qInstallMessageHandler(previous);
        QVERIFY(!saved);
        QCOMPARE(seen, 3);
        // clang-format off
        const QVariant others[] = {
            QFont(), QVariant(QPen()), QVariant(QImage()), QVariant(QRegion()), QEasingCurve(), QBitArray(3),
            QRegularExpression(u"a"_s), QJsonObject(), QJsonDocument(), QVariant::fromValue(QCborValue()), QLocale(), QPolygon(),
            QTransform(), QKeySequence(), QVariant::fromValue(QList<QFont>()), QVariant::fromValue(Qt::red),
            QVariant::fromValue(QList<QVariantMap>()), QVariant::fromValue(QMap<int, int>()),
            QVariant::fromValue(std::vector<int>{1}), nestedList(101)};
        // clang-format on
        for (const QVariant &value : others) {
            QVERIFY2(!SettingStorage::isStorable(value), value.typeName());
            QVERIFY2(!SettingStorage::isStorable(QVariantMap{{u"a"_s, value}}), value.typeName());
        }
        QVERIFY(SettingStorage::isStorable(nestedList(100)));
        QCOMPARE(rows(settings), QStringList{u"a=1/"_s});
        QVERIFY(settings.save({u"b"_s, 2, {}}));
    }

    void plainForSqlTools()
    {
        GlobalStorageProvider provider;
        QVERIFY(provider.open());
        QVERIFY(provider.settingStorage()->apply(
            {false, {}, {{u"b"_s, true, {}}, {u"d"_s, 14.5, {}}, {u"s"_s, u"ä"_s, u"remark"_s}}}));
        SQLite::Database other(provider.filePath().toStdString(), SQLite::OPEN_READWRITE);
        QCOMPARE(
            other
                .execAndGet(
                    "SELECT group_concat(type || value || typeof(value) || remark) FROM settings")
                .getString(),
            std::string("bool1integer,double14.5real,QStringätextremark"));
        // A value that was changed with such a tool is taken as what its type says.
        other.exec("UPDATE settings SET value = 15 WHERE key = 'd'");
        QCOMPARE(rows(*provider.settingStorage()).value(1), u"d=15/"_s);
        QCOMPARE(QFileInfo(provider.filePath()).permissions() & QFile::Permissions(0x0077), 0);
    }

    void appliesInOrder()
    {
        GlobalStorageProvider provider;
        QVERIFY(provider.open());
        SettingStorage &settings = *provider.settingStorage();
        const auto text = [&] { return rows(settings).join(u' '); };
        QVERIFY(
            settings.apply({false, {}, {{u"a"_s, 1, {}}, {u"b"_s, 2, u"r"_s}, {u"a"_s, 3, {}}}}));
        QCOMPARE(text(), u"a=3/ b=2/r"_s);
        // Removed and saved in one go: the row is there.
        QVERIFY(settings.apply({false, {u"a"_s, u"none"_s}, {{u"a"_s, 4, {}}}}));
        QCOMPARE(text(), u"a=4/ b=2/r"_s);
        // A row that is saved again loses the remark it had.
        QVERIFY(settings.save({u"b"_s, 5, {}}));
        QCOMPARE(text(), u"a=4/ b=5/"_s);
        QVERIFY(settings.apply({true, {u"c"_s}, {{u"c"_s, 6, {}}}}));
        QCOMPARE(text(), u"c=6/"_s);
        QVERIFY(settings.removeAll());
        QCOMPARE(text(), QString());
    }

    void closedAndReopened()
    {
        GlobalStorageProvider provider;
        SettingStorage &settings = *provider.settingStorage();
        const SettingInfo info{u"a"_s, 1, {}};
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

    void leavesOutDamagedValues_data()
    {
        QTest::addColumn<QByteArray>("type");
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char *name, const QByteArray &bytes,
                            const char *type = "QVariant") {
            QTest::newRow(name) << QByteArray(type) << bytes;
        };
        row("unknown type", "x", "Matrix");
        row("not a number", "x", "int");
        row("no kind", {});
        row("unknown kind", "\x77");
        row("deep", QByteArray("\3\0\0\0\1", 5).repeated(200'000));
        row("long list", QByteArray("\3\xff\xff\xff\xf0\0", 6));
        row("long map", QByteArray("\4\xff\xff\xff\xf0\0", 6));
        for (const char *type :
             {"QStringList", "QString", "QByteArray", "QVariantList", "QVariantMap", "QList<int>",
              "QMap<QString,int>", "QObject*", "NoSuchType", "void"})
            row(type, single(type, QByteArray("\xff\xff\xff\xf0\0\0\0\0", 8)));
        row("rest", single("int", QByteArray("\0\0\0\1x", 5)));
        // Types that are not listed, some of whose operators trust the bytes; sound, they are refused
        // as well.
        for (const QVariant &value :
             {QVariant(QRegion(0, 0, 9, 9)), QVariant(QFont(u"a"_s)), QVariant(QPen()),
              QVariant(QImage()), QVariant(QEasingCurve()), QVariant(QBitArray(3)),
              QVariant(QRegularExpression(u"a"_s))})
            row(value.typeName(), single(value.typeName(), bytesOf(value)));
        row("null of another type", QByteArray("\1\0\0\0\7", 5) + "QRegion");
        QByteArray colour = bytesOf(QColor(1, 2, 3));
        colour[0] = 6;
        row("colour of no kind", single("QColor", colour));
        row("end of a colour", single("QColor", bytesOf(QColor(1, 2, 3)).chopped(1)));
        row("end of a list",
            single("QList<int>", bytesOf(QVariant::fromValue(QList<int>{1})).chopped(1)));
        const QVariant map = QVariant::fromValue(QMap<QString, int>{{u"a"_s, 1}});
        row("end of a map", single(map.typeName(), bytesOf(map).chopped(1)));
    }
    void leavesOutDamagedValues()
    {
        QFETCH(QByteArray, type);
        QFETCH(QByteArray, bytes);
        GlobalStorageProvider provider;
        QVERIFY(provider.open());
        SettingStorage &settings = *provider.settingStorage();
        QVERIFY(settings.apply(
            {false,
             {},
             {{u"a"_s, 1, {}}, {u"m"_s, QVariantMap{{u"k"_s, 1}}, {}}, {u"z"_s, 2, {}}}}));
        const QStringList others{u"a=1/"_s, u"z=2/"_s};

        SQLite::Database other(provider.filePath().toStdString(), SQLite::OPEN_READWRITE);
        SQLite::Statement update(other, "UPDATE settings SET type = ?, value = ? WHERE key = 'm'");
        update.bind(1, type.toStdString());
        update.bind(2, static_cast<const void *>(bytes.constData()), int(bytes.size()));
        update.exec();
        QCOMPARE(rows(settings), others);

        // And so with the beginning of sound bytes, wherever they end.
        QVERIFY(settings.save({u"m"_s, QVariantMap{{u"k"_s, 1}}, {}}));
        while (other.execAndGet("SELECT length(value) FROM settings WHERE key = 'm'").getInt()
               > 0) {
            other.exec("UPDATE settings SET value = substr(value, 1, length(value) - 1) "
                       "WHERE key = 'm'");
            QCOMPARE(rows(settings), others);
        }
        QVERIFY(settings.save({u"m"_s, 3, {}}));
        QCOMPARE(rows(settings).size(), 3);
    }
};

QTEST_GUILESS_MAIN(tst_SettingStorage)
#include "tst_settingstorage.moc"
