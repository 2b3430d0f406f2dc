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

/// Moves the cache data directory, which holds every account's media, to another place. The work
/// runs in the background (ThreadManager::run) while the application continues: once the files are
/// counted, the settings point to the new place, and the files follow. The notebook's files stay in
/// place, where its records find them; new ones go to the new place.
///
/// A move survives everything, power cuts included. Each file is copied under a temporary name,
/// compared with its original byte by byte and only then renamed; an original is deleted only after
/// its copy, and the settings that record it, are on the disk. However the process ends, and also
/// after cancel(), the next start's resume() continues until every file is at the target exactly
/// once. No existing file of the target is overwritten: if a name is taken by something else, the
/// moved file gets a number, "name (1).jpg". Links are neither followed nor moved. Only the owner
/// can access the files and folders that a move makes.
///
/// A disk may be unplugged. A move whose old place is missing, also at its beginning, ends with
/// OldPlaceMissing and stays unfinished: the new place is in use, and resume() moves the rest once
/// the disk is back. If it will not come back, call giveUp().
///
/// Records of the files (FileData, PhotoData) follow: their paths change as each file is moved.
/// Stored records need not be rewritten, see FileData's constructor.
///
/// A file that is being written is not moved until the writer is done; FileInUse documents what a
/// writer can rely on. The move retries such a file for some seconds, then ends with FilesInUse,
/// and resumes by itself every ten seconds until nothing is left.
///
/// problems() names files that cannot be moved. The others of their folder are moved, but the
/// folder does not count as moved, and the account's remaining folders have to wait; the other
/// accounts are processed. Then the user chooses between retry(), skip() and giveUp().
///
/// When an account signs out during a move, or while one is unfinished, its media folders are
/// deleted at both places; other files beside them stay. A destroying unlock
/// (AccountManager::unlockApp()) deletes media folders wherever media have been. The deletion runs
/// in the background; the next start continues it if this process ends before, and for an unplugged
/// disk the first start that finds it does. When the settings are reset, because the last account
/// has signed out, the move ends.
///
/// Failures are reported by reason(), by AccountManager::error(), in the user's language, and by
/// one log line.
///
/// Made and owned by the AccountManager: AccountManager::appDataMove().
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
        None,      ///< no move has begun yet, or one is under way
        Moved,     ///< everything is at its new place, except skipped files
        Cancelled, ///< by cancel(), at shut-down, or because no one is signed in
        Failed,    ///< see reason(), problems() and unfinished()
        Refused,   ///< no move has begun
        GivenUp,
    };
    Q_ENUM(Outcome)
    /// Why a call was Refused or a move Failed; while a move is under way, why another moveTo() was
    /// refused.
    enum class Reason {
        None,
        Running,            ///< a move is under way
        LastUnfinished,     ///< the last move has not ended; only its old place is allowed
        OldPlaceMissing,    ///< the disk with files not moved yet may be unplugged
        TargetRelative,     ///< the target is not an absolute path
        NoTarget,           ///< the target does not exist
        TargetNotDirectory, ///< the target is something else
        SamePlace,
        TargetInside, ///< the target lies inside the present place
        TargetAround, ///< the target contains the present place
        NoSpace,
        NoPermission, ///< the new place is not writable
        FilesLeft,    ///< some cannot be moved, see problems()
        FilesInUse,   ///< some are still being written, see problems()
        NotStored,    ///< the settings, which record the move, cannot be written
    };
    Q_ENUM(Reason)
    /// Why a file stays at the old place.
    enum class FileCause {
        BeingWritten,
        Unreadable,   ///< the file, or a folder with its contents
        NotWritable,  ///< the new place cannot be written to
        InTheWay,     ///< at the new place a file or link has the name of a folder
        NotRemovable, ///< copied, and counts as moved
    };
    Q_ENUM(FileCause)

    /// What a move asks about the accounts.
    struct Accounts {
        std::function<QList<qint64>()> listed; ///< ids of the listed accounts; any thread
        std::function<bool()> areWiped;        ///< they are about to sign out for a wipe
    };
    AppDataMove(Accounts accounts, QObject *parent);
    /// As reset().
    ~AppDataMove() override;

    /// Starts to move everything from AppDirManager::cacheDataDir() to `targetDirectory`, a path or
    /// "file:" URL of an existing directory. False, with reason() and AccountManager::error(), when
    /// no move starts. A move that waits for resume() can be taken back, by moving to its old
    /// place; any other target is refused until that move has ended. Later failures (too little
    /// space, no permission) end in finished(false); the old place stays in use unless files have
    /// been moved.
    Q_INVOKABLE bool moveTo(const QString &targetDirectory);
    /// Makes measured() report what a move there would need. For a missing directory, the available
    /// space is -1.
    Q_INVOKABLE void measure(const QString &targetDirectory);
    /// Stops soon and keeps what has been moved; ends in finished(false). The new place stays in
    /// use, and resume() moves the rest.
    Q_INVOKABLE void cancel();
    /// Continues an unfinished move, if there is one. AccountManager::init() calls it after the
    /// accounts are listed: media that belong to none of them are not moved but deleted.
    Q_INVOKABLE void resume();
    /// After a move has failed: retries the files that are left, as resume() does.
    Q_INVOKABLE void retry() { resume(); }
    /// After a move has failed: leaves the files in problems() at the old place for good, where
    /// their records still find them, and moves the rest. Files that are being written are skipped
    /// only if no others are named. False when there is no such move, or the choice cannot be
    /// stored.
    Q_INVOKABLE bool skip();
    /// Ends an unfinished move, also one under way: files not moved yet stay at the old place,
    /// where their records still find them, and the new place stays in use. Files of the folder
    /// that was being copied may be at both places then. A move under way still ends in
    /// finished(false).
    Q_INVOKABLE void giveUp();
    /// As cancel(), but returns only when no file is accessed any more. Deleting media gets ten
    /// seconds; the next start deletes the rest.
    void reset();
    /// For AccountManager, when all accounts are about to be wiped: once they are signed out, their
    /// media are deleted in every place that has been in use; the next start continues if
    /// necessary. If the settings could not be read, the deletion waits until they are, and is lost
    /// if this process ends before.
    void wipe();

    bool running() const { return m_running; }
    /// Whether a move is under way, or resume() would continue one.
    bool unfinished() const;
    Outcome outcome() const { return m_outcome; }
    Reason reason() const { return m_reason; }
    /// In the user's language; empty without a reason.
    QString reasonText() const;
    /// The files that the last move left, as maps: "path" (absolute), "cause" (a FileCause),
    /// "text", the cause in the user's language, and "obstacle", the path that is InTheWay.
    QVariantList problems() const;
    /// Of totalBytes(), 0 to 100; stays after the end of a move until the next begins.
    int percent() const { return m_percent; }
    /// Bytes processed so far.
    qint64 movedBytes() const { return m_movedBytes; }
    /// Bytes to be moved, as counted at the beginning; for a resumed move, the bytes that were
    /// left.
    qint64 totalBytes() const { return m_totalBytes; }

Q_SIGNALS:
    void runningChanged();
    void outcomeChanged();
    // These come at most about twenty times a second, and at the end.
    void percentChanged();
    void movedBytesChanged();
    void totalBytesChanged();
    /// The end of each move that was begun or resumed; true when everything is at its new place.
    void finished(bool ok);
    /// For AccountManager: the directory in use has changed.
    void directoryChanged();
    /// For AccountManager, which emits it as error(): a text in the user's language.
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
    void dropSignedOut(const QStringList &ids = {});
    void closeMap();
    bool refuse(Reason reason);
    void reportReason(Reason reason);
    void fail(Reason reason);
    void end(Outcome outcome, Reason reason = Reason::None);
    void setOutcome(Outcome outcome, Reason reason);
    void dropStored();
    void abandon();
    void setProgress(qint64 movedBytes, qint64 totalBytes);

    const Accounts m_accounts;
    std::future<void> m_carrying;           // ready when no file is being copied
    std::vector<std::future<void>> m_tasks; // other background tasks, likewise
    std::atomic<bool> m_stopsDeleting = false;
    std::atomic<bool> m_cancelled = false;
    std::atomic<bool> m_abandoned = false; // the settings were reset: store nothing more
    bool m_wipesLate = false;              // waits for the settings, which say where media are
    bool m_givingUp = false;
    bool m_running = false;
    Outcome m_outcome = Outcome::None;
    Reason m_reason = Reason::None;
    std::vector<Problem> m_problems;
    QTimer m_again; // retries files in use
    int m_percent = 0;
    qint64 m_movedBytes = 0;
    qint64 m_totalBytes = 0;
};
