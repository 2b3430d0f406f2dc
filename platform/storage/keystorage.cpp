#include "storage/keystorage.h"

#include "storage/database_p.h"
#include "storage/valuecodec_p.h"

#include <SQLiteCpp/SQLiteCpp.h>

namespace storage
{
namespace
{

constexpr const char *reading = "read the key rows of";
constexpr const char *writing = "write the key rows of";

void bindKey(SQLite::Statement &row, const QString &kind, const QString &id, int version)
{
    codec::bindText(row, 1, kind);
    codec::bindText(row, 2, id);
    row.bind(3, version);
}

QByteArray readBlob(const SQLite::Column &column)
{
    return QByteArray(static_cast<const char *>(column.getBlob()), column.getBytes());
}

/// The rows of a statement that selects kind, id, version and value.
QList<KeyInfo> readInfos(SQLite::Statement &rows)
{
    QList<KeyInfo> infos;
    while (rows.executeStep()) {
        infos.append({codec::readText(rows.getColumn(0)), codec::readText(rows.getColumn(1)),
                      rows.getColumn(2).getInt(), readBlob(rows.getColumn(3))});
    }
    return infos;
}

void insert(SQLite::Statement &row, const KeyInfo &info)
{
    bindKey(row, info.kind, info.id, info.version);
    row.bind(4, info.value.constData(), int(info.value.size()));
    row.exec();
}

} // namespace

KeyStorage::KeyStorage(std::shared_ptr<Database> database) : m_database(std::move(database)) { }

KeyStorage::~KeyStorage() = default;

bool KeyStorage::isOpen() const
{
    return m_database->isOpen();
}

std::optional<QByteArray> KeyStorage::value(const QString &kind, const QString &id,
                                            int version) const
{
    std::optional<QByteArray> value;
    m_database->read(reading, [&] {
        SQLite::Statement &row = m_database->statement(
            "SELECT value FROM keys WHERE kind = ? AND id = ? AND version = ?");
        bindKey(row, kind, id, version);
        if (row.executeStep())
            value = readBlob(row.getColumn(0));
    });
    return value;
}

bool KeyStorage::contains(const QString &kind, const QString &id, int version) const
{
    return value(kind, id, version).has_value();
}

QList<KeyInfo> KeyStorage::infos(const QString &kind, const QString &id, int fromVersion,
                                 int toVersion) const
{
    QList<KeyInfo> infos;
    m_database->read(reading, [&] {
        SQLite::Statement &rows = m_database->statement(
            "SELECT kind, id, version, value FROM keys WHERE kind = ? AND id = ? "
            "AND version BETWEEN ? AND ? ORDER BY version");
        bindKey(rows, kind, id, fromVersion);
        rows.bind(4, toVersion);
        infos = readInfos(rows);
    });
    return infos;
}

std::optional<QList<KeyInfo>> KeyStorage::allInfos() const
{
    std::optional<QList<KeyInfo>> infos;
    m_database->read(reading, [&] {
        infos = readInfos(m_database->statement(
            "SELECT kind, id, version, value FROM keys ORDER BY kind, id, version"));
    });
    return infos;
}

std::optional<QList<KeyInfo>> KeyStorage::allInfos(const QString &kind) const
{
    std::optional<QList<KeyInfo>> infos;
    m_database->read(reading, [&] {
        SQLite::Statement &rows = m_database->statement(
            "SELECT kind, id, version, value FROM keys WHERE kind = ? ORDER BY id, version");
        codec::bindText(rows, 1, kind);
        infos = readInfos(rows);
    });
    return infos;
}

bool KeyStorage::save(const KeyInfo &info)
{
    return m_database->writeSynced(writing, [&] {
        insert(m_database->statement(
                   "INSERT INTO keys (kind, id, version, value) VALUES (?, ?, ?, ?) "
                   "ON CONFLICT (kind, id, version) DO UPDATE SET value = excluded.value"),
               info);
    });
}

bool KeyStorage::saveIfAbsent(const KeyInfo &info)
{
    return m_database->writeSynced(writing, [&] {
        insert(
            m_database->statement("INSERT INTO keys (kind, id, version, value) VALUES (?, ?, ?, ?) "
                                  "ON CONFLICT (kind, id, version) DO NOTHING"),
            info);
    });
}

bool KeyStorage::remove(const QString &kind, const QString &id, int version)
{
    const bool done = m_database->writeSynced(writing, [&] {
        SQLite::Statement &row =
            m_database->statement("DELETE FROM keys WHERE kind = ? AND id = ? AND version = ?");
        bindKey(row, kind, id, version);
        row.exec();
    });
    if (done)
        m_database->clearLog();
    return done;
}

bool KeyStorage::removeAll()
{
    const bool done =
        m_database->writeSynced(writing, [&] { m_database->statement("DELETE FROM keys").exec(); });
    if (done)
        m_database->clearLog();
    return done;
}

} // namespace storage
