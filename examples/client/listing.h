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

/// The terminal's lines for messages and notifications.
namespace listing
{

/// Maximum columns of a line.
constexpr int lineWidth = 118;

/// "Picnic, 2024-05-17".
QString dialogHeading(const KeptMessage &message, const QHash<QString, QString> &names);

QString columnHeading();
/// A message: a line with number, time, sender, kind, size and lines, and for a text its entities
/// and the text, for all others their description; lines below for options, entries, buttons.
/// @param item null for a content that this client cannot show
QStringList lines(const KeptMessage &message, const ContentItem *item,
                  const QHash<QString, QString> &names);
/// The previous messages, which are shown as one.
QStringList groupLines(const ContentItem &group, const QHash<QString, QString> &names);

/// A notification other than a message: its type and its record.
/// @param record null for a type that the protocol does not know
QString notificationLine(int type, const google::protobuf::Message *record);

/// "... and 3 more."
QString moreNotificationsLine(int count);

/// "bold", "url", ...: the name of an entity type.
QString entityName(int type);
/// How often each type of entity occurs, by type.
QMap<int, int> entityCounts(const ContentItem &item);

} // namespace listing
