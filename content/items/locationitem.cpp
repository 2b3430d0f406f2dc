#include "content/items/locationitem.h"

#include "base/util.h"
#include "content/changes_p.h"
#include "content/items/fileitem_p.h"
#include "content/items/mediabox_p.h"
#include "content/items/thumbnail_p.h"
#include "core/logs_p.h"
#include "imlog/imlog.h"
#include "protocol/message_content.pb.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

namespace
{

/// In pixels.
constexpr QSize naturalMapSize(320, 180);

/// Also where the numbers are none, which are never equal.
bool isSame(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// JSON has no form for what is no number, nor for the sign of a zero: their bits stand for them.
QVariant stored(double number)
{
    if (std::isfinite(number) && (number != 0 || !std::signbit(number)))
        return number;
    return QStringLiteral("0x%1").arg(std::bit_cast<quint64>(number), 0, 16);
}

double fromStored(const QVariant &value)
{
    const QString text = value.toString();
    return text.startsWith(u"0x") ? std::bit_cast<double>(text.toULongLong(nullptr, 16))
                                  : value.toDouble();
}

LocationItem::MapImageFetcher &fetcher()
{
    static LocationItem::MapImageFetcher function;
    return function;
}

} // namespace

LocationItem::LocationItem(int source, AccountBase *account) : MediaFileItem(source, account)
{
    setType(Location);
}

LocationItem::LocationItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : MediaFileItem(map, source, account)
{
    Changes<LocationItem> changes(this);
    read(map, changes);
}

LocationItem::LocationItem(const im::content::Content &content, int source, AccountBase *account)
    : MediaFileItem(content, source, account)
{
    const QSignalBlocker blocker(this); // nobody can listen yet
    if (content.has_location())
        read(content);
}

LocationItem::LocationItem(const LocationItem *other)
    : MediaFileItem(other), m_longitude(other->m_longitude), m_latitude(other->m_latitude),
      m_place(other->m_place), m_address(other->m_address)
{
}

// Fields

bool LocationItem::replaceCoordinates(double longitude, double latitude,
                                      Changes<LocationItem> &changes)
{
    if (isSame(longitude, m_longitude) && isSame(latitude, m_latitude))
        return false;
    m_longitude = longitude;
    m_latitude = latitude;
    m_isMapWanted = false;
    changes.add(&LocationItem::coordinatesChanged);
    return true;
}

void LocationItem::setCoordinates(double longitude, double latitude)
{
    Changes<LocationItem> changes(this);
    if (replaceCoordinates(longitude, latitude, changes))
        setThumbnailFile({});
}

bool LocationItem::hasCoordinates() const
{
    // Comparisons with what is no number are false.
    return std::abs(m_longitude) <= 180 && std::abs(m_latitude) <= 90;
}

QString LocationItem::gps() const
{
    // Six digits are a tenth of a metre.
    return hasCoordinates()
        ? QStringLiteral("%1, %2").arg(m_latitude, 0, 'f', 6).arg(m_longitude, 0, 'f', 6)
        : QString();
}

void LocationItem::setPlace(const QString &place)
{
    Update<LocationItem>(this).set(m_place, place, &LocationItem::placeChanged);
}

void LocationItem::setAddress(const QString &address)
{
    Update<LocationItem>(this).set(m_address, address, &LocationItem::addressChanged);
}

// Map image

void LocationItem::setMapImageFetcher(MapImageFetcher function)
{
    fetcher() = std::move(function);
}

void LocationItem::fetchMapImage()
{
    if (m_isMapWanted || !lacksThumbnail() || !hasCoordinates() || !fetcher())
        return;
    const auto self = sharedFromThis().staticCast<LocationItem>();
    if (!self)
        return;
    m_isMapWanted = true;
    fetcher()(self, m_longitude, m_latitude, naturalMapSize);
}

bool LocationItem::setMapImage(const QString &path, double longitude, double latitude)
{
    if (!isSame(longitude, m_longitude) || !isSame(latitude, m_latitude))
        return false;
    if (pictureSize(path).isEmpty()) {
        ImLog::error(lcModel(), QStringLiteral("\"%1\" is no image of a map.").arg(path));
        return false;
    }
    const auto image = localThumbnail(path);
    m_isMapWanted = m_isMapWanted && !image;
    if (image)
        setThumbnailFile(image);
    return image != nullptr;
}

// Stored form

void LocationItem::serialize(QMap<QString, QVariant> &map) const
{
    MediaFileItem::serialize(map);
    map.insert(QStringLiteral("longitude"), stored(m_longitude));
    map.insert(QStringLiteral("latitude"), stored(m_latitude));
    map.insert(QStringLiteral("place"), m_place);
    map.insert(QStringLiteral("address"), m_address);
    map.insert(QStringLiteral("gps"), gps());
}

void LocationItem::read(const QMap<QString, QVariant> &map, Changes<LocationItem> &changes)
{
    replaceCoordinates(fromStored(map.value(QStringLiteral("longitude"))),
                       fromStored(map.value(QStringLiteral("latitude"))), changes);
    changes.set(m_place, map.value(QStringLiteral("place")).toString(),
                &LocationItem::placeChanged);
    changes.set(m_address, map.value(QStringLiteral("address")).toString(),
                &LocationItem::addressChanged);
}

void LocationItem::deserialize(const QMap<QString, QVariant> &map)
{
    Update<LocationItem> changes(this);
    read(map, changes);
    MediaFileItem::deserialize(map);
}

// Protocol

void LocationItem::serialize(im::content::Content *content) const
{
    startRecord(content);
    im::content::Location *body = content->mutable_location();
    body->set_longitude(m_longitude);
    body->set_latitude(m_latitude);
    body->set_title(m_place.toStdString());
    body->set_address(m_address.toStdString());
    writeCaption(body);
}

void LocationItem::setContent(const im::content::Content &content)
{
    if (!content.has_location()) {
        qCDebug(lcModel, "A location cannot be updated from a content of type %d.",
                int(content.data_case()));
        return;
    }
    read(content);
    keepRemainder(content);
}

void LocationItem::read(const im::content::Content &content)
{
    const im::content::Location &body = content.location();
    Update<LocationItem> changes(this);
    const bool isElsewhere = replaceCoordinates(body.longitude(), body.latitude(), changes);
    changes.set(m_place, Util::fromUtf8(body.title()), &LocationItem::placeChanged);
    changes.set(m_address, Util::fromUtf8(body.address()), &LocationItem::addressChanged);
    if (isElsewhere && thumbnailFile())
        setThumbnailFile({});
    updateText(body.caption());
}

QString LocationItem::getKeyword() const
{
    QStringList words{ContentItem::getKeyword(), m_place, m_address};
    words.removeAll(QString());
    return words.join(u'\n');
}

// Layout

QSize LocationItem::mapSize(int maxWidth, bool inThread) const
{
    return MediaBox::box(naturalMapSize, MediaBox::messageWidth(maxWidth, inThread));
}

QVariantList LocationItem::measured() const
{
    return {m_place, m_address};
}

QSize LocationItem::mediaSize(int maxWidth, bool inThread) const
{
    const QSize map = mapSize(maxWidth, inThread);
    return MediaBox::stacked(map, MediaBox::lines({m_place, m_address}, map.width()));
}
