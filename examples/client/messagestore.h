#pragma once

#include <SQLiteCpp/Database.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

#include <string>

/// What a size depends on besides the message itself.
struct Measure {
    int width = 0;    ///< pixels
    int fontSize = 0; ///< pixels
    int style = 0;    ///< the settings of text style, numbered by their user

    friend bool operator==(const Measure &, const Measure &) = default;
};

/// A message as the client keeps it: its content, and its measured size.
struct KeptMessage {
    qint64 number = 0; ///< 1 for the first kept message
    QString dialogId;
    int messageId = 0;   ///< unique within its dialog
    int sender = 0;      ///< 0: none
    qint64 time = 0;     ///< ms since 1970, UTC
    int group = 0;       ///< messages of one number are shown as one; 0: by itself
    int version = 0;     ///< im.Message.content_format_ver
    std::string content; ///< with `version`, the input of makeContentItem()
    std::string beside;  ///< the im.Message without its content: a poll's results, a group's number
    QSize size;          ///< pixels
    int lineCount = 0;
    Measure measure;
    qint64 keptAt = 0; ///< ms since 1970, UTC
};

/// A message's place in a view, without its content.
struct MessagePlace {
    qint64 number = 0;
    int messageId = 0;
    int sender = 0;
    qint64 time = 0;
    int group = 0;
    QSize size;
    Measure measure;
};

/// A kept dialog, as a list of dialogs shows it.
struct KeptDialog {
    QString id;
    qint64 sortTime = 0; ///< ms since 1970, UTC
    int unread = 0;
    bool muted = false;
    bool archived = false;
    QStringList tags;
    QByteArray mentions; ///< as the dialog packs them
    QString preview;     ///< of the last message
};

/// The client's own messages: one SQLite database, separate from the stores of the model layer.
///
/// Every function throws a ClientError when the database cannot be read or written.
class MessageStore
{
public:
    explicit MessageStore(const QString &path);

    /// In the order in which they were kept.
    QList<KeptMessage> messages() const;
    bool contains(const QString &dialogId, int messageId) const;
    /// The sender of a message; 0 for one that is not kept.
    int senderOf(const QString &dialogId, int messageId) const;
    /// Of the message kept last; 0 when there is none.
    qint64 lastNumber() const;
    /// The messages of a dialog that were kept before `number`, at most `limit`, the last first.
    /// Cheap: it reads only an index.
    QList<MessagePlace> places(const QString &dialogId, qint64 before, int limit) const;
    /// The messages of a dialog with these numbers and all of that `group` between them.
    QList<KeptMessage> messages(const QString &dialogId, qint64 first, qint64 last,
                                int group) const;
    QList<KeptDialog> dialogs() const;
    /// A serialised im.MessageReaction for each message that has reactions.
    QHash<int, QByteArray> reactions(const QString &dialogId) const;
    /// Names of people (by "U-<user id>") and of groups (by dialog id).
    QHash<QString, QString> names() const;

    /// Data that are written together: when keep() returns, all of them are on the disk, or none.
    struct Batch {
        QList<KeptMessage> messages;
        QList<MessagePlace> sizes; ///< new sizes of kept messages
        QHash<QString, QString> names;
        QHash<QString, KeptDialog> dialogs;
    };
    void keep(const Batch &batch);
    void keepReaction(const QString &dialogId, int messageId, const std::string &record);

private:
    QList<KeptMessage> read(SQLite::Statement &select) const;
    template <typename Action>
    auto guarded(Action action) const;

    QString m_path;
    mutable SQLite::Database m_database;
};
