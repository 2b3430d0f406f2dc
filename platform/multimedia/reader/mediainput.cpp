#include "multimedia/reader/mediainput_p.h"

#include <memory>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace multimedia
{
namespace
{

constexpr int ioBufferSize = 64 << 10;
constexpr qint64 mostPixels = 40'000'000;
/// Real values lie between 1/2 and 2.
constexpr double mostStretch = 8;

/// Frees objects that FFmpeg allocated.
struct Deleter {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};

/// A decoder that refuses large frames: the size in the container cannot be trusted, and a kilobyte
/// can hold a frame of a gigabyte. Null if there is none.
std::unique_ptr<AVCodecContext, Deleter> newDecoder(const AVCodecParameters &parameters)
{
    const AVCodec *codec = avcodec_find_decoder(parameters.codec_id);
    std::unique_ptr<AVCodecContext, Deleter> decoder(codec ? avcodec_alloc_context3(codec)
                                                           : nullptr);
    if (!decoder || avcodec_parameters_to_context(decoder.get(), &parameters) < 0)
        return nullptr;
    decoder->max_pixels = mostPixels;
    return avcodec_open2(decoder.get(), codec, nullptr) < 0 ? nullptr : std::move(decoder);
}

/// The ratio of a stored pixel's width to its height; square if unknown.
bool isSensible(AVRational pixel)
{
    const double stretch = pixel.num > 0 && pixel.den > 0 ? av_q2d(pixel) : 1;
    return stretch <= mostStretch && stretch >= 1 / mostStretch;
}

int openNothing(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

} // namespace

MediaInput::MediaInput(QFile *file) : m_file(file)
{
    // FFmpeg would write to stderr for every damaged file. The level is one for the whole process.
    static const bool quiet = [] {
        if (av_log_get_level() == AV_LOG_INFO)
            av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    Q_UNUSED(quiet)
}

MediaInput::~MediaInput()
{
    avformat_close_input(&m_format);
    if (m_io)
        av_freep(&m_io->buffer);
    avio_context_free(&m_io);
}

bool MediaInput::open(const char *formats)
{
    m_file->seek(0);
    auto *buffer = static_cast<unsigned char *>(av_malloc(ioBufferSize));
    m_io = avio_alloc_context(buffer, ioBufferSize, 0, this, &read, nullptr, &seek);
    m_format = avformat_alloc_context();
    if (!m_io || !m_format) {
        if (!m_io)
            av_free(buffer);
        return fail(QStringLiteral("out of memory"));
    }
    m_format->pb = m_io;
    m_format->io_open = &openNothing;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "format_whitelist", formats, 0);
    // Frees the context on failure.
    const int opened = avformat_open_input(&m_format, nullptr, nullptr, &options);
    av_dict_free(&options);
    if (opened < 0)
        return fail(QStringLiteral("not of a known kind"));
    return true;
}

bool MediaInput::findStreams()
{
    // This already decodes frames, if necessary.
    std::vector<AVDictionary *> options(m_format->nb_streams);
    for (AVDictionary *&each : options)
        av_dict_set_int(&each, "max_pixels", mostPixels, 0);
    const int found = avformat_find_stream_info(m_format, options.data());
    for (AVDictionary *&each : options)
        av_dict_free(&each);
    return found >= 0 || fail(QStringLiteral("the file is damaged"));
}

bool MediaInput::examine()
{
    if (!findStreams())
        return false;
    AVStream *stream = pictures();
    if (!stream)
        return fail(QStringLiteral("there is no picture in it"));
    const auto decoder = newDecoder(*stream->codecpar);
    if (!decoder || !decodeFirst(stream, decoder.get()))
        return fail(QStringLiteral("no frame of a sensible size can be decoded"));
    m_size = QSize(decoder->width, decoder->height);
    if (!isSensible(av_guess_sample_aspect_ratio(m_format, stream, nullptr))
        || !isSensible(decoder->sample_aspect_ratio))
        return fail(QStringLiteral("its pixels are out of all proportion"));
    return true;
}

std::optional<MediaInput::Sound> MediaInput::sound()
{
    if (!findStreams())
        return std::nullopt;
    const int found = av_find_best_stream(m_format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (found < 0 || pictures()) {
        fail(QStringLiteral("it is no sound alone"));
        return std::nullopt;
    }
    const AVStream &stream = *m_format->streams[found];
    Sound sound{duration(), m_format->bit_rate / 1000, stream.codecpar->sample_rate,
                stream.codecpar->ch_layout.nb_channels};
    // The bit rate at the beginning of a plain stream says little about the rest.
    if (m_format->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        sound.duration = walk(stream);
        sound.bitrate = sound.duration > 0 ? m_file->size() * 8 / sound.duration : 0;
    }
    return sound;
}

qint64 MediaInput::walk(const AVStream &stream)
{
    const std::unique_ptr<AVPacket, Deleter> packet(av_packet_alloc());
    qint64 length = 0; // in the stream's time units
    while (packet && av_read_frame(m_format, packet.get()) >= 0) {
        if (packet->stream_index == stream.index)
            length += packet->duration;
        av_packet_unref(packet.get());
    }
    return m_deadline.hasExpired() ? 0 : av_rescale_q(length, stream.time_base, {1, 1000});
}

QString MediaInput::text(const char *name) const
{
    const AVDictionaryEntry *entry = av_dict_get(m_format->metadata, name, nullptr, 0);
    return entry ? QString::fromUtf8(entry->value) : QString();
}

AVStream *MediaInput::pictures() const
{
    const int found = av_find_best_stream(m_format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    AVStream *stream = found < 0 ? nullptr : m_format->streams[found];
    // The cover of a song counts as a stream, too.
    return stream && !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC) ? stream : nullptr;
}

bool MediaInput::decodeFirst(AVStream *stream, AVCodecContext *decoder)
{
    const std::unique_ptr<AVPacket, Deleter> packet(av_packet_alloc());
    const std::unique_ptr<AVFrame, Deleter> frame(av_frame_alloc());
    if (!packet || !frame)
        return false;
    bool isHalf = false; // an interlaced frame is shown with the next one
    while (!m_deadline.hasExpired() && av_read_frame(m_format, packet.get()) >= 0) {
        const bool wanted = packet->stream_index == stream->index;
        const int sent = wanted ? avcodec_send_packet(decoder, packet.get()) : 0;
        av_packet_unref(packet.get());
        if (sent < 0)
            return false;
        if (!wanted || avcodec_receive_frame(decoder, frame.get()) != 0)
            continue;
        if (isHalf || !frame->interlaced_frame)
            return true;
        isHalf = true;
    }
    return isHalf;
}

qint64 MediaInput::duration() const
{
    // AV_NOPTS_VALUE is negative.
    return std::max<qint64>(m_format->duration, 0) / (AV_TIME_BASE / 1000);
}

int MediaInput::read(void *self, unsigned char *buffer, int size)
{
    const auto *input = static_cast<MediaInput *>(self);
    if (input->m_deadline.hasExpired())
        return AVERROR_EXIT;
    const qint64 count = input->m_file->read(reinterpret_cast<char *>(buffer), size);
    return count > 0 ? int(count) : count == 0 ? AVERROR_EOF : AVERROR(EIO);
}

int64_t MediaInput::seek(void *self, int64_t offset, int whence)
{
    QFile *file = static_cast<MediaInput *>(self)->m_file;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return file->size();
    case SEEK_CUR:
        offset += file->pos();
        break;
    case SEEK_END:
        offset += file->size();
        break;
    }
    return offset >= 0 && file->seek(offset) ? offset : AVERROR(EINVAL);
}

bool MediaInput::fail(const QString &why)
{
    m_why = m_deadline.hasExpired() ? QStringLiteral("reading it takes too long") : why;
    return false;
}

} // namespace multimedia
