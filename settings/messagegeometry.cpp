#include "settings/messagegeometry_p.h"

#include "base/json.h"
#include "settings/appsettingmodel.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr int leastWidth = 200;
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
    const int listWidth = settings->miniSessionMode() ? 80 : settings->sessionListWidth();
    m_window = QSize(stored.value(QStringLiteral("width")).toInt() - listWidth,
                     stored.value(QStringLiteral("height")).toInt() - 22);

    int width = m_window.width();
    if (isInfoPanelVisible())
        width -= settings->infoPanelWidth();
    m_messageWidth = settings->plainModel() ? std::max(width - 112, leastWidth)
                                            : std::max(std::min(width - 144, 560), leastWidth);
    m_widthInThread = std::max(settings->infoPanelWidth() - 96, leastWidth);
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
