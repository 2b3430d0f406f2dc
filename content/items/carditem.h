#pragma once

#include "content/contentitem.h"

#include <QByteArray>
#include <QPointer>

#include <memory>

class PhotoData;

/// A user whom somebody recommends: the card that one taps to open the profile. calcSize() measures
/// the caption alone: how the card is shown is the view's.
///
/// Stored after the base keys as "nick", "userId", "photoId", "aesKey" (Base64), and where they are
/// not empty "imId" and of the photo "photoMd5" (Base64), "photoName", "photoSize", "photoVersion".
class MODELBASE_EXPORT CardItem : public ContentItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_MOC_INCLUDE("content/photodata.h")
    Q_PROPERTY(QString nick READ nick WRITE setNick NOTIFY nickChanged)
    Q_PROPERTY(qint32 userId READ userId WRITE setUserId NOTIFY userIdChanged)
    Q_PROPERTY(QString imId READ imId WRITE setImId NOTIFY imIdChanged)
    Q_PROPERTY(QString photoId READ photoId NOTIFY photoChanged)
    Q_PROPERTY(QByteArray aesKey READ aesKey NOTIFY photoChanged)
    Q_PROPERTY(PhotoData *photo READ photoObject NOTIFY photoChanged)
    Q_PROPERTY(QObject *user READ user WRITE setUser NOTIFY userChanged)
    Q_PROPERTY(QString name READ name NOTIFY nameChanged)

public:
    /// The user's photo, as the card carries it.
    struct Photo {
        QString id;
        QByteArray aesKey; ///< raw bytes
        QByteArray md5;    ///< raw bytes
        QString name;
        qint64 size = 0;    ///< bytes
        qint32 version = 0; ///< of the file, as the server counts them

        bool operator==(const Photo &other) const = default;
    };

    CardItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    CardItem(const im::content::Content &content, int source, AccountBase *account);
    CardItem(int source, AccountBase *account);
    explicit CardItem(const CardItem *other);
    ~CardItem() override;

    /// The name on the card.
    const QString &nick() const { return m_nick; }
    void setNick(const QString &nick);
    qint32 userId() const { return m_userId; }
    void setUserId(qint32 userId);
    /// The public id by which the user can be found.
    const QString &imId() const { return m_imId; }
    void setImId(const QString &imId);
    const QString &photoId() const { return m_photo.id; }
    const QByteArray &aesKey() const { return m_photo.aesKey; }
    const Photo &photoFields() const { return m_photo; }
    void setPhoto(const Photo &photo);
    /// The record of the photo's file, made when it is first asked for; null without a photo. The
    /// item keeps it until the card gets another photo.
    QSharedPointer<PhotoData> photo() const;

    /// The application's object for the user, when it knows the user. Not owned; it may go away at
    /// any time.
    QObject *user() const { return m_user; }
    void setUser(QObject *user);
    /// What to show: the property "name" of user() while there is one with a name, else nick().
    QString name() const;

    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    using ContentItem::setContent;
    void setContent(const im::content::Content &content) override;
    /// Nick, public id and caption.
    QString getKeyword() const override;

Q_SIGNALS:
    void nickChanged();
    void userIdChanged();
    void imIdChanged();
    void photoChanged();
    void userChanged();
    void nameChanged();

private:
    template <typename>
    friend struct Fields;
    struct PhotoRecord;

    PhotoData *photoObject() const { return photo().data(); }

    QString m_nick;
    QString m_imId;
    Photo m_photo;
    QPointer<QObject> m_user;
    mutable std::unique_ptr<PhotoRecord> m_photoRecord; // null until it is asked for
    qint32 m_userId = 0;
};
