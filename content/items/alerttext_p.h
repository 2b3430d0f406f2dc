#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace im::content
{
class SystemAlert;
}

/// The sentences of system alerts. The ids of their translations begin with "system_alert_".
namespace AlertText
{

/// What a sentence needs to know beside the alert's record.
struct Circumstances {
    /// Whether a user id is the account's own; may be empty.
    std::function<bool(qint64)> isMe;
    /// The names that the account has for those who act and those concerned; empty ones, and those
    /// that are missing, are taken from the record.
    QString sender;
    QStringList targets;
    /// A SystemItem::TopicUpdate.
    int topicUpdate = 0;
};

struct Sentence {
    QString text;
    /// False when a general wording had to stand in for something that the record lacks.
    bool isComplete = true;
};

Sentence compose(const im::content::SystemAlert &alert, const Circumstances &circumstances);

/// The SystemItem::TopicUpdate that lies between the alert's topics.
int topicUpdate(const im::content::SystemAlert &alert);

} // namespace AlertText
