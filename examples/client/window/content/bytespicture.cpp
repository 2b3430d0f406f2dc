#include "bytespicture.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>

namespace
{

/// The small image within a message is a few dozen pixels wide; larger ones are not read.
constexpr int longestSide = 512;

QImage read(const QByteArray &bytes)
{
    QByteArray data = bytes;
    QBuffer buffer(&data);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > longestSide || size.height() > longestSide)
        return {};
    return reader.read();
}

} // namespace

void BytesPicture::setBytes(const QByteArray &bytes)
{
    if (m_bytes == bytes)
        return;
    m_bytes = bytes;
    m_image = read(bytes);
    Q_EMIT bytesChanged();
    update();
}

void BytesPicture::paint(QPainter *painter)
{
    if (m_image.isNull() || size().isEmpty())
        return;
    const QSizeF shown = size().scaled(m_image.size(), Qt::KeepAspectRatio);
    const QRectF middle(
        QPointF((m_image.width() - shown.width()) / 2, (m_image.height() - shown.height()) / 2),
        shown);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(boundingRect(), m_image, middle);
}
