#pragma once

#include "cryptobase/cryptobase_export.h"

#include <QByteArray>

#include <utility>

namespace cryptobase
{

/// Overwrites the buffer, including unused capacity, and leaves `bytes` empty.
///
/// A QByteArray may share its buffer. If another one holds it, the bytes are still needed and stay
/// unchanged; this handle only releases them, and the last holder must cleanse them.
MODELBASE_CRYPTOBASE_EXPORT void cleanse(QByteArray &bytes);

/// Key bytes, cleansed on destruction. Move-only, so that copies are deliberate.
class SecureBytes
{
public:
    SecureBytes() = default;
    /// Takes the buffer over: move a QByteArray in, since copies elsewhere are not cleansed.
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

    /// For interfaces that take a QByteArray. Shares the buffer: a caller that keeps the result
    /// longer than this object must cleanse it.
    operator QByteArray() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

} // namespace cryptobase
