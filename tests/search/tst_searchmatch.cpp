#include "search/searchkey.h"
#include "search/searchmatch.h"
#include "support/facts.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

SearchKey keyOf(const QString &text)
{
    SearchKey key;
    key.text = text;
    return key;
}

/// The text with what matches in brackets.
QString marked(const QString &key, const QString &text)
{
    const auto ranges = searchMatch(keyOf(key), text);
    if (!ranges)
        return text;
    QString result;
    qsizetype at = 0;
    for (const SearchRange &range : *ranges) {
        result +=
            text.sliced(at, range.from - at) + u'[' + text.sliced(range.from, range.length) + u']';
        at = range.from + range.length;
    }
    return result + text.sliced(at);
}

bool areSound(const QList<SearchRange> &ranges, const QString &text)
{
    qsizetype end = -1;
    for (const SearchRange &range : ranges) {
        if (range.from <= end || range.length <= 0)
            return false;
        end = range.from + range.length;
    }
    return end <= text.size();
}

} // namespace

class TestSearchMatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matches()
    {
        const QStringList lines = facts(u"matches.txt"_s);
        QVERIFY(lines.size() > 100);
        QStringList wrong;
        for (const QString &line : lines) {
            const QString key = line.section(u" | "_s, 0, 0);
            const QString expected = line.section(u" | "_s, 1);
            QString text = expected;
            text.remove(u'[').remove(u']');
            const QString result = marked(key, text);
            if (result != expected)
                wrong += key + u" | "_s + result;
        }
        QCOMPARE(wrong.join(u'\n'), QString());
    }

    /// What follows from the rule, for whatever somebody types and writes.
    void invariants()
    {
        QStringList words;
        for (const QString &line : facts(u"matches.txt"_s))
            words += line.split(u' ', Qt::SkipEmptyParts);
        words += {QString(QChar(0xD800)),
                  QString(QChar(0xDC00)),
                  QString(QChar::Null),
                  u"\u200d"_s,
                  u"\u0301"_s,
                  u"\u20e3"_s,
                  u"ß"_s,
                  u"\ufdfa"_s,
                  u"“"_s,
                  u"\u1100"_s};
        QRandomGenerator random(41);
        const auto anyOf = [&] { return words.at(random.bounded(int(words.size()))); };
        int found = 0;
        for (int round = 0; round < 20000; ++round) {
            QString text = anyOf();
            for (int i = random.bounded(6); i > 0; --i)
                text += (random.bounded(3) ? u" "_s : QString()) + anyOf();
            QString word = anyOf();
            if (random.bounded(4) == 0)
                word = word.sliced(0, random.bounded(int(word.size()) + 1));
            const auto ranges = searchMatch(keyOf(word), text);
            QVERIFY(!ranges || areSound(*ranges, text));
            found += ranges && !ranges->isEmpty();

            // Case matters as little in the key as in the text.
            QCOMPARE(searchMatch(keyOf(word.toUpper().toLower()), text).has_value(),
                     searchMatch(keyOf(word.toUpper()), text).has_value());
            // More text hides nothing, and a word is found in itself.
            const bool isPlain = !word.startsWith(u'-') && !word.contains(u'"');
            if (isPlain && ranges)
                QVERIFY(searchMatch(keyOf(word), text + u' ' + anyOf()));
            if (isPlain)
                QVERIFY2(searchMatch(keyOf(word), word), qPrintable(word));
            // Without it is the opposite of with it.
            if (isPlain && ranges && !ranges->isEmpty())
                QVERIFY(!searchMatch(keyOf(u'-' + word), text));
            // All words are wanted, in any order.
            const QString other = anyOf();
            const bool both = searchMatch(keyOf(word + u' ' + other), text).has_value();
            if (isPlain && !other.startsWith(u'-') && !other.contains(u'"'))
                QCOMPARE(both, ranges && searchMatch(keyOf(other), text));
        }
        QVERIFY(found > 1000);
    }

    void terms_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QList<SearchKey::Term>>("expected");
        const auto row = [](const QString &text, const QList<SearchKey::Term> &expected) {
            QTest::newRow(qPrintable(text)) << text << expected;
        };
        row(u" a \t b "_s, {{u"a"_s}, {u"b"_s}});
        row(u"\"a b\" c"_s, {{u"a b"_s}, {u"c"_s}});
        row(u"„a b“ «c d»"_s, {{u"a b"_s}, {u"c d"_s}});
        row(u"-a -\"b c\" d-e"_s, {{u"a"_s, true}, {u"b c"_s, true}, {u"d-e"_s}});
        row(u"- -- \"a b"_s, {{u"-"_s}, {u"-"_s, true}, {u"\"a"_s}, {u"b"_s}});
        row(u"\"\" \" \" \"a\"b"_s, {{u"\"\""_s}, {u"\""_s}, {u"\"a\"b"_s}});
        row(u"5\" 6\""_s, {{u"5\""_s}, {u"6\""_s}});
    }
    void terms()
    {
        QFETCH(QString, text);
        QFETCH(QList<SearchKey::Term>, expected);
        QVERIFY2(keyOf(text).terms() == expected, qPrintable(text));
        QVERIFY(!keyOf(text).isEmpty());
    }

    void emptyKeys()
    {
        QVERIFY(SearchKey().isEmpty() && keyOf(u" \t\n"_s).isEmpty());
        SearchKey key;
        key.links = true;
        QVERIFY(!key.isEmpty());
        QVERIFY(QMetaType::fromType<SearchKey>().isEqualityComparable());
    }

    void hugeTexts()
    {
        const QString word(64 * 1024, u'a');
        QCOMPARE(marked(word, word + u"b c"_s), u'[' + word + u"]b c"_s);
        QCOMPARE(marked(QString(100000, u'"'), u"a"_s), u"a"_s);
        QCOMPARE(keyOf(u"\"a "_s.repeated(50000)).terms().size(), 1);
        QString many;
        for (int i = 0; i < 20000; ++i)
            many += QString::number(i) + u" -"_s;
        QCOMPARE(keyOf(many).terms().size(), 100);
        QVERIFY(!searchMatch(keyOf(many), u"0 "_s.repeated(20000) + u'1'));
    }
};

QTEST_GUILESS_MAIN(TestSearchMatch)
#include "tst_searchmatch.moc"
