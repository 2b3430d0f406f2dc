#pragma once

#include "feeds/feed.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <queue>

/// Pushes notifications like a server: it plays feeds, one message at a time with its preceding
/// frames, and makes people react to some of the messages.
class FeedPlayer : public QObject
{
    Q_OBJECT

public:
    explicit FeedPlayer(const QStringList &feeds, QObject *parent = nullptr);

    /// Begins, or continues at another pace.
    /// @param interval ms between two messages
    void play(int interval);
    /// Plays all feeds once more, for an account that has not seen them. Others ignore what they
    /// know.
    void playAgain();
    /// Makes people like a message that was sent here.
    void like(const QString &dialogId, int messageId);

Q_SIGNALS:
    void frame(const Frame &frame);
    /// A feed cannot be continued; a text for the user. The next feed is played.
    void failed(const QString &error);
    void finished();

private:
    /// Plays up to the next message.
    void playOn();
    /// Plays one frame. True when it was not a message, so that the next frame may follow at once.
    bool playFrame();
    /// True for a message.
    bool push(const Frame &frame);
    void react(const std::string &dialogId, int messageId, int sender);

    const QStringList m_feeds;
    QStringList m_next; // still to be played
    std::unique_ptr<FeedReader> m_reader;
    std::queue<Frame> m_reactions;
    QTimer m_timer;
    int m_messages = 0;
};
