#include "referencelayout.h"

#include <QFontMetricsF>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace TextEntityType;
using Measured = DrawableTextBase::Measured;

namespace
{

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

QFont testFont(bool bold = false, bool italic = false)
{
    QFont font;
    font.setPixelSize(16);
    font.setBold(bold);
    font.setItalic(italic);
    return font;
}

/// What is drawn is what was measured.
void verifyDrawn(const DrawableTextBase::Layout &drawn, const Measured &measured,
                 double lineSpacing)
{
    QCOMPARE(drawn.measured.size, measured.size);
    QCOMPARE(drawn.measured.lineCount, measured.lineCount);
    QCOMPARE(drawn.measured.elided, measured.elided);
    QCOMPARE(int(drawn.lines.size()), measured.lineCount);
    double width = 0;
    double bottom = -lineSpacing;
    qsizetype end = 0;
    for (const auto &[line, offset, isRightToLeft] : drawn.lines) {
        QCOMPARE(line.y(), bottom + lineSpacing);
        const double spare = measured.size.width() - line.naturalTextWidth();
        QCOMPARE(line.x(), isRightToLeft ? spare : 0.0);
        QVERIFY(offset + line.textStart() >= end);
        end = offset + line.textStart() + line.textLength();
        QVERIFY(end <= drawn.text.size());
        width = std::max(width, line.naturalTextWidth());
        bottom = line.y() + line.height();
    }
    QCOMPARE(width, measured.size.width());
    QCOMPARE(std::max(0.0, bottom), measured.size.height());
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

    Measured measure() const
    {
        const Measured measured =
            DrawableTextBase::calculateSize(text, maxWidth, testFont(), maxRowCount, lineSpacing,
                                            rowLimit, blocks, wordWrap, plainText, tolerance);
        verifyDrawn(layOut(), measured, lineSpacing);
        return measured;
    }

    DrawableTextBase::Layout layOut() const
    {
        return DrawableTextBase::layOut(text, maxWidth, testFont(), maxRowCount, lineSpacing,
                                        rowLimit, blocks, wordWrap, plainText, tolerance);
    }
};

Measured reference(const QString &text, double maxWidth = 0, const QFont &font = testFont())
{
    return referenceLayout(text, maxWidth, font);
}

UserTextBlock block(qint32 from, qint32 len, qint32 type, bool collapsed = false)
{
    const QVariant data = collapsed ? QVariantMap{{u"collapsed"_s, true}} : QVariant();
    return {from, len, type, data, false};
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

    const QFontMetricsF m_metrics{testFont()};
    const double m_square = m_metrics.height(); // what a custom emoji takes

private Q_SLOTS:
    void likePlainLayout()
    {
        for (
            const QString &text :
            {u"\n\na\n"_s, u"See https://example.org/a/very/long/path/without/any/end at"_s,
             u"name\tvalue\n\tindented\t\n  two   and      many          \n     "_s,
             u"👍🏽👩\u200D💻🇩🇪1\uFE0F\u20E3 ❤\uFE0F😀😀😀😀😀 اجتماع पर at 10:30\nsee 資料"_s}) {
            for (const double width : {0.0, -7.0, 1.0, 33.5, 100.0, 250.0, 1e6, 1e300})
                compare(Request{.text = text, .maxWidth = width}.measure(),
                        reference(text, std::min(width, 1e6)));
            compare(Request{.text = text, .maxWidth = std::nan("")}.measure(), reference(text));
            compare(Request{.text = text, .maxWidth = 40, .wordWrap = false}.measure(),
                    reference(text));
        }
        compare(Request{}.measure(), Measured{});
    }

    void longTextsInPieces()
    {
        // Texts far longer than what is laid out in one go measure as if it were one, but for the
        // kerning of two letters between which QTextLayout itself begins a new run.
        for (const QString &text :
             {u"All work and no play, office. "_s.repeated(300), u"iW"_s.repeated(4500),
              u"line\n\nof a longer list\n"_s.repeated(300), u"a"_s + QString(9000, u' ') + u"b"_s,
              u"今天晚上一起吃饭吧?我知道。"_s.repeated(500),
              u"مرحبا، هل يمكنك (42) أن "_s.repeated(250)}) {
            for (const double width : {0.0, 60.0, 320.0, 30000.0}) {
                const Measured measured = Request{.text = text, .maxWidth = width}.measure();
                const Measured expected = reference(text, width);
                QCOMPARE(measured.lineCount, expected.lineCount);
                QCOMPARE(measured.size.height(), expected.size.height());
                QVERIFY(std::abs(measured.size.width() - expected.size.width()) < 1);
            }
        }
    }

    void newlines()
    {
        for (const QString &newline : {u"\n"_s, u"\r\n"_s, u"\r"_s, u"\v"_s, u"\f"_s, u"\u0085"_s,
                                       u"\u2028"_s, u"\u2029"_s}) {
            for (const QString &lines :
                 {u"a\nbb"_s, u"a\n"_s, u"\n"_s, u"\n\n"_s, u"\na\n\nb\n\n"_s, u"wide one \nb "_s})
                compare(Request{.text = QString(lines).replace(u'\n', newline)}.measure(),
                        reference(lines));
        }
    }

    void controlCharacters()
    {
        // They have no place, and do not make the height depend on which fonts are loaded by then:
        // the second line here is in need of one that has glyphs for those in the first one.
        const QString text = u"ly\x05\0f\n\x7f"_s;
        const Measured first = Request{.text = text, .rowLimit = 1}.measure();
        compare(first, reference(u"lyf"_s));
        compare(Request{.text = text}.measure(), reference(u"lyf\n\u200b"_s));
        compare(Request{.text = text, .rowLimit = 1}.measure(), first);
        QVERIFY(Request{.text = u"a\tb"_s}.measure().size.width()
                > reference(u"ab"_s).size.width() + 1);
    }

    void styles()
    {
        const QString text = u"Illustrious Wombats"_s;
        const auto with = [&](std::initializer_list<qint32> types) {
            Request request{.text = text};
            for (const qint32 type : types)
                request.blocks.append(block(0, qint32(text.size()), type));
            return request.measure();
        };
        const Measured plain = with({});
        Measured bold = with({Bold});
        compare(bold, reference(text, 0, testFont(true)));
        compare(with({Italic}), reference(text, 0, testFont(false, true)));
        compare(with({Italic, Bold, Bold}), reference(text, 0, testFont(true, true)));
        QVERIFY(bold.size.width() > plain.size.width());
        for (const qint32 type :
             {Unknown, Url, Email, MentionName, MentionImId, PhoneNumber, HashTag, Strikethrough,
              Hyperlink, Underline, BotCommand, VideoPosition, Spoiler, Quoted, Value(1000)})
            compare(with({type}), plain);

        const auto monospaced = [](const QString &letters, qint32 type) {
            return Request{.text = letters, .blocks = {block(0, 6, type)}}.measure();
        };
        compare(monospaced(u"iiiiii"_s, Monospace), monospaced(u"WWWWWW"_s, Monospace));
        compare(monospaced(u"iiiiii"_s, Monospace), monospaced(u"WWWWWW"_s, CodeBlock));

        // Where two of a kind overlap, the text is not bolder, and both end where they end.
        bold.size.rheight() += plain.size.height();
        bold.lineCount = 2;
        compare(
            Request{.text = text + u'\n' + text, .blocks = {block(0, 12, Bold), block(4, 15, Bold)}}
                .measure(),
            bold);
    }

    void entityOffsetsMove()
    {
        // What stands before a bold word takes another length in the layout than in the text.
        const QString word = u"WWWW mmmm"_s;
        const Measured bold = reference(word, 0, testFont(true));
        for (const QString &before : {u"\r\n\r\n"_s, u"0123456789\r\n"_s, u"q\n"_s, u"q"_s}) {
            Request request{.text = before + word};
            request.blocks = {block(qint32(before.size()), qint32(word.size()), Bold)};
            if (before.startsWith(u'0'))
                request.blocks.append(block(0, 10, CustomEmoji));
            if (before.startsWith(u'q'))
                request.blocks.append(block(0, 1, Quoted));
            QCOMPARE(request.measure().size.width(), bold.size.width());
        }
    }

    void customEmoji()
    {
        const double height = Request{.text = u"x"_s}.measure().size.height();
        const auto measure = [](const QString &text, const UserTextBlocks &blocks) {
            return Request{.text = text, .blocks = blocks}.measure();
        };
        for (const QString &placeholder :
             {u"i"_s, QString(20, u'W'), u"\n"_s, u"👨\u200D👩\u200D👧"_s, u"\uFFFC"_s}) {
            const auto length = qint32(placeholder.size());
            const UserTextBlock first = block(0, length, CustomEmoji);
            const Measured alone = measure(placeholder, {first});
            QVERIFY(isAbout(alone.size.width(), m_square));
            QCOMPARE(alone.size.height(), height);
            const Measured inside =
                measure(u"ab"_s + placeholder + u"cd"_s, {block(2, length, CustomEmoji)});
            QVERIFY(isAbout(inside.size.width(),
                            m_metrics.horizontalAdvance(u"ab"_s)
                                + m_metrics.horizontalAdvance(u"cd"_s) + m_square));
            QCOMPARE(inside.size.height(), height);
            const Measured two =
                measure(placeholder.repeated(2), {block(length, length, CustomEmoji), first});
            QVERIFY(isAbout(two.size.width(), 2 * m_square));
            // A style on top of a picture changes nothing, nor does a second picture on it.
            compare(measure(placeholder, {first, first, block(0, length, Bold)}), alone);
        }
        // In texts of other scripts it takes the place that a Latin letter would have taken.
        const double letter = m_metrics.horizontalAdvance(u'm');
        for (const QString &text :
             {u"שלום m שלום"_s, u"سلام m سلام"_s, u"你好 m 你好"_s, u"क्या m कल"_s}) {
            const Measured picture =
                measure(text, {block(qint32(text.indexOf(u'm')), 1, CustomEmoji)});
            QVERIFY(
                isAbout(picture.size.width(), measure(text, {}).size.width() - letter + m_square));
        }

        // Ten pictures, three and a half to a line; the same with one letter at each seam.
        Request pictures{.text = QString(10, u'*'), .maxWidth = 3.5 * m_square};
        for (int i = 0; i < 10; ++i)
            pictures.blocks.append(block(i, 1, CustomEmoji));
        QCOMPARE(pictures.measure().lineCount, 4);
        QVERIFY(isAbout(pictures.measure().size.width(), 3 * m_square));
        const double word = measure(u"word"_s, {}).size.width();
        const Measured broken = Request{.text = u"word*word"_s,
                                        .blocks = {block(4, 1, CustomEmoji)},
                                        .maxWidth = word + 1}
                                    .measure();
        QCOMPARE(broken.lineCount, 3);
        QVERIFY(isAbout(broken.size.width(), word));
    }

    void linesOfBlocks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<UserTextBlocks>("blocks");
        QTest::addColumn<int>("lines");
        const auto row = [](const char *name, const QString &text, int lines,
                            const UserTextBlocks &blocks) {
            QTest::newRow(name) << text << blocks << lines;
        };
        const QString ten = numberedLines(10); // two code units a line
        const QString large = numberedLines(5000);
        const QString few = QString(6000, u' ') + u"\nb\nc\nd\ne\nf"_s;
        const int shown = DrawableTextBase::collapsedRowCount;
        // clang-format off
        row("code stands alone", u"before code after"_s, 3, {block(7, 4, CodeBlock)});
        row("at the beginning", u"quote after"_s, 2, {block(0, 5, Quoted)});
        row("at the end", u"before quote"_s, 2, {block(7, 5, Quoted)});
        row("on its own line", u"one\ntwo\nthree"_s, 3, {block(4, 3, Quoted)});
        row("newline in it", u"one\ntwo\nthree"_s, 3, {block(4, 4, Quoted)});
        row("CR LF in it", u"one\r\ntwo\r\nthree"_s, 3, {block(5, 5, CodeBlock)});
        row("side by side", u"onetwo"_s, 2, {block(0, 3, Quoted), block(3, 3, CodeBlock)});
        row("nested", u"outer inner outer"_s, 3, {block(0, 17, Quoted), block(6, 5, CodeBlock)});
        row("bold does not", u"bold"_s, 1, {block(1, 2, Bold)});
        row("open", ten, 10, {block(0, 19, Quoted)});
        row("collapsed quote", ten, shown, {block(0, 19, Quoted, true)});
        row("collapsed code", ten, shown, {block(0, 19, CodeBlock, true)});
        row("collapsed bold", ten, 10, {block(0, 19, Bold, true)});
        row("collapsed, short", ten, 10, {block(0, 3, Quoted, true)});
        row("collapsed, inside", u"top\n"_s + ten + u"\nend"_s, shown + 2, {block(4, 19, Quoted, true)});
        row("collapsed with its newline", u"top\n"_s + ten + u"\nend"_s, shown + 2, {block(4, 20, Quoted, true)});
        row("collapsed within a line", u"top"_s + ten + u"end"_s, shown + 2, {block(3, 19, Quoted, true)});
        row("two collapsed", ten, 2 * shown, {block(10, 9, Quoted, true), block(0, 10, CodeBlock, true)});
        row("overlapping", ten, 2 * shown, {block(0, 12, Quoted, true), block(6, 13, Quoted, true)});
        row("same twice", ten, shown, {block(0, 19, Quoted, true), block(0, 19, CodeBlock, true)});
        row("larger than a piece", large + u"\nend"_s, shown + 1, {block(0, qint32(large.size()), Quoted, true)});
        row("first row larger than a piece", few, shown, {block(0, qint32(few.size()), Quoted, true)});
        // clang-format on
    }
    void linesOfBlocks()
    {
        QFETCH(const QString, text);
        QFETCH(const UserTextBlocks, blocks);
        const Measured measured = Request{.text = text, .blocks = blocks}.measure();
        QTEST(measured.lineCount, "lines");
        QVERIFY(!measured.elided);
    }

    void rows()
    {
        struct {
            int textLines, maxRowCount, tolerance, rowLimit, lines;
            bool elided;
        } cases[] = {
            {30, 0, 0, 0, 30, false},
            {30, -1, -5, -2, 30, false},
            {10, 10, 0, 0, 10, false},
            {11, 10, 0, 0, 10, true},
            {12, 10, 2, 0, 12, false},
            {13, 10, 2, 0, 10, true},
            {10, 10, -3, 0, 10, false},
            {30, 0, 0, 5, 5, false},
            {3, 0, 0, 5, 3, false},
            {30, 10, 2, 5, 5, false},
            {30, 10, 2, 12, 12, false},
            {30, 10, 2, 20, 10, true},
            {30, most, most, most, 30, false},
            {30, 1, most, 0, 30, false},
        };
        for (const auto &c : cases) {
            // The last line that is shown is wider than those before, those behind wider still.
            QStringList rows;
            for (int i = 0; i < c.textLines; ++i)
                rows.append(QString(i + 1, u'm'));
            Measured expected = reference(rows.first(c.lines).join(u'\n'));
            expected.elided = c.elided;
            Request request{.text = rows.join(u'\n'),
                            .maxRowCount = c.maxRowCount,
                            .tolerance = c.tolerance,
                            .rowLimit = c.rowLimit};
            compare(request.measure(), expected);
            request.lineSpacing = 4; // between lines only
            expected.size.rheight() += 4 * (c.lines - 1);
            compare(request.measure(), expected);
        }
    }

    void rowsOfBlocksAreCounted()
    {
        const Request request{.text = u"word word word word word\nend"_s,
                              .blocks = {block(0, 28, Quoted, true)},
                              .maxWidth = 50};
        QCOMPARE(request.measure().lineCount, DrawableTextBase::collapsedRowCount);
    }

    void emojiOnly()
    {
        const QString text = u"😀❤\uFE0F"_s;
        Request request{
            .text = text, .blocks = {block(0, 4, Bold), block(0, 2, Quoted)}, .plainText = false};
        compare(request.measure(), reference(text));
        request.blocks = {block(0, 4, CustomEmoji)};
        QVERIFY(isAbout(request.measure().size.width(), m_square));
    }

    void blocksOutside()
    {
        const QString text = u"plain text"_s;
        const std::pair<int, int> outside[] = {{10, 5}, {most, most},   {-5, 5},    {3, 0},
                                               {3, -2}, {least, least}, {least, 1}, {5, least}};
        for (const qint32 type : {Bold, CodeBlock, Quoted, CustomEmoji}) {
            Request request{.text = text};
            for (const auto &[from, len] : outside)
                request.blocks.append(block(from, len, type, true));
            compare(request.measure(), reference(text));
        }
        // What reaches past the text counts as far as the text goes.
        compare(Request{.text = text, .blocks = {block(-3, most, Bold)}}.measure(),
                reference(text, 0, testFont(true)));
        compare(Request{.text = {}, .blocks = {block(0, 3, CustomEmoji)}}.measure(), {});
    }

    void hostileTexts()
    {
        for (const QString &text :
             {QString(20000, u'x'),
              u"Hello, 你好世界 مرحبا بالعالم नमस्ते สวัสดี 123 "_s.repeated(1000),
              u"\r\n"_s.repeated(20000), QString(50000, u' '), QString(20000, u'\t'),
              QString(10000, QChar(0xD83D)), QString(10000, QChar(u'\0')),
              QString(10000, QChar(QChar::ObjectReplacementCharacter)),
              u'a' + QString(50'000, QChar(0x0301)), u"👩\u200D"_s.repeated(500),
              QString(2000, QChar(0x1100)), u'a' + QString(20'000, QChar(0x200D)),
              u"\u0915\u094D"_s.repeated(2000), u"\u0D4E"_s.repeated(2000),
              u"a\u05D0"_s.repeated(1 << 20), u"🇽"_s.repeated(1000),
              QString(10000, QChar(0x202E)) + QString(9, u'x'),
              QString(10000, QChar(0x2067)) + QString(9, u'x')}) {
            for (const double width : {1.0, 200.0, 0.0}) {
                Request request{.text = text, .maxWidth = width};
                const Measured all = request.measure();
                QVERIFY(all.lineCount >= 1 && all.size.isValid() && all.size.height() > 0);
                QVERIFY(all.lineCount <= DrawableTextBase::mostLines);
                QVERIFY2(width < 200 || all.size.width() <= width + 1, // with a bearing
                         qPrintable(u"%1 is %2 wide"_s.arg(text.left(9)).arg(all.size.width())));
                request.maxRowCount = 3;
                request.tolerance = 1;
                const Measured few = request.measure();
                QCOMPARE(few.elided, all.lineCount > 4);
                QCOMPARE(few.lineCount, few.elided ? 3 : all.lineCount);
            }
        }
    }

    /// What is beyond the bounds is neither measured nor drawn, and what is within stays.
    void bounds()
    {
        const QString accents(DrawableTextBase::mostMarks, QChar(0x0301));
        const QString family = u"👩\u200D👩\u200D👧\u200D👦"_s;
        const std::pair<QString, QString> shown[] = {
            {u"xa"_s + accents + u"b"_s, {}},
            {u"xa"_s + accents.repeated(9) + u"b"_s, u"xa"_s + accents + u"b"_s},
            {u"x"_s + family + u"\u200D👶 b"_s, u"x"_s + family + u"\u200D\u200B👶 b"_s},
            {u"x"_s + family + family + u"b"_s, {}},
            {u"❤\u200D❤\u200D❤\u200D❤\u200D❤"_s, u"❤\u200D❤\u200D❤\u200D❤\u200D\u200B❤"_s},
            {QString(8, QChar(0x1100)) + u"\u1161"_s,
             QString(8, QChar(0x1100)) + u"\u200B\u1161"_s},
            {u"क्षेत्र ශ්‍රී ලංකා Ç̇"_s, {}},
            {u"\u0915\u094D"_s.repeated(9),
             u"\u0915\u094D"_s.repeated(8) + u"\u200B\u0915\u094D"_s},
            {u"x"_s + u"𝅘𝅥𝅮"_s.repeated(9), {}},
        };
        for (const auto &[text, drawn] : shown) {
            Request request{.text = text + u" bold"_s};
            request.blocks = {block(qint32(text.size()) + 1, 4, Bold)};
            const QString expected = (drawn.isEmpty() ? text : drawn) + u" bold"_s;
            QCOMPARE(request.layOut().text, expected);
            QCOMPARE(request.layOut().shownAt(text.size() + 1), expected.size() - 4);
            compare(
                request.measure(),
                Request{.text = expected, .blocks = {block(qint32(expected.size()) - 4, 4, Bold)}}
                    .measure());
        }

        constexpr int length = DrawableTextBase::mostLength;
        for (const QString &text :
             {QString(length, u'x'), QString(length - 1, u'x') + u"😀 and so on"_s,
              QString(length, u'x') + u"\n\n\n"_s}) {
            const QString drawn = Request{.text = text, .maxWidth = 400}.layOut().text;
            QVERIFY(text == drawn || drawn.endsWith(u"x…"_s));
            QVERIFY(drawn.size() <= length + 1 && drawn.size() >= length);
        }
        const QString lines = numberedLines(DrawableTextBase::mostLines + 5);
        QCOMPARE(Request{.text = lines}.measure().lineCount, DrawableTextBase::mostLines);
        Request many{.text = u"ab"_s};
        many.blocks = UserTextBlocks(DrawableTextBase::mostBlocks, block(0, 1, Italic));
        const Measured without = many.measure();
        many.blocks.append(block(1, 1, CustomEmoji));
        compare(many.measure(), without);
    }

    void hostileBlocks()
    {
        // Side by side, apart, all over each other, overlapping, backwards.
        for (const auto &[step, length] : {std::pair{1, 1}, {3, 1}, {1, 5000}, {7, 10}, {-1, 5}}) {
            Request request{.text = u"lorem ipsum\r\ndolor sit "_s.repeated(250), .maxWidth = 200};
            const qint32 types[] = {Bold, CustomEmoji, Quoted, Italic, CodeBlock, Monospace};
            for (int i = 0; i < 5000; ++i) {
                const int from = step > 0 ? i * step : 5000 + i * step;
                request.blocks.append(block(from, length, types[i % 6], i % 4 == 0));
            }
            const Measured measured = request.measure();
            QVERIFY(measured.lineCount >= 1);
            QVERIFY(measured.size.width() > 0 && measured.size.width() <= 200);
        }
    }

    /// Where what was given is in what is drawn: behind added newlines, around pictures.
    void drawnPositions()
    {
        const Request request{.text = u"a :x: b\r\ncode c"_s,
                              .blocks = {block(2, 3, CustomEmoji), block(9, 4, CodeBlock)}};
        const DrawableTextBase::Layout drawn = request.layOut();
        QCOMPARE(drawn.pictures.size(), size_t(1));
        QCOMPARE(drawn.pictures[0].block, 0);
        QVERIFY(drawn.pictures[0].at >= drawn.shownAt(2));
        QVERIFY(drawn.pictures[0].at < drawn.shownAt(5));
        const auto shown = [&](qsizetype from, qsizetype end) {
            return drawn.text.mid(drawn.shownAt(from), drawn.shownAt(end) - drawn.shownAt(from));
        };
        QCOMPARE(shown(0, 2), u"a "_s);
        QCOMPARE(shown(5, 7), u" b"_s);
        QCOMPARE(shown(9, 13).trimmed(), u"code"_s);
        QCOMPARE(shown(14, 99), u"c"_s);
        QCOMPARE(drawn.shownAt(-5), 0);
        QCOMPARE(drawn.lines.size(), size_t(3));
    }
};

QTEST_MAIN(TestTextLayout)
#include "tst_textlayout.moc"
