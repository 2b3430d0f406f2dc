#pragma once

#include <QStringList>
#include <QVariantMap>

#include <atomic>

/// Media of accounts that have left, which are to be deleted. The settings ("left_media") name them
/// until that is done: for each directory, the ids of the accounts that had media there.
namespace LeftMedia
{

QVariantMap stored();
void store(const QVariantMap &left);
void add(const QStringList &directories, const QStringList &ids);
/// Removes the media that have been deleted from the stored list.
void remove(const QVariantMap &removed);

/// The directory does not exist, or may be the empty mount point of an unplugged disk.
bool isBare(const QString &directory);
/// Moves an account's media aside, to be deleted later even if the account signs in again. False
/// when something stays: the disk may be back later.
bool setAside(const QString &directory, const QString &id);
/// Deletes what was set aside. False when something stays, or `stop` has become true. Any
/// thread.
bool emptyTrash(const QString &directory, const std::atomic<bool> &stop);

} // namespace LeftMedia
