#include "content/items/carditem.h"

#include "content/fields_p.h"
#include "content/items/namedobject_p.h"
#include "content/photodata.h"

using im::content::Card;
using im::content::Content;
using im::content::FileInfo;

template <>
struct Fields<CardItem::Photo> {
    using Photo = CardItem::Photo;

    static constexpr auto rarely = Written::UnlessEmpty;
    static constexpr std::tuple table{
        field<&Photo::id, KEY("photoId"), &FileInfo::id, &FileInfo::mutable_id, none>,
        field<&Photo::aesKey, KEY("aesKey"), &FileInfo::key, &FileInfo::mutable_key, none>,
        field<&Photo::md5, KEY("photoMd5"), &FileInfo::checksum, &FileInfo::mutable_checksum, none,
              rarely>,
        field<&Photo::name, KEY("photoName"), &FileInfo::name, &FileInfo::mutable_name, none,
              rarely>,
        field<&Photo::size, KEY("photoSize"), &FileInfo::size, &FileInfo::set_size, none, rarely>,
        field<&Photo::version, KEY("photoVersion"), &FileInfo::version, &FileInfo::set_version,
              none, rarely>,
    };
};

template <>
struct Fields<CardItem>
    : KindOf<ContentItem, &Content::has_card, &Content::card, &Content::mutable_card> {
    static constexpr std::tuple table{
        field<&CardItem::m_nick, KEY("nick"), &Card::nickname, &Card::mutable_nickname,
              &CardItem::nickChanged>,
        field<&CardItem::m_userId, KEY("userId"), &Card::user_id, &Card::set_user_id,
              &CardItem::userIdChanged>,
        field<&CardItem::m_imId, KEY("imId"), &Card::im_id, &Card::mutable_im_id,
              &CardItem::imIdChanged, Written::UnlessEmpty>,
        partField<&CardItem::m_photo, &Card::has_avatar_thumb, &Card::avatar_thumb,
                  &Card::mutable_avatar_thumb, &CardItem::photoChanged>,
        derived<&CardItem::user, &CardItem::userChanged>,
        derived<&CardItem::name, &CardItem::nameChanged>,
    };
};

/// The record of a photo, and what it was made of.
struct CardItem::PhotoRecord {
    Photo photo;
    QSharedPointer<PhotoData> record;
};

CONSTRUCT_BY_FIELDS(CardItem, ContentItem, ContentItem::Card,
                    NamedObject::follow((m_user = other->m_user).data(), this,
                                        &CardItem::nameChanged))
STORE_BY_FIELDS(CardItem, ContentItem)
SEND_BY_FIELDS(CardItem)

CardItem::~CardItem() = default;

SET_BY_FIELD(CardItem, setNick, const QString &, m_nick)
SET_BY_FIELD(CardItem, setUserId, qint32, m_userId)
SET_BY_FIELD(CardItem, setImId, const QString &, m_imId)
SET_BY_FIELD(CardItem, setPhoto, const Photo &, m_photo)

QSharedPointer<PhotoData> CardItem::photo() const
{
    if (m_photo.id.isEmpty())
        return {};
    if (!m_photoRecord || m_photoRecord->photo != m_photo) {
        FileInfo info;
        ItemFields::writeParts(m_photo, &info);
        m_photoRecord = std::make_unique<PhotoRecord>(
            PhotoRecord{m_photo, QSharedPointer<PhotoData>::create(info)});
    }
    return m_photoRecord->record;
}

void CardItem::setUser(QObject *user)
{
    if (user == m_user)
        return;
    const Changes changes(this);
    NamedObject::unfollow(m_user, this);
    m_user = user;
    NamedObject::follow(user, this, &CardItem::nameChanged);
}

QString CardItem::name() const
{
    const QString ofUser = NamedObject::nameOf(m_user);
    return ofUser.isEmpty() ? m_nick : ofUser;
}

QString CardItem::getKeyword() const
{
    return QStringList{m_nick, m_imId, content()}.join(QLatin1Char('\n')).trimmed();
}
