#include "client/window/messagelistmodel.h"

#include "client/window/clientdialog.h"
#include "client/window/session.h"
#include "protocol/common_data.pb.h"

#include <QElapsedTimer>

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

constexpr int firstPage = 100;     // places read when a dialog is opened
constexpr int placesAtOnce = 2000; // places read later, between two frames
constexpr int heldItems = 1000;
constexpr qint64 backgroundTime = 4;         // ms of work between two frames
constexpr qint64 runLength = 10 * 60 * 1000; // ms; within a run the sender is named once
constexpr int farewellTime = 200;            // ms; how long views may still show an item
constexpr int unknownHeight = 40;            // of a row never measured

QStringList describe(const im::MessageReaction &record)
{
    QStringList groups;
    for (const auto &group : record.groups()) {
        if (group.count() > 0)
            groups.append(QStringLiteral("%1 %2")
                              .arg(QString::fromStdString(group.emoji()))
                              .arg(group.count()));
    }
    return groups;
}

} // namespace

MessageListModel::MessageListModel(Session *session) : m_session(session), m_items(heldItems)
{
    m_farewell.setSingleShot(true);
    m_farewell.setInterval(farewellTime);
    connect(&m_farewell, &QTimer::timeout, this, [this] { m_leaving.clear(); });
    m_background.setInterval(8);
    connect(&m_background, &QTimer::timeout, this, [this] {
        if (!m_complete)
            loadOlder(placesAtOnce);
        else if (m_nextStale >= 0)
            measureStale();
        else
            m_background.stop();
    });
}

MessageListModel::~MessageListModel() = default;

int MessageListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant MessageListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    switch (role) {
    case MessageRole: // making the item changes only the cache
        return QVariant::fromValue(const_cast<MessageListModel *>(this)->at(index.row()));
    case HeightRole:
        return heightOf(index.row());
    default:
        return {};
    }
}

QHash<int, QByteArray> MessageListModel::roleNames() const
{
    return {{MessageRole, "message"}, {HeightRole, "height"}};
}

// The rows

ClientDialog *MessageListModel::dialog() const
{
    return m_dialog;
}

void MessageListModel::open(ClientDialog *dialog)
{
    beginResetModel();
    m_dialog = dialog;
    m_rows.clear();
    m_ends.clear();
    retireAll();
    m_newSizes.clear();
    m_reactions.clear();
    m_prepended = 0;
    m_nextStale = -1;
    m_measure = Session::measure();
    m_complete = !dialog;
    if (dialog) {
        const auto reactions = m_session->store().reactions(dialog->dialogId());
        for (auto entry = reactions.cbegin(); entry != reactions.cend(); ++entry) {
            im::MessageReaction record;
            if (record.ParseFromArray(entry->constData(), int(entry->size())))
                m_reactions.insert(entry.key(), describe(record));
        }
        loadOlder(firstPage);
        m_prepended = 0;
    }
    endResetModel();
    Q_EMIT heightsChanged();
}

MessageListModel::Row MessageListModel::rowOf(const MessagePlace &place)
{
    return {place, place.number, QDateTime::fromMSecsSinceEpoch(place.time).date().toJulianDay()};
}

/// Reads the places before the first known one.
bool MessageListModel::loadOlder(int count)
{
    const qint64 before =
        m_rows.empty() ? std::numeric_limits<qint64>::max() : m_rows.front().number;
    QList<MessagePlace> places = m_session->store().places(m_dialog->dialogId(), before, count);
    m_complete = places.size() < count;
    // A group is read as a whole: what may be part of one waits for the next call.
    if (!m_complete && places.last().group != 0) {
        const int group = places.last().group;
        while (places.size() > 1 && places.last().group == group)
            places.removeLast();
    }
    std::vector<Row> rows;
    rows.reserve(size_t(places.size()));
    for (auto place = places.crbegin(); place != places.crend(); ++place) {
        if (!rows.empty() && place->group != 0 && rows.back().group == place->group)
            rows.back().last = place->number;
        else
            rows.push_back(rowOf(*place));
    }
    if (rows.empty())
        return false;

    const int added = int(rows.size());
    const bool isFirst = m_rows.empty(); // inside a model reset
    const double height = totalHeight();
    if (!isFirst)
        beginInsertRows({}, 0, added - 1);
    m_rows.insert(m_rows.begin(), rows.cbegin(), rows.cend());
    m_prepended += added;
    m_nextStale += added;
    addUp(0);
    if (!isFirst) {
        endInsertRows();
        Q_EMIT heightsChanged();
        Q_EMIT grown(added - 1, totalHeight() - height);
    }
    m_background.start();
    return true;
}

void MessageListModel::append(const MessagePlace &place, const QSharedPointer<ContentItem> &item)
{
    if (!m_rows.empty() && place.group != 0 && m_rows.back().group == place.group) {
        // One more message of the group: the row has changed.
        const int row = count() - 1;
        retire(m_rows.back().number);
        m_rows.back().last = place.number;
        m_rows.back().measure = {};
        this->item(row);
        applySizes();
        Q_EMIT dataChanged(index(row), index(row));
        return;
    }
    const int row = count();
    beginInsertRows({}, row, row);
    m_rows.push_back(rowOf(place));
    if (item)
        hold(place.number, item);
    addUp(row);
    endInsertRows();
    if (item && isStale(m_rows.back()))
        resize(place.number, item.data());
    Q_EMIT heightsChanged();
}

void MessageListModel::updateReactions(int messageId)
{
    const auto row = std::find_if(m_rows.crbegin(), m_rows.crend(), [messageId](const Row &other) {
        return other.messageId == messageId;
    });
    im::MessageReaction record;
    const QByteArray bytes = m_session->store().reactions(m_dialog->dialogId()).value(messageId);
    if (row == m_rows.crend() || !record.ParseFromArray(bytes.constData(), int(bytes.size())))
        return;
    const int changed = int(std::distance(row, m_rows.crend())) - 1;
    const double height = totalHeight();
    m_reactions.insert(messageId, describe(record));
    addUp(changed);
    Q_EMIT heightsChanged();
    Q_EMIT grown(changed, totalHeight() - height);
    Q_EMIT dataChanged(index(changed), index(changed));
}

int MessageListModel::find(qint64 number) const
{
    const auto row =
        std::partition_point(m_rows.cbegin(), m_rows.cend(),
                             [number](const Row &other) { return other.number < number; });
    return row != m_rows.cend() && row->number == number ? int(row - m_rows.cbegin()) : -1;
}

void MessageListModel::showMessage(qint64 messageId)
{
    if (!m_dialog)
        return;
    do {
        const auto row = std::find_if(m_rows.cbegin(), m_rows.cend(), [&](const Row &other) {
            return other.messageId == messageId;
        });
        if (row != m_rows.cend())
            return Q_EMIT jumpRequested(int(row - m_rows.cbegin()));
    } while (!m_complete && loadOlder(placesAtOnce));
}

// The heights of rows

bool MessageListModel::startsDay(int row) const
{
    return row == 0 || m_rows[size_t(row)].day != m_rows[size_t(row) - 1].day;
}

/// Whether to name the sender: in groups, for others than the user, when the previous message has
/// another sender. A system line has none.
bool MessageListModel::startsRun(int row) const
{
    const Row &own = m_rows[size_t(row)];
    if (!m_dialog || !m_dialog->isGroup() || own.sender == m_dialog->currentUserId()
        || own.sender == 0)
        return false;
    if (startsDay(row))
        return true;
    const Row &before = m_rows[size_t(row) - 1];
    return before.sender != own.sender || own.time - before.time > runLength;
}

int MessageListModel::rowHeight(int row) const
{
    const Row &own = m_rows[size_t(row)];
    const int content = own.size.height() > 0 ? own.size.height() : unknownHeight;
    return content + Gap + 2 * Padding + TimeHeight + (startsDay(row) ? DayHeight : 0)
        + (startsRun(row) ? SenderHeight : 0)
        + (m_reactions.contains(own.messageId) ? ReactionHeight : 0);
}

void MessageListModel::addUp(int from)
{
    m_ends.resize(m_rows.size());
    double end = from > 0 ? m_ends[size_t(from) - 1] : 0.0;
    for (int row = from; row < count(); ++row) {
        end += rowHeight(row);
        m_ends[size_t(row)] = end;
    }
}

double MessageListModel::offsetOf(int row) const
{
    return row > 0 && !m_ends.empty() ? m_ends[size_t(std::min(row, count())) - 1] : 0.0;
}

int MessageListModel::rowAt(double y) const
{
    const auto row = std::upper_bound(m_ends.cbegin(), m_ends.cend(), y);
    return std::min(int(row - m_ends.cbegin()), count() - 1);
}

bool MessageListModel::isStale(const Row &row) const
{
    return row.measure != m_measure;
}

void MessageListModel::measureAgain()
{
    m_measure = Session::measure();
    retireAll();
    m_nextStale = count() - 1;
    m_background.start();
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0), index(count() - 1));
}

/// Measures rows outside the view; a few contents at a time.
void MessageListModel::measureStale()
{
    QElapsedTimer timer;
    timer.start();
    for (; m_nextStale >= 0 && timer.elapsed() < backgroundTime; --m_nextStale) {
        const Row &row = m_rows[size_t(m_nextStale)];
        if (!isStale(row) || m_newSizes.contains(row.number))
            continue;
        resize(row.number, make(row).data());
    }
    applySizes();
}

/// Not at once: a view requests items in the middle of its layout.
void MessageListModel::resize(qint64 number, const ContentItem *item)
{
    if (m_newSizes.isEmpty())
        QMetaObject::invokeMethod(this, &MessageListModel::applySizes, Qt::QueuedConnection);
    m_newSizes.insert(number, Session::sizeOf(item));
}

void MessageListModel::applySizes()
{
    const auto sizes = std::exchange(m_newSizes, {});
    int first = count();
    QList<std::pair<int, double>> changes;
    for (auto size = sizes.cbegin(); size != sizes.cend(); ++size) {
        const int index = find(size.key());
        if (index < 0)
            continue;
        Row &row = m_rows[size_t(index)];
        const int before = rowHeight(index);
        row.size = *size;
        row.measure = m_measure;
        m_session->keepSize(row);
        if (const int difference = rowHeight(index) - before) {
            changes.append({index, difference});
            first = std::min(first, index);
        }
    }
    if (changes.isEmpty())
        return;
    addUp(first);
    Q_EMIT heightsChanged();
    for (const auto &[row, difference] : std::as_const(changes))
        Q_EMIT grown(row, difference);
}

// The contents of rows

QSharedPointer<ContentItem> MessageListModel::make(const Row &row)
{
    ++m_itemsMade;
    return m_session->make(
        m_session->store().messages(m_dialog->dialogId(), row.number, row.last, row.group));
}

ContentItem *MessageListModel::item(int index)
{
    const Row &row = m_rows[size_t(index)];
    if (const auto *held = m_items.object(row.number))
        return held->data();
    const auto made = make(row);
    hold(row.number, made);
    if (isStale(row) || row.size != Session::sizeOf(made.data()))
        resize(row.number, made.data());
    return made.data();
}

/// Only after the views have switched to other items: they would have nothing to show in between.
void MessageListModel::retireAll()
{
    const auto numbers = m_items.keys();
    for (const qint64 number : numbers)
        retire(number);
}

void MessageListModel::retire(qint64 number)
{
    if (const auto *item = m_items.object(number))
        m_leaving.append(*item);
    m_items.remove(number);
    m_farewell.start();
}

void MessageListModel::hold(qint64 number, const QSharedPointer<ContentItem> &item)
{
    m_items.insert(number, new QSharedPointer<ContentItem>(item));
    if (!item)
        return;
    // When a text is expanded or a picture turns out to be larger, the item signals it.
    connect(item.data(), &ContentItem::needRecalcSize, this, [this, number, item = item.data()] {
        item->calcSize(m_measure.width, 0, 0, ContentItem::CONTENT_CHANGED, false);
        resize(number, item);
    });
}

MessageRow MessageListModel::at(int index)
{
    if (index < 0 || index >= count() || !m_dialog)
        return {};
    const Row &row = m_rows[size_t(index)];
    MessageRow message;
    message.item = item(index);
    message.messageId = row.messageId;
    message.senderId = row.sender;
    message.senderName = m_session->userName(row.sender);
    message.time = QDateTime::fromMSecsSinceEpoch(row.time);
    message.valid = true;
    message.outgoing = row.sender == m_dialog->currentUserId();
    message.showDay = startsDay(index);
    message.showSender = startsRun(index);
    message.mentionsMe = !message.outgoing && m_session->mentionsMe(message.item);
    message.reactions = m_reactions.value(row.messageId);
    return message;
}

void MessageListModel::seen(int index)
{
    if (index < 0 || index >= count() || !m_dialog)
        return;
    const int messageId = m_rows[size_t(index)].messageId;
    m_dialog->confirmAtMeMessage(messageId);
    m_dialog->confirmReactedMessage(messageId);
}
