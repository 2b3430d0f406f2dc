#include "content/items/carditem.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/changes_p.h"
#include "content/items/namedobject_p.h"
#include "content/photodata.h"
#include "core/logs_p.h"
#include "protocol/message_content.pb.h"

namespace
{

using Map = QMap<QString, QVariant>;

constexpr auto nickKey = [] { return QStringLiteral("nick"); };
constexpr auto userIdKey = [] { return QStringLiteral("userId"); };
constexpr auto imIdKey = [] { return QStringLiteral("imId"); };

// Of the photo.

constexpr auto photoIdKey = [] { return QStringLiteral("photoId"); };
constexpr auto aesKeyKey = [] { return QStringLiteral("aesKey"); };
constexpr auto md5Key = [] { return QStringLiteral("photoMd5"); };
constexpr auto photoNameKey = [] { return QStringLiteral("photoName"); };
constexpr auto photoSizeKey = [] { return QStringLiteral("photoSize"); };
constexpr auto photoVersionKey = [] { return QStringLiteral("photoVersion"); };

CardItem::Photo photoOf(const Map &map)
{
    return {map.value(photoIdKey()).toString(),
            StoredValue::toBytes(map.value(aesKeyKey()), aesKeyKey()),
            StoredValue::toBytes(map.value(md5Key()), md5Key()),
            map.value(photoNameKey()).toString(),
            StoredValue::toInt64(map.value(photoSizeKey())),
            StoredValue::toInt32(map.value(photoVersionKey()))};
}

CardItem::Photo photoOf(const im::content::FileInfo &info)
{
    return {Util::fromUtf8(info.id()),
            QByteArray::fromStdString(info.key()),
            QByteArray::fromStdString(info.checksum()),
            Util::fromUtf8(info.name()),
            info.size(),
            info.version()};
}

void write(const CardItem::Photo &photo, im::content::FileInfo *info)
{
    info->set_id(photo.id.toStdString());
    info->set_key(photo.aesKey.toStdString());
    info->set_checksum(photo.md5.toStdString());
    info->set_name(photo.name.toStdString());
    info->set_size(photo.size);
    info->set_version(photo.version);
}

} // namespace

CardItem::CardItem(const Map &map, int source, AccountBase *account)
    : ContentItem(map, source, account), m_nick(map.value(nickKey()).toString()),
      m_imId(map.value(imIdKey()).toString()), m_photo(photoOf(map)),
      m_userId(StoredValue::toInt32(map.value(userIdKey())))
{
    setType(Card);
}

CardItem::CardItem(const im::content::Content &content, int source, AccountBase *account)
    : ContentItem(content, source, account), m_nick(Util::fromUtf8(content.card().nickname())),
      m_imId(Util::fromUtf8(content.card().im_id())), m_userId(content.card().user_id())
{
    setType(Card);
    if (content.card().has_avatar_thumb())
        m_photo = photoOf(content.card().avatar_thumb());
    if (content.card().has_caption())
        deserializeText(content.card().caption());
}

CardItem::CardItem(int source, AccountBase *account) : ContentItem(source, account)
{
    setType(Card);
}

CardItem::CardItem(const CardItem *other)
    : ContentItem(other), m_nick(other->m_nick), m_imId(other->m_imId), m_photo(other->m_photo),
      m_userId(other->m_userId)
{
    setUser(other->m_user);
}

CardItem::~CardItem() = default;

void CardItem::setNick(const QString &nick)
{
    Changes changes(this);
    take(changes, nick, m_userId, m_imId, m_photo);
}

void CardItem::setUserId(qint32 userId)
{
    Changes changes(this);
    take(changes, m_nick, userId, m_imId, m_photo);
}

void CardItem::setImId(const QString &imId)
{
    Changes changes(this);
    take(changes, m_nick, m_userId, imId, m_photo);
}

void CardItem::setPhoto(const Photo &photo)
{
    Changes changes(this);
    take(changes, m_nick, m_userId, m_imId, photo);
}

void CardItem::take(Changes<CardItem> &changes, const QString &nick, qint32 userId,
                    const QString &imId, const Photo &photo)
{
    const QString nameBefore = name();
    changes.set(m_nick, nick, &CardItem::nickChanged);
    changes.set(m_userId, userId, &CardItem::userIdChanged);
    changes.set(m_imId, imId, &CardItem::imIdChanged);
    if (changes.set(m_photo, photo, &CardItem::photoChanged))
        m_photoData.reset();
    if (name() != nameBefore)
        changes.add(&CardItem::nameChanged);
}

QSharedPointer<PhotoData> CardItem::photo() const
{
    if (!m_photoData && !m_photo.id.isEmpty()) {
        im::content::FileInfo info;
        write(m_photo, &info);
        m_photoData = QSharedPointer<PhotoData>::create(info);
    }
    return m_photoData;
}

void CardItem::setUser(QObject *user)
{
    if (user == m_user)
        return;
    const QString nameBefore = name();
    NamedObject::unfollow(m_user, this);
    m_user = user;
    NamedObject::follow(user, this, &CardItem::nameChanged);
    Q_EMIT userChanged();
    if (name() != nameBefore)
        Q_EMIT nameChanged();
}

QString CardItem::name() const
{
    const QString ofUser = NamedObject::nameOf(m_user);
    return ofUser.isEmpty() ? m_nick : ofUser;
}

void CardItem::serialize(Map &map) const
{
    ContentItem::serialize(map);
    map.insert(nickKey(), m_nick);
    map.insert(userIdKey(), m_userId);
    map.insert(photoIdKey(), m_photo.id);
    map.insert(aesKeyKey(), StoredValue::fromBytes(m_photo.aesKey));
    if (!m_imId.isEmpty())
        map.insert(imIdKey(), m_imId);
    if (!m_photo.md5.isEmpty())
        map.insert(md5Key(), StoredValue::fromBytes(m_photo.md5));
    if (!m_photo.name.isEmpty())
        map.insert(photoNameKey(), m_photo.name);
    if (m_photo.size != 0)
        map.insert(photoSizeKey(), m_photo.size);
    if (m_photo.version != 0)
        map.insert(photoVersionKey(), m_photo.version);
}

void CardItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Card *card = content->mutable_card();
    if (m_photo != Photo() || card->has_avatar_thumb())
        write(m_photo, card->mutable_avatar_thumb());
    card->set_nickname(m_nick.toStdString());
    card->set_im_id(m_imId.toStdString());
    card->set_user_id(m_userId);
    writeCaption(card);
}

void CardItem::deserialize(const Map &map)
{
    Changes changes(this);
    take(changes, map.value(nickKey()).toString(), StoredValue::toInt32(map.value(userIdKey())),
         map.value(imIdKey()).toString(), photoOf(map));
    ContentItem::deserialize(map);
}

void CardItem::setContent(const im::content::Content &content)
{
    if (!content.has_card()) {
        qCDebug(lcModel, "A card cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    const im::content::Card &card = content.card();
    Changes changes(this);
    take(changes, Util::fromUtf8(card.nickname()), card.user_id(), Util::fromUtf8(card.im_id()),
         photoOf(card.avatar_thumb()));
    updateText(card.caption());
    keepRemainder(content);
}

QString CardItem::getKeyword() const
{
    return QStringList{m_nick, m_imId, content()}.join(QLatin1Char('\n')).trimmed();
}
