#include "base/json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QPointF>
#include <QTest>

#include <limits>
#include <random>

using namespace Qt::StringLiterals;

/// The helpers against QJsonDocument: the same maps from the same bytes, the same bytes from the
/// same maps.
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

    static QVariant randomValue(std::mt19937 &random, int depth)
    {
        const auto pick = [&](int below) { return int(random() % unsigned(below)); };
        static const QStringList texts{
            u""_s,
            u"plain"_s,
            u"\"quoted\\ /slash\""_s,
            u"\b\f\n\r\t\x01\x1f\x7f"_s,
            u"Привет \u202e مرحبا 你好 \U0001F468\U0001F3FD\u200d\U0001F680"_s,
            QString(QChar(0xd83d)),
            u"a"_s + QChar(0xde00) + u"b"_s,
            QString(u"nul"_s + QChar(0) + u"l"_s),
            QString(700, QChar(0x4e00)),
            u"\U0001F600"_s.repeated(300),
            u"\uffff\ufffe\ue000"_s,
        };
        const QVariant plain[] = {{},
                                  pick(2) == 1,
                                  pick(1000) - 500,
                                  double(pick(1000)) - 500,
                                  QStringList{u"one"_s, u"two"_s},
                                  qlonglong(random()) << 31 ^ qlonglong(random()),
                                  QByteArray::number(qulonglong(random())),
                                  std::ldexp(double(random()) - 2e9, pick(200) - 100),
                                  qulonglong(std::numeric_limits<qulonglong>::max() - random()),
                                  texts.at(pick(int(texts.size())))};
        const int kind = pick(depth > 0 ? 13 : 10);
        if (kind < 10)
            return plain[kind];
        QVariantList list;
        QVariantMap map;
        for (int i = pick(5); i > 0; --i) {
            list.append(randomValue(random, depth - 1));
            map.insert(texts.at(pick(int(texts.size()))), list.last());
        }
        return kind == 10 ? QVariant(list) : QVariant(map);
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
    void readsWhatQtReads_data()
    {
        QTest::addColumn<QByteArray>("json");
        // clang-format off
        const std::pair<const char *, QByteArray> rows[] = {
            {"message", "{\"type\":\"text\",\"content\":\"привет\",\"dbEntity\":\"[{\\\"from\\\":0}]\"," "\"effect\":2}"},
            {"unsorted keys", "{\"z\":1,\"a\":2,\"m\":3,\"\":4}"},
            {"numbers", "[0,-0,-0.0,1.0,1e3,1.5,-1e-7,9007199254740993,0.1,1E+2,123456789012345678]"},
            {"64 bits", "[-9223372036854775808,9223372036854775807]"},
            {"past 64 bits", "[9223372036854775808,18446744073709551615,18446744073709551616," "-9223372036854775809,1e30,9223372036854775807.0,-9223372036854775808.0,1e18]"},
            {"too large a number", "[1,1e400]"},
            {"constants", "[true,false,null]"},
            {"escapes", "[\"\\u0000\",\"\\\"\\\\\\/\\b\\f\\n\\r\\t\",\"\\u00e9\\ud83d\\ude00\"]"},
            {"half surrogates", "[\"\\ud83d\",\"\\ude00\",\"a\\ud83db\",{\"\\ud83d\":1}]"},
            {"byte order mark", "\xef\xbb\xbf{\"a\":1}"},
            {"trailing rubbish", "{\"a\":1}x"},
            {"trailing comma", "[1,]"},
            {"invalid UTF-8", "[\"\xc3\x28\"]"},
            {"encoded surrogate", "[\"\xed\xa0\x80\"]"},
            {"control character in text", "[\"a\nb\"]"},
            {"NUL byte", QByteArray("[\"a\0b\"]", 7)},
            {"NUL after the end", QByteArray("[1]\0", 4)},
            {"leading zero", "[01]"},
            {"NaN", "[NaN]"},
            {"text on top", "\"text\""},
            {"spaces only", "  "},
            {"1024 levels", QByteArray(1024, '[') + QByteArray(1024, ']')},
            {"1025 levels", QByteArray(1025, '[') + QByteArray(1025, ']')},
            {"larger than the kept parser", "[\"" + QByteArray(200'000, 'x') + "\",1]"},
        };
        // clang-format on
        for (const auto &[name, json] : rows)
            QTest::newRow(name) << json;
    }

    void readsWhatQtReads()
    {
        QFETCH(QByteArray, json);
        const QJsonDocument document = QJsonDocument::fromJson(json);
        if (!document.isObject())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Unreadable JSON of "_s));
        const QVariantMap map = jsonToMap(json);
        if (!document.isArray())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Unreadable JSON of "_s));
        const QVariantList list = jsonToList(json);

        QCOMPARE(map, document.object().toVariantMap());
        QCOMPARE(dump(map), dump(document.object().toVariantMap()));
        QCOMPARE(list, document.array().toVariantList());
        QCOMPARE(dump(list), dump(document.array().toVariantList()));
    }

    /// The cases in which "the same as Qt" alone could hide that nothing is read at all.
    void nothingStoredIsLost()
    {
        QCOMPARE(jsonToList("[\"\\ud83d\"]"), QVariantList{QString(QChar(0xd83d))});
        QCOMPARE(jsonToMap("{\"a\":1,\"a\":2}"), (QVariantMap{{u"a"_s, 2}}));
        const QVariantList numbers = jsonToList("[1.0,9223372036854775807,9223372036854775808]");
        QCOMPARE(numbers.at(0).typeId(), int(QMetaType::LongLong));
        QCOMPARE(numbers.at(1), QVariant(std::numeric_limits<qlonglong>::max()));
        QCOMPARE(numbers.at(2).typeId(), int(QMetaType::Double));
        const QString mark(QChar(0xfeff));
        for (const QString &text : {mark, mark + mark, mark + QChar(0xd83d)}) {
            const QVariantMap map{{text, text}};
            QCOMPARE(jsonToMap(mapToJson(map)), map);
        }
        QCOMPARE(jsonToList("[\"\xEF\xBB\xBF\"]"), QVariantList{mark});
        QCOMPARE(jsonToList("[1e-4000,\"a\"]"), (QVariantList{0, u"a"_s}));
        QCOMPARE(dump(jsonToList(listToJson(nest(1024)))), dump(nest(1024)));
    }

    void randomMaps()
    {
        std::mt19937 random(20240229);
        for (int i = 0; i < 1000; ++i) {
            QVariantMap map;
            for (int entries = int(random() % 8); entries > 0; --entries)
                map.insert(QString::number(random() % 20), randomValue(random, 4));
            const QByteArray json = mapToJson(map);
            QCOMPARE(json, QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact));
            const QVariantMap back = jsonToMap(json);
            const QVariantMap expected = QJsonDocument::fromJson(json).object().toVariantMap();
            QCOMPARE(back, expected);
            QCOMPARE(dump(back), dump(expected));
        }
    }

    /// Whatever happens to bytes on their way, the answer is Qt's.
    void damagedBytes()
    {
        QLoggingCategory::setFilterRules(u"im.base=false"_s);
        std::mt19937 random(7);
        const QByteArray good =
            "{\"a\":[1,-2.5e3,\"\\u0041\\ud83d\\ude00é\"],\"b\":{\"\":null,\"c\":true}}";
        for (int i = 0; i < 5000; ++i) {
            QByteArray bad = good;
            for (unsigned changes = random() % 3 + 1; changes > 0; --changes)
                bad[qsizetype(random() % unsigned(bad.size()))] = char(random());
            bad.truncate(qsizetype(random() % unsigned(4 * bad.size())));
            const QVariantMap expected = QJsonDocument::fromJson(bad).object().toVariantMap();
            QCOMPARE(dump(jsonToMap(bad)), dump(expected));
        }
        QLoggingCategory::setFilterRules({});
    }

    void typesWithoutJsonForm()
    {
        const QVariantMap map{
            {u"bytes"_s, QByteArray("raw \xff\0", 6)},
            {u"nan"_s, std::numeric_limits<double>::quiet_NaN()},
            {u"infinite"_s, -std::numeric_limits<double>::infinity()},
            {u"float"_s, 0.1F},
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
        QLoggingCategory::setFilterRules(u"im.base=false"_s);
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
        QLoggingCategory::setFilterRules({});
    }

    void logLinesHoldNoContent()
    {
        static QStringList lines;
        lines.clear();
        const auto previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &line) { lines += line; });
        jsonToMap("{\"secret\":\"secret\",}");
        jsonToMap("[\"secret\"]");
        jsonToList("secret");
        jsonToMap({});
        listToJson(nest(2000));
        qInstallMessageHandler(previous);
        QCOMPARE(lines.size(), 4);
        QVERIFY(!lines.join(u'\n').contains("secret"_L1));
    }
};

QTEST_APPLESS_MAIN(TestJson)
#include "tst_json.moc"
