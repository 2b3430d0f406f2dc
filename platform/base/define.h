#pragma once

#include "base/base_export.h"

#include <QByteArray>

/// Constants that every client shares.
class MODELBASE_BASE_EXPORT Define
{
public:
    /// The initialisation vector of all of the client's encryption: 16 bytes. It is part of the
    /// format of everything ever encrypted, and never changes.
    static const QByteArray &comIV();
};
