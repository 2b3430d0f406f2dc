// Ciphertexts: nobody who lacks the key makes one that opens, and what was encrypted opens again
// only as it is.

#include "cryptobase/cryptoaes.h"
#include "cryptobase/sealing.h"
#include "support/fuzzing.h"

#include <fuzzer/FuzzedDataProvider.h>

using fuzzing::check;

void fuzzOne(QByteArrayView input)
{
    FuzzedDataProvider data(reinterpret_cast<const uint8_t *>(input.data()), size_t(input.size()));
    const auto place = data.ConsumeIntegral<quint32>();
    const auto bit = data.ConsumeIntegralInRange<int>(0, 7);
    const QByteArray vector = QByteArray::fromStdString(data.ConsumeRandomLengthString(40));
    const QByteArray bytes = QByteArray::fromStdString(data.ConsumeRemainingBytesAsString());
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
