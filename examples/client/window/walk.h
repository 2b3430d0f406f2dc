#pragma once

#include <QDir>
#include <QSet>
#include <QStringList>

#include <functional>

class FeedPlayer;
class QQuickItem;
class QQuickWindow;

/// Walks through the whole window by itself: plays the feed, visits every page, and saves a picture
/// of each stop, "03-first-light.png", and a transcript of what was shown.
class Walk
{
public:
    Walk(QQuickWindow *window, FeedPlayer *player, const QString &directory);

    /// 0 when every picture was taken.
    int run();

private:
    void signInAndPlay();
    void playToEnd();
    void messages();
    void dialogs();
    void pages();
    void accounts();
    void lock();

    /// Waits until the window is stable and takes its picture.
    void stop(const QString &name, const QString &text);
    /// Takes the picture at once.
    void picture(const QString &name, const QString &text);
    void scrollThrough(const QString &name);
    void open(const QString &dialogId);
    void show(const QString &page);
    void set(const char *property, const QVariant &value);
    void pass(int milliseconds);
    void passUntil(const std::function<bool()> &done, int atMost);

    QQuickWindow *const m_window;
    FeedPlayer *const m_player;
    const QDir m_directory;
    QStringList m_transcript;
    QSet<QString> m_kinds; // kinds of content shown
    int m_stops = 0;
    bool m_ok = true;
};
