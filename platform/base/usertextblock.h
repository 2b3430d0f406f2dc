#pragma once

#include "base/base_export.h"

#include <QList>
#include <QMetaType>
#include <QVariant>

#include <algorithm>

/// The kind of a text entity; the numbers are those of the protocol (im.content.TextEntity.Type).
namespace TextEntityType
{
enum Value : qint32 {
    Unknown = 0,
    Url = 1,
    Email = 2,
    MentionName = 3,
    MentionImId = 4,
    PhoneNumber = 5,
    HashTag = 6,
    Bold = 7,
    Italic = 8,
    Strikethrough = 9,
    Monospace = 10,
    Hyperlink = 11,
    Underline = 12,
    BotCommand = 13,
    VideoPosition = 14,
    Spoiler = 15,
    CustomEmoji = 16,
    CodeBlock = 17,
    Quoted = 18,
};
}

/// One entity of a message's text: a range and its meaning. Offsets come from outside and are kept
/// unchanged, so `from` and `len` may be negative or reach past the text; use `clampedTo` before
/// reading text through them.
///
/// | type | data |
/// |---|---|
/// | MentionName | int: the user's id; 0 or less: everybody in the chat |
/// | BotCommand | int: the bot's user id |
/// | Hyperlink | QString: where it leads |
/// | VideoPosition | int, as the protocol has it |
/// | CustomEmoji | map {"pack_id": int, "emoji_id": int} |
/// | CodeBlock | map {"lang": QString, "collapsed": bool} |
/// | Quoted | map {"collapsed": bool} |
/// | all others | invalid |
struct MODELBASE_BASE_EXPORT UserTextBlock {
    qint32 from = 0;                       ///< start in the text, in UTF-16 code units
    qint32 len = 0;                        ///< length, in UTF-16 code units
    qint32 type = TextEntityType::Unknown; ///< a TextEntityType, or a number newer than this client
    QVariant data;                         ///< by type, see above
    bool disablePreview = false;           ///< no link preview for this block

    /// The part of [from, from + len) inside a text of `textLength` code units; empty when there is
    /// none.
    struct Range {
        qsizetype from = 0;
        qsizetype len = 0;
    };
    Range clampedTo(qsizetype textLength) const
    {
        const qint64 begin = std::clamp<qint64>(from, 0, textLength);
        const qint64 end = std::clamp<qint64>(qint64(from) + len, begin, textLength);
        return {qsizetype(begin), qsizetype(end - begin)};
    }

    friend bool operator==(const UserTextBlock &a, const UserTextBlock &b)
    {
        return a.from == b.from && a.len == b.len && a.type == b.type && a.data == b.data
            && a.disablePreview == b.disablePreview;
    }
};

/// The entities of one text, in the order they were sent. Implicitly shared.
using UserTextBlocks = QList<UserTextBlock>;

Q_DECLARE_METATYPE(UserTextBlock)
