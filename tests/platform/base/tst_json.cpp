#include "base/json.h"
#include "support/loglines.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointF>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

/// What comes to mind beside the fuzz target, which compares both ways with QJsonDocument.
class TestJson : public QObject
{
    Q_OBJECT

    /// Also tells types apart, which QVariant's comparison does not.
    static QString dump(const QVariant &value)
    {
        QString text;
        QDebug(&text) << value;
        return text;
    }

    /// `depth` levels of lists around nothing.
    static QVariantList nest(int depth)
    {
        QVariantList list;
        while (--depth > 0)
            list = QVariantList{QVariant(std::move(list))};
        return list;
    }

private Q_SLOTS:
    /// What Qt itself does not read, where "the same as Qt" proves nothing.
    void nothingStoredIsLost()
    {
        const QString mark(QChar(0xfeff));
        for (const QString &text : {mark, mark + mark, mark + QChar(0xd83d)}) {
            const QVariantMap map{{text, text}};
            QCOMPARE(jsonToMap(mapToJson(map)), map);
        }
        QCOMPARE(jsonToList("[\"\xEF\xBB\xBF\"]"), QVariantList{mark});
        QCOMPARE(jsonToList("[\"" + QByteArray(200'000, 'x') + "\",1]").size(), 2);
        QCOMPARE(jsonToList("[1e-4000,\"a\"]"), (QVariantList{0, u"a"_s}));
        QCOMPARE(jsonToList("[\"\\\",\\\",\",2,3]", 2), (QVariantList{u"\",\","_s, 2}));
        QCOMPARE(dump(jsonToList(listToJson(nest(1024)))), dump(nest(1024)));
    }

    void writesWhatQtWrites()
    {
        const QVariantMap map{
            {u"int"_s, -500},
            {u"unsigned"_s, qulonglong(-1)},
            {u"list"_s, QStringList{u"one"_s, u""_s}},
            {u"long"_s, QString(700, QChar(0x4e00)) + u"\U0001F600"_s.repeated(300)},
            {u"bytes"_s, QByteArray("raw \xff\0", 6)},
            {u"nan"_s, std::numeric_limits<double>::quiet_NaN()},
            {u"infinite"_s, -std::numeric_limits<double>::infinity()},
            {u"float"_s, 0.1F},
            {u"double"_s, 1.7e-30},
            {u"short"_s, QVariant::fromValue<short>(5)},
            {u"negative zero"_s, -0.0},
            {u"hash"_s, QVariantHash{{u"b"_s, 1}, {u"a"_s, QVariantHash{}}, {u"c"_s, 2}}},
            {u"date"_s, QDateTime(QDate(2024, 2, 29), QTime(1, 2), Qt::UTC)},
            {u"url"_s, QUrl(u"https://example.org/a b"_s)},
            {u"uuid"_s, QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11)},
            {u"point"_s, QPointF(1, 2)},
            {u"pointer"_s, QVariant::fromValue<QObject *>(this)},
            {u"null text"_s, QVariant(QMetaType::fromType<QString>())},
            {u"object"_s, QJsonObject{{u"b"_s, 1.5}, {u"a"_s, QJsonArray{1, u"x"_s, {}}}}},
            {u"value"_s, QJsonValue(QJsonArray{true})},
        };
        QCOMPARE(mapToJson(map), QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact));
    }

    void tooDeep()
    {
        constexpr int depth = 100'000;
        const LogLines quiet;
        QVariantList deep = nest(depth);
        QCOMPARE(listToJson(deep), QByteArray());
        while (!deep.isEmpty()) // dismantled without recursion
            deep = QVariantList(deep.takeFirst().toList());
        QCOMPARE(mapToJson({{u"a"_s, nest(1024)}}), QByteArray());
        QVERIFY(!mapToJson({{u"a"_s, nest(1023)}}).isEmpty());
        QJsonArray array;
        for (int i = 0; i < 1024; ++i) {
            QJsonArray outer; // an initializer list of one array is the array to some compilers
            outer.append(array);
            array = outer;
        }
        QCOMPARE(mapToJson({{u"a"_s, array}}), QByteArray());
        for (const QByteArray &level : {QByteArray("["), QByteArray("{\"a\":")})
            QCOMPARE(jsonToMap(level.repeated(depth)), QVariantMap());
    }

    void logLinesHoldNoContent()
    {
        LogLines log;
        jsonToMap("{\"secret\":\"secret\",}");
        jsonToMap("[\"secret\"]");
        jsonToList("secret");
        jsonToMap({});
        listToJson(nest(2000));
        const QStringList lines = log.takeTexts();
        QCOMPARE(lines.size(), 4);
        QVERIFY(!lines.join(u'\n').contains("secret"_L1));
    }
};

QTEST_APPLESS_MAIN(TestJson)
#include "tst_json.moc"
