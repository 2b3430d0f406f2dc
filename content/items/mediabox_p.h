#pragma once

#include "content/contentmetrics.h"

#include <QSize>
#include <QStringList>

/// How large media are shown in a message. All sizes are in pixels.
namespace MediaBox
{

constexpr int leastSide = ContentMetrics::LeastSide;
/// A picture whose size nobody knows is shown as a square of this side.
constexpr int unknownSide = 200;
/// A row with an icon and texts, which may all be short, is no narrower.
constexpr int leastRowWidth = 160;

/// The width that a content may take: what the view can give (`maxWidth`, 0 or less: it does not
/// say), and no more than the account manager's width for messages, in a chat or a thread.
int messageWidth(int maxWidth, bool inThread);

/// The height that media may take: half of what the primary screen has for windows, so that a
/// picture, what was said before it and the answer are seen together. Without a screen, and on
/// other threads before the first call on the application's, half of 1080.
int greatestHeight();

/// The size at which something that is `natural` large is shown within `maxWidth` and
/// greatestHeight(). It is made smaller to fit, and larger only up to leastSide, in its own
/// proportions; where they do not let both sides be within the limits (100,000 x 1), the limits
/// win, and a view crops or letterboxes. A natural size that is none (0, negative) gives a square.
QSize box(QSize natural, int maxWidth);

/// The size of a content whose parts, one of which may be empty, stand one above the other.
QSize stacked(QSize above, QSize below, int spacing = ContentMetrics::CaptionSpacing);

/// The size of texts of a line each, one above the other in the theme's font, elided at `maxWidth`.
/// Empty texts take no line. Without a QGuiApplication the lines are as wide as they may be.
QSize lines(const QStringList &texts, int maxWidth);

/// The size of a row with a square of `iconSide` and beside it texts as lines() has them.
QSize row(int iconSide, const QStringList &texts, int maxWidth);

} // namespace MediaBox
