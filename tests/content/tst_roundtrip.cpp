#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/everyfield.h"
#include "support/fakeaccount.h"

#include <google/protobuf/util/message_differencer.h>

#include <QTest>

#include <algorithm>
#include <bit>
#include <vector>

using im::content::Content;

namespace
{

/// Calls `change` for every text in a record: of a body, its caption, the contents inside it.
template <typename Change>
void forEachText(google::protobuf::Message *record, Change change)
{
    const auto *reflection = record->GetReflection();
    if (record->GetDescriptor() == im::content::Text::descriptor())
        change(static_cast<im::content::Text *>(record));
    std::vector<const google::protobuf::FieldDescriptor *> fields;
    reflection->ListFields(*record, &fields);
    for (const auto *field : fields) {
        if (field->cpp_type() != google::protobuf::FieldDescriptor::CPPTYPE_MESSAGE)
            continue;
        if (!field->is_repeated()) {
            forEachText(reflection->MutableMessage(record, field), change);
            continue;
        }
        for (int i = 0; i < reflection->FieldSize(*record, field); ++i)
            forEachText(reflection->MutableRepeatedMessage(record, field, i), change);
    }
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
    forEachText(&content,
                [](im::content::Text *text) { text->set_effect(std::max(1, text->effect())); });
    // The pack of a sticker never decreases, so an update is seen only with a later one.
    if (kind == Content::kSticker)
        content.mutable_sticker()->set_pid(2000 - int(seed));
    return content;
}

enum Effects { WithEffects, WithoutEffects };

/// Empty when the item writes what `sent` is, else the differences.
std::string differences(const QSharedPointer<ContentItem> &item, Content sent,
                        Effects effects = WithEffects)
{
    if (!item)
        return "no item";
    // What stood in the record before does not matter.
    Content written = body(sent.data_case(), 77);
    item->serialize(&written);
    if (effects == WithoutEffects) {
        forEachText(&sent, [](im::content::Text *text) { text->clear_effect(); });
        forEachText(&written, [](im::content::Text *text) { text->clear_effect(); });
    }
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
        // Every kind of body that the protocol has.
        const auto *kinds = Content::descriptor()->FindOneofByName("data");
        for (int i = 0; i < kinds->field_count(); ++i)
            QTest::newRow(kinds->field(i)->name().c_str()) << kinds->field(i)->number();
    }
    void bodies()
    {
        QFETCH(int, kind);
        FakeAccount account; // whose stickers are no other account's
        for (std::uint64_t seed = 1; seed <= 100; ++seed) {
            const Content sent = body(Content::DataCase(kind), seed);
            const auto item = makeContentItem(sent.SerializeAsString(), 2, 1, &account);
            std::string lost = differences(item, sent);

            const QMap<QString, QVariant> map = serializeContent(item);
            const std::string json = mapToJson(map).toStdString();
            lost += differences(makeContentItem(map, 1, &account), sent);
            const auto restored = makeContentItem(json, 1, 1, &account);
            lost += differences(restored, sent);
            // An effect is played once, so copies have none.
            const auto copy = copyContent(restored);
            lost += differences(copy, sent, WithoutEffects);
            if (copy && copy->effect() != 0)
                lost += "the copy has an effect";
            if (restored && serializeContent(restored) != serializeContent(item))
                lost += "the stored map differs";

            // An update leaves nothing of what the item was before.
            const auto updated = makeContentItem(
                body(Content::DataCase(kind), seed + 1000).SerializeAsString(), 2, 1, &account);
            updated->setContent(sent);
            lost += differences(updated, sent);
            QVERIFY2(lost.empty(), ("seed " + std::to_string(seed) + ":\n" + lost).c_str());
        }
    }

    void nothingIsAdded_data() { bodies_data(); }
    void nothingIsAdded()
    {
        QFETCH(int, kind);
        FakeAccount account; // whose stickers are no other account's
        Content sent;
        sent.GetReflection()->MutableMessage(&sent, Content::descriptor()->FindFieldByNumber(kind));
        QCOMPARE(differences(makeContentItem(sent.SerializeAsString(), 2, 1, &account), sent),
                 std::string());
    }

    /// Bit by bit, also where JSON has no form for them.
    void numbersThatAreNone()
    {
        for (const quint64 bits : {0x7ff8000000000000u, 0xfff8000000000001u, 0x7ff0000000000000u,
                                   0xfff0000000000000u, 0x8000000000000000u}) {
            Content content;
            content.mutable_location()->set_latitude(std::bit_cast<double>(bits));
            const std::string sent = content.SerializeAsString();
            const auto item = makeContentItem(sent, 2, 1, nullptr);
            const std::string json = mapToJson(serializeContent(item)).toStdString();
            makeContentItem(json, 1, 1, nullptr)->serialize(&content);
            QCOMPARE(content.SerializeAsString(), sent);
        }
    }

    /// What is beyond the range is as much as may be.
    void largeNumbers()
    {
        for (const char *type : {"image", "video", "voice", "music"}) {
            for (const char *key : {"w", "h", "thumbW", "thumbH", "duration"}) {
                const auto json = QByteArray("{\"type\":\"") + type + "\",\"" + key + "\":1e12}";
                const auto item = makeContentItem(json.toStdString(), 1, 1, nullptr);
                const QVariant number = item->property(key);
                QVERIFY2(!number.isValid() || number == INT_MAX, json);
            }
        }
    }

    void storedRemaindersOfNothing()
    {
        for (const QString &rest : {QStringLiteral("t"), QString(), QStringLiteral("~")}) {
            const QVariantMap map{{QStringLiteral("type"), QStringLiteral("text")},
                                  {QStringLiteral("rest"), rest}};
            const auto item = deserializeContent(map, ContentItem::Text, 1, nullptr);
            QVariantMap stored;
            item->serialize(stored);
            QVERIFY2(!stored.contains(QStringLiteral("rest")), qPrintable(rest));
        }
    }

    /// A view drops its buttons only when there are others, however they are spread over rows.
    void buttonsAreToldOfOnce()
    {
        Content sent;
        sent.mutable_text()->set_text("Coming?");
        sent.add_buttons()->add_buttons()->set_text("Yes");
        sent.add_buttons()->add_buttons()->set_text("No");
        Content oneRow = sent;
        oneRow.mutable_buttons()->RemoveLast();
        oneRow.mutable_buttons(0)->add_buttons()->set_text("No");

        const auto item = makeContentItem(sent.SerializeAsString(), 2, 1, nullptr);
        const auto other = makeContentItem(oneRow.SerializeAsString(), 2, 1, nullptr);
        QList<qsizetype> rows;
        connect(item.data(), &ContentItem::buttonsChanged, this,
                [&] { rows.append(item->buttons().size()); });
        item->setContent(sent);
        QCOMPARE(rows, QList<qsizetype>());
        item->setContent(oneRow);
        item->setContent(sent);
        QVariantMap stored;
        other->serialize(stored);
        item->deserialize(stored);
        QCOMPARE(rows, (QList<qsizetype>{1, 2, 1}));
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
