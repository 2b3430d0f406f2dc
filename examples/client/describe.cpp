#include "client/describe.h"

#include "base/util.h"
#include "content/filedata.h"
#include "content/items/callitem.h"
#include "content/items/captionitem.h"
#include "content/items/carditem.h"
#include "content/items/combineditem.h"
#include "content/items/folderitem.h"
#include "content/items/groupitem.h"
#include "content/items/imageitem.h"
#include "content/items/locationitem.h"
#include "content/items/lotteryitem.h"
#include "content/items/meetingitem.h"
#include "content/items/musicitem.h"
#include "content/items/pollitem.h"
#include "content/items/stickeritem.h"
#include "content/items/systemitem.h"
#include "content/items/videoitem.h"
#include "content/items/voiceitem.h"
#include "content/modelbaseutil.h"
#include "content/stickerdata.h"

#include <QRect>

namespace
{

constexpr int moneyDecimals = 2; // amounts are in hundredths

QString joined(const QStringList &parts)
{
    return parts.join(QStringLiteral(", "));
}

void appendIf(QStringList &parts, bool condition, const char *text)
{
    if (condition)
        parts.append(QString::fromLatin1(text));
}

QString firstLine(const QString &text)
{
    return text.contains(u'\n') ? text.section(u'\n', 0, 0) + QStringLiteral(" …") : text;
}

/// "1:05".
QString duration(qint64 seconds)
{
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
}

QString size(int width, int height)
{
    return QStringLiteral("%1×%2").arg(width).arg(height);
}

QString rect(const QRect &rect)
{
    return QStringLiteral("%1 at %2,%3")
        .arg(size(rect.width(), rect.height()))
        .arg(rect.x())
        .arg(rect.y());
}

/// "lake.jpg, 10.9 KB", and problems of the file.
QString file(FileData *record)
{
    if (!record)
        return QStringLiteral("no file");
    QStringList parts{record->fileName(), Util::intToSizeStr(record->size())};
    parts.removeAll({});
    appendIf(parts, !record->exists(), "NOT HERE");
    return joined(parts);
}

QString isolated(const QString &text)
{
    return QChar(0x2068) + text + QChar(0x2069);
}

// One description function for each kind

QString image(const ImageItem &image)
{
    QStringList parts{file(image.sourceFile().data()), size(image.w(), image.h())};
    appendIf(parts, image.isAnimated(), "moving");
    appendIf(parts, !image.livePhoto().isNull(), "live");
    appendIf(parts, image.spoiler(), "covered");
    return joined(parts);
}

QString video(const VideoItem &video)
{
    QStringList parts{file(video.sourceFile().data()), size(video.w(), video.h()),
                      duration(video.duration())};
    appendIf(parts, !video.thumbnailFile().isNull(), "with thumbnail");
    appendIf(parts, video.spoiler(), "covered");
    return joined(parts);
}

QString voice(const VoiceItem &voice)
{
    return joined({duration(voice.duration()), Util::intToSizeStr(voice.sourceFile()->size()),
                   QStringLiteral("%1 bars").arg(voice.sample().size())});
}

QString music(const MusicItem &music)
{
    QStringList parts{isolated(music.title()) + QStringLiteral(" – ") + isolated(music.author()),
                      file(music.sourceFile().data()), duration(music.duration())};
    appendIf(parts, music.thumbnailFile() && music.thumbnailFile()->exists(), "with cover");
    return joined(parts);
}

QString plainFile(const FileItem &item)
{
    QStringList parts{file(item.sourceFile().data())};
    appendIf(parts, item.fileType() == FileItem::PdfFile, "PDF");
    return joined(parts);
}

QString folder(const FolderItem &folder)
{
    return QStringLiteral("%1, %2 files").arg(folder.name()).arg(folder.fileCount());
}

QString location(const LocationItem &location)
{
    QStringList parts{location.place(), location.address(), location.gps()};
    parts.removeAll({});
    return joined(parts);
}

QString sticker(const StickerItem &sticker)
{
    const auto animated = sticker.animatedFile();
    QStringList parts{sticker.shortcut() + u' ' + sticker.hint(),
                      QStringLiteral("pack %1").arg(sticker.pid()),
                      file((animated ? animated : sticker.file()).data())};
    appendIf(parts, !animated.isNull(), "moving");
    return joined(parts);
}

QString card(const CardItem &card)
{
    QStringList parts{QStringLiteral("%1 (%2)").arg(card.name(), card.imId()),
                      QStringLiteral("id %1").arg(card.userId())};
    appendIf(parts, !card.photoId().isEmpty(), "with photo");
    return joined(parts);
}

QString meeting(const MeetingItem &meeting)
{
    return QStringLiteral("%1, key of %2 bytes").arg(meeting.nonce()).arg(meeting.key().size());
}

QString poll(const PollItem &poll)
{
    QStringList parts{firstLine(poll.title()), QStringLiteral("%1 voted").arg(poll.votersTotal())};
    appendIf(parts, poll.quizMode(), "quiz");
    appendIf(parts, poll.anonymous(), "anonymous");
    appendIf(parts, poll.multiple(), "several answers");
    appendIf(parts, poll.ended(), "ended");
    appendIf(parts, poll.answer() == PollItem::RightAnswer, "answered right");
    appendIf(parts, poll.answer() == PollItem::WrongAnswer, "answered wrong");
    return joined(parts);
}

QString lottery(const LotteryItem &lottery)
{
    QStringList parts{firstLine(lottery.title())};
    if (lottery.kind() == LotteryItem::RedPacket)
        parts.append(QStringLiteral("red packet of %1").arg(lottery.amountText(moneyDecimals)));
    parts.append(QStringLiteral("%1 of %2 drawn").arg(lottery.drawn()).arg(lottery.total()));
    return joined(parts);
}

QString combined(const CombinedItem &combined)
{
    return QStringLiteral("%1 of %2 messages").arg(combined.count()).arg(combined.total());
}

QString group(int count, const ContentItem &caption)
{
    return QStringLiteral("%1 as one: %2").arg(count).arg(firstLine(caption.content()));
}

// Details that take lines of their own

QStringList options(const PollItem &poll)
{
    QStringList lines;
    for (const PollOption &option : poll.options()) {
        QString line = QStringLiteral("%1 %  %2  %3")
                           .arg(option.percent, 3)
                           .arg(option.count, 2)
                           .arg(option.text());
        if (option.voted)
            line += QStringLiteral(" (mine)");
        if (option.right)
            line += QStringLiteral(" (right)");
        lines.append(line);
    }
    if (!poll.comment().isEmpty())
        lines.append(poll.comment());
    return lines;
}

QStringList shares(const LotteryItem &lottery, const describe::Names &names)
{
    QStringList lines;
    for (const LotteryPrize &prize : lottery.prizes())
        lines.append(QStringLiteral("%1 of %2 drawn: %3")
                         .arg(prize.drawn)
                         .arg(prize.quantity)
                         .arg(prize.text()));
    for (const LotteryShare &share : lottery.shares()) {
        const QString name = describe::userName(share.userId, names);
        lines.append(share.prizeIndex < 0
                         ? QStringLiteral("%1 drew %2").arg(name, share.amountText(moneyDecimals))
                         : QStringLiteral("%1 drew prize %2").arg(name).arg(share.prizeIndex + 1));
    }
    return lines;
}

QStringList entries(const CombinedItem &combined, const describe::Names &names)
{
    QStringList lines;
    for (const CombinedEntry &entry : combined.entries()) {
        const QString name = describe::userName(entry.senderId, names);
        const ContentItem *content = entry.contentItem();
        lines.append(content ? QStringLiteral("%1, %2: %3")
                                   .arg(name, describe::kind(*content), describe::item(*content))
                             : name + QStringLiteral(": (not shown here)"));
    }
    return lines;
}

QStringList cells(const QList<QSharedPointer<ContentItem>> &members, const QList<QRect> &rects)
{
    QStringList lines;
    for (qsizetype i = 0; i < members.size(); ++i)
        lines.append(QStringLiteral("%1  %2").arg(rect(rects.value(i)).leftJustified(18),
                                                  describe::item(*members[i])));
    return lines;
}

/// "[Keep] [Keep fewer]".
QStringList buttons(const ContentItem &item)
{
    QStringList lines;
    for (const QVariant &row : item.buttons()) {
        QStringList labels;
        for (const QVariant &button : row.toList())
            labels.append(QStringLiteral("[%1]").arg(
                button.toMap().value(QStringLiteral("text")).toString()));
        lines.append(labels.join(u' '));
    }
    return lines;
}

QString words(const ContentItem &item)
{
    switch (item.type()) {
    case ContentItem::Image:
        return image(static_cast<const ImageItem &>(item));
    case ContentItem::Voice:
        return voice(static_cast<const VoiceItem &>(item));
    case ContentItem::Music:
        return music(static_cast<const MusicItem &>(item));
    case ContentItem::Video:
        return video(static_cast<const VideoItem &>(item));
    case ContentItem::File:
        return plainFile(static_cast<const FileItem &>(item));
    case ContentItem::Folder:
        return folder(static_cast<const FolderItem &>(item));
    case ContentItem::Sticker:
        return sticker(static_cast<const StickerItem &>(item));
    case ContentItem::Card:
        return card(static_cast<const CardItem &>(item));
    case ContentItem::Location:
        return location(static_cast<const LocationItem &>(item));
    case ContentItem::System:
        return static_cast<const SystemItem &>(item).text();
    case ContentItem::Call:
        return static_cast<const CallItem &>(item).text();
    case ContentItem::Meeting:
        return meeting(static_cast<const MeetingItem &>(item));
    case ContentItem::Poll:
        return poll(static_cast<const PollItem &>(item));
    case ContentItem::Lottery:
        return lottery(static_cast<const LotteryItem &>(item));
    case ContentItem::Combined:
        return combined(static_cast<const CombinedItem &>(item));
    case ContentItem::MediaGroup:
    case ContentItem::FileGroup: {
        const auto &together = static_cast<const GroupItem &>(item);
        return group(together.count(), *together.caption());
    }
    default:
        return {};
    }
}

} // namespace

QString describe::userName(qint64 userId, const Names &names)
{
    return names.value(QStringLiteral("U-%1").arg(userId), QString::number(userId));
}

QString describe::kind(const ContentItem &item)
{
    switch (item.type()) {
    case ContentItem::LargeEmojiText:
        return QStringLiteral("emoji");
    case ContentItem::EmojiGame:
        return QStringLiteral("game");
    case ContentItem::Voice:
        return QStringLiteral("voice"); // stored as "audio"
    case ContentItem::MediaGroup:
    case ContentItem::FileGroup:
        return QStringLiteral("group");
    default:
        return ModelBaseUtil::messageTypeIntToStr(item.type());
    }
}

QString describe::item(const ContentItem &item)
{
    QStringList parts{words(item), firstLine(item.content())};
    parts.removeAll({});
    return parts.join(QStringLiteral(" – "));
}

QStringList describe::details(const ContentItem &item, const Names &names)
{
    QStringList lines;
    switch (item.type()) {
    case ContentItem::Poll:
        lines = options(static_cast<const PollItem &>(item));
        break;
    case ContentItem::Lottery:
        lines = shares(static_cast<const LotteryItem &>(item), names);
        break;
    case ContentItem::Combined:
        lines = entries(static_cast<const CombinedItem &>(item), names);
        break;
    case ContentItem::MediaGroup:
    case ContentItem::FileGroup: {
        const auto &together = static_cast<const GroupItem &>(item);
        lines = cells(together.members(), together.rects());
        break;
    }
    default:
        break;
    }
    return lines + buttons(item);
}
