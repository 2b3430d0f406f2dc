#include "base/drawabletextutil.h"
#include "support/facts.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace
{

constexpr int noLimit = std::numeric_limits<int>::max();

int count(const QString &text)
{
    return DrawableTextUtil::emojiCount(text, noLimit);
}

} // namespace

class TestEmoji : public QObject
{
    Q_OBJECT

    QList<std::pair<QString, QByteArray>> m_sequences; // and the line that has them

private Q_SLOTS:
    void initTestCase()
    {
        QFile file(u"/usr/share/unicode/emoji/emoji-test.txt"_s);
        QVERIFY2(file.open(QIODevice::ReadOnly),
                 "Unicode's emoji-test.txt is missing: install the package unicode-data");
        // code points ; status # emoji name
        while (!file.atEnd()) {
            const QByteArray line = file.readLine().trimmed();
            const qsizetype semicolon = line.indexOf(';');
            const qsizetype hash = line.indexOf('#');
            if (hash == 0 || semicolon < 0)
                continue;
            QString sequence;
            for (const QByteArray &code : line.first(semicolon).simplified().split(' ')) {
                bool ok = false;
                sequence += QChar::fromUcs4(char32_t(code.toUInt(&ok, 16)));
                QVERIFY2(ok, line);
            }
            m_sequences.append({sequence, line});
        }
    }

    void everySequenceOfUnicode()
    {
        QMap<QByteArray, int> counted;
        for (const auto &[text, line] : std::as_const(m_sequences)) {
            const QByteArray status = line.split(';').at(1).split('#').at(0).trimmed();
            // A single character without the emoji selector is the text character.
            const bool isText = status == "unqualified" && text.toUcs4().size() == 1;
            QVERIFY2(count(text) == (isText ? 0 : 1), line);
            ++counted[status];
        }
        // Unicode 15.0; later versions only add.
        QVERIFY(counted.value("fully-qualified") >= 3655);
        QVERIFY(counted.value("minimally-qualified") >= 827);
        QVERIFY(counted.value("unqualified") >= 242);
        QVERIFY(counted.value("component") >= 9);
    }

    void concatenations()
    {
        QStringList qualified;
        for (const auto &[text, line] : std::as_const(m_sequences)) {
            // None of these begins with what would join it to the one before.
            if (line.contains("; fully-qualified"))
                qualified.append(text);
        }
        QCOMPARE(count(qualified.join(QString())), int(qualified.size()));

        QRandomGenerator random(20230131);
        for (int round = 0; round < 5000; ++round) {
            QString text;
            const int length = 1 + random.bounded(12);
            for (int i = 0; i < length; ++i)
                text += qualified.at(random.bounded(int(qualified.size())));
            QVERIFY2(count(text) == length, qPrintable(text));
            text.insert(random.bounded(2) == 0 ? 0 : text.size(), u' ');
            QCOMPARE(count(text), 0);
        }
    }

    void samples()
    {
        for (const QString &line : facts(u"emoji_samples.txt"_s)) {
            const QString text = line.section(u'\t', 1);
            QVERIFY2(count(text) == line.section(u'\t', 0, 0).toInt(), qPrintable(line));
        }
        QCOMPARE(count({}), 0);
    }

    void limit()
    {
        for (const int most : {4, 0, -1})
            QCOMPARE(DrawableTextUtil::emojiCount(u"👍🏽"_s.repeated(5), most), 0);
        // A part of a larger text, whose next character must not be looked at.
        const QString joined = u"👩\u200D💻"_s;
        QCOMPARE(DrawableTextUtil::emojiCount(QStringView(joined).first(2), 5), 1);
        QCOMPARE(DrawableTextUtil::emojiCount(QStringView(joined).first(4), 5), 0);
    }

    void hostile()
    {
        // A megabyte each: work that is more than linear would not end within the test's time.
        for (const auto &[unit, perUnit] : {std::pair{u"😀"_s, 1},
                                            {u"🇩🇪"_s, 1},
                                            {u"🇽🇽"_s, 0},
                                            {u"👨\u200D👩\u200D👧\u200D👦"_s, 1},
                                            {u"👩\u200D"_s, 0},
                                            {u"\U000E0067"_s, 0},
                                            {u"\uFE0F"_s, 0},
                                            {QString(QChar(0xD83D)), 0}}) {
            const int times = 512 * 1024 / int(unit.size());
            QCOMPARE(count(u"🏴"_s + unit.repeated(times)),
                     perUnit > 0 ? 1 + perUnit * times : 0);
        }
        // All but endless joined emoji that do end.
        QCOMPARE(count(u"👩\u200D"_s.repeated(300000).chopped(1)), 300000);
    }
};

QTEST_GUILESS_MAIN(TestEmoji)
#include "tst_emoji.moc"
