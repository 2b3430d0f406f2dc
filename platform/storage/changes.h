#pragma once

#include <QList>
#include <QStringList>

namespace storage
{

/// Changes of one table that are made durable together: all of them or none.
template <typename Info>
struct Changes {
    bool removeAll = false; ///< first of all, every row is removed
    QStringList removed;    ///< then these rows are
    QList<Info> saved;      ///< then these are written, replacing rows of the same key
};

} // namespace storage
