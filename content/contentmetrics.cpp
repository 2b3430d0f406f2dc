#include "content/contentmetrics.h"

#include "content/contentitem.h"
#include "settings/appsettingmodel.h"

#include <QGuiApplication>

#include <algorithm>
#include <iterator>

QFont ContentMetrics::textFont(int pixelSize)
{
    QFont font = QGuiApplication::font();
    font.setPixelSize(std::max(1, pixelSize));
    return font;
}

int ContentMetrics::largeEmojiPixelSize(int emojiCount)
{
    // The last holds for all longer ones.
    constexpr int sizes[] = {24, 88, 72, 64, 56, 48, 36, 24};
    return sizes[std::clamp(emojiCount, 0, int(std::size(sizes)) - 1)];
}

int ContentMetrics::textPixelSize(const ContentItem &item)
{
    switch (item.type()) {
    case ContentItem::LargeEmojiText:
        return largeEmojiPixelSize(item.emojiCount());
    case ContentItem::System:
        return systemPixelSize();
    default:
        return AppSettingModel::instance()->themeFontSize();
    }
}

int ContentMetrics::systemPixelSize()
{
    constexpr int step = 2; // smaller than messages
    constexpr int least = 9;
    return std::max(least, AppSettingModel::instance()->themeFontSize() - step);
}

int ContentMetrics::elisionTolerance(int maxRowCount)
{
    return maxRowCount > 0 ? int(maxRowCount * 0.2) : 0;
}
