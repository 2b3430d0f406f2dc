#include "settings/appdatamove.h"

#include "account/accountmanager.h"
#include "account/threadmanager.h"
#include "base/json.h"
#include "base/util.h"
#include "content/modelbaseutil.h"
#include "i18n/translated_p.h"
#include "imlog/imlog.h"
#include "settings/appdirmanager.h"
#include "settings/appsettingmodel.h"
#include "settings/foldermove_p.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSet>
#include <QStorageInfo>

#include <algorithm>
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
    // Of the move that this one takes back, in case that it cannot.
    QString undoneSource;
    QByteArray undoneInfo;
};

namespace
{

Q_LOGGING_CATEGORY(lcMove, "im.settingmodel")

constexpr int progressMs = 50;
/// How often a folder is gone over in which files change meanwhile.
constexpr int rounds = 3;

QString spaceText()
{
    //% "There is not enough space at the new place."
    return translated(QT_TRID_NOOP("storage_space_insufficient_tip"));
}

QString permissionText()
{
    //% "The new place cannot be written to."
    return translated(QT_TRID_NOOP("storage_no_permissions__tip"));
}

QString overlapText()
{
    //% "The new place must lie neither in the present one nor around it."
    return translated(QT_TRID_NOOP("storage_places_overlap_tip"));
}

QString unfinishedText()
{
    //% "The last move has not finished yet."
    return translated(QT_TRID_NOOP("storage_move_unfinished_tip"));
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

/// The combinations of model source type and file type, each with its folder below an account's.
struct MediaFolder {
    int modelType;
    int fileType;
    QString path; // two file types share one
};

const QList<MediaFolder> &mediaFolders()
{
    static const QList<MediaFolder> table = [] {
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
    }();
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

bool overlap(const QString &source, const QString &target)
{
    return isWithin(source, target) || isWithin(target, source);
}

} // namespace

/// The background part of a move: what is left at the old place goes to the new one.
class AppDataMove::Carrier
{
public:
    Carrier(AppDataMove *move, Plan &&plan)
        : m_move(move), m_manager(move->m_manager), m_cancelled(move->m_cancelled),
          m_settings(AppSettingModel::instance()), m_plan(std::move(plan))
    {
    }

    FolderMove::Result run()
    {
        // Without a map, because the stored one was damaged, all that is still there is to be moved.
        if (m_plan.accounts.isEmpty()) {
            for (const qint64 id : m_manager->getAccountIds())
                m_plan.accounts.insert(QString::number(id), QVariant());
        }
        const QStringList ids = m_plan.accounts.keys();
        m_plan.bytes = 0;
        for (const QString &id : ids) {
            if (m_cancelled)
                return FolderMove::Cancelled;
            const QVariantList entries = surveyAccount(m_plan.source, id, &m_plan.bytes);
            if (m_plan.accounts.value(id).isNull())
                m_plan.accounts.insert(id, toJsonText(entries));
        }
        m_sinceShown.start();

        FolderMove::Result result = FolderMove::Done;
        for (const QString &id : ids) {
            const FolderMove::Result ofAccount = carryAccount(id);
            if (isGone(id))
                forget(id);
            else if (m_cancelled)
                return FolderMove::Cancelled;
            else if (result == FolderMove::Done)
                result = ofAccount;
        }
        return result;
    }

    qint64 totalBytes() const { return m_plan.bytes; }

private:
    bool isGone(const QString &id) const
    {
        // An account that could not be opened this time is still one of those signed in. The flag
        // is read last: who gives the manager up sets it before the accounts are forgotten.
        const qint64 number = id.toLongLong();
        return !m_manager->getAccountIds().contains(number)
            && !m_settings->accountIds().contains(number) && !m_cancelled;
    }

    void forget(const QString &id)
    {
        m_plan.accounts.remove(id);
        store();
        Util::removeLocalFolder(m_plan.target + accountFolder(id));
    }

    FolderMove::Result carryAccount(const QString &id)
    {
        QVariantList entries = fromJsonText(m_plan.accounts.value(id));
        for (QVariant &entry : entries) {
            if (isGone(id))
                return FolderMove::Cancelled;
            QVariantMap fields = entry.toMap();
            const auto markMoved = [&] {
                fields.insert(movedKey(), true);
                entry = fields;
                m_plan.accounts.insert(id, toJsonText(entries));
                return store();
            };
            const FolderMove::Result result = carryFolder(id, fields, markMoved);
            if (result != FolderMove::Done)
                return result;
        }
        return FolderMove::Done;
    }

    /// A folder that is marked as moved may have files left: some without bytes, originals that a
    /// kill has saved, or what has come since.
    template <typename MarkMoved>
    FolderMove::Result carryFolder(const QString &id, const QVariantMap &fields,
                                   MarkMoved markMoved)
    {
        const FolderMove::Task task = {
            m_plan.source, m_plan.target,
            ModelBaseUtil::makeMediaPath(accountFolder(id), fields.value(modelTypeKey()).toInt(),
                                         fields.value(fileTypeKey()).toInt()),
            m_plan.target + accountFolder(id) + QStringLiteral(".moving")};
        for (int round = 0; round < rounds; ++round) {
            FolderMove move(task, [this](qint64 count) { return advance(count); });
            if (const FolderMove::Result result = move.copy(); result != FolderMove::Done)
                return result;
            if (m_cancelled)
                return FolderMove::Cancelled;
            // The originals go only after what says so is on the disk.
            if (!fields.value(movedKey()).toBool() && !markMoved())
                return FolderMove::NoSpace;
            if (move.removeOriginals())
                return FolderMove::Done;
        }
        ImLog::error(lcMove(), QStringLiteral("A data move is behind files that keep changing"));
        return FolderMove::Failed;
    }

    bool store()
    {
        m_settings->setMovedDataInfo(mapToJson(m_plan.accounts));
        return m_settings->flush();
    }

    bool advance(qint64 count)
    {
        m_movedBytes += count;
        if (m_sinceShown.elapsed() >= progressMs) {
            m_sinceShown.start();
            QMetaObject::invokeMethod(
                m_move,
                [move = m_move, moved = m_movedBytes, total = m_plan.bytes] {
                    move->setProgress(moved, total);
                },
                Qt::QueuedConnection);
        }
        return !m_cancelled;
    }

    AppDataMove *const m_move;
    const AccountManager *const m_manager;
    const std::atomic<bool> &m_cancelled;
    AppSettingModel *const m_settings;
    Plan m_plan;
    qint64 m_movedBytes = 0;
    QElapsedTimer m_sinceShown;
};

AppDataMove::AppDataMove(QObject *parent) : QObject(parent) { }

AppDataMove::~AppDataMove()
{
    reset();
}

bool AppDataMove::moveTo(const QString &targetDirectory)
{
    m_manager = AccountManager::getInstance();
    const auto refuse = [this](const char *reason, const QString &text) {
        ImLog::error(lcMove(), QStringLiteral("Data move refused: ") + QLatin1String(reason));
        Q_EMIT m_manager->error(0, text, 0);
        return false;
    };

    if (m_running)
        return refuse("the last one has not finished", unfinishedText());
    Plan plan;
    plan.source = AppDirManager::instance()->cacheDataDir();
    const QString path = Util::toLocalFile(targetDirectory);
    if (plan.source.isEmpty() || path.isEmpty() || !path.isValidUtf16())
        return refuse("no directory", permissionText());
    plan.target = QDir::toNativeSeparators(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
    if (!plan.target.endsWith(Util::separator()))
        plan.target += Util::separator();
    if (overlap(plan.source, plan.target))
        return refuse("one directory holds the other", overlapText());
    const AppSettingModel *settings = AppSettingModel::instance();
    // A move that has not finished can be taken back; and without its old place it never will be.
    if (const QDir oldPlace(settings->oldCacheDataPath());
        !settings->movedDataInfo().isEmpty() && oldPlace.exists()) {
        if (oldPlace != QDir(plan.target))
            return refuse("the last one has not finished", unfinishedText());
        plan.undoneSource = settings->oldCacheDataPath();
        plan.undoneInfo = settings->movedDataInfo();
    }

    for (const qint64 id : m_manager->getAccountIds())
        plan.accounts.insert(QString::number(id), QVariant());
    begin();
    run(plan, &AppDataMove::survey);
    return true;
}

void AppDataMove::resume()
{
    AppSettingModel *settings = AppSettingModel::instance();
    const QByteArray info = settings->movedDataInfo();
    if (m_running || info.isEmpty())
        return;
    m_manager = AccountManager::getInstance();
    Plan plan;
    plan.source = settings->oldCacheDataPath();
    plan.target = settings->cacheDataPath();
    plan.accounts = readAccounts(info);

    // A disk that is not there may come back.
    if (plan.source.isEmpty() || !QFileInfo(plan.source).isDir()) {
        ImLog::error(lcMove(),
                     QStringLiteral("A data move cannot go on: the old place is not there"));
        return;
    }
    begin();
    if (!QFileInfo(plan.target).isDir())
        fail("the new place is not there", permissionText());
    else if (overlap(plan.source, plan.target))
        fail("one directory holds the other", overlapText());
    else
        run(plan, &AppDataMove::carryOver);
}

void AppDataMove::cancel()
{
    m_cancelled = true;
}

void AppDataMove::reset()
{
    cancel();
    if (m_task.valid())
        m_task.wait();
}

void AppDataMove::begin()
{
    // The manager forgets its accounts when it is given up: none of them is gone then.
    connect(m_manager, &AccountManager::beginReset, this, &AppDataMove::cancel,
            Qt::UniqueConnection);
    m_cancelled = false;
    m_running = true;
    Q_EMIT runningChanged();
    setProgress(0, 0);
}

void AppDataMove::run(const Plan &plan, void (AppDataMove::*work)(Plan))
{
    // Also a task that is dropped unrun makes the future ready.
    const auto task =
        std::make_shared<std::packaged_task<void()>>([this, plan, work] { (this->*work)(plan); });
    m_task = task->get_future();
    ThreadManager::run([task] { (*task)(); }, true);
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
    if (m_cancelled)
        return end(false);
    setProgress(0, plan.bytes);
    const QStorageInfo storage(plan.target);
    if (!storage.isValid() || storage.bytesAvailable() < plan.bytes)
        return fail("too little space", spaceText());

    // Stored in one step first, so that no kill leaves new paths without the map, or half of them.
    AppSettingModel *settings = AppSettingModel::instance();
    const QByteArray info = mapToJson(plan.accounts);
    settings->saveToConfig({{QStringLiteral("cache_data_path"), plan.target},
                            {QStringLiteral("old_cache_data_path"), plan.source},
                            {QStringLiteral("moved_data_info"), info}});
    settings->setCacheDataPath(plan.target, true);
    settings->setOldCacheDataPath(plan.source);
    settings->setMovedDataInfo(info);
    AppDirManager::instance()->updateCacheDataDir(plan.target, plan.source);
    m_manager->updateUserCacheDataPath();

    const bool stored = settings->flush();
    if (stored && !plan.accounts.isEmpty()
        && Util::mkpath(plan.target + accountFolder(plan.accounts.firstKey())))
        return run(plan, &AppDataMove::carryOver);

    Q_EMIT m_manager->error(0, stored ? permissionText() : spaceText(), 0);
    settings->saveToConfig({{QStringLiteral("cache_data_path"), plan.source},
                            {QStringLiteral("old_cache_data_path"), plan.undoneSource},
                            {QStringLiteral("moved_data_info"), plan.undoneInfo}});
    settings->setCacheDataPath(plan.source, true);
    settings->setOldCacheDataPath(plan.undoneSource);
    settings->setMovedDataInfo(plan.undoneInfo);
    m_running = false;
    AppDirManager::instance()->updateCacheDataDir(plan.source, plan.undoneSource);
    m_manager->updateUserCacheDataPath();
    settings->flush();
    end(false);
}

void AppDataMove::carryOver(Plan plan)
{
    Carrier carrier(this, std::move(plan));
    const FolderMove::Result result = carrier.run();
    QMetaObject::invokeMethod(
        this, [this, result, bytes = carrier.totalBytes()] { complete(result, bytes); },
        Qt::QueuedConnection);
}

void AppDataMove::complete(int result, qint64 bytes)
{
    switch (result) {
    case FolderMove::Done:
        AppSettingModel::instance()->setMovedDataInfo({});
        setProgress(bytes, bytes);
        return end(true);
    case FolderMove::Cancelled:
        return end(false);
    case FolderMove::NoSpace:
        return fail("too little space", spaceText());
    default:
        return fail("something could not be moved", permissionText());
    }
}

void AppDataMove::fail(const char *reason, const QString &text)
{
    ImLog::error(lcMove(), QStringLiteral("Data move: ") + QLatin1String(reason));
    Q_EMIT m_manager->error(0, text, 0);
    end(false);
}

void AppDataMove::end(bool ok)
{
    m_running = false;
    if (ok && std::exchange(m_percent, 100) != 100)
        Q_EMIT percentChanged();
    Q_EMIT runningChanged();
    Q_EMIT finished(ok);
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
