#pragma once

#include "content/items/fileitem.h"

namespace im::content
{
class FileThumb;
}

/// What pictures, videos and places have in common: they are shown as an image.
///
/// The stored map has "w", "h", "thumbW" and "thumbH" after the keys of FileItem.
class MODELBASE_EXPORT MediaFileItem : public FileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 w READ w NOTIFY sizeChanged)
    Q_PROPERTY(qint32 h READ h NOTIFY sizeChanged)
    Q_PROPERTY(qint32 thumbW READ thumbW NOTIFY thumbSizeChanged)
    Q_PROPERTY(qint32 thumbH READ thumbH NOTIFY thumbSizeChanged)

public:
    MediaFileItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    MediaFileItem(const im::content::Content &content, int source, AccountBase *account);
    MediaFileItem(int source, AccountBase *account);
    explicit MediaFileItem(const MediaFileItem *other);

    /// The picture's own size in pixels, as the sender gave it: it may be anything.
    qint32 w() const { return m_w; }
    qint32 h() const { return m_h; }
    void setSize(qint32 w, qint32 h);
    /// The thumbnail's, likewise.
    qint32 thumbW() const { return m_thumbW; }
    qint32 thumbH() const { return m_thumbH; }
    void setThumbSize(qint32 w, qint32 h);

    /// The picture's own size, made smaller to fit the width and half of the screen's height, in
    /// its proportions; where that is unknown the thumbnail's, or a square of 200 pixels. No side
    /// is below 44, so that it can be tapped.
    QSize mediaSize(int maxWidth, bool inThread) const override;

    using FileItem::serialize;
    void serialize(QMap<QString, QVariant> &map) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;

Q_SIGNALS:
    void sizeChanged();
    void thumbSizeChanged();

protected:
    /// As FileItem::updateFiles(), for bodies with a size and a thumbnail that has one.
    void updateMedia(const im::content::FileInfo &file, qint32 w, qint32 h,
                     const im::content::FileThumb &thumb, const im::content::Text &caption);
    /// Whether there is anything of a thumbnail to write.
    bool hasThumb() const;
    void writeThumb(im::content::FileThumb *thumb) const;
    QVariantList measured() const override;
    void takeOver(const Thumbnail &thumbnail) override;

private:
    template <typename>
    friend struct Fields;

    QSize naturalSize() const;

    qint32 m_w = 0;
    qint32 m_h = 0;
    qint32 m_thumbW = 0;
    qint32 m_thumbH = 0;
};
