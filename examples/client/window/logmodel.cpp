#include "client/window/logmodel.h"

#include "imlog/imlog.h"

#include <QFile>

#include <algorithm>

namespace
{

constexpr int maxLines = 500;
constexpr qint64 maxBytes = 1 << 16; // of earlier lines
constexpr int interval = 1000;       // ms

} // namespace

LogModel::LogModel(QObject *parent) : QAbstractListModel(parent)
{
    connect(&m_timer, &QTimer::timeout, this, &LogModel::readOn);
    m_timer.start(interval);
    readOn();
}

int LogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant LogModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != Qt::DisplayRole)
        return {};
    return m_lines.at(index.row());
}

QString LogModel::file()
{
    return ImLog::instance()->directory() + QStringLiteral("/im.log");
}

void LogModel::readOn()
{
    ImLog::instance()->flush();
    QFile log(file());
    if (!log.open(QIODevice::ReadOnly))
        return;
    if (log.size() < m_position) // the log began a new file
        m_position = 0;
    m_position = std::max(m_position, log.size() - maxBytes);
    log.seek(m_position);
    QStringList lines = QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
    m_position = log.pos();
    if (lines.isEmpty())
        return;
    if (lines.size() > maxLines)
        lines = lines.last(maxLines);
    if (const auto excess = m_lines.size() + lines.size() - maxLines; excess > 0) {
        beginRemoveRows({}, 0, int(excess) - 1);
        m_lines.remove(0, excess);
        endRemoveRows();
    }
    beginInsertRows({}, count(), count() + int(lines.size()) - 1);
    m_lines += lines;
    endInsertRows();
    Q_EMIT read();
}
