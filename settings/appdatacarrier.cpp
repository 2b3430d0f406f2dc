#include "settings/appdatamove_p.h"

#include "base/basefile.h"
#include "base/json.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/movemap_p.h"
#include "settings/settingkeys_p.h"
#include "storage/globalstorageprovider.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>

namespace
{

constexpr int progressMs = 50;
/// How often a folder is processed while its files change.
constexpr int rounds = 3;
/// How often, and after how long, files that are being written are tried again.
constexpr int patientRounds = 8;
constexpr int patienceMs = 250;

} // namespace

AppDataMove::Carrier::Carrier(AppDataMove *move, Plan &&plan)
    : m_move(move), m_cancelled(move->m_cancelled), m_abandoned(move->m_abandoned),
      m_settings(AppSettingModel::instance()), m_plan(std::move(plan))
{
}

AppDataMove::Report AppDataMove::Carrier::run()
{
    // Without a map, because the stored one was damaged, everything still at the source is moved.
    if (m_plan.accounts.isEmpty()) {
        for (const QString &id : m_move->signedInIds())
            m_plan.accounts.insert(id, QVariant());
    }
    const QStringList ids = m_plan.accounts.keys();
    m_report.ids = ids;
    m_report.isSourceMissing = !m_move->isThere(m_plan.source, ids);
    if (m_report.isSourceMissing)
        return std::move(m_report);
    for (const QString &id : ids) {
        if (isStopped())
            break;
        // For a move that this one takes back, files may still be at that move's source.
        for (const QString &place : {m_plan.source, m_plan.target})
            QFile::remove(MoveMap::scratchFile(place, id));
        const QVariantList entries =
            MoveMap::surveyAccount(m_plan.source, id, &m_report.totalBytes);
        if (m_plan.accounts.value(id).isNull())
            m_plan.accounts.insert(id, MoveMap::toJsonText(entries));
    }
    m_sinceShown.start();

    m_report.result = carryAll(ids);
    for (int round = 0; round < patientRounds && m_report.result == FolderMove::InUse; ++round) {
        for (int slept = 0; slept < patienceMs && !isStopped(); slept += 10)
            QThread::msleep(10);
        m_report.result = carryAll(ids);
    }
    m_report.isSourceMissing = !m_move->isThere(m_plan.source, ids);
    return std::move(m_report);
}

/// Reads the flag last: reset() sets it before the accounts are cleared.
bool AppDataMove::Carrier::hasSignedOut(const QString &id) const
{
    return !m_move->isSignedIn(id) && !m_cancelled;
}

FolderMove::Result AppDataMove::Carrier::carryAll(const QStringList &ids)
{
    m_report.problems.clear();
    FolderMove::Result worst = FolderMove::Done;
    for (const QString &id : ids) {
        if (isStopped())
            break;
        const FolderMove::Result ofAccount = carryAccount(id);
        if (!hasSignedOut(id))
            worst = std::max(worst, ofAccount);
    }
    std::erase_if(m_report.problems,
                  [this](const Problem &problem) { return hasSignedOut(problem.id); });
    return isStopped() ? FolderMove::Cancelled : worst;
}

/// A folder that is marked as moved may still hold files: empty ones, originals left after a kill,
/// or new files.
template <typename MarkMoved>
FolderMove::Result AppDataMove::Carrier::carryFolder(const QString &id, const QVariantMap &fields,
                                                     MarkMoved markMoved)
{
    const QString folder = MoveMap::folderOf(fields);
    const FolderMove::Task task = {m_plan.source, m_plan.target,
                                   MoveMap::accountFolder(id) + folder,
                                   MoveMap::scratchFile(m_plan.target, id),
                                   fields.value(MoveMap::skippedKey()).toStringList()};
    for (int round = 0; round < rounds; ++round) {
        FolderMove move(task, [this](qint64 count) { return advance(count); });
        if (move.copy() >= FolderMove::NoSpace)
            return move.worst();
        if (isStopped())
            return FolderMove::Cancelled;
        // If the disk was unplugged meanwhile, nothing may count as moved.
        if (!m_move->isThere(m_plan.source, m_plan.accounts.keys()))
            return FolderMove::Failed;
        for (const auto &[name, newName] : move.renamed()) {
            const QString path = QDir::fromNativeSeparators(task.folder);
            AppDirManager::instance()->addRenamed(m_plan.source, path + name, path + newName);
            m_settings->setValue(SettingKey::formerPlaces(),
                                 AppDirManager::instance()->renamedFiles(), true);
        }
        // Delete the originals only after the settings that record the move are on the disk.
        const bool isMarked = move.worst() != FolderMove::Done
            || fields.value(MoveMap::movedKey()).toBool() || markMoved();
        if (!isMarked || (move.hasCopies() && !sync()))
            return FolderMove::NotStored;
        const bool all = move.removeOriginals();
        updateRecords(move.moved());
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

FolderMove::Result AppDataMove::Carrier::carryAccount(const QString &id)
{
    FolderMove::Result worst = FolderMove::Done;
    QVariantList entries = MoveMap::fromJsonText(m_plan.accounts.value(id));
    for (QVariant &entry : entries) {
        if (hasSignedOut(id))
            return worst;
        QVariantMap fields = entry.toMap();
        const auto markMoved = [&] {
            fields.insert(MoveMap::movedKey(), true);
            entry = fields;
            m_plan.accounts.insert(id, MoveMap::toJsonText(entries));
            return store();
        };
        const FolderMove::Result result = carryFolder(id, fields, markMoved);
        worst = std::max(worst, result);
        if (result > FolderMove::InUse)
            break;
    }
    return worst;
}

bool AppDataMove::Carrier::store()
{
    if (m_abandoned)
        return true;
    m_settings->setMovedDataInfo(mapToJson(m_plan.accounts));
    return m_settings->flush();
}

bool AppDataMove::Carrier::sync()
{
    return m_abandoned || (m_settings->flush() && m_settings->globalStorage()->sync());
}

void AppDataMove::Carrier::updateRecords(const QStringList &paths)
{
    if (!paths.isEmpty()) {
        QMetaObject::invokeMethod(
            m_move, [paths] { BaseFile::tellFollowers(paths); }, Qt::QueuedConnection);
    }
}

bool AppDataMove::Carrier::advance(qint64 count)
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
