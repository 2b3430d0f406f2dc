#include "messagetext.h"

#include "content/contentmetrics.h"
#include "settings/appsettingmodel.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>

#include <cmath>

namespace
{

/// Space above and below the lines for glyphs that extend beyond them: marks over capital letters,
/// signs of other fonts.
constexpr int verticalOverhang = 4;

/// The maximum height of a texture on any platform. Set a row limit for longer texts.
constexpr int greatestHeight = 8192;

} // namespace

MessageText::MessageText(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    connect(this, &MessageText::coloursChanged, this, &MessageText::repaint);
    connect(AppSettingModel::instance(), &AppSettingModel::themeFontSizeChanged, this,
            &QQuickItem::polish);
}

template <typename Value>
void MessageText::assign(Value &field, const Value &value, void (MessageText::*changed)())
{
    if (std::exchange(field, value) == value)
        return;
    Q_EMIT(this->*changed)();
    if (isComponentComplete())
        layOut();
}

void MessageText::setItem(ContentItem *item)
{
    if (m_item == item)
        return;
    if (m_item)
        m_item->disconnect(this);
    m_item = item;
    if (item) {
        connect(item, &ContentItem::contentChanged, this, &QQuickItem::polish);
        connect(item, &ContentItem::textEntityChanged, this, &QQuickItem::polish);
        connect(item, &ContentItem::typeChanged, this, &QQuickItem::polish);
    }
    setShowsSpoilers(false);
    Q_EMIT itemChanged();
    if (isComponentComplete())
        layOut();
}

void MessageText::setText(const QString &text)
{
    assign(m_text, text, &MessageText::textChanged);
}

void MessageText::setTextWidth(int textWidth)
{
    assign(m_textWidth, textWidth, &MessageText::textWidthChanged);
}

void MessageText::setPixelSize(int pixelSize)
{
    assign(m_pixelSize, pixelSize, &MessageText::pixelSizeChanged);
}

void MessageText::setMaxRowCount(int maxRowCount)
{
    assign(m_maxRowCount, maxRowCount, &MessageText::maxRowCountChanged);
}

void MessageText::setIsCentred(bool isCentred)
{
    assign(m_isCentred, isCentred, &MessageText::isCentredChanged);
}

void MessageText::setShowsSpoilers(bool showsSpoilers)
{
    if (std::exchange(m_showsSpoilers, showsSpoilers) == showsSpoilers)
        return;
    Q_EMIT showsSpoilersChanged();
    repaint();
}

bool MessageText::isElided() const
{
    return m_drawn && m_drawn->isElided();
}

int MessageText::lineCount() const
{
    return m_drawn ? m_drawn->lineCount() : 0;
}

DrawnText::Request MessageText::request() const
{
    DrawnText::Request request;
    request.text = m_text;
    request.width = m_textWidth;
    request.maxRowCount = m_maxRowCount;
    request.isCentred = m_isCentred;
    request.pixelSize =
        m_pixelSize > 0 ? m_pixelSize : AppSettingModel::instance()->themeFontSize();
    if (!m_item)
        return request;
    if (m_pixelSize <= 0)
        request.pixelSize = ContentMetrics::textPixelSize(*m_item);
    if (m_text.isEmpty()) {
        request.text = m_item->content();
        request.blocks = m_item->textEntity();
        request.isEmojiOnly = m_item->type() == ContentItem::LargeEmojiText;
    }
    return request;
}

void MessageText::layOut()
{
    const DrawnText::Request wanted = request();
    auto drawn = wanted.text.isEmpty() || wanted.width <= 0 ? std::shared_ptr<const DrawnText>()
                                                            : DrawnText::make(wanted);
    if (drawn == m_drawn)
        return;
    m_drawn = std::move(drawn);
    const QSizeF size = m_drawn ? m_drawn->size() : QSizeF(0, 0);
    setImplicitSize(std::ceil(size.width()), std::ceil(size.height()));
    Q_EMIT layoutChanged();
    repaint();
}

void MessageText::repaint()
{
    m_isPainted = false;
    update();
}

void MessageText::componentComplete()
{
    QQuickItem::componentComplete();
    layOut();
}

void MessageText::updatePolish()
{
    layOut();
}

void MessageText::itemChange(ItemChange change, const ItemChangeData &data)
{
    if (change == ItemDevicePixelRatioHasChanged)
        repaint();
    QQuickItem::itemChange(change, data);
}

QImage MessageText::image() const
{
    const double ratio = window()->effectiveDevicePixelRatio();
    const QSizeF size(std::ceil(m_drawn->size().width()) + 2 * DrawnText::overhang,
                      std::ceil(m_drawn->size().height()) + 2 * verticalOverhang);
    QImage image((size * ratio).toSize().boundedTo({greatestHeight, greatestHeight}),
                 QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.translate(DrawnText::overhang, verticalOverhang);
    m_drawn->paint(painter,
                   {m_color, m_linkColor, m_mutedColor, m_codeColor, m_quoteColor, m_spoilerColor},
                   m_showsSpoilers);
    return image;
}

QSGNode *MessageText::updatePaintNode(QSGNode *node, UpdatePaintNodeData *)
{
    if (!m_drawn) {
        delete node;
        return nullptr;
    }
    auto *picture = static_cast<QSGImageNode *>(node);
    if (!picture) {
        picture = window()->createImageNode();
        picture->setOwnsTexture(true);
        m_isPainted = false;
    }
    if (!m_isPainted) {
        const QImage painted = image();
        picture->setTexture(window()->createTextureFromImage(painted));
        picture->setRect(QRectF({-DrawnText::overhang, -verticalOverhang},
                                QSizeF(painted.size()) / painted.devicePixelRatio()));
        m_isPainted = true;
    }
    return picture;
}

// Clickable entities

void MessageText::mousePressEvent(QMouseEvent *event)
{
    event->setAccepted(m_drawn
                       && (m_drawn->entityAt(event->position(), m_showsSpoilers) >= 0
                           || (m_item && m_drawn->foldAt(event->position()))));
}

void MessageText::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_drawn)
        return;
    const int entity = m_drawn->entityAt(event->position(), m_showsSpoilers);
    if (entity >= 0 && m_item && entity < m_item->textEntity().size()) {
        const UserTextBlock block = m_item->textEntity().at(entity);
        if (block.type == TextEntityType::Spoiler) {
            setShowsSpoilers(true);
            return;
        }
        const auto [from, len] = block.clampedTo(m_item->content().size());
        Q_EMIT activated(block.type, m_item->content().mid(from, len), block.data);
    } else if (const DrawnText::Fold *fold = m_drawn->foldAt(event->position()); fold && m_item) {
        m_item->setCollapsed(fold->block, !fold->isCollapsed);
    }
}

void MessageText::hoverMoveEvent(QHoverEvent *event)
{
    const bool canClick = m_drawn
        && (m_drawn->entityAt(event->position(), m_showsSpoilers) >= 0
            || m_drawn->foldAt(event->position()));
    setCursor(canClick ? Qt::PointingHandCursor : Qt::ArrowCursor);
}
