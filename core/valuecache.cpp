#include "core/valuecache_p.h"

#include "storage/settingstorage.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>

namespace
{

/// isSame() for one type of map.
template <typename Pairs>
bool isSameMap(const QVariant &a, const QVariant &b)
{
    const auto &left = *static_cast<const Pairs *>(a.constData());
    const auto &right = *static_cast<const Pairs *>(b.constData());
    if (left.size() != right.size())
        return false;
    for (auto it = left.cbegin(); it != left.cend(); ++it) {
        const auto other = right.constFind(it.key());
        if (other == right.cend() || !isSame(*it, *other))
            return false;
    }
    return true;
}

} // namespace

bool isSame(const QVariant &a, const QVariant &b)
{
    if (a == b)
        return true;
    if (a.metaType() != b.metaType())
        return false;
    switch (a.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return false;
    case QMetaType::QVariantList: {
        const auto &left = *static_cast<const QVariantList *>(a.constData());
        const auto &right = *static_cast<const QVariantList *>(b.constData());
        return std::equal(left.cbegin(), left.cend(), right.cbegin(), right.cend(), isSame);
    }
    case QMetaType::QVariantMap:
        return isSameMap<QVariantMap>(a, b);
    case QMetaType::QVariantHash:
        return isSameMap<QVariantHash>(a, b);
    default:
        break;
    }
    // Fractions, points, lists of fractions: equal if their bytes are equal.
    const auto bytes = [](const QVariant &value) {
        QByteArray result;
        QDataStream stream(&result, QIODevice::WriteOnly);
        stream << value;
        return result;
    };
    return storage::RowStorage::isStorable(a) && bytes(a) == bytes(b);
}
