#include "account/stickerprovider.h"
#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/fakeaccount.h"

#include <QJSEngine>
#include <QRandomGenerator>
#include <QTest>

using TextEntity = im::content::TextEntity;

namespace
{

/// A text with one entity of every type, each with the payload that its type carries.
im::content::Content everyEntity()
{
    im::content::Content content;
    im::content::Text *text = content.mutable_text();
    text->set_text("Grüße an alle 🎉 und שלום");
    text->set_effect(3);
    for (int type = TextEntity::Type_MIN; type <= TextEntity::Type_MAX; ++type) {
        TextEntity *entity = text->add_textentity();
        entity->set_type(TextEntity::Type(type));
        entity->set_offset(type);
        entity->set_length(2);
        entity->set_disable_preview(type % 2);
        switch (type) {
        case TextEntity::MENTION_NAME:
        case TextEntity::BOT_COMMAND:
            entity->set_mention_user_id(4711);
            break;
        case TextEntity::HYPERLINK:
            entity->set_hyperlink("https://a.example/ü");
            break;
        case TextEntity::VIDEO_POSITION:
            entity->set_video_position(83);
            break;
        case TextEntity::CUSTOM_EMOJI:
            entity->set_custom_emoji_pack_id(5);
            entity->set_custom_emoji_id(6);
            break;
        case TextEntity::CODE_BLOCK:
            entity->set_code_lang("cpp");
            entity->set_collapsed(true);
            break;
        case TextEntity::QUOTED:
            entity->set_collapsed(true);
            break;
        default:
            break;
        }
    }
    // What a newer client may send.
    text->add_textentity()->set_type(TextEntity::Type(99));
    text->mutable_textentity()->rbegin()->set_offset(-5);
    text->mutable_textentity()->rbegin()->set_length(INT_MAX);
    return content;
}

/// The record that an item sends.
im::content::Content recordOf(const QSharedPointer<ContentItem> &item)
{
    im::content::Content content;
    item->serialize(&content);
    return content;
}

class FakeStickers : public StickerProvider
{
public:
    QSharedPointer<ContentItem> sticker(const im::content::Content &content) override
    {
        received = content.sticker().shortcut();
        return shared;
    }
    QSharedPointer<ContentItem> sticker(const QMap<QString, QVariant> &map) override
    {
        stored = map.value(QStringLiteral("shortcut")).toString();
        return shared;
    }

    QSharedPointer<ContentItem> shared = QSharedPointer<ContentItem>::create(1, nullptr);
    std::string received;
    QString stored;
};

} // namespace

class TestContentFactory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTripsThroughEveryPath();
    void storedForms_data();
    void storedForms();
    void stickersComeFromTheAccount();
    void copies();
    void badBytes_data();
    void badBytes();
};

void TestContentFactory::roundTripsThroughEveryPath()
{
    const im::content::Content sent = everyEntity();
    const auto item = makeContentItem(sent.SerializeAsString(), 2, 1, nullptr);
    QVERIFY(item);
    QCOMPARE(item->type(), 1);
    QCOMPARE(item->effect(), 3);
    QCOMPARE(item->textEntity().size(), 20);
    QCOMPARE(recordOf(item).SerializeAsString(), sent.SerializeAsString());
    QCOMPARE(QJSEngine::objectOwnership(item.data()), QJSEngine::CppOwnership);
    QCOMPARE(item->sharedFromThis(), item);

    // Through the stored map, as it is and as JSON; both ways come back the same.
    const QMap<QString, QVariant> stored = serializeContent(item);
    const auto fromMap = makeContentItem(stored, 1, nullptr);
    QVERIFY(fromMap);
    QCOMPARE(recordOf(fromMap).SerializeAsString(), sent.SerializeAsString());
    const auto fromJson = makeContentItem(mapToJson(stored).toStdString(), 1, 1, nullptr);
    QVERIFY(fromJson);
    QCOMPARE(recordOf(fromJson).SerializeAsString(), sent.SerializeAsString());
    QCOMPARE(fromJson->textEntity(), item->textEntity());
}

void TestContentFactory::storedForms_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("isText");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *name, const char *json, bool isText, const char *text = "hi") {
        QTest::newRow(name) << QByteArray(json) << isText << QString::fromUtf8(text);
    };
    row("list of items", R"({"content":[{"type":"text","content":"hi"}]})", true);
    row("only the first counts", R"({"content":[{"type":"text","content":"hi"},{"type":"text"}]})",
        true);
    row("one item", R"({"type":"text","content":"hi"})", true);
    row("wrapped in data", R"({"data":{"content":[{"type":"text","content":"hi"}]},"type":"x"})",
        true);
    row("number for a text", R"({"type":"text","content":12})", true, "12");
    row("object for a text", R"({"type":"text","content":{"a":1}})", true, "");
    row("entities that are none", R"({"type":"text","content":"hi","dbEntity":"[1,null,\"x\"]"})",
        true);
    row("entities that are no list", R"({"type":"text","content":"hi","dbEntity":"{}"})", true);
    row("numbers as texts",
        R"({"type":"text","content":"hi","effect":"4","dbEntity":"[{\"from\":\"a\"}]"})", true);
    row("data without a list", R"({"data":{"type":"text","content":"hi"}})", false);
    row("empty list", R"({"content":[]})", false);
    row("list of texts", R"({"content":["text"]})", false);
    row("no object", R"([{"type":"text"}])", false);
    row("cut off", R"({"type":"text","con)", false);
    row("in-memory type", R"({"type":"largeemoji","content":"hi"})", false);
}

void TestContentFactory::storedForms()
{
    QFETCH(QByteArray, json);
    QFETCH(bool, isText);
    QFETCH(QString, text);
    const auto item = makeContentItem(json.toStdString(), 1, 1, nullptr);
    QCOMPARE(item && item->type() == 1, isText);
    if (isText)
        QCOMPARE(item->content(), text);
}

void TestContentFactory::stickersComeFromTheAccount()
{
    im::content::Content content;
    content.mutable_sticker()->set_shortcut(":wave:");
    const std::string bytes = content.SerializeAsString();
    const QMap<QString, QVariant> map{
        {QStringLiteral("content"),
         QVariantList{QVariantMap{{QStringLiteral("type"), QStringLiteral("sticker")},
                                  {QStringLiteral("shortcut"), QStringLiteral(":bow:")}}}}};

    FakeAccount account;
    QVERIFY(!makeContentItem(bytes, 2, 1, nullptr));
    QVERIFY(!makeContentItem(bytes, 2, 1, &account));

    FakeStickers stickers;
    account.setStickerProvider(&stickers);
    QCOMPARE(makeContentItem(bytes, 2, 1, &account), stickers.shared);
    QCOMPARE(stickers.received, ":wave:");
    QCOMPARE(makeContentItem(map, 1, &account), stickers.shared);
    QCOMPARE(stickers.stored, QStringLiteral(":bow:"));
}

void TestContentFactory::copies()
{
    const auto item = makeContentItem(everyEntity().SerializeAsString(), 2, 8, nullptr);
    const auto copy = copyContent(item);
    QVERIFY(copy && copy != item);
    QCOMPARE(copy->content(), item->content());
    QCOMPARE(copy->textEntity(), item->textEntity());
    QCOMPARE(copy->source(), 1);
    copy->setContent(QStringLiteral("other"), {});
    QCOMPARE(item->textEntity().size(), 20);

    QVERIFY(!copyContent({}));
    QVERIFY(serializeContent({}).isEmpty());
    QList<QVariant> list;
    serializes({}, list);
    QVERIFY(list.isEmpty());
    serializes(item, list);
    serializes(copy, list);
    QCOMPARE(list.size(), 2);
}

void TestContentFactory::badBytes_data()
{
    QTest::addColumn<int>("version");
    for (int version : {-1, 0, 1, 2, 3, INT_MAX})
        QTest::addRow("version %d", version) << version;
}

void TestContentFactory::badBytes()
{
    QFETCH(int, version);
    QVERIFY(!makeContentItem(std::string(), version, 1, nullptr));

    const auto whole = makeContentItem(everyEntity().SerializeAsString(), 2, 1, nullptr);
    const std::string bytes = version > 1 ? everyEntity().SerializeAsString()
                                          : mapToJson(serializeContent(whole)).toStdString();
    QVERIFY(makeContentItem(bytes, version, 1, nullptr));

    // Whatever comes out of damaged bytes can be written and measured like any other item.
    QRandomGenerator random(20240607);
    int made = 0;
    const auto use = [&](const std::string &damaged) {
        const auto item = makeContentItem(damaged, version, 1, nullptr);
        if (!item)
            return;
        ++made;
        item->calcSize(200, 0, 10, ContentItem::CONTENT_CHANGED, false);
        item->previewUrls(QStringLiteral("a.example"));
        item->spoilers();
        makeContentItem(mapToJson(serializeContent(item)).toStdString(), 1, 1, nullptr);
        recordOf(item).SerializeAsString();
    };
    for (std::size_t size = 0; size < bytes.size(); ++size)
        use(bytes.substr(0, size));
    for (int i = 0; i < 2000; ++i) {
        std::string flipped = bytes;
        for (int n = random.bounded(1, 4); n > 0; --n)
            flipped[random.bounded(quint32(flipped.size()))] ^= char(1 << random.bounded(8));
        use(flipped);
        std::string noise(std::size_t(random.bounded(64)), '\0');
        for (char &c : noise)
            c = char(random.bounded(256));
        use(noise);
    }
    QVERIFY(made > 0);

    // Nested beyond any reason.
    use(std::string(100'000, '['));
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += R"({"data":)";
    use(deep);
    use(std::string(100'000, '\x6a'));
}

QTEST_MAIN(TestContentFactory)
#include "tst_contentfactory.moc"
