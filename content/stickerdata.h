#pragma once

#include "content/filedata.h"

namespace im
{
class AnimatedSticker;
}

/// The file of a sticker, static or animated, with the size it is shown at.
class MODELBASE_EXPORT StickerData : public FileData
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(qint32 width READ width WRITE setWidth NOTIFY widthChanged)
    Q_PROPERTY(qint32 height READ height WRITE setHeight NOTIFY heightChanged)
    Q_PROPERTY(QString format READ format WRITE setFormat NOTIFY formatChanged)

public:
    StickerData();
    explicit StickerData(const StickerData *other);
    explicit StickerData(const FileData *file);
    explicit StickerData(const BaseFile *base);
    /// Size and format of a static sticker stand beside its file record, and are set by the caller.
    explicit StickerData(const im::content::FileInfo &info);
    explicit StickerData(const im::AnimatedSticker &sticker);
    ~StickerData() override;

    /// Pixels.
    qint32 width() const;
    void setWidth(qint32 width);
    qint32 height() const;
    void setHeight(qint32 height);
    /// The format as the protocol and stored maps ("fileType") name it.
    QString format() const;
    void setFormat(const QString &format);
    /// The format, where it may be an extension; otherwise as for any file.
    QString fileExtension() const override;

    using FileData::serialize;
    void serialize(im::AnimatedSticker *sticker) const;
    using FileData::update;
    void update(const im::AnimatedSticker &sticker);

Q_SIGNALS:
    void widthChanged(qint32 width);
    void heightChanged(qint32 height);
    void formatChanged(const QString &format);

protected:
    void emitChanges(quint16 changes) override;

private:
    enum OwnChange : quint16 {
        WidthChange = FirstFreeChange,
        HeightChange = FirstFreeChange << 1,
        FormatChange = FirstFreeChange << 2,
    };

    QString m_format;
    qint32 m_width = 0;
    qint32 m_height = 0;
};
