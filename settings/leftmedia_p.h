#pragma once

#include <QStringList>
#include <QVariantMap>

#include <atomic>

/// Media of people who have gone, which are to be deleted. The settings ("left_media") name them
/// until that is done: of each directory, the ids of those who had media there.
namespace LeftMedia
{

QVariantMap stored();
void store(const QVariantMap &left);
void add(const QStringList &directories, const QStringList &ids);
/// Takes those that have been deleted out of what is stored.
void remove(const QVariantMap &removed);

/// Not there, or perhaps the directory at which a disk is mounted when that is unplugged.
bool isBare(const QString &directory);
/// Puts what an account has there where it can be deleted at leisure, whoever signs in meanwhile.
/// False when something stays: the disk may be back later.
bool setAside(const QString &directory, const QString &id);
/// Deletes what was set aside. False when something stays, or `hurrying` has become true. Any
/// thread.
bool emptyTrash(const QString &directory, const std::atomic<bool> &hurrying);

} // namespace LeftMedia
