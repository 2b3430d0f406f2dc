#include "content/modelbaseutil.h"

#include "base/util.h"
#include "protocol/message_content.pb.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestModelBaseUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void typeNames()
    {
        // Names are written into stores: a changed one makes old messages unreadable.
        QString names;
        for (int code = -10; code < 3000; ++code) {
            const QString name = ModelBaseUtil::messageTypeIntToStr(code);
            if (name.isEmpty())
                continue;
            names += u"%1 %2 "_s.arg(code).arg(name);
            QCOMPARE(ModelBaseUtil::messageTypeStrToInt(name), code == 15 ? 0 : code);
        }
        QCOMPARE(
            names,
            u"1 text 2 image 3 audio 4 music 5 video 6 file 7 sticker 8 card 9 location "
            "10 system 11 call 12 meeting 13 poll 14 lottery 15 combined 500 folder 501 mediagroup "
            "502 filegroup 2008 invalidlottery 2009 invalidpoll "_s);
        for (const QString &none : {u"Text"_s, QString()})
            QCOMPARE(ModelBaseUtil::messageTypeStrToInt(none), 0);

        // Every kind of body that the protocol has is a type with a name.
        const auto *body = im::content::Content::descriptor()->oneof_decl(0);
        QCOMPARE(body->field_count(), 14);
        for (int i = 0; i < body->field_count(); ++i)
            QVERIFY(!ModelBaseUtil::messageTypeIntToStr(body->field(i)->number()).isEmpty());
    }

    void mediaPaths()
    {
        for (const auto &[source, fileType, path] : {std::tuple{4, 2, u"/7/clouddrive/image/"_s},
                                                     {1, 5, u"/7/file/"_s},
                                                     {128, 4, u"/7/quickreply/video/"_s},
                                                     {256, 13, u"/7/schedule/messagefile/"_s},
                                                     {3, 99, u"/7/"_s}})
            QCOMPARE(ModelBaseUtil::makeMediaPath(u"/7/"_s, source, fileType)
                         .replace(Util::separator(), u"/"_s),
                     path);
        QCOMPARE(ModelBaseUtil::getFileTypeString(1), ModelBaseUtil::getFileTypeString(11));

        // Each kind of message that is uploaded has a folder for its files.
        QCOMPARE(ModelBaseUtil::uploadTypes(), (QSet<int>{2, 3, 4, 5, 6, 500}));
        QCOMPARE(ModelBaseUtil::typingTypes(), ModelBaseUtil::uploadTypes() + QSet<int>{1});
        for (int type : ModelBaseUtil::uploadTypes()) {
            const int fileType = ModelBaseUtil::getMsgTypeToFileType(type);
            QVERIFY(ModelBaseUtil::isFileType(type)
                    && !ModelBaseUtil::getFileTypeString(fileType).isEmpty());
        }
        QVERIFY(!ModelBaseUtil::isFileType(1));
        QVERIFY(ModelBaseUtil::isFileType(7) && !ModelBaseUtil::isNeedUploadType(7));
        QCOMPARE(ModelBaseUtil::getMsgTypeToFileType(1), 5);
    }

    void recognisers()
    {
        const QString text =
            u"https://a.example/x ada@a.example @ada_l +49 30 1234567 #tag /start 1:23"_s;
        QString found;
        for (int type = -1; type < 25; ++type) {
            if (const QRegularExpression *expression = ModelBaseUtil::getRegular(type))
                found += u"%1: %2; "_s.arg(type).arg(expression->match(text).captured());
        }
        QCOMPARE(found,
                 u"1: https://a.example/x; 2: ada@a.example; 4: @ada_l; 5: +49 30 1234567; "
                 "6: #tag; 13: /start; 14: 1:23; "_s);
    }

    void weekDays()
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
};

QTEST_APPLESS_MAIN(TestModelBaseUtil)
#include "tst_modelbaseutil.moc"
