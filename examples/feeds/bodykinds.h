#pragma once

#include "feeds/cast.h"
#include "feeds/mediafolder.h"
#include "feeds/words.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

/// A body that is being read: ":: image lake.jpg 640x400", and the text below.
struct Draft {
    const Cast &cast;
    const MediaFolder &media;
    Words words;  ///< what follows the kind in its line
    QString text; ///< the lines below

    im::content::Content content;
    im::Message message; ///< what stands beside the content
    bool isRaw = false;  ///< message.content is filled already
};

using BodyKind = void (*)(Draft &draft);

/// Reads the bodies of a kind; null when no kind is called so.
BodyKind bodyKind(const QString &name);
