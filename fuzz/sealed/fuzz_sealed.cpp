// Ciphertexts: nobody who lacks the key makes one that opens, and what was encrypted opens again
// only as it is.

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
    const QByteArray encrypted = aes.encrypt(bytes, key, vector);
    check(aes.decrypt(encrypted, key, vector) == bytes, "a message decrypts");
    check(aes.decrypt(damaged(encrypted), key, vector).isEmpty(), "a changed one does not");
    const QByteArray sealed = cryptobase::seal(bytes, secret, vector);
    const auto opened = cryptobase::unseal(sealed, secret, vector);
    check(opened && QByteArray(*opened) == bytes, "a seal opens");
    check(!cryptobase::unseal(damaged(sealed), secret, vector), "a changed one does not");
}
