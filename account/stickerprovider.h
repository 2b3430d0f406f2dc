#pragma once

#include "modelbase_export.h"

#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

class ContentItem;

namespace im::content
{
class Content;
}

/// The source of an account's stickers. The same sticker is shown in many messages, so the
/// provider, not the factory of content items, makes the items and shares them.
///
/// Thread: the thread of the account. Returns null for a sticker that cannot be made.
class MODELBASE_EXPORT StickerProvider
{
public:
    virtual ~StickerProvider() = default;

    /// The item for a received sticker; the record's body is of the kind `sticker`.
    virtual QSharedPointer<ContentItem> sticker(const im::content::Content &content) = 0;
    /// The item for a stored sticker.
    virtual QSharedPointer<ContentItem> sticker(const QMap<QString, QVariant> &map) = 0;
};
