#include "account/stickerprovider.h"
#include "base/json.h"
#include "content/contentfactory.h"
#include "content/filedata.h"
#include "content/items/imageitem.h"
#include "content/items/stickeritem.h"
#include "content/modelbaseutil.h"
#include "imlog/imlog.h"
#include "protocol/message_content.pb.h"
#include "support/everyfield.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/loglines.h"

#include <google/protobuf/util/field_comparator.h>
#include <google/protobuf/util/message_differencer.h>

#include <QFile>
#include <QTest>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;
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
    google::protobuf::util::DefaultFieldComparator comparator;
    comparator.set_treat_nan_as_equal(true);
    differencer.set_field_comparator(&comparator);
    differencer.ReportDifferencesToString(&report);
    return differencer.Compare(sent, written) ? std::string() : report + "\n";
}

class OneSticker : public StickerProvider
{
public:
    QSharedPointer<ContentItem> sticker(const Content &) override { return shared; }
    QSharedPointer<ContentItem> sticker(const QMap<QString, QVariant> &) override { return shared; }

    QSharedPointer<ContentItem> shared = QSharedPointer<ContentItem>::create(1, nullptr);
};

/// Of an application that draws stickers itself.
class OwnSticker : public ContentItem
{
public:
    OwnSticker() : ContentItem(1, nullptr) { setType(Sticker); }
    void serialize(Content *content) const override
    {
        content->mutable_sticker()->set_hint("waving");
    }
    using ContentItem::serialize;
};

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

    /// Whatever somebody has put under a key, there is an item, and it is stored and read again as
    /// it is; numbers beyond the range are as much as may be.
    void oddStoredValues_data() { bodies_data(); }
    void oddStoredValues()
    {
        QFETCH(int, kind);
        FakeAccount account;
        const QVariantMap nested{{u"type"_s, u"text"_s}, {u"a"_s, 1}};
        const QVariantList odd{{},
                               true,
                               -1,
                               qlonglong(1) << 60,
                               1e300,
                               qQNaN(),
                               u""_s,
                               u"no Base64, no number"_s,
                               u"AAAA"_s,
                               QString(100'000, u'A'),
                               QByteArray("\xff\0\x80", 3),
                               QVariantList{1, {}, u"o"_s, QVariantList(), nested},
                               nested};
        const auto whole =
            makeContentItem(body(Content::DataCase(kind), 3).SerializeAsString(), 2, 1, &account);
        QVariantMap map;
        whole->serialize(map);
        QStringList keys = map.keys();
        keys.removeOne(u"type"_s);
        keys += {u"rest"_s,     u"filePath"_s,    u"thumbPath"_s, u"fileState"_s, u"sysType"_s,
                 u"pollInfo"_s, u"animatePath"_s, u"lottery"_s,   u"title"_s,     u"dbEntity"_s};
        for (const QString &key : std::as_const(keys)) {
            for (const QVariant &value : odd) {
                QVariantMap wrong = map;
                wrong.insert(key, value);
                const auto item = deserializeContent(wrong, kind, 1, &account);
                QVERIFY2(item, qPrintable(key));
                item->deserialize(wrong);
                const QVariant number = item->property(qPrintable(key));
                if (value == 1e300 && number.typeId() == QMetaType::Int && key != u"optionCount")
                    QVERIFY2(number == INT_MAX, qPrintable(key));
                QList<QSharedPointer<FileData>> files;
                item->getFile(files);
                for (const auto &file : std::as_const(files)) {
                    QVERIFY(file->fileState() <= BaseFile::UploadPaused);
                    file->exists();
                }
                item->calcSize(300, 0, 10, ContentItem::CONTENT_CHANGED, false);
                QVERIFY(item->contentWidth() >= 0 && item->contentHeight() >= 0);
                const auto stored = serializeContent(item);
                const auto again = makeContentItem(mapToJson(stored).toStdString(), 1, 1, &account);
                QVERIFY2(again && mapToJson(serializeContent(again)) == mapToJson(stored),
                         qPrintable(key));
                Content record;
                item->serialize(&record);
                QCOMPARE(record.data_case(), kind);
                const auto lost = differences(again, record, WithoutEffects); // none is negative
                QVERIFY2(lost.empty(), (key.toStdString() + ": " + lost).c_str());
            }
        }
    }

    /// Of what takes a hundred times as much in memory as on the wire, a part is kept, and a line
    /// tells of it.
    void enormousBodies()
    {
        LogLines lines;
        Content sent;
        QVariantList stored;
        for (int i = 0; i < 3 * ContentItem::mostEntities; ++i) {
            auto *entity = sent.mutable_text()->add_textentity();
            entity->set_type(im::content::TextEntity::BOLD);
            entity->set_offset(i);
            stored.append(QVariantMap{{u"from"_s, i}, {u"type"_s, 7}, {u"data"_s, u"],\\\","_s}});
        }
        const std::string json = mapToJson({{u"type"_s, u"text"_s},
                                            {u"dbEntity"_s, QString::fromUtf8(listToJson(stored))}})
                                     .toStdString();
        const auto item = makeContentItem(sent.SerializeAsString(), 2, 1, nullptr);
        const auto old = makeContentItem(json, 1, 1, nullptr);
        QCOMPARE(lines.take(), 2);
        for (const auto &each : {item, old}) {
            QCOMPARE(each->textEntity().size(), ContentItem::mostEntities);
            QCOMPARE(each->textEntity().last().from, ContentItem::mostEntities - 1);
        }
        item->setContent(sent);
        item->deserialize({{u"entity"_s, stored}});
        QCOMPARE(item->textEntity().size(), ContentItem::mostEntities);
        QCOMPARE(lines.take(), 2);

        // What an item keeps beside its own fields.
        Content buttons;
        buttons.mutable_text()->set_text("hi");
        for (int i = 0; i < 100'000; ++i)
            buttons.add_buttons();
        const auto hi = makeContentItem(buttons.SerializeAsString(), 2, 1, nullptr);
        QCOMPARE(hi->content(), u"hi"_s);
        QVERIFY(hi->buttons().isEmpty());
        Content alert;
        for (int i = 0; i < 100'000; ++i)
            alert.mutable_system_alert()->add_targets();
        makeContentItem(alert.SerializeAsString(), 2, 1, nullptr)->serialize(&alert);
        QCOMPARE(alert.system_alert().targets_size(), 1000);
        QCOMPARE(lines.take(), 2);
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

    void storedForms()
    {
        for (const QString &line : facts(u"stored_forms.txt"_s)) {
            const QString json = line.section(u'\t', 1);
            const auto item = makeContentItem(json.toStdString(), 1, 1, nullptr);
            const QString found = item && item->type() == 1 ? item->content() : u"none"_s;
            QVERIFY2(found == line.section(u'\t', 0, 0), qPrintable(line));
        }
    }

    void whatCannotBeMadeIsLogged()
    {
        LogLines lines("im.modelbase");
        const QVariantMap group{{u"type"_s, u"mediagroup"_s}};
        QVERIFY(!deserializeContent(group, ContentItem::MediaGroup, 1, nullptr));
        QVERIFY(!makeContentItem({{u"content"_s, QVariantList{group}}}, 1, nullptr));
        QVERIFY(!deserializeContent(Content(), 1, nullptr));
        QVERIFY(!makeContentItem(std::string("\xa2\x06\0", 3), 2, 1, nullptr));
        QCOMPARE(lines.take(), 4);
        QVERIFY(deserializeContent(QVariantMap{}, ContentItem::Text, 1, nullptr));
        QVERIFY(!makeContentItem(std::string(), 2, 1, nullptr));
        QCOMPARE(lines.take(), 0);

        // Damage is found in the log file, too.
        QVERIFY(!makeContentItem(std::string("\xff"), 2, 1, nullptr));
        const QVariantMap poll{{u"type"_s, u"poll"_s}, {u"pollInfo"_s, u"/w=="_s}};
        QVERIFY(deserializeContent(poll, ContentItem::Poll, 1, nullptr));
        ImLog::instance()->flush();
        QFile log(ImLog::instance()->directory() + u"/im.log"_s);
        QVERIFY(log.open(QFile::ReadOnly));
        const QByteArray written = log.readAll();
        QVERIFY(written.contains("makeContentItem parse pbContent failed."));
        QVERIFY(written.contains("The stored results of a poll are damaged."));
    }

    void stickersComeFromTheAccount()
    {
        Content sent;
        sent.mutable_sticker();
        OneSticker stickers;
        FakeAccount account;
        account.setStickerProvider(&stickers);
        QCOMPARE(makeContentItem(sent.SerializeAsString(), 2, 1, &account), stickers.shared);
        const QVariantMap stored{{u"type"_s, u"sticker"_s}};
        QCOMPARE(makeContentItem({{u"content"_s, QVariantList{stored}}}, 1, &account),
                 stickers.shared);
        QVERIFY(!makeContentItem(sent.SerializeAsString(), 2, 1, nullptr));
    }

    void filesAreShared()
    {
        Content content;
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

        // And one whose files got their ids before it was sent.
        for (const int type : ModelBaseUtil::uploadTypes()) {
            const auto sent = deserializeContent(QVariantMap{}, type, 1, &account);
            QList<QSharedPointer<FileData>> files(3);
            for (auto &file : files) {
                BaseFile base;
                base.setAesKey("key");
                base.setFileState(BaseFile::WaitingForUpload);
                file = QSharedPointer<FileData>::create(&base);
            }
            sent.dynamicCast<FileItem>()->setSourceFile(files[0]);
            sent.dynamicCast<FileItem>()->setThumbnailFile(files[1]);
            if (const auto image = sent.dynamicCast<ImageItem>())
                image->setLivePhoto(files[2]);
            for (qsizetype i = 0; i < files.size(); ++i) {
                im::content::FileInfo info;
                info.set_id(QByteArray("u" + QByteArray::number(100 * type + i)).toStdString());
                files[i]->update(info);
                files[i]->setFileState(BaseFile::Uploaded);
            }
            copyContent(sent)->serialize(&content); // forwarded before it comes back
            QList<QSharedPointer<FileData>> own;
            QList<QSharedPointer<FileData>> pushed;
            sent->getFile(own);
            const auto back = makeContentItem(content.SerializeAsString(), 2, 1, &account);
            back->getFile(pushed);
            // Of a voice message the body has no thumbnail.
            QCOMPARE(pushed, own.first(pushed.size()));
            QVERIFY(pushed.size() == own.size() || type == ContentItem::Voice);
        }
    }

    void copies()
    {
        QVERIFY(!copyContent({}) && serializeContent({}).isEmpty());
        // Whatever a map calls itself, an item is what it was made as.
        for (const int type : {ContentItem::Text, ContentItem::Poll, ContentItem::Lottery}) {
            for (const QString &name : {u"poll"_s, u"text"_s, u"card"_s, u""_s}) {
                const auto made =
                    deserializeContent(QVariantMap{{u"type"_s, name}}, type, 8, nullptr);
                QCOMPARE(made->type(), type);
                QCOMPARE(copyContent(made)->type(), type);
                QCOMPARE(copyContent(made)->source(), 1);
            }
        }
        // A copy is made by class: what an item calls itself does not make it one.
        for (int type = 1; type <= ContentItem::FileGroup; ++type) {
            const QVariantMap map{{u"type"_s, ModelBaseUtil::messageTypeIntToStr(type)},
                                  {u"content"_s, u"words"_s}};
            const auto plain = QSharedPointer<ContentItem>::create(map, 1, nullptr);
            const auto file = QSharedPointer<FileItem>::create(map, 1, nullptr);
            for (const QSharedPointer<ContentItem> &item :
                 {plain, file.staticCast<ContentItem>()}) {
                const auto copy = copyContent(item);
                QCOMPARE(copy->content(), u"words"_s);
                QCOMPARE(copy->type(), item->type());
                QCOMPARE(copy->metaObject(), item->metaObject());
            }
        }
        const auto own = QSharedPointer<OwnSticker>::create();
        const auto copy = copyContent(own).dynamicCast<StickerItem>();
        QVERIFY(copy && copy->hint() == u"waving");
    }
};

QTEST_MAIN(TestRoundTrip)
#include "tst_roundtrip.moc"
