// Message contents: making them from protocol bytes and from stored JSON, and their memory.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "content/sharedstickers.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"
#include "support/comparison.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSharedPointer>

#include <malloc.h>

#include <functional>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

// Format versions of contents, and their source.
constexpr int storedForm = 1;
constexpr int protocolForm = 2;
constexpr int chatMessages = 1;

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
        "makeContentItem from protocol bytes, text with 4 mentions", 1.4,
        [bytes](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(
                    makeContentItem(bytes, protocolForm, chatMessages, nullptr));
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

    const auto item = makeContentItem(bytes, protocolForm, chatMessages, nullptr);
    const QByteArray json = mapToJson(serializeContent(item));
    const std::string stored = json.toStdString();
    comparison::add(
        "makeContentItem from stored JSON", 0.6,
        [stored](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(
                    makeContentItem(stored, storedForm, chatMessages, nullptr));
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

using im::content::Content;

QString words(const std::string &from)
{
    return QString::fromStdString(from);
}

QByteArray raw(const std::string &from)
{
    return QByteArray::fromStdString(from);
}

/// The number of bytes that `build` leaves allocated.
template <typename Build>
double allocatedBy(Build build)
{
    const std::size_t before = mallinfo2().uordblks;
    const auto kept = build();
    return double(mallinfo2().uordblks - before);
}

using Make = QSharedPointer<ContentItem> (*)(const std::string &bytes);

QSharedPointer<ContentItem> makeItem(const std::string &bytes)
{
    return makeContentItem(bytes, protocolForm, chatMessages, nullptr);
}

/// Uses the default sticker provider, whose items live as long as they are referenced.
QSharedPointer<ContentItem> makeSticker(const std::string &bytes)
{
    static SharedStickers stickers;
    Content content;
    return content.ParseFromString(bytes) ? stickers.sticker(content)
                                          : QSharedPointer<ContentItem>();
}

/// One kind's share of the messages of a long chat: how their items are made, and the lower bound.
struct Share {
    int percent;
    std::function<Content(int number)> body;
    Make make;
    std::function<std::unique_ptr<QObject>(const Content &parsed)> bare;
};

std::vector<Share> &chat()
{
    static std::vector<Share> shares;
    return shares;
}

/// @param body    the content of a message with that number
/// @param percent how many messages of a chat are of this kind
/// @param take    the lower bound: the values that a user takes out of the parsed record by hand
template <typename Body, typename Take>
void addToChat(int percent, Body body, Make make, Take take)
{
    struct Bare : QObject {
        explicit Bare(decltype(take(Content())) taken) : values(std::move(taken)) { }
        decltype(take(Content())) values;
    };
    chat().push_back({percent, body, make, [take](const Content &parsed) {
                          return std::make_unique<Bare>(take(parsed));
                      }});
}

/// A row for the kind; see addToChat().
template <typename Take>
void addKindRow(const char *kind, const Content &content, Make make, Take take)
{
    const std::string bytes = content.SerializeAsString();
    comparison::add(
        std::string("makeContentItem from protocol bytes, ") + kind, 1.8,
        [bytes, make](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(make(bytes));
        },
        [bytes, take](benchmark::State &state) {
            for (auto _ : state) {
                Content parsed;
                if (!parsed.ParseFromString(bytes))
                    state.SkipWithError("no content");
                const auto object = QSharedPointer<QObject>::create();
                benchmark::DoNotOptimize(object.data());
                auto values = take(parsed);
                benchmark::DoNotOptimize(values);
            }
        });
}

template <typename Body, typename Take>
void addKind(const char *kind, int percent, Body body, Make make, Take take)
{
    addKindRow(kind, body(421), make, take);
    addToChat(percent, body, make, take);
}

std::string fileId(int number)
{
    const std::string digits = std::to_string(number);
    return "5f2b7c0e9d41a8f36b1c7e20-" + std::string(6 - digits.size(), '0') + digits;
}

void fillFile(im::content::FileInfo *info, int number, const char *name)
{
    info->set_id(fileId(number));
    info->set_key(std::string(32, 'k'));
    info->set_checksum(std::string(16, 'c'));
    info->set_name(name);
    info->set_size(2'345'678);
    info->set_version(2);
}

void fillThumb(im::content::FileThumb *thumb, int number)
{
    fillFile(thumb->mutable_thumb_file(), number + 500'000, "");
    thumb->set_width(320);
    thumb->set_height(240);
    thumb->set_thumb_nail(std::string(700, 't'));
}

/// The values of a file record, as a user would copy them by hand.
auto takeFile(const im::content::FileInfo &info)
{
    return std::tuple(words(info.id()), words(info.name()), raw(info.key()), raw(info.checksum()),
                      info.size(), info.version());
}

auto takeThumb(const im::content::FileThumb &thumb)
{
    return std::tuple(takeFile(thumb.thumb_file()), raw(thumb.thumb_nail()), thumb.width(),
                      thumb.height());
}

const char *const caption = "The lake this morning, before the fog was gone";

std::string numberedText(int number)
{
    return text + " Message number " + std::to_string(number) + " of a long day.";
}

void addTexts()
{
    addToChat(
        54,
        [](int number) {
            Content content;
            content.mutable_text()->set_text(numberedText(number));
            return content;
        },
        makeItem, [](const Content &content) { return words(content.text().text()); });
    addToChat(
        5, [](int) { return textWithMentions(); }, makeItem,
        [](const Content &content) {
            UserTextBlocks blocks;
            blocks.reserve(content.text().textentity_size());
            for (const auto &entity : content.text().textentity()) {
                blocks.append({entity.offset(), entity.length(), int(entity.type()),
                               entity.mention_user_id(), false});
            }
            return std::tuple(words(content.text().text()), blocks);
        });
}

void addFileKinds()
{
    addKind(
        "image", 12,
        [](int number) {
            Content content;
            auto *image = content.mutable_image();
            image->set_width(4032);
            image->set_height(3024);
            fillFile(image->mutable_image_file(), number, "IMG_20240817_093312.jpg");
            fillThumb(image->mutable_thumb(), number);
            image->mutable_caption()->set_text(caption);
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.image();
            return std::tuple(takeFile(body.image_file()), takeThumb(body.thumb()),
                              words(body.caption().text()), body.width(), body.height());
        });
    addKind(
        "video", 3,
        [](int number) {
            Content content;
            auto *video = content.mutable_video();
            video->set_width(1920);
            video->set_height(1080);
            video->set_duration(75);
            fillFile(video->mutable_video_file(), number, "VID_20240817_093312.mp4");
            fillThumb(video->mutable_thumb(), number);
            video->mutable_caption()->set_text(caption);
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.video();
            return std::tuple(takeFile(body.video_file()), takeThumb(body.thumb()),
                              words(body.caption().text()), body.width(), body.height(),
                              body.duration());
        });
    addKind(
        "voice", 5,
        [](int number) {
            Content content;
            content.mutable_voice()->set_duration(12);
            content.mutable_voice()->set_waveform(std::string(64, 'w'));
            fillFile(content.mutable_voice()->mutable_voice_file(), number, "voice.ogg");
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.voice();
            return std::tuple(takeFile(body.voice_file()), raw(body.waveform()), body.duration());
        });
    addKind(
        "music", 1,
        [](int number) {
            Content content;
            auto *audio = content.mutable_audio();
            audio->set_duration(214);
            audio->set_title("Morning at the lake");
            audio->set_authors("The Boathouse Quartet");
            fillFile(audio->mutable_audio_file(), number, "morning.mp3");
            fillFile(audio->mutable_thumb_file(), number + 500'000, "");
            audio->set_thumb_nail(std::string(700, 't'));
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.audio();
            return std::tuple(takeFile(body.audio_file()), takeFile(body.thumb_file()),
                              raw(body.thumb_nail()), words(body.title()), words(body.authors()),
                              body.duration());
        });
    addKind(
        "file", 4,
        [](int number) {
            Content content;
            fillFile(content.mutable_file()->mutable_attach_file(), number,
                     "Minutes of the meeting.pdf");
            content.mutable_file()->mutable_caption()->set_text(caption);
            return content;
        },
        makeItem,
        [](const Content &content) {
            return std::tuple(takeFile(content.file().attach_file()),
                              words(content.file().caption().text()));
        });
    addKind(
        "location", 1,
        [](int) {
            Content content;
            content.mutable_location()->set_longitude(8.541694);
            content.mutable_location()->set_latitude(47.376888);
            content.mutable_location()->set_title("Boathouse");
            content.mutable_location()->set_address("Lake Road 7, 8001 Lakeside");
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.location();
            return std::tuple(words(body.title()), words(body.address()), body.longitude(),
                              body.latitude());
        });
}

void addCardKinds()
{
    addKind(
        "call", 1,
        [](int) {
            Content content;
            content.mutable_call()->set_call_state(im::Message::FINISHED);
            content.mutable_call()->set_call_id("5f2b7c0e9d41a8f36b1c7e20");
            content.mutable_call()->set_duration(754);
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.call();
            return std::tuple(words(body.call_id()), body.duration(), int(body.call_state()));
        });
    addKind(
        "meeting", 1,
        [](int) {
            Content content;
            content.mutable_meeting_invite()->set_key(std::string(32, 'k'));
            content.mutable_meeting_invite()->set_nonce("9d41a8f36b1c7e20");
            return content;
        },
        makeItem,
        [](const Content &content) {
            return std::tuple(raw(content.meeting_invite().key()),
                              words(content.meeting_invite().nonce()));
        });
    addKind(
        "card", 1,
        [](int number) {
            Content content;
            auto *card = content.mutable_card();
            card->set_nickname("Amira Nassar");
            card->set_im_id("amira_n");
            card->set_user_id(4711);
            auto *photo = card->mutable_avatar_thumb();
            photo->set_id(fileId(number));
            photo->set_key(std::string(32, 'k'));
            photo->set_checksum(std::string(16, 'c'));
            photo->set_size(23'456);
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.card();
            return std::tuple(words(body.nickname()), words(body.im_id()), body.user_id(),
                              takeFile(body.avatar_thumb()));
        });
    addKind(
        "system alert", 4,
        [](int) {
            Content content;
            auto *alert = content.mutable_system_alert();
            alert->set_type(im::content::SystemAlert::MEMBER_JOINED);
            alert->mutable_operator_()->set_user_id(4711);
            alert->mutable_operator_()->set_name("Amira Nassar");
            for (const char *name : {"Mia Berg", "Jonas Lindqvist", "Li Wei"}) {
                alert->add_targets()->set_name(name);
                alert->mutable_targets()->rbegin()->set_user_id(4800);
            }
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.system_alert();
            QList<std::pair<int, QString>> users{
                {body.operator_().user_id(), words(body.operator_().name())}};
            for (const auto &target : body.targets())
                users.append({target.user_id(), words(target.name())});
            return std::tuple(users, int(body.type()));
        });
}

/// The title and the options of a poll or a lottery.
template <typename Options>
auto takeOptions(const Content &title, const Options &options)
{
    QStringList list;
    list.reserve(options.size());
    for (const Content &option : options)
        list.append(words(option.text().text()));
    return std::tuple(words(title.text().text()), list);
}

void addKindsWithOptions()
{
    addKind(
        "poll", 1,
        [](int) {
            Content content;
            auto *poll = content.mutable_poll();
            poll->mutable_desc()->mutable_text()->set_text("Where do we meet on Saturday?");
            for (const char *option : {"At the boathouse", "At the station, as always",
                                       "On the other side of the lake", "At Amira's", "Nowhere"})
                poll->add_options()->mutable_text()->set_text(option);
            poll->set_key(std::string(32, 'k'));
            return content;
        },
        makeItem,
        [](const Content &content) {
            const auto &body = content.poll();
            return std::tuple(takeOptions(body.desc(), body.options()), raw(body.key()));
        });
    addKind(
        "lottery", 1,
        [](int) {
            Content content;
            auto *lottery = content.mutable_lottery();
            lottery->mutable_title()->mutable_text()->set_text("The great boathouse raffle");
            for (const char *prize : {"A rowing boat for a day", "Dinner for two", "A lantern",
                                      "A jar of honey", "A warm handshake"})
                lottery->add_prizes()->mutable_text()->set_text(prize);
            return content;
        },
        makeItem,
        [](const Content &content) {
            return takeOptions(content.lottery().title(), content.lottery().prizes());
        });
}

void addStickers()
{
    const auto body = [](int number) {
        Content content;
        auto *sticker = content.mutable_sticker();
        sticker->set_shortcut("👋");
        sticker->set_width(512);
        sticker->set_height(512);
        sticker->set_pid(12);
        auto *file = sticker->mutable_sticker_file();
        file->set_id(fileId(number));
        file->set_key(std::string(32, 'k'));
        file->set_checksum(std::string(16, 'c'));
        file->set_size(34'567);
        return content;
    };
    const auto take = [](const Content &content) {
        const auto &sticker = content.sticker();
        return std::tuple(words(sticker.shortcut()), words(sticker.hint()), sticker.pid(),
                          sticker.width(), sticker.height(), takeFile(sticker.sticker_file()));
    };
    addKindRow("new sticker", body(421), makeSticker, take);
    // Another sticker, held by some message.
    static const auto held = makeSticker(body(422).SerializeAsString());
    addKindRow("shared sticker", body(422), makeSticker, take);
    // In the chat each sticker is different, so sharing saves nothing there.
    addToChat(6, body, makeSticker, take);
}

/// Items against plain objects with the same texts, bytes and numbers.
void addMemoryRow(const char *subject, double most, const std::function<const Share &(int)> &share)
{
    constexpr int count = 100'000;
    comparison::addBytes(
        subject, most,
        [=] {
            return allocatedBy([&] {
                std::vector<QSharedPointer<ContentItem>> items;
                items.reserve(count);
                for (int i = 0; i < count; ++i)
                    items.push_back(share(i).make(share(i).body(i).SerializeAsString()));
                return items;
            });
        },
        [=] {
            return allocatedBy([&] {
                std::vector<std::unique_ptr<QObject>> items;
                items.reserve(count);
                for (int i = 0; i < count; ++i) {
                    Content parsed;
                    parsed.ParseFromString(share(i).body(i).SerializeAsString());
                    items.push_back(share(i).bare(parsed));
                }
                return items;
            });
        });
}

/// The maximum number of bytes by which the process grows while it builds something. Linux only.
double peakOf(const std::function<void()> &build)
{
    const auto read = [](const QByteArray &key) {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return 0.0;
        const QByteArray text = status.readAll();
        const qsizetype at = text.indexOf(key) + key.size();
        return text.mid(at, text.indexOf("kB", at) - at).trimmed().toDouble() * 1024;
    };
    malloc_trim(0);
    QFile peak(QStringLiteral("/proc/self/clear_refs"));
    if (peak.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        peak.write("5"); // reset the peak
    const double before = read("VmRSS:");
    build();
    return read("VmHWM:") - before;
}

/// Bodies that take far more memory than bytes on the wire, against the record of the same bytes.
void addHostileRows()
{
    static const std::string entities = [] {
        Content content;
        for (int i = 0; i < 1'000'000; ++i)
            content.mutable_text()->add_textentity()->set_type(im::content::TextEntity::BOLD);
        return content.SerializeAsString();
    }();
    static const std::string stored = [] {
        const QByteArray one = R"({"data":null,"disable_preview":false,"from":0,"len":0,"type":7})";
        const QString list = QString::fromLatin1('[' + (one + ',').repeated(1'000'000) + "7]");
        return mapToJson({{QStringLiteral("type"), QStringLiteral("text")},
                          {QStringLiteral("dbEntity"), list}})
            .toStdString();
    }();
    static const std::string options = [] {
        Content content;
        for (int i = 0; i < 300'000; ++i)
            content.mutable_poll()->add_options()->mutable_text()->set_text("x");
        return content.SerializeAsString();
    }();
    const auto parse = [](const std::string &bytes) {
        auto content = std::make_unique<Content>();
        content->ParseFromString(bytes);
        return content;
    };
    const auto parseJson = [](const std::string &json) {
        return QJsonDocument::fromJson(QByteArray::fromStdString(json));
    };
    const auto restore = [](const std::string &json) {
        return makeContentItem(json, storedForm, chatMessages, nullptr);
    };
    const auto addRows = [](const std::string &name, double mostTime, double mostBytes,
                            const std::string &bytes, auto make, auto read) {
        const auto timed = [&bytes](auto work) -> comparison::Body {
            return [&bytes, work](benchmark::State &state) {
                for (auto _ : state)
                    benchmark::DoNotOptimize(work(bytes));
            };
        };
        comparison::add("hostile: " + name, mostTime, timed(make), timed(read));
        comparison::addBytes(
            "peak memory of " + name, mostBytes,
            [&bytes, make] { return peakOf([&] { make(bytes); }); },
            [&bytes, read] { return peakOf([&] { read(bytes); }); });
    };
    addRows("a million entities", 1.5, 1.5, entities, makeItem, parse);
    addRows("a million stored entities", 1, 1, stored, restore, parseJson);
    addRows("300,000 options", 1.5, 1.5, options, makeItem, parse);
}

void addMemoryRows()
{
    addMemoryRow("memory of 100,000 text items", 1.45,
                 [](int) -> const Share & { return chat().front(); });
    // A hundred consecutive messages have each kind's share.
    static const auto kinds = [] {
        std::vector<std::size_t> list;
        for (std::size_t i = 0; i < chat().size(); ++i)
            list.insert(list.end(), std::size_t(chat()[i].percent), i);
        return list;
    }();
    addMemoryRow("memory of 100,000 mixed items", 1.55, [](int number) -> const Share & {
        return chat()[kinds[std::size_t(number) % 100]];
    });
}

void addRows()
{
    addFactoryRows();
    addTexts();
    addFileKinds();
    addCardKinds();
    addKindsWithOptions();
    addStickers();
    addMemoryRows();
    addHostileRows();
}

} // namespace

COMPARISON_MAIN(addRows)
