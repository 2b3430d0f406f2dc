#pragma once

#include "content/items/mediafileitem.h"

/// A picture, which may move, and may have a short film to it (a live photo).
///
/// The stored map has "spoiler" after the keys of MediaFileItem, and "livePhoto" (the stored map
/// of that file) when there is one.
class MODELBASE_EXPORT ImageItem : public MediaFileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(bool spoiler READ spoiler WRITE setSpoiler NOTIFY spoilerChanged)
    Q_PROPERTY(FileData *livePhoto READ livePhotoObject NOTIFY livePhotoChanged)
    Q_PROPERTY(bool isAnimated READ isAnimated NOTIFY sourceFileChanged)

public:
    ImageItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    ImageItem(const im::content::Content &content, int source, AccountBase *account);
    ImageItem(int source, AccountBase *account);
    explicit ImageItem(const ImageItem *other);

    /// Whether the picture is covered until somebody wants to see it.
    bool spoiler() const override { return m_spoiler; }
    void setSpoiler(bool spoiler) override;
    /// The film of a live photo; null for other pictures.
    const QSharedPointer<FileData> &livePhoto() const { return m_livePhoto; }
    void setLivePhoto(const QSharedPointer<FileData> &file);
    /// Whether a view has to play the picture: a GIF, by its extension. Other formats that can move
    /// (WebP) mostly do not, and a view finds out when it reads them.
    bool isAnimated() const;

    using MediaFileItem::serialize;
    using MediaFileItem::setContent;
    void serialize(QMap<QString, QVariant> &map) const override;
    void serialize(im::content::Content *content) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;
    void setContent(const im::content::Content &content) override;
    void getFile(QList<QSharedPointer<FileData>> &files) override;

Q_SIGNALS:
    void spoilerChanged();
    void livePhotoChanged();

private:
    template <typename>
    friend struct Fields;

    FileData *livePhotoObject() const { return m_livePhoto.data(); }

    QSharedPointer<FileData> m_livePhoto;
    bool m_spoiler = false;
};
