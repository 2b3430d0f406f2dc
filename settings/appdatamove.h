#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <future>

class AccountManager;

/// Moves the cache data directory, which is every account's media, to another place. The work is
/// done in the background (ThreadManager::run), while the application goes on: once the files are
/// counted, the settings point at the new place, and the files follow.
///
/// A move survives everything. Each file is copied under a temporary name, compared with its
/// original byte by byte and only then renamed; an original is deleted after the fact that its
/// directory has been copied is on the disk. However the process ends, and also after cancel(), the
/// next start's resume() goes on, until every file is at the target, once. Of a target's own files
/// none is overwritten: where a name is taken by something else, the file that comes gets a number,
/// "name (1).jpg". Links are neither followed nor moved.
///
/// What goes wrong is told by AccountManager::error(), in the user's language, and by one log line.
///
/// Made by the AccountManager, which owns it: AccountManager::appDataMove().
///
/// Thread: the main thread; signals are emitted there.
class MODELBASE_EXPORT AppDataMove : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)
    Q_PROPERTY(int percent READ percent NOTIFY percentChanged)
    Q_PROPERTY(qint64 movedBytes READ movedBytes NOTIFY movedBytesChanged)
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY totalBytesChanged)

public:
    explicit AppDataMove(QObject *parent);
    /// As reset().
    ~AppDataMove() override;

    /// Starts to move everything from AppDirManager::cacheDataDir() to `targetDirectory`, a path or
    /// "file:" URL of an existing directory. False, with AccountManager::error(), when nothing is
    /// started: one of the directories holds the other, or a move is under way or waits for resume();
    /// the latter can be taken back, by moving to its old place. What turns up later (too little
    /// space, no permission) ends in finished(false), with the old place still in use unless files
    /// have been moved.
    Q_INVOKABLE bool moveTo(const QString &targetDirectory);
    /// Stops soon and keeps what has been moved; ends in finished(false). The new place stays in
    /// use, and resume() goes on with the rest.
    Q_INVOKABLE void cancel();
    /// Goes on with a move that did not finish, if there is one. AccountManager::init() calls it,
    /// after the accounts are listed: what belongs to none of them is not moved but deleted.
    Q_INVOKABLE void resume();
    /// As cancel(), but returns only when no file is touched any more.
    void reset();

    bool running() const { return m_running; }
    /// Of totalBytes(), 0 to 100; stays after the end of a move until the next begins.
    int percent() const { return m_percent; }
    /// Bytes that have been dealt with.
    qint64 movedBytes() const { return m_movedBytes; }
    /// Bytes to be moved, as counted at the beginning; of a resumed move, those that were left.
    qint64 totalBytes() const { return m_totalBytes; }

Q_SIGNALS:
    void runningChanged();
    // These come at most some twenty times a second.
    void percentChanged();
    void movedBytesChanged();
    void totalBytesChanged();
    /// The end of each move that was begun or resumed; true when everything is at its new place.
    void finished(bool ok);

private:
    struct Plan;
    class Carrier;

    void begin();
    void run(const Plan &plan, void (AppDataMove::*work)(Plan));
    // In the background:
    void survey(Plan plan);
    void carryOver(Plan plan);
    // On the object's thread again:
    void switchOver(const Plan &plan);
    void complete(int result, qint64 bytes);
    void fail(const char *reason, const QString &text);
    void end(bool ok);
    void setProgress(qint64 movedBytes, qint64 totalBytes);

    AccountManager *m_manager = nullptr; // known once a move begins
    std::future<void> m_task;            // of the last task; ready when it does not run any more
    std::atomic<bool> m_cancelled = false;
    bool m_running = false;
    int m_percent = 0;
    qint64 m_movedBytes = 0;
    qint64 m_totalBytes = 0;
};
