#include "multimedia/reader/audiotags_p.h"

#include "multimedia/mediafile_p.h"
#include "multimedia/reader/mediainput_p.h"
#include "multimedia/reader/tagstream_p.h"

#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/id3v2synchdata.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4coverart.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace multimedia
{
namespace
{

constexpr qint64 largestTags = 64 << 20;
constexpr int largestPicture = 16 << 20;
constexpr qsizetype longestText = 1000;

/// Makes the header type accessible, which is protected in Frame.
struct AnyFrame : TagLib::ID3v2::Frame {
    using TagLib::ID3v2::Frame::Header;
};

/// Reads plain texts and pictures, and no other ID3v2 frame: a compressed one may expand to a
/// thousand times its size, and chapters may be nested.
class PlainFrames : public TagLib::ID3v2::FrameFactory
{
protected:
    bool updateFrame(AnyFrame::Header *header) const override
    {
        const TagLib::ByteVector id = header->frameID();
        const bool wanted = id.startsWith("T") || id == "APIC" || id == "PIC";
        if (wanted && !header->compression())
            return FrameFactory::updateFrame(header);
        if (header->version() > 2) {
            // The same size under an unknown name, without flags: skipped, not expanded.
            TagLib::ByteVector unknown("XXXX");
            unknown.append(header->version() == 3
                               ? TagLib::ByteVector::fromUInt(header->frameSize())
                               : TagLib::ID3v2::SynchData::fromUInt(header->frameSize()));
            unknown.append(TagLib::ByteVector(2, '\0'));
            header->setData(unknown, header->version());
        }
        return false;
    }
};

/// The reader for the file's real type. MP3 comes last, since it is recognised by probability.
std::unique_ptr<TagLib::File> makeReader(TagStream *stream, PlainFrames *frames)
{
    using namespace TagLib;
    if (Ogg::Opus::File::isSupported(stream))
        return std::make_unique<Ogg::Opus::File>(stream);
    if (Ogg::Vorbis::File::isSupported(stream))
        return std::make_unique<Ogg::Vorbis::File>(stream);
    if (Ogg::Speex::File::isSupported(stream))
        return std::make_unique<Ogg::Speex::File>(stream);
    if (Ogg::FLAC::File::isSupported(stream))
        return std::make_unique<Ogg::FLAC::File>(stream);
    if (FLAC::File::isSupported(stream))
        return std::make_unique<FLAC::File>(stream, frames);
    if (MP4::File::isSupported(stream)) {
        // In the worst case each read is a level of recursion, which takes 200 bytes of stack.
        stream->allow(2000, largestTags);
        return std::make_unique<MP4::File>(stream);
    }
    if (MPEG::File::isSupported(stream))
        return std::make_unique<MPEG::File>(stream, frames);
    return nullptr;
}

/// One line of a displayable length.
QString toText(const QString &text)
{
    QString result = text.simplified();
    if (result.size() <= longestText)
        return result;
    result.truncate(longestText - (result.at(longestText - 1).isHighSurrogate() ? 1 : 0));
    return result.trimmed();
}

/// The album map, without values that the file lacks.
class Album
{
public:
    void add(const QString &key, const QString &value)
    {
        const QString text = toText(value);
        if (!text.isEmpty())
            m_map.insert(key, text);
    }
    void add(const QString &key, const TagLib::String &value)
    {
        add(key, QString::fromUtf8(value.toCString(true)));
    }
    void add(const QString &key, qint64 value)
    {
        if (value > 0 && value <= std::numeric_limits<int>::max())
            m_map.insert(key, int(value));
    }
    void addSound(qint64 milliseconds, qint64 bitrate, int sampleRate, int channels)
    {
        add(QStringLiteral("Duration"), milliseconds);
        add(QStringLiteral("Bitrate"), bitrate);
        add(QStringLiteral("SampleRate"), qint64(sampleRate));
        add(QStringLiteral("Channels"), qint64(channels));
    }
    QVariantMap take() { return std::move(m_map); }

private:
    QVariantMap m_map;
};

QVariantMap toAlbum(const TagLib::File &file)
{
    Album album;
    if (const TagLib::Tag *tag = file.tag()) {
        album.add(QStringLiteral("Name"), tag->title());
        album.add(QStringLiteral("Artist"), tag->artist());
        album.add(QStringLiteral("Album"), tag->album());
        album.add(QStringLiteral("Genre"), tag->genre());
        album.add(QStringLiteral("Year"), qint64(tag->year()));
        album.add(QStringLiteral("Track"), qint64(tag->track()));
    }
    if (const TagLib::AudioProperties *sound = file.audioProperties()) {
        album.addSound(sound->lengthInMilliseconds(), sound->bitrate(), sound->sampleRate(),
                       sound->channels());
    }
    return album.take();
}

/// For a file that TagLib does not know, or knows only the tags of. Empty, with the reason in
/// `why`, when it is not sound.
QVariantMap readSound(QFile *file, QString *why)
{
    MediaInput input(file);
    const auto sound = input.open(MediaInput::soundFormats) ? input.sound() : std::nullopt;
    if (!sound) {
        *why = input.why();
        return {};
    }
    Album album;
    album.addSound(sound->duration, sound->bitrate, sound->sampleRate, sound->channels);
    album.add(QStringLiteral("Name"), input.text("title"));
    album.add(QStringLiteral("Artist"), input.text("artist"));
    album.add(QStringLiteral("Album"), input.text("album"));
    album.add(QStringLiteral("Genre"), input.text("genre"));
    album.add(QStringLiteral("Year"), input.text("date").left(4).toLongLong());
    album.add(QStringLiteral("Track"), input.text("track").section(u'/', 0, 0).toLongLong());
    return album.take();
}

/// Collects pictures, with the front covers before the others.
class Pictures
{
public:
    void add(const TagLib::ByteVector &bytes, bool front)
    {
        if (!bytes.isEmpty() && bytes.size() <= uint(largestPicture))
            (front ? m_front : m_other) += QByteArray(bytes.data(), int(bytes.size()));
    }
    void add(const TagLib::List<TagLib::FLAC::Picture *> &pictures)
    {
        for (const TagLib::FLAC::Picture *picture : pictures)
            add(picture->data(), picture->type() == TagLib::FLAC::Picture::FrontCover);
    }
    void add(const TagLib::ID3v2::Tag *tag)
    {
        using Frame = TagLib::ID3v2::AttachedPictureFrame;
        if (!tag)
            return;
        for (const TagLib::ID3v2::Frame *frame : tag->frameList("APIC")) {
            if (const auto *picture = dynamic_cast<const Frame *>(frame))
                add(picture->picture(), picture->type() == Frame::FrontCover);
        }
    }
    QList<QByteArray> take() { return m_front + m_other; }

private:
    QList<QByteArray> m_front;
    QList<QByteArray> m_other;
};

QList<QByteArray> toPictures(TagLib::File *file)
{
    Pictures pictures;
    if (auto *mpeg = dynamic_cast<TagLib::MPEG::File *>(file)) {
        pictures.add(mpeg->ID3v2Tag());
    } else if (auto *flac = dynamic_cast<TagLib::FLAC::File *>(file)) {
        pictures.add(flac->pictureList());
        pictures.add(flac->ID3v2Tag());
    } else if (auto *comment = dynamic_cast<TagLib::Ogg::XiphComment *>(file->tag())) {
        pictures.add(comment->pictureList());
    } else if (auto *mp4 = dynamic_cast<TagLib::MP4::Tag *>(file->tag())) {
        for (const TagLib::MP4::CoverArt &cover : mp4->item("covr").toCoverArtList())
            pictures.add(cover.data(), true);
    }
    return pictures.take();
}

/// The tags read, or why there are none.
AudioTags read(QFile *file, bool withPictures, QString *why)
{
    if (file->size() > std::numeric_limits<long>::max() / 2) {
        *why = QStringLiteral("the file is too large");
        return {};
    }
    TagStream stream(file);
    stream.allow(200'000, largestTags);
    PlainFrames frames;
    const std::unique_ptr<TagLib::File> reader = makeReader(&stream, &frames);
    AudioTags tags;
    if (reader && reader->isValid())
        tags.album = toAlbum(*reader);
    if (tags.album.isEmpty())
        tags.album = readSound(file, why);
    else if (withPictures)
        tags.pictures = toPictures(reader.get());
    return tags;
}

} // namespace

std::optional<AudioTags> readAudioTags(const QString &path, bool withPictures)
{
    const QString purpose = QStringLiteral("cannot read the tags of");
    QFile file(path);
    if (!openMediaFile(file, purpose))
        return std::nullopt;
    QString why;
    try {
        AudioTags tags = read(&file, withPictures, &why);
        if (why.isEmpty())
            return tags;
    } catch (const std::exception &failure) {
        why = QString::fromLocal8Bit(failure.what());
    } catch (...) {
        why = QStringLiteral("the tag reader failed");
    }
    logFailure(purpose, path, why);
    return std::nullopt;
}

} // namespace multimedia
