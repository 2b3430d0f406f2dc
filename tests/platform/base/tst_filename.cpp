#include "base/basefile.h"
#include "base/util.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFileName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void safeNames_data()
    {
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("safe");
        const auto row = [](const QString &sent, const QString &safe) {
            QTest::addRow("%s", sent.left(20).toUtf8().toPercentEncoding().constData())
                << sent << safe;
        };
        // What people call their files stays.
        for (const QString &name :
             {u"report.pdf"_s, u".profile"_s, u"Grüße – 写真 (1) ภาพ.tar.gz"_s,
              u"👨‍👩‍👧‍👦 🏴󠁧󠁢󠁥󠁮󠁧󠁿.jpg"_s,
              u"می‌خواهم.txt"_s, u"console.log"_s, u"COM10"_s,
              u"~a $(b) 'c' %2e%2e;&.x"_s})
            row(name, name);
        row(u""_s, u"_"_s);
        row(u"."_s, u"_"_s);
        row(u".."_s, u"_"_s);
        row(u" . . "_s, u"_"_s);
        row(u"../../etc/passwd"_s, u".._.._etc_passwd"_s);
        row(u"..\\a\\b"_s, u".._a_b"_s);
        row(u"C:\\x.txt"_s, u"C__x.txt"_s);
        row(u"file.txt:stream"_s, u"file.txt_stream"_s);
        row(u"a<b>c\"d|e?f*g"_s, u"a_b_c_d_e_f_g"_s);
        row(u"a\0b\n\r\tc\x7f\u0085\u2028"_s, u"a_b___c___"_s);
        row(u"  x.exe. . "_s, u"x.exe"_s);
        row(u"x.exe\u00a0\u3000."_s, u"x.exe"_s);
        row(u"photo\u202egpj.exe"_s, u"photogpj.exe"_s);
        row(u".\u200e."_s, u"_"_s);
        row(u"\u2066\u2069"_s, u"_"_s);
        row(u"\ufeffa.txt\u200f"_s, u"a.txt"_s);
        row(u"con"_s, u"_con"_s);
        row(u"NUL.tar.gz"_s, u"_NUL.tar.gz"_s);
        row(u"Aux .txt"_s, u"_Aux .txt"_s);
        row(u"COM1"_s, u"_COM1"_s);
        row(u"lpt\u00b3.x"_s, u"_lpt\u00b3.x"_s);
        row(u"c\u202eon"_s, u"_con"_s);
        row(QString(QChar(0xd83d)) + u".x"_s + QChar(0xdc00), u"_.x_"_s);
        // Too long ones keep their extension and their last character whole.
        row(QString(300, u'a') + u".pdf"_s, QString(251, u'a') + u".pdf"_s);
        row(QString(100, QChar(0x4e2d)) + u".pdf"_s, QString(83, QChar(0x4e2d)) + u".pdf"_s);
        row(QString(254, u'a') + u"e\u0301"_s, QString(254, u'a'));
        row(u"ab👨‍👩‍👧‍👦"_s.repeated(30),
            u"ab👨‍👩‍👧‍👦"_s.repeated(9) + u"ab"_s);
        row(u'a' + QString(300, QChar(0x301)), u'a' + QString(127, QChar(0x301)));
        row(u"con"_s + QString(300, u' ') + u"x"_s, u"_con"_s);
        row(u"con"_s + QString(300, u' ') + u"x.txt"_s, u"_con.txt"_s);
        row(QString(300, u'.') + u"x"_s, u".x"_s);
        row(u"con."_s + QString(251, u'a'), u"_con"_s + u'.' + QString(250, u'a'));
        row(u"a. "_s + QString(300, u'b'), u"a. "_s + QString(252, u'b'));
    }
    void safeNames()
    {
        QFETCH(QString, sent);
        QFETCH(QString, safe);
        QCOMPARE(Util::safeFileName(sent), safe);
        QCOMPARE(Util::safeFileName(safe), safe);
    }

    /// Whatever is thrown at it, a file can be made in the folder, and nowhere else.
    void anyNameMakesAFile()
    {
        static const QString pieces[] = {
            u"."_s,
            u".."_s,
            u" "_s,
            u"/"_s,
            u"con"_s,
            u"NUL"_s,
            u"\u202e"_s,
            u"\0"_s,
            u"é"_s,
            u"中"_s,
            u"👩‍👩‍👧"_s,
            u"e\u0301"_s,
            u".pdf"_s,
            u"\\"_s,
            QString(QChar(0xd800)),
            QString(QChar(0xd83d)),
            u"~"_s,
            u"a"_s.repeated(90),
            u"\u200d"_s,
        };
        QTemporaryDir dir;
        QRandomGenerator random(4711);
        for (int i = 0; i < 3000; ++i) {
            QString sent;
            for (int count = random.bounded(12); count > 0; --count)
                sent += pieces[random.bounded(int(std::size(pieces)))];
            const QString safe = Util::safeFileName(sent);
            QCOMPARE(Util::safeFileName(safe), safe);
            QVERIFY(safe.isValidUtf16());
            QFile file(dir.filePath(safe));
            QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(safe));
            QCOMPARE(QDir(dir.path())
                         .entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                    | QDir::NoDotAndDotDot),
                     QStringList(safe));
            QVERIFY(file.remove());
        }
    }

    void extensions()
    {
        const auto of = [](const QString &name) { return BaseFile::extensionOf(name); };
        QCOMPARE(of(u"a.b.PDF"_s), u"PDF"_s);
        QCOMPARE(of(u"x.7z"_s), u"7z"_s);
        QCOMPARE(of(u"x.c++"_s), u"c++"_s);
        QCOMPARE(of(u"x.документ"_s), u"документ"_s);
        for (const QString &name :
             {u""_s, u"."_s, u"a"_s, u"a."_s, u".profile"_s, u"Dear Dr. Who"_s, u"a./b"_s,
              u"a.p\u202edf"_s, u"a."_s + QString(33, u'x')})
            QCOMPARE(of(name), QString());
    }
};

QTEST_GUILESS_MAIN(TestFileName)
#include "tst_filename.moc"
