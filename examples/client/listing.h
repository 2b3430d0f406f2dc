#pragma once

#include "client/messagestore.h"

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>

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

/// "Picnic, 2024-05-17".
QString dialogHeading(const KeptMessage &message, const QHash<QString, QString> &names);

QString columnHeading();
/// A message: a line with number, time, sender, kind, size and lines, and of a text its entities
/// and the text, of all others what they say; lines below for their options, entries, buttons.
/// @param item null for a content that this client cannot show
QStringList lines(const KeptMessage &message, const ContentItem *item,
                  const QHash<QString, QString> &names);
/// The messages before, which are shown as one.
QStringList groupLines(const ContentItem &group, const QHash<QString, QString> &names);

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
