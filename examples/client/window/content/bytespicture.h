#pragma once

#include <QByteArray>
#include <QImage>
#include <QQuickPaintedItem>

/// Shows an image from memory: the small one within a message. It fills the item, cropped, and is
/// blurred by the scaling.
class BytesPicture : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QByteArray bytes READ bytes WRITE setBytes NOTIFY bytesChanged)
    /// Whether the bytes are an image.
    Q_PROPERTY(bool isReady READ isReady NOTIFY bytesChanged)

public:
    using QQuickPaintedItem::QQuickPaintedItem;

    const QByteArray &bytes() const { return m_bytes; }
    void setBytes(const QByteArray &bytes);
    bool isReady() const { return !m_image.isNull(); }
    void paint(QPainter *painter) override;

Q_SIGNALS:
    void bytesChanged();

private:
    QByteArray m_bytes;
    QImage m_image;
};
