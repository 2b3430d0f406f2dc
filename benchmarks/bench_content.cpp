// Message contents: made from protocol bytes and from stored JSON, and what they weigh.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "content/sharedstickers.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "support/comparison.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSharedPointer>

#include <malloc.h>

#include <tuple>
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

using Make = QSharedPointer<ContentItem> (*)(const std::string &bytes);

QSharedPointer<ContentItem> makeItem(const std::string &bytes)
{
    return makeContentItem(bytes, 2, 1, nullptr);
}

/// By the default sticker provider, whose items live as long as somebody holds them.
QSharedPointer<ContentItem> makeSticker(const std::string &bytes)
{
    static SharedStickers stickers;
    im::content::Content content;
    return content.ParseFromString(bytes) ? stickers.sticker(content)
                                          : QSharedPointer<ContentItem>();
}

/// @param take the floor: the values that a user takes out of the parsed record by hand
template <typename Take>
void addBodyRow(const char *kind, const im::content::Content &content, Make make, Take take)
{
    const std::string bytes = content.SerializeAsString();
    comparison::add(
        std::string("makeContentItem from protocol bytes, ") + kind, 2.0,
        [bytes, make](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(make(bytes));
        },
        [bytes, take](benchmark::State &state) {
            for (auto _ : state) {
                im::content::Content parsed;
                if (!parsed.ParseFromString(bytes))
                    state.SkipWithError("no content");
                const auto object = QSharedPointer<QObject>::create();
                benchmark::DoNotOptimize(object.data());
                auto values = take(parsed);
                benchmark::DoNotOptimize(values);
            }
        });
}

void addCardKindRows()
{
    using im::content::Content;
    const auto words = [](const std::string &from) { return QString::fromStdString(from); };
    const auto raw = [](const std::string &from) { return QByteArray::fromStdString(from); };

    Content call;
    call.mutable_call()->set_call_state(im::Message::FINISHED);
    call.mutable_call()->set_call_id("5f2b7c0e9d41a8f36b1c7e20");
    call.mutable_call()->set_duration(754);
    addBodyRow("call", call, makeItem, [=](const Content &content) {
        return std::tuple(words(content.call().call_id()), content.call().duration());
    });

    Content meeting;
    meeting.mutable_meeting_invite()->set_key(std::string(32, 'k'));
    meeting.mutable_meeting_invite()->set_nonce("9d41a8f36b1c7e20");
    addBodyRow("meeting", meeting, makeItem, [=](const Content &content) {
        return std::tuple(raw(content.meeting_invite().key()),
                          words(content.meeting_invite().nonce()));
    });

    Content card;
    card.mutable_card()->set_nickname("Amira Nassar");
    card.mutable_card()->set_im_id("amira_n");
    card.mutable_card()->set_user_id(4711);
    auto *photo = card.mutable_card()->mutable_avatar_thumb();
    photo->set_id("5f2b7c0e9d41a8f36b1c7e20-0421");
    photo->set_key(std::string(32, 'k'));
    photo->set_checksum(std::string(16, 'c'));
    photo->set_size(23'456);
    addBodyRow("card", card, makeItem, [=](const Content &content) {
        const auto &body = content.card();
        return std::tuple(words(body.nickname()), words(body.im_id()),
                          words(body.avatar_thumb().id()), raw(body.avatar_thumb().key()),
                          raw(body.avatar_thumb().checksum()));
    });

    Content system;
    auto *alert = system.mutable_system_alert();
    alert->set_type(im::content::SystemAlert::MEMBER_JOINED);
    alert->mutable_operator_()->set_user_id(4711);
    alert->mutable_operator_()->set_name("Amira Nassar");
    for (const char *name : {"Mia Berg", "Jonas Lindqvist", "Li Wei"}) {
        alert->add_targets()->set_name(name);
        alert->mutable_targets()->rbegin()->set_user_id(4800);
    }
    addBodyRow("system alert", system, makeItem, [=](const Content &content) {
        const auto &body = content.system_alert();
        QList<std::pair<int, QString>> users{
            {body.operator_().user_id(), words(body.operator_().name())}};
        for (const auto &target : body.targets())
            users.append({target.user_id(), words(target.name())});
        return users;
    });

    Content sticker;
    sticker.mutable_sticker()->set_shortcut("👋");
    sticker.mutable_sticker()->set_width(512);
    sticker.mutable_sticker()->set_height(512);
    sticker.mutable_sticker()->set_pid(12);
    auto *file = sticker.mutable_sticker()->mutable_sticker_file();
    file->set_id("5f2b7c0e9d41a8f36b1c7e20-0422");
    file->set_key(std::string(32, 'k'));
    file->set_checksum(std::string(16, 'c'));
    file->set_size(34'567);
    const auto takeSticker = [=](const Content &content) {
        const auto &body = content.sticker();
        return std::tuple(words(body.shortcut()), words(body.hint()),
                          words(body.sticker_file().id()), raw(body.sticker_file().key()),
                          raw(body.sticker_file().checksum()));
    };
    addBodyRow("new sticker", sticker, makeSticker, takeSticker);
    // Another one that stays in some message.
    file->set_id("5f2b7c0e9d41a8f36b1c7e20-0423");
    static const auto held = makeSticker(sticker.SerializeAsString());
    addBodyRow("shared sticker", sticker, makeSticker, takeSticker);
}

void addRows()
{
    addFactoryRows();
    addFileKindRows();
    addMemoryRow();
    addCardKindRows();
}

} // namespace

COMPARISON_MAIN(addRows)
