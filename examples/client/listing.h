#pragma once

#include "client/messagestore.h"

#include <QHash>
#include <QMap>
#include <QString>

class ContentItem;
namespace google::protobuf
{
class Message;
}

/// What the client prints of messages and notifications.
namespace listing
{

/// Columns of the terminal that a line takes at most.
constexpr int lineWidth = 118;

/// The name of a user (im.notif records give them), or the id where the name is not known.
QString userName(int userId, const QHash<QString, QString> &names);
/// "Picnic, 2024-05-17".
QString dialogHeading(const KeptMessage &message, const QHash<QString, QString> &names);

QString columnHeading();
/// One message, one line: number, time, sender, kind, size, lines, entities, mentions, text.
/// @param item null for a content that this client cannot show
QString line(const KeptMessage &message, const ContentItem *item,
             const QHash<QString, QString> &names);

/// A notification that is no message: its type and what its record says.
/// @param record null for a type that the protocol does not know
QString notificationLine(int type, const google::protobuf::Message *record);

/// "... and 3 more."
QString moreNotificationsLine(int count);

/// "bold", "url", ...: what the entities of a type are called.
QString entityName(int type);
/// How often each type of entity occurs, by type.
QMap<int, int> entityCounts(const ContentItem &item);

} // namespace listing
