#include "settings/appdatamove_p.h"

#include "base/json.h"
#include "base/util.h"
#include "core/logs_p.h"
#include "core/workers_p.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/leftmedia_p.h"
#include "settings/movemap_p.h"
#include "settings/settingkeys_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <utility>

namespace
{

constexpr int laterMs = 10'000;
/// The notebook account never signs in: its media stay where they are, until a wipe.
constexpr auto notebookId = [] { return QStringLiteral("0"); };
/// How long shut-down waits for media to be deleted.
constexpr std::chrono::seconds deletionTime(10);

using FileCause = AppDataMove::FileCause;
using Reason = AppDataMove::Reason;

/// True when `path` is `folder` or inside it, with links resolved.
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

/// Why the media cannot be moved from `source` to `target`.
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

} // namespace

AppDataMove::AppDataMove(Accounts accounts, QObject *parent)
    : QObject(parent), m_accounts(std::move(accounts))
{
    m_again.setSingleShot(true);
    m_again.setInterval(laterMs);
    connect(&m_again, &QTimer::timeout, this, &AppDataMove::resume);
}

AppDataMove::~AppDataMove()
{
    reset();
}

/// Includes accounts that could not be opened this time.
QStringList AppDataMove::signedInIds() const
{
    QStringList ids;
    for (const qint64 id : m_accounts.listed())
        ids.append(QString::number(id));
    for (const QVariant &id : AppSettingModel::instance()->accountIds())
        ids.append(QString::number(id.toLongLong()));
    ids.removeDuplicates();
    return ids;
}

bool AppDataMove::isSignedIn(const QString &id) const
{
    return signedInIds().contains(id);
}

/// Whether the old place exists, rather than only the empty mount point of a disk: while a move is
/// unfinished, the old place has a folder for each of its accounts.
bool AppDataMove::isThere(const QString &source, const QStringList &ids) const
{
    const auto isStaying = [this](const QString &id) { return isSignedIn(id); };
    return QFileInfo(source).isDir()
        && (std::none_of(ids.cbegin(), ids.cend(), isStaying)
            || std::any_of(ids.cbegin(), ids.cend(), [&](const QString &id) {
                   return QFileInfo(source + MoveMap::accountFolder(id)).isDir();
               }));
}

bool AppDataMove::moveTo(const QString &targetDirectory)
{
    if (m_running)
        return refuse(Reason::Running);
    // The settings that say where media are have not been read.
    AppSettingModel *settings = AppSettingModel::instance();
    if (settings->isUnread() && !settings->flush())
        return refuse(Reason::NotStored);
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
    // Before the place is used again.
    removeLeft();
    if (QVariantMap left = LeftMedia::stored();
        LeftMedia::isBare(plan.target) && left.remove(plan.target) > 0)
        LeftMedia::store(left);
    // An unfinished move can be taken back.
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
            MoveMap::surveyAccount(source, id, &needed);
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
    Plan plan;
    plan.source = settings->oldCacheDataPath();
    plan.target = settings->cacheDataPath();
    plan.accounts = MoveMap::readAccounts(info);

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
        QVariantList entries = MoveMap::fromJsonText(accounts.value(problem.id));
        for (QVariant &entry : entries) {
            QVariantMap fields = entry.toMap();
            if (MoveMap::folderOf(fields) != problem.folder)
                continue;
            fields.insert(MoveMap::skippedKey(),
                          fields.value(MoveMap::skippedKey()).toStringList()
                              + QStringList{problem.name});
            entry = fields;
        }
        accounts.insert(problem.id, MoveMap::toJsonText(entries));
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
    m_stopsDeleting = true;
    for (const std::future<void> &task : m_tasks)
        task.wait();
    m_stopsDeleting = false;
    m_tasks.clear();
}

void AppDataMove::wipe()
{
    follow();
    LeftMedia::add(AppDirManager::instance()->everyDir(),
                   signedInIds() + QStringList{notebookId()});
    m_wipesLate = AppSettingModel::instance()->isUnread();
    AppSettingModel::instance()->flush();
}

/// Notes the media of accounts that were wiped before the settings could be read.
void AppDataMove::wipeLate(const QVariantMap &rows)
{
    if (!std::exchange(m_wipesLate, false))
        return;
    QStringList directories =
        AppDirManager::formerDirs(rows.value(SettingKey::formerPlaces()).toByteArray());
    for (const QString &key : {SettingKey::cacheDataPath(), SettingKey::oldCacheDataPath()}) {
        const QString directory = rows.value(key).toString();
        if (!directory.isEmpty())
            directories.append(directory);
    }
    QStringList ids = jsonToMap(rows.value(QStringLiteral("moved_data_info")).toByteArray()).keys();
    ids.append(notebookId());
    for (const QVariant &id : jsonToList(rows.value(SettingKey::accounts()).toByteArray()))
        ids.append(QString::number(id.toLongLong()));
    LeftMedia::add(directories, ids);
    // The reset did not see what an earlier wipe left.
    const QVariantMap left = jsonToMap(rows.value(SettingKey::leftMedia()).toByteArray());
    for (auto entry = left.cbegin(); entry != left.cend(); ++entry)
        LeftMedia::add({entry.key()}, entry.value().toStringList());
    removeLeft();
}

bool AppDataMove::unfinished() const
{
    return m_running || !AppSettingModel::instance()->movedDataInfo().isEmpty();
}

QString AppDataMove::reasonText() const
{
    return MoveTexts::of(m_reason).first;
}

QVariantList AppDataMove::problems() const
{
    QVariantList list;
    for (const Problem &problem : m_problems) {
        list.append(
            QVariantMap{{QStringLiteral("path"), QDir::toNativeSeparators(problem.path)},
                        {QStringLiteral("cause"), QVariant::fromValue(problem.cause)},
                        {QStringLiteral("obstacle"), QDir::toNativeSeparators(problem.obstacle)},
                        {QStringLiteral("text"), MoveTexts::of(problem.cause)}});
    }
    return list;
}

/// A stored move without an old place is invalid: the settings were reset during it.
void AppDataMove::dropStored()
{
    AppSettingModel *settings = AppSettingModel::instance();
    if (settings->movedDataInfo().isEmpty() || !settings->oldCacheDataPath().isEmpty())
        return;
    ImLog::error(lcSettings(), QStringLiteral("Dropped a stored data move that has no old place"));
    settings->setMovedDataInfo({});
}

void AppDataMove::follow()
{
    AppSettingModel *settings = AppSettingModel::instance();
    connect(settings, &AppSettingModel::accountIdsChanged, this, &AppDataMove::accountsChanged,
            Qt::UniqueConnection);
    connect(settings, &AppSettingModel::paramsBeReseted, this, &AppDataMove::abandon,
            Qt::UniqueConnection);
    connect(settings, &AppSettingModel::storeRead, this, &AppDataMove::wipeLate,
            Qt::UniqueConnection);
}

/// When all accounts have signed out, the settings are about to be reset, which clears the places.
void AppDataMove::accountsChanged(const QVariantList &ids)
{
    const AppSettingModel *settings = AppSettingModel::instance();
    const QStringList moving = jsonToMap(settings->movedDataInfo()).keys();
    if (!ids.isEmpty())
        return dropSignedOut(); // at once: the accounts may sign in again
    if (moving.isEmpty() && !m_accounts.areWiped())
        return;
    abandon();
    if (m_carrying.valid())
        m_carrying.wait();
    LeftMedia::add({settings->oldCacheDataPath(), settings->cacheDataPath()}, moving);
    removeLeft(true);
}

void AppDataMove::abandon()
{
    m_abandoned = true;
    m_again.stop();
}

/// Deletes the media of accounts that have left, in the background, wherever they can be reached.
/// In a directory in use, media of signed-in accounts stay, unless all accounts are about to sign
/// out.
void AppDataMove::removeLeft(bool isEverybodyLeaving)
{
    QVariantMap left = LeftMedia::stored();
    if (left.isEmpty())
        return;
    const QStringList used =
        isEverybodyLeaving ? QStringList() : AppDirManager::instance()->everyDir();
    QVariantMap removed;
    for (auto entry = left.begin(); entry != left.end(); ++entry) {
        const bool isUsed = used.contains(entry.key());
        QStringList ids = entry.value().toStringList();
        // An account that is listed was not wiped after all, or has signed in again.
        ids.removeIf([&](const QString &id) {
            // The notebook's media have been deleted, or are new.
            return isUsed
                && (m_accounts.listed().contains(id.toLongLong())
                    || (id == notebookId() && !isEverybodyLeaving));
        });
        entry.value() = ids;
        ids.removeIf([&](const QString &id) {
            return (isUsed && isSignedIn(id)) || !LeftMedia::setAside(entry.key(), id);
        });
        removed.insert(entry.key(), ids);
    }
    LeftMedia::store(left);
    run([this, removed] {
        QVariantMap done;
        for (auto entry = removed.cbegin(); entry != removed.cend(); ++entry) {
            if (LeftMedia::emptyTrash(entry.key(), m_stopsDeleting))
                done.insert(entry.key(), entry.value());
        }
        QMetaObject::invokeMethod(
            this, [done] { LeftMedia::remove(done); }, Qt::QueuedConnection);
    });
}

/// Removes accounts that have signed out from the stored map. Deletes their media, and those of
/// further accounts in `ids` that have signed out.
void AppDataMove::dropSignedOut(const QStringList &ids)
{
    AppSettingModel *settings = AppSettingModel::instance();
    QVariantMap accounts = jsonToMap(settings->movedDataInfo());
    QStringList gone = accounts.keys() + ids;
    gone.removeIf([this](const QString &id) { return isSignedIn(id); });
    if (gone.isEmpty())
        return;
    LeftMedia::add({settings->oldCacheDataPath(), settings->cacheDataPath()}, gone);
    for (const QString &id : std::as_const(gone))
        accounts.remove(id);
    settings->setMovedDataInfo(mapToJson(accounts));
    removeLeft();
}

/// Ends the stored move, and removes its helper files.
void AppDataMove::closeMap()
{
    dropSignedOut();
    AppSettingModel *settings = AppSettingModel::instance();
    const QStringList ids = jsonToMap(settings->movedDataInfo()).keys();
    settings->setMovedDataInfo({});
    // While there is a map, these folders prove that the old place exists: see isThere().
    if (!settings->flush())
        return;
    for (const QString &id : ids) {
        QFile::remove(MoveMap::scratchFile(settings->cacheDataPath(), id));
        QDir().rmdir(settings->oldCacheDataPath() + id);
    }
}

void AppDataMove::begin()
{
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
    // The future becomes ready even if the task is dropped without running.
    const auto task = std::make_shared<std::packaged_task<void()>>(work);
    std::future<void> future = task->get_future();
    Workers::run([task] { (*task)(); }, true);
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
        account.value() =
            MoveMap::toJsonText(MoveMap::surveyAccount(plan.source, account.key(), &plan.bytes));
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

    // Store everything in one step first, so that a kill never leaves new paths without the map, or
    // only some of them.
    AppSettingModel *settings = AppSettingModel::instance();
    AppDirManager *dirs = AppDirManager::instance();
    const QByteArray info = mapToJson(plan.accounts);
    dropSignedOut(); // accounts in the map of a move that is taken back
    dirs->addFormerDir(plan.source);
    const QByteArray names = dirs->renamedFiles();
    settings->saveToConfig({{SettingKey::cacheDataPath(), plan.target},
                            {SettingKey::oldCacheDataPath(), plan.source},
                            {SettingKey::formerPlaces(), names},
                            {QStringLiteral("moved_data_info"), info}});
    settings->setCacheDataPath(plan.target, true);
    if (m_abandoned) // by a handler: the settings were reset
        return end(Outcome::Cancelled);
    settings->setOldCacheDataPath(plan.source);
    settings->setValue(SettingKey::formerPlaces(), names, true);
    settings->setMovedDataInfo(info);
    dirs->updateCacheDataDir(plan.target, plan.source);
    Q_EMIT directoryChanged();

    const bool stored = settings->flush();
    if (stored && !plan.accounts.isEmpty()
        && Util::mkpath(plan.target + MoveMap::accountFolder(plan.accounts.firstKey()))) {
        for (const QString &id : plan.accounts.keys()) {
            if (QFileInfo(plan.source).isDir()) // see isThere()
                Util::mkpath(plan.source + id);
        }
        m_carrying = start([this, plan] { carryOver(plan); });
        return;
    }

    const Reason reason = stored ? Reason::NoPermission : Reason::NotStored;
    reportReason(reason);
    settings->saveToConfig({{SettingKey::cacheDataPath(), plan.source},
                            {SettingKey::oldCacheDataPath(), plan.undoneSource},
                            {QStringLiteral("moved_data_info"), plan.undoneInfo}});
    settings->setCacheDataPath(plan.source, true);
    settings->setOldCacheDataPath(plan.undoneSource);
    settings->setMovedDataInfo(plan.undoneInfo);
    m_running = false;
    dirs->updateCacheDataDir(plan.source, plan.undoneSource);
    Q_EMIT directoryChanged();
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
        settings->setMovedDataInfo({}); // it may have been stored again after the reset
        return end(Outcome::Cancelled);
    }
    dropSignedOut(report.ids); // also what was being copied meanwhile
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
    fail(report.result == FolderMove::NoSpace         ? Reason::NoSpace
             : report.result == FolderMove::NotStored ? Reason::NotStored
             : report.result == FolderMove::InUse     ? Reason::FilesInUse
                                                      : Reason::FilesLeft);
}

bool AppDataMove::refuse(Reason reason)
{
    const auto [text, words] = MoveTexts::of(reason);
    ImLog::error(lcSettings(), QStringLiteral("Data move refused: ") + QLatin1String(words));
    setOutcome(m_running ? Outcome::None : Outcome::Refused, reason);
    Q_EMIT problemOccurred(text);
    return false;
}

void AppDataMove::reportReason(Reason reason)
{
    const auto [text, words] = MoveTexts::of(reason);
    ImLog::error(lcSettings(), QStringLiteral("Data move: ") + QLatin1String(words));
    Q_EMIT problemOccurred(text);
}

void AppDataMove::fail(Reason reason)
{
    reportReason(reason);
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
    // Files that arrive during the move were not counted.
    movedBytes = std::min(movedBytes, totalBytes);
    const int percent = totalBytes > 0 ? int(100.0 * double(movedBytes) / double(totalBytes)) : 0;
    if (std::exchange(m_totalBytes, totalBytes) != totalBytes)
        Q_EMIT totalBytesChanged();
    if (std::exchange(m_movedBytes, movedBytes) != movedBytes)
        Q_EMIT movedBytesChanged();
    if (std::exchange(m_percent, percent) != percent)
        Q_EMIT percentChanged();
}
