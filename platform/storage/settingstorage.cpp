#include "storage/settingstorage.h"

#include "storage/database_p.h"
#include "storage/valuecodec_p.h"

#include <SQLiteCpp/SQLiteCpp.h>

namespace storage
{

SettingStorage::SettingStorage(std::shared_ptr<Database> database) : m_database(std::move(database))
{
}

SettingStorage::~SettingStorage() = default;

bool SettingStorage::isStorable(const QVariant &value)
{
    return codec::isStorable(value);
}

QList<SettingInfo> SettingStorage::allInfos() const
{
    QList<SettingInfo> infos;
    QStringList unreadable;
    QString path;
    const bool complete = m_database->read("read the setting rows of", [&] {
        SQLite::Statement &rows =
            m_database->statement("SELECT key, type, value, remark FROM settings ORDER BY rowid");
        while (rows.executeStep()) {
            QString key = codec::readText(rows.getColumn(0));
            if (std::optional<QVariant> value =
                    codec::readValue(rows.getColumn(1), rows.getColumn(2)))
                infos.append(
                    {std::move(key), *std::move(value), codec::readText(rows.getColumn(3))});
            else
                unreadable.append(std::move(key));
        }
        if (!unreadable.isEmpty())
            path = m_database->filePath();
    });
    if (complete && !unreadable.isEmpty()) {
        Database::log(QStringLiteral("%1 setting rows of %2 left out, their values cannot be read; "
                                     "the first is \"%3\"")
                          .arg(unreadable.size())
                          .arg(path, unreadable.constFirst().left(64)));
    }
    return complete ? infos : QList<SettingInfo>();
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

bool SettingStorage::apply(const SettingChanges &changes)
{
    return m_database->write("write the setting rows of", [&] {
        if (changes.removeAll)
            m_database->statement("DELETE FROM settings").exec();
        for (const QString &key : changes.removed) {
            SQLite::Statement &row = m_database->statement("DELETE FROM settings WHERE key = ?");
            codec::bindText(row, 1, key);
            row.exec();
        }
        for (const SettingInfo &info : changes.saved) {
            SQLite::Statement &row = m_database->statement(
                "INSERT INTO settings (key, type, value, remark) VALUES (?, ?, ?, ?) "
                "ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value, "
                "remark = excluded.remark");
            codec::bindText(row, 1, info.key);
            codec::bindValue(row, 2, info.value);
            codec::bindText(row, 4, info.remark);
            row.exec();
        }
    });
}

} // namespace storage
