#include "storage/rowstorage.h"

#include "storage/database_p.h"
#include "storage/valuecodec_p.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace storage
{

class RowStorage::Table : public std::enable_shared_from_this<Table>
{
public:
    Table(std::shared_ptr<Database> database, const std::string &table, bool hasRemarks)
        : m_database(std::move(database)), m_hasRemarks(hasRemarks), m_table(table),
          m_reading("read the rows of " + table + " in"),
          m_writing("write the rows of " + table + " in"),
          m_selectAll("SELECT key, type, value" + andRemark(", remark") + " FROM " + table
                      + " ORDER BY rowid"),
          m_selectOne("SELECT type, value FROM " + table + " WHERE key = ?"),
          m_removeAll("DELETE FROM " + table),
          m_removeOne("DELETE FROM " + table + " WHERE key = ?"),
          m_save("INSERT INTO " + table + " (key, type, value" + andRemark(", remark")
                 + ") VALUES (?, ?, ?" + andRemark(", ?")
                 + ") ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value"
                 + andRemark(", remark = excluded.remark"))
    {
    }

    bool isOpen() const { return m_database->isOpen(); }
    bool closedInCrash() const { return m_database->closedInCrash(); }

    /// Omits rows that cannot be read, with one log line.
    QList<Row> allInfos() const
    {
        QList<Row> all;
        QStringList unreadable;
        QString path;
        const bool complete = m_database->read(m_reading.c_str(), [&] {
            SQLite::Statement &rows = m_database->statement(m_selectAll);
            while (rows.executeStep()) {
                QString key = codec::readText(rows.getColumn(0));
                if (auto value = codec::readValue(rows.getColumn(1), rows.getColumn(2))) {
                    Row &row = all.emplaceBack();
                    row.key = std::move(key);
                    row.value = *std::move(value);
                    if (m_hasRemarks)
                        row.remark = codec::readText(rows.getColumn(3));
                } else {
                    unreadable.append(std::move(key));
                }
            }
            if (!unreadable.isEmpty())
                path = m_database->filePath();
        });
        if (!complete)
            return {};
        logUnreadable(unreadable, path);
        return all;
    }

    QVariant value(const QString &key) const
    {
        std::optional<QVariant> value = QVariant();
        QString path;
        const bool complete = m_database->read(m_reading.c_str(), [&] {
            SQLite::Statement &row = m_database->statement(m_selectOne);
            codec::bindText(row, 1, key);
            if (row.executeStep())
                value = codec::readValue(row.getColumn(0), row.getColumn(1));
            if (!value)
                path = m_database->filePath();
        });
        if (complete && value)
            return *value;
        if (complete)
            logUnreadable({key}, path);
        return {};
    }

    bool apply(const Changes &changes, QDeadlineTimer deadline)
    {
        struct Attempt {
            std::atomic_bool done = false;
            std::atomic_bool givenUp = false;
        };
        const auto attempt = std::make_shared<Attempt>();
        const bool inTime =
            Database::runUntil(deadline, [rows = this->shared_from_this(), changes, attempt] {
                attempt->done = rows->apply(changes, attempt->givenUp);
            });
        attempt->givenUp = true;
        return inTime && attempt->done;
    }

    bool apply(const Changes &changes, const std::atomic_bool &givenUp = false)
    {
        const bool done = m_database->write(m_writing.c_str(), [&] {
            // Later changes may be written by now.
            if (givenUp)
                throw std::runtime_error("it has taken too long");
            if (changes.removeAll)
                m_database->statement(m_removeAll).exec();
            for (const QString &key : changes.removed) {
                SQLite::Statement &row = m_database->statement(m_removeOne);
                codec::bindText(row, 1, key);
                row.exec();
            }
            for (const Row &row : changes.saved) {
                SQLite::Statement &statement = m_database->statement(m_save);
                codec::bindText(statement, 1, row.key);
                codec::bindValue(statement, 2, row.value);
                if (m_hasRemarks)
                    codec::bindText(statement, 4, row.remark);
                statement.exec();
            }
        });
        if (done && changes.removeAll)
            clearLog();
        return done;
    }

    bool clearLog() { return m_database->clearLog(); }

    bool sync(QDeadlineTimer deadline)
    {
        if (deadline.isForever() || m_database->isSynced())
            return m_database->sync();
        const auto done = std::make_shared<std::atomic_bool>(false);
        return Database::runUntil(deadline,
                                  [database = m_database, done] { *done = database->sync(); })
            && *done;
    }

private:
    std::string andRemark(const char *sql) const { return m_hasRemarks ? sql : ""; }

    void logUnreadable(const QStringList &keys, const QString &path) const
    {
        if (keys.isEmpty())
            return;
        Database::log(QStringLiteral("%1 rows of %2 in %3 left out, their values cannot be read; "
                                     "the first is \"%4\"")
                          .arg(keys.size())
                          .arg(QString::fromStdString(m_table), path, keys.constFirst().left(64)));
    }

    const std::shared_ptr<Database> m_database;
    const bool m_hasRemarks;
    const std::string m_table;
    const std::string m_reading;
    const std::string m_writing;
    const std::string m_selectAll;
    const std::string m_selectOne;
    const std::string m_removeAll;
    const std::string m_removeOne;
    const std::string m_save;
};

RowStorage::RowStorage(std::shared_ptr<Database> database, const char *table, bool hasRemarks)
    : m_table(std::make_shared<Table>(std::move(database), table, hasRemarks))
{
}

RowStorage::RowStorage(const RowStorage &) = default;

RowStorage::~RowStorage() = default;

bool RowStorage::isStorable(const QVariant &value)
{
    return codec::isStorable(value);
}

bool RowStorage::isOpen() const
{
    return m_table->isOpen();
}

bool RowStorage::closedInCrash() const
{
    return m_table->closedInCrash();
}

QList<Row> RowStorage::allInfos() const
{
    return m_table->allInfos();
}

QVariant RowStorage::value(const QString &key) const
{
    return m_table->value(key);
}

bool RowStorage::save(const Row &row)
{
    return apply({false, {}, {row}});
}

bool RowStorage::remove(const QString &key)
{
    return apply({false, {key}, {}});
}

bool RowStorage::removeAll()
{
    return apply({true, {}, {}});
}

bool RowStorage::apply(const Changes &changes)
{
    return m_table->apply(changes);
}

bool RowStorage::apply(const Changes &changes, QDeadlineTimer deadline)
{
    return m_table->apply(changes, deadline);
}

bool RowStorage::clearLog()
{
    return m_table->clearLog();
}

bool RowStorage::sync(QDeadlineTimer deadline)
{
    return m_table->sync(deadline);
}

} // namespace storage
