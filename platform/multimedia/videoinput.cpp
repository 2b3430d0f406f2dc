#include "multimedia/videoinput_p.h"

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
/// Real ones lie between 1/2 and 2.
constexpr double mostStretch = 8;

/// Containers only: no play lists, no lists of files, no network descriptions.
constexpr const char *knownFormats = "mov,mp4,matroska,webm,avi,mpegts,mpeg,flv,asf,ogg,gif";

int openNothing(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

} // namespace

VideoInput::VideoInput(QFile *file) : m_file(file)
{
    // FFmpeg would tell stderr about every damaged file. It has one level for the whole process.
    static const bool quiet = [] {
        if (av_log_get_level() == AV_LOG_INFO)
            av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    Q_UNUSED(quiet)
}

VideoInput::~VideoInput()
{
    avformat_close_input(&m_format);
    if (m_io)
        av_freep(&m_io->buffer);
    avio_context_free(&m_io);
}

bool VideoInput::open()
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
    av_dict_set(&options, "format_whitelist", knownFormats, 0);
    // Frees the context when it fails.
    const int opened = avformat_open_input(&m_format, nullptr, nullptr, &options);
    av_dict_free(&options);
    if (opened < 0)
        return fail(QStringLiteral("not a video of a known kind"));
    return true;
}

bool VideoInput::examine()
{
    // Frames are decoded already here, where necessary.
    std::vector<AVDictionary *> options(m_format->nb_streams);
    for (AVDictionary *&each : options)
        av_dict_set_int(&each, "max_pixels", mostPixels, 0);
    const int found = avformat_find_stream_info(m_format, options.data());
    for (AVDictionary *&each : options)
        av_dict_free(&each);
    if (found < 0)
        return fail(QStringLiteral("the video is damaged"));
    const QSize pixels = size();
    if (pixels.isEmpty())
        return fail(QStringLiteral("there is no picture in it"));
    if (qint64(pixels.width()) * pixels.height() > mostPixels)
        return fail(QStringLiteral("a frame is too large"));
    if (stretch() > mostStretch || stretch() < 1 / mostStretch)
        return fail(QStringLiteral("its pixels are out of all proportion"));
    return true;
}

AVStream *VideoInput::pictures() const
{
    const int found = av_find_best_stream(m_format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    AVStream *stream = found < 0 ? nullptr : m_format->streams[found];
    // The cover of a song counts as a stream, too.
    return stream && !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC) ? stream : nullptr;
}

QSize VideoInput::size() const
{
    const AVStream *stream = pictures();
    return stream ? QSize(stream->codecpar->width, stream->codecpar->height) : QSize();
}

double VideoInput::stretch() const
{
    AVStream *stream = pictures();
    const AVRational ratio =
        stream ? av_guess_sample_aspect_ratio(m_format, stream, nullptr) : AVRational{0, 1};
    return ratio.num > 0 && ratio.den > 0 ? av_q2d(ratio) : 1;
}

qint64 VideoInput::duration() const
{
    // AV_NOPTS_VALUE is negative.
    return std::max<qint64>(m_format->duration, 0) / (AV_TIME_BASE / 1000);
}

int VideoInput::read(void *self, unsigned char *buffer, int size)
{
    const auto *input = static_cast<VideoInput *>(self);
    if (input->m_deadline.hasExpired())
        return AVERROR_EXIT;
    const qint64 count = input->m_file->read(reinterpret_cast<char *>(buffer), size);
    return count > 0 ? int(count) : count == 0 ? AVERROR_EOF : AVERROR(EIO);
}

int64_t VideoInput::seek(void *self, int64_t offset, int whence)
{
    QFile *file = static_cast<VideoInput *>(self)->m_file;
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

bool VideoInput::fail(const QString &why)
{
    m_why = m_deadline.hasExpired() ? QStringLiteral("reading it takes too long") : why;
    return false;
}

} // namespace multimedia
