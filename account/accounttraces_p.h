#pragma once

#include <QStringList>
#include <QVariantList>

/// What accounts leave on the disk beside their media: their stores, and the key that these are sealed
/// under. What a wipe cannot remove is noted in the settings ("left_stores"), and tried again by the
/// next start.
///
/// Thread: the main thread.
namespace AccountTraces
{

/// Removes everything but the stores in these directories. While there is one, the key stays, too.
/// What could not be removed.
QVariantList removeAll(const QStringList &usedStores);
/// Tries again what is noted, and notes what is left then.
void removeLeft(const QStringList &usedStores);
/// Notes what could not be removed.
void note(const QVariantList &left);
/// Before an account's store is made in its directory: true when nothing is left there by a wipe, or
/// it can be removed now.
bool makeRoom(qint64 accountId, const QString &directory);

} // namespace AccountTraces
