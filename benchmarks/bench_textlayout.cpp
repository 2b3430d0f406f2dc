#include "base/drawabletextbase.h"
#include "base/drawabletextutil.h"
#include "base/text/wordlayout_p.h"
#include "support/comparison.h"

#include <QFont>
#include <QFontDatabase>
#include <QStringList>
#include <QTextBoundaryFinder>
#include <QTextCharFormat>
#include <QTextLayout>

#include <algorithm>
#include <random>

namespace
{

void forgetWords()
{
    if (WordLayout *words = WordLayout::ofThisThread()) // null if the build has none
        words->clear();
}

/// Typical messages, short and long.
const QStringList &messages()
{
    static const QStringList texts = {
        QStringLiteral(u"ok"),
        QStringLiteral(u"On my way, ten minutes!"),
        QStringLiteral(u"Could you send me the contract again? The one from last week has the "
                       u"wrong date on page three, and the customer noticed."),
        QStringLiteral(u"Shopping list:\n- bread\n- two bottles of milk\n- coffee (the dark one)\n"
                       u"- something sweet 🍰"),
        QStringLiteral(u"Das Treffen wird auf Donnerstag, 15:30 Uhr verschoben. Bitte sagt kurz "
                       u"Bescheid, ob das für alle passt – sonst suchen wir einen neuen Termin."),
        QStringLiteral(u"今天晚上一起吃饭吧?我知道车站旁边新开了一家很不错的面馆,听说不用排队。"),
        QStringLiteral(u"明日の会議は午後3時からです。資料は先に共有フォルダに入れておきますので、"
                       u"確認をお願いします。"),
        QStringLiteral(u"오늘 저녁에 시간 있어요? 영화 보러 가고 싶은데 같이 가실래요?"),
        QStringLiteral(u"مرحبا، هل يمكنك أن ترسل لي العنوان مرة أخرى؟ لقد فقدت الرسالة القديمة."),
        QStringLiteral(u"Привет! Я уже дома, можешь звонить в любое время, буду рад поговорить."),
        QStringLiteral(u"क्या आप कल मेरे साथ बाज़ार चल सकते हैं? मुझे कुछ सामान खरीदना है।"),
        QStringLiteral(u"https://example.org/articles/2023/11/a-rather-long-address?with=query"),
    };
    return texts;
}

constexpr double bubbleWidth = 320;

QFont messageFont()
{
    QFont font;
    font.setPixelSize(14);
    return font;
}

/// Whole words in bold, italic, underlined and monospace, as users mark them.
UserTextBlocks entitiesOf(const QString &text)
{
    UserTextBlocks blocks;
    const auto mark = [&](qsizetype around, qsizetype length, qint32 type) {
        const qsizetype from = text.indexOf(u' ', around) + 1;
        const qsizetype end = text.indexOf(u' ', from + length);
        if (from > around && end > from)
            blocks.append({int(from), int(end - from), type, {}, false});
    };
    const qsizetype length = text.size();
    mark(0, length / 5, TextEntityType::Bold);
    mark(length / 3, length / 6, TextEntityType::Italic);
    mark(length / 2, length / 8, TextEntityType::Underline);
    mark(length * 3 / 4, length / 16, TextEntityType::Monospace);
    return blocks;
}

QSizeF measure(const QString &text, double width, const UserTextBlocks &blocks)
{
    return DrawableTextBase::calculateSize(text, width, messageFont(), 0, 0, 0, blocks, true, true,
                                           0)
        .size;
}

/// The formats that a program would pass to Qt for the same entities.
QList<QTextLayout::FormatRange> formatsOf(const UserTextBlocks &blocks)
{
    static const QStringList monospace =
        QFontDatabase::systemFont(QFontDatabase::FixedFont).families();
    QList<QTextLayout::FormatRange> formats;
    for (const UserTextBlock &block : blocks) {
        QTextCharFormat format;
        switch (block.type) {
        case TextEntityType::Bold:
            format.setFontWeight(QFont::Bold);
            break;
        case TextEntityType::Italic:
            format.setFontItalic(true);
            break;
        case TextEntityType::Underline:
            format.setFontUnderline(true);
            break;
        default:
            format.setFontFamilies(monospace);
        }
        formats.append({block.from, block.len, format});
    }
    return formats;
}

/// The layout of a program that only has Qt.
QSizeF plainLayout(const QString &text, double width, const UserTextBlocks &blocks)
{
    QString paragraphs = text;
    paragraphs.replace(u'\n', QChar::LineSeparator);
    QTextLayout layout(paragraphs, messageFont());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    if (!blocks.isEmpty())
        layout.setFormats(formatsOf(blocks));
    layout.beginLayout();
    QSizeF size(0, 0);
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(width);
        size = {std::max(size.width(), line.naturalTextWidth()), size.height() + line.height()};
    }
    layout.endLayout();
    return size;
}

/// Other texts of the same words: each message with the parts between its line breaks shuffled.
const QStringList &otherMessages()
{
    static const QStringList texts = [] {
        QStringList made;
        std::mt19937 random(1);
        for (int i = 0; i < 50; ++i) {
            for (const QString &text : messages()) {
                QStringList pieces;
                QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
                for (qsizetype from = 0, to = 0; (to = finder.toNextBoundary()) >= 0; from = to)
                    pieces.append(text.sliced(from, to - from));
                std::shuffle(pieces.begin(), pieces.end(), random);
                made.append(pieces.join(QString()));
            }
        }
        return made;
    }();
    return texts;
}

template <typename Measure>
comparison::Body atOneWidth(Measure measureMessage)
{
    return [measureMessage](benchmark::State &state) {
        for (auto _ : state) {
            for (const QString &text : messages())
                benchmark::DoNotOptimize(measureMessage(text, bubbleWidth));
        }
    };
}

/// Texts in which every word has been seen before, in its format. Nothing is cached for a text as a
/// whole, so repeated texts make no difference.
template <typename Measure>
comparison::Body ofKnownWords(Measure measureMessage)
{
    return [measureMessage](benchmark::State &state) {
        for (int i = 0; i < 3; ++i) {
            for (const QString &text : otherMessages())
                measureMessage(text, bubbleWidth);
        }
        for (auto _ : state) {
            for (const QString &text : otherMessages())
                benchmark::DoNotOptimize(measureMessage(text, bubbleWidth));
        }
    };
}

/// A window that is resized: every visible message, at every width.
template <typename Measure>
comparison::Body atManyWidths(Measure measureMessage)
{
    return [measureMessage](benchmark::State &state) {
        double width = bubbleWidth;
        for (auto _ : state) {
            width = width > 500 ? bubbleWidth : width + 7;
            for (const QString &text : messages())
                benchmark::DoNotOptimize(measureMessage(text, width));
        }
    };
}

template <typename Count>
comparison::Body countingEmoji(Count count)
{
    return [count](benchmark::State &state) {
        for (auto _ : state) {
            for (const QString &text : messages())
                benchmark::DoNotOptimize(count(text));
        }
    };
}

/// Texts sent to keep a window busy, against an ordinary text of the maximum length that is laid
/// out.
void addHostileTexts()
{
    constexpr qsizetype endless = 10 << 20;
    static const std::pair<const char *, QString> texts[] = {
        {"50,000 marks on a letter", u'a' + QString(50'000, QChar(0x0301))},
        {"20 MB of words", messages().at(2).repeated(endless / messages().at(2).size())},
        {"20 MB without a break", QString(endless, u'x')},
        {"20 MB of newlines", QString(endless, u'\n')},
        {"20 MB without width", QString(endless, QChar(0x200B))},
        {"20 MB in two directions", QStringLiteral(u"a\u05D0").repeated(endless / 2)},
        {"20 MB in ten scripts", QStringLiteral(u"aαжאعकกあ字😀 ").repeated(endless / 12)},
    };
    static const QString ordinary = [] {
        QString text;
        for (qsizetype i = 0; text.size() < DrawableTextBase::mostLength; ++i)
            text += messages().at(i % messages().size()) + u' ';
        return text.first(DrawableTextBase::mostLength);
    }();
    const comparison::Body baseline = [](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(plainLayout(ordinary, bubbleWidth, {}));
    };
    for (const auto &[name, text] : texts) {
        comparison::add(
            std::string("hostile text: ") + name, 6,
            [&text](benchmark::State &state) {
                for (auto _ : state) {
                    forgetWords();
                    benchmark::DoNotOptimize(measure(text, bubbleWidth, {}));
                }
            },
            baseline);
    }
    // Glyphs missing in all fonts are expensive in themselves: compare with the same emoji one by
    // one.
    static const QString joined = QStringLiteral(u"👩\u200D").repeated(20'000);
    static const QString apart = QStringLiteral(u"👩 ").repeated(DrawableTextBase::mostLength / 3);
    comparison::add(
        "hostile text: 20,000 joined emoji", 1.5,
        [](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(measure(joined, bubbleWidth, {}));
        },
        [](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(plainLayout(apart, bubbleWidth, {}));
        });
    static const UserTextBlocks alternating = [] {
        UserTextBlocks blocks;
        for (int i = 0; i < 1'000'000; ++i)
            blocks.append({2 * i, 1, TextEntityType::Bold, {}, false});
        return blocks;
    }();
    comparison::add(
        "hostile text: drawn, with a million entities", 6,
        [](benchmark::State &state) {
            for (auto _ : state) {
                benchmark::DoNotOptimize(DrawableTextBase::layOut(texts[2].second, bubbleWidth,
                                                                  messageFont(), 0, 0, 0,
                                                                  alternating, true, true, 0));
            }
        },
        baseline);
}

/// The number of grapheme clusters, the start of any count of emoji.
int countClusters(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() > 0)
        ++count;
    return count;
}

void addRows()
{
    const auto measured = [](const QString &text, double width) {
        return measure(text, width, {});
    };
    const auto measuredCold = [](const QString &text, double width) {
        forgetWords();
        return measure(text, width, {});
    };
    const auto measuredColdWithEntities = [](const QString &text, double width) {
        forgetWords();
        return measure(text, width, entitiesOf(text));
    };
    const auto measuredWithEntities = [](const QString &text, double width) {
        return measure(text, width, entitiesOf(text));
    };
    const auto plain = [](const QString &text, double width) {
        return plainLayout(text, width, {});
    };
    const auto plainWithFormats = [](const QString &text, double width) {
        return plainLayout(text, width, entitiesOf(text));
    };
    comparison::add("measuring a text message, cold", 1.2, atOneWidth(measuredCold),
                    atOneWidth(plain));
    // Against a layout with the same formats: more fonts are expensive for both.
    comparison::add("measuring a text message with entities, cold", 1.2,
                    atOneWidth(measuredColdWithEntities), atOneWidth(plainWithFormats));
    comparison::add("measuring a new text of known words", 0.12, ofKnownWords(measured),
                    ofKnownWords(plain));
    comparison::add("measuring a new text of known words with entities", 0.2,
                    ofKnownWords(measuredWithEntities), ofKnownWords(plainWithFormats));
    comparison::add("measuring it again at another width", 0.1, atManyWidths(measured),
                    atManyWidths(plain));
    addHostileTexts();
    comparison::add("emoji counting, ordinary text", 0.1, countingEmoji([](const QString &text) {
                        return DrawableTextUtil::emojiCount(text, 4096);
                    }),
                    countingEmoji(countClusters));
}

} // namespace

COMPARISON_MAIN(addRows)
