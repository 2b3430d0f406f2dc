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

/// Moves the cache data directory, which is every account's media, to another place. The work is
/// done in the background (ThreadManager::run), while the application goes on: once the files are
/// counted, the settings point at the new place, and the files follow. The notebook's stay where they
/// are, where its records find them; new ones come to the new place.
///
/// A move survives everything, power cuts included. Each file is copied under a temporary name,
/// compared with its original byte by byte and only then renamed; an original is deleted after its
/// copy, and the settings that tell of it, are on the disk. However the process ends, and also
/// after cancel(), the next start's resume() goes on, until every file is at the target, once. Of a
/// target's own files none is overwritten: where a name is taken by something else, the file that
/// comes gets a number, "name (1).jpg". Links are neither followed nor moved. The files and folders
/// that a move makes are their owner's alone.
///
/// A disk may be unplugged. A move whose old place is not there, also when it begins, ends with
/// OldPlaceMissing and stays unfinished: the new place is in use, and resume() goes on with the
/// rest once the disk is back. Who does not expect it back gives up.
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
/// Of an account that signs out during a move, or while one is unfinished, the media folders are
/// deleted at both places; what else lies beside them stays. A destroying unlock
/// (AccountManager::unlockApp()) deletes them wherever media have been. That is done in the
/// background, by the next start where this one ends before, and where a disk is unplugged as soon
/// as a start finds it. When the settings are reset, because the last one has signed out, the move
/// ends.
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
        Failed,    ///< reason() and problems() say why; unfinished() whether resume() goes on
        Refused,   ///< nothing was begun
        GivenUp,
    };
    Q_ENUM(Outcome)
    /// Why, of what is Refused or Failed; as long as a move is under way, of another moveTo().
    enum class Reason {
        None,
        Running,            ///< a move is under way
        LastUnfinished,     ///< and there is a way back to its old place only
        OldPlaceMissing,    ///< where files are that have not been moved: a disk may be unplugged
        TargetRelative,     ///< a path that begins nowhere
        NoTarget,           ///< there is nothing at that path
        TargetNotDirectory, ///< but something else
        SamePlace,
        TargetInside, ///< the present place
        TargetAround, ///< the present place
        NoSpace,
        NoPermission, ///< to write at the new place
        FilesLeft,    ///< some cannot be moved, see problems()
        FilesInUse,   ///< some are still being written, see problems()
        NotStored,    ///< the settings, which would tell of the move, cannot be written
    };
    Q_ENUM(Reason)
    /// Why one file stays at the old place.
    enum class FileCause {
        BeingWritten,
        Unreadable,   ///< the file, or a folder and all in it
        NotWritable,  ///< at the new place
        InTheWay,     ///< something at the new place: a file, or a link, where a folder is to be
        NotRemovable, ///< it has been copied, and counts as moved
    };
    Q_ENUM(FileCause)

    /// What a move asks about the accounts.
    struct Accounts {
        std::function<QList<qint64>()> listed; ///< ids of those that are open; any thread
        std::function<bool()> areWiped;        ///< they are about to sign out for a wipe
    };
    AppDataMove(Accounts accounts, QObject *parent);
    /// As reset().
    ~AppDataMove() override;

    /// Starts to move everything from AppDirManager::cacheDataDir() to `targetDirectory`, a path or
    /// "file:" URL of an existing directory. False, with reason() and AccountManager::error(), when
    /// nothing is started. A move that waits for resume() can be taken back, by moving to its old
    /// place; elsewhere none goes before that one has ended. What turns up later (too little space,
    /// no permission) ends in finished(false), with the old place still in use unless files have
    /// been moved.
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
    /// As cancel(), but returns only when no file is touched any more. Media that are being deleted
    /// get ten seconds; the next start deletes the rest.
    void reset();
    /// For AccountManager, when everybody is about to be wiped: once they are signed out, their
    /// media are deleted in every place that has been in use, also by the next start. Where the
    /// settings could not be read, that is once they are; this process has to live that long.
    void wipe();

    bool running() const { return m_running; }
    /// Whether there is a move that resume() would go on with, or that is under way.
    bool unfinished() const;
    Outcome outcome() const { return m_outcome; }
    Reason reason() const { return m_reason; }
    /// In the user's language; empty without a reason.
    QString reasonText() const;
    /// Of the last move, maps of each file that stayed: "path" (absolute), "cause" (a FileCause),
    /// "text", the cause in the user's language, and "obstacle", the path of what is InTheWay.
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
    /// For AccountManager: the directory in use is another one from now on.
    void directoryChanged();
    /// For AccountManager, whose error() it becomes: a text in the user's language.
    void problemOccurred(const QString &text);
    /// The answer to measure(), in bytes.
    void measured(const QString &targetDirectory, qint64 neededBytes, qint64 availableBytes);

private:
    struct Plan;
    struct Problem;
    struct Report;
    class Carrier;

    QStringList signedInIds() const;
    bool isSignedIn(const QString &id) const;
    bool isThere(const QString &source, const QStringList &ids) const;
    void begin();
    static std::future<void> start(const std::function<void()> &work);
    void run(const std::function<void()> &work);
    // In the background:
    void survey(Plan plan);
    void carryOver(Plan plan);
    // On the object's thread again:
    void switchOver(const Plan &plan);
    void complete(const Report &report);
    void follow();
    void wipeLate(const QVariantMap &rows);
    void accountsChanged(const QVariantList &ids);
    void removeLeft(bool isEverybodyLeaving = false);
    void dropGone(const QStringList &ids = {});
    void closeMap();
    bool refuse(Reason reason);
    void tell(Reason reason);
    void fail(Reason reason);
    void end(Outcome outcome, Reason reason = Reason::None);
    void setOutcome(Outcome outcome, Reason reason);
    void dropStored();
    void abandon();
    void setProgress(qint64 movedBytes, qint64 totalBytes);

    const Accounts m_accounts;
    std::future<void> m_carrying;           // ready when no file is copied any more
    std::vector<std::future<void>> m_tasks; // others, likewise
    std::atomic<bool> m_hurrying = false;   // nothing more is deleted
    std::atomic<bool> m_cancelled = false;
    std::atomic<bool> m_abandoned = false; // the settings were reset: nothing is stored any more
    bool m_wipesLate = false; // the settings that tell where media are have not been read
    bool m_givingUp = false;
    bool m_running = false;
    Outcome m_outcome = Outcome::None;
    Reason m_reason = Reason::None;
    std::vector<Problem> m_problems;
    QTimer m_again; // for files in use
    int m_percent = 0;
    qint64 m_movedBytes = 0;
    qint64 m_totalBytes = 0;
};
