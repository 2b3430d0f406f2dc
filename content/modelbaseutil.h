#pragma once

#include "modelbase_export.h"

#include <QList>
#include <QSet>
#include <QString>

class QRegularExpression;

/// The fixed vocabularies of the model layer: names of content, file and source types, file name
/// extensions, recognisers of text entities, week days.
///
/// Every table is built once, on first use; the functions may be called from any thread. Unknown
/// keys never fail: texts come back empty, numbers as 0 (getMsgTypeToFileType: 5, "file"),
/// getRegular as null. Names are matched exactly, case included.
namespace ModelBaseUtil
{

/// The stored name of a content type (ContentItem::Type): "text", "image", ... Names are the type's
/// in lower case, but for Voice, which is "audio".
MODELBASE_EXPORT QString messageTypeIntToStr(int type);
/// The content type of a stored name. Not the exact inverse: "combined" is written, never read.
MODELBASE_EXPORT int messageTypeStrToInt(const QString &name);

// The folder names that media directories are built of.

/// File types: 0 "photo", 1 and 11 "sticker", 2 "image", 3 "audio", 4 "video", 5 "file", 6 "music",
/// 13 "messagefile".
MODELBASE_EXPORT QString getFileTypeString(int fileType);
/// Model source types, of what a content is part of: 1 chat messages (no name: their media lie
/// directly below the base), 2 "notebook", 4 "clouddrive", 8 "reminder", 16 "wallpaper",
/// 32 "ringtone", 128 "quickreply", 256 "schedule".
MODELBASE_EXPORT QString getModelSourceTypeString(int sourceType);
/// The file type that messages of a content type carry.
MODELBASE_EXPORT int getMsgTypeToFileType(int type);

/// File name extensions, lower case and without a dot.
MODELBASE_EXPORT const QList<QString> &imageFormat();
MODELBASE_EXPORT const QList<QString> &staticStickerFormat();
MODELBASE_EXPORT const QList<QString> &animateStickerFormat();
MODELBASE_EXPORT const QList<QString> &audioFormat();
MODELBASE_EXPORT const QList<QString> &videoFormat();
MODELBASE_EXPORT const QList<QString> &wallpaperFormat();

/// Content types that carry files, that are uploaded, that show a typing notice.
MODELBASE_EXPORT const QSet<int> &allFileTypes();
MODELBASE_EXPORT const QSet<int> &uploadTypes();
MODELBASE_EXPORT const QSet<int> &typingTypes();
MODELBASE_EXPORT bool isFileType(int type);
MODELBASE_EXPORT bool isNeedUploadType(int type);

/// The expression that finds entities of a type (im.content.TextEntity.Type) in a text, or null
/// when entities of that type are not found by looking. Lives forever.
MODELBASE_EXPORT const QRegularExpression *getRegular(int entityType);

/// Days of the week, 1 (Monday) to 7 (Sunday) as in ISO 8601, and their bit flags 1 to 64.
MODELBASE_EXPORT int dayOfWeekToFlag(int day);
MODELBASE_EXPORT int flagToDayOfWeek(int flag);

/// The directory for media of a source and file type below `base`, which ends in a separator; so
/// does the result.
MODELBASE_EXPORT QString makeMediaPath(const QString &base, int sourceType, int fileType);

} // namespace ModelBaseUtil
