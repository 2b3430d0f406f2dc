#include "contentformat.h"

#include "base/util.h"
#include "content/contentitem.h"
#include "content/contentmetrics.h"
#include "settings/appsettingmodel.h"

#include <algorithm>

namespace
{

constexpr int usualFontSize = 14;

bool isKnown(int type)
{
    switch (type) {
    case ContentItem::Folder:
    case ContentItem::MediaGroup:
    case ContentItem::FileGroup:
    case ContentItem::LargeEmojiText:
    case ContentItem::EmojiGame:
        return true;
    default:
        return type >= ContentItem::Text && type <= ContentItem::Combined;
    }
}

} // namespace

QString ContentFormat::duration(qint64 seconds)
{
    const qint64 all = std::max<qint64>(0, seconds);
    const auto two = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QChar(u'0'));
    };
    if (all < 3600)
        return QStringLiteral("%1:%2").arg(all / 60).arg(two(all % 60));
    return QStringLiteral("%1:%2:%3").arg(all / 3600).arg(two(all / 60 % 60), two(all % 60));
}

QString ContentFormat::bytes(qint64 count)
{
    return count > 0 ? Util::intToSizeStr(count) : QString();
}

QUrl ContentFormat::url(const QString &path)
{
    return path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path);
}

QSize ContentFormat::headSize(int type, int fontSize, int maxWidth)
{
    const auto size = [=](int width, int height) {
        const int most = std::max<int>(ContentMetrics::LeastSide, maxWidth);
        return QSize(std::min(width * std::max(usualFontSize, fontSize) / usualFontSize, most),
                     height);
    };
    switch (type) {
    case ContentItem::Card:
        return size(CardWidth, CardHeight);
    case ContentItem::Call:
        return size(CallWidth, CallHeight);
    case ContentItem::Meeting:
        return size(MeetingWidth, MeetingHeight);
    default:
        return isKnown(type) ? QSize(0, 0) : size(NewerWidth, NewerHeight);
    }
}

QSize ContentFormat::shownSize(int type, QSize measured, int buttons, int fontSize, int maxWidth)
{
    QSize size = headSize(type, fontSize, maxWidth);
    if (!isKnown(type))
        measured = {0, 0};
    if (!measured.isEmpty()) {
        const int spacing = size.isEmpty() ? 0 : int(ContentMetrics::CaptionSpacing);
        size = {std::max(size.width(), measured.width()),
                size.height() + spacing + measured.height()};
    }
    if (buttons > 0) {
        size = {std::max(size.width(), std::min<int>(ButtonsWidth, maxWidth)),
                size.height() + ContentMetrics::CaptionSpacing
                    + buttons * (ButtonHeight + ButtonSpacing) - ButtonSpacing};
    }
    return size;
}

QSize ContentFormat::shownSize(const ContentItem *item, int maxWidth)
{
    const int fontSize = AppSettingModel::instance()->themeFontSize();
    if (!item)
        return shownSize(0, {0, 0}, 0, fontSize, maxWidth);
    return shownSize(item->type(), {item->contentWidth(), item->contentHeight()},
                     int(item->buttons().size()), fontSize, maxWidth);
}
