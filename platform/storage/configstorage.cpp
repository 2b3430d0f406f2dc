#include "storage/configstorage.h"

#include "storage/rowtable_p.h"

namespace storage
{

ConfigStorage::ConfigStorage(std::shared_ptr<Database> database, const char *table)
    : m_rows(std::make_shared<RowTable<ConfigInfo>>(std::move(database), table))
{
}

ConfigStorage::ConfigStorage(const ConfigStorage &) = default;

ConfigStorage::~ConfigStorage() = default;

bool ConfigStorage::isOpen() const
{
    return m_rows->isOpen();
}

bool ConfigStorage::closedInCrash() const
{
    return m_rows->closedInCrash();
}

QList<ConfigInfo> ConfigStorage::allInfos() const
{
    return m_rows->allInfos();
}

QVariant ConfigStorage::value(const QString &key) const
{
    return m_rows->value(key);
}

bool ConfigStorage::save(const ConfigInfo &info)
{
    return apply({false, {}, {info}});
}

bool ConfigStorage::remove(const QString &key)
{
    return apply({false, {key}, {}});
}

bool ConfigStorage::apply(const ConfigChanges &changes)
{
    return m_rows->apply(changes);
}

bool ConfigStorage::apply(const ConfigChanges &changes, QDeadlineTimer deadline)
{
    return m_rows->apply(changes, deadline);
}

bool ConfigStorage::sync(QDeadlineTimer deadline)
{
    return m_rows->sync(deadline);
}

} // namespace storage
