#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/everyfield.h"

#include <google/protobuf/util/message_differencer.h>

#include <QTest>

#include <algorithm>

using im::content::Content;

namespace
{

/// The kinds of body that are made into items.
constexpr Content::DataCase kinds[] = {
    Content::kText,
};

/// The text of a body: its own or its caption.
im::content::Text *textOf(Content *content)
{
    if (content->has_text())
        return content->mutable_text();
    auto *record = content->GetReflection()->MutableMessage(
        content, Content::descriptor()->FindFieldByNumber(content->data_case()));
    const auto *caption = record->GetDescriptor()->FindFieldByName("caption");
    return caption
        ? static_cast<im::content::Text *>(record->GetReflection()->MutableMessage(record, caption))
        : nullptr;
}

/// Bodies of one kind, with every field set.
Content body(Content::DataCase kind, std::uint64_t seed)
{
    EveryField values(seed);
    if (seed % 2)
        values.withUnknownFields();
    Content content;
    values.fill(&content, Content::descriptor()->FindFieldByNumber(kind));
    values.fill(&content, Content::descriptor()->FindFieldByName("buttons"));
    values.addUnknown(&content);
    // There are no negative effects, and they are not stored.
    if (im::content::Text *text = textOf(&content))
        text->set_effect(std::max(1, text->effect()));
    return content;
}

/// What a copy is of: an effect is played once, so copies have none.
Content withoutEffect(Content content)
{
    if (im::content::Text *text = textOf(&content))
        text->clear_effect();
    return content;
}

/// Empty when the item writes what `sent` is, else the differences.
std::string differences(const QSharedPointer<ContentItem> &item, const Content &sent)
{
    if (!item)
        return "no item";
    // What stood in the record before does not matter.
    Content written = body(sent.data_case(), 77);
    item->serialize(&written);
    std::string report;
    google::protobuf::util::MessageDifferencer differencer;
    differencer.ReportDifferencesToString(&report);
    return differencer.Compare(sent, written) ? std::string() : report + "\n";
}

} // namespace

/// Nothing that a body carries is lost on its way through an item and its stored forms.
class TestRoundTrip : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bodies_data()
    {
        QTest::addColumn<int>("kind");
        for (const auto kind : kinds) {
            QTest::newRow(Content::descriptor()->FindFieldByNumber(kind)->name().c_str())
                << int(kind);
        }
    }
    void bodies()
    {
        QFETCH(int, kind);
        for (std::uint64_t seed = 1; seed <= 100; ++seed) {
            const Content sent = body(Content::DataCase(kind), seed);
            const auto item = makeContentItem(sent.SerializeAsString(), 2, 1, nullptr);
            std::string lost = differences(item, sent);

            const QMap<QString, QVariant> map = serializeContent(item);
            const std::string json = mapToJson(map).toStdString();
            lost += differences(makeContentItem(map, 1, nullptr), sent);
            const auto restored = makeContentItem(json, 1, 1, nullptr);
            lost += differences(restored, sent);
            lost += differences(copyContent(restored), withoutEffect(sent));
            if (restored && serializeContent(restored) != serializeContent(item))
                lost += "the stored map differs";

            // An update leaves nothing of what the item was before.
            const auto updated = makeContentItem(
                body(Content::DataCase(kind), seed + 1000).SerializeAsString(), 2, 1, nullptr);
            updated->setContent(sent);
            lost += differences(updated, sent);
            QVERIFY2(lost.empty(), ("seed " + std::to_string(seed) + ":\n" + lost).c_str());
        }
    }

    void nothingIsAdded_data() { bodies_data(); }
    void nothingIsAdded()
    {
        QFETCH(int, kind);
        Content sent;
        sent.GetReflection()->MutableMessage(&sent, Content::descriptor()->FindFieldByNumber(kind));
        QCOMPARE(differences(makeContentItem(sent.SerializeAsString(), 2, 1, nullptr), sent),
                 std::string());
    }

    /// What belonged to the entities of a text goes with them; buttons stay.
    void entitiesThatAreReplaced()
    {
        Content sent = body(Content::kText, 4);
        const auto item = makeContentItem(sent.SerializeAsString(), 2, 1, nullptr);
        QCOMPARE(item->buttons().size(), sent.buttons_size());
        UserTextBlocks blocks = item->textEntity();
        for (UserTextBlock &block : blocks)
            block = {0, 1, TextEntityType::Bold, {}, false};
        item->setContent(item->content(), blocks);

        Content written;
        item->serialize(&written);
        QCOMPARE(written.text().textentity_size(), sent.text().textentity_size());
        for (const auto &entity : written.text().textentity())
            QVERIFY(!entity.is_anonymous() && entity.hyperlink().empty());
        QCOMPARE(written.buttons_size(), sent.buttons_size());
    }
};

QTEST_MAIN(TestRoundTrip)
#include "tst_roundtrip.moc"
