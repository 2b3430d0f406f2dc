#pragma once

#include "cryptobase/cryptobase_export.h"

#include <QByteArray>

#include <utility>

namespace cryptobase
{

/// Overwrites the buffer, unused capacity included, and leaves `bytes` empty.
///
/// A QByteArray may share its buffer. While another one holds it the bytes are still needed and
/// stay as they are; this handle is only let go, and the last holder has to cleanse.
MODELBASE_CRYPTOBASE_EXPORT void cleanse(QByteArray &bytes);

/// Key bytes, cleansed when they die. Move-only, so that copies are made on purpose.
class SecureBytes
{
public:
    SecureBytes() = default;
    /// Takes the buffer over: move a QByteArray in, since one that is kept elsewhere is not
    /// cleansed.
    explicit SecureBytes(QByteArray &&bytes) : m_bytes(std::move(bytes)) { }
    SecureBytes(SecureBytes &&other) noexcept : m_bytes(std::exchange(other.m_bytes, {})) { }
    SecureBytes &operator=(SecureBytes &&other) noexcept
    {
        if (this != &other) {
            cleanse(m_bytes);
            m_bytes = std::exchange(other.m_bytes, {});
        }
        return *this;
    }
    SecureBytes(const SecureBytes &) = delete;
    SecureBytes &operator=(const SecureBytes &) = delete;
    ~SecureBytes() { cleanse(m_bytes); }

    bool isEmpty() const { return m_bytes.isEmpty(); }
    qsizetype size() const { return m_bytes.size(); }
    const char *constData() const { return m_bytes.constData(); }

    /// For interfaces that speak QByteArray. Shares the buffer: who keeps the result beyond this
    /// object's life cleanses it.
    operator QByteArray() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

} // namespace cryptobase
