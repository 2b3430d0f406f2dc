#include "base/drawabletextbase.h"

#include <QElapsedTimer>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QTest>
#include <QTextLayout>

#include <cmath>
#include <limits>

using Measured = DrawableTextBase::Measured;

namespace
{

QFont testFont()
{
    QFont font;
    font.setPixelSize(16);
    return font;
}

/// One call, with what a plain message passes unless a case says otherwise.
struct Request {
    QString text;
    UserTextBlocks blocks = {};
    double maxWidth = 0;
    int maxRowCount = 0;
    int tolerance = 0;
    int rowLimit = 0;
    double lineSpacing = 0;
    bool wordWrap = true;
    bool plainText = true;
    QFont font = testFont();

    Measured measure() const
    {
        return DrawableTextBase::calculateSize(text, maxWidth, font, maxRowCount, lineSpacing,
                                               rowLimit, blocks, wordWrap, plainText, tolerance);
    }
};

/// The same text by hand: every paragraph in a layout of its own, all of it at once.
Measured reference(const QString &text, double maxWidth, const QFont &font = testFont())
{
    Measured all;
    for (const QString &paragraph : text.split(u'\n')) {
        QTextLayout layout(paragraph, font);
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLeadingIncluded(true);
            line.setLineWidth(maxWidth > 0 ? maxWidth : 1000000);
            all.size = {std::max(all.size.width(), line.naturalTextWidth()),
                        all.size.height() + line.height()};
            ++all.lineCount;
        }
        layout.endLayout();
    }
    return all;
}

QFont styled(bool bold, bool italic)
{
    QFont font = testFont();
    font.setBold(bold);
    font.setItalic(italic);
    return font;
}

double squareWidth()
{
    return QFontMetricsF(testFont()).height();
}

UserTextBlock block(qint32 from, qint32 len, qint32 type, bool collapsed = false)
{
    UserTextBlock made;
    made.from = from;
    made.len = len;
    made.type = type;
    if (collapsed)
        made.data = QVariantMap{{QStringLiteral("collapsed"), true}};
    return made;
}

QString numberedLines(int count)
{
    QStringList lines;
    for (int i = 0; i < count; ++i)
        lines.append(QString::number(i));
    return lines.join(u'\n');
}

void compare(const Measured &actual, const Measured &expected)
{
    QCOMPARE(actual.size, expected.size);
    QCOMPARE(actual.lineCount, expected.lineCount);
    QCOMPARE(actual.elided, expected.elided);
}

/// Widths are sums of advances in 1/64 pixels.
bool isAbout(double actual, double expected)
{
    return std::abs(actual - expected) < 0.1;
}

} // namespace

class TestTextLayout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void likePlainLayout_data();
    void likePlainLayout();
    void oneLine();
    void longTextsInPieces_data();
    void longTextsInPieces();
    void newlines_data();
    void newlines();
    void styles();
    void entityOffsetsMove();
    void customEmoji();
    void customEmojiBreaksLines();
    void standingAlone();
    void collapsed_data();
    void collapsed();
    void rows_data();
    void rows();
    void lineSpacing();
    void wordWrap();
    void emojiOnly();
    void blocksOutside();
    void hostileTexts_data();
    void hostileTexts();
    void hostileBlocks_data();
    void hostileBlocks();
    void laterTextIsNotLaidOut();
};

void TestTextLayout::likePlainLayout_data()
{
    QTest::addColumn<QString>("text");

    const auto row = [](const char *name, const char16_t *text) {
        QTest::newRow(name) << QString::fromUtf16(text);
    };
    row("empty lines", u"\n\na\n");
    row("Latin", u"The quick brown fox – “jumps” over the lazy dog, office AVAVA.\nAgain!");
    row("long word", u"See https://example.org/a/very/long/path/without/any/end/to/wrap/at now");
    row("Arabic", u"مرحبا، هل يمكنك أن ترسل لي العنوان مرة أخرى؟ room 42 من فضلك");
    row("Hebrew", u"שלום, האם תוכל לשלוח לי שוב את הכתובת (see above)?");
    row("Hindi", u"क्या आप कल मेरे साथ बाज़ार चल सकते हैं? मुझे कुछ सामान खरीदना है।");
    row("Thai", u"พรุ่งนี้เราจะไปกินข้าวที่ร้านใหม่ใกล้สถานีรถไฟกันไหม");
    row("Chinese", u"今天晚上一起吃饭吧?我知道车站旁边新开了一家很不错的面馆,听说不用排队。");
    row("Japanese", u"明日の会議は午後3時からです。「資料」は先に共有フォルダに入れておきます。");
    row("Korean", u"오늘 저녁에 시간 있어요? 영화 보러 가고 싶은데 같이 가실래요?");
    row("emoji",
        u"👍🏽👩\u200D💻🇩🇪1\uFE0F\u20E3 🏴\U000E0067\U000E0062\U000E0065\U000E006E"
        u"\U000E0067\U000E007F❤\uFE0F😀😀😀😀😀");
    row("tabs", u"name\tvalue\n\tindented\t");
    row("spaces", u"  two   and      many          \n     ");
    row("mixed", u"Meeting 会议 اجتماع पर 😀 at 10:30\nsee 資料");
}

void TestTextLayout::likePlainLayout()
{
    QFETCH(const QString, text);
    for (const double width : {0.0, -7.0, 1.0, 33.5, 100.0, 250.0, 1e6, 1e300}) {
        const double shown = std::min(width, 1e6);
        compare(Request{.text = text, .maxWidth = width}.measure(), reference(text, shown));
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    compare(Request{.text = text, .maxWidth = nan}.measure(), reference(text, 0));
}

void TestTextLayout::oneLine()
{
    const QString text = QStringLiteral("Hello world");
    const QFontMetricsF metrics(testFont());
    const Measured measured = Request{.text = text, .maxWidth = 1000}.measure();
    QVERIFY(isAbout(measured.size.width(), metrics.horizontalAdvance(text)));
    QCOMPARE(measured.size.height(),
             std::ceil(metrics.height() + std::max(0.0, metrics.leading())));
    QCOMPARE(measured.lineCount, 1);
    compare(Request{}.measure(), Measured{});
}

void TestTextLayout::longTextsInPieces_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("words") << QStringLiteral("All work and no play, office. ").repeated(1000);
    QTest::newRow("no space") << QStringLiteral("iW").repeated(4500);
    QTest::newRow("lines") << QStringLiteral("line\n\nof a longer list\n").repeated(500);
    QTest::newRow("spaces") << QStringLiteral("a") + QString(9000, u' ') + QStringLiteral("b");
    QTest::newRow("Chinese") << QString::fromUtf16(u"今天晚上一起吃饭吧?我知道。").repeated(700);
    QTest::newRow("Arabic") << QString::fromUtf16(u"مرحبا، هل يمكنك (42) أن ").repeated(400);
}

void TestTextLayout::longTextsInPieces()
{
    // Texts far longer than what is laid out in one go measure as if it were one, but for the
    // kerning of two letters between which QTextLayout itself begins a new run.
    QFETCH(const QString, text);
    for (const double width : {0.0, 60.0, 320.0, 30000.0}) {
        const Measured measured = Request{.text = text, .maxWidth = width}.measure();
        const Measured expected = reference(text, width);
        QCOMPARE(measured.lineCount, expected.lineCount);
        QCOMPARE(measured.size.height(), expected.size.height());
        QVERIFY(std::abs(measured.size.width() - expected.size.width()) < 1);
    }
}

void TestTextLayout::newlines_data()
{
    QTest::addColumn<QString>("newline");
    QTest::newRow("LF") << QStringLiteral("\n");
    QTest::newRow("CR LF") << QStringLiteral("\r\n");
    QTest::newRow("CR") << QStringLiteral("\r");
    QTest::newRow("line separator") << QString(QChar(QChar::LineSeparator));
    QTest::newRow("paragraph separator") << QString(QChar(QChar::ParagraphSeparator));
}

void TestTextLayout::newlines()
{
    QFETCH(const QString, newline);
    for (const char *lines : {"a\nbb", "a\n", "\na", "\n", "\n\n", "a\n\nb\n\n", "wide one \nb "}) {
        const QString expected = QString::fromLatin1(lines);
        const QString text = QString(expected).replace(u'\n', newline);
        const Measured measured = Request{.text = text, .maxWidth = 500}.measure();
        compare(measured, reference(expected, 500));
        QCOMPARE(measured.lineCount, int(expected.count(u'\n')) + 1);
    }
}

void TestTextLayout::styles()
{
    const QString text = QStringLiteral("Illustrious Wombats");
    const auto length = qint32(text.size());
    const auto with = [&](std::initializer_list<qint32> types) {
        Request request{.text = text};
        for (const qint32 type : types)
            request.blocks.append(block(0, length, type));
        return request.measure();
    };
    using namespace TextEntityType;
    const Measured plain = with({});
    const Measured bold = with({Bold});
    compare(bold, reference(text, 0, styled(true, false)));
    compare(with({Italic}), reference(text, 0, styled(false, true)));
    compare(with({Italic, Bold, Bold}), reference(text, 0, styled(true, true)));
    QVERIFY(bold.size.width() > plain.size.width());
    for (const qint32 type :
         {Unknown, Url, Email, MentionName, MentionImId, PhoneNumber, HashTag, Strikethrough,
          Hyperlink, Underline, BotCommand, VideoPosition, Spoiler, Quoted, Value(1000), Value(-1)})
        compare(with({type}), plain);

    const auto monospaced = [](const char *letters, qint32 type) {
        return Request{.text = QString::fromLatin1(letters), .blocks = {block(0, 6, type)}}
            .measure();
    };
    QCOMPARE(monospaced("iiiiii", Monospace).size, monospaced("WWWWWW", Monospace).size);
    compare(monospaced("iiiiii", Monospace), monospaced("iiiiii", CodeBlock));

    // Where two of a kind overlap, the text is not bolder, and both end where they end.
    Measured expected = bold;
    expected.size.rheight() += plain.size.height();
    expected.lineCount = 2;
    compare(Request{.text = text + u'\n' + text,
                    .blocks = {block(0, 12, Bold), block(4, length - 4, Bold)}}
                .measure(),
            expected);
}

void TestTextLayout::entityOffsetsMove()
{
    // What stands before a bold word takes another length in the layout than in the text.
    const QString word = QStringLiteral("WWWW mmmm");
    const Measured bold = reference(word, 0, styled(true, false));
    for (const QString &before : {QStringLiteral("\r\n\r\n"), QStringLiteral("0123456789\r\n"),
                                  QStringLiteral("q\n"), QStringLiteral("q")}) {
        const auto start = qint32(before.size());
        Request request{.text = before + word};
        request.blocks = {block(start, qint32(word.size()), TextEntityType::Bold)};
        if (before.startsWith(u'0'))
            request.blocks.append(block(0, 10, TextEntityType::CustomEmoji));
        if (before.startsWith(u'q'))
            request.blocks.append(block(0, 1, TextEntityType::Quoted));
        QCOMPARE(request.measure().size.width(), bold.size.width());
    }
}

void TestTextLayout::customEmoji()
{
    const double height = Request{.text = QStringLiteral("x")}.measure().size.height();
    const auto withPictures = [](const QString &text, std::initializer_list<UserTextBlock> blocks) {
        return Request{.text = text, .blocks = blocks}.measure();
    };
    const auto picture = [](qint32 from, qint32 len) {
        return block(from, len, TextEntityType::CustomEmoji);
    };
    const QList<QString> placeholders{QStringLiteral("i"), QString(20, u'W'), QStringLiteral("\n"),
                                      QString::fromUtf16(u"👨\u200D👩\u200D👧"),
                                      QString(QChar(QChar::ObjectReplacementCharacter))};
    for (const QString &placeholder : placeholders) {
        const auto length = qint32(placeholder.size());
        const Measured alone = withPictures(placeholder, {picture(0, length)});
        QVERIFY(isAbout(alone.size.width(), squareWidth()));
        QCOMPARE(alone.size.height(), height);

        const QString between = QStringLiteral("ab") + placeholder + QStringLiteral("cd");
        const Measured inside = withPictures(between, {picture(2, length)});
        const QFontMetricsF metrics(testFont());
        QVERIFY(isAbout(inside.size.width(),
                        metrics.horizontalAdvance(QStringLiteral("ab"))
                            + metrics.horizontalAdvance(QStringLiteral("cd")) + squareWidth()));
        QCOMPARE(inside.size.height(), height);

        const Measured two =
            withPictures(placeholder.repeated(2), {picture(length, length), picture(0, length)});
        QVERIFY(isAbout(two.size.width(), 2 * squareWidth()));
        // A style on top of a picture changes nothing, nor does a second picture on it.
        compare(withPictures(placeholder,
                             {picture(0, length), picture(0, length),
                              block(0, length, TextEntityType::Bold)}),
                alone);
    }
    // In texts of other scripts it takes the place that a Latin letter would have taken.
    const double letter = QFontMetricsF(testFont()).horizontalAdvance(u'm');
    for (const char16_t *words : {u"שלום m שלום", u"سلام m سلام", u"你好 m 你好", u"क्या m कल"}) {
        const QString text = QString::fromUtf16(words);
        const auto at = qint32(text.indexOf(u'm'));
        const double without = Request{.text = text}.measure().size.width() - letter;
        QVERIFY(
            isAbout(withPictures(text, {picture(at, 1)}).size.width(), without + squareWidth()));
    }
}

void TestTextLayout::customEmojiBreaksLines()
{
    // Ten pictures, three and a half to a line; the same with one letter at each seam.
    Request pictures{.text = QString(10, u'*'), .maxWidth = 3.5 * squareWidth()};
    for (int i = 0; i < 10; ++i)
        pictures.blocks.append(block(i, 1, TextEntityType::CustomEmoji));
    const Measured measured = pictures.measure();
    QCOMPARE(measured.lineCount, 4);
    QVERIFY(isAbout(measured.size.width(), 3 * squareWidth()));

    const double word = Request{.text = QStringLiteral("word")}.measure().size.width();
    Request letters{.text = QStringLiteral("word*word"), .maxWidth = word + 1};
    letters.blocks = {block(4, 1, TextEntityType::CustomEmoji)};
    const Measured broken = letters.measure();
    QCOMPARE(broken.lineCount, 3);
    QVERIFY(isAbout(broken.size.width(), word));
}

void TestTextLayout::standingAlone()
{
    using namespace TextEntityType;
    const auto lines = [](const char *text, std::initializer_list<UserTextBlock> blocks) {
        return Request{.text = QString::fromLatin1(text), .blocks = blocks}.measure().lineCount;
    };
    QCOMPARE(lines("before code after", {block(7, 4, CodeBlock)}), 3);
    QCOMPARE(lines("quote after", {block(0, 5, Quoted)}), 2);
    QCOMPARE(lines("before quote", {block(7, 5, Quoted)}), 2);
    QCOMPARE(lines("one\ntwo\nthree", {block(4, 3, Quoted)}), 3);
    QCOMPARE(lines("one\ntwo\nthree", {block(4, 4, Quoted)}), 3);
    QCOMPARE(lines("one\r\ntwo\r\nthree", {block(5, 5, CodeBlock)}), 3);
    QCOMPARE(lines("onetwo", {block(0, 3, Quoted), block(3, 3, CodeBlock)}), 2);
    QCOMPARE(lines("outer inner outer", {block(0, 17, Quoted), block(6, 5, CodeBlock)}), 3);
    QCOMPARE(lines("bold", {block(1, 2, Bold)}), 1);
}

void TestTextLayout::collapsed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<UserTextBlocks>("blocks");
    QTest::addColumn<int>("lines");

    using namespace TextEntityType;
    const QString ten = numberedLines(10); // two code units a line
    const int shown = DrawableTextBase::collapsedRowCount;
    const QString around = QStringLiteral("top\n") + ten + QStringLiteral("\nend");
    QTest::newRow("open") << ten << UserTextBlocks{block(0, 19, Quoted)} << 10;
    QTest::newRow("quote") << ten << UserTextBlocks{block(0, 19, Quoted, true)} << shown;
    QTest::newRow("code") << ten << UserTextBlocks{block(0, 19, CodeBlock, true)} << shown;
    QTest::newRow("bold") << ten << UserTextBlocks{block(0, 19, Bold, true)} << 10;
    QTest::newRow("short") << ten << UserTextBlocks{block(0, 3, Quoted, true)} << 10;
    QTest::newRow("inside") << around << UserTextBlocks{block(4, 19, Quoted, true)} << shown + 2;
    QTest::newRow("with its newline")
        << around << UserTextBlocks{block(4, 20, Quoted, true)} << shown + 2;
    QTest::newRow("two") << ten
                         << UserTextBlocks{block(10, 9, Quoted, true),
                                           block(0, 10, CodeBlock, true)}
                         << 2 * shown;
    QTest::newRow("overlapping") << ten
                                 << UserTextBlocks{block(0, 12, Quoted, true),
                                                   block(6, 13, Quoted, true)}
                                 << 2 * shown;
    QTest::newRow("same twice") << ten
                                << UserTextBlocks{block(0, 19, Quoted, true),
                                                  block(0, 19, CodeBlock, true)}
                                << shown;
    const QString inLine = QStringLiteral("top") + ten + QStringLiteral("end");
    QTest::newRow("within a line")
        << inLine << UserTextBlocks{block(3, 19, Quoted, true)} << shown + 2;
    const QString large = numberedLines(5000);
    QTest::newRow("larger than a piece")
        << large + QStringLiteral("\nend")
        << UserTextBlocks{block(0, qint32(large.size()), Quoted, true)} << shown + 1;
    const QString few = QString(6000, u' ') + QStringLiteral("\nb\nc\nd\ne\nf");
    QTest::newRow("first row larger than a piece")
        << few << UserTextBlocks{block(0, qint32(few.size()), Quoted, true)} << shown;
}

void TestTextLayout::collapsed()
{
    QFETCH(const QString, text);
    QFETCH(const UserTextBlocks, blocks);
    const Measured measured = Request{.text = text, .blocks = blocks}.measure();
    QTEST(measured.lineCount, "lines");
    QVERIFY(!measured.elided);
}

void TestTextLayout::rows_data()
{
    QTest::addColumn<int>("textLines");
    QTest::addColumn<int>("maxRowCount");
    QTest::addColumn<int>("tolerance");
    QTest::addColumn<int>("rowLimit");
    QTest::addColumn<int>("lines");
    QTest::addColumn<bool>("elided");

    QTest::newRow("no limits") << 30 << 0 << 0 << 0 << 30 << false;
    QTest::newRow("negative limits") << 30 << -1 << -5 << -2 << 30 << false;
    QTest::newRow("as many as allowed") << 10 << 10 << 0 << 0 << 10 << false;
    QTest::newRow("one more") << 11 << 10 << 0 << 0 << 10 << true;
    QTest::newRow("tolerated") << 12 << 10 << 2 << 0 << 12 << false;
    QTest::newRow("beyond tolerance") << 13 << 10 << 2 << 0 << 10 << true;
    QTest::newRow("negative tolerance") << 10 << 10 << -3 << 0 << 10 << false;
    QTest::newRow("row limit") << 30 << 0 << 0 << 5 << 5 << false;
    QTest::newRow("row limit, fewer") << 3 << 0 << 0 << 5 << 3 << false;
    QTest::newRow("row limit below") << 30 << 10 << 2 << 5 << 5 << false;
    QTest::newRow("row limit within tolerance") << 30 << 10 << 2 << 12 << 12 << false;
    QTest::newRow("row limit above") << 30 << 10 << 2 << 20 << 10 << true;
    const int most = std::numeric_limits<int>::max();
    QTest::newRow("largest numbers") << 30 << most << most << most << 30 << false;
    QTest::newRow("largest tolerance") << 30 << 1 << most << 0 << 30 << false;
}

void TestTextLayout::rows()
{
    QFETCH(const int, textLines);
    QFETCH(const int, maxRowCount);
    QFETCH(const int, tolerance);
    QFETCH(const int, rowLimit);
    QFETCH(const int, lines);
    QFETCH(const bool, elided);

    // The last line that is shown is wider than those before, the ones behind are wider still.
    QStringList rows;
    for (int i = 0; i < textLines; ++i)
        rows.append(QString(i + 1, u'm'));
    Measured expected = reference(rows.first(lines).join(u'\n'), 0);
    expected.elided = elided;
    compare(Request{.text = rows.join(u'\n'),
                    .maxRowCount = maxRowCount,
                    .tolerance = tolerance,
                    .rowLimit = rowLimit}
                .measure(),
            expected);
}

void TestTextLayout::lineSpacing()
{
    const double one = Request{.text = numberedLines(1), .lineSpacing = 4}.measure().size.height();
    QCOMPARE(one, Request{.text = numberedLines(1)}.measure().size.height());
    const Measured spaced =
        Request{.text = numberedLines(9), .maxRowCount = 5, .lineSpacing = 4}.measure();
    QCOMPARE(spaced.size.height(), 5 * one + 4 * 4);
}

void TestTextLayout::wordWrap()
{
    const QString text = QStringLiteral("some words that are long\nand more");
    compare(Request{.text = text, .maxWidth = 40, .wordWrap = false}.measure(), reference(text, 0));
}

void TestTextLayout::emojiOnly()
{
    const QString text = QString::fromUtf16(u"😀❤\uFE0F");
    const UserTextBlocks blocks{block(0, 4, TextEntityType::Bold),
                                block(0, 2, TextEntityType::Quoted)};
    compare(Request{.text = text, .blocks = blocks, .plainText = false}.measure(),
            reference(text, 0));
    const Measured picture = Request{.text = text,
                                     .blocks = {block(0, 4, TextEntityType::CustomEmoji)},
                                     .plainText = false}
                                 .measure();
    QVERIFY(isAbout(picture.size.width(), squareWidth()));
}

void TestTextLayout::blocksOutside()
{
    const QString text = QStringLiteral("plain text");
    const Measured plain = Request{.text = text}.measure();
    constexpr qint32 most = std::numeric_limits<qint32>::max();
    constexpr qint32 least = std::numeric_limits<qint32>::min();
    using namespace TextEntityType;
    for (const qint32 type : {Bold, CodeBlock, Quoted, CustomEmoji}) {
        const UserTextBlocks outside{block(10, 5, type, true),    block(most, most, type, true),
                                     block(-5, 5, type, true),    block(3, 0, type, true),
                                     block(3, -2, type, true),    block(least, least, type, true),
                                     block(least, 1, type, true), block(5, least, type, true)};
        compare(Request{.text = text, .blocks = outside}.measure(), plain);
    }
    // What reaches past the text counts as far as the text goes.
    compare(Request{.text = text, .blocks = {block(-3, most, Bold)}}.measure(),
            reference(text, 0, styled(true, false)));
    compare(Request{.text = QString(), .blocks = {block(0, 3, CustomEmoji)}}.measure(), {});
}

void TestTextLayout::hostileTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("no space") << QString(100000, u'x');
    QTest::newRow("mixed")
        << QString::fromUtf16(u"Hello, 你好世界 مرحبا بالعالم नमस्ते สวัสดี 123 ").repeated(20000);
    QTest::newRow("newlines") << QString(200000, u'\n');
    QTest::newRow("CR LF") << QStringLiteral("\r\n").repeated(100000);
    QTest::newRow("spaces") << QString(200000, u' ');
    QTest::newRow("tabs") << QString(100000, u'\t');
    QTest::newRow("lone surrogates") << QString(50000, QChar(0xD83D));
    QTest::newRow("null characters") << QString(20000, QChar(u'\0'));
    QTest::newRow("objects") << QString(50000, QChar(QChar::ObjectReplacementCharacter));
    QTest::newRow("combining marks") << QString(u'a') + QString(8000, QChar(0x0301));
    QTest::newRow("joined without end") << QString::fromUtf16(u"👩\u200D").repeated(500);
    QTest::newRow("regional indicators") << QString::fromUtf16(u"🇽").repeated(1000);
    QTest::newRow("overrides") << QString(QChar(0x202E)).repeated(50000) + QString(9, u'x');
    QTest::newRow("isolates") << QString(QChar(0x2067)).repeated(50000) + QString(9, u'x');
}

void TestTextLayout::hostileTexts()
{
    QFETCH(const QString, text);
    for (const double width : {1.0, 200.0, 0.0}) {
        const Measured all = Request{.text = text, .maxWidth = width}.measure();
        QVERIFY(all.lineCount >= 1);
        QVERIFY(all.size.isValid());
        QVERIFY(all.size.height() > 0);
        const Measured few =
            Request{.text = text, .maxWidth = width, .maxRowCount = 3, .tolerance = 1}.measure();
        QCOMPARE(few.elided, all.lineCount > 4);
        QCOMPARE(few.lineCount, few.elided ? 3 : all.lineCount);
    }
}

void TestTextLayout::hostileBlocks_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("length");
    QTest::newRow("side by side") << 1 << 1;
    QTest::newRow("apart") << 3 << 1;
    QTest::newRow("all over each other") << 1 << 20000;
    QTest::newRow("overlapping") << 7 << 10;
    QTest::newRow("backwards") << -1 << 5;
}

void TestTextLayout::hostileBlocks()
{
    QFETCH(const int, step);
    QFETCH(const int, length);
    const QString text = QStringLiteral("lorem ipsum\r\ndolor sit ").repeated(1000);
    using namespace TextEntityType;
    const std::array<qint32, 6> types{Bold, CustomEmoji, Quoted, Italic, CodeBlock, Monospace};
    UserTextBlocks blocks;
    for (int i = 0; i < 20000; ++i) {
        const int from = step > 0 ? i * step : 20000 + i * step;
        blocks.append(block(from, length, types[size_t(i) % types.size()], i % 4 == 0));
    }
    const Measured measured = Request{.text = text, .blocks = blocks, .maxWidth = 200}.measure();
    QVERIFY(measured.lineCount >= 1);
    QVERIFY(measured.size.width() > 0 && measured.size.width() <= 200);
}

void TestTextLayout::laterTextIsNotLaidOut()
{
    const auto time = [](const Request &request) {
        qint64 best = std::numeric_limits<qint64>::max();
        for (int round = 0; round < 3; ++round) {
            QElapsedTimer timer;
            timer.start();
            request.measure();
            best = std::min(best, timer.nsecsElapsed());
        }
        return best;
    };
    for (const char *separator : {"\n", " "}) {
        Request request{
            .text = (QStringLiteral("some words of a message") + QString::fromLatin1(separator))
                        .repeated(20000),
            .maxWidth = 200};
        const qint64 all = time(request);
        request.maxRowCount = 10;
        QVERIFY(time(request) < all / 10);
        request.maxRowCount = 0;
        request.rowLimit = 10;
        QVERIFY(time(request) < all / 10);
    }
}

QTEST_MAIN(TestTextLayout)
#include "tst_textlayout.moc"
