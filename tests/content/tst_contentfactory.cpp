#include "account/stickerprovider.h"
#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "content/filedata.h"
#include "content/items/fileitem.h"
#include "imlog/imlog.h"
#include "protocol/message_content.pb.h"
#include "support/fakeaccount.h"

#include <QFile>
#include <QJSEngine>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

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
        if (type == TextEntity::MENTION_NAME || type == TextEntity::BOT_COMMAND)
            entity->set_mention_user_id(4711);
        else if (type == TextEntity::HYPERLINK)
            entity->set_hyperlink("https://a.example/ü");
        else if (type == TextEntity::VIDEO_POSITION)
            entity->set_video_position(83);
        else if (type == TextEntity::CUSTOM_EMOJI)
            entity->set_custom_emoji_pack_id(5);
        if (type == TextEntity::CUSTOM_EMOJI)
            entity->set_custom_emoji_id(6);
        if (type == TextEntity::CODE_BLOCK)
            entity->set_code_lang("cpp");
        entity->set_collapsed(type == TextEntity::CODE_BLOCK || type == TextEntity::QUOTED);
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
        stored = map.value(u"shortcut"_s).toString();
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
    void roundTripsThroughEveryPath()
    {
        const std::string sent = everyEntity().SerializeAsString();
        const auto item = makeContentItem(sent, 2, 1, nullptr);
        QVERIFY(item);
        QCOMPARE(item->type(), 1);
        QCOMPARE(item->effect(), 3);
        QCOMPARE(item->textEntity().size(), 20);
        QCOMPARE(QJSEngine::objectOwnership(item.data()), QJSEngine::CppOwnership);
        QCOMPARE(item->sharedFromThis(), item);

        // Through the stored map, as it is and as JSON; all ways come back the same.
        const QMap<QString, QVariant> stored = serializeContent(item);
        for (const auto &same : {item, makeContentItem(stored, 1, nullptr),
                                 makeContentItem(mapToJson(stored).toStdString(), 1, 1, nullptr)}) {
            QVERIFY(same);
            QCOMPARE(recordOf(same).SerializeAsString(), sent);
            QCOMPARE(same->textEntity(), item->textEntity());
        }
    }

    /// Offsets count it.
    void textsMayBeginWithAByteOrderMark()
    {
        im::content::Content content;
        content.mutable_text()->set_text("\ufeff@Mia");
        const auto item = makeContentItem(content.SerializeAsString(), 2, 1, nullptr);
        QCOMPARE(item->content().size(), 5);
        const std::string stored = mapToJson(serializeContent(item)).toStdString();
        QCOMPARE(makeContentItem(stored, 1, 1, nullptr)->content(), item->content());
    }

    void storedForms()
    {
        // clang-format off
        static constexpr std::pair<const char *, const char *> forms[] = { // the text, if it is one
            {"{'content':[{'type':'text','content':'hi'}]}", "hi"},
            {"{'content':[{'type':'text','content':'hi'},{'type':'text'}]}", "hi"},
            {"{'type':'text','content':'hi'}", "hi"},
            {"{'data':{'content':[{'type':'text','content':'hi'}]},'type':'x'}", "hi"},
            {"{'type':'text','content':12}", "12"},
            {"{'type':'text','content':{'a':1}}", ""},
            {"{'type':'text','content':'hi','dbEntity':'[1,null,~x~]'}", "hi"},
            {"{'type':'text','content':'hi','dbEntity':'{}'}", "hi"},
            {"{'type':'text','content':'hi','effect':'4','dbEntity':'[{~from~:~a~}]'}", "hi"},
            {"{'data':{'type':'text','content':'hi'}}", nullptr},
            {"{'content':[]}", nullptr},
            {"{'content':['text']}", nullptr},
            {"[{'type':'text'}]", nullptr},
            {"{'type':'text','con", nullptr},
            {"{'type':'largeemoji','content':'hi'}", nullptr},
        };
        // clang-format on
        for (const auto &[json, text] : forms) {
            const QByteArray quoted = QByteArray(json).replace('\'', '"').replace('~', "\\\"");
            const auto item = makeContentItem(quoted.toStdString(), 1, 1, nullptr);
            QVERIFY2((item && item->type() == 1) == (text != nullptr), json);
            if (text)
                QVERIFY2(item->content() == QString::fromUtf8(text), json);
        }
    }

    void whatCannotBeMadeIsLogged()
    {
        static QStringList lines;
        const auto made = [](auto make) {
            lines.clear();
            const auto before = qInstallMessageHandler(
                [](QtMsgType, const QMessageLogContext &context, const QString &text) {
                    lines.append(QLatin1StringView(context.category) + u": "_s + text);
                });
            const bool isMade = make() != nullptr;
            qInstallMessageHandler(before);
            return isMade;
        };
        const QStringList once{u"im.modelbase: makeContentItem version or content error."_s};
        const QVariantMap group{{u"type"_s, u"mediagroup"_s}};
        QVERIFY(!made([&] { return deserializeContent(group, 501, 1, nullptr); }));
        QCOMPARE(lines, once);
        QVERIFY(!made([&] {
            return makeContentItem({{u"content"_s, QVariantList{group}}}, 1, nullptr);
        }));
        QCOMPARE(lines, once);
        QVERIFY(!made([] { return deserializeContent(im::content::Content(), 1, nullptr); }));
        QCOMPARE(lines, once);
        QVERIFY(!made([] { return makeContentItem(std::string("\xa2\x06\0", 3), 2, 1, nullptr); }));
        QCOMPARE(lines, once);
        QVERIFY(made([] { return deserializeContent(QVariantMap{}, 1, 1, nullptr); }));
        QCOMPARE(lines, QStringList());

        // Damage is found in the log file, too.
        QVERIFY(!made([] { return makeContentItem(std::string("\xff"), 2, 1, nullptr); }));
        const QVariantMap poll{{u"type"_s, u"poll"_s}, {u"pollInfo"_s, u"/w=="_s}};
        QVERIFY(made([&] { return deserializeContent(poll, 13, 1, nullptr); }));
        ImLog::instance()->flush();
        QFile log(ImLog::instance()->directory() + u"/im.log"_s);
        QVERIFY(log.open(QFile::ReadOnly));
        const QByteArray written = log.readAll();
        QVERIFY(written.contains("makeContentItem parse pbContent failed."));
        QVERIFY(written.contains("The stored results of a poll are damaged."));
    }

    void stickersComeFromTheAccount()
    {
        im::content::Content content;
        content.mutable_sticker()->set_shortcut(":wave:");
        const std::string bytes = content.SerializeAsString();
        const QVariantMap stored{{u"type"_s, u"sticker"_s}, {u"shortcut"_s, u":bow:"_s}};
        FakeAccount account;
        QVERIFY(!makeContentItem(bytes, 2, 1, nullptr));
        const auto own = makeContentItem(bytes, 2, 1, &account);
        QVERIFY(own && own->type() == ContentItem::Sticker);

        FakeStickers stickers;
        account.setStickerProvider(&stickers);
        QCOMPARE(makeContentItem(bytes, 2, 1, &account), stickers.shared);
        QCOMPARE(stickers.received, ":wave:");
        QCOMPARE(makeContentItem({{u"content"_s, QVariantList{stored}}}, 1, &account),
                 stickers.shared);
        QCOMPARE(stickers.stored, u":bow:"_s);
    }

    void filesAreShared()
    {
        im::content::Content content;
        content.mutable_file()->mutable_attach_file()->set_id("f1");
        FakeAccount account;
        const auto made = [&] {
            return makeContentItem(content.SerializeAsString(), 2, 1, &account)
                .dynamicCast<FileItem>();
        };
        // That of an upload, once the account has the message.
        const auto upload = QSharedPointer<FileItem>::create(1, &account);
        const auto record = QSharedPointer<FileData>::create(content.file().attach_file());
        upload->setSourceFile(record);
        upload->setContent(content);
        QCOMPARE(upload->sourceFile(), record);
        QCOMPARE(made()->sourceFile(), record);
    }

    void copies()
    {
        const auto item = makeContentItem(everyEntity().SerializeAsString(), 2, 8, nullptr);
        const auto copy = copyContent(item);
        QVERIFY(copy && copy != item);
        QCOMPARE(copy->content(), item->content());
        QCOMPARE(copy->textEntity(), item->textEntity());
        QCOMPARE(copy->source(), 1);
        copy->setContent(u"other"_s, {});
        QCOMPARE(item->textEntity().size(), 20);

        // Whatever a map calls itself, an item is what it was made as.
        for (const int type : {ContentItem::Text, ContentItem::Poll, ContentItem::Lottery}) {
            for (const char *name : {"poll", "text", "card", ""}) {
                const auto made = deserializeContent(
                    QVariantMap{{u"type"_s, QString::fromLatin1(name)}}, type, 1, nullptr);
                QCOMPARE(made->type(), type);
                QCOMPARE(copyContent(made)->type(), type);
            }
        }

        QVERIFY(!copyContent({}));
        QVERIFY(serializeContent({}).isEmpty());
        QList<QVariant> list;
        serializes({}, list);
        QVERIFY(list.isEmpty());
        serializes(item, list);
        serializes(copy, list);
        QCOMPARE(list.size(), 2);
    }
    void badBytes_data()
    {
        QTest::addColumn<int>("version");
        for (int version : {-1, 1, 2, INT_MAX})
            QTest::addRow("version %d", version) << version;
    }
    void badBytes()
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
            item->previewUrls(u"a.example"_s);
            item->spoilers();
            makeContentItem(mapToJson(serializeContent(item)).toStdString(), 1, 1, nullptr);
            recordOf(item).SerializeAsString();
        };
        for (std::size_t size = 0; size < bytes.size(); ++size)
            use(bytes.substr(0, size));
        for (int i = 0; i < 700; ++i) {
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
        use(QByteArray("{\"data\":").repeated(100'000).toStdString());
        use(std::string(100'000, '\x6a'));
    }
};

QTEST_MAIN(TestContentFactory)
#include "tst_contentfactory.moc"
