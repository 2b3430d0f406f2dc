#include "feeds/feed.h"
#include "feeds/markup.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using im::content::TextEntity;

namespace
{

/// "BOLD[0,4]" for each entity, with what else it carries.
QStringList described(const im::content::Text &record)
{
    QStringList list;
    for (const TextEntity &entity : record.textentity()) {
        QString text =
            u"%1[%2,%3]"_s.arg(QString::fromStdString(TextEntity::Type_Name(entity.type())))
                .arg(entity.offset())
                .arg(entity.length());
        if (entity.mention_user_id())
            text += u" user %1"_s.arg(entity.mention_user_id());
        if (entity.video_position())
            text += u" at %1"_s.arg(entity.video_position());
        if (entity.custom_emoji_id())
            text +=
                u" emoji %1/%2"_s.arg(entity.custom_emoji_pack_id()).arg(entity.custom_emoji_id());
        for (const std::string &more : {entity.hyperlink(), entity.code_lang(),
                                        std::string(entity.collapsed() ? "collapsed" : "")})
            text += more.empty() ? QString() : u' ' + QString::fromStdString(more);
        list.append(text);
    }
    return list;
}

} // namespace

class TestFeeds : public QObject
{
    Q_OBJECT

    QTemporaryDir m_directory;

    QList<Frame> read(const QByteArray &bytes, QString &error)
    {
        QFile file(m_directory.filePath(u"x.feed"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write");
        file.close();
        FeedReader reader(file.fileName());
        QList<Frame> frames;
        while (const auto frame = reader.next())
            frames.append(*frame);
        error = reader.error();
        return frames;
    }

private Q_SLOTS:
    void damagedFeeds()
    {
        FeedWriter writer;
        const QList<Frame> sent{
            {62, QByteArray("one")}, {41, QByteArray()}, {99999, QByteArray(300, 'x')}};
        QList<qsizetype> ends{8}; // where each frame ends; the first one: where they begin
        for (const Frame &frame : sent) {
            writer.append(frame);
            ends.append(ends.last() + 8 + frame.record.size() + 2);
        }
        const QByteArray whole = writer.finished();
        const auto isBeginning = [&](const QList<Frame> &frames) {
            for (qsizetype i = 0; i < frames.size(); ++i) {
                if (frames[i].type != sent[i].type || frames[i].record != sent[i].record)
                    return false;
            }
            return true;
        };
        QString error;
        QCOMPARE(read(whole, error).size(), 3);
        QCOMPARE(error, QString());

        // A length that nobody means must not be allocated.
        QVERIFY(read(whole.first(8) + QByteArray::fromHex("0000003effffffff"), error).isEmpty());
        QVERIFY(error.contains(u"4294967295"));

        // Wherever it is cut off or a bit is wrong: the frames before that, and the number of the next.
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray flipped = whole;
            flipped[at] = char(flipped[at] ^ (1 << (at % 8)));
            const auto before =
                std::upper_bound(ends.cbegin(), ends.cend(), at) - ends.cbegin() - 1; // -1: no feed
            for (const QByteArray &bytes : {whole.first(at), flipped}) {
                const QList<Frame> frames = read(bytes, error);
                QCOMPARE(frames.size(), std::max<qsizetype>(before, 0));
                QVERIFY(isBeginning(frames));
                QVERIFY(!error.isEmpty());
                if (before >= 0)
                    QVERIFY2(error.startsWith(u"frame %1 is "_s.arg(before + 1)),
                             qPrintable(error));
            }
        }
    }

    void markup()
    {
        struct {
            const char *markup, *text, *entities;
        } rows[] = {
            // clang-format off
            {"2 * 3 ** 4, a_b__c, |x||", "2 * 3 ** 4, a_b__c, |x||", ""},
            {"**a** __b__ ~~c~~ ++d++ ||e||", "a b c d e", "BOLD[0,1], ITALIC[2,1], STRIKETHROUGH[4,1], UNDERLINE[6,1], SPOILER[8,1]"},
            {"**a __b__ c**", "a b c", "BOLD[0,5], ITALIC[2,1]"},
            {"👨‍👩‍👧 **é**", "👨‍👩‍👧 é", "BOLD[9,1]"},
            {"`**x** #tag`", "**x** #tag", "MONOSPACE[0,10]"},
            {"\\**a** \\`b\\`", "**a** `b`", ""},
            {"[the **map**](https://m.example/__a__)", "the map", "HYPERLINK[0,7] https://m.example/__a__, BOLD[4,3]"},
            {"https://m.example/__a__/x", "https://m.example/__a__/x", "URL[0,25]"},
            {"@[Ada L](7) @all x@all @alles", "@Ada L @all x@all @alles", "MENTION_NAME[0,6] user 7, MENTION_NAME[7,4], MENTION_IM_ID[18,6]"},
            {"a ![🧺](5/12)", "a 🧺", "CUSTOM_EMOJI[2,2] emoji 5/12"},
            {"see\n```cpp collapsed\n**x**\n\n> y\n```\nend", "see\n**x**\n\n> y\nend", "CODE_BLOCK[4,10] cpp collapsed"},
            {"```cpp\nx", "```cpp\nx", ""},
            {"> a\n> **b**\n\n>- c", "a\nb\n\nc", "QUOTED[0,3], BOLD[2,1], QUOTED[5,1] collapsed"},
            {"**/start** ada@a.example #tag +49 30 1234567, 1:02:03", "/start ada@a.example #tag +49 30 1234567, 1:02:03", "BOLD[0,6], BOT_COMMAND[0,6] user 99, EMAIL[7,13], HASH_TAG[21,4], PHONE_NUMBER[26,14], VIDEO_POSITION[42,7] at 3723"},
            // clang-format on
        };
        for (const auto &row : rows) {
            const im::content::Text record = readMarkup(QString::fromUtf8(row.markup), 99);
            QCOMPARE(record.text(), row.text);
            QCOMPARE(described(record).join(u", "_s), QString::fromUtf8(row.entities));
        }
    }
};

QTEST_APPLESS_MAIN(TestFeeds)
#include "tst_feeds.moc"
