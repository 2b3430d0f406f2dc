#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <optional>

/// One frame of a feed: a notification as the network layer would pass it on.
struct Frame {
    int type = 0;      ///< im.notif.NotifType
    QByteArray record; ///< serialised; protocol::notificationPrototype(type) gives its kind
};

/// Reads a feed, frame by frame; README.md describes the file. It trusts nothing in it: a damaged
/// feed gives the frames before the damage, and then an error.
class FeedReader
{
public:
    explicit FeedReader(const QString &path);

    /// The next frame; nothing at the end of the feed, and when it cannot be read further.
    std::optional<Frame> next();
    /// The number of the frame that next() read last, counted from 1.
    int number() const { return m_number; }
    /// The error in the feed, for the user; empty if there is none.
    const QString &error() const { return m_error; }

private:
    std::nullopt_t fail(const QString &error);

    QFile m_file;
    int m_number = 0;
    QString m_error;
};

/// Writes a feed.
class FeedWriter
{
public:
    void append(const Frame &frame);
    /// The feed, with its end mark.
    QByteArray finished();

private:
    QByteArray m_bytes;
};
