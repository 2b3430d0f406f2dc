#pragma once

#include "feeds/cast.h"
#include "feeds/mediafolder.h"
#include "feeds/words.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

/// A body being read: ":: image lake.jpg 640x400", and the text below.
struct Draft {
    const Cast &cast;
    const MediaFolder &media;
    Words words;  ///< the words after the kind
    QString text; ///< the lines below

    im::content::Content content;
    im::Message message; ///< the fields beside the content
    bool isRaw = false;  ///< message.content is filled already
};

using BodyKind = void (*)(Draft &draft);

/// The reader for a kind; null when there is no kind of that name.
BodyKind bodyKind(const QString &name);
