#include "content/items/systemitem.h"

#include "account/accountbase.h"
#include "base/drawabletextbase.h"
#include "base/storedvalue.h"
#include "content/changes_p.h"
#include "content/items/alerttext_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/namedobject_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QGuiApplication>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{

using Alert = im::content::SystemAlert;

/// More names nobody reads; each takes a whole record.
constexpr int mostTargets = 1000;

constexpr auto alertKey = [] { return QStringLiteral("alert"); };
constexpr auto sysTypeKey = [] { return QStringLiteral("sysType"); };

std::unique_ptr<Alert> kept(const Alert &record)
{
    auto alert = std::make_unique<Alert>(record);
    if (const int more = alert->targets_size() - mostTargets; more > 0) {
        ImLog::error(lcModel(),
                     QStringLiteral("A system alert is about more than %1 people; the others are "
                                    "dropped.")
                         .arg(mostTargets));
        alert->mutable_targets()->DeleteSubrange(mostTargets, more);
    }
    return alert;
}

/// The record of a stored map; null when it has none.
std::unique_ptr<Alert> storedAlert(const QMap<QString, QVariant> &map)
{
    if (const auto value = map.constFind(alertKey()); value != map.constEnd()) {
        const QByteArray bytes = StoredValue::toBytes(*value, alertKey());
        auto alert = std::make_unique<Alert>();
        const bool isRefused = bytes.isEmpty() && !value->toByteArray().isEmpty();
        if (!isRefused && alert->ParseFromArray(bytes.constData(), int(bytes.size())))
            return kept(*alert);
        ImLog::error(lcModel(), QStringLiteral("The record of a stored system alert is damaged"));
        return nullptr;
    }
    if (const auto value = map.constFind(sysTypeKey()); value != map.constEnd()) {
        auto alert = std::make_unique<Alert>();
        alert->set_type(Alert::Type(StoredValue::toInt32(*value)));
        return alert;
    }
    return nullptr;
}

/// What of an item follows from its record alone.
struct Derived {
    qint64 (*value)(const SystemItem &item);
    void (SystemItem::*changed)();
};

constexpr Derived derived[] = {
    {[](const SystemItem &item) -> qint64 { return item.alertType(); },
     &SystemItem::alertTypeChanged},
    {[](const SystemItem &item) -> qint64 { return item.dialogFlags(); },
     &SystemItem::dialogFlagsChanged},
    {[](const SystemItem &item) -> qint64 { return item.dismissAt(); },
     &SystemItem::dismissAtChanged},
    {[](const SystemItem &item) -> qint64 { return item.limitCount(); },
     &SystemItem::limitCountChanged},
    {[](const SystemItem &item) -> qint64 { return item.limitDays(); },
     &SystemItem::limitDaysChanged},
    {[](const SystemItem &item) -> qint64 { return item.mediaType(); },
     &SystemItem::mediaTypeChanged},
    {[](const SystemItem &item) -> qint64 { return item.time(); }, &SystemItem::timeChanged},
    {[](const SystemItem &item) -> qint64 { return item.topicUpdateType(); },
     &SystemItem::topicUpdateTypeChanged},
};

} // namespace

SystemItem::SystemItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_info(storedAlert(map)), m_account(account)
{
    if (!m_info)
        m_info = std::make_unique<Alert>();
    setType(System);
}

SystemItem::SystemItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account), m_info(kept(content.system_alert())),
      m_account(account)
{
    setType(System);
}

SystemItem::SystemItem(int source, AccountBase *account)
    : ContentItem(source, account), m_info(std::make_unique<Alert>()), m_account(account)
{
    setType(System);
}

SystemItem::SystemItem(const SystemItem *other)
    : ContentItem(other), m_info(std::make_unique<Alert>(*other->m_info)),
      m_account(other->m_account), m_sender(other->m_sender), m_wallpaper(other->m_wallpaper),
      m_targets(other->m_targets), m_topicUpdateType(other->m_topicUpdateType)
{
    followNames();
}

SystemItem::~SystemItem() = default;

// The record

void SystemItem::setInfo(const Alert &info)
{
    if (&info == m_info.get() || info.SerializeAsString() == m_info->SerializeAsString())
        return;
    const QString textBefore = text();
    QVarLengthArray<qint64, 8> before;
    for (const Derived &row : derived)
        before.append(row.value(*this));

    m_info = kept(info);
    m_topicUpdateType = -1;

    auto previous = before.cbegin();
    for (const auto &[value, changed] : derived) {
        if (value(*this) != *previous++)
            Q_EMIT(this->*changed)();
    }
    tellText(textBefore);
}

bool SystemItem::checkSystemAlert(const Alert &alert)
{
    AlertText::Circumstances circumstances;
    circumstances.topicUpdate = AlertText::topicUpdate(alert);
    return AlertText::compose(alert, circumstances).isComplete;
}

/// An older record knows no more of what happened than its text.
bool SystemItem::isWordedElsewhere() const
{
    return (m_info->type() == Alert::UNKNOWN || !Alert::Type_IsValid(m_info->type()))
        && !content().isEmpty();
}

QString SystemItem::text() const
{
    if (isWordedElsewhere())
        return content();
    AlertText::Circumstances circumstances;
    if (m_account)
        circumstances.isMe = [account = m_account](qint64 id) { return account->isMyUserId(id); };
    circumstances.sender = NamedObject::nameOf(m_sender);
    for (const QObject *target : m_targets)
        circumstances.targets.append(NamedObject::nameOf(target));
    circumstances.topicUpdate = topicUpdateType();
    return AlertText::compose(*m_info, circumstances).text;
}

void SystemItem::tellText(const QString &before)
{
    if (text() == before)
        return;
    Q_EMIT textChanged();
    Q_EMIT needRecalcSize();
}

void SystemItem::retranslate()
{
    if (isWordedElsewhere())
        return;
    Q_EMIT textChanged();
    Q_EMIT needRecalcSize();
}

qint32 SystemItem::alertType() const
{
    return m_info->type();
}

qint32 SystemItem::dialogFlags() const
{
    return m_info->dialog_flags();
}

qint64 SystemItem::dismissAt() const
{
    return m_info->dismiss_at();
}

qint32 SystemItem::limitCount() const
{
    return m_info->message_limit().length();
}

qint32 SystemItem::limitDays() const
{
    return m_info->message_limit().days();
}

qint32 SystemItem::time() const
{
    return m_info->time();
}

qint32 SystemItem::mediaType() const
{
    return m_info->media_type();
}

void SystemItem::setMediaType(qint32 mediaType)
{
    if (mediaType == m_info->media_type())
        return;
    const QString textBefore = text();
    m_info->set_media_type(im::Message::MediaType(mediaType));
    Q_EMIT mediaTypeChanged();
    tellText(textBefore);
}

qint32 SystemItem::topicUpdateType() const
{
    return m_topicUpdateType >= 0 ? m_topicUpdateType : AlertText::topicUpdate(*m_info);
}

void SystemItem::setTopicUpdateType(qint32 topicUpdateType)
{
    const QString textBefore = text();
    const qint32 before = this->topicUpdateType();
    m_topicUpdateType = topicUpdateType;
    if (this->topicUpdateType() != before)
        Q_EMIT topicUpdateTypeChanged();
    tellText(textBefore);
}

// The application's objects

void SystemItem::setSender(ContactBase *sender)
{
    if (sender == m_sender)
        return;
    const QString textBefore = text();
    unfollowNames();
    m_sender = sender;
    followNames();
    Q_EMIT senderChanged();
    tellText(textBefore);
}

QList<QObject *> SystemItem::targets() const
{
    return {m_targets.cbegin(), m_targets.cend()};
}

void SystemItem::setTargets(const QList<QObject *> &targets)
{
    if (targets == this->targets())
        return;
    const QString textBefore = text();
    const QString namesBefore = allTargets();
    unfollowNames();
    m_targets = {targets.cbegin(), targets.cend()};
    followNames();
    Q_EMIT targetsChanged();
    if (allTargets() != namesBefore)
        Q_EMIT allTargetsChanged();
    tellText(textBefore);
}

QString SystemItem::allTargets() const
{
    QStringList names;
    for (const QObject *target : m_targets)
        names.append(NamedObject::nameOf(target));
    names.removeAll(QString());
    return names.join(QStringLiteral(", "));
}

void SystemItem::setWallpaper(QObject *wallpaper)
{
    if (wallpaper == m_wallpaper)
        return;
    m_wallpaper = wallpaper;
    Q_EMIT wallpaperChanged();
}

void SystemItem::followNames()
{
    NamedObject::follow<SystemItem>(m_sender.data(), this, &SystemItem::textChanged);
    NamedObject::follow<SystemItem>(m_sender.data(), this, &SystemItem::needRecalcSize);
    for (const QObject *target : std::as_const(m_targets)) {
        NamedObject::follow<SystemItem>(target, this, &SystemItem::textChanged);
        NamedObject::follow<SystemItem>(target, this, &SystemItem::needRecalcSize);
        NamedObject::follow(target, this, &SystemItem::allTargetsChanged);
    }
}

void SystemItem::unfollowNames()
{
    NamedObject::unfollow(m_sender, this);
    for (const QObject *target : std::as_const(m_targets))
        NamedObject::unfollow(target, this);
}

bool SystemItem::update(const QSharedPointer<ContentItem> &other)
{
    const auto *item = qobject_cast<const SystemItem *>(other.data());
    if (!item || item == this)
        return false;
    bool changed = false;
    if (item->alertType() != Alert::UNKNOWN || alertType() == Alert::UNKNOWN) {
        changed = item->m_info->SerializeAsString() != m_info->SerializeAsString();
        setInfo(*item->m_info);
    }
    if (item->m_sender && item->m_sender != m_sender) {
        changed = true;
        setSender(item->m_sender);
    }
    if (!item->m_targets.isEmpty() && item->m_targets != m_targets) {
        changed = true;
        setTargets(item->targets());
    }
    if (item->m_wallpaper && item->m_wallpaper != m_wallpaper) {
        changed = true;
        setWallpaper(item->m_wallpaper);
    }
    return changed;
}

// Forms

void SystemItem::serialize(QMap<QString, QVariant> &map) const
{
    ContentItem::serialize(map);
    map.insert(alertKey(),
               StoredValue::fromBytes(QByteArray::fromStdString(m_info->SerializeAsString())));
}

void SystemItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    *content->mutable_system_alert() = *m_info;
}

void SystemItem::deserialize(const QMap<QString, QVariant> &map)
{
    if (const std::unique_ptr<Alert> alert = storedAlert(map))
        setInfo(*alert);
    const QString before = text();
    ContentItem::deserialize(map); // older records have their text as content
    tellText(before);
}

void SystemItem::setContent(const im::content::Content &content)
{
    if (!content.has_system_alert()) {
        qCDebug(lcModel, "A system alert cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    setInfo(content.system_alert());
    keepRemainder(content);
}

QSize SystemItem::calcContentSize(int &lineCount, int maxWidth, int, bool inThread)
{
    lineCount = 0;
    QSize size;
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        const QFont font = ContentMetrics::textFont(ContentMetrics::systemPixelSize());
        const int width =
            MediaBox::messageWidth(maxWidth, inThread) - 2 * ContentMetrics::SystemSidePadding;
        const auto measured = DrawableTextBase::calculateSize(text(), std::max(width, 1), font, 0,
                                                              0.0, 0, {}, true, true, 0);
        lineCount = measured.lineCount;
        size = {int(std::ceil(std::min<double>(measured.size.width(), width)))
                    + 2 * ContentMetrics::SystemSidePadding,
                int(std::ceil(measured.size.height())) + 2 * ContentMetrics::SystemVerticalPadding};
    }
    setLineCount(lineCount);
    return size;
}
