#pragma once

#include "feeds/cast.h"
#include "feeds/mediafolder.h"
#include "protocol/common_data.pb.h"

#include <QList>
#include <QString>

/// The protocol messages for one message of a conversation, with the fields that concern their
/// bodies: content and its format version, type, and the fields beside the content. README.md
/// describes the notation. Several files make several messages; the caller sets their group number.
/// Throws a RecorderError.
QList<im::Message> readBodies(const QString &body, const Cast &cast, const MediaFolder &media);

/// Converts "2024-05-16 06:02", UTC, into ms since 1970. Throws a RecorderError.
qint64 readTime(const QString &text);
