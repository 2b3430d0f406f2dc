#include "protocol/common_data.pb.h"
#include "settings/appsettingmodel.h"
#include "support/contents.h"
#include "support/signallog.h"

#include <QGuiApplication>
#include <QTest>

using namespace Qt::StringLiterals;

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

} // namespace

class TestContentItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        AppSettingModel *settings = AppSettingModel::instance();
        settings->setLargeEmoji(true, false);
        settings->setPlainModel(false, false);
        settings->setThemeFontSize(14, false);
    }

    void storedFormIsExact()
    {
        // The forms that a text takes on while it is shown are stored as text.
        const ItemPointer emoji = textItem(u"😀"_s);
        measure(emoji);
        QCOMPARE(emoji->type(), 503);
        QCOMPARE(storedMap(*emoji), (QVariantMap{{u"type"_s, u"text"_s}, {u"content"_s, u"😀"_s}}));
        // A system message names no type.
        const QVariantMap stored{{u"type"_s, u"system"_s}, {u"effect"_s, 2}};
        QCOMPARE(storedMap(ContentItem(stored, 1, nullptr)),
                 (QVariantMap{{u"content"_s, u""_s}, {u"effect"_s, 2}}));

        // Entities in memory go before those in JSON; previews can be switched off for all links.
        UserTextBlocks blocks{block(1, 0, 5), block(11, 6, 2, u"https://b.example/x"_s),
                              block(7, 0, 1)};
        const ContentItem item({{u"type"_s, u"text"_s},
                                {u"entity"_s, QVariant::fromValue(blocks)},
                                {u"dbEntity"_s, u"[]"_s},
                                {u"disable_preview"_s, true}},
                               1, nullptr);
        blocks[0].disablePreview = blocks[1].disablePreview = true;
        QCOMPARE(item.textEntity(), blocks);
    }

    void mentions()
    {
        const auto sent = [](const ItemPointer &item) {
            im::Message message;
            item->serializeMetions(message);
            const auto &ids = message.mentioned_uids();
            return std::pair(QList<int>(ids.begin(), ids.end()), message.mention_all());
        };
        const ItemPointer item = textItem(u"@a @b @all @a"_s,
                                          {block(3, 0, 2, 5), block(3, 3, 2, 7), block(13, 0, 1, 9),
                                           block(3, 11, 2, 5), block(3, 0, 1, u"8"_s)});
        QCOMPARE(item->mentionUserIds(), (QList<qint64>{5, 7, 5, 8}));
        QVERIFY(!item->mentionUsers().contains(u"atAll"_s));
        QCOMPARE(sent(item), std::pair(QList<int>({5, 7, 5, 8}), false));
        const ItemPointer all = textItem(u"@all"_s, {block(3, 0, 4, 0)});
        QCOMPARE(all->mentionUsers(), (QVariantMap{{u"atAll"_s, 1}}));
        QCOMPARE(sent(all), std::pair(QList<int>(), true));

        // An id beyond the protocol's range is sent as nobody: not as somebody else, nor as all.
        const QVariantMap emoji{{u"pack_id"_s, 5}, {u"emoji_id"_s, qint64(1) << 32}};
        const ItemPointer huge =
            textItem(u"@x"_s,
                     {block(3, 0, 2, (qint64(1) << 32) + 7), block(3, 0, 2, 1e300),
                      block(13, 0, 2, qint64(1) << 32), block(16, 0, 2, emoji)});
        im::content::Content content;
        huge->serialize(&content);
        for (const auto &entity : content.text().textentity()) {
            QVERIFY(entity.type() == 0 && entity.mention_user_id() == 0 && entity.length() == 2);
            QCOMPARE(entity.custom_emoji_pack_id(), 0);
        }
        QCOMPARE(sent(huge), std::pair(QList<int>(), false));
        QHash<int, QSet<int>> packs;
        QVERIFY(!huge->hasCustomEmoji(packs) && packs.isEmpty());

        // Stored numbers beyond the range are as much as may be.
        const QVariant most = qint64(1) << 32;
        const UserTextBlocks read = huge->deserializeEnities(
            {QVariantMap{{u"from"_s, most}, {u"len"_s, most}, {u"type"_s, most}},
             QVariantMap{{u"from"_s, -1e300}, {u"type"_s, 14}, {u"data"_s, most}}});
        QCOMPARE(read.at(0), (UserTextBlock{INT_MAX, INT_MAX, INT_MAX, {}, false}));
        QCOMPARE(read.at(1).from, INT_MIN);
        im::content::TextEntity position;
        huge->serializeEntity(&position, read.at(1));
        QCOMPARE(position.video_position(), INT_MAX);
    }

    void previews()
    {
        const QString text = u"https://a.example/x https://a.example https://B.example/y"_s;
        UserTextBlocks blocks{block(1, 0, 19),
                              block(1, 20, 17),
                              block(1, 38, 19),
                              block(2, 0, 19),
                              block(11, 0, 3, u"https://a.example/hidden"_s),
                              block(11, 0, 3, u"https://münchen.example/"_s)};
        const ItemPointer item = textItem(text, blocks);
        QCOMPARE(item->previewUrls(u"a.example"_s),
                 (QStringList{u"https://a.example/x"_s, u"https://a.example/hidden"_s}));
        QCOMPARE(item->previewUrls(u"xn--mnchen-3ya.example"_s).size(), 1);
        QVERIFY(item->previewUrls(u"B.example"_s).isEmpty());
        blocks[0].disablePreview = true;
        item->setContent(text, blocks);
        QCOMPARE(item->previewUrls(u"a.example"_s), QStringList{u"https://a.example/hidden"_s});

        // Hidden ranges end where the text does.
        QCOMPARE(textItem(u"abc"_s, {block(TextEntityType::Spoiler, 1, 9)})->spoilers(),
                 (QVariantList{QVariantMap{{u"from"_s, 1}, {u"len"_s, 2}}}));

        QVERIFY(item->hasUrl() && item->hasEntity());
        QVERIFY(textItem(text, {block(2, 0, 3)})->hasUrl()); // an address
        QVERIFY(!textItem(text, {block(7, 0, 3)})->hasUrl());
        QHash<int, QSet<int>> emoji;
        const QVariantMap data{{u"pack_id"_s, 5}, {u"emoji_id"_s, 6}};
        QVERIFY(!item->hasCustomEmoji(emoji));
        QVERIFY(textItem(text, {block(16, 0, 1, data)})->hasCustomEmoji(emoji));
        QCOMPARE(emoji, (QHash<int, QSet<int>>{{5, {6}}}));
    }

    void collapsing()
    {
        const QString code = u"a\n"_s.repeated(20).chopped(1);
        const ItemPointer item =
            textItem(code + u"\nafter"_s, {block(7, 0, 1), block(17, 0, int(code.size()))});
        const QSize open = measure(item);
        SignalLog log{{item.data()}};
        item->setCollapsed(1, true);
        QCOMPARE(log.take(), u"textEntityChanged needRecalcSize"_s);
        QVERIFY(measure(item).height() < open.height() / 2);
        item->setCollapsed(1, false);
        QCOMPARE(measure(item), open);

        const ItemPointer quote = textItem(u"q"_s, {block(TextEntityType::Quoted, 0, 1)});
        quote->setCollapsed(0, true);
        im::content::Content sent;
        quote->serialize(&sent);
        QVERIFY(sent.text().textentity(0).collapsed());

        log.take();
        for (int index : {-1, 0, 2, INT_MAX})
            item->setCollapsed(index, true);
        item->setCollapsed(1, false);
        QCOMPARE(log.take(), QString());
    }
    void largeEmoji()
    {
        AppSettingModel *settings = AppSettingModel::instance();
        const int sizes[] = {0, 88, 72, 64, 56, 48, 36, 24, 24};
        for (int count = 1; count <= 8; ++count) {
            init();
            const ItemPointer item = textItem(u"👩‍👩‍👧‍👦"_s.repeated(count));
            SignalLog log{{item.data()}};
            const QSize large = measure(item);
            QCOMPARE(item->type(), 503);
            QCOMPARE(item->emojiCount(), count);
            QVERIFY(log.take().contains(u"typeChanged"));

            // The same height as the text has at that font size, and some room around it.
            int lines = 0;
            const QSize bare = item->calcTextSize(lines, 400, 0, 0, sizes[count], 0, false);
            QCOMPARE(large, bare + QSize(0, 14));
            QCOMPARE(item->lineCount(), lines);
            settings->setPlainModel(true, false);
            QCOMPARE(measure(item), bare);
            settings->setLargeEmoji(false, false);
            QCOMPARE(measure(item), item->calcTextSize(lines, 400, 0, 0, 14, 0, true));
            QCOMPARE(item->type(), 1);
        }
        init();
        // What its record carries beside the text is kept while it is shown that way.
        const auto record =
            fromText<im::content::Content>("text { text: '😀😀' textEntity { group_id: 7 } }");
        const ItemPointer two = deserializeContent(record, 1, nullptr);
        measure(two);
        QCOMPARE(two->type(), 503);
        QVariantMap map = storedMap(*two);
        map.insert(u"entity"_s, two->serializeEntities());
        two->deserialize(map);
        im::content::Content written;
        two->serialize(&written);
        QCOMPARE(written.SerializeAsString(), record.SerializeAsString());

        for (const auto &[count, type] : {std::pair{4096, 503}, {4097, 1}}) {
            const ItemPointer item = textItem(u"😀"_s.repeated(count));
            measure(item);
            QCOMPARE(item->type(), type);
            QCOMPARE(item->emojiCount(), type == 503 ? count : 0);
        }
    }

    void emojiGame()
    {
        AppSettingModel *settings = AppSettingModel::instance();
        const ItemPointer item = textItem(u"🎲"_s);
        for (const auto &[large, plain, height] :
             {std::tuple{true, false, 120}, {true, true, 100}, {false, true, 100}}) {
            settings->setLargeEmoji(large, false);
            settings->setPlainModel(plain, false);
            QCOMPARE(measure(item), QSize(100, height));
            QCOMPARE(item->type(), 504);
            QVERIFY(item->isGame());
            QCOMPARE(item->lineCount(), 1);
        }
        QCOMPARE(copyContent(item)->content(), item->content());

        // An edit ends the game; so does a block that makes code of it.
        item->setContent(u"🎲"_s, {block(17, 0, 2)});
        measure(item);
        QVERIFY(!item->isGame());
        QCOMPARE(item->type(), 1);
        QCOMPARE(item->emojiCount(), 0);
        QVERIFY(!textItem(u"🎲🎲"_s)->isGame());
    }

    void textSize()
    {
        // Entities reach the layout.
        const int plain = measure(textItem(u"ill willow"_s)).width();
        for (const int type : {7, 10, 16})
            QVERIFY(
                measure(textItem(u"ill willow"_s, {block(type, 0, type == 16 ? 1 : 10)})).width()
                > plain);

        // A long text is elided, with room for what expands it, unless only a little longer.
        const auto lines = [](int count) { return textItem(u"x\n"_s.repeated(count).chopped(1)); };
        const int ten = measure(lines(10)).height();
        for (const auto &[count, maxRows, limit, shown, room] :
             {std::tuple{100, 10, 0, 10, 20}, {12, 10, 0, 12, 0}, {100, 0, 10, 10, 0}}) {
            const ItemPointer text = lines(count);
            const QSize size = measure(text, 400, maxRows, limit);
            QCOMPARE(text->lineCount(), shown);
            QCOMPARE(text->isElided(), room > 0);
            QCOMPARE(size.height(), measure(lines(shown)).height() + room);
        }
        // The settings' font size counts, in pixels.
        AppSettingModel::instance()->setThemeFontSize(28, false);
        QVERIFY(measure(lines(10)).height() > ten * 3 / 2);
        // Nothing is wider than it may be, whatever hangs together in it.
        for (const QString &text : {u"👩\u200D"_s.repeated(200), QString(99, QChar(0x1100)),
                                    u'a' + QString(99, QChar(0x0903))}) {
            for (const int width : {9, 60, 400})
                QVERIFY(measure(textItem(text), width).width() <= width);
        }
        // What does not fit into the properties saturates.
        QCOMPARE(measure(lines(3000)).height(), 32767);
    }

    void whenSizesAreCalculated()
    {
        const ItemPointer item = textItem(u"text"_s);
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
        SignalLog log{{item.data()}};
        item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, true);
        QCOMPARE(log.take(), u"contentHeightInThreadChanged contentWidthInThreadChanged"_s);
        QCOMPARE(item->contentHeight(), 0);
        item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, false);
        QCOMPARE(item->contentHeight(), item->contentHeightInThread());
        log.take();
        item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, false);
        QCOMPARE(log.take(), QString());
    }

    void sizesFromElsewhere()
    {
        class Message : public MessageBase
        {
        public:
            int contentHeight() const override { return 120; }
            int contentWidth() const override { return 1'000'000; }
        } message;
        const ItemPointer item = textItem(u"text"_s);
        SignalLog log{{item.data()}};
        item->setContentHeight(&message);
        item->setContentHeight(nullptr);
        item->setContentWidth(&message);
        QCOMPARE(log.take(), u"contentHeightChanged contentWidthChanged"_s);
        QCOMPARE(QSize(item->contentWidth(), item->contentHeight()), QSize(32767, 120));
    }
};

QTEST_MAIN(TestContentItem)
#include "tst_contentitem.moc"
