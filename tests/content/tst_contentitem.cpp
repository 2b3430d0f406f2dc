#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "settings/appsettingmodel.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

namespace
{

using ItemPointer = QSharedPointer<ContentItem>;

ItemPointer textItem(const QString &text, const UserTextBlocks &blocks = {})
{
    auto item = QSharedPointer<ContentItem>::create(1, nullptr);
    item->setContent(text, blocks);
    return item;
}

UserTextBlock block(int type, int from, int len, const QVariant &data = {})
{
    return {from, len, type, data, false};
}

QSize measure(const ItemPointer &item, int maxWidth = 400, int maxRowCount = 0, int rowLimit = 0)
{
    item->calcSize(maxWidth, rowLimit, maxRowCount, ContentItem::CONTENT_CHANGED, false);
    return {item->contentWidth(), item->contentHeight()};
}

/// Counts every signal of an item, by name, in the order they come.
class SignalLog : public QObject
{
    Q_OBJECT

public:
    explicit SignalLog(const ItemPointer &item)
    {
        const QMetaObject *meta = item->metaObject();
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("record()"));
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            if (meta->method(i).methodType() == QMetaMethod::Signal)
                connect(item.data(), meta->method(i), this, slot);
        }
    }

    QStringList take() { return std::exchange(m_names, {}); }

private Q_SLOTS:
    void record()
    {
        m_names.append(
            QString::fromLatin1(sender()->metaObject()->method(senderSignalIndex()).name()));
    }

private:
    QStringList m_names;
};

QStringList names(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const char *name : list)
        result.append(QString::fromLatin1(name));
    return result;
}

} // namespace

class TestContentItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void storedFormIsExact();
    void updatesSignalWhatChanged();
    void mentions();
    void previews();
    void collapsing();
    void largeEmoji_data();
    void largeEmoji();
    void manyEmoji();
    void emojiGame();
    void textSize();
    void whenSizesAreCalculated();
    void sizesFromElsewhere();
    void offsetsOutsideTheText();
};

void TestContentItem::init()
{
    AppSettingModel *settings = AppSettingModel::instance();
    settings->setLargeEmoji(true, false);
    settings->setPlainModel(false, false);
    settings->setThemeFontSize(14, false);
}

void TestContentItem::storedFormIsExact()
{
    QMap<QString, QVariant> map;
    textItem(QStringLiteral("hi"))->serialize(map);
    QCOMPARE(map,
             (QMap<QString, QVariant>{{QStringLiteral("type"), QStringLiteral("text")},
                                      {QStringLiteral("content"), QStringLiteral("hi")}}));

    // The forms that a text takes on while it is shown are stored as text.
    const ItemPointer emoji = textItem(QStringLiteral("😀"));
    measure(emoji);
    QCOMPARE(emoji->type(), 503);
    map.clear();
    emoji->serialize(map);
    QCOMPARE(map.value(QStringLiteral("type")).toString(), QStringLiteral("text"));

    // A system message names no type.
    const QMap<QString, QVariant> stored{{QStringLiteral("type"), QStringLiteral("system")},
                                         {QStringLiteral("effect"), 2}};
    map.clear();
    ContentItem(stored, 1, nullptr).serialize(map);
    QCOMPARE(map.keys(), names({"content", "effect"}));

    // Entities in memory go before those in JSON, and previews can be switched off for all links.
    const UserTextBlocks blocks{
        block(1, 0, 5), block(11, 6, 2, QStringLiteral("https://b.example/x")), block(7, 0, 1)};
    const ContentItem item({{QStringLiteral("type"), QStringLiteral("text")},
                            {QStringLiteral("entity"), QVariant::fromValue(blocks)},
                            {QStringLiteral("dbEntity"), QStringLiteral("[]")},
                            {QStringLiteral("disable_preview"), true}},
                           1, nullptr);
    QCOMPARE(item.textEntity().size(), 3);
    QVERIFY(item.textEntity().at(0).disablePreview && item.textEntity().at(1).disablePreview);
    QVERIFY(!item.textEntity().at(2).disablePreview);
}

void TestContentItem::updatesSignalWhatChanged()
{
    const ItemPointer item = textItem(QStringLiteral("one"), {block(7, 0, 3)});
    SignalLog log(item);
    const QVariantList bold = item->serializeEntities();
    const auto map = [](const char *text, const QVariantList &entities, int effect) {
        return QMap<QString, QVariant>{{QStringLiteral("content"), QString::fromUtf8(text)},
                                       {QStringLiteral("entity"), entities},
                                       {QStringLiteral("dbEntity"), QStringLiteral("[{}]")},
                                       {QStringLiteral("effect"), effect}};
    };

    item->deserialize(map("one", bold, 0));
    QCOMPARE(log.take(), QStringList());
    item->deserialize(map("two", bold, 0));
    QCOMPARE(log.take(), names({"contentChanged"}));
    item->deserialize(map("two", bold, 9));
    QCOMPARE(log.take(), names({"effectChanged"}));

    // A handler sees the whole new state, whichever signal it waits for.
    QString textAtFirstSignal;
    connect(item.data(), &ContentItem::textEntityChanged, this,
            [&] { textAtFirstSignal = item->content(); });
    item->deserialize(map("three", {}, 0));
    QCOMPARE(log.take(),
             names({"textEntityChanged", "spoilersChanged", "contentChanged", "effectChanged"}));
    QCOMPARE(textAtFirstSignal, QStringLiteral("three"));

    // From the protocol by the same rules; a body of another kind changes nothing.
    im::content::Content content;
    content.mutable_text()->set_text("three");
    content.mutable_text()->set_effect(1);
    item->setContent(content);
    QCOMPARE(log.take(), names({"effectChanged"}));
    content.mutable_card()->set_nickname("x");
    item->setContent(content);
    QCOMPARE(log.take(), QStringList());
    QCOMPARE(item->content(), QStringLiteral("three"));
}

void TestContentItem::mentions()
{
    const ItemPointer item = textItem(QStringLiteral("@a @b @all @a"),
                                      {block(3, 0, 2, 5), block(3, 3, 2, 7), block(13, 0, 1, 9),
                                       block(3, 11, 2, 5), block(3, 0, 1, QStringLiteral("8"))});
    QCOMPARE(item->mentionUserIds(), (QList<qint64>{5, 7, 5, 8}));
    QVERIFY(!item->mentionUsers().contains(QStringLiteral("atAll")));

    im::Message message;
    item->serializeMetions(message);
    QCOMPARE(std::vector<int>(message.mentioned_uids().begin(), message.mentioned_uids().end()),
             (std::vector<int>{5, 7, 5, 8}));
    QVERIFY(!message.mention_all());

    const ItemPointer all = textItem(QStringLiteral("@all"), {block(3, 0, 4, 0)});
    QCOMPARE(all->mentionUsers(), (QMap<QString, QVariant>{{QStringLiteral("atAll"), 1}}));
    QVERIFY(all->mentionUserIds().isEmpty());
    all->serializeMetions(message);
    QVERIFY(message.mention_all());

    // An id beyond the protocol's range must not become somebody else's, nor everybody's.
    const ItemPointer huge = textItem(QStringLiteral("@x"), {block(3, 0, 2, qint64(1) << 32)});
    im::content::Content content;
    huge->serialize(&content);
    QCOMPARE(content.text().textentity(0).mention_user_id(), INT_MAX);
}

void TestContentItem::previews()
{
    const QString text =
        QStringLiteral("https://a.example/x https://a.example https://B.example/y");
    UserTextBlocks blocks{
        block(1, 0, 19),
        block(1, 20, 17),
        block(1, 38, 19),
        block(11, 0, 3, QStringLiteral("https://a.example/hidden")),
        block(11, 0, 3, QStringLiteral("https://münchen.example/")),
        block(2, 0, 19),
    };
    const ItemPointer item = textItem(text, blocks);
    QCOMPARE(item->previewUrls(QStringLiteral("a.example")),
             names({"https://a.example/x", "https://a.example/hidden"}));
    QCOMPARE(item->previewUrls(QStringLiteral("xn--mnchen-3ya.example")).size(), 1);
    QVERIFY(item->previewUrls(QStringLiteral("B.example")).isEmpty());
    blocks[0].disablePreview = true;
    item->setContent(text, blocks);
    QCOMPARE(item->previewUrls(QStringLiteral("a.example")), names({"https://a.example/hidden"}));

    QVERIFY(item->hasUrl() && item->hasEntity());
    QVERIFY(!textItem(text, {block(7, 0, 3)})->hasUrl());

    QHash<int, QSet<int>> emoji;
    const QVariantMap data{{QStringLiteral("pack_id"), 5}, {QStringLiteral("emoji_id"), 6}};
    QVERIFY(!item->hasCustomEmoji(emoji));
    QVERIFY(textItem(text, {block(16, 0, 1, data)})->hasCustomEmoji(emoji));
    QCOMPARE(emoji, (QHash<int, QSet<int>>{{5, {6}}}));
}

void TestContentItem::collapsing()
{
    const QString code = QStringLiteral("a\n").repeated(20).chopped(1);
    const ItemPointer item = textItem(code + QStringLiteral("\nafter"),
                                      {block(7, 0, 1), block(17, 0, int(code.size()))});
    const QSize open = measure(item);
    SignalLog log(item);
    item->setCollapsed(1, true);
    QCOMPARE(log.take(), names({"textEntityChanged", "needRecalcSize"}));
    QVERIFY(measure(item).height() < open.height() / 2);
    item->setCollapsed(1, false);
    QCOMPARE(measure(item), open);

    log.take();
    for (int index : {-1, 0, 2, INT_MAX})
        item->setCollapsed(index, true);
    item->setCollapsed(1, false);
    QCOMPARE(log.take(), QStringList());
}

void TestContentItem::largeEmoji_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("fontSize");
    const int sizes[] = {0, 88, 72, 64, 56, 48, 36, 24, 24};
    for (int count = 1; count <= 8; ++count)
        QTest::addRow("%d", count) << count << sizes[count];
}

void TestContentItem::largeEmoji()
{
    QFETCH(int, count);
    QFETCH(int, fontSize);
    AppSettingModel *settings = AppSettingModel::instance();
    const ItemPointer item = textItem(QStringLiteral("👩‍👩‍👧‍👦").repeated(count));
    SignalLog log(item);
    const QSize large = measure(item);
    QCOMPARE(item->type(), 503);
    QCOMPARE(item->emojiCount(), count);
    QVERIFY(log.take().contains(QStringLiteral("typeChanged")));

    // The same height as the text has at that font size, and some room around it.
    int lines = 0;
    const QSize bare = item->calcTextSize(lines, 400, 0, 0, fontSize, 0, false);
    QCOMPARE(large, bare + QSize(0, 14));
    QCOMPARE(item->lineCount(), lines);
    settings->setPlainModel(true, false);
    QCOMPARE(measure(item), bare);

    settings->setLargeEmoji(false, false);
    QCOMPARE(measure(item), item->calcTextSize(lines, 400, 0, 0, 14, 0, true));
    QCOMPARE(item->type(), 1);
}

void TestContentItem::manyEmoji()
{
    for (const auto &[count, type] : {std::pair{4096, 503}, {4097, 1}}) {
        const ItemPointer item = textItem(QStringLiteral("😀").repeated(count));
        measure(item);
        QCOMPARE(item->type(), type);
        QCOMPARE(item->emojiCount(), type == 503 ? count : 0);
    }
}

void TestContentItem::emojiGame()
{
    AppSettingModel *settings = AppSettingModel::instance();
    const ItemPointer item = textItem(QStringLiteral("🎲"));
    QCOMPARE(measure(item), QSize(100, 120));
    QCOMPARE(item->type(), 504);
    QVERIFY(item->isGame());
    QCOMPARE(item->lineCount(), 1);
    settings->setPlainModel(true, false);
    QCOMPARE(measure(item), QSize(100, 100));
    settings->setLargeEmoji(false, false);
    QCOMPARE(measure(item), QSize(100, 100));
    QCOMPARE(item->type(), 504);
    QCOMPARE(copyContent(item)->content(), item->content());

    // An edit ends the game; so does a block that makes code of it.
    item->setContent(QStringLiteral("🎲"), {block(17, 0, 2)});
    measure(item);
    QVERIFY(!item->isGame());
    QCOMPARE(item->type(), 1);
    QCOMPARE(item->emojiCount(), 0);
    QVERIFY(!textItem(QStringLiteral("🎲🎲"))->isGame());
}

void TestContentItem::textSize()
{
    const QString words = QStringLiteral("Der Hund läuft über die Straße, ").repeated(20);
    const ItemPointer item = textItem(words);
    const QSize wide = measure(item, 600);
    const int wideLines = item->lineCount();
    const QSize narrow = measure(item, 150);
    QVERIFY(wide.width() <= 600 && narrow.width() <= 150);
    QVERIFY(item->lineCount() > wideLines && narrow.height() > wide.height());

    // Formats and scripts change widths.
    const QString line = QStringLiteral("ill willow");
    const int plain = measure(textItem(line)).width();
    QVERIFY(measure(textItem(line, {block(7, 0, 10)})).width() > plain);
    QVERIFY(measure(textItem(line, {block(10, 0, 10)})).width() > plain);
    QVERIFY(measure(textItem(line, {block(16, 0, 1)})).width() > plain);
    for (const char *text : {"שלום עולם", "مرحبا بالعالم", "你好，世界", "สวัสดีชาวโลก"}) {
        const QSize size = measure(textItem(QString::fromUtf8(text)));
        QVERIFY(size.width() > 20 && size.height() >= 14);
    }

    // A long text is elided with room for the control that expands it, unless only a little longer.
    const auto lines = [](int count) {
        return textItem(QStringLiteral("x\n").repeated(count).chopped(1));
    };
    const int ten = measure(lines(10)).height();
    const ItemPointer elided = lines(100);
    QCOMPARE(measure(elided, 400, 10).height(), ten + 20);
    QVERIFY(elided->isElided());
    QCOMPARE(elided->lineCount(), 10);
    const ItemPointer little = lines(12);
    measure(little, 400, 10);
    QCOMPARE(little->lineCount(), 12);
    QVERIFY(!little->isElided());
    const ItemPointer limited = lines(100);
    QCOMPARE(measure(limited, 400, 0, 10).height(), ten);

    // The settings' font size counts, in pixels.
    AppSettingModel::instance()->setThemeFontSize(28, false);
    QVERIFY(measure(lines(10)).height() > ten * 3 / 2);

    // What does not fit into the properties saturates.
    QCOMPARE(measure(lines(10'000)).height(), 32767);
}

void TestContentItem::whenSizesAreCalculated()
{
    const ItemPointer item = textItem(QStringLiteral("text"));
    const auto calculates = [&](int reasons) {
        item->resetSize();
        item->calcSize(400, 0, 0, reasons, false);
        return item->contentHeight() > 0;
    };
    for (int reason : {1, 2, 4, 8, 32, 16 | 2, 63})
        QVERIFY(calculates(reason));
    QVERIFY(!calculates(0));
    QVERIFY(!calculates(64));
    QVERIFY(!calculates(ContentItem::LARGE_EMOJI_CHANGED));
    item->setEmojiCount(1);
    QVERIFY(calculates(ContentItem::LARGE_EMOJI_CHANGED));

    // A thread view has a size of its own.
    item->resetSize();
    SignalLog log(item);
    item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, true);
    QCOMPARE(log.take(), names({"contentHeightInThreadChanged", "contentWidthInThreadChanged"}));
    QCOMPARE(item->contentHeight(), 0);
    item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, false);
    QCOMPARE(item->contentHeight(), item->contentHeightInThread());
    log.take();
    item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, false);
    QCOMPARE(log.take(), QStringList());
}

void TestContentItem::sizesFromElsewhere()
{
    class Message : public MessageBase
    {
    public:
        int contentHeight() const override { return 120; }
        int contentWidth() const override { return 1'000'000; }
    } message;
    const ItemPointer item = textItem(QStringLiteral("text"));
    SignalLog log(item);
    item->setContentHeight(&message);
    item->setContentWidth(&message);
    QCOMPARE(log.take(), names({"contentHeightChanged", "contentWidthChanged"}));
    QCOMPARE(item->contentHeight(), 120);
    QCOMPARE(item->contentWidth(), 32767);
    item->setContentHeight(nullptr);
    QCOMPARE(item->contentHeight(), 120);
}

void TestContentItem::offsetsOutsideTheText()
{
    // Kept as they came, yet nothing reads outside the text.
    UserTextBlocks blocks;
    for (int type = 0; type <= 20; ++type) {
        for (const auto &[from, len] : {std::pair{-3, 5},
                                        {2, -1},
                                        {3, 100},
                                        {100, 5},
                                        {INT_MAX, INT_MAX},
                                        {INT_MIN, INT_MIN},
                                        {INT_MIN, INT_MAX},
                                        {0, INT_MAX}}) {
            blocks.append(block(type, from, len, QStringLiteral("https://a.example/x")));
        }
    }
    const ItemPointer item = textItem(QStringLiteral("a😀b"), blocks);
    QVERIFY(measure(item).height() > 0);
    item->previewUrls(QString());
    for (const QVariant &spoiler : item->spoilers()) {
        const QVariantMap range = spoiler.toMap();
        const int from = range.value(QStringLiteral("from")).toInt();
        const int len = range.value(QStringLiteral("len")).toInt();
        QVERIFY(from >= 0 && len >= 0 && from + len <= 4);
    }
    im::content::Content content;
    item->serialize(&content);
    QCOMPARE(content.text().textentity_size(), blocks.size());
    QCOMPARE(content.text().textentity(5).offset(), INT_MIN);
}

QTEST_MAIN(TestContentItem)
#include "tst_contentitem.moc"
