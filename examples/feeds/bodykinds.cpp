#include "feeds/bodykinds.h"

#include "base/define.h"
#include "base/json.h"
#include "content/filedata.h"
#include "content/modelbaseutil.h"
#include "cryptobase/cryptoaes.h"
#include "feeds/bodyreader.h"
#include "feeds/markup.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/text_format.h>

namespace
{

using im::content::Content;

// Parts that several kinds share

im::content::Text caption(const Draft &draft)
{
    return readMarkup(draft.text, draft.cast.botId);
}

/// Reads "640x400" into the two fields of that name.
template <typename Record>
void readSize(Words &words, Record *record)
{
    static const QRegularExpression size(QStringLiteral("^(\\d+)x(\\d+)$"));
    const QString word = words.next("size");
    const auto match = size.match(word);
    if (!match.hasMatch())
        throw RecorderError(QStringLiteral("%1 is no size, as 640x400 is").arg(word));
    record->set_width(match.captured(1).toInt());
    record->set_height(match.captured(2).toInt());
}

void fillThumbnail(const Draft &draft, const QString &file, im::content::FileThumb *thumb)
{
    thumb->set_thumb_nail(draft.media.thumbnail(file));
}

/// Reads braces with fields in the text form of protocol records.
void readRecord(const QString &braces, google::protobuf::Message *record)
{
    if (braces.isEmpty())
        return;
    struct Errors : google::protobuf::io::ErrorCollector {
        void AddError(int, int, const std::string &text) override { all += text + ' '; }
        std::string all;
    } errors;
    google::protobuf::TextFormat::Parser parser;
    parser.RecordErrorsTo(&errors);
    if (!braces.startsWith(u'{') || !braces.endsWith(u'}')
        || !parser.MergeFromString(braces.mid(1).chopped(1).toStdString(), record))
        throw RecorderError(QStringLiteral("%1 holds no %2: %3")
                                .arg(braces, QString::fromStdString(record->GetTypeName()),
                                     QString::fromStdString(errors.all)));
}

template <typename Enum>
Enum readName(const QString &name, bool (*parse)(google::protobuf::ConstStringParam, Enum *))
{
    Enum value;
    if (!parse(name.toStdString(), &value))
        throw RecorderError(QStringLiteral("nothing is called %1").arg(name));
    return value;
}

/// A key that looks random, and is the same in every recording.
std::string keyOf(const QString &what)
{
    return QCryptographicHash::hash("key of " + what.toUtf8(), QCryptographicHash::Sha256)
        .toStdString();
}

/// Lines that begin with "- " are options, the lines before them the title.
void readOptions(const Draft &draft, Content *title,
                 google::protobuf::RepeatedPtrField<Content> *options)
{
    static const QString mark = QStringLiteral("- ");
    QStringList lines;
    for (const QString &line : draft.text.split(u'\n')) {
        if (line.startsWith(mark))
            *options->Add()->mutable_text() = readMarkup(line.mid(mark.size()), draft.cast.botId);
        else
            lines.append(line);
    }
    *title->mutable_text() = readMarkup(lines.join(u'\n').trimmed(), draft.cast.botId);
}

// The kinds

void readImage(Draft &draft)
{
    im::content::Image *image = draft.content.mutable_image();
    const QString file = draft.words.next("file");
    *image->mutable_image_file() = draft.media.record(file);
    fillThumbnail(draft, file, image->mutable_thumb());
    readSize(draft.words, image);
    image->set_spoiler(draft.words.takeIf("spoiler"));
    if (draft.words.takeIf("live"))
        *image->mutable_live_photo_file() = draft.media.record(draft.words.next("live photo"));
    *image->mutable_caption() = caption(draft);
    draft.message.set_media_type(im::Message::IMAGE);
}

void readVideo(Draft &draft)
{
    im::content::Video *video = draft.content.mutable_video();
    const QString file = draft.words.next("file");
    *video->mutable_video_file() = draft.media.record(file);
    fillThumbnail(draft, file, video->mutable_thumb());
    readSize(draft.words, video);
    video->set_duration(draft.words.seconds("duration"));
    video->set_spoiler(draft.words.takeIf("spoiler"));
    video->set_support_streaming(true);
    *video->mutable_caption() = caption(draft);
    draft.message.set_media_type(im::Message::VIDEO);
}

void readVoice(Draft &draft)
{
    im::content::Voice *voice = draft.content.mutable_voice();
    *voice->mutable_voice_file() = draft.media.record(draft.words.next("file"));
    voice->set_duration(draft.words.seconds("duration"));
    for (const QChar level : draft.words.next("waveform"))
        voice->mutable_waveform()->push_back(char(level.digitValue() * 255 / 9));
    *voice->mutable_caption() = caption(draft);
    draft.message.set_media_type(im::Message::VOICE);
    draft.message.set_voice_message(true);
}

void readMusic(Draft &draft)
{
    im::content::Audio *audio = draft.content.mutable_audio();
    *audio->mutable_audio_file() = draft.media.record(draft.words.next("file"));
    audio->set_duration(draft.words.seconds("duration"));
    *audio->mutable_caption() = caption(draft);
}

void readFile(Draft &draft)
{
    im::content::File *file = draft.content.mutable_file();
    const QString name = draft.words.next("file");
    *file->mutable_attach_file() = draft.media.record(name);
    if (draft.words.takeIf("as"))
        file->mutable_attach_file()->set_name(draft.words.rest().toStdString());
    file->set_thumb_nail(draft.media.thumbnail(name));
    *file->mutable_caption() = caption(draft);
}

void readSticker(Draft &draft)
{
    im::content::Sticker *sticker = draft.content.mutable_sticker();
    const QString name = draft.words.next("file");
    const im::content::FileInfo info = draft.media.record(name);
    readSize(draft.words, sticker);
    sticker->set_pid(draft.words.number("pack"));
    sticker->set_shortcut(draft.words.next("shortcut").toStdString());
    sticker->set_hint(draft.words.rest().toStdString());
    const QString suffix = QFileInfo(name).suffix();
    if (!ModelBaseUtil::animateStickerFormat().contains(suffix)) {
        *sticker->mutable_sticker_file() = info;
        return;
    }
    im::AnimatedSticker *animated = sticker->mutable_animated_file();
    im::FileInfo *file = animated->mutable_file();
    file->set_file_id(info.id());
    file->set_key(info.key());
    file->set_check_sum(info.checksum());
    file->set_size(info.size());
    animated->set_file_type(suffix.toStdString());
    animated->set_width(sticker->width());
    animated->set_height(sticker->height());
    fillThumbnail(draft, name, sticker->mutable_thumb());
}

void readCard(Draft &draft)
{
    im::content::Card *card = draft.content.mutable_card();
    const QString name = draft.words.next("person");
    card->set_user_id(draft.cast.idOf(name));
    card->set_nickname(name.toStdString());
    card->set_im_id(draft.words.next("id").toStdString());
    *card->mutable_avatar_thumb() = draft.media.record(draft.words.next("file"));
    *card->mutable_caption() = caption(draft);
}

void readLocation(Draft &draft)
{
    im::content::Location *location = draft.content.mutable_location();
    location->set_latitude(draft.words.real("latitude"));
    location->set_longitude(draft.words.real("longitude"));
    location->set_title(draft.words.until(u'|').toStdString());
    location->set_address(draft.words.rest().toStdString());
    *location->mutable_caption() = caption(draft);
}

void readAlert(Draft &draft)
{
    im::content::SystemAlert *alert = draft.content.mutable_system_alert();
    alert->set_type(readName(draft.words.next("type"), &im::content::SystemAlert::Type_Parse));
    const auto fill = [&](im::User *user, const QString &name) {
        user->set_user_id(draft.cast.idOf(name));
        user->set_name(name.toStdString());
    };
    if (draft.words.takeIf("by"))
        fill(alert->mutable_operator_(), draft.words.next("person"));
    while (draft.words.takeIf("of") || draft.words.takeIf("and"))
        fill(alert->add_targets(), draft.words.next("person"));
    readRecord(draft.words.rest(), alert);
    draft.message.set_type(im::Message::SYSTEM);
}

void readCall(Draft &draft)
{
    im::content::Call *call = draft.content.mutable_call();
    call->set_call_state(readName(draft.words.next("state"), &im::Message::CallState_Parse));
    call->set_duration(draft.words.seconds("duration"));
    call->set_call_id(draft.words.next("id").toStdString());
    draft.message.set_type(im::Message::CALL);
}

void readMeeting(Draft &draft)
{
    im::content::MeetingInvite *invite = draft.content.mutable_meeting_invite();
    const QString nonce = draft.words.next("nonce");
    invite->set_nonce(nonce.toStdString());
    invite->set_key(keyOf(nonce));
    draft.message.set_type(im::Message::MEETING);
}

void readPoll(Draft &draft)
{
    im::content::Poll *poll = draft.content.mutable_poll();
    readOptions(draft, poll->mutable_desc(), poll->mutable_options());
    im::PollInfo *info = draft.message.mutable_poll_info();
    readRecord(draft.words.rest(), info);
    info->set_options_count(poll->options_size());
    info->mutable_result()->set_poll_id(info->poll_id());
    // The comment is for recipients of the message: it is encrypted with the poll's own key.
    poll->set_key(keyOf(QString::fromStdString(info->poll_id())));
    info->set_comment(CryptoAES(CryptoAES::deterministic)
                          .encrypt(QByteArray::fromStdString(info->comment()),
                                   QByteArray::fromStdString(poll->key()), Define::comIV())
                          .toStdString());
    draft.message.set_type(im::Message::POLL);
}

void readLottery(Draft &draft)
{
    im::content::Lottery *lottery = draft.content.mutable_lottery();
    readOptions(draft, lottery->mutable_title(), lottery->mutable_prizes());
    draft.message.set_lottery_id(draft.words.next("id").toStdString());
    draft.message.set_type(im::Message::LOTTERY);
}

/// Each entry begins with "-- 2024-05-16 06:02 Mira".
void readCombined(Draft &draft)
{
    static const QRegularExpression entry(QStringLiteral("^-- (\\S+ \\S+) (.+)\n"),
                                          QRegularExpression::MultilineOption);
    auto matches = entry.globalMatch(draft.text);
    while (matches.hasNext()) {
        const auto match = matches.next();
        const qsizetype end =
            matches.hasNext() ? matches.peekNext().capturedStart() : draft.text.size();
        const QString body =
            draft.text.mid(match.capturedEnd(), end - match.capturedEnd()).trimmed();
        for (const im::Message &message : readBodies(body, draft.cast, draft.media)) {
            im::Message *combined = draft.message.add_combined_messages();
            *combined = message;
            combined->set_message_id(draft.message.combined_messages_size());
            combined->set_timestamp(readTime(match.captured(1)));
            combined->set_sender(draft.cast.idOf(match.captured(2)));
        }
    }
    draft.message.set_total_combined_messages(draft.message.combined_messages_size());
    draft.message.set_type(im::Message::COMBINED_MESSAGES);
    draft.isRaw = true;
}

/// A folder and its files. The protocol has no body for it: it is in the stored form.
void readFolder(Draft &draft)
{
    const auto stored = [&](const QString &file) {
        const im::content::FileInfo info = draft.media.record(file);
        QVariantMap map;
        FileData(info).serialize(map);
        return map;
    };
    const QString name = draft.words.until(u':');
    QVariantList files;
    for (QString file = draft.words.until(u','); !file.isEmpty(); file = draft.words.until(u','))
        files.append(stored(file));
    const QVariantMap folder{{QStringLiteral("name"), name}, {QStringLiteral("files"), files}};
    const QVariantMap map{{QStringLiteral("type"), QStringLiteral("folder")},
                          {QStringLiteral("content"), draft.text},
                          {QStringLiteral("displayName"), name},
                          {QStringLiteral("folders"), QVariantList{folder}}};
    draft.message.set_content(mapToJson(map).toStdString());
    draft.message.set_content_format_ver(1);
    draft.isRaw = true;
}

/// A body with a number that this protocol does not have yet.
void readNewer(Draft &draft)
{
    const int number = draft.words.number("number");
    im::content::Content::GetReflection()
        ->MutableUnknownFields(&draft.content)
        ->AddLengthDelimited(number, draft.words.rest().toStdString());
}

} // namespace

BodyKind bodyKind(const QString &name)
{
    static const QHash<QString, BodyKind> kinds{
        {QStringLiteral("image"), readImage},       {QStringLiteral("video"), readVideo},
        {QStringLiteral("voice"), readVoice},       {QStringLiteral("music"), readMusic},
        {QStringLiteral("file"), readFile},         {QStringLiteral("folder"), readFolder},
        {QStringLiteral("sticker"), readSticker},   {QStringLiteral("card"), readCard},
        {QStringLiteral("location"), readLocation}, {QStringLiteral("alert"), readAlert},
        {QStringLiteral("call"), readCall},         {QStringLiteral("meeting"), readMeeting},
        {QStringLiteral("poll"), readPoll},         {QStringLiteral("lottery"), readLottery},
        {QStringLiteral("combined"), readCombined}, {QStringLiteral("newer"), readNewer},
    };
    return kinds.value(name);
}
