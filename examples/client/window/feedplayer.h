#pragma once

#include "feeds/feed.h"

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <queue>

/// The server's side of what is pushed: it plays feeds, a message at a time with what came before
/// it, and has people react to some of the messages.
class FeedPlayer : public QObject
{
    Q_OBJECT

public:
    explicit FeedPlayer(const QStringList &feeds, QObject *parent = nullptr);

    /// Begins, or goes on at another pace.
    /// @param interval ms between two messages
    void play(int interval);
    /// Plays all feeds once more, for somebody who has not seen them. Those who have will notice.
    void playAgain();
    /// People like what was sent here.
    void like(const QString &dialogId, int messageId);

Q_SIGNALS:
    void frame(const Frame &frame);
    /// A feed cannot be played on, for people; the next one is.
    void failed(const QString &error);
    void finished();

private:
    /// Plays on up to the next thing to look at.
    void playOn();
    /// Plays one frame. True when it was none to look at, and the next may come at once.
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
