#include "client/messagestore.h"

#include "base/privatefile.h"
#include "client/clienterror.h"

#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <sqlite3.h>

namespace
{

constexpr int schemaVersion = 3; // 2: "beside"; 3: groups, dialogs, reactions

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
    // SQLite would create a public file, but gives its other files the same permissions.
    if (!privatefile::create(path))
        privatefile::restrict(path);
    SQLite::Database database(path.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE,
                              5000);
    const std::string state = database.execAndGet("PRAGMA quick_check(1)").getString();
    if (state != "ok")
        throw SQLite::Exception(state, SQLITE_CORRUPT);
    database.exec("PRAGMA journal_mode = WAL");
    database.exec("PRAGMA synchronous = FULL"); // kept messages survive a power failure
    const int version = database.execAndGet("PRAGMA user_version").getInt();
    if (version > schemaVersion)
        throw SQLite::Exception("a newer version of this program has written it", SQLITE_ERROR);
    if (version == 1)
        database.exec("BEGIN; ALTER TABLE message ADD COLUMN beside BLOB NOT NULL DEFAULT x'';"
                      "PRAGMA user_version = 2; COMMIT");
    if (version == 1 || version == 2)
        database.exec("BEGIN; ALTER TABLE message ADD COLUMN grouped INTEGER NOT NULL DEFAULT 0;"
                      "ALTER TABLE message ADD COLUMN measure_style INTEGER NOT NULL DEFAULT 0;"
                      "PRAGMA user_version = 3; COMMIT");
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
            grouped INTEGER NOT NULL DEFAULT 0,
            measure_style INTEGER NOT NULL DEFAULT 0,
            UNIQUE (dialog, id)
        ) STRICT;
        CREATE INDEX IF NOT EXISTS message_place ON message (
            dialog, number, id, sender, time, grouped, width, height, measure_width,
            measure_font_size, measure_style);
        CREATE TABLE IF NOT EXISTS name (
            id TEXT PRIMARY KEY,
            name TEXT NOT NULL
        ) STRICT, WITHOUT ROWID;
        CREATE TABLE IF NOT EXISTS dialog (
            id TEXT PRIMARY KEY,
            sort_time INTEGER NOT NULL,
            unread INTEGER NOT NULL,
            muted INTEGER NOT NULL,
            archived INTEGER NOT NULL,
            tags TEXT NOT NULL,
            mentions BLOB NOT NULL,
            preview TEXT NOT NULL
        ) STRICT, WITHOUT ROWID;
        CREATE TABLE IF NOT EXISTS reaction (
            dialog TEXT NOT NULL,
            id INTEGER NOT NULL,
            record BLOB NOT NULL,
            PRIMARY KEY (dialog, id)
        ) STRICT, WITHOUT ROWID;
        PRAGMA user_version = 3;
        COMMIT)");
    return database;
} catch (const SQLite::Exception &error) {
    throw storeError(path, error);
}

const std::string selectMessages =
    "SELECT number, dialog, id, sender, time, version, content, width, height, lines, "
    "measure_width, measure_font_size, measure_style, kept_at, beside, grouped FROM message";

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

QList<KeptMessage> MessageStore::read(SQLite::Statement &select) const
{
    QList<KeptMessage> messages;
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
        message.measure = {select.getColumn(10).getInt(), select.getColumn(11).getInt(),
                           select.getColumn(12).getInt()};
        message.keptAt = select.getColumn(13).getInt64();
        message.beside = select.getColumn(14).getString();
        message.group = select.getColumn(15).getInt();
        messages.append(message);
    }
    return messages;
}

QList<KeptMessage> MessageStore::messages() const
{
    return guarded([this] {
        SQLite::Statement select(m_database, selectMessages + " ORDER BY number");
        return read(select);
    });
}

QList<KeptMessage> MessageStore::messages(const QString &dialogId, qint64 first, qint64 last,
                                          int group) const
{
    return guarded([&] {
        SQLite::Statement select(m_database,
                                 selectMessages
                                     + " WHERE dialog = ? AND number BETWEEN ? AND ? "
                                       "AND (grouped = ? OR number = ?) ORDER BY number");
        select.bind(1, dialogId.toStdString());
        select.bind(2, int64_t(first));
        select.bind(3, int64_t(last));
        select.bind(4, group);
        select.bind(5, int64_t(first));
        return read(select);
    });
}

QList<MessagePlace> MessageStore::places(const QString &dialogId, qint64 before, int limit) const
{
    return guarded([&] {
        QList<MessagePlace> places;
        SQLite::Statement select(m_database,
                                 "SELECT number, id, sender, time, grouped, width, height, "
                                 "measure_width, measure_font_size, measure_style FROM message "
                                 "WHERE dialog = ? AND number < ? ORDER BY number DESC LIMIT ?");
        select.bind(1, dialogId.toStdString());
        select.bind(2, int64_t(before));
        select.bind(3, limit);
        while (select.executeStep()) {
            const auto number = [&](int column) { return select.getColumn(column).getInt(); };
            places.append({.number = select.getColumn(0).getInt64(),
                           .messageId = number(1),
                           .sender = number(2),
                           .time = select.getColumn(3).getInt64(),
                           .group = number(4),
                           .size = {number(5), number(6)},
                           .measure = {number(7), number(8), number(9)}});
        }
        return places;
    });
}

QList<KeptDialog> MessageStore::dialogs() const
{
    return guarded([this] {
        QList<KeptDialog> dialogs;
        SQLite::Statement select(m_database,
                                 "SELECT id, sort_time, unread, muted, archived, tags, mentions, "
                                 "preview FROM dialog");
        while (select.executeStep()) {
            dialogs.append({.id = text(select.getColumn(0)),
                            .sortTime = select.getColumn(1).getInt64(),
                            .unread = select.getColumn(2).getInt(),
                            .muted = select.getColumn(3).getInt() != 0,
                            .archived = select.getColumn(4).getInt() != 0,
                            .tags = text(select.getColumn(5)).split(u',', Qt::SkipEmptyParts),
                            .mentions = QByteArray::fromStdString(select.getColumn(6).getString()),
                            .preview = text(select.getColumn(7))});
        }
        return dialogs;
    });
}

QHash<int, QByteArray> MessageStore::reactions(const QString &dialogId) const
{
    return guarded([&] {
        QHash<int, QByteArray> reactions;
        SQLite::Statement select(m_database, "SELECT id, record FROM reaction WHERE dialog = ?");
        select.bind(1, dialogId.toStdString());
        while (select.executeStep())
            reactions.insert(select.getColumn(0).getInt(),
                             QByteArray::fromStdString(select.getColumn(1).getString()));
        return reactions;
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

int MessageStore::senderOf(const QString &dialogId, int messageId) const
{
    return guarded([&] {
        SQLite::Statement select(m_database,
                                 "SELECT sender FROM message WHERE dialog = ? AND id = ?");
        select.bind(1, dialogId.toStdString());
        select.bind(2, messageId);
        return select.executeStep() ? select.getColumn(0).getInt() : 0;
    });
}

qint64 MessageStore::lastNumber() const
{
    return guarded([this] {
        return qint64(
            m_database.execAndGet("SELECT ifnull(max(number), 0) FROM message").getInt64());
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
        // If a message is kept already, only its size is updated.
        SQLite::Statement insert(
            m_database,
            "INSERT INTO message (number, dialog, id, sender, time, version, content, width, "
            "height, lines, measure_width, measure_font_size, kept_at, beside, grouped, "
            "measure_style) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) "
            "ON CONFLICT (number) DO UPDATE SET width = excluded.width, height = excluded.height, "
            "lines = excluded.lines, measure_width = excluded.measure_width, "
            "measure_font_size = excluded.measure_font_size, "
            "measure_style = excluded.measure_style");
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
            insert.bind(15, message.group);
            insert.bind(16, message.measure.style);
            insert.exec();
        }
        SQLite::Statement size(m_database,
                               "UPDATE message SET width = ?, height = ?, measure_width = ?, "
                               "measure_font_size = ?, measure_style = ? WHERE number = ?");
        for (const MessagePlace &place : batch.sizes) {
            size.reset();
            size.bind(1, place.size.width());
            size.bind(2, place.size.height());
            size.bind(3, place.measure.width);
            size.bind(4, place.measure.fontSize);
            size.bind(5, place.measure.style);
            size.bind(6, int64_t(place.number));
            size.exec();
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
        SQLite::Statement dialog(m_database,
                                 "INSERT OR REPLACE INTO dialog VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
        for (const KeptDialog &kept : batch.dialogs) {
            dialog.reset();
            dialog.bind(1, kept.id.toStdString());
            dialog.bind(2, int64_t(kept.sortTime));
            dialog.bind(3, kept.unread);
            dialog.bind(4, int(kept.muted));
            dialog.bind(5, int(kept.archived));
            dialog.bind(6, kept.tags.join(u',').toStdString());
            dialog.bind(7, kept.mentions.constData(), int(kept.mentions.size()));
            dialog.bind(8, kept.preview.toStdString());
            dialog.exec();
        }
        transaction.commit();
    });
}

void MessageStore::keepReaction(const QString &dialogId, int messageId, const std::string &record)
{
    guarded([&] {
        SQLite::Statement insert(m_database, "INSERT OR REPLACE INTO reaction VALUES (?, ?, ?)");
        insert.bind(1, dialogId.toStdString());
        insert.bind(2, messageId);
        insert.bind(3, record.data(), int(record.size()));
        insert.exec();
    });
}
