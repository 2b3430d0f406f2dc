#include "content/items/mediabox_p.h"

#include "account/accountmanager.h"

#include <QGuiApplication>
#include <QScreen>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <cmath>

int MediaBox::messageWidth(int maxWidth, bool inThread)
{
    const AccountManager *manager = AccountManager::getInstance();
    const int width = inThread ? manager->maxMsgItemWidthInThread() : manager->maxMsgItemWidth();
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
