#include "client/listing.h"

#include "client/describe.h"
#include "client/terminaltext.h"
#include "content/contentitem.h"
#include "protocol/notif.pb.h"

#include <QDateTime>
#include <QMap>
#include <QStringList>

#include <google/protobuf/text_format.h>

namespace
{

// Columns of the terminal; the text comes last.
constexpr int numberWidth = 4;
constexpr int timeWidth = 5;
constexpr int senderWidth = 8;
constexpr int kindWidth = 8;
constexpr int sizeWidth = 7;
constexpr int linesWidth = 5;
constexpr int entitiesWidth = 26;
// The remaining width of the line for a message's description, and of that for a text beside its
// entities.
constexpr int saidWidth = listing::lineWidth - numberWidth - timeWidth - senderWidth - kindWidth
    - sizeWidth - linesWidth - 6 * 2;
constexpr int textWidth = saidWidth - entitiesWidth - 2;

/// Notifications, and the details below a message, start in the column of the sender.
const QString indent(numberWidth + timeWidth + 2 * 2, u' ');

QString entities(const ContentItem &item, const QHash<QString, QString> &names)
{
    QStringList words;
    if (item.mentionUsers().contains(QStringLiteral("atAll")))
        words.append(QStringLiteral("@all"));
    for (const qint64 id : item.mentionUserIds())
        words.append(u'@' + describe::userName(id, names));
    QMap<int, int> counts = listing::entityCounts(item);
    counts.remove(TextEntityType::MentionName); // listed by their names
    for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
        const QString name = listing::entityName(count.key());
        words.append(*count == 1 ? name : QStringLiteral("%1×%2").arg(name).arg(*count));
    }
    return words.join(u' ');
}

QString sizeText(QSize size)
{
    return QStringLiteral("%1×%2").arg(size.width()).arg(size.height());
}

/// Lines that belong to the message above them.
QStringList below(const QStringList &lines)
{
    QStringList result;
    for (const QString &line : lines)
        result.append(shortened(indent + QStringLiteral("· ") + line, listing::lineWidth));
    return result;
}

QString joined(const QStringList &cells)
{
    return cells.join(QStringLiteral("  "));
}

} // namespace

QString listing::dialogHeading(const KeptMessage &message, const QHash<QString, QString> &names)
{
    QString name = names.value(message.dialogId, message.dialogId);
    // A chat of two is named after both users: "C-<id>-<id>".
    if (const QStringList parts = message.dialogId.split(u'-');
        parts.size() == 3 && parts[0] == QLatin1StringView("C"))
        name = QStringLiteral("%1 and %2")
                   .arg(describe::userName(parts[1].toInt(), names),
                        describe::userName(parts[2].toInt(), names));
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(message.time);
    return QStringLiteral("%1, %2").arg(shortened(name, lineWidth - 12),
                                        time.toString(QStringLiteral("yyyy-MM-dd")));
}

QString listing::columnHeading()
{
    return joined({QStringLiteral("#").rightJustified(numberWidth),
                   QStringLiteral("time").leftJustified(timeWidth),
                   QStringLiteral("sender").leftJustified(senderWidth),
                   QStringLiteral("kind").leftJustified(kindWidth),
                   QStringLiteral("size").rightJustified(sizeWidth),
                   QStringLiteral("lines").leftJustified(linesWidth),
                   QStringLiteral("entities").leftJustified(entitiesWidth),
                   QStringLiteral("text")});
}

QStringList listing::lines(const KeptMessage &message, const ContentItem *item,
                           const QHash<QString, QString> &names)
{
    const QString number = QString::number(message.number).rightJustified(numberWidth);
    const QString time =
        QDateTime::fromMSecsSinceEpoch(message.time).toString(QStringLiteral("HH:mm"));
    const QString sender = padded(describe::userName(message.sender, names), senderWidth);
    if (!item)
        return {
            joined({number, time, sender, QStringLiteral("(a kind of content not shown here)")})};

    QString lineCount = QString::number(message.lineCount);
    if (item->isElided())
        lineCount += u'…';
    const QString said = item->isTextMsg() ? joined({padded(entities(*item, names), entitiesWidth),
                                                     shortened(describe::item(*item), textWidth)})
                                           : shortened(describe::item(*item), saidWidth);
    const QString line = joined({number, time, sender, padded(describe::kind(*item), kindWidth),
                                 sizeText(message.size).rightJustified(sizeWidth),
                                 padded(lineCount, linesWidth), said});
    return QStringList{line} + below(describe::details(*item, names));
}

QStringList listing::groupLines(const ContentItem &group, const QHash<QString, QString> &names)
{
    const QSize size(group.contentWidth(), group.contentHeight());
    const QString line = QStringLiteral("%1, %2").arg(sizeText(size), describe::item(group));
    return below(QStringList{line} + describe::details(group, names));
}

QString listing::notificationLine(int type, const google::protobuf::Message *record)
{
    if (!record)
        return indent
            + QStringLiteral("notification %1, which this client does not know").arg(type);
    google::protobuf::TextFormat::Printer printer;
    printer.SetSingleLineMode(true);
    printer.SetUseUtf8StringEscaping(true);
    std::string text;
    printer.PrintToString(*record, &text);
    const std::string &name = im::notif::NotifType_Name(im::notif::NotifType(type));
    return shortened(indent
                         + QStringLiteral("%1 %2").arg(QString::fromStdString(name),
                                                       QString::fromStdString(text).trimmed()),
                     lineWidth);
}

QString listing::moreNotificationsLine(int count)
{
    return indent + QStringLiteral("... and %1 more").arg(count);
}

QString listing::entityName(int type)
{
    static const QHash<int, QString> names{
        {TextEntityType::Url, QStringLiteral("url")},
        {TextEntityType::Email, QStringLiteral("mail")},
        {TextEntityType::MentionName, QStringLiteral("mention")},
        {TextEntityType::MentionImId, QStringLiteral("id")},
        {TextEntityType::PhoneNumber, QStringLiteral("phone")},
        {TextEntityType::HashTag, QStringLiteral("tag")},
        {TextEntityType::Bold, QStringLiteral("bold")},
        {TextEntityType::Italic, QStringLiteral("italic")},
        {TextEntityType::Strikethrough, QStringLiteral("strike")},
        {TextEntityType::Monospace, QStringLiteral("mono")},
        {TextEntityType::Hyperlink, QStringLiteral("link")},
        {TextEntityType::Underline, QStringLiteral("underline")},
        {TextEntityType::BotCommand, QStringLiteral("command")},
        {TextEntityType::VideoPosition, QStringLiteral("time")},
        {TextEntityType::Spoiler, QStringLiteral("spoiler")},
        {TextEntityType::CustomEmoji, QStringLiteral("emoji")},
        {TextEntityType::CodeBlock, QStringLiteral("code")},
        {TextEntityType::Quoted, QStringLiteral("quote")},
    };
    return names.value(type, QStringLiteral("type %1").arg(type));
}

QMap<int, int> listing::entityCounts(const ContentItem &item)
{
    QMap<int, int> counts;
    for (const UserTextBlock &block : item.textEntity())
        ++counts[block.type];
    return counts;
}
