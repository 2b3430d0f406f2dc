#include "content/items/mediabox_p.h"

#include "settings/appsettingmodel.h"
#include "settings/messagegeometry_p.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QScreen>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <cmath>

int MediaBox::messageWidth(int maxWidth, bool inThread)
{
    const MessageGeometry *geometry = MessageGeometry::instance();
    const int width = inThread ? geometry->widthInThread() : geometry->messageWidth();
    return std::max(leastSide, maxWidth > 0 ? std::min(maxWidth, width) : width);
}

int MediaBox::greatestHeight()
{
    // Screens come and go on the application's thread; other threads use what it saw last.
    static std::atomic<int> known = 1080 / 2;
    const auto *application = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    if (application && application->thread() == QThread::currentThread()) {
        if (const QScreen *screen = QGuiApplication::primaryScreen())
            known = std::max(leastSide, screen->availableSize().height() / 2);
    }
    return known;
}

QSize MediaBox::box(QSize natural, int maxWidth)
{
    const QSize limit(std::max(leastSide, maxWidth), greatestHeight());
    if (natural.isEmpty()) {
        const int side = std::min({unknownSide, limit.width(), limit.height()});
        return {side, side};
    }
    const double width = natural.width();
    const double height = natural.height();
    double scale = std::min({1.0, limit.width() / width, limit.height() / height});
    scale = std::max(scale, leastSide / std::min(width, height));
    const auto side = [scale](double length, int most) {
        return int(std::lround(std::clamp<double>(length * scale, leastSide, most)));
    };
    return {side(width, limit.width()), side(height, limit.height())};
}

QSize MediaBox::stacked(QSize above, QSize below, int spacing)
{
    if (above.isEmpty() || below.isEmpty())
        return above.isEmpty() ? below : above;
    return {std::max(above.width(), below.width()), above.height() + spacing + below.height()};
}

QSize MediaBox::lines(const QStringList &texts, int maxWidth)
{
    // No line shows more, and a name from outside may be of any length.
    constexpr int mostCharacters = 300;
    const int fontSize = std::max(1, AppSettingModel::instance()->themeFontSize());
    const auto count = std::count_if(texts.cbegin(), texts.cend(),
                                     [](const QString &text) { return !text.isEmpty(); });
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return {count > 0 ? maxWidth : 0, int(count) * fontSize * 3 / 2};
    QFont font = QGuiApplication::font();
    font.setPixelSize(fontSize);
    const QFontMetrics metrics(font);
    int width = 0;
    for (const QString &text : texts)
        width = std::max(width, metrics.horizontalAdvance(text.left(mostCharacters)));
    return {std::min(width, maxWidth), int(count) * metrics.lineSpacing()};
}

QSize MediaBox::row(int iconSide, const QStringList &texts, int maxWidth)
{
    const int beside = iconSide + ContentMetrics::RowSpacing;
    const QSize text = lines(texts, std::max(0, maxWidth - beside));
    return {std::clamp(beside + text.width(), std::min(leastRowWidth, maxWidth), maxWidth),
            std::max(iconSide, text.height())};
}
