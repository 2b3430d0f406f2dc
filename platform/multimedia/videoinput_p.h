#pragma once

#include <QDeadlineTimer>
#include <QFile>
#include <QSize>

#include <cstdint>

struct AVCodecContext;
struct AVFormatContext;
struct AVIOContext;
struct AVStream;

namespace multimedia
{

/// A video file as FFmpeg reads it: through our own file, so that no path is taken for a URL, and
/// with nothing else to open. Reading fails when 10 seconds are over.
class VideoInput
{
public:
    /// `file` is open, and outlives this.
    explicit VideoInput(QFile *file);
    ~VideoInput();
    Q_DISABLE_COPY_MOVE(VideoInput)

    /// Opens the file from its beginning. False, with the reason in why(), for no container that we
    /// know.
    bool open();
    /// Reads as far as its first frame, and decodes that. False, with the reason in why(), for
    /// anything but a video of a sensible size. A decoder does this by itself, and FFmpeg bears it
    /// only once: what has been examined is not for decoding any more.
    bool examine();

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
    AVStream *pictures() const;
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
