#include "base/drawabletextbase.h"
#include "base/text/wordlayout_p.h"
#include "base/text/wordproof_p.h"
#include "support/facts.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QSet>
#include <QtEndian>
#include <QTest>

#include <array>
#include <cmath>
#include <random>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace TextEntityType;
using Measured = DrawableTextBase::Measured;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int taken = 90; // of so many texts one is taken, since all of them would take minutes
constexpr int fewest = 1500;
#else
constexpr int taken = 3;
constexpr int fewest = 50000;
#endif

/// The translations in a compiled message catalogue of gettext.
QStringList translations(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    const auto number = [&bytes](qsizetype at) {
        return at + 4 <= bytes.size() ? qFromLittleEndian<quint32>(bytes.constData() + at) : 0;
    };
    QStringList texts;
    for (quint32 i = 1; i < number(8); ++i) { // the first one is a header
        const quint32 at = number(16) + 8 * i;
        for (const QByteArray &plural : bytes.mid(number(at + 4), number(at)).split('\0'))
            texts.append(QString::fromUtf8(plural).trimmed());
    }
    return texts;
}

QStringList fortunes(const QString &folder)
{
    QStringList texts;
    const QDir dir(folder);
    for (const QString &name : dir.entryList({u"*"_s}, QDir::Files)) {
        if (name.endsWith(u".dat") || name.endsWith(u".u8"))
            continue;
        QFile file(dir.filePath(name));
        if (file.open(QIODevice::ReadOnly)) {
            for (const QString &text : QString::fromUtf8(file.readAll()).split(u"\n%\n"_s))
                texts.append(text.trimmed());
        }
    }
    return texts;
}

struct Corpus {
    QStringList texts;
    QSet<QString> languages;
};

/// Ordinary texts in the languages that the packages on this machine are translated into.
const Corpus &corpus()
{
    static const Corpus made = [] {
        Corpus all;
        const QDir locales(u"/usr/share/locale"_s);
        for (const QString &language : locales.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QStringList texts;
            for (const QString &name : {u"glib20.mo"_s, u"gnupg2.mo"_s})
                texts += translations(locales.filePath(language + u"/LC_MESSAGES/"_s + name));
            if (texts.size() < 100)
                continue;
            all.languages.insert(language.section(u'_', 0, 0).section(u'@', 0, 0));
            all.texts += texts;
        }
        for (const QString &folder : {u"de"_s, u"es"_s, u"ru"_s, u"zh"_s, u""_s})
            all.texts += fortunes(u"/usr/share/games/fortunes/"_s + folder);
        QStringList some;
        for (qsizetype i = 0; i < all.texts.size(); i += taken)
            some.append(all.texts[i]);
        all.texts = some;
        return all;
    }();
    return made;
}

QFont fontOf(int pixels)
{
    QFont font;
    font.setPixelSize(pixels);
    return font;
}

UserTextBlock block(qsizetype from, qsizetype len, qint32 type)
{
    return {qint32(from), qint32(len), type, {}, false};
}

/// One measuring that somebody might ask for. Everything follows from its number.
struct Request {
    QString text;
    QFont font;
    double width = 0;
    int rowLimit = 0;
    UserTextBlocks blocks;

    explicit Request(const QString &given) : text(given), font(fontOf(14)) { }
    Request(int number, int round)
    {
        const QStringList &texts = corpus().texts;
        text = texts[number];
        if (number % 7 == 3) // two scripts in one text
            text += u' ' + texts[qsizetype(quint64(number) * 7919 % quint64(texts.size()))];
        if (number % 11 == 5)
            text += u" 😀👍🏽 "_s + text.left(20);
        text.truncate(20 + number * 37 % 220);
        if (!text.isEmpty() && text.back().isHighSurrogate())
            text.chop(1);
        font = fontOf(number % 3 == 0 ? 19 : 14);
        width = 45 + double((number * 131 + round * 77) % 4400) / 10;
        rowLimit = number % 13 == 0 ? 3 : 0;
        const auto length = qint32(text.size());
        if (number % 4 == 1) {
            const qint32 word = qint32(text.indexOf(u' ')) + 1;
            blocks = {block(word, length / 3, Bold), block(length / 2, length / 4, Italic),
                      block(length - 9, 6, Monospace)};
        } else if (number % 16 == 2) {
            blocks = {block(length / 4, 2, CustomEmoji), block(length / 2, length / 4, Quoted),
                      block(length / 3, 1, CustomEmoji), block(length - 4, 3, CodeBlock)};
        }
    }

    Measured measure() const
    {
        return DrawableTextBase::calculateSize(text, width, font, 0, 0, rowLimit, blocks, true,
                                               true, 0);
    }

    Measured measureInFull() const
    {
        WordLayout::ofThisThread()->setEnabled(false);
        const Measured measured = measure();
        WordLayout::ofThisThread()->setEnabled(true);
        return measured;
    }
};

/// What a comparison has found.
struct Findings {
    int compared = 0;
    int wrong = 0;
    double widest = 0; ///< the greatest difference in width
    int fromWords = 0; ///< texts that took no full layout

    void add(const Request &request, const Measured &actual, const Measured &expected)
    {
        ++compared;
        const auto *known =
            WordLayout::ofThisThread()->breakLines(request.text, request.font, {}, request.width);
        fromWords += int(known != nullptr);
        const double difference = std::abs(actual.size.width() - expected.size.width());
        widest = std::max(widest, difference);
        if (actual.size.height() == expected.size.height() && actual.lineCount == expected.lineCount
            && difference <= 1)
            return;
        if (++wrong <= 20)
            qWarning() << request.text << request.width << request.font.pixelSize()
                       << request.blocks.size() << actual.size << actual.lineCount << "instead of"
                       << expected.size << expected.lineCount;
    }

    bool isClean(const char *what) const
    {
        qInfo("%s: %d texts compared, %d differ, widths by at most %.3f; %d are known by words",
              what, compared, wrong, widest, fromWords);
        return compared > 0 && wrong == 0;
    }
};

} // namespace

class TestLayoutCorpus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!WordLayout::ofThisThread())
            QSKIP("Built without MODELBASE_WORD_CACHE");
        const Corpus &all = corpus();
        qInfo("%lld texts in %lld languages", qlonglong(all.texts.size()),
              qlonglong(all.languages.size()));
        for (const QString &language :
             {u"ar"_s, u"he"_s, u"hi"_s, u"th"_s, u"zh"_s, u"ja"_s, u"ko"_s, u"ru"_s, u"el"_s,
              u"tr"_s, u"vi"_s, u"de"_s, u"fr"_s, u"ka"_s, u"uk"_s})
            QVERIFY2(all.languages.contains(language),
                     qPrintable(u"No texts in "_s + language + u": install corpus_packages"_s));
        QVERIFY2(all.texts.size() >= fewest, "Too few texts: install what ./dev test installs");
        QVERIFY(all.languages.size() >= 20);
    }

    void givesWayToAnotherLayout()
    {
        QVERIFY(WordProof::holds());
        // A late probe has a line that is wider by the least there is; or one line less.
        for (const bool isWider : {true, false}) {
            int called = 0;
            QVERIFY(!WordProof::holds([&](const QString &text, const QFont &font, double width) {
                WordProof::Lines lines = WordProof::fullLayout(text, font, width);
                if (++called > 30 && isWider)
                    lines.back().width += 1.0 / 64;
                else if (lines.size() > 1 && !isWider)
                    lines.pop_back();
                return lines;
            }));
            QVERIFY(called == 31 || !isWider);
        }
    }

    void likeFullLayout()
    {
        Findings cold;
        Findings warm;
        Findings resized;
        for (int number = 0; number < corpus().texts.size(); ++number) {
            const Request request(number, 0);
            const Measured full = request.measureInFull();
            cold.add(request, request.measure(), full);
            warm.add(request, request.measure(), full);
            const Request narrower(number, 1);
            resized.add(narrower, narrower.measure(), narrower.measureInFull());
        }
        for (const auto &[what, found] : {
                 std::pair("as they come", &cold),
                 {"met again", &warm},
                 {"at another width", &resized},
             }) {
            QVERIFY(found->isClean(what));
        }
        QVERIFY(resized.fromWords > resized.compared / 3); // else it has compared little
    }

    void ofTrickyWords()
    {
        static const QStringList pieces = facts(u"joining_pieces.txt"_s);
        Findings findings;
        std::mt19937 random(7);
        const auto upTo = [&random](qsizetype limit) { return qsizetype(random()) % limit; };
        for (int i = 0; i < fewest / 4; ++i) {
            Request request{QString()};
            const qsizetype offset = upTo(pieces.size());
            const qsizetype step = 1 + upTo(pieces.size());
            for (qsizetype left = 4 + upTo(12); left > 0; --left) {
                const QString piece = upTo(3) == 0
                    ? u" "_s
                    : pieces[(offset + step * upTo(5)) % pieces.size()]; // the same ones meet
                if (i % 4 == 0 && upTo(4) == 0)
                    request.blocks.append(
                        block(request.text.size(), piece.size(), upTo(2) == 0 ? Bold : Monospace));
                request.text += piece;
            }
            request.width = 5000;
            request.measure();
            for (int width = 0; width < 2; ++width) {
                request.width = double(20 + upTo(200));
                findings.add(request, request.measure(), request.measureInFull());
            }
        }
        QVERIFY(findings.isClean("tricky words"));
    }

    void onManyThreads()
    {
        // Several threads meet the same words, each in another order and more than once.
        constexpr int count = 600;
        std::vector<Measured> expected;
        for (int number = 0; number < count; ++number)
            expected.push_back(Request(number, 0).measureInFull());
        std::array<Findings, 4> findings;
        std::vector<std::jthread> threads;
        for (size_t first = 0; first < findings.size(); ++first) {
            threads.emplace_back([first, &expected, &findings] {
                for (size_t i = 0; i < 3 * count; ++i) {
                    const size_t number = (first * 151 + i) % count;
                    const Request request(int(number), 0);
                    findings[first].add(request, request.measure(), expected[number]);
                }
            });
        }
        threads.clear();
        for (const Findings &found : findings)
            QVERIFY(found.isClean("on a thread"));
    }

    void boundedMemory()
    {
        const WordLayout &cache = *WordLayout::ofThisThread();
        size_t most = 0;
        for (int i = 0; i < 1500; ++i) {
            QString text;
            for (int word = 0; word < 60; ++word)
                text += u"word%1x%2 "_s.arg(i).arg(word);
            // The first time words are noted, the second time measured, then some broken anywhere.
            Request request(text);
            for (const double width : {300.0, 300.0, i % 10 == 0 ? 20.0 : 100.0}) {
                request.width = width;
                request.measure();
            }
            most = std::max(most, cache.bytes());
        }
        QVERIFY(most <= WordCache::maxBytes);
        QVERIFY(most > WordCache::maxBytes / 4); // it has been full
    }

    void forgottenWhenFontsChange()
    {
        const WordLayout &cache = *WordLayout::ofThisThread();
        const QString text = u"some words that are known by now"_s;
        for (int i = 0; i < 3; ++i)
            Request(text).measure();
        const size_t before = cache.bytes();
        Request(text).measure();
        QCOMPARE(cache.bytes(), before);
        Q_EMIT qGuiApp->fontDatabaseChanged();
        Request(u"one"_s).measure();
        QVERIFY(cache.bytes() < before);
    }
};

QTEST_MAIN(TestLayoutCorpus)
#include "tst_layoutcorpus.moc"
