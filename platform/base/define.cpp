#include "base/define.h"

const QByteArray &Define::comIV()
{
    // Frozen: everything ever encrypted needs these bytes for decryption. They are not secret and
    // have no meaning; they are the first half of the SHA-256 of "modelbase common vector 1".
    static const QByteArray vector = QByteArrayLiteral("\xb7\xe4\xac\xbc\x95\x3f\x78\xf1"
                                                       "\x0e\xf3\xa8\xc1\x01\x9c\x22\x6d");
    return vector;
}
