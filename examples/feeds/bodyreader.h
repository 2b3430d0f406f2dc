#pragma once

#include "feeds/cast.h"
#include "feeds/mediafolder.h"
#include "protocol/common_data.pb.h"

#include <QList>
#include <QString>

/// The messages that a message of a conversation becomes, with what concerns their bodies: content
/// and its format version, type, what stands beside the content. README.md describes the notation.
/// Several files make several messages; the caller gives those the number of a group.
/// Throws a RecorderError.
QList<im::Message> readBodies(const QString &body, const Cast &cast, const MediaFolder &media);

/// "2024-05-16 06:02", UTC, in ms since 1970. Throws a RecorderError.
qint64 readTime(const QString &text);
