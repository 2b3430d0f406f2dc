#pragma once

#include <QByteArray>
#include <QVariant>

/// The four emoji that stand for a SHA-256 hash, so that two people can compare them; none for
/// anything that is not 32 bytes long.
QVariantList verificationEmoji(const QByteArray &sha256);
