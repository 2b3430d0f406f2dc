#include "storage/settingstorage.h"

#include "storage/rowtable_p.h"

namespace storage
{

SettingStorage::SettingStorage(std::shared_ptr<Database> database)
    : m_rows(std::make_shared<RowTable<SettingInfo>>(std::move(database), "settings"))
{
}

SettingStorage::SettingStorage(const SettingStorage &) = default;

SettingStorage::~SettingStorage() = default;

bool SettingStorage::isStorable(const QVariant &value)
{
    return codec::isStorable(value);
}

bool SettingStorage::isOpen() const
{
    return m_rows->isOpen();
}

bool SettingStorage::closedInCrash() const
{
    return m_rows->closedInCrash();
}

QList<SettingInfo> SettingStorage::allInfos() const
{
    return m_rows->allInfos();
}

bool SettingStorage::save(const SettingInfo &info)
{
    return apply({false, {}, {info}});
}

bool SettingStorage::remove(const QString &key)
{
    return apply({false, {key}, {}});
}

bool SettingStorage::removeAll()
{
    return apply({true, {}, {}});
}

bool SettingStorage::clearLog()
{
    return m_rows->clearLog();
}

bool SettingStorage::apply(const SettingChanges &changes)
{
    return m_rows->apply(changes);
}

bool SettingStorage::apply(const SettingChanges &changes, QDeadlineTimer deadline)
{
    return m_rows->apply(changes, deadline);
}

bool SettingStorage::sync(QDeadlineTimer deadline)
{
    return m_rows->sync(deadline);
}

} // namespace storage
