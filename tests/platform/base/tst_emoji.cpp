#include "base/drawabletextutil.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTest>

#include <limits>

namespace
{

constexpr int noLimit = std::numeric_limits<int>::max();

int count(const QString &text)
{
    return DrawableTextUtil::emojiCount(text, noLimit);
}

QString repeated(const char16_t *text, int times)
{
    return QString::fromUtf16(text).repeated(times);
}

} // namespace

class TestEmoji : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everySequenceOfUnicode();
    void concatenations();
    void samples_data();
    void samples();
    void limit();
    void hostile_data();
    void hostile();

private:
    struct Sequence {
        QString text;
        QByteArray status;
        QByteArray line;
    };
    QList<Sequence> m_sequences;
};

void TestEmoji::initTestCase()
{
    QFile file(QStringLiteral("/usr/share/unicode/emoji/emoji-test.txt"));
    QVERIFY2(file.open(QIODevice::ReadOnly),
             "Unicode's emoji-test.txt is missing: install the package unicode-data");
    // code points ; status # emoji name
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        const qsizetype semicolon = line.indexOf(';');
        const qsizetype hash = line.indexOf('#');
        if (hash == 0 || semicolon < 0)
            continue;
        Sequence sequence;
        for (const QByteArray &code : line.first(semicolon).simplified().split(' ')) {
            bool ok = false;
            const char32_t point = code.toUInt(&ok, 16);
            QVERIFY2(ok, line);
            sequence.text += QChar::fromUcs4(point);
        }
        sequence.status = line.sliced(semicolon + 1, hash - semicolon - 1).trimmed();
        sequence.line = line;
        m_sequences.append(sequence);
    }
}

void TestEmoji::everySequenceOfUnicode()
{
    QMap<QByteArray, int> counted;
    for (const Sequence &sequence : std::as_const(m_sequences)) {
        // A single character without the emoji selector is the text character.
        const bool isCharacter = sequence.text.toUcs4().size() == 1;
        const int expected = sequence.status == "unqualified" && isCharacter ? 0 : 1;
        QVERIFY2(count(sequence.text) == expected, sequence.line);
        ++counted[sequence.status];
    }
    for (auto status = counted.cbegin(); status != counted.cend(); ++status)
        qInfo("%s: %d", status.key().constData(), status.value());
    // Unicode 15.0; later versions only add.
    QVERIFY(counted.value("fully-qualified") >= 3655);
    QVERIFY(counted.value("minimally-qualified") >= 827);
    QVERIFY(counted.value("unqualified") >= 242);
    QVERIFY(counted.value("component") >= 9);
}

void TestEmoji::concatenations()
{
    QStringList qualified;
    for (const Sequence &sequence : std::as_const(m_sequences)) {
        // None of these begins with what would join it to the one before.
        if (sequence.status == "fully-qualified")
            qualified.append(sequence.text);
    }
    QCOMPARE(count(qualified.join(QString())), int(qualified.size()));

    QRandomGenerator random(20230131);
    for (int round = 0; round < 20000; ++round) {
        QString text;
        const int length = 1 + random.bounded(12);
        for (int i = 0; i < length; ++i)
            text += qualified.at(random.bounded(int(qualified.size())));
        QVERIFY2(count(text) == length, qPrintable(text));
        text.insert(random.bounded(2) == 0 ? 0 : text.size(), u' ');
        QCOMPARE(count(text), 0);
    }
}

void TestEmoji::samples_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");

    const auto row = [](const char *name, const char16_t *text, int expected) {
        QTest::newRow(name) << QString::fromUtf16(text) << expected;
    };
    row("empty", u"", 0);
    row("letter", u"a", 0);
    row("letter behind", u"😀a", 0);
    row("space between", u"😀 😀", 0);
    row("newline behind", u"😀\n", 0);
    row("Chinese", u"你好", 0);
    row("digit", u"1", 0);
    row("digit with selector", u"1\uFE0F", 0);
    row("heart of text", u"\u2764", 0);
    row("heart of colour", u"\u2764\uFE0F", 1);
    row("text selector", u"😀\uFE0E", 0);
    row("needless selector", u"😀\uFE0F😀", 2);
    row("keycap without selector", u"1\u20E3", 1);
    row("keycap of a letter", u"a\uFE0F\u20E3", 0);
    row("enclosed emoji", u"😀\u20E3", 0);
    row("skin tone", u"👍🏽", 1);
    row("skin tone alone", u"🏽", 1);
    row("skin tone on what has none", u"😀🏽", 2);
    row("two skin tones", u"👍🏽🏽", 2);
    row("family", u"👨\u200D👩\u200D👧\u200D👦", 1);
    row("two families", u"👨\u200D👩\u200D👧👨\u200D👩\u200D👧", 2);
    row("kiss with skin tones", u"👩🏻\u200D\u2764\uFE0F\u200D💋\u200D👩🏿", 1);
    row("no known family", u"😀\u200D😀\u200D😀", 3);
    row("known family joined on", u"👩\u200D💻\u200D😀", 2);
    row("known family joined behind", u"😀\u200D👩\u200D💻", 2);
    row("text character joined on", u"😀\u200D\u2764", 0);
    row("joiner behind", u"😀\u200D", 0);
    row("joiner behind a family", u"👩\u200D💻\u200D", 0);
    row("joiner in front", u"\u200D😀", 0);
    row("joined to a letter", u"😀\u200Da", 0);
    row("two joiners", u"👩\u200D\u200D💻", 0);
    row("flag", u"🇩🇪", 1);
    row("two flags", u"🇩🇪🇯🇵", 2);
    row("half a flag", u"🇩", 0);
    row("flag and a half", u"🇩🇪🇯", 0);
    row("unknown region", u"🇽🇽", 0);
    row("flag of England", u"🏴\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F", 1);
    row("flag of Texas", u"🏴\U000E0075\U000E0073\U000E0074\U000E0078\U000E007F", 1);
    row("unended tags", u"🏴\U000E0067\U000E0062", 0);
    row("end of tags alone", u"🏴\U000E007F", 0);
    const char16_t highAlone[] = {0xD83D, 0};
    const char16_t lowAlone[] = {0xDE00, 0};
    const char16_t swapped[] = {0xDE00, 0xD83D, 0};
    row("high surrogate", highAlone, 0);
    row("low surrogate", lowAlone, 0);
    row("swapped surrogates", swapped, 0);
    QTest::newRow("high surrogate behind") << QString::fromUtf16(u"😀") + QChar(0xD83D) << 0;
    QTest::newRow("null") << QString(QChar(u'\0')) << 0;
}

void TestEmoji::samples()
{
    QFETCH(const QString, text);
    QTEST(count(text), "expected");
}

void TestEmoji::limit()
{
    const QString five = repeated(u"👍🏽", 5);
    QCOMPARE(DrawableTextUtil::emojiCount(five, 5), 5);
    QCOMPARE(DrawableTextUtil::emojiCount(five, 4), 0);
    QCOMPARE(DrawableTextUtil::emojiCount(five, 0), 0);
    QCOMPARE(DrawableTextUtil::emojiCount(five, -1), 0);
    // A part of a larger text, whose next character must not be looked at.
    const QString joined = QString::fromUtf16(u"👩\u200D💻");
    QCOMPARE(DrawableTextUtil::emojiCount(QStringView(joined).first(2), 5), 1);
    QCOMPARE(DrawableTextUtil::emojiCount(QStringView(joined).first(4), 5), 0);
}

void TestEmoji::hostile_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<int>("perUnit");

    QTest::newRow("emoji") << repeated(u"😀", 1) << 1;
    QTest::newRow("flags") << repeated(u"🇩🇪", 1) << 1;
    QTest::newRow("regional indicators") << repeated(u"🇽", 2) << 0;
    QTest::newRow("families") << repeated(u"👨\u200D👩\u200D👧\u200D👦", 1) << 1;
    QTest::newRow("joined without end") << repeated(u"👩\u200D", 1) << 0;
    QTest::newRow("tags without end") << repeated(u"\U000E0067", 1) << 0;
    QTest::newRow("selectors") << repeated(u"\uFE0F", 1) << 0;
    QTest::newRow("surrogates") << QString(QChar(0xD83D)) << 0;
}

void TestEmoji::hostile()
{
    QFETCH(const QString, unit);
    QFETCH(const int, perUnit);
    // A megabyte: work that is more than linear would not end within the test's time.
    const int times = 512 * 1024 / int(unit.size());
    const QString text = QString::fromUtf16(u"🏴") + unit.repeated(times);
    QCOMPARE(count(text), perUnit > 0 ? 1 + perUnit * times : 0);

    // All but endless joined emoji that do end.
    QString chain = repeated(u"👩\u200D", 300000);
    chain.chop(1);
    QCOMPARE(count(chain), 300000);
}

QTEST_GUILESS_MAIN(TestEmoji)
#include "tst_emoji.moc"
