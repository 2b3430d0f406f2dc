#include "account/accountcipher_p.h"

#include "base/define.h"
#include "core/logs_p.h"
#include "imcrypto/store.h"
#include "imlog/imlog.h"
#include "protocol/common_data.pb.h"

#include <utility>

namespace
{

constexpr int keySize = 32;
/// The version of secure keys that devices synchronise.
constexpr int syncedSecureKeyVersion = 3;

/// A key for a password. The password's bytes replace as many bytes of the key as it has
/// characters, so a password outside ASCII makes the key longer; both directions rely on that.
QByteArray passwordKey(QString password)
{
    password.truncate(keySize);
    QByteArray key(keySize, '\0');
    key.replace(0, password.size(), password.toUtf8());
    return key;
}

} // namespace

AccountCipher::AccountCipher(crypto::Store *keys)
    : m_aes(CryptoAES::deterministic), m_keys(keys) { }

QByteArray AccountCipher::encrypt(const QByteArray &data, QByteArray &key) const
{
    if (data.isEmpty())
        return {};
    if (key.size() != keySize)
        key = CryptoAES::createKey(keySize);
    return m_aes.encrypt(data, m_keys->kdf(key), Define::comIV());
}

QByteArray AccountCipher::decrypt(const QByteArray &data, const QByteArray &key) const
{
    if (data.isEmpty())
        return data;
    return m_aes.decrypt(data, m_keys->kdf(key), Define::comIV());
}

QByteArray AccountCipher::encrypt(const QByteArray &data, QString password) const
{
    if (data.isEmpty())
        return {};
    return m_aes.encrypt(data, passwordKey(std::move(password)), Define::comIV());
}

QByteArray AccountCipher::decrypt(const QByteArray &data, QString password) const
{
    return m_aes.decrypt(data, passwordKey(std::move(password)), Define::comIV());
}

QByteArray AccountCipher::encrypt(QByteArray &out, const QByteArray &data, const QString &keyId,
                                  int version)
{
    const cryptobase::SecureBytes key = m_keys->secureKey(keyId, version, true);
    out = m_aes.encrypt(data, key, Define::comIV());
    return key;
}

bool AccountCipher::decrypt(QByteArray &out, const std::string &data, const QString &keyId,
                            int version) const
{
    const cryptobase::SecureBytes key = m_keys->secureKey(keyId, version, false);
    if (key.isEmpty()) {
        ImLog::error(
            lcModel(),
            QStringLiteral("Decrypt failed: no secure key (%1_%2)").arg(keyId).arg(version));
        return false;
    }
    out = m_aes.decrypt(QByteArray::fromStdString(data), key, Define::comIV());
    return true;
}

QByteArray AccountCipher::missingChatKeys(const QString &dialogId, int fromVersion, int toVersion,
                                          const QString &secureKeyId) const
{
    im::DeviceMessage::ContentKeyPatch patch;
    if (fromVersion <= toVersion && toVersion >= 1) {
        for (const auto &chatKey : m_keys->getMissingChatKeys(dialogId, fromVersion, toVersion)) {
            im::DialogKey *entry = patch.add_dialog_keys();
            entry->set_dialog_id(dialogId.toStdString());
            entry->set_key(chatKey.key.constData(), std::size_t(chatKey.key.size()));
            entry->set_key_ver(chatKey.version);
        }
    }
    if (!secureKeyId.isEmpty()) {
        const cryptobase::SecureBytes key =
            m_keys->secureKey(secureKeyId, syncedSecureKeyVersion, false);
        if (!key.isEmpty()) {
            im::SecureKey *entry = patch.add_secure_keys();
            entry->set_id(secureKeyId.toStdString());
            entry->set_type(im::SecureKey::Type(syncedSecureKeyVersion));
            entry->set_key(key.constData(), std::size_t(key.size()));
        }
    }
    return QByteArray::fromStdString(patch.SerializeAsString());
}
