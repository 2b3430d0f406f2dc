#include "content/stickerdata.h"

#include "base/util.h"
#include "protocol/common_data.pb.h"

#include <QPointer>

StickerData::StickerData() = default;

StickerData::StickerData(const StickerData *other) : FileData(other)
{
    if (!other)
        return;
    const ReadLocker locker(other->m_mutex);
    m_format = other->m_format;
    m_width = other->m_width;
    m_height = other->m_height;
}

StickerData::StickerData(const FileData *file) : FileData(file) { }

StickerData::StickerData(const BaseFile *base) : FileData(base) { }

StickerData::StickerData(const im::content::FileInfo &info) : FileData(info) { }

StickerData::StickerData(const im::AnimatedSticker &sticker)
{
    update(sticker);
}

StickerData::~StickerData() = default;

qint32 StickerData::width() const
{
    const ReadLocker locker(m_mutex);
    return m_width;
}

void StickerData::setWidth(qint32 width)
{
    assign(m_width, width, WidthChange);
}

qint32 StickerData::height() const
{
    const ReadLocker locker(m_mutex);
    return m_height;
}

void StickerData::setHeight(qint32 height)
{
    assign(m_height, height, HeightChange);
}

QString StickerData::format() const
{
    const ReadLocker locker(m_mutex);
    return m_format;
}

void StickerData::setFormat(const QString &format)
{
    assign(m_format, format, FormatChange);
}

QString StickerData::fileExtension() const
{
    const QString given = format();
    return isValidExtension(given) ? given : FileData::fileExtension();
}

void StickerData::serialize(im::AnimatedSticker *sticker) const
{
    const ReadLocker locker(m_mutex);
    serialize(sticker->mutable_file());
    sticker->set_file_type(m_format.toStdString());
    sticker->set_width(m_width);
    sticker->set_height(m_height);
}

void StickerData::update(const im::AnimatedSticker &sticker)
{
    const Locker locker(this);
    update(sticker.file());
    if (!sticker.file_type().empty())
        setFormat(Util::fromUtf8(sticker.file_type()));
    if (sticker.width() != 0)
        setWidth(sticker.width());
    if (sticker.height() != 0)
        setHeight(sticker.height());
}

void StickerData::emitChanges(quint16 changes)
{
    const QPointer alive(this);
    FileData::emitChanges(changes);
    if (alive && changes & WidthChange)
        Q_EMIT widthChanged(width());
    if (alive && changes & HeightChange)
        Q_EMIT heightChanged(height());
    if (alive && changes & FormatChange)
        Q_EMIT formatChanged(format());
    if (alive && changes & FormatChange)
        Q_EMIT fileExtensionChanged();
}
