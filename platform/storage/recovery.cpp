#include "storage/recovery_p.h"

#include "base/privatefile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace storage
{
namespace
{

// A row takes at least this many bytes, which limits the number of rows in a file.
constexpr int64_t leastRowBytes = 16;
// Unreadable ranges after which a table is abandoned: a few seconds.
constexpr int maxFailures = 400'000;

constexpr QLatin1StringView recoveringSuffix("-recovering");
constexpr QLatin1StringView copySuffix("-recovering-copy");
constexpr QLatin1StringView journalSuffix("-journal");
constexpr QLatin1StringView walSuffix("-wal");
constexpr QLatin1StringView shmSuffix("-shm");

[[noreturn]] void fail(const char *what, const QString &path)
{
    throw std::runtime_error(std::string(what) + ' ' + path.toStdString());
}

void removeDatabase(const QString &path)
{
    for (const auto suffix : {QLatin1StringView(), journalSuffix, walSuffix, shmSuffix})
        QFile::remove(path + suffix);
}

/// Runs `scan`; false when damage ended it. Throws other errors.
template <typename Scan>
bool untilDamage(Scan scan)
{
    try {
        scan();
        return true;
    } catch (const SQLite::Exception &e) {
        if (!isDamage(e.getErrorCode()))
            throw;
        return false;
    }
}

struct Table {
    std::string name;
    std::string columns;
};

std::vector<Table> tablesOf(SQLite::Database &database)
{
    std::vector<Table> tables;
    SQLite::Statement rows(database,
                           "SELECT t.name, group_concat(c.name) "
                           "FROM main.sqlite_schema t, pragma_table_info(t.name) c "
                           "WHERE t.type = 'table' AND t.name NOT LIKE 'sqlite_%' GROUP BY t.name");
    while (rows.executeStep())
        tables.push_back({rows.getColumn(0).getString(), rows.getColumn(1).getString()});
    return tables;
}

/// The new database as "main" and the damaged one as "damaged", on one connection.
class Carrier
{
public:
    explicit Carrier(const QString &freshPath)
        : m_database(freshPath.toStdString(), SQLite::OPEN_READWRITE)
    {
        // The damaged file's log must stay unchanged when it is closed.
        sqlite3_db_config(m_database.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        m_database.exec("PRAGMA cell_size_check = ON");
        m_database.exec("PRAGMA secure_delete = ON");
    }

    void makeSchema(const SchemaSteps &steps, int version)
    {
        SQLite::Transaction transaction(m_database);
        migrate(m_database, steps, 0, version);
        transaction.commit();
        m_tables = tablesOf(m_database);
    }

    /// False when not even the tables can be found in it.
    bool attach(const QString &damagedPath)
    {
        // Lets SQLite open a file that is shorter than its header claims.
        m_database.exec("PRAGMA writable_schema = ON");
        SQLite::Statement statement(m_database, "ATTACH ? AS damaged");
        statement.bind(1, damagedPath.toStdString());
        try {
            statement.exec();
            for (const Table &table : m_tables)
                SQLite::Statement(m_database,
                                  "SELECT " + table.columns + " FROM damaged." + table.name);
            return true;
        } catch (const SQLite::Exception &e) {
            // A generic error means a missing column or table.
            if (!isDamage(e.getErrorCode()) && e.getErrorCode() != SQLITE_ERROR)
                throw;
            m_database.tryExec("DETACH damaged");
            return false;
        }
    }

    /// Not in one transaction: SQLite refuses further writes after damage inside one.
    qint64 carryRows(const QString &damagedPath)
    {
        m_database.exec("PRAGMA main.synchronous = OFF");
        m_database.exec("PRAGMA main.journal_mode = MEMORY");
        const int64_t beyond = QFileInfo(damagedPath).size() / leastRowBytes;
        qint64 count = 0;
        for (const Table &table : m_tables)
            count += carryRows(table, 1, lastRow(table, beyond));
        // This brings everything so far to the disk.
        m_database.exec("PRAGMA main.synchronous = FULL");
        m_database.exec("PRAGMA main.user_version = "
                        + m_database.execAndGet("PRAGMA main.user_version").getString());
        return count;
    }

private:
    /// An upper bound of the row numbers, as far as can be determined: if there is damage, both
    /// ends of the table are tried, and rows are searched for beyond the last one that can be read.
    int64_t lastRow(const Table &table, int64_t beyond)
    {
        const std::string from = "SELECT rowid FROM damaged." + table.name + " NOT INDEXED ";
        int64_t last = 0;
        const bool sound = untilDamage([&] {
            SQLite::Statement rows(m_database, from + "ORDER BY rowid");
            while (rows.executeStep())
                last = std::max(last, rows.getColumn(0).getInt64());
        });
        if (sound)
            return last;
        last += beyond;
        untilDamage([&] {
            SQLite::Statement row(m_database, from + "ORDER BY rowid DESC LIMIT 1");
            if (row.executeStep())
                last = std::max(last, row.getColumn(0).getInt64());
        });
        return last;
    }

    /// Copies a range of row numbers at once; if there is damage inside, one half after the other,
    /// down to the single rows that are lost.
    qint64 carryRows(const Table &table, int64_t first, int64_t last)
    {
        // If a damaged index allowed a key twice, the later row was saved last.
        const std::string copy = "INSERT OR REPLACE INTO main." + table.name + " (" + table.columns
            + ") SELECT " + table.columns + " FROM damaged." + table.name + " NOT INDEXED WHERE ";
        SQLite::Statement several(m_database, copy + "rowid BETWEEN ? AND ?");
        // A range searches for its end, which for the last row of a page is on the next page.
        SQLite::Statement single(m_database, copy + "rowid = ?");
        qint64 count = 0;
        int failures = 0;
        std::vector<std::pair<int64_t, int64_t>> ranges{{first, last}};
        while (!ranges.empty() && failures < maxFailures) {
            const auto [from, to] = ranges.back();
            ranges.pop_back();
            SQLite::Statement &carry = from < to ? several : single;
            try {
                carry.bind(1, from);
                if (from < to)
                    carry.bind(2, to);
                count += carry.exec();
            } catch (const SQLite::Exception &e) {
                if (!isDamage(e.getErrorCode()) && e.getErrorCode() != SQLITE_CONSTRAINT)
                    throw;
                ++failures;
                if (from < to) {
                    const int64_t middle = from + (to - from) / 2;
                    ranges.push_back({middle + 1, to});
                    ranges.push_back({from, middle});
                }
            }
            carry.tryReset();
        }
        return count;
    }

    SQLite::Database m_database;
    std::vector<Table> m_tables;
};

/// The damaged file's schema version, if it can be determined; else the newest.
int versionOf(const QString &damagedPath, int newest)
{
    try {
        SQLite::Database database(damagedPath.toStdString(), SQLite::OPEN_READWRITE);
        sqlite3_db_config(database.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        database.exec("PRAGMA writable_schema = ON");
        const int version = database.execAndGet("PRAGMA user_version").getInt();
        return version >= 1 && version <= newest ? version : newest;
    } catch (const SQLite::Exception &) {
        return newest;
    }
}

/// A copy of the damaged file with the first page of the new one. That page holds the file header
/// and the start of each table, which is the same in every file of one schema: so the rows of a
/// file whose beginning was overwritten can be found.
void copyUnderFirstPage(const QString &damagedPath, const QString &freshPath,
                        const QString &copyPath)
{
    QFile fresh(freshPath);
    QFile copy(copyPath);
    if (!QFile::copy(damagedPath, copyPath))
        fail("cannot write", copyPath);
    if (QFile::exists(damagedPath + walSuffix)
        && !QFile::copy(damagedPath + walSuffix, copyPath + walSuffix))
        fail("cannot write", copyPath + walSuffix);
    if (!fresh.open(QFile::ReadOnly) || !copy.open(QFile::ReadWrite))
        fail("cannot write", copyPath);
    QByteArray header = fresh.read(100);
    if (header.size() < 100)
        fail("cannot read", freshPath);
    const int pageSize = quint8(header[16]) << 8 | quint8(header[17]);
    QByteArray page = header + fresh.read(pageSize - header.size());
    page[18] = page[19] = 2; // write-ahead log
    const quint32 pages = quint32((copy.size() + pageSize - 1) / pageSize);
    for (int i = 0; i < 4; ++i)
        page[28 + i] = char(pages >> (24 - 8 * i));
    if (copy.write(page) != page.size())
        fail("cannot write", copyPath);
}

QString asideName(const QString &filePath)
{
    const QString name = filePath + QStringLiteral(".damaged-")
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HHmmss"));
    QString free = name;
    for (int i = 2; QFile::exists(free); ++i)
        free = name + QStringLiteral("-%1").arg(i);
    return free;
}

} // namespace

bool isDamage(int sqliteResult)
{
    const int primary = sqliteResult & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

Recovery recoverDatabase(const QString &filePath, const SchemaSteps &steps)
{
    const QString freshPath = filePath + recoveringSuffix;
    const QString copyPath = filePath + copySuffix;
    removeDatabase(freshPath);
    removeDatabase(copyPath);
    Recovery result;
    try {
        createPrivateFile(freshPath);
        Carrier carrier(freshPath);
        carrier.makeSchema(steps, versionOf(filePath, int(steps.size())));
        bool readable = carrier.attach(filePath);
        if (!readable) {
            copyUnderFirstPage(filePath, freshPath, copyPath);
            readable = carrier.attach(copyPath);
        }
        if (readable)
            result.rows = carrier.carryRows(filePath);
    } catch (...) {
        removeDatabase(copyPath);
        removeDatabase(freshPath);
        throw;
    }
    removeDatabase(copyPath);

    // Move the log first: beside the log of another file, the new file would be damaged.
    result.setAside = asideName(filePath);
    for (const auto suffix : {walSuffix, shmSuffix, QLatin1StringView()}) {
        if (QFile::exists(filePath + suffix)
            && !QFile::rename(filePath + suffix, result.setAside + suffix))
            fail("cannot rename", filePath + suffix);
    }
    if (!QFile::rename(freshPath, filePath))
        fail("cannot rename", freshPath);
    return result;
}

void finishRecovery(const QString &filePath)
{
    const QString freshPath = filePath + recoveringSuffix;
    if (!QFile::exists(filePath) && QFile::exists(freshPath) && !QFile::rename(freshPath, filePath))
        fail("cannot rename", freshPath);
}

void createPrivateFile(const QString &filePath)
{
    QString error;
    if (!privatefile::create(filePath, &error))
        throw std::runtime_error(error.toStdString());
}

void migrate(SQLite::Database &connection, const SchemaSteps &steps, int from, int to)
{
    for (int version = from; version < to; ++version)
        connection.exec(steps[std::size_t(version)]);
    if (connection.execAndGet("PRAGMA user_version").getInt() != to)
        connection.exec("PRAGMA user_version = " + std::to_string(to));
}

} // namespace storage
