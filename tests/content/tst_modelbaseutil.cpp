#include "content/modelbaseutil.h"

#include "base/util.h"
#include "protocol/message_content.pb.h"

#include <QRegularExpression>
#include <QTest>

class TestModelBaseUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void typeNames();
    void mediaPaths();
    void recognisers();
    void weekDays();
};

void TestModelBaseUtil::typeNames()
{
    // Names are written into stores: a changed one makes old messages unreadable.
    const QMap<int, QString> names{
        {1, QStringLiteral("text")},
        {2, QStringLiteral("image")},
        {3, QStringLiteral("audio")},
        {4, QStringLiteral("music")},
        {5, QStringLiteral("video")},
        {6, QStringLiteral("file")},
        {7, QStringLiteral("sticker")},
        {8, QStringLiteral("card")},
        {9, QStringLiteral("location")},
        {10, QStringLiteral("system")},
        {11, QStringLiteral("call")},
        {12, QStringLiteral("meeting")},
        {13, QStringLiteral("poll")},
        {14, QStringLiteral("lottery")},
        {15, QStringLiteral("combined")},
        {500, QStringLiteral("folder")},
        {501, QStringLiteral("mediagroup")},
        {502, QStringLiteral("filegroup")},
        {2008, QStringLiteral("invalidlottery")},
        {2009, QStringLiteral("invalidpoll")},
    };
    for (int code = -10; code < 3000; ++code) {
        const QString name = ModelBaseUtil::messageTypeIntToStr(code);
        QCOMPARE(name, names.value(code));
        if (!name.isEmpty())
            QCOMPARE(ModelBaseUtil::messageTypeStrToInt(name), code == 15 ? 0 : code);
    }
    QCOMPARE(ModelBaseUtil::messageTypeStrToInt(QStringLiteral("Text")), 0);
    QCOMPARE(ModelBaseUtil::messageTypeStrToInt(QString()), 0);

    // Every kind of body that the protocol has is a type with a name.
    const auto *body = im::content::Content::descriptor()->oneof_decl(0);
    QCOMPARE(body->field_count(), 14);
    for (int i = 0; i < body->field_count(); ++i)
        QVERIFY(!ModelBaseUtil::messageTypeIntToStr(body->field(i)->number()).isEmpty());
}

void TestModelBaseUtil::mediaPaths()
{
    const QString base = QStringLiteral("/data/7/");
    const auto path = [&](int source, int fileType) {
        return ModelBaseUtil::makeMediaPath(base, source, fileType)
            .replace(Util::separator(), QStringLiteral("/"));
    };
    QCOMPARE(path(4, 2), base + QStringLiteral("clouddrive/image/"));
    QCOMPARE(path(1, 5), base + QStringLiteral("file/"));
    QCOMPARE(path(256, 13), base + QStringLiteral("schedule/messagefile/"));
    QCOMPARE(path(3, 99), base);
    QCOMPARE(ModelBaseUtil::getFileTypeString(1), ModelBaseUtil::getFileTypeString(11));

    // Each kind of message that is uploaded has a folder for its files.
    for (int type : ModelBaseUtil::uploadTypes()) {
        QVERIFY(ModelBaseUtil::isFileType(type));
        QVERIFY(
            !ModelBaseUtil::getFileTypeString(ModelBaseUtil::getMsgTypeToFileType(type)).isEmpty());
    }
    QVERIFY(!ModelBaseUtil::isFileType(1));
    QVERIFY(ModelBaseUtil::isFileType(7) && !ModelBaseUtil::isNeedUploadType(7));
    QCOMPARE(ModelBaseUtil::getMsgTypeToFileType(1), 5);
}

void TestModelBaseUtil::recognisers()
{
    const QString text =
        QStringLiteral("https://a.example/x ada@a.example @ada_l +49 30 1234567 #tag /start 1:23");
    const QMap<int, QString> found{
        {1, QStringLiteral("https://a.example/x")},
        {2, QStringLiteral("ada@a.example")},
        {4, QStringLiteral("@ada_l")},
        {5, QStringLiteral("+49 30 1234567")},
        {6, QStringLiteral("#tag")},
        {13, QStringLiteral("/start")},
        {14, QStringLiteral("1:23")},
    };
    for (int type = -1; type < 25; ++type) {
        const QRegularExpression *expression = ModelBaseUtil::getRegular(type);
        QCOMPARE(expression != nullptr, found.contains(type));
        if (expression)
            QCOMPARE(expression->match(text).captured(0), found.value(type));
    }
}

void TestModelBaseUtil::weekDays()
{
    int all = 0;
    for (int day = 1; day <= 7; ++day) {
        const int flag = ModelBaseUtil::dayOfWeekToFlag(day);
        QCOMPARE(ModelBaseUtil::flagToDayOfWeek(flag), day);
        all |= flag;
    }
    QCOMPARE(all, 127);
    for (int day : {0, 8, -1, 33})
        QCOMPARE(ModelBaseUtil::dayOfWeekToFlag(day), 0);
    for (int flag : {0, 3, 128, -1})
        QCOMPARE(ModelBaseUtil::flagToDayOfWeek(flag), 0);
}

QTEST_APPLESS_MAIN(TestModelBaseUtil)
#include "tst_modelbaseutil.moc"
