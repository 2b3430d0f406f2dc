#pragma once

#include <SQLiteCpp/Database.h>

#include <QHash>
#include <QList>
#include <QSize>
#include <QString>

#include <string>

/// What a size depends on besides the message itself.
struct Measure {
    int width = 0;    ///< pixels
    int fontSize = 0; ///< pixels

    friend bool operator==(const Measure &, const Measure &) = default;
};

/// A message as the client keeps it: its content, and the size that it was shown at.
struct KeptMessage {
    qint64 number = 0; ///< 1 for the first message that was kept
    QString dialogId;
    int messageId = 0; ///< unique within its dialog
    int sender = 0;
    qint64 time = 0;     ///< ms since 1970, UTC
    int version = 0;     ///< im.Message.content_format_ver
    std::string content; ///< with `version`, what makeContentItem() takes
    std::string beside;  ///< the im.Message without its content: a poll's results, a group's number
    QSize size;          ///< pixels
    int lineCount = 0;
    Measure measure;
    qint64 keptAt = 0; ///< ms since 1970, UTC
};

/// The client's own messages: one SQLite database, apart from the stores of the model layer.
///
/// Every function throws a ClientError when the database cannot be read or written.
class MessageStore
{
public:
    explicit MessageStore(const QString &path);

    /// In the order they were kept.
    QList<KeptMessage> messages() const;
    bool contains(const QString &dialogId, int messageId) const;
    /// Names of people (by "U-<user id>") and of groups (by dialog id).
    QHash<QString, QString> names() const;

    /// What is written together: all of it is on the disk when keep() returns, or none.
    struct Batch {
        QList<KeptMessage> messages;
        QHash<QString, QString> names;
    };
    void keep(const Batch &batch);

private:
    template <typename Action>
    auto guarded(Action action) const;

    QString m_path;
    mutable SQLite::Database m_database;
};
