#include "content/filedata.h"
#include "content/innerfiledata.h"
#include "content/items/captionitem.h"
#include "content/items/combineditem.h"
#include "content/items/filegroupitem.h"
#include "content/items/folderitem.h"
#include "content/items/imageitem.h"
#include "content/items/mediagroupitem.h"
#include "content/items/musicitem.h"
#include "content/items/videoitem.h"
#include "content/items/voiceitem.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "support/contents.h"
#include "support/signallog.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// A picture or file, as far as a group looks at it.
class Member : public ContentItem
{
    Q_OBJECT
    Q_PROPERTY(int w MEMBER m_width NOTIFY needRecalcSize)
    Q_PROPERTY(int h MEMBER m_height NOTIFY needRecalcSize)

public:
    explicit Member(QSize size, qint32 type = Image, const QString &text = {})
        : ContentItem(1, nullptr), m_width(size.width()), m_height(size.height())
    {
        setType(type);
        setContent(text, {});
    }
    QSize calcContentSize(int &lineCount, int, int, bool) override
    {
        lineCount = 1;
        return {m_width, m_height};
    }

private:
    int m_width;
    int m_height;
};

using Items = QList<QSharedPointer<ContentItem>>;

QSharedPointer<ContentItem> member(QSize size, qint32 type = ContentItem::Image,
                                   const QString &text = {})
{
    return QSharedPointer<Member>::create(size, type, text);
}

Items pictures(const QList<QSize> &sizes)
{
    Items items;
    for (const QSize &size : sizes)
        items.append(member(size));
    return items;
}

QSharedPointer<FileData> fileOf(const char *name)
{
    im::content::FileInfo info;
    info.set_name(name);
    return QSharedPointer<FileData>::create(info);
}

QSize measure(ContentItem &item, int maxWidth)
{
    int lines = 0;
    return item.calcContentSize(lines, maxWidth, 0, false);
}

/// Stands for decryption: the content is the text, and an empty one cannot be opened.
QSharedPointer<ContentItem> opened(const im::Message &message)
{
    if (message.content().empty())
        return {};
    auto item = QSharedPointer<ContentItem>::create(1, nullptr);
    item->setContent(QString::fromStdString(message.content()), {});
    return item;
}

} // namespace

class TestGroups : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void grid_data()
    {
        QTest::addColumn<QList<QSize>>("natural");
        const QList<QSize> shapes{{4000, 3000}, {3000, 4000}, {1000, 1000}, {100'000, 1},
                                  {1, 100'000}, {0, 0},       {-5, 20},     {1920, 1080},
                                  {INT_MAX, 1}, {16, 16}};
        for (const QSize &shape : shapes) {
            for (int count = 1; count <= 12; ++count)
                QTest::addRow("%d of %dx%d", count, shape.width(), shape.height())
                    << QList<QSize>(count, shape);
        }
        for (const int count : {10, 11, 30, 1000}) {
            QList<QSize> mixed;
            for (int i = 0; i < count; ++i)
                mixed.append(shapes.at(i * 7 % shapes.size()));
            QTest::addRow("%d mixed", count) << mixed;
        }
    }
    void grid()
    {
        QFETCH(QList<QSize>, natural);
        MediaGroupItem group(pictures(natural), 1, nullptr);
        const int screen = QGuiApplication::primaryScreen()->availableSize().height();
        for (const int width : {1, 44, 60, 137, 224, 425, 5000}) {
            const QSize size = measure(group, width);
            const QList<QRect> rects = group.rects();
            QCOMPARE(rects.size(), natural.size());
            QVERIFY(size.width() <= std::max(44, std::min(width, 425)));
            if (natural.size() <= 10 && width >= 224)
                QVERIFY2(size.height() <= screen, qPrintable(QString::number(size.height())));
            QRect previous;
            for (const QRect &rect : rects) {
                QVERIFY(QRect({0, 0}, size).contains(rect));
                QVERIFY(rect.width() >= 44 && rect.height() >= 44);
                // Right of the one before, or in a new row below: so none overlap.
                if (previous.isValid()) {
                    const bool sameRow = rect.top() == previous.top();
                    QVERIFY(sameRow ? rect.left() > previous.right()
                                    && rect.height() == previous.height()
                                    : rect.top() > previous.bottom() && rect.left() == 0);
                }
                previous = rect;
            }
            QVERIFY(natural.size() == 1 || previous.right() == size.width() - 1);
            QVERIFY(previous.bottom() == size.height() - 1);
            measure(group, 300);
            QCOMPARE(measure(group, width), size);
            QCOMPARE(group.rects(), rects);
        }
    }

    /// Ordinary pictures are neither torn nor squeezed.
    void gridLooksLikeAGallery()
    {
        const auto rects = [](const QList<QSize> &natural) {
            MediaGroupItem group(pictures(natural), 1, nullptr);
            measure(group, 400);
            return group.rects();
        };
        // Two portraits stand side by side, two landscapes too; a panorama has a row of its own.
        QCOMPARE(rects({{300, 400}, {300, 400}}).at(1).top(), 0);
        QCOMPARE(rects({{1600, 800}, {1600, 800}}).at(1).left(), 0);
        // The widths in a row follow the proportions.
        const QList<QRect> row = rects({{300, 400}, {800, 400}});
        QCOMPARE(row.at(1).top(), 0);
        QVERIFY(row.at(1).width() > row.at(0).width());
        // Ten of a camera make three or four rows.
        QSet<int> tops;
        for (const QRect &rect : rects(QList<QSize>(10, {4000, 3000})))
            tops.insert(rect.top());
        QVERIFY(tops.size() >= 3 && tops.size() <= 4);
    }

    void membersAndCaption()
    {
        const auto first = member({400, 300});
        const auto second = member({400, 300}, ContentItem::Video, u"At the lake 🎉"_s);
        MediaGroupItem group(1, nullptr);
        SignalLog log{{&group, group.caption().data()}};
        QTest::ignoreMessage(QtWarningMsg, "What cannot be a member of a group is left out.");
        group.setMembers({first, nullptr, second, first, member({1, 1}, ContentItem::File)});
        QCOMPARE(group.members(), (Items{first, second}));
        QCOMPARE(log.take(), u"contentChanged memberChanged membersChanged needRecalcSize"_s);
        group.setMembers({first, second});
        QCOMPARE(log.take(), QString());
        QCOMPARE(group.caption()->content(), u"At the lake 🎉"_s);
        QCOMPARE(group.caption()->member(), second);
        QCOMPARE(group.getKeyword(), u"At the lake 🎉"_s);

        // The group follows its members, and no longer those that left.
        log.take();
        first->setProperty("w", 900);
        QCOMPARE(log.take(), u"needRecalcSize"_s);
        const QSize withText = measure(group, 400);
        first->setContent(u"another"_s, {});
        QCOMPARE(group.caption()->content(), QString());
        QVERIFY(measure(group, 400).height() < withText.height());
        group.setMembers({second});
        QCOMPARE(group.caption()->content(), u"At the lake 🎉"_s);
        log.take();
        first->setProperty("h", 1);
        first->setContent(u"x"_s, {});
        QCOMPARE(log.take(), QString());

        // A caption of emoji alone stays a text of its size.
        second->setContent(u"🎉"_s, {});
        group.caption()->calcSize(300, 0, 0, ContentItem::CONTENT_CHANGED, false);
        QCOMPARE(group.caption()->type(), ContentItem::Text);
        QVERIFY(group.caption()->contentHeight() < 60);
    }

    /// An item asks for another size also when its file has changed, and its group also when the
    /// text has. Each asks once for an update.
    void sizesAreAskedFor()
    {
        const auto image = QSharedPointer<ImageItem>::create(1, nullptr);
        const auto file = QSharedPointer<FileItem>::create(1, nullptr);
        const auto voice = QSharedPointer<VoiceItem>::create(1, nullptr);
        const auto music = QSharedPointer<MusicItem>::create(1, nullptr);
        const MediaGroupItem media({image, member({4, 3}, ContentItem::Image, u"two"_s)}, 1,
                                   nullptr);
        const FileGroupItem files({file, voice, music}, 1, nullptr);
        const UserTextBlock code{0, 2, TextEntityType::CodeBlock, {}};
        const auto replaced = fileOf("a.mp3");
        const std::pair<std::function<void()>, QString> changes[] = {
            {[&] { image->setSize(10, 20); }, u"image media"_s},
            {[&] { image->setThumbSize(20, 20); }, {}},
            {[&] { image->setContent(u"one"_s, {code}); }, u"media"_s},
            {[&] { image->setContent(u"one"_s, {}); }, u"image media"_s},
            {[&] { image->setSourceFile(fileOf("a.png")); }, {}},
            {[&] { image->sourceFile()->setFileName(u"b.png"_s); }, {}},
            {[&] { file->setSourceFile(fileOf("c.png")); }, u"file files"_s},
            {[&] { file->sourceFile()->setSize(2048); }, u"file files"_s},
            {[&] { file->sourceFile()->setFileName(u"e.png"_s); }, u"file files"_s},
            {[&] { file->setThumbNail("a few bytes"); }, u"file files"_s},
            {[&] { file->sourceFile()->setFileName(u"e.pdf"_s); }, u"file files"_s},
            {[&] { file->setDisplayName(u"e.pdf"_s); }, {}},
            {[&] { file->sourceFile()->setFileName(u"f.pdf"_s); }, {}},
            {[&] { voice->setContent(u"3"_s, {code}); }, u"files"_s},
            {[&] { voice->setCollapsed(0, true); }, u"files voice"_s},
            {[&] { voice->setDuration(60); }, u"files voice"_s},
            {[&] { voice->setDuration(61); }, {}},
            {[&] { music->setSourceFile(replaced); }, u"files music"_s},
            {[&] { music->setTitle(u"Morning"_s); }, u"files music"_s},
            {[&] { music->setSourceFile(fileOf("b.mp3")); }, {}},
            {[&] { replaced->setFileName(u"e.mp3"_s); }, {}},
        };
        QStringList asked;
        const std::pair<const ContentItem *, QString> items[] = {
            {image.data(), u"image"_s}, {file.data(), u"file"_s}, {voice.data(), u"voice"_s},
            {music.data(), u"music"_s}, {&media, u"media"_s},     {&files, u"files"_s}};
        for (const auto &[item, name] : items)
            connect(item, &ContentItem::needRecalcSize, this, [&, name] { asked += name; });
        for (const auto &[change, expected] : changes) {
            change();
            asked.sort();
            QCOMPARE(std::exchange(asked, {}).join(u' '), expected);
        }
    }

    /// Each file of an item counts, and no longer those that it had.
    void uploads()
    {
        const auto image = QSharedPointer<ImageItem>::create(1, nullptr);
        QList<FileItem::UploadState> told;
        connect(image.data(), &FileItem::uploadStateChanged, this,
                [&] { told.append(image->uploadState()); });
        const auto upload = [](BaseFile::FileState state) {
            const auto file = fileOf("a");
            file->setFileState(state);
            return file;
        };
        const auto photo = upload(BaseFile::WaitingForUpload);
        image->setSourceFile(photo);
        photo->setFileState(BaseFile::Uploading);
        photo->setFileState(BaseFile::Downloaded);
        const auto live = upload(BaseFile::UploadPaused);
        image->setLivePhoto(live);
        live->setFileState(BaseFile::UploadFailed);
        image->setThumbnailFile(upload(BaseFile::Uploading)); // less than a failure
        image->setLivePhoto({});
        live->setFileState(BaseFile::Uploading);
        image->setThumbnailFile({});
        using enum FileItem::UploadState;
        QCOMPARE(told,
                 (QList{WaitingForUpload, Uploading, NoUpload, UploadPaused, UploadFailed,
                        Uploading, NoUpload}));
    }

    /// Of a picture that cannot be shown nothing is drawn but the icon of a file.
    void kindsOfFiles()
    {
        const auto file = QSharedPointer<FileItem>::create(1, nullptr);
        file->setSourceFile(fileOf("a.heic"));
        QCOMPARE(file->fileType(), FileItem::PlainFile);
        SignalLog log({file.data()});
        file->setThumbnailFile(fileOf("a.png"));
        QVERIFY(log.take().contains(u"fileTypeChanged"));
        QCOMPARE(file->fileType(), FileItem::PictureFile);
        // The record may be told its name later, and somebody may look on or not.
        file->sourceFile()->setFileName(u"a.pdf"_s);
        QCOMPARE(log.take(), u"fileTypeChanged needRecalcSize"_s);
        QCOMPARE(file->fileType(), FileItem::PdfFile);
        const auto unwatched = QSharedPointer<FileItem>::create(1, nullptr);
        unwatched->setSourceFile(fileOf("a.txt"));
        unwatched->sourceFile()->setFileName(u"a.pdf"_s);
        QCOMPARE(unwatched->fileType(), FileItem::PdfFile);
        // What a record can be read from is a file.
        const std::pair<QString, QVariant> stored[] = {
            {u"Name"_s, u"a.pdf"_s},   {u"Size"_s, 7},    {u"AesKey"_s, u"AP8="_s},
            {u"FileMd5"_s, u"AP8="_s}, {u"Version"_s, 2}, {u"CachePath"_s, u"/none"_s},
        };
        for (const auto &[key, value] : stored) {
            const QString source =
                key == u"Name" ? u"fileName"_s : key.front().toLower() + key.mid(1);
            const FileItem ofFile({{source, value}}, 1, nullptr);
            const FileItem ofThumbnail({{u"thumbnail"_s + key, value}}, 1, nullptr);
            QVERIFY2(ofFile.sourceFile() && !ofFile.thumbnailFile(), qPrintable(key));
            QVERIFY2(!ofThumbnail.sourceFile() && ofThumbnail.thumbnailFile(), qPrintable(key));
        }
        const auto image = QSharedPointer<ImageItem>::create(1, nullptr);
        image->setSourceFile(fileOf("a.GIF"));
        QVERIFY(image->isAnimated());
    }

    /// Whatever is sent together, nothing of it goes missing.
    void groupsOfMessages()
    {
        using enum ContentItem::Type;
        // 0: a message without a content that can be shown; none: neither is a group.
        const std::pair<QList<qint32>, qint32> expected[] = {
            {{Image, Video, Image}, MediaGroup},
            {{Voice, Folder, Music, File}, FileGroup},
            {{Image, File, Video}, FileGroup},
            {{Video, 0, Video}, MediaGroup},
            {{Image}, 0},
            {{0, File, 0}, 0},
            {{}, 0},
            {{Image, Text, Image}, -1},
            {{File, File, Location}, -1},
        };
        for (const auto &[types, group] : expected) {
            Items contents;
            for (const qint32 type : types)
                contents.append(type == 0 ? nullptr : member({30, 40}, type));
            if (group == -1)
                QTest::ignoreMessage(QtWarningMsg,
                                     "Contents that no group can hold are not shown as one.");
            const auto item = makeGroupItem(contents, 8, nullptr);
            QCOMPARE(item ? item->type() : 0, std::max(group, 0));
            contents.removeAll({});
            QVERIFY(!item || (item->innerItems() == contents && item->source() == 8));
        }
    }

    void storedGroupsAreRestored()
    {
        const auto image = QSharedPointer<ImageItem>::create(1, nullptr);
        image->setSize(40, 30);
        const auto video = QSharedPointer<VideoItem>::create(1, nullptr);
        video->setContent(u"At the lake"_s, {});
        const auto music = QSharedPointer<MusicItem>::create(1, nullptr);
        const QVariantList files{QVariantMap{{u"fileId"_s, u"f"_s}, {u"fileName"_s, u"a.txt"_s}}};
        const QVariantMap inner{{u"name"_s, u"b"_s}, {u"files"_s, files}};
        const auto folder = QSharedPointer<FolderItem>::create(1, nullptr);
        folder->setFolders({QVariantMap{
            {u"name"_s, u"a"_s}, {u"files"_s, files}, {u"folders"_s, QVariantList{inner}}}});
        QCOMPARE(folder->fileCount(), 2);
        QCOMPARE(folder->innerFiles().last()->innerDiskPath(), u"a/b/a.txt"_s);

        for (const Items &members : {Items{image, video}, Items{music, image, video, folder}}) {
            const auto group = makeGroupItem(members, 1, nullptr);
            const QByteArray stored = mapToJson(serializeContent(group));
            const auto again = restoreContent(stored.toStdString(), 1, 1, nullptr);
            QVERIFY(again && again->type() == group->type());
            QCOMPARE(mapToJson(serializeContent(again)), stored);
            // Who asks for a body gets that of the first message.
            const auto first = makeContentItem(stored.toStdString(), 1, 1, nullptr);
            QCOMPARE(serializeContent(first), serializeContent(members.first()));
        }

        const auto one = QSharedPointer<MediaGroupItem>::create(Items{image}, 1, nullptr);
        im::content::Content body;
        body.mutable_text();
        one->serialize(&body); // it has none
        QCOMPARE(body.ByteSizeLong(), size_t(0));
        QCOMPARE(restoreContent(serializeContent(one), 1, nullptr)->type(), ContentItem::Image);
        QTest::ignoreMessage(QtWarningMsg, "Contents that no group can hold are not shown as one.");
        const auto texts =
            restoreContent(R"({"content":[{"type":"text","content":"a"},7]})", 1, 1, nullptr);
        QVERIFY(texts && texts->content() == u"a"_s);
        QVERIFY(!restoreContent(QMap<QString, QVariant>(), 1, nullptr));
        const auto damaged = restoreContent(
            R"({"content":[7,{"type":"image"},{"type":"nothing known"},{"type":"video"}]})", 1, 1,
            nullptr);
        QCOMPARE(damaged->innerItems().size(), 2);
    }

    void filesStandInRows()
    {
        FileGroupItem group({member({120, 10}, ContentItem::File),
                             member({300, 90}, ContentItem::Music),
                             member({9000, 50}, ContentItem::Folder)},
                            1, nullptr);
        const QSize size = measure(group, 400);
        int bottom = -1;
        for (const QRect &rect : group.rects()) {
            QVERIFY(rect.top() > bottom && rect.height() >= 44 && rect.width() == 400);
            bottom = rect.bottom();
        }
        QCOMPARE(size, QSize(400, bottom + 1));
        QCOMPARE(measure(*QSharedPointer<FileGroupItem>::create(1, nullptr), 400), QSize(0, 0));
    }

    void combinedMessages()
    {
        const auto outer = fromText<im::Message>(
            R"(combined_messages { message_id: 1 sender: 7 timestamp: 1001 content: "hello\nthere" }
               combined_messages { message_id: 2 sender: 8 }
               combined_messages {
                 combined_messages { message_id: 4 sender: 7 content: "deep" }
                 group_sender { group_id: 7 title: "Lake" channel_name: "Lake club"
                                send_from_channel: true } }
               total_combined_messages: 9)");
        const auto made = makeMessageItem(outer, opened, 1, nullptr).objectCast<CombinedItem>();
        QVERIFY(made);
        CombinedItem &item = *made;
        QCOMPARE(item.type(), ContentItem::Combined);
        QCOMPARE(item.count(), 3);
        QCOMPARE(item.total(), 9);
        QVERIFY(!item.entries().at(1).content);
        SignalLog log{{&item}};
        item.setSenderName(7, false, u"Mia"_s);
        item.setSenderName(7, false, u"Mia"_s);
        QCOMPARE(log.take(), u"entriesChanged needRecalcSize"_s);
        QCOMPARE(item.title(), u"Mia, Lake club"_s);
        QCOMPARE(item.summary(),
                 (QStringList{u"Mia: hello there"_s, QString(), u"Lake club: Mia"_s}));
        QCOMPARE(item.getKeyword(), u"hello\nthere\ndeep"_s);
        QVERIFY(!measure(item, 300).isEmpty());
        QCOMPARE(log.take(), u"lineCountChanged"_s);

        const QVariantMap map = storedMap(item);
        const std::string stored = mapToJson(serializeContent(made)).toStdString();
        QCOMPARE(makeContentItem(stored, 1, 1, nullptr)->type(), ContentItem::System);
        const auto again = restoreContent(stored, 1, 1, nullptr).objectCast<CombinedItem>();
        QVERIFY(again);
        QCOMPARE(again->entries().at(0).time, 1001);
        QCOMPARE(again->summary(), item.summary());
        QCOMPARE(mapToJson(storedMap(*again)), mapToJson(map));
        item.deserialize(map);
        QCOMPARE(log.take(), QString());

        CombinedItem copy(&item);
        copy.setSenderName(7, false, u"Li"_s);
        // The summary has the names of senders that are inside only.
        const auto innermost = qobject_cast<CombinedItem *>(copy.entries().at(2).contentItem());
        QVERIFY(innermost);
        QCOMPARE(innermost->title(), u"Li"_s);
        copy.entries().at(0).contentItem()->setContent(u"other"_s, {});
        QCOMPARE(storedMap(item), map);
    }

    void messagesThatAreNotCombined()
    {
        const auto hello = fromText<im::Message>("sender: 7 content: 'hello'");
        QCOMPARE(makeMessageItem(hello, opened, 1, nullptr)->content(), u"hello"_s);
        QVERIFY(!makeMessageItem(im::Message(), opened, 1, nullptr));
        QVERIFY(!makeMessageItem(hello, nullptr, 1, nullptr));

        // Those that are to be asked for are combined messages all the same, inside others, too.
        const auto outer = fromText<im::Message>(
            "combined_messages { type: COMBINED_MESSAGES total_combined_messages: 5 }");
        const auto combined = makeMessageItem(outer, opened, 1, nullptr).objectCast<CombinedItem>();
        const auto alone = makeMessageItem(outer.combined_messages(0), opened, 1, nullptr)
                               .objectCast<CombinedItem>();
        QVERIFY(combined && alone);
        QCOMPARE(alone->total(), 5);
        QCOMPARE(combined->entries().at(0).contentItem()->property("total"), 5);
    }

    void combinedMessagesAreLimited()
    {
        auto deep = fromText<im::Message>("content: 'core'");
        for (int i = 0; i < 50; ++i) {
            im::Message outer;
            *outer.add_combined_messages() = deep;
            deep = outer;
        }
        const CombinedItem item(deep, opened, 1, nullptr);
        int levels = 0;
        for (const auto *at = &item; at && ++levels < 100;)
            at = at->entries().isEmpty()
                ? nullptr
                : qobject_cast<CombinedItem *>(at->entries().at(0).contentItem());
        QVERIFY(levels < 10);

        im::Message wide;
        for (int i = 0; i < 20'000; ++i)
            wide.add_combined_messages()->set_sender(1);
        wide.set_total_combined_messages(-4);
        const CombinedItem many(wide, nullptr, 1, nullptr);
        QVERIFY(many.count() < 5000);
        QCOMPARE(many.total(), 20'000);
        QCOMPARE(many.summary().size(), 3);

        for (const QVariant &odd :
             {QVariant(), QVariant(u"x"_s), QVariant(-1),
              QVariant(QVariantList{1, QVariantList{}, QVariantMap{{u"item"_s, 5}}})}) {
            for (const QString &key : {u"entries"_s, u"total"_s}) {
                const CombinedItem wrong({{u"type"_s, u"combined"_s}, {key, odd}}, 1, nullptr);
                QVERIFY(wrong.total() >= wrong.count() && wrong.count() <= 3);
            }
        }
    }
};

QTEST_MAIN(TestGroups)
#include "tst_groups.moc"
