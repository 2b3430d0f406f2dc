#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

class ContentItem;

/// Describes the items of each kind in words.
namespace describe
{

/// Names of people by "U-<user id>".
using Names = QHash<QString, QString>;

/// The name of a user, or the id if the name is not known.
QString userName(qint64 userId, const Names &names);
/// "image", "poll", "emoji", ...
QString kind(const ContentItem &item);
/// The item in one line: for a picture its file, its caption, ...
QString item(const ContentItem &item);
/// Details that do not fit into one line: the options of a poll, the cells of a group, ...
QStringList details(const ContentItem &item, const Names &names);

} // namespace describe
