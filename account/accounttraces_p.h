#pragma once

#include <QStringList>
#include <QVariantList>

/// What accounts leave on the disk besides their media: their stores, and the key that seals these.
/// The setting "left_stores" notes what a wipe cannot remove; the next start tries again.
///
/// Thread: the main thread.
namespace AccountTraces
{

/// Removes everything except the stores in these directories; while there is one, the key stays,
/// too. Returns what could not be removed.
QVariantList removeAll(const QStringList &usedStores);
/// Tries again to remove what is noted, and notes what is left then.
void removeLeft(const QStringList &usedStores);
/// Notes what could not be removed.
void note(const QVariantList &left);
/// Called before an account's store is created in its directory: true when a wipe left nothing
/// there, or what it left can be removed now.
bool makeRoom(qint64 accountId, const QString &directory);

} // namespace AccountTraces
