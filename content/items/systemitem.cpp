#include "content/items/systemitem.h"

#include "account/accountbase.h"
#include "base/drawabletextbase.h"
#include "content/fields_p.h"
#include "content/items/alerttext_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/namedobject_p.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"

#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{

using Alert = im::content::SystemAlert;

/// Longer lists are not read by anybody, and each target takes a whole record.
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

} // namespace

template <>
struct Fields<SystemItem>
    : KindOf<ContentItem, &im::content::Content::has_system_alert,
             &im::content::Content::system_alert, &im::content::Content::mutable_system_alert> {
    static constexpr std::tuple table{
        derived<&SystemItem::alertType, &SystemItem::alertTypeChanged>,
        derived<&SystemItem::dialogFlags, &SystemItem::dialogFlagsChanged>,
        derived<&SystemItem::dismissAt, &SystemItem::dismissAtChanged>,
        derived<&SystemItem::limitCount, &SystemItem::limitCountChanged>,
        derived<&SystemItem::limitDays, &SystemItem::limitDaysChanged>,
        derived<&SystemItem::mediaType, &SystemItem::mediaTypeChanged>,
        derived<&SystemItem::time, &SystemItem::timeChanged>,
        derived<&SystemItem::topicUpdateType, &SystemItem::topicUpdateTypeChanged>,
        derived<&SystemItem::sender, &SystemItem::senderChanged>,
        derived<&SystemItem::targets, &SystemItem::targetsChanged>,
        derived<&SystemItem::allTargets, &SystemItem::allTargetsChanged>,
        derived<&SystemItem::wallpaper, &SystemItem::wallpaperChanged>,
        derived<&SystemItem::text, &SystemItem::textChanged>,
        sizedBy<&SystemItem::text>,
    };
};

SystemItem::SystemItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_info(storedAlert(map)), m_account(account)
{
    if (!m_info)
        m_info = std::make_unique<Alert>();
    ItemFields::setType(*this, System);
}

SystemItem::SystemItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account), m_info(kept(content.system_alert())),
      m_account(account)
{
    ItemFields::setType(*this, System);
}

SystemItem::SystemItem(int source, AccountBase *account)
    : ContentItem(source, account), m_info(std::make_unique<Alert>()), m_account(account)
{
    ItemFields::setType(*this, System);
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
    const Changes changes(this);
    m_info = kept(info);
    m_topicUpdateType = -1;
}

bool SystemItem::checkSystemAlert(const Alert &alert)
{
    AlertText::Circumstances circumstances;
    circumstances.topicUpdate = AlertText::topicUpdate(alert);
    return AlertText::compose(alert, circumstances).isComplete;
}

/// Whether this is an older record, which has a text instead of an alert.
bool SystemItem::hasOwnText() const
{
    return (m_info->type() == Alert::UNKNOWN || !Alert::Type_IsValid(m_info->type()))
        && !content().isEmpty();
}

QString SystemItem::text() const
{
    if (hasOwnText())
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

void SystemItem::retranslate()
{
    if (hasOwnText())
        return;
    Changes changes(this);
    changes.add(&emitPlain<&SystemItem::textChanged>);
    changes.addResize();
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
    const Changes changes(this);
    m_info->set_media_type(im::Message::MediaType(mediaType));
}

qint32 SystemItem::topicUpdateType() const
{
    return m_topicUpdateType >= 0 ? m_topicUpdateType : AlertText::topicUpdate(*m_info);
}

SET_BY_FIELD(SystemItem, setTopicUpdateType, qint32, m_topicUpdateType)

// The application's objects

void SystemItem::setSender(ContactBase *sender)
{
    if (sender == m_sender)
        return;
    const Changes changes(this);
    unfollowNames();
    m_sender = sender;
    followNames();
}

QList<QObject *> SystemItem::targets() const
{
    return {m_targets.cbegin(), m_targets.cend()};
}

void SystemItem::setTargets(const QList<QObject *> &targets)
{
    if (targets == this->targets())
        return;
    const Changes changes(this);
    unfollowNames();
    m_targets = {targets.cbegin(), targets.cend()};
    followNames();
}

QString SystemItem::allTargets() const
{
    QStringList names;
    for (const QObject *target : m_targets)
        names.append(NamedObject::nameOf(target));
    names.removeAll(QString());
    return names.join(QStringLiteral(", "));
}

SET_BY_FIELD(SystemItem, setWallpaper, QObject *, m_wallpaper)

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
    const Changes changes(this);
    if (const std::unique_ptr<Alert> alert = storedAlert(map))
        setInfo(*alert);
    ContentItem::deserialize(map); // older records have their text as content
}

void SystemItem::setContent(const im::content::Content &content)
{
    if (!ItemFields::isOwn(*this, content))
        return;
    const Changes changes(this);
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
