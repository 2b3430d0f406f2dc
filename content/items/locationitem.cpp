#include "content/items/locationitem.h"

#include "content/items/mediabox_p.h"
#include "content/items/mediafileitem_p.h"
#include "content/items/thumbnail_p.h"
#include "imlog/imlog.h"

#include <bit>
#include <cmath>
#include <utility>

namespace
{

/// In pixels.
constexpr QSize naturalMapSize(320, 180);

/// By their bits: NaN is not equal to itself.
bool isSame(double a, double b)
{
    return std::bit_cast<quint64>(a) == std::bit_cast<quint64>(b);
}

/// JSON has no form for NaN, infinity and the sign of a zero: their bits are stored.
QVariant storedNumber(double number)
{
    if (std::isfinite(number) && (number != 0 || !std::signbit(number)))
        return number;
    return QStringLiteral("0x%1").arg(std::bit_cast<quint64>(number), 0, 16);
}

double fromStoredNumber(const QVariant &value)
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

using im::content::Content;
using im::content::Location;

template <>
struct Fields<LocationItem> : KindOf<MediaFileItem, &Content::has_location, &Content::location,
                                     &Content::mutable_location> {

    template <auto Member, auto Key, auto Get, auto Put>
    struct Coordinate
        : Field<Member, Key, Get, Put, &LocationItem::coordinatesChanged, Written::Always> {
        static quint64 value(const LocationItem &item)
        {
            return std::bit_cast<quint64>(item.*Member);
        }
        static void read(LocationItem &item, const StoredMap &map)
        {
            item.*Member = fromStoredNumber(map.value(Key()));
        }
        static void write(const LocationItem &item, StoredMap &map)
        {
            map.insert(Key(), storedNumber(item.*Member));
        }
    };
    struct Gps : Row {
        static void write(const LocationItem &item, StoredMap &map)
        {
            map.insert(QStringLiteral("gps"), item.gps());
        }
    };

    static constexpr std::tuple table{
        Coordinate<&LocationItem::m_longitude, KEY("longitude"), &Location::longitude,
                   &Location::set_longitude>(),
        Coordinate<&LocationItem::m_latitude, KEY("latitude"), &Location::latitude,
                   &Location::set_latitude>(),
        field<&LocationItem::m_place, KEY("place"), &Location::title, &Location::mutable_title,
              &LocationItem::placeChanged>,
        field<&LocationItem::m_address, KEY("address"), &Location::address,
              &Location::mutable_address, &LocationItem::addressChanged>,
        Gps(),
    };
};

CONSTRUCT_BY_FIELDS(LocationItem, MediaFileItem, ContentItem::Location)

// Fields

template <typename Update>
bool LocationItem::move(Update update)
{
    const double longitude = m_longitude;
    const double latitude = m_latitude;
    update();
    const bool isElsewhere = !isSame(longitude, m_longitude) || !isSame(latitude, m_latitude);
    if (isElsewhere)
        m_isMapWanted = false;
    return isElsewhere;
}

void LocationItem::setCoordinates(double longitude, double latitude)
{
    const Changes changes(this);
    const bool isElsewhere = move([&] {
        m_longitude = longitude;
        m_latitude = latitude;
    });
    if (isElsewhere)
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

SET_BY_FIELD(LocationItem, setPlace, const QString &, m_place)
SET_BY_FIELD(LocationItem, setAddress, const QString &, m_address)

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

// Stored form and protocol

void LocationItem::serialize(StoredMap &map) const
{
    MediaFileItem::serialize(map);
    ItemFields::write(*this, map);
}

void LocationItem::deserialize(const StoredMap &map)
{
    const Changes changes(this);
    move([&] { ItemFields::read(*this, map); });
    MediaFileItem::deserialize(map);
}

void LocationItem::serialize(Content *content) const
{
    ItemFields::writeRecord(*this, content);
}

void LocationItem::setContent(const Content &content)
{
    const Changes changes(this);
    if (move([&] { ItemFields::update(*this, content); }) && thumbnailFile())
        setThumbnailFile({});
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
