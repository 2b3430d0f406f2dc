#include "client/messagestore.h"

#include "client/clienterror.h"

#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <sqlite3.h>

namespace
{

constexpr int schemaVersion = 2; // 2: "beside"

ClientError storeError(const QString &path, const SQLite::Exception &error)
{
    switch (error.getErrorCode()) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return {
            BadData,
            QStringLiteral("The message store %1 is damaged (%2).\nMove it away and start again: "
                           "the messages come back when the feed is played.")
                .arg(path, QString::fromUtf8(error.what()))};
    case SQLITE_BUSY:
        return {BadData,
                QStringLiteral("The message store %1 is in use by another program. Close it first.")
                    .arg(path)};
    default:
        return {
            BadData,
            QStringLiteral("The message store %1 cannot be used: %2.\nIs there room on the disk, "
                           "and may you write there?")
                .arg(path, QString::fromUtf8(error.what()))};
    }
}

SQLite::Database opened(const QString &path)
try {
    SQLite::Database database(path.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE,
                              5000);
    const std::string state = database.execAndGet("PRAGMA quick_check(1)").getString();
    if (state != "ok")
        throw SQLite::Exception(state, SQLITE_CORRUPT);
    database.exec("PRAGMA journal_mode = WAL");
    database.exec("PRAGMA synchronous = FULL"); // kept means kept, even when the power fails
    const int version = database.execAndGet("PRAGMA user_version").getInt();
    if (version > schemaVersion)
        throw SQLite::Exception("a newer version of this program has written it", SQLITE_ERROR);
    if (version == 1)
        database.exec("BEGIN; ALTER TABLE message ADD COLUMN beside BLOB NOT NULL DEFAULT x'';"
                      "PRAGMA user_version = 2; COMMIT");
    database.exec(R"(
        BEGIN;
        CREATE TABLE IF NOT EXISTS message (
            number INTEGER PRIMARY KEY,
            dialog TEXT NOT NULL,
            id INTEGER NOT NULL,
            sender INTEGER NOT NULL,
            time INTEGER NOT NULL,
            version INTEGER NOT NULL,
            content BLOB NOT NULL,
            width INTEGER NOT NULL,
            height INTEGER NOT NULL,
            lines INTEGER NOT NULL,
            measure_width INTEGER NOT NULL,
            measure_font_size INTEGER NOT NULL,
            kept_at INTEGER NOT NULL,
            beside BLOB NOT NULL,
            UNIQUE (dialog, id)
        ) STRICT;
        CREATE TABLE IF NOT EXISTS name (
            id TEXT PRIMARY KEY,
            name TEXT NOT NULL
        ) STRICT, WITHOUT ROWID;
        PRAGMA user_version = 2;
        COMMIT)");
    return database;
} catch (const SQLite::Exception &error) {
    throw storeError(path, error);
}

QString text(const SQLite::Column &column)
{
    return QString::fromStdString(column.getString());
}

} // namespace

MessageStore::MessageStore(const QString &path) : m_path(path), m_database(opened(path)) { }

template <typename Action>
auto MessageStore::guarded(Action action) const
try {
    return action();
} catch (const SQLite::Exception &error) {
    throw storeError(m_path, error);
}

QList<KeptMessage> MessageStore::messages() const
{
    return guarded([this] {
        QList<KeptMessage> messages;
        SQLite::Statement select(
            m_database,
            "SELECT number, dialog, id, sender, time, version, content, width, height, "
            "lines, measure_width, measure_font_size, kept_at, beside "
            "FROM message ORDER BY number");
        while (select.executeStep()) {
            KeptMessage message;
            message.number = select.getColumn(0).getInt64();
            message.dialogId = text(select.getColumn(1));
            message.messageId = select.getColumn(2).getInt();
            message.sender = select.getColumn(3).getInt();
            message.time = select.getColumn(4).getInt64();
            message.version = select.getColumn(5).getInt();
            message.content = select.getColumn(6).getString();
            message.size = {select.getColumn(7).getInt(), select.getColumn(8).getInt()};
            message.lineCount = select.getColumn(9).getInt();
            message.measure = {select.getColumn(10).getInt(), select.getColumn(11).getInt()};
            message.keptAt = select.getColumn(12).getInt64();
            message.beside = select.getColumn(13).getString();
            messages.append(message);
        }
        return messages;
    });
}

bool MessageStore::contains(const QString &dialogId, int messageId) const
{
    return guarded([&] {
        SQLite::Statement select(m_database, "SELECT 1 FROM message WHERE dialog = ? AND id = ?");
        select.bind(1, dialogId.toStdString());
        select.bind(2, messageId);
        return select.executeStep();
    });
}

QHash<QString, QString> MessageStore::names() const
{
    return guarded([this] {
        QHash<QString, QString> names;
        SQLite::Statement select(m_database, "SELECT id, name FROM name");
        while (select.executeStep())
            names.insert(text(select.getColumn(0)), text(select.getColumn(1)));
        return names;
    });
}

void MessageStore::keep(const Batch &batch)
{
    guarded([&] {
        SQLite::Transaction transaction(m_database);
        // A message that is kept already is measured anew: all else about it stays.
        SQLite::Statement insert(
            m_database,
            "INSERT INTO message VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) "
            "ON CONFLICT (number) DO UPDATE SET width = excluded.width, height = excluded.height, "
            "lines = excluded.lines, measure_width = excluded.measure_width, "
            "measure_font_size = excluded.measure_font_size");
        for (const KeptMessage &message : batch.messages) {
            insert.reset();
            insert.bind(1, int64_t(message.number));
            insert.bind(2, message.dialogId.toStdString());
            insert.bind(3, message.messageId);
            insert.bind(4, message.sender);
            insert.bind(5, int64_t(message.time));
            insert.bind(6, message.version);
            insert.bind(7, message.content.data(), int(message.content.size()));
            insert.bind(8, message.size.width());
            insert.bind(9, message.size.height());
            insert.bind(10, message.lineCount);
            insert.bind(11, message.measure.width);
            insert.bind(12, message.measure.fontSize);
            insert.bind(13, int64_t(message.keptAt));
            insert.bind(14, message.beside.data(), int(message.beside.size()));
            insert.exec();
        }
        SQLite::Statement name(m_database,
                               "INSERT INTO name VALUES (?, ?) "
                               "ON CONFLICT DO UPDATE SET name = excluded.name");
        for (auto entry = batch.names.cbegin(); entry != batch.names.cend(); ++entry) {
            name.reset();
            name.bind(1, entry.key().toStdString());
            name.bind(2, entry.value().toStdString());
            name.exec();
        }
        transaction.commit();
    });
}
