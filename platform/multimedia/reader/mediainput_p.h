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

/// A video or sound file as FFmpeg reads it: through our own file, so that no path is taken for a
/// URL, and with nothing else to open. Reading fails when 10 seconds are over.
class MediaInput
{
public:
    // Kinds of files, as FFmpeg calls its readers of them. Containers and plain streams only: no
    // play lists, no lists of files, no network descriptions.
    static constexpr const char *videoFormats =
        "mov,mp4,matroska,webm,avi,mpegts,mpeg,flv,asf,ogg,gif,rm";
    /// Those that the reader of tags does not know.
    static constexpr const char *soundFormats = "wav,asf,aac,ac3,eac3";

    struct Sound {
        qint64 duration = 0; ///< milliseconds; 0 when unknown, as are the others
        qint64 bitrate = 0;  ///< kbit/s
        int sampleRate = 0;
        int channels = 0;
    };

    /// `file` is open, and outlives this.
    explicit MediaInput(QFile *file);
    ~MediaInput();
    Q_DISABLE_COPY_MOVE(MediaInput)

    /// Opens the file from its beginning. False, with the reason in why(), for none of the formats.
    bool open(const char *formats);
    /// Reads as far as its first frame, and decodes that. False, with the reason in why(), for
    /// anything but a video of a sensible size. A decoder does this by itself, and FFmpeg bears it
    /// only once: what has been examined is not for decoding any more.
    bool examine();
    /// What is to be heard. Reads to the end where nothing else tells how long that is. Nothing,
    /// with the reason in why(), without sound, and for a video.
    std::optional<Sound> sound();
    /// A text that the file says of itself, by FFmpeg's name for it.
    QString text(const char *name) const;

    AVFormatContext *context() const { return m_format; }
    // Known when it has been examined.
    /// Empty without moving pictures. As stored, before it is turned or stretched to square pixels.
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
