#include "settings/messagegeometry_p.h"

#include "base/json.h"
#include "settings/appsettingmodel.h"

#include <algorithm>
#include <utility>

namespace
{

// All in pixels.
constexpr int leastWidth = 200;
constexpr int greatestWidth = 560;
constexpr int miniListWidth = 80;
constexpr int titleBarHeight = 22;
constexpr int plainMargins = 112;
constexpr int bubbleMargins = 144;
constexpr int panelMargins = 96;
/// The minimum width of the message view beside the information panel.
constexpr int roomBesideInfoPanel = 380;

} // namespace

MessageGeometry *MessageGeometry::instance()
{
    static MessageGeometry geometry;
    return &geometry;
}

void MessageGeometry::reset()
{
    *this = {};
}

void MessageGeometry::load()
{
    const AppSettingModel *settings = AppSettingModel::instance();
    const QVariantMap stored = jsonToMap(settings->mainwindowGeometry().toUtf8());
    const int listWidth =
        settings->miniSessionMode() ? miniListWidth : settings->sessionListWidth();
    m_window = QSize(stored.value(QStringLiteral("width")).toInt() - listWidth,
                     stored.value(QStringLiteral("height")).toInt() - titleBarHeight);

    int width = m_window.width();
    if (isInfoPanelVisible())
        width -= settings->infoPanelWidth();
    m_messageWidth = settings->plainModel()
        ? std::max(width - plainMargins, leastWidth)
        : std::max(std::min(width - bubbleMargins, greatestWidth), leastWidth);
    m_widthInThread = std::max(settings->infoPanelWidth() - panelMargins, leastWidth);
}

bool MessageGeometry::setWindow(const QSize &size)
{
    return std::exchange(m_window, size) != size;
}

bool MessageGeometry::isInfoPanelVisible() const
{
    const AppSettingModel *settings = AppSettingModel::instance();
    return settings->infoPanelViewMode()
        && m_window.width() >= settings->infoPanelWidth() + roomBesideInfoPanel;
}

bool MessageGeometry::setWidth(int *present, int width)
{
    if (width < 1)
        return false;
    width = std::max(width, leastWidth);
    return std::exchange(*present, width) != width;
}
