#pragma once

#include <QDeadlineTimer>
#include <QFile>
#include <QSize>

#include <cstdint>
#include <optional>

struct AVCodecContext;
struct AVFormatContext;
struct AVIOContext;
struct AVStream;

namespace multimedia
{

/// A video or sound file as FFmpeg reads it: through our own file, so that a path is never taken
/// for a URL, and without access to other files. Reading fails after 10 seconds.
class MediaInput
{
public:
    // Formats, by FFmpeg's names of their demuxers. Containers and plain streams only: no play
    // lists, no lists of files, no network descriptions.
    static constexpr const char *videoFormats =
        "mov,mp4,matroska,webm,avi,mpegts,mpeg,flv,asf,ogg,gif,rm";
    /// Formats that the tag reader does not know.
    static constexpr const char *soundFormats = "wav,asf,aac,ac3,eac3";

    struct Sound {
        qint64 duration = 0; ///< milliseconds; 0 when unknown, as are the others
        qint64 bitrate = 0;  ///< kbit/s
        int sampleRate = 0;
        int channels = 0;
    };

    /// `file` is open, and must outlive this.
    explicit MediaInput(QFile *file);
    ~MediaInput();
    Q_DISABLE_COPY_MOVE(MediaInput)

    /// Opens the file at its beginning. False, with the reason in why(), if it has none of the
    /// formats.
    bool open(const char *formats);
    /// Reads up to the first frame, and decodes it. False, with the reason in why(), unless it is a
    /// video of a sensible size. A decoder does the same by itself, and FFmpeg supports it only
    /// once: an examined input can no longer be decoded.
    bool examine();
    /// The file's sound. Reads to the end if nothing else gives its length. Nothing, with the
    /// reason in why(), without sound, and for a video.
    std::optional<Sound> sound();
    /// A metadata text of the file, by FFmpeg's name for it.
    QString text(const char *name) const;

    AVFormatContext *context() const { return m_format; }
    // Known after examine().
    /// Empty without moving pictures. As stored, before rotation or stretching to square pixels.
    QSize size() const { return m_size; }
    /// In milliseconds; 0 when unknown.
    qint64 duration() const;
    QString why() const { return m_why; }

private:
    static int read(void *self, unsigned char *buffer, int size);
    static int64_t seek(void *self, int64_t offset, int whence);
    bool findStreams();
    AVStream *pictures() const;
    qint64 walk(const AVStream &stream);
    bool decodeFirst(AVStream *stream, AVCodecContext *decoder);
    bool fail(const QString &why);

    QFile *m_file;
    QDeadlineTimer m_deadline{10'000};
    AVIOContext *m_io = nullptr;
    AVFormatContext *m_format = nullptr;
    QSize m_size;
    QString m_why;
};

} // namespace multimedia
