#pragma once

#include "settings/appdatamove.h"
#include "settings/foldermove_p.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <atomic>
#include <utility>
#include <vector>

class AppSettingModel;

// The parts of AppDataMove.

struct AppDataMove::Plan {
    QString source; // both end in a separator
    QString target;
    /// The stored "moved_data_info": for each account's id, the list of its media folders as JSON
    /// text.
    QVariantMap accounts;
    qint64 bytes = 0;
    // The paths of the move that this one takes back.
    QString undoneSource;
    QByteArray undoneInfo;
};

/// A file that stays, and its folder in the stored map.
struct AppDataMove::Problem {
    QString id;     // of the account
    QString folder; // below the account's folder
    QString name;   // below that folder
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

/// The texts for the user, in the user's language; for a reason, also the words of the log.
namespace MoveTexts
{
QString of(AppDataMove::FileCause cause);
std::pair<QString, const char *> of(AppDataMove::Reason reason);
} // namespace MoveTexts

/// The background part of a move: carries the remaining files to the new place.
class AppDataMove::Carrier
{
public:
    Carrier(AppDataMove *move, Plan &&plan);

    Report run();

private:
    bool isStopped() const { return m_cancelled || m_abandoned; }
    bool hasSignedOut(const QString &id) const;
    FolderMove::Result carryAll(const QStringList &ids);
    FolderMove::Result carryAccount(const QString &id);
    template <typename MarkMoved>
    FolderMove::Result carryFolder(const QString &id, const QVariantMap &fields,
                                   MarkMoved markMoved);
    bool store();
    bool sync();
    void updateRecords(const QStringList &paths);
    bool advance(qint64 count);

    AppDataMove *const m_move;
    const std::atomic<bool> &m_cancelled;
    const std::atomic<bool> &m_abandoned;
    AppSettingModel *const m_settings;
    Plan m_plan;
    Report m_report;
    QElapsedTimer m_sinceShown;
};
