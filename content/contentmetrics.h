#pragma once

#include "modelbase_export.h"
#include "modelbase_qml.h"

#include <QFont>

class ContentItem;

/// What contents are measured with, for the views that draw them: a view that uses these lengths
/// fills exactly the size that the item was measured at. In pixels.
namespace ContentMetrics
{
Q_NAMESPACE_EXPORT(MODELBASE_EXPORT)
QML_ELEMENT

enum Length {
    LeastSide = 44,          ///< of what one taps or clicks: WCAG 2.1, 2.5.5 (Target Size)
    ExpandHeight = 20,       ///< the control below an elided text
    LeastCaptionWidth = 200, ///< a caption's lines may be that wide, also below narrower media
    CaptionSpacing = 6,      ///< between media and their caption
    RowSpacing = 10,         ///< between the icon of a row and its texts
    GroupSpacing = 6,        ///< between the rows of a group of files
    FileIconSide = 48,
    FileThumbnailSide = 72, ///< in place of the icon of a picture or video that is sent as a file
    MusicCoverSide = 56,
    PollKindHeight = 20,   ///< the line under the question that says what kind of poll it is
    PollPercentWidth = 44, ///< the column beside the options: a check mark, later the percentage
    PollBarHeight = 4,
    PollBarSpacing = 4,
    PollOptionSpacing = 6,
    PollFooterHeight = 32, ///< the line of votes, or the button
    LotteryPictureHeight = 72,
    LotteryPrizeSpacing = 4,
    LotteryQuantityWidth = 48, ///< the column beside a prize: how many there are
    LotteryFooterHeight = 32,  ///< the line of the state, or the button
    CombinedFooterHeight = 28, ///< the line that opens all messages
    SystemSidePadding = 12,
    SystemVerticalPadding = 4,
};
Q_ENUM_NS(Length)

/// The font that texts are shown in, at a size in pixels.
MODELBASE_EXPORT QFont textFont(int pixelSize);
/// The size, in pixels, that a text of so many emoji is shown at.
MODELBASE_EXPORT int largeEmojiPixelSize(int emojiCount);
/// The size, in pixels, that an item's text is written in: the theme's, or that of large emoji.
MODELBASE_EXPORT int textPixelSize(const ContentItem &item);
/// The size, in pixels, that system sentences are written in.
MODELBASE_EXPORT int systemPixelSize();
/// How many lines more than `maxRowCount` a text may have before it is elided.
MODELBASE_EXPORT int elisionTolerance(int maxRowCount);

} // namespace ContentMetrics
