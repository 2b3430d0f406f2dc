// Ciphertexts: without the key no one can make one that opens, and any changed ciphertext does not
// open.

#include "cryptobase/cryptoaes.h"
#include "cryptobase/sealing.h"
#include "support/fuzzing.h"

using fuzzing::check;

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces data(input);
    const auto place = quint32(data.number());
    const auto bit = data.number(0, 7);
    const QByteArray vector = data.bytes(data.number(0, 40)).toByteArray();
    const QByteArray bytes = data.rest().toByteArray();
    const QByteArray key(32, 'k');
    const cryptobase::SecureBytes secret(QByteArray(32, 'k'));

    const CryptoAES aes(2);
    check(aes.decrypt(bytes, key, vector).isEmpty(), "no forged message decrypts");
    check(!cryptobase::unseal(bytes, secret, vector), "no forged seal opens");
    if (bytes.isEmpty())
        return;

    const auto damaged = [&](QByteArray whole) {
        const auto at = qsizetype(place % quint32(whole.size()));
        whole[at] = char(whole[at] ^ 1 << bit);
        return whole;
    };
    const auto allDamaged = [&](const QByteArray &whole) {
        return QByteArrayList{damaged(whole), whole.first(place % quint32(whole.size())),
                              whole + '\0'};
    };
    const QByteArray encrypted = aes.encrypt(bytes, key, vector);
    check(encrypted.size() == bytes.size() + 16, "a message grows by its tag");
    check(aes.decrypt(encrypted, key, vector) == bytes, "a message decrypts");
    for (const QByteArray &changed : allDamaged(encrypted))
        check(aes.decrypt(changed, key, vector).isEmpty(), "a changed one does not");
    check(aes.decrypt(encrypted, damaged(key), vector).isEmpty(), "nor with another key");
    check(aes.decrypt(encrypted, key, vector + '\0').isEmpty(), "nor with another vector");

    const QByteArray sealed = cryptobase::seal(bytes, secret, vector);
    const auto opened = cryptobase::unseal(sealed, secret, vector);
    check(opened && QByteArray(*opened) == bytes, "a seal opens");
    for (const QByteArray &changed : allDamaged(sealed))
        check(!cryptobase::unseal(changed, secret, vector), "a changed one does not");
    const cryptobase::SecureBytes other(damaged(key));
    check(!cryptobase::unseal(sealed, other, vector), "nor with another key");
    check(!cryptobase::unseal(sealed, secret, vector + '\0'), "nor in another place");
}
