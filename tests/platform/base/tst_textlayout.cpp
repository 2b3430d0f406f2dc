#include "referencelayout.h"
#include "support/facts.h"
#include "support/sequences.h"

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

QFont testFont()
{
    QFont font;
    font.setPixelSize(16);
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

UserTextBlock block(qint32 from, qint32 len, qint32 type, bool collapsed = false)
{
    const QVariant data = collapsed ? QVariantMap{{u"collapsed"_s, true}} : QVariant();
    return {from, len, type, data, false};
}

void compare(const Measured &actual, const Measured &expected)
{
    QCOMPARE(actual.size, expected.size);
    QCOMPARE(actual.lineCount, expected.lineCount);
    QCOMPARE(actual.elided, expected.elided);
}

/// Any text with any blocks in any view.
Request anyRequest(Sequence &any)
{
    static const QStringList pieces = facts(u"pieces.txt"_s);
    const auto anyText = [&](int longest) {
        QString text;
        for (int left = any.below(longest); left > 0; --left)
            text += any.pick(pieces);
        return text;
    };
    Request request{.text = anyText(30)};
    const int length = int(request.text.size());
    const auto anyOffset = [&] {
        return any.chance(5) ? any.pick(QList{most, least, -3}) : any.below(length + 5) - 2;
    };
    for (int left = any.below(6); left > 0; --left) {
        const int type = any.chance(70)
            ? any.pick(QList<int>{Bold, Italic, Monospace, CustomEmoji, CodeBlock, Quoted})
            : any.below(25);
        const int from = anyOffset();
        request.blocks.append(
            block(from, any.chance(80) ? any.below(12) : anyOffset(), type, any.chance(50)));
    }
    request.maxWidth =
        any.pick(QList{0.0, -7.0, 1.0, 33.5, 100.0, 150.0, 250.0, 1e300, std::nan("")});
    request.maxRowCount = any.pick(QList{0, 0, -1, 1, 3, 5, most});
    request.tolerance = any.pick(QList{0, 0, -5, 1, 2, most});
    request.rowLimit = any.pick(QList{0, 0, -2, 2, 4, 6});
    request.lineSpacing = any.pick(QList{0.0, 4.0});
    request.wordWrap = any.chance(90);
    request.plainText = any.chance(90);
    for (const UserTextBlock &each : request.blocks)
        any.note(u"%1+%2 %3"_s.arg(each.from).arg(each.len).arg(each.type));
    any.note(u"%1 width %2"_s.arg(request.text).arg(request.maxWidth));
    return request;
}

} // namespace

class TestTextLayout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void likeTheReference()
    {
        runSequences("Texts", 30, 60, [](Sequence &any) {
            while (any.next()) {
                const Request request = anyRequest(any);
                const ReferenceLayout expected(request.text, testFont(), request.blocks,
                                               request.plainText);
                // Qt shapes some texts otherwise once it has loaded their fonts.
                expected.measure(0);
                const DrawableTextBase::Layout drawn = request.layOut();
                QCOMPARE(drawn.text, expected.text);
                for (qsizetype at = 0; at < expected.shownAt.size() && !request.text.isEmpty();
                     ++at)
                    QCOMPARE(drawn.shownAt(at), expected.shownAt[at]);
                QList<qsizetype> pictures;
                for (const auto &picture : drawn.pictures) {
                    QCOMPARE(request.blocks[picture.block].type, qint32(CustomEmoji));
                    pictures.append(picture.at);
                }
                QCOMPARE(pictures, expected.pictures);
                compare(request.measure(),
                        expected.measure(request.wordWrap ? request.maxWidth : 0,
                                         request.maxRowCount, request.tolerance, request.rowLimit,
                                         request.lineSpacing));
            }
        });
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
                const Measured expected = ReferenceLayout(text, testFont()).measure(width);
                QCOMPARE(measured.lineCount, expected.lineCount);
                QCOMPARE(measured.size.height(), expected.size.height());
                QVERIFY(std::abs(measured.size.width() - expected.size.width()) < 1);
            }
        }
    }

    /// They do not make the height depend on which fonts are loaded by then: the second line is in
    /// need of one that has glyphs for those in the first one.
    void controlCharacters()
    {
        const Request request{.text = u"ly\x05\0f\n\x7f"_s, .rowLimit = 1};
        const Measured first = request.measure();
        compare(first, Request{.text = u"lyf"_s}.measure());
        compare(Request{.text = request.text}.measure(),
                Request{.text = u"lyf\n\u200b"_s}.measure());
        compare(request.measure(), first);
    }

    void collapsedBlocksLargerThanAPiece()
    {
        for (const QString &text :
             {u"line\n"_s.repeated(5000) + u'x', QString(6000, u' ') + u"\nb\nc\nd\ne\nf"_s}) {
            const Request request{.text = text + u"\nend"_s,
                                  .blocks = {block(0, qint32(text.size()), Quoted, true)}};
            QCOMPARE(request.measure().lineCount, DrawableTextBase::collapsedRowCount + 1);
        }
    }

    void hostileTexts()
    {
        for (const QString &line : facts(u"hostile_texts.txt"_s)) {
            const QStringList parts = line.split(u'|');
            const QString text = parts[0] + parts[2].repeated(parts[1].toInt()) + parts.value(3);
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
        for (const QString &line : facts(u"bounded_texts.txt"_s)) {
            const QString text = line.section(u'|', 0, 0);
            const QString drawn = line.section(u'|', 1);
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
        const QString lines = u"x\n"_s.repeated(DrawableTextBase::mostLines + 5);
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
};

QTEST_MAIN(TestTextLayout)
#include "tst_textlayout.moc"
