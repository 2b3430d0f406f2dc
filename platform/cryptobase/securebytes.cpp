#include "cryptobase/securebytes.h"

#include <openssl/crypto.h>

namespace cryptobase
{

void cleanse(QByteArray &bytes)
{
    // data_ptr() instead of data(), which would copy a shared or foreign buffer.
    auto &d = bytes.data_ptr();
    if (!d.needsDetach()) {
        const qsizetype before = d.freeSpaceAtBegin();
        OPENSSL_cleanse(d.data() - before, size_t(before + d.size + d.freeSpaceAtEnd()));
    }
    bytes = QByteArray();
}

} // namespace cryptobase
