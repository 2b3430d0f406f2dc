// Message contents: made from protocol bytes and from stored JSON, and what they weigh.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/comparison.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSharedPointer>

#include <malloc.h>

#include <vector>

namespace
{

const std::string text =
    "@Mia @Jonas @Amira @Li, shall we meet at the lake on Saturday? I bring bread and grapes.";

im::content::Content textWithMentions()
{
    im::content::Content content;
    content.mutable_text()->set_text(text);
    const int offsets[] = {0, 5, 12, 19};
    const int lengths[] = {4, 6, 6, 3};
    for (int i = 0; i < 4; ++i) {
        auto *entity = content.mutable_text()->add_textentity();
        entity->set_type(im::content::TextEntity::MENTION_NAME);
        entity->set_offset(offsets[i]);
        entity->set_length(lengths[i]);
        entity->set_mention_user_id(4711 + i);
    }
    return content;
}

void addFactoryRows()
{
    const std::string bytes = textWithMentions().SerializeAsString();
    comparison::add(
        "makeContentItem from protocol bytes, text with 4 mentions", 1.5,
        [bytes](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(makeContentItem(bytes, 2, 1, nullptr));
        },
        [bytes](benchmark::State &state) {
            struct Parts {
                QSharedPointer<QObject> object;
                QString text;
                UserTextBlocks blocks;
            };
            for (auto _ : state) {
                im::content::Content content;
                if (!content.ParseFromString(bytes))
                    state.SkipWithError("no content");
                Parts parts{QSharedPointer<QObject>::create(),
                            QString::fromStdString(content.text().text()),
                            {}};
                parts.blocks.reserve(content.text().textentity_size());
                for (const auto &entity : content.text().textentity()) {
                    parts.blocks.append({entity.offset(), entity.length(), int(entity.type()),
                                         entity.mention_user_id(), false});
                }
                benchmark::DoNotOptimize(parts);
            }
        });

    const auto item = makeContentItem(bytes, 2, 1, nullptr);
    const QByteArray json = mapToJson(serializeContent(item));
    const std::string stored = json.toStdString();
    comparison::add(
        "makeContentItem from stored JSON", 0.7,
        [stored](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(makeContentItem(stored, 1, 1, nullptr));
        },
        [json](benchmark::State &state) {
            for (auto _ : state) {
                const QVariantMap map = QJsonDocument::fromJson(json).object().toVariantMap();
                const QVariantMap first =
                    map.value(QStringLiteral("content")).toList().constFirst().toMap();
                benchmark::DoNotOptimize(
                    QJsonDocument::fromJson(
                        first.value(QStringLiteral("dbEntity")).toString().toUtf8())
                        .array()
                        .toVariantList());
            }
        });
}

/// What a file record has, for the floor: as a user would take it from the record by hand.
struct FileParts {
    FileParts() = default;
    explicit FileParts(const im::content::FileInfo &info)
        : id(QString::fromStdString(info.id())), name(QString::fromStdString(info.name())),
          key(QByteArray::fromStdString(info.key())),
          checksum(QByteArray::fromStdString(info.checksum())), size(info.size())
    {
    }

    QString id, name;
    QByteArray key, checksum;
    qint64 size = 0;
};

struct MediaParts {
    QSharedPointer<QObject> object = QSharedPointer<QObject>::create();
    FileParts file, thumbnail;
    QByteArray bytes;
    QString first, second, caption;
};

void fillFile(im::content::FileInfo *info, const char *name)
{
    info->set_id("5f2b7c0e9d41a8f36b1c7e20-0421");
    info->set_key(std::string(32, 'k'));
    info->set_checksum(std::string(16, 'c'));
    info->set_name(name);
    info->set_size(2'345'678);
    info->set_version(2);
}

void fillThumb(im::content::FileThumb *thumb)
{
    fillFile(thumb->mutable_thumb_file(), "");
    thumb->mutable_thumb_file()->set_id("5f2b7c0e9d41a8f36b1c7e20-0422");
    thumb->set_width(320);
    thumb->set_height(240);
    thumb->set_thumb_nail(std::string(700, 't'));
}

/// A row for a kind of content with files.
/// @param take the floor: what a user takes out of the parsed record
template <typename Take>
void addKindRow(const char *kind, const im::content::Content &content, Take take)
{
    const std::string bytes = content.SerializeAsString();
    comparison::add(
        std::string("makeContentItem from protocol bytes, ") + kind, 2.0,
        [bytes](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(makeContentItem(bytes, 2, 1, nullptr));
        },
        [bytes, take](benchmark::State &state) {
            for (auto _ : state) {
                im::content::Content parsed;
                if (!parsed.ParseFromString(bytes))
                    state.SkipWithError("no content");
                MediaParts parts;
                take(parsed, parts);
                benchmark::DoNotOptimize(parts);
            }
        });
}

void addFileKindRows()
{
    using im::content::Content;
    const std::string caption = "The lake this morning, before the fog was gone";
    const auto takeText = [](const std::string &from) { return QString::fromStdString(from); };
    const auto takeBytes = [](const std::string &from) { return QByteArray::fromStdString(from); };

    Content image;
    image.mutable_image()->set_width(4032);
    image.mutable_image()->set_height(3024);
    fillFile(image.mutable_image()->mutable_image_file(), "IMG_20240817_093312.jpg");
    fillThumb(image.mutable_image()->mutable_thumb());
    image.mutable_image()->mutable_caption()->set_text(caption);
    addKindRow("image", image, [=](const Content &content, MediaParts &parts) {
        const auto &body = content.image();
        parts.file = FileParts(body.image_file());
        parts.thumbnail = FileParts(body.thumb().thumb_file());
        parts.bytes = takeBytes(body.thumb().thumb_nail());
        parts.caption = takeText(body.caption().text());
    });

    Content video;
    video.mutable_video()->set_width(1920);
    video.mutable_video()->set_height(1080);
    video.mutable_video()->set_duration(75);
    fillFile(video.mutable_video()->mutable_video_file(), "VID_20240817_093312.mp4");
    fillThumb(video.mutable_video()->mutable_thumb());
    video.mutable_video()->mutable_caption()->set_text(caption);
    addKindRow("video", video, [=](const Content &content, MediaParts &parts) {
        const auto &body = content.video();
        parts.file = FileParts(body.video_file());
        parts.thumbnail = FileParts(body.thumb().thumb_file());
        parts.bytes = takeBytes(body.thumb().thumb_nail());
        parts.caption = takeText(body.caption().text());
    });

    Content voice;
    voice.mutable_voice()->set_duration(12);
    voice.mutable_voice()->set_waveform(std::string(64, 'w'));
    fillFile(voice.mutable_voice()->mutable_voice_file(), "voice.ogg");
    addKindRow("voice", voice, [=](const Content &content, MediaParts &parts) {
        parts.file = FileParts(content.voice().voice_file());
        parts.bytes = takeBytes(content.voice().waveform());
    });

    Content audio;
    audio.mutable_audio()->set_duration(214);
    audio.mutable_audio()->set_title("Morning at the lake");
    audio.mutable_audio()->set_authors("The Boathouse Quartet");
    fillFile(audio.mutable_audio()->mutable_audio_file(), "morning.mp3");
    fillFile(audio.mutable_audio()->mutable_thumb_file(), "");
    audio.mutable_audio()->set_thumb_nail(std::string(700, 't'));
    addKindRow("music", audio, [=](const Content &content, MediaParts &parts) {
        const auto &body = content.audio();
        parts.file = FileParts(body.audio_file());
        parts.thumbnail = FileParts(body.thumb_file());
        parts.bytes = takeBytes(body.thumb_nail());
        parts.first = takeText(body.title());
        parts.second = takeText(body.authors());
    });

    Content file;
    fillFile(file.mutable_file()->mutable_attach_file(), "Minutes of the meeting.pdf");
    file.mutable_file()->mutable_caption()->set_text(caption);
    addKindRow("file", file, [=](const Content &content, MediaParts &parts) {
        parts.file = FileParts(content.file().attach_file());
        parts.caption = takeText(content.file().caption().text());
    });

    Content location;
    location.mutable_location()->set_longitude(8.541694);
    location.mutable_location()->set_latitude(47.376888);
    location.mutable_location()->set_title("Boathouse");
    location.mutable_location()->set_address("Lake Road 7, 8001 Lakeside");
    addKindRow("location", location, [=](const Content &content, MediaParts &parts) {
        parts.first = takeText(content.location().title());
        parts.second = takeText(content.location().address());
    });
}

/// Bytes that `build` leaves allocated.
template <typename Build>
double allocatedBy(Build build)
{
    const std::size_t before = mallinfo2().uordblks;
    const auto kept = build();
    return double(mallinfo2().uordblks - before);
}

void addMemoryRow()
{
    constexpr int count = 100'000;
    const auto textOf = [](int i) {
        return text + " Message number " + std::to_string(i) + " of a long day.";
    };
    comparison::addBytes(
        "memory of 100,000 text items", 1.5,
        [=] {
            return allocatedBy([&] {
                std::vector<QSharedPointer<ContentItem>> items;
                items.reserve(count);
                im::content::Content content;
                for (int i = 0; i < count; ++i) {
                    content.mutable_text()->set_text(textOf(i));
                    items.push_back(makeContentItem(content.SerializeAsString(), 2, 1, nullptr));
                }
                return items;
            });
        },
        [=] {
            struct BareText : QObject {
                QString text;
            };
            return allocatedBy([&] {
                std::vector<std::unique_ptr<BareText>> items;
                items.reserve(count);
                for (int i = 0; i < count; ++i) {
                    items.push_back(std::make_unique<BareText>());
                    items.back()->text = QString::fromStdString(textOf(i));
                }
                return items;
            });
        });
}

void addRows()
{
    addFactoryRows();
    addFileKindRows();
    addMemoryRow();
}

} // namespace

COMPARISON_MAIN(addRows)
