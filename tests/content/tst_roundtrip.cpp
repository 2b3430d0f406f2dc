#include "account/stickerprovider.h"
#include "base/json.h"
#include "content/contentfactory.h"
#include "content/filedata.h"
#include "content/items/imageitem.h"
#include "content/items/stickeritem.h"
#include "content/modelbaseutil.h"
#include "imlog/imlog.h"
#include "protocol/message_content.pb.h"
#include "support/contents.h"
#include "support/everyfield.h"
#include "support/facts.h"
#include "support/fakeaccount.h"
#include "support/loglines.h"
#include "support/signallog.h"

#include <google/protobuf/util/field_comparator.h>
#include <google/protobuf/util/message_differencer.h>

#include <QFile>
#include <QMetaProperty>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <functional>
#include <vector>

using namespace Qt::StringLiterals;
using im::content::Content;

namespace
{

/// Makes the effects of all texts in a record positive: of a body, its caption, the contents inside
/// it. There are no negative ones, and they are not stored.
void cleanEffects(google::protobuf::Message *record)
{
    const auto *reflection = record->GetReflection();
    if (record->GetDescriptor() == im::content::Text::descriptor()) {
        auto *text = static_cast<im::content::Text *>(record);
        text->set_effect(std::max(1, text->effect()));
    }
    std::vector<const google::protobuf::FieldDescriptor *> fields;
    reflection->ListFields(*record, &fields);
    for (const auto *field : fields) {
        if (field->cpp_type() != google::protobuf::FieldDescriptor::CPPTYPE_MESSAGE)
            continue;
        if (!field->is_repeated()) {
            cleanEffects(reflection->MutableMessage(record, field));
            continue;
        }
        for (int i = 0; i < reflection->FieldSize(*record, field); ++i)
            cleanEffects(reflection->MutableRepeatedMessage(record, field, i));
    }
}

/// Bodies of one kind, with every field set; of seed 0, with none.
Content body(Content::DataCase kind, std::uint64_t seed)
{
    EveryField values(seed);
    if (seed % 2)
        values.withUnknownFields();
    Content content;
    const auto *field = Content::descriptor()->FindFieldByNumber(kind);
    if (seed == 0) {
        content.GetReflection()->MutableMessage(&content, field);
    } else {
        values.fill(&content, field);
        values.fill(&content, Content::descriptor()->FindFieldByName("buttons"));
        values.addUnknown(&content);
    }
    cleanEffects(&content);
    // The pack of a sticker never decreases, so an update is seen only with a later one.
    if (kind == Content::kSticker)
        content.mutable_sticker()->set_pid(2000 - int(seed));
    return content;
}

/// The body that a kind is made from: there is none of a folder.
Content::DataCase bodyOf(int kind)
{
    return Content::DataCase(kind == ContentItem::Folder ? int(ContentItem::File) : kind);
}

QSharedPointer<ContentItem> made(int kind, const Content &content, AccountBase *account)
{
    const auto item = make<ContentItem>(content, account);
    return item->type() == kind ? item : deserializeContent(storedMap(*item), kind, 1, account);
}

/// The map that updates an item to what another one is.
QVariantMap mapOf(const ContentItem &item)
{
    QVariantMap map = storedMap(item);
    map.insert(u"entity"_s, item.serializeEntities());
    return map;
}

enum Effects { WithEffects, WithoutEffects };

/// Empty when the item writes what `sent` is, else the differences.
std::string differences(const QSharedPointer<ContentItem> &item, const Content &sent,
                        Effects effects = WithEffects)
{
    if (!item)
        return "no item";
    // What stood in the record before does not matter.
    Content written = body(sent.data_case(), 77);
    item->serialize(&written);
    std::string report;
    google::protobuf::util::MessageDifferencer differencer;
    if (effects == WithoutEffects)
        differencer.IgnoreField(im::content::Text::descriptor()->FindFieldByName("effect"));
    google::protobuf::util::DefaultFieldComparator comparator;
    comparator.set_treat_nan_as_equal(true);
    differencer.set_field_comparator(&comparator);
    differencer.ReportDifferencesToString(&report);
    return differencer.Compare(sent, written) ? std::string() : report + "\n";
}

/// The values of all properties.
QVariantMap valuesOf(const ContentItem &item)
{
    QVariantMap values;
    const QMetaObject *meta = item.metaObject();
    for (int i = QObject::staticMetaObject.propertyCount(); i < meta->propertyCount(); ++i)
        values.insert(QLatin1StringView(meta->property(i).name()), meta->property(i).read(&item));
    return values;
}

/// An item and the objects that its properties have: files, options, members.
QObjectList withThoseHeld(QObject *item)
{
    QObjectList all{item};
    for (int i = QObject::staticMetaObject.propertyCount(); i < item->metaObject()->propertyCount();
         ++i) {
        const QVariant value = item->metaObject()->property(i).read(item);
        const QVariantList list =
            value.canConvert<QVariantList>() ? value.toList() : QVariantList{value};
        for (const QVariant &each : list) {
            if (QObject *object = each.value<QObject *>(); object && !all.contains(object))
                all += object;
        }
    }
    return all;
}

/// What is wrong with the signals of a change: of each property that it changes there is to be one,
/// and of nothing else, when all values are in place; and one asks for another size. `told` gets
/// them.
QString mistold(ContentItem &item, const std::function<void()> &change, QString *told = nullptr)
{
    const auto sizeOf = [&item] {
        const auto copy = copyContent(item.sharedFromThis()); // whose measuring tells nothing
        int lines = 0;
        return copy->calcContentSize(lines, 300, 0, false);
    };
    const QSize size = sizeOf();
    const QVariantMap before = valuesOf(item);
    QVariantMap atFirst;
    SignalLog log({&item});
    log.atEach = [&] {
        if (atFirst.isEmpty())
            atFirst = valuesOf(item);
    };
    change();
    const QVariantMap after = valuesOf(item);
    QStringList signalled = log.names();
    if (told)
        *told = signalled.join(u' ');

    QStringList wrong;
    QSet<QString> due;
    const QMetaObject *meta = item.metaObject();
    for (auto at = after.begin(); at != after.end(); ++at) {
        const int property = meta->indexOfProperty(qPrintable(at.key()));
        if (at.value() != before.value(at.key()))
            due += QLatin1StringView(meta->property(property).notifySignal().name());
        // Buttons are kept apart, with what else no item has a field for.
        if (at.value() != atFirst.value(at.key(), at.value()) && at.key() != u"buttons")
            wrong += at.key() + u" is late"_s;
    }
    if (due.contains(u"textEntityChanged"_s)) // hidden ranges are told of with all others
        due += u"spoilersChanged"_s;
    if (sizeOf() != size && !signalled.contains(u"needRecalcSize"_s)
        && !due.contains(u"contentChanged"_s)
        && item.type() != ContentItem::Sticker) // which never ask
        due += u"needRecalcSize"_s;
    for (const QString &name : std::as_const(due)) {
        if (!signalled.removeOne(name))
            wrong += name + u" is missing"_s;
    }
    signalled.removeOne(u"needRecalcSize"_s);
    for (const QString &name : std::as_const(signalled))
        wrong += name + u" is needless"_s;
    return wrong.join(u", "_s);
}

/// Another value for a property; none for objects of the application.
QVariant otherThan(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return !value.toBool();
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::LongLong:
        return value.toLongLong() == 5 ? 6 : 5;
    case QMetaType::QString:
        return value.toString() + u'x';
    case QMetaType::QByteArray:
        return value.toByteArray() + 'x';
    case QMetaType::QVariantList:
        return value.toList() << QVariantMap{{u"name"_s, u"new"_s}};
    default:
        if (value.metaType() == QMetaType::fromType<QList<int>>())
            return QVariant::fromValue(value.value<QList<int>>().isEmpty() ? QList<int>{0}
                                                                           : QList<int>());
        return {};
    }
}

/// Whether these are the lines of this row in a file of facts; prints them where they differ.
bool areFactsOfRow(const QStringList &lines, const QString &name)
{
    const QString row = QLatin1StringView(QTest::currentDataTag()) + u' ';
    const QStringList expected = facts(name).filter(QRegularExpression(u'^' + row));
    QStringList actual;
    for (const QString &line : lines)
        actual += row + line;
    if (actual != expected)
        qWarning().noquote() << actual.join(u'\n');
    return actual == expected;
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
        for (std::uint64_t seed = 0; seed <= 100; ++seed) {
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

            QVERIFY2(lost.empty(), ("seed " + std::to_string(seed) + ":\n" + lost).c_str());
        }
    }

    void properties_data()
    {
        bodies_data();
        QTest::newRow("folder") << int(ContentItem::Folder);
    }
    /// What tells of each property that can be set, and where it goes.
    void properties()
    {
        QFETCH(int, kind);
        FakeAccount account;
        const auto item = made(kind, body(bodyOf(kind), 3), &account);
        QStringList lines;
        const QMetaObject *meta = item->metaObject();
        const int first =
            kind == ContentItem::Text ? 1 : ContentItem::staticMetaObject.propertyCount();
        for (int i = first; i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            const QVariant other =
                property.isWritable() ? otherThan(property.read(item.data())) : QVariant();
            if (!other.isValid())
                continue;
            const QVariantMap map = storedMap(*item);
            Content record;
            item->serialize(&record);
            const auto set = [&](const QVariant &value) {
                return [&, value] { property.write(item.data(), value); };
            };
            QString told;
            const QVariant before = property.read(item.data());
            const QString searched = item->getKeyword();
            QCOMPARE(mistold(*item, set(other), &told), QString());
            SignalLog again({item.data()});
            set(other)();
            QCOMPARE(again.take(), QString());
            QCOMPARE(property.read(item.data()), other);

            QString line = QLatin1StringView(property.name()) + u": "_s + told;
            if (property.read(copyContent(item).data()) == other)
                line += u"; copied"_s;
            if (item->getKeyword() != searched)
                line += u"; searched"_s;
            const QVariantMap now = storedMap(*item);
            const QStringList keys = (map.size() > now.size() ? map : now).keys();
            for (const QString &key : keys)
                line += now.value(key) != map.value(key) ? u"; stored "_s + key : QString();
            if (now != map)
                QCOMPARE(property.read(deserializeContent(now, kind, 1, &account).data()), other);
            const auto sent = QString::fromStdString(differences(item, record));
            for (const QString &field : sent.split(u'\n', Qt::SkipEmptyParts))
                line += u"; sent "_s + field.section(u": "_s, 1, 1);
            lines += line;
            QCOMPARE(mistold(*item, set(before)), QString());
            QCOMPARE(storedMap(*item), map);
        }
        QVERIFY(areFactsOfRow(lines, u"properties.txt"_s));
    }

    void updates_data() { properties_data(); }
    /// In place, whole or in a part, from records and from maps.
    void updates()
    {
        QFETCH(int, kind);
        FakeAccount account;
        FakeAccount another; // whose files are others
        const auto *field = Content::descriptor()->FindFieldByNumber(bodyOf(kind));
        const auto foreign = kind == ContentItem::Call ? Content::kCard : Content::kCall;
        QStringList whole;
        for (std::uint64_t seed = 1; seed <= 10; ++seed) {
            const Content before = body(bodyOf(kind), seed + 1000);
            const Content after = body(bodyOf(kind), seed);
            QList<Content> targets{after, before};
            // The same buttons, all in one row.
            for (auto *rows = targets[1].mutable_buttons(); rows->size() > 1; rows->RemoveLast())
                rows->Mutable(0)->MergeFrom(rows->Get(rows->size() - 1));
            for (int i = 0; i < field->message_type()->field_count(); ++i) {
                Content from = after;
                auto *part = targets.emplace_back(before).GetReflection()->MutableMessage(
                    &targets.last(), field);
                part->GetReflection()->SwapFields(
                    part, from.GetReflection()->MutableMessage(&from, field),
                    {field->message_type()->field(i)});
            }
            for (const Content &target : std::as_const(targets)) {
                for (const bool isStored : {false, true}) {
                    const auto item = made(kind, before, &account);
                    const auto expected = made(kind, target, &another);
                    const auto update = [&] {
                        if (isStored)
                            item->deserialize(mapOf(*expected));
                        else
                            item->setContent(target);
                    };
                    QString told;
                    QCOMPARE(mistold(*item, update, &told), QString());
                    QCOMPARE(mapToJson(storedMap(*item)), mapToJson(storedMap(*expected)));
                    // The same again changes nothing, nor does a body of another kind.
                    SignalLog again({item.data()});
                    update();
                    item->setContent(body(foreign, seed));
                    QCOMPARE(again.take(), QString());
                    if (whole.size() < 2)
                        whole += (isStored ? u"stored: "_s : u"sent: "_s) + told;
                }
            }
        }
        QVERIFY(areFactsOfRow(whole, u"updates.txt"_s));
        // A handler may let go of the item at any signal of it or of what it holds.
        for (const bool isStored : {false, true}) {
            auto item = QSharedPointer<ContentItem>();
            for (qsizetype kept = 0; !item; ++kept) {
                item = made(kind, body(bodyOf(kind), 1001), &account);
                const auto other = made(kind, body(bodyOf(kind), 1), &another);
                ContentItem *updated = item.data();
                SignalLog log(withThoseHeld(updated));
                log.atEach = [&] {
                    if (log.names().size() > kept)
                        item.reset();
                };
                if (isStored)
                    updated->deserialize(mapOf(*other));
                else
                    updated->setContent(body(bodyOf(kind), 1));
                QVERIFY(!item || kept > 0);
            }
        }
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
        QVERIFY(!make<ContentItem>(group));
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
        QCOMPARE(make<ContentItem>({{u"type"_s, u"sticker"_s}}, &account), stickers.shared);
        QVERIFY(!makeContentItem(sent.SerializeAsString(), 2, 1, nullptr));
    }

    void filesAreShared()
    {
        auto content = fromText<Content>("file { attach_file { id: 'f1' } }");
        FakeAccount account;
        // That of an upload, once the account has the message.
        const auto upload = QSharedPointer<FileItem>::create(1, &account);
        const auto record = QSharedPointer<FileData>::create(content.file().attach_file());
        upload->setSourceFile(record);
        upload->setContent(content);
        QCOMPARE(upload->sourceFile(), record);
        QCOMPARE(make<FileItem>(content, &account)->sourceFile(), record);

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
                files[i]->setFileId(u'u' + QString::number(100 * type + i));
                files[i]->setFileState(BaseFile::Uploaded);
            }
            copyContent(sent)->serialize(&content); // forwarded before it comes back
            QList<QSharedPointer<FileData>> own;
            QList<QSharedPointer<FileData>> pushed;
            sent->getFile(own);
            make<ContentItem>(content, &account)->getFile(pushed);
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
            for (const QSharedPointer<ContentItem> &item :
                 {QSharedPointer<ContentItem>::create(map, 1, nullptr),
                  QSharedPointer<FileItem>::create(map, 1, nullptr).staticCast<ContentItem>()}) {
                const auto copy = copyContent(item);
                QCOMPARE(storedMap(*copy), storedMap(*item));
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
