#pragma once

#include "cryptobase/cryptoaes.h"

#include <QByteArray>
#include <QString>

#include <string>

namespace crypto
{
class Store;
}

/// An account's encryption: with keys that travel beside the data, with passwords, and with the
/// secure keys of its store. AccountBase is the public interface and documents each operation.
///
/// Thread: any.
class AccountCipher
{
public:
    /// @param keys the account's key store; not owned
    explicit AccountCipher(crypto::Store *keys);

    QByteArray encrypt(const QByteArray &data, QByteArray &key) const;
    QByteArray decrypt(const QByteArray &data, const QByteArray &key) const;
    QByteArray encrypt(const QByteArray &data, QString password) const;
    QByteArray decrypt(const QByteArray &data, QString password) const;
    QByteArray encrypt(QByteArray &out, const QByteArray &data, const QString &keyId, int version);
    bool decrypt(QByteArray &out, const std::string &data, const QString &keyId, int version) const;
    /// A serialized im::DeviceMessage::ContentKeyPatch.
    QByteArray missingChatKeys(const QString &dialogId, int fromVersion, int toVersion,
                               const QString &secureKeyId) const;

private:
    CryptoAES m_aes;
    crypto::Store *const m_keys;
};
