#include "content/modelbaseutil.h"

#include "base/util.h"
#include "protocol/message_content.pb.h"
#include "support/facts.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class TestModelBaseUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// What stands in stores and in paths: a changed word makes old messages unreadable.
    void vocabularies()
    {
        QStringList lines;
        for (int code = -10; code < 3000; ++code) {
            const QString name = ModelBaseUtil::messageTypeIntToStr(code);
            const QString source = ModelBaseUtil::getModelSourceTypeString(code);
            const QString file = ModelBaseUtil::getFileTypeString(code);
            if (!name.isEmpty()) {
                lines += u"type %1 %2, files are %3"_s.arg(code).arg(name).arg(
                    ModelBaseUtil::getMsgTypeToFileType(code));
                lines.last() += ModelBaseUtil::isFileType(code) ? u", has one"_s : QString();
                lines.last() += ModelBaseUtil::isNeedUploadType(code) ? u", uploaded"_s : QString();
                lines.last() +=
                    ModelBaseUtil::typingTypes().contains(code) ? u", typed"_s : QString();
                QCOMPARE(ModelBaseUtil::messageTypeStrToInt(name), code == 15 ? 0 : code);
            }
            if (!source.isEmpty())
                lines += u"source %1 %2"_s.arg(code).arg(source);
            if (!file.isEmpty())
                lines += u"file %1 %2"_s.arg(code).arg(file);
        }
        for (const auto &[source, file] : {std::pair{4, 2}, {1, 5}, {3, 99}})
            lines += ModelBaseUtil::makeMediaPath(u"/7/"_s, source, file)
                         .replace(Util::separator(), u"/"_s);
        lines.sort();
        QCOMPARE(lines.join(u'\n'), facts(u"vocabularies.txt"_s).join(u'\n'));

        for (const QString &none : {u"Text"_s, QString()})
            QCOMPARE(ModelBaseUtil::messageTypeStrToInt(none), 0);
        // Every kind of body that the protocol has is a type with a name.
        const auto *body = im::content::Content::descriptor()->oneof_decl(0);
        for (int i = 0; i < body->field_count(); ++i)
            QVERIFY(!ModelBaseUtil::messageTypeIntToStr(body->field(i)->number()).isEmpty());
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
