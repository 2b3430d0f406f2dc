#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>

#include <atomic>
#include <functional>
#include <future>
#include <vector>

class AccountManager;

/// Moves the cache data directory, which is every account's media, to another place. The work is
/// done in the background (ThreadManager::run), while the application goes on: once the files are
/// counted, the settings point at the new place, and the files follow.
///
/// A move survives everything, power cuts included. Each file is copied under a temporary name,
/// compared with its original byte by byte and only then renamed; an original is deleted after its
/// copy, and the settings that tell of it, are on the disk. However the process ends, and also
/// after cancel(), the next start's resume() goes on, until every file is at the target, once. Of a
/// target's own files none is overwritten: where a name is taken by something else, the file that
/// comes gets a number, "name (1).jpg". Links are neither followed nor moved.
///
/// Records of the files (FileData, PhotoData) follow: their paths change as each file is moved.
/// What an application has stored need not be rewritten, see FileData's constructor.
///
/// A file that is being written stays until that is over; FileInUse says what a writer can rely
/// on. The move comes back to it for some seconds, then ends with FilesInUse, and goes on by itself
/// every ten seconds until nothing is left.
///
/// A file that cannot be carried is named by problems(). The others of its folder are moved, but
/// the folder does not count as moved, and the account's folders behind it have to wait; the other
/// accounts go on. retry(), skip() and giveUp() are a person's choices then.
///
/// What an account that has signed out left at either place is deleted, and so is its whole folder
/// at the target, whoever put files there. When the settings are reset, because the last one has
/// signed out, the move ends.
///
/// What goes wrong is told by reason(), by AccountManager::error(), in the user's language, and by
/// one log line.
///
/// Made by the AccountManager, which owns it: AccountManager::appDataMove().
///
/// Thread: the main thread; signals are emitted there.
class MODELBASE_EXPORT AppDataMove : public QObject
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)
    Q_PROPERTY(bool unfinished READ unfinished NOTIFY outcomeChanged)
    Q_PROPERTY(Outcome outcome READ outcome NOTIFY outcomeChanged)
    Q_PROPERTY(Reason reason READ reason NOTIFY outcomeChanged)
    Q_PROPERTY(QString reasonText READ reasonText NOTIFY outcomeChanged)
    Q_PROPERTY(QVariantList problems READ problems NOTIFY outcomeChanged)
    Q_PROPERTY(int percent READ percent NOTIFY percentChanged)
    Q_PROPERTY(qint64 movedBytes READ movedBytes NOTIFY movedBytesChanged)
    Q_PROPERTY(qint64 totalBytes READ totalBytes NOTIFY totalBytesChanged)

public:
    /// How the last call, or the move that it began, ended.
    enum class Outcome {
        None,      ///< nothing was begun yet, or a move is under way
        Moved,     ///< everything is at its new place, but what a person had skipped
        Cancelled, ///< by cancel(), at the end of the application, or since nobody is signed in
        Failed,    ///< reason() and problems() say why; unfinished() whether files have been moved
        Refused,   ///< nothing was begun
        GivenUp,
    };
    Q_ENUM(Outcome)
    /// Why, of what is Refused or Failed.
    enum class Reason {
        None,
        Running,            ///< a move is under way
        LastUnfinished,     ///< and there is a way back to its old place only
        NoTarget,           ///< there is nothing at that path
        TargetNotDirectory, ///< but something else
        SamePlace,
        TargetInside, ///< the present place
        TargetAround, ///< the present place
        NoSpace,
        NoPermission, ///< to write at the new place
        FilesLeft,    ///< some cannot be moved, see problems()
        FilesInUse,   ///< some are still being written, see problems()
    };
    Q_ENUM(Reason)
    /// Why one file stays at the old place.
    enum class FileCause {
        BeingWritten,
        Unreadable,   ///< the file, or a folder and all in it
        NotWritable,  ///< at the new place
        InTheWay,     ///< something that is no folder, at the new place
        NotRemovable, ///< it has been copied, and counts as moved
    };
    Q_ENUM(FileCause)

    explicit AppDataMove(QObject *parent);
    /// As reset().
    ~AppDataMove() override;

    /// Starts to move everything from AppDirManager::cacheDataDir() to `targetDirectory`, a path or
    /// "file:" URL of an existing directory. False, with reason() and AccountManager::error(), when
    /// nothing is started. A move that waits for resume() can be taken back, by moving to its old
    /// place. What turns up later (too little space, no permission) ends in finished(false), with
    /// the old place still in use unless files have been moved.
    Q_INVOKABLE bool moveTo(const QString &targetDirectory);
    /// Has measured() tell what a move there would need. For a directory that is not there, the
    /// space available is -1.
    Q_INVOKABLE void measure(const QString &targetDirectory);
    /// Stops soon and keeps what has been moved; ends in finished(false). The new place stays in
    /// use, and resume() goes on with the rest.
    Q_INVOKABLE void cancel();
    /// Goes on with a move that did not finish, if there is one. AccountManager::init() calls it,
    /// after the accounts are listed: what belongs to none of them is not moved but deleted.
    Q_INVOKABLE void resume();
    /// Once a move has failed: tries again what has been left, as resume() does.
    Q_INVOKABLE void retry() { resume(); }
    /// Once a move has failed: leaves what problems() names at the old place for good, where its
    /// records still find it, and goes on with the rest. Files that are being written are skipped
    /// only when no others are named. False when there is no such move, or it cannot be stored.
    Q_INVOKABLE bool skip();
    /// Ends an unfinished move, also one under way: what has not been moved stays at the old place,
    /// where its records still find it, and the new place stays in use. Files of the folder that was
    /// being copied may be at both places then. A move under way still ends in finished(false).
    Q_INVOKABLE void giveUp();
    /// As cancel(), but returns only when no file is touched any more.
    void reset();

    bool running() const { return m_running; }
    /// Whether there is a move that resume() would go on with, or that is under way.
    bool unfinished() const;
    Outcome outcome() const { return m_outcome; }
    Reason reason() const { return m_reason; }
    /// In the user's language; empty without a reason.
    QString reasonText() const;
    /// Of the last move, maps of each file that stayed: "path" (absolute), "cause" (a FileCause),
    /// and "text", the cause in the user's language.
    QVariantList problems() const;
    /// Of totalBytes(), 0 to 100; stays after the end of a move until the next begins.
    int percent() const { return m_percent; }
    /// Bytes that have been dealt with.
    qint64 movedBytes() const { return m_movedBytes; }
    /// Bytes to be moved, as counted at the beginning; of a resumed move, those that were left.
    qint64 totalBytes() const { return m_totalBytes; }

Q_SIGNALS:
    void runningChanged();
    void outcomeChanged();
    // These come at most some twenty times a second, and at the end.
    void percentChanged();
    void movedBytesChanged();
    void totalBytesChanged();
    /// The end of each move that was begun or resumed; true when everything is at its new place.
    void finished(bool ok);
    /// The answer to measure(), in bytes.
    void measured(const QString &targetDirectory, qint64 neededBytes, qint64 availableBytes);

private:
    struct Plan;
    struct Problem;
    struct Report;
    class Carrier;

    void begin();
    void run(const std::function<void()> &work);
    // In the background:
    void survey(Plan plan);
    void carryOver(Plan plan);
    // On the object's thread again:
    void switchOver(const Plan &plan);
    void complete(const Report &report);
    bool refuse(Reason reason);
    void tell(Reason reason);
    void fail(Reason reason);
    void end(Outcome outcome, Reason reason = Reason::None);
    void setOutcome(Outcome outcome, Reason reason);
    void dropStored();
    void abandon();
    void cleanUp();
    void setProgress(qint64 movedBytes, qint64 totalBytes);

    AccountManager *m_manager = nullptr;    // known once a move begins
    std::vector<std::future<void>> m_tasks; // ready when they do not run any more
    std::atomic<bool> m_cancelled = false;
    std::atomic<bool> m_abandoned = false; // the settings were reset: nothing is stored any more
    bool m_givingUp = false;
    bool m_running = false;
    Outcome m_outcome = Outcome::None;
    Reason m_reason = Reason::None;
    std::vector<Problem> m_problems;
    QTimer m_again; // for files in use
    // Of the last move, as long as it is unfinished:
    QString m_source;
    QString m_target;
    QStringList m_ids;
    int m_percent = 0;
    qint64 m_movedBytes = 0;
    qint64 m_totalBytes = 0;
};
