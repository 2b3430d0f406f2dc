#include "content/kinds_p.h"

#include "account/stickerprovider.h"
#include "content/items/callitem.h"
#include "content/items/carditem.h"
#include "content/items/folderitem.h"
#include "content/items/imageitem.h"
#include "content/items/locationitem.h"
#include "content/items/lotteryitem.h"
#include "content/items/meetingitem.h"
#include "content/items/musicitem.h"
#include "content/items/pollitem.h"
#include "content/items/stickeritem.h"
#include "content/items/systemitem.h"
#include "content/items/videoitem.h"
#include "content/items/voiceitem.h"
#include "content/providers_p.h"
#include "content/remainder_p.h"
#include "protocol/message_content.pb.h"

#include <algorithm>

namespace
{

using namespace im::content;
using Type = ContentItem::Type;

/// @param Body  the getter of the kind's body
/// @param Parts the getters of the records in the body that are captions, files and thumbnails
template <typename Item, auto Body, auto... Parts>
constexpr Kind kind(Type type, const char *name, Kind::Files files = Kind::None,
                    int fileType = FileType::Plain)
{
    return {type,
            name,
            files,
            fileType,
            [](const Kind::ItemMap &map, int source, AccountBase *account) -> Kind::ItemPointer {
                return QSharedPointer<Item>::create(map, source, account);
            },
            [](const Content &content, int source, AccountBase *account) -> Kind::ItemPointer {
                auto item = QSharedPointer<Item>::create(content, source, account);
                if (Remainder::mayExistIn<Body, Parts...>(content))
                    item->keepRemainder(content);
                return item;
            },
            [](const ContentItem &other) -> Kind::ItemPointer {
                const auto *same = dynamic_cast<const Item *>(&other);
                return same ? QSharedPointer<Item>::create(same) : Kind::ItemPointer();
            },
            &typeid(Item),
            &Remainder::mayExistIn<Body, Parts...>};
}

/// Stickers are made by the account's provider, since many messages share one.
constexpr Kind stickerKind()
{
    Kind row = kind<StickerItem, &Content::sticker>(Type::Sticker, "sticker", Kind::Shown,
                                                    FileType::Sticker);
    row.fromMap = [](const Kind::ItemMap &map, int, AccountBase *account) {
        StickerProvider *provider = stickerProviderOf(account);
        return provider ? provider->sticker(map) : Kind::ItemPointer();
    };
    row.fromRecord = [](const Content &content, int, AccountBase *account) {
        StickerProvider *provider = stickerProviderOf(account);
        return provider ? provider->sticker(content) : Kind::ItemPointer();
    };
    return row;
}

/// The item of an alert keeps the record whole.
constexpr Kind systemKind()
{
    Kind row = kind<SystemItem, &Content::system_alert>(Type::System, "system");
    row.mayHaveRemainder = &Remainder::mayExistBeside;
    return row;
}

/// A folder has the body of a file, and arrives as one.
constexpr Kind folderKind()
{
    Kind row = kind<FolderItem, &Content::file>(Type::Folder, "folder", Kind::Uploaded);
    row.body = Type::File;
    return row;
}

} // namespace

std::span<const Kind> Kind::all()
{
    // clang-format off
    static constexpr Kind kinds[] = {
        kind<ContentItem, &Content::text>(Type::Text, "text"),
        kind<ImageItem, &Content::image, &Image::image_file, &Image::live_photo_file, &Image::thumb,
             &Image::caption>(Type::Image, "image", Uploaded, FileType::Image),
        kind<VoiceItem, &Content::voice, &Voice::voice_file, &Voice::caption>(
            Type::Voice, "audio", Uploaded, FileType::Voice),
        kind<MusicItem, &Content::audio, &Audio::audio_file, &Audio::thumb_file, &Audio::caption>(
            Type::Music, "music", Uploaded, FileType::Music),
        kind<VideoItem, &Content::video, &Video::video_file, &Video::thumb, &Video::caption>(
            Type::Video, "video", Uploaded, FileType::Video),
        kind<FileItem, &Content::file, &File::attach_file, &File::thumb_file, &File::caption>(
            Type::File, "file", Uploaded),
        stickerKind(),
        kind<CardItem, &Content::card, &Card::avatar_thumb, &Card::caption>(
            Type::Card, "card", Shown),
        kind<LocationItem, &Content::location, &Location::caption>(
            Type::Location, "location", Shown),
        systemKind(),
        kind<CallItem, &Content::call>(Type::Call, "call"),
        kind<MeetingItem, &Content::meeting_invite>(Type::Meeting, "meeting"),
        // What is beside the fields of the contents inside is kept by the items of those.
        kind<PollItem, &Content::poll>(Type::Poll, "poll"),
        kind<LotteryItem, &Content::lottery>(Type::Lottery, "lottery"),
        folderKind(),
        // These are made of their parts.
        {Type::Combined, "combined"},
        {Type::MediaGroup, "mediagroup"},
        {Type::FileGroup, "filegroup"},
        // Of these there is only the name.
        {Type::InvalidLottery, "invalidlottery"},
        {Type::InvalidPoll, "invalidpoll"},
    };
    // clang-format on
    return kinds;
}

const Kind *Kind::find(int type)
{
    const auto rows = all();
    // Those of the protocol's bodies stand in the order of their types.
    if (type >= 1 && type <= int(rows.size()) && rows[std::size_t(type) - 1].type == type)
        return &rows[std::size_t(type) - 1];
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [type](const Kind &row) { return row.type == type; });
    return found != rows.end() ? &*found : nullptr;
}
