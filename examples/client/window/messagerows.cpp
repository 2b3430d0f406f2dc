#include "client/window/messagerows.h"

#include "imlog/imlog.h"

#include <utility>

MessageRows::MessageRows(QQuickItem *parent) : QQuickItem(parent) { }

MessageRows::~MessageRows() = default;

void MessageRows::setModel(MessageListModel *model)
{
    if (m_model == model)
        return;
    if (m_model)
        m_model->disconnect(this);
    for (const auto &[number, bubble] : m_shown)
        park(bubble);
    m_shown.clear();
    m_model = model;
    if (model) {
        connect(model, &QAbstractItemModel::dataChanged, this, &QQuickItem::polish);
        connect(model, &MessageListModel::heightsChanged, this, &QQuickItem::polish);
        connect(model, &QObject::destroyed, this, &QQuickItem::polish);
    }
    polish();
    Q_EMIT modelChanged();
}

void MessageRows::setViewTop(double viewTop)
{
    if (std::exchange(m_viewTop, viewTop) == viewTop)
        return;
    polish();
    Q_EMIT viewChanged();
}

void MessageRows::setViewHeight(double viewHeight)
{
    if (std::exchange(m_viewHeight, viewHeight) == viewHeight)
        return;
    polish();
    Q_EMIT viewChanged();
}

void MessageRows::geometryChange(const QRectF &now, const QRectF &before)
{
    QQuickItem::geometryChange(now, before);
    if (now.width() != before.width())
        polish();
}

void MessageRows::updatePolish()
{
    const bool hasRows = m_model && m_model->count() > 0 && m_viewHeight > 0;
    const int first = hasRows ? m_model->rowAt(m_viewTop) : -1;
    const int last = hasRows ? m_model->rowAt(m_viewTop + m_viewHeight - 1) : -1;
    const int prepended = m_model ? m_model->prepended() : 0;
    const auto isInView = [&](int row) { return row >= first && row <= last; };
    for (auto shown = m_shown.begin(); shown != m_shown.end();) {
        if (hasRows && isInView(shown->first + prepended)) {
            ++shown;
        } else {
            park(shown->second);
            shown = m_shown.erase(shown);
        }
    }
    for (int row = first; hasRows && row <= last; ++row)
        show(row);
    if (m_first != first || m_last != last) {
        m_first = first;
        m_last = last;
        Q_EMIT rowsChanged();
    }
}

void MessageRows::show(int row)
{
    const MessageRow message = m_model->at(row);
    const int kind = message.item ? message.item->type() : -1;
    const int number = row - m_model->prepended();
    auto shown = m_shown.find(number);
    if (shown != m_shown.end() && shown->second.kind != kind) {
        park(shown->second);
        m_shown.erase(shown);
        shown = m_shown.end();
    }
    if (shown == m_shown.end())
        shown = m_shown.emplace(number, take(kind, message)).first;
    Bubble &bubble = shown->second;
    if (!bubble.item) {
        m_shown.erase(shown);
        return;
    }
    if (bubble.message != message) {
        bubble.message = message;
        bubble.item->setProperty("message", QVariant::fromValue(message));
    }
    if (message.mentionsMe || !message.reactions.isEmpty())
        m_model->seen(row);
    bubble.item->setPosition({0, m_model->offsetOf(row)});
    bubble.item->setSize({width(), m_model->heightOf(row)});
    bubble.item->setVisible(true);
}

/// A parked bubble, or a new one.
MessageRows::Bubble MessageRows::take(int kind, const MessageRow &message)
{
    auto &parked = m_parked[kind];
    if (!parked.empty()) {
        const Bubble bubble = parked.back();
        parked.pop_back();
        return bubble;
    }
    const QVariantMap properties{{QStringLiteral("message"), QVariant::fromValue(message)}};
    QObject *made = m_bubble
        ? m_bubble->createWithInitialProperties(properties, m_bubble->creationContext())
        : nullptr;
    auto *item = qobject_cast<QQuickItem *>(made);
    if (!item) {
        delete made;
        if (m_bubble)
            ImLog::error(m_bubble->errorString());
        m_bubble = nullptr; // the next one would fail as well
        return {nullptr, kind, {}};
    }
    item->setParent(this);
    item->setParentItem(this);
    return {item, kind, {}}; // the message is not yet marked as seen
}

void MessageRows::park(const Bubble &bubble)
{
    bubble.item->setVisible(false);
    m_parked[bubble.kind].push_back(bubble);
}
