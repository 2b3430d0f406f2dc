#include "settings/appdatamove.h"

#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "base/basefile.h"
#include "base/json.h"
#include "base/undying.h"
#include "base/util.h"
#include "content/modelbaseutil.h"
#include "i18n/translated_p.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/foldermove_p.h"
#include "storage/globalstorageprovider.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSet>
#include <QStorageInfo>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <utility>

struct AppDataMove::Plan {
    QString source; // both end in a separator
    QString target;
    /// What is stored as "moved_data_info": of each account's id, the list of its media folders as
    /// JSON text.
    QVariantMap accounts;
    qint64 bytes = 0;
    // Of the move that this one takes back.
    QString undoneSource;
    QByteArray undoneInfo;
};

/// A file that stays, and where the stored map has its folder.
struct AppDataMove::Problem {
    QString id;     // of the account
    QString folder; // below the account's
    QString name;   // below that
    QString path;
    FileCause cause;
    QString obstacle;
};

struct AppDataMove::Report {
    FolderMove::Result result = FolderMove::Done;
    bool isSourceMissing = false;
    QStringList ids; // of the accounts
    qint64 movedBytes = 0;
    qint64 totalBytes = 0;
    std::vector<Problem> problems;
};

namespace
{

Q_LOGGING_CATEGORY(lcMove, "im.settingmodel")

constexpr int progressMs = 50;
/// How often a folder is gone over in which files change meanwhile.
constexpr int rounds = 3;
/// How often files that are being written are come back for, and after how long.
constexpr int patientRounds = 8;
constexpr int patienceMs = 250;
constexpr int laterMs = 10'000;
/// How long the application's end waits for media to be deleted.
constexpr std::chrono::seconds deletionTime(10);

using FileCause = AppDataMove::FileCause;
using Reason = AppDataMove::Reason;

QString textOf(FileCause cause)
{
    switch (cause) {
    case FileCause::BeingWritten:
        //% "It is still being written."
        return translated(QT_TRID_NOOP("storage_file_in_use_tip"));
    case FileCause::Unreadable:
        //% "It cannot be read."
        return translated(QT_TRID_NOOP("storage_file_unreadable_tip"));
    case FileCause::NotWritable:
        //% "It cannot be written at the new place."
        return translated(QT_TRID_NOOP("storage_file_not_writable_tip"));
    case FileCause::InTheWay:
        //% "Something else is in its way at the new place."
        return translated(QT_TRID_NOOP("storage_file_in_the_way_tip"));
    case FileCause::NotRemovable:
        break;
    }
    //% "It has been copied, but cannot be removed from the old place."
    return translated(QT_TRID_NOOP("storage_file_not_removable_tip"));
}

/// What a person is told, and the log.
std::pair<QString, const char *> textsOf(Reason reason)
{
    switch (reason) {
    case Reason::Running:
        //% "A move is under way."
        return {translated(QT_TRID_NOOP("storage_move_running_tip")), "one is under way"};
    case Reason::LastUnfinished:
        //% "The last move has not finished yet."
        return {translated(QT_TRID_NOOP("storage_move_unfinished_tip")),
                "the last one has not finished"};
    case Reason::OldPlaceMissing:
        //% "The old place is not there. Is its disk connected?"
        return {translated(QT_TRID_NOOP("storage_old_place_missing_tip")),
                "the old place is not there"};
    case Reason::TargetRelative:
        //% "The new place needs a full path."
        return {translated(QT_TRID_NOOP("storage_place_relative_tip")), "a relative path"};
    case Reason::NoTarget:
        //% "The new place does not exist."
        return {translated(QT_TRID_NOOP("storage_place_missing_tip")), "no such directory"};
    case Reason::TargetNotDirectory:
        //% "The new place is not a directory."
        return {translated(QT_TRID_NOOP("storage_place_no_directory_tip")), "not a directory"};
    case Reason::SamePlace:
        //% "The files are there already."
        return {translated(QT_TRID_NOOP("storage_place_same_tip")), "it is the present place"};
    case Reason::TargetInside:
        //% "The new place lies inside the present one."
        return {translated(QT_TRID_NOOP("storage_place_inside_tip")),
                "it lies in the present place"};
    case Reason::TargetAround:
        //% "The present place lies inside the new one."
        return {translated(QT_TRID_NOOP("storage_place_around_tip")),
                "the present place lies in it"};
    case Reason::NoSpace:
        //% "There is not enough space at the new place."
        return {translated(QT_TRID_NOOP("storage_space_insufficient_tip")), "too little space"};
    case Reason::NoPermission:
        //% "The new place cannot be written to."
        return {translated(QT_TRID_NOOP("storage_no_permissions__tip")), "it cannot be written to"};
    case Reason::FilesLeft:
        //% "Some files could not be moved."
        return {translated(QT_TRID_NOOP("storage_files_left_tip")), "some files cannot be moved"};
    case Reason::FilesInUse:
        //% "Some files are still being written. They follow later."
        return {translated(QT_TRID_NOOP("storage_files_in_use_tip")), "some files are in use"};
    case Reason::NotStored:
        //% "The settings cannot be stored just now."
        return {translated(QT_TRID_NOOP("storage_settings_not_stored_tip")),
                "the settings cannot be stored"};
    case Reason::None:
        break;
    }
    return {QString(), "done"};
}

// Members of an entry of the map.
QString modelTypeKey()
{
    return QStringLiteral("modelType");
}
QString fileTypeKey()
{
    return QStringLiteral("fileType");
}
QString movedKey()
{
    return QStringLiteral("moved");
}

/// Names of files that a person has skipped; only where there are some.
QString skippedKey()
{
    return QStringLiteral("skipped");
}

/// The combinations of model source type and file type, each with its folder below an account's.
struct MediaFolder {
    int modelType;
    int fileType;
    QString path; // two file types share one
};

const QList<MediaFolder> &mediaFolders()
{
    static const auto &table = undying([] {
        QList<MediaFolder> folders;
        for (int modelType = 1; modelType <= 256; modelType *= 2) {
            // Ordinary media alone have no name.
            if (modelType > 1 && ModelBaseUtil::getModelSourceTypeString(modelType).isEmpty())
                continue;
            for (int fileType = 0; fileType <= 13; ++fileType) {
                if (!ModelBaseUtil::getFileTypeString(fileType).isEmpty()) {
                    folders.append({modelType, fileType,
                                    ModelBaseUtil::makeMediaPath({}, modelType, fileType)});
                }
            }
        }
        return folders;
    }());
    return table;
}

bool isMediaFolder(const QVariantMap &entry)
{
    const QList<MediaFolder> &folders = mediaFolders();
    return std::any_of(folders.cbegin(), folders.cend(), [&](const MediaFolder &folder) {
        return entry.value(modelTypeKey()) == folder.modelType
            && entry.value(fileTypeKey()) == folder.fileType;
    });
}

QString accountFolder(const QString &id)
{
    return id + Util::separator();
}

QVariant toJsonText(const QVariantList &entries)
{
    return QString::fromUtf8(listToJson(entries));
}

QVariantList fromJsonText(const QVariant &text)
{
    return jsonToList(text.toString().toUtf8());
}

/// The entries of one account, and their bytes added to `bytes`.
QVariantList surveyAccount(const QString &source, const QString &id, qint64 *bytes)
{
    QVariantList entries;
    QSet<QString> counted;
    for (const MediaFolder &folder : mediaFolders()) {
        const qint64 size = FolderMove::size(source, accountFolder(id) + folder.path);
        if (!counted.contains(folder.path)) {
            counted.insert(folder.path);
            *bytes += size;
        }
        entries.append(QVariantMap{{modelTypeKey(), folder.modelType},
                                   {fileTypeKey(), folder.fileType},
                                   {movedKey(), size == 0}});
    }
    return entries;
}

/// The stored map without what it cannot be trusted in: it says which folders are emptied.
QVariantMap readAccounts(const QByteArray &info)
{
    const QVariantMap stored = jsonToMap(info);
    QVariantMap accounts;
    for (auto account = stored.cbegin(); account != stored.cend(); ++account) {
        const qint64 id = account.key().toLongLong();
        QVariantList entries = fromJsonText(account.value());
        entries.removeIf([](const QVariant &entry) { return !isMediaFolder(entry.toMap()); });
        if (id > 0 && QString::number(id) == account.key() && !entries.isEmpty())
            accounts.insert(account.key(), toJsonText(entries));
    }
    if (accounts.size() < stored.size())
        ImLog::error(lcMove(), QStringLiteral("The stored state of a data move is damaged"));
    return accounts;
}

/// True when `path` is `folder` or lies in it, whatever links its spelling goes through.
bool isWithin(const QString &path, const QString &folder)
{
    std::error_code error;
    const auto outer =
        std::filesystem::weakly_canonical(QFileInfo(folder).filesystemFilePath(), error);
    auto inner = std::filesystem::weakly_canonical(QFileInfo(path).filesystemFilePath(), error);
    while (inner != outer && !std::filesystem::equivalent(inner, outer, error)) {
        if (!inner.has_relative_path())
            return false;
        inner = inner.parent_path();
    }
    return true;
}

/// Why the media cannot be moved from the one to the other.
Reason obstacle(const QString &source, const QString &target)
{
    const bool isInside = isWithin(target, source);
    const bool isAround = isWithin(source, target);
    if (isInside && isAround)
        return Reason::SamePlace;
    if (isInside || isAround)
        return isInside ? Reason::TargetInside : Reason::TargetAround;
    const QFileInfo info(QDir::cleanPath(target));
    if (!info.exists())
        return Reason::NoTarget;
    return info.isDir() ? Reason::None : Reason::TargetNotDirectory;
}

QString folderOf(const QVariantMap &entry)
{
    return ModelBaseUtil::makeMediaPath({}, entry.value(modelTypeKey()).toInt(),
                                        entry.value(fileTypeKey()).toInt());
}

/// A name below a directory that nothing else has: neither a person's files, nor those of a move to
/// another place, which may have been copied here.
QString nameOfOurs(const char *purpose, const QString &directory)
{
    const QByteArray place = QDir::cleanPath(QDir::fromNativeSeparators(directory)).toUtf8();
    return QStringLiteral(".modelbase-%1-%2")
        .arg(QLatin1String(purpose),
             QString::fromLatin1(
                 QCryptographicHash::hash(place, QCryptographicHash::Sha256).toHex().left(16)));
}

/// The file in which the copies for an account are made.
QString scratchFile(const QString &target, const QString &id)
{
    return target + accountFolder(id) + nameOfOurs("copy", target);
}

/// Where media wait for their deletion.
QString trashFolder(const QString &directory)
{
    return directory + nameOfOurs("left", directory);
}

/// Those of the accounts that could not be opened this time, too.
QStringList signedInIds()
{
    QStringList ids;
    for (const qint64 id : AccountManager::getInstance()->getAccountIds())
        ids.append(QString::number(id));
    for (const QVariant &id : AppSettingModel::instance()->accountIds())
        ids.append(QString::number(id.toLongLong()));
    ids.removeDuplicates();
    return ids;
}

bool isSignedIn(const QString &id)
{
    return signedInIds().contains(id);
}

/// Whether the old place is there, and not just the empty directory at which a disk is mounted: as
/// long as a move is unfinished, it has a folder for each of its accounts.
bool isThere(const QString &source, const QStringList &ids)
{
    const auto isStaying = [](const QString &id) { return isSignedIn(id); };
    return QFileInfo(source).isDir()
        && (std::none_of(ids.cbegin(), ids.cend(), isStaying)
            || std::any_of(ids.cbegin(), ids.cend(), [&](const QString &id) {
                   return QFileInfo(source + accountFolder(id)).isDir();
               }));
}

/// Not there, or perhaps the directory at which a disk is mounted when that is unplugged.
bool isBare(const QString &directory)
{
    return QDir(directory).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System
                                   | QDir::NoDotAndDotDot);
}

/// Puts what an account has there where it can be deleted at leisure, whoever signs in meanwhile.
/// False when something stays: the disk may be back later.
bool setAside(const QString &directory, const QString &id)
{
    if (isBare(directory))
        return false;
    QFile::remove(scratchFile(directory, id));
    bool isDone = true;
    for (const MediaFolder &folder : mediaFolders())
        isDone =
            FolderMove::moveAway(directory, accountFolder(id) + folder.path, trashFolder(directory))
            && isDone;
    QDir().rmdir(directory + id);
    return isDone;
}

/// What is to be deleted, which is stored: of each directory, the ids of those who had media there.
QString leftKey()
{
    return QStringLiteral("left_media");
}

QVariantMap leftMedia()
{
    return jsonToMap(AppSettingModel::instance()->getValue(leftKey(), {}).toByteArray());
}

void setLeftMedia(const QVariantMap &left)
{
    AppSettingModel *settings = AppSettingModel::instance();
    if (!left.isEmpty())
        settings->setValue(leftKey(), mapToJson(left), true);
    else if (settings->getValue(leftKey(), {}).isValid())
        settings->removeKey(leftKey());
}

void addLeftMedia(const QStringList &directories, const QStringList &ids)
{
    if (ids.isEmpty())
        return;
    QVariantMap left = leftMedia();
    for (const QString &directory : directories) {
        QStringList all = left.value(directory).toStringList() + ids;
        all.removeDuplicates();
        left.insert(directory, all);
    }
    setLeftMedia(left);
}

} // namespace

/// The background part of a move: what is left at the old place goes to the new one.
class AppDataMove::Carrier
{
public:
    Carrier(AppDataMove *move, Plan &&plan)
        : m_move(move), m_cancelled(move->m_cancelled), m_abandoned(move->m_abandoned),
          m_settings(AppSettingModel::instance()), m_plan(std::move(plan))
    {
    }

    Report run()
    {
        // Without a map, because the stored one was damaged, all that is still there is to be moved.
        if (m_plan.accounts.isEmpty()) {
            for (const QString &id : signedInIds())
                m_plan.accounts.insert(id, QVariant());
        }
        const QStringList ids = m_plan.accounts.keys();
        m_report.ids = ids;
        m_report.isSourceMissing = !isThere(m_plan.source, ids);
        if (m_report.isSourceMissing)
            return std::move(m_report);
        for (const QString &id : ids) {
            if (isStopped())
                break;
            // At the source it is of a move that this one takes back.
            for (const QString &place : {m_plan.source, m_plan.target})
                QFile::remove(scratchFile(place, id));
            const QVariantList entries = surveyAccount(m_plan.source, id, &m_report.totalBytes);
            if (m_plan.accounts.value(id).isNull())
                m_plan.accounts.insert(id, toJsonText(entries));
        }
        m_sinceShown.start();

        m_report.result = carryAll(ids);
        for (int round = 0; round < patientRounds && m_report.result == FolderMove::InUse;
             ++round) {
            for (int slept = 0; slept < patienceMs && !isStopped(); slept += 10)
                QThread::msleep(10);
            m_report.result = carryAll(ids);
        }
        m_report.isSourceMissing = !isThere(m_plan.source, ids);
        return std::move(m_report);
    }

private:
    bool isStopped() const { return m_cancelled || m_abandoned; }

    /// The flag is read last: who gives the manager up sets it before the accounts are forgotten.
    bool isGone(const QString &id) const { return !isSignedIn(id) && !m_cancelled; }

    FolderMove::Result carryAll(const QStringList &ids)
    {
        m_report.problems.clear();
        FolderMove::Result worst = FolderMove::Done;
        for (const QString &id : ids) {
            if (isStopped())
                break;
            const FolderMove::Result ofAccount = carryAccount(id);
            if (!isGone(id))
                worst = std::max(worst, ofAccount);
        }
        std::erase_if(m_report.problems,
                      [this](const Problem &problem) { return isGone(problem.id); });
        return isStopped() ? FolderMove::Cancelled : worst;
    }

    FolderMove::Result carryAccount(const QString &id)
    {
        FolderMove::Result worst = FolderMove::Done;
        QVariantList entries = fromJsonText(m_plan.accounts.value(id));
        for (QVariant &entry : entries) {
            if (isGone(id))
                return worst;
            QVariantMap fields = entry.toMap();
            const auto markMoved = [&] {
                fields.insert(movedKey(), true);
                entry = fields;
                m_plan.accounts.insert(id, toJsonText(entries));
                return store();
            };
            const FolderMove::Result result = carryFolder(id, fields, markMoved);
            worst = std::max(worst, result);
            if (result > FolderMove::InUse)
                break;
        }
        return worst;
    }

    /// A folder that is marked as moved may have files left: some without bytes, originals that a
    /// kill has saved, or what has come since.
    template <typename MarkMoved>
    FolderMove::Result carryFolder(const QString &id, const QVariantMap &fields,
                                   MarkMoved markMoved)
    {
        const QString folder = folderOf(fields);
        const FolderMove::Task task = {m_plan.source, m_plan.target, accountFolder(id) + folder,
                                       scratchFile(m_plan.target, id),
                                       fields.value(skippedKey()).toStringList()};
        for (int round = 0; round < rounds; ++round) {
            FolderMove move(task, [this](qint64 count) { return advance(count); });
            if (move.copy() >= FolderMove::NoSpace)
                return move.worst();
            if (isStopped())
                return FolderMove::Cancelled;
            // A disk that goes takes nothing that has been moved.
            if (!isThere(m_plan.source, m_plan.accounts.keys()))
                return FolderMove::Failed;
            for (const auto &[name, newName] : move.renamed()) {
                const QString path = QDir::fromNativeSeparators(task.folder);
                AppDirManager::instance()->addRenamed(m_plan.source, path + name, path + newName);
                m_settings->setValue(QStringLiteral("moved_file_names"),
                                     AppDirManager::instance()->renamedFiles(), true);
            }
            // The originals go only after what says so is on the disk.
            const bool isMarked = move.worst() != FolderMove::Done
                || fields.value(movedKey()).toBool() || markMoved();
            if (!isMarked || (move.hasCopies() && !sync()))
                return FolderMove::NoSpace;
            const bool all = move.removeOriginals();
            tell(move.moved());
            if (!all && round + 1 < rounds)
                continue;
            for (const FolderMove::Problem &problem : move.problems()) {
                m_report.problems.push_back({id, folder, move.nameOf(problem), problem.path,
                                             FileCause(problem.cause), problem.obstacle});
            }
            return all ? move.worst() : std::max(move.worst(), FolderMove::InUse);
        }
        return FolderMove::InUse;
    }

    bool store()
    {
        if (m_abandoned)
            return true;
        m_settings->setMovedDataInfo(mapToJson(m_plan.accounts));
        return m_settings->flush();
    }

    bool sync()
    {
        return m_abandoned || (m_settings->flush() && m_settings->globalStorage()->sync());
    }

    void tell(const QStringList &paths)
    {
        if (!paths.isEmpty()) {
            QMetaObject::invokeMethod(
                m_move, [paths] { BaseFile::tellFollowers(paths); }, Qt::QueuedConnection);
        }
    }

    bool advance(qint64 count)
    {
        m_report.movedBytes += count;
        if (m_sinceShown.elapsed() >= progressMs) {
            m_sinceShown.start();
            QMetaObject::invokeMethod(
                m_move,
                [move = m_move, moved = m_report.movedBytes, total = m_report.totalBytes] {
                    move->setProgress(moved, total);
                },
                Qt::QueuedConnection);
        }
        return !isStopped();
    }

    AppDataMove *const m_move;
    const std::atomic<bool> &m_cancelled;
    const std::atomic<bool> &m_abandoned;
    AppSettingModel *const m_settings;
    Plan m_plan;
    Report m_report;
    QElapsedTimer m_sinceShown;
};

AppDataMove::AppDataMove(QObject *parent) : QObject(parent)
{
    m_again.setSingleShot(true);
    m_again.setInterval(laterMs);
    connect(&m_again, &QTimer::timeout, this, &AppDataMove::resume);
}

AppDataMove::~AppDataMove()
{
    reset();
}

bool AppDataMove::moveTo(const QString &targetDirectory)
{
    m_manager = AccountManager::getInstance();
    if (m_running)
        return refuse(Reason::Running);
    Plan plan;
    plan.source = AppDirManager::instance()->cacheDataDir();
    const QString path = Util::toLocalFile(targetDirectory);
    if (plan.source.isEmpty() || path.isEmpty() || !path.isValidUtf16())
        return refuse(Reason::NoTarget);
    if (QDir::isRelativePath(path))
        return refuse(Reason::TargetRelative);
    plan.target = QDir::toNativeSeparators(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
    if (!plan.target.endsWith(Util::separator()))
        plan.target += Util::separator();
    if (const Reason reason = obstacle(plan.source, plan.target); reason != Reason::None)
        return refuse(reason);
    dropStored();
    // Before the place is in use again.
    removeLeft();
    if (QVariantMap left = leftMedia(); isBare(plan.target) && left.remove(plan.target) > 0)
        setLeftMedia(left);
    const AppSettingModel *settings = AppSettingModel::instance();
    // A move that has not finished can be taken back.
    if (!settings->movedDataInfo().isEmpty()) {
        if (QDir(settings->oldCacheDataPath()) != QDir(plan.target))
            return refuse(Reason::LastUnfinished);
        if (!isThere(plan.target, jsonToMap(settings->movedDataInfo()).keys()))
            return refuse(Reason::OldPlaceMissing);
        plan.undoneSource = settings->oldCacheDataPath();
        plan.undoneInfo = settings->movedDataInfo();
    }

    for (const QString &id : signedInIds())
        plan.accounts.insert(id, QVariant());
    begin();
    m_carrying = start([this, plan] { survey(plan); });
    return true;
}

void AppDataMove::measure(const QString &targetDirectory)
{
    const QString source = AppDirManager::instance()->cacheDataDir();
    run([this, source, ids = signedInIds(), targetDirectory] {
        qint64 needed = 0;
        for (const QString &id : ids)
            surveyAccount(source, id, &needed);
        const QString target = Util::toLocalFile(targetDirectory);
        const qint64 available =
            QFileInfo(target).isDir() ? QStorageInfo(target).bytesAvailable() : -1;
        QMetaObject::invokeMethod(
            this,
            [this, targetDirectory, needed, available] {
                Q_EMIT measured(targetDirectory, needed, available);
            },
            Qt::QueuedConnection);
    });
}

void AppDataMove::resume()
{
    if (m_running)
        return;
    follow();
    removeLeft();
    dropStored();
    AppSettingModel *settings = AppSettingModel::instance();
    const QByteArray info = settings->movedDataInfo();
    if (info.isEmpty())
        return;
    m_manager = AccountManager::getInstance();
    Plan plan;
    plan.source = settings->oldCacheDataPath();
    plan.target = settings->cacheDataPath();
    plan.accounts = readAccounts(info);

    begin();
    if (const Reason reason = obstacle(plan.source, plan.target); reason != Reason::None)
        fail(reason);
    else
        m_carrying = start([this, plan] { carryOver(plan); });
}

void AppDataMove::cancel()
{
    m_cancelled = true;
    m_again.stop();
}

bool AppDataMove::skip()
{
    AppSettingModel *settings = AppSettingModel::instance();
    const QByteArray info = settings->movedDataInfo();
    if (m_running || m_problems.empty() || info.isEmpty())
        return false;
    const bool isAllInUse =
        std::all_of(m_problems.cbegin(), m_problems.cend(), [](const Problem &problem) {
            return problem.cause == FileCause::BeingWritten;
        });
    QVariantMap accounts = jsonToMap(info);
    for (const Problem &problem : m_problems) {
        if (problem.cause == FileCause::BeingWritten && !isAllInUse)
            continue;
        QVariantList entries = fromJsonText(accounts.value(problem.id));
        for (QVariant &entry : entries) {
            QVariantMap fields = entry.toMap();
            if (folderOf(fields) != problem.folder)
                continue;
            fields.insert(skippedKey(),
                          fields.value(skippedKey()).toStringList() + QStringList{problem.name});
            entry = fields;
        }
        accounts.insert(problem.id, toJsonText(entries));
    }
    settings->setMovedDataInfo(mapToJson(accounts));
    if (!settings->flush())
        return false;
    resume();
    return m_running;
}

void AppDataMove::giveUp()
{
    m_again.stop();
    if (m_running) {
        m_givingUp = true;
        cancel();
    } else if (unfinished()) {
        closeMap();
        setOutcome(Outcome::GivenUp, Reason::None);
    }
}

void AppDataMove::reset()
{
    cancel();
    if (m_carrying.valid())
        m_carrying.wait();
    const auto deadline = std::chrono::steady_clock::now() + deletionTime;
    for (const std::future<void> &task : m_tasks)
        task.wait_until(deadline);
    m_hurrying = true;
    for (const std::future<void> &task : m_tasks)
        task.wait();
    m_hurrying = false;
    m_tasks.clear();
}

void AppDataMove::wipe()
{
    follow();
    addLeftMedia(AppDirManager::instance()->everyDir(), signedInIds());
    AppSettingModel::instance()->flush();
}

bool AppDataMove::unfinished() const
{
    return m_running || !AppSettingModel::instance()->movedDataInfo().isEmpty();
}

QString AppDataMove::reasonText() const
{
    return textsOf(m_reason).first;
}

QVariantList AppDataMove::problems() const
{
    QVariantList list;
    for (const Problem &problem : m_problems) {
        list.append(
            QVariantMap{{QStringLiteral("path"), QDir::toNativeSeparators(problem.path)},
                        {QStringLiteral("cause"), QVariant::fromValue(problem.cause)},
                        {QStringLiteral("obstacle"), QDir::toNativeSeparators(problem.obstacle)},
                        {QStringLiteral("text"), textOf(problem.cause)}});
    }
    return list;
}

/// A stored move without an old place is none: the settings were reset under it.
void AppDataMove::dropStored()
{
    AppSettingModel *settings = AppSettingModel::instance();
    if (settings->movedDataInfo().isEmpty() || !settings->oldCacheDataPath().isEmpty())
        return;
    ImLog::error(lcMove(), QStringLiteral("A stored data move has no old place and is dropped"));
    settings->setMovedDataInfo({});
}

void AppDataMove::follow()
{
    AppSettingModel *settings = AppSettingModel::instance();
    connect(settings, &AppSettingModel::accountIdsChanged, this, &AppDataMove::accountsChanged,
            Qt::UniqueConnection);
    connect(settings, &AppSettingModel::paramsBeReseted, this, &AppDataMove::abandon,
            Qt::UniqueConnection);
}

/// Once everybody has signed out, the settings are about to be reset, which forgets the places.
void AppDataMove::accountsChanged(const QVariantList &ids)
{
    const AppSettingModel *settings = AppSettingModel::instance();
    const QStringList moving = jsonToMap(settings->movedDataInfo()).keys();
    if (!ids.isEmpty())
        return dropGone(); // at once: they may come back
    if (moving.isEmpty() && !AccountManager::getInstance()->deleteAll())
        return;
    abandon();
    if (m_carrying.valid())
        m_carrying.wait();
    addLeftMedia({settings->oldCacheDataPath(), settings->cacheDataPath()}, moving);
    removeLeft(true);
}

void AppDataMove::abandon()
{
    m_abandoned = true;
    m_again.stop();
}

/// Deletes the media of those who have left, in the background, wherever they can be reached. In a
/// directory that is in use those stay who are signed in, unless everybody is about to sign out.
void AppDataMove::removeLeft(bool isEverybodyLeaving)
{
    QVariantMap left = leftMedia();
    if (left.isEmpty())
        return;
    const QStringList used =
        isEverybodyLeaving ? QStringList() : AppDirManager::instance()->everyDir();
    QVariantMap removed;
    for (auto entry = left.begin(); entry != left.end(); ++entry) {
        const bool isUsed = used.contains(entry.key());
        QStringList ids = entry.value().toStringList();
        // Who is there was not wiped after all, or has come back.
        ids.removeIf([&](const QString &id) {
            return isUsed && AccountManager::getInstance()->getAccount(id.toLongLong());
        });
        entry.value() = ids;
        ids.removeIf([&](const QString &id) {
            return (isUsed && isSignedIn(id)) || !setAside(entry.key(), id);
        });
        removed.insert(entry.key(), ids);
    }
    setLeftMedia(left);
    run([this, removed] {
        QVariantMap done;
        for (auto entry = removed.cbegin(); entry != removed.cend(); ++entry) {
            if (emptyTrash(entry.key()))
                done.insert(entry.key(), entry.value());
        }
        QMetaObject::invokeMethod(
            this, [done] { forgetLeft(done); }, Qt::QueuedConnection);
    });
}

bool AppDataMove::emptyTrash(const QString &directory) const
{
    const QDir trash(trashFolder(directory));
    for (const QString &name : trash.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        if (m_hurrying || !Util::removeLocalFolder(trash.filePath(name)))
            return false;
    }
    return !trash.exists() || QDir().rmdir(trash.path());
}

void AppDataMove::forgetLeft(const QVariantMap &removed)
{
    QVariantMap left = leftMedia();
    for (auto entry = removed.cbegin(); entry != removed.cend(); ++entry) {
        QStringList ids = left.value(entry.key()).toStringList();
        for (const QString &id : entry.value().toStringList())
            ids.removeAll(id);
        if (ids.isEmpty())
            left.remove(entry.key());
        else
            left.insert(entry.key(), ids);
    }
    setLeftMedia(left);
}

/// Takes those who have signed out from the stored map. What they have left is deleted, and also
/// what others of those `ids` have left who have signed out.
void AppDataMove::dropGone(const QStringList &ids)
{
    AppSettingModel *settings = AppSettingModel::instance();
    QVariantMap accounts = jsonToMap(settings->movedDataInfo());
    QStringList gone = accounts.keys() + ids;
    gone.removeIf(isSignedIn);
    if (gone.isEmpty())
        return;
    addLeftMedia({settings->oldCacheDataPath(), settings->cacheDataPath()}, gone);
    for (const QString &id : std::as_const(gone))
        accounts.remove(id);
    settings->setMovedDataInfo(mapToJson(accounts));
    removeLeft();
}

/// Ends the stored move, and removes what it needed.
void AppDataMove::closeMap()
{
    dropGone();
    AppSettingModel *settings = AppSettingModel::instance();
    const QStringList ids = jsonToMap(settings->movedDataInfo()).keys();
    settings->setMovedDataInfo({});
    for (const QString &id : ids) {
        QFile::remove(scratchFile(settings->cacheDataPath(), id));
        QDir().rmdir(settings->oldCacheDataPath() + id);
    }
}

void AppDataMove::begin()
{
    // The manager forgets its accounts when it is given up: none of them is gone then.
    connect(m_manager, &AccountManager::beginReset, this, &AppDataMove::cancel,
            Qt::UniqueConnection);
    follow();
    m_again.stop();
    m_cancelled = false;
    m_abandoned = false;
    m_givingUp = false;
    m_running = true;
    m_problems.clear();
    setOutcome(Outcome::None, Reason::None);
    Q_EMIT runningChanged();
    setProgress(0, 0);
}

std::future<void> AppDataMove::start(const std::function<void()> &work)
{
    // Also a task that is dropped unrun makes the future ready.
    const auto task = std::make_shared<std::packaged_task<void()>>(work);
    std::future<void> future = task->get_future();
    ThreadManager::run([task] { (*task)(); }, true);
    return future;
}

void AppDataMove::run(const std::function<void()> &work)
{
    std::erase_if(m_tasks, [](const std::future<void> &task) {
        return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    m_tasks.push_back(start(work));
}

void AppDataMove::survey(Plan plan)
{
    for (auto account = plan.accounts.begin(); account != plan.accounts.end(); ++account) {
        if (m_cancelled)
            break;
        account.value() = toJsonText(surveyAccount(plan.source, account.key(), &plan.bytes));
    }
    QMetaObject::invokeMethod(
        this, [this, plan] { switchOver(plan); }, Qt::QueuedConnection);
}

void AppDataMove::switchOver(const Plan &plan)
{
    if (m_cancelled || m_abandoned)
        return end(Outcome::Cancelled);
    setProgress(0, plan.bytes);
    if (m_cancelled || m_abandoned) // by a handler
        return end(Outcome::Cancelled);
    const QStorageInfo storage(plan.target);
    if (!storage.isValid() || storage.bytesAvailable() < plan.bytes)
        return fail(Reason::NoSpace);

    // Stored in one step first, so that no kill leaves new paths without the map, or half of them.
    AppSettingModel *settings = AppSettingModel::instance();
    AppDirManager *dirs = AppDirManager::instance();
    const QByteArray info = mapToJson(plan.accounts);
    dropGone(); // from the map of a move that is taken back
    dirs->addFormerDir(plan.source);
    const QByteArray names = dirs->renamedFiles();
    settings->saveToConfig({{QStringLiteral("cache_data_path"), plan.target},
                            {QStringLiteral("old_cache_data_path"), plan.source},
                            {QStringLiteral("moved_file_names"), names},
                            {QStringLiteral("moved_data_info"), info}});
    settings->setCacheDataPath(plan.target, true);
    if (m_abandoned) // by a handler: the settings are those of a fresh start
        return end(Outcome::Cancelled);
    settings->setOldCacheDataPath(plan.source);
    settings->setValue(QStringLiteral("moved_file_names"), names, true);
    settings->setMovedDataInfo(info);
    dirs->updateCacheDataDir(plan.target, plan.source);
    m_manager->updateUserCacheDataPath();

    const bool stored = settings->flush();
    if (stored && !plan.accounts.isEmpty()
        && Util::mkpath(plan.target + accountFolder(plan.accounts.firstKey()))) {
        for (const QString &id : plan.accounts.keys()) {
            if (QFileInfo(plan.source).isDir()) // see isThere()
                Util::mkpath(plan.source + id);
        }
        m_carrying = start([this, plan] { carryOver(plan); });
        return;
    }

    const Reason reason = stored ? Reason::NoPermission : Reason::NotStored;
    tell(reason);
    settings->saveToConfig({{QStringLiteral("cache_data_path"), plan.source},
                            {QStringLiteral("old_cache_data_path"), plan.undoneSource},
                            {QStringLiteral("moved_data_info"), plan.undoneInfo}});
    settings->setCacheDataPath(plan.source, true);
    settings->setOldCacheDataPath(plan.undoneSource);
    settings->setMovedDataInfo(plan.undoneInfo);
    m_running = false;
    dirs->updateCacheDataDir(plan.source, plan.undoneSource);
    m_manager->updateUserCacheDataPath();
    settings->flush();
    end(Outcome::Failed, reason);
}

void AppDataMove::carryOver(Plan plan)
{
    Carrier carrier(this, std::move(plan));
    const Report report = carrier.run();
    QMetaObject::invokeMethod(
        this, [this, report] { complete(report); }, Qt::QueuedConnection);
}

void AppDataMove::complete(const Report &report)
{
    AppSettingModel *settings = AppSettingModel::instance();
    m_problems = report.problems;
    const bool isDone =
        report.result == FolderMove::Done && !report.isSourceMissing && !m_abandoned;
    setProgress(isDone ? report.totalBytes : report.movedBytes, report.totalBytes);
    if (m_abandoned) {
        settings->setMovedDataInfo({}); // it may have been stored once more behind the reset
        return end(Outcome::Cancelled);
    }
    dropGone(report.ids); // also what was being copied when they left
    if (isDone) {
        closeMap();
        return end(Outcome::Moved);
    }
    if (report.result == FolderMove::Cancelled)
        return end(Outcome::Cancelled);
    if (report.isSourceMissing)
        return fail(Reason::OldPlaceMissing);
    if (report.result == FolderMove::InUse)
        m_again.start();
    fail(report.result == FolderMove::NoSpace     ? Reason::NoSpace
             : report.result == FolderMove::InUse ? Reason::FilesInUse
                                                  : Reason::FilesLeft);
}

bool AppDataMove::refuse(Reason reason)
{
    const auto [text, words] = textsOf(reason);
    ImLog::error(lcMove(), QStringLiteral("Data move refused: ") + QLatin1String(words));
    setOutcome(m_running ? Outcome::None : Outcome::Refused, reason);
    Q_EMIT m_manager->error(0, text, 0);
    return false;
}

void AppDataMove::tell(Reason reason)
{
    const auto [text, words] = textsOf(reason);
    ImLog::error(lcMove(), QStringLiteral("Data move: ") + QLatin1String(words));
    Q_EMIT m_manager->error(0, text, 0);
}

void AppDataMove::fail(Reason reason)
{
    tell(reason);
    end(Outcome::Failed, reason);
}

void AppDataMove::end(Outcome outcome, Reason reason)
{
    m_running = false;
    if (std::exchange(m_givingUp, false) && unfinished()) {
        closeMap();
        m_again.stop();
        outcome = Outcome::GivenUp;
        reason = Reason::None;
    }
    setOutcome(outcome, reason);
    const bool ok = outcome == Outcome::Moved;
    if (ok && std::exchange(m_percent, 100) != 100)
        Q_EMIT percentChanged();
    Q_EMIT runningChanged();
    Q_EMIT finished(ok);
}

void AppDataMove::setOutcome(Outcome outcome, Reason reason)
{
    m_outcome = outcome;
    m_reason = reason;
    Q_EMIT outcomeChanged();
}

void AppDataMove::setProgress(qint64 movedBytes, qint64 totalBytes)
{
    // Files that come while the move goes on were not counted.
    movedBytes = std::min(movedBytes, totalBytes);
    const int percent = totalBytes > 0 ? int(100.0 * double(movedBytes) / double(totalBytes)) : 0;
    if (std::exchange(m_totalBytes, totalBytes) != totalBytes)
        Q_EMIT totalBytesChanged();
    if (std::exchange(m_movedBytes, movedBytes) != movedBytes)
        Q_EMIT movedBytesChanged();
    if (std::exchange(m_percent, percent) != percent)
        Q_EMIT percentChanged();
}
