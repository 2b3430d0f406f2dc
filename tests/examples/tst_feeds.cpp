#include "feeds/feed.h"
#include "feeds/markup.h"

#include <QTemporaryDir>
#include <QTest>

using im::content::TextEntity;

namespace
{

/// "BOLD[0,4]" for each entity, with what else it carries.
QStringList described(const im::content::Text &record)
{
    QStringList list;
    for (const TextEntity &entity : record.textentity()) {
        QString text = QStringLiteral("%1[%2,%3]")
                           .arg(QString::fromStdString(TextEntity::Type_Name(entity.type())))
                           .arg(entity.offset())
                           .arg(entity.length());
        if (entity.mention_user_id())
            text += QStringLiteral(" user %1").arg(entity.mention_user_id());
        if (!entity.hyperlink().empty())
            text += u' ' + QString::fromStdString(entity.hyperlink());
        if (entity.video_position())
            text += QStringLiteral(" at %1").arg(entity.video_position());
        if (entity.custom_emoji_id())
            text += QStringLiteral(" emoji %1/%2")
                        .arg(entity.custom_emoji_pack_id())
                        .arg(entity.custom_emoji_id());
        if (!entity.code_lang().empty())
            text += u' ' + QString::fromStdString(entity.code_lang());
        if (entity.collapsed())
            text += QStringLiteral(" collapsed");
        list.append(text);
    }
    return list;
}

} // namespace

class TestFeeds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void damagedFeeds();
    void hugeRecord();
    void markup_data();
    void markup();

private:
    /// The frames that can be read of these bytes; `error` is what the reader says at the end.
    QList<Frame> read(const QByteArray &bytes, QString &error);

    QTemporaryDir m_directory;
};

QList<Frame> TestFeeds::read(const QByteArray &bytes, QString &error)
{
    QFile file(m_directory.filePath(QStringLiteral("x.feed")));
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

void TestFeeds::damagedFeeds()
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
                QVERIFY2(error.startsWith(QStringLiteral("frame %1 is ").arg(before + 1)),
                         qPrintable(error));
        }
    }
}

void TestFeeds::hugeRecord()
{
    // A length that nobody means must not be allocated.
    QByteArray bytes = FeedWriter().finished().first(8);
    bytes += QByteArray::fromHex("0000003e"
                                 "ffffffff");
    QString error;
    QVERIFY(read(bytes, error).isEmpty());
    QVERIFY(error.contains(QStringLiteral("4294967295")));
}

void TestFeeds::markup_data()
{
    QTest::addColumn<QString>("markup");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("entities");
    const auto row = [](const char *name, const char *markup, const char *text,
                        std::initializer_list<const char *> entities) {
        QStringList list;
        for (const char *entity : entities)
            list.append(QString::fromUtf8(entity));
        QTest::newRow(name) << QString::fromUtf8(markup) << QString::fromUtf8(text) << list;
    };
    row("plain", "2 * 3 ** 4, a_b__c, |x||", "2 * 3 ** 4, a_b__c, |x||", {});
    row("formats", "**a** __b__ ~~c~~ ++d++ ||e||", "a b c d e",
        {"BOLD[0,1]", "ITALIC[2,1]", "STRIKETHROUGH[4,1]", "UNDERLINE[6,1]", "SPOILER[8,1]"});
    row("nested", "**a __b__ c**", "a b c", {"BOLD[0,5]", "ITALIC[2,1]"});
    row("UTF-16", "👨‍👩‍👧 **é**", "👨‍👩‍👧 é", {"BOLD[9,1]"});
    row("taken as it stands", "`**x** #tag`", "**x** #tag", {"MONOSPACE[0,10]"});
    row("escaped", "\\**a** \\`b\\`", "**a** `b`", {});
    row("link", "[the **map**](https://m.example/__a__)", "the map",
        {"HYPERLINK[0,7] https://m.example/__a__", "BOLD[4,3]"});
    row("marks in a URL", "https://m.example/__a__/x", "https://m.example/__a__/x", {"URL[0,25]"});
    row("mentions", "@[Ada L](7) @all x@all @alles", "@Ada L @all x@all @alles",
        {"MENTION_NAME[0,6] user 7", "MENTION_NAME[7,4]", "MENTION_IM_ID[18,6]"});
    row("custom emoji", "a ![🧺](5/12)", "a 🧺", {"CUSTOM_EMOJI[2,2] emoji 5/12"});
    row("code", "see\n```cpp collapsed\n**x**\n\n> y\n```\nend", "see\n**x**\n\n> y\nend",
        {"CODE_BLOCK[4,10] cpp collapsed"});
    row("code without an end", "```cpp\nx", "```cpp\nx", {});
    row("quotes", "> a\n> **b**\n\n>- c", "a\nb\n\nc",
        {"QUOTED[0,3]", "BOLD[2,1]", "QUOTED[5,1] collapsed"});
    row("recognised", "**/start** ada@a.example #tag +49 30 1234567, 1:02:03",
        "/start ada@a.example #tag +49 30 1234567, 1:02:03",
        {"BOLD[0,6]", "BOT_COMMAND[0,6] user 99", "EMAIL[7,13]", "HASH_TAG[21,4]",
         "PHONE_NUMBER[26,14]", "VIDEO_POSITION[42,7] at 3723"});
}

void TestFeeds::markup()
{
    QFETCH(QString, markup);
    QFETCH(QString, text);
    QFETCH(QStringList, entities);
    const im::content::Text record = readMarkup(markup, 99);
    QCOMPARE(QString::fromStdString(record.text()), text);
    QCOMPARE(described(record), entities);
}

QTEST_APPLESS_MAIN(TestFeeds)
#include "tst_feeds.moc"
