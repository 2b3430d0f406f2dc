#pragma once

#include "content/items/mediafileitem.h"

#include <functional>

/// A place on a map.
///
/// The stored map has "longitude", "latitude", "place", "address" and "gps" after the keys of
/// MediaFileItem. Coordinates may be anything and are kept as they came; of a number that JSON has
/// no form for, the bits are stored ("0x7ff8000000000000"). "gps" is for readers of the map.
class MODELBASE_EXPORT LocationItem : public MediaFileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(double longitude READ longitude NOTIFY coordinatesChanged)
    Q_PROPERTY(double latitude READ latitude NOTIFY coordinatesChanged)
    Q_PROPERTY(bool hasCoordinates READ hasCoordinates NOTIFY coordinatesChanged)
    Q_PROPERTY(QString gps READ gps NOTIFY coordinatesChanged)
    Q_PROPERTY(QString place READ place WRITE setPlace NOTIFY placeChanged)
    Q_PROPERTY(QString address READ address WRITE setAddress NOTIFY addressChanged)

public:
    /// Gets the image of a map: `size` pixels of the surroundings of a place that is in the middle.
    /// Called on the thread of the item; answers, now or later and on that thread, by
    /// LocationItem::setMapImage(), or not at all.
    using MapImageFetcher = std::function<void(const QSharedPointer<LocationItem> &item,
                                               double longitude, double latitude, QSize size)>;

    LocationItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    LocationItem(const im::content::Content &content, int source, AccountBase *account);
    LocationItem(int source, AccountBase *account);
    explicit LocationItem(const LocationItem *other);

    /// Degrees (WGS 84), east and north positive.
    double longitude() const { return m_longitude; }
    double latitude() const { return m_latitude; }
    void setCoordinates(double longitude, double latitude);
    /// Whether the coordinates are such of the Earth: numbers within 180 and 90 degrees.
    bool hasCoordinates() const;
    /// The coordinates for people: "47.376888, 8.541694", latitude first. Empty without them.
    QString gps() const;
    /// The name of the place.
    const QString &place() const { return m_place; }
    void setPlace(const QString &place);
    const QString &address() const { return m_address; }
    void setAddress(const QString &address);

    /// What the application gets its maps by; the library itself uses no network. Set it once, at
    /// start-up, on the main thread. Empty: there are no maps.
    static void setMapImageFetcher(MapImageFetcher fetcher);
    /// Asks for the map image, unless the item has one, has been asked before, or has no
    /// coordinates to show. A view calls it when the item comes into sight.
    Q_INVOKABLE void fetchMapImage();
    /// Takes an image file on this device as the thumbnail. False when the item is about another
    /// place than the image by now, and, with a log line, when it cannot be read as an image.
    bool setMapImage(const QString &path, double longitude, double latitude);

    /// The map, and below it lines for place and address.
    QSize mediaSize(int maxWidth, bool inThread) const override;
    /// The size of the map alone.
    Q_INVOKABLE QSize mapSize(int maxWidth, bool inThread) const;

    using MediaFileItem::serialize;
    using MediaFileItem::setContent;
    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    QString getKeyword() const override;

Q_SIGNALS:
    void coordinatesChanged();
    void placeChanged();
    void addressChanged();

protected:
    QVariantList measured() const override;

private:
    template <typename>
    friend struct Fields;

    /// Runs an update, after which the map of another place is wanted. True when it is another one.
    template <typename Update>
    bool move(Update update);

    double m_longitude = 0;
    double m_latitude = 0;
    QString m_place;
    QString m_address;
    bool m_isMapWanted = false; ///< the application was asked for it
};
