#pragma once

#include <QByteArray>
#include <QVariant>

/// The four emoji that stand for a SHA-256 hash, so that two people can compare them; empty unless
/// it is 32 bytes long.
QVariantList verificationEmoji(const QByteArray &sha256);
