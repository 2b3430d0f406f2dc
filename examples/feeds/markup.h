#pragma once

#include "protocol/message_content.pb.h"

#include <QString>

/// The text and the entities that a message in light markup stands for; README.md lists the marks.
/// What the library recognises by itself (links, addresses, tags, times, ...) becomes entities too.
/// A mark that is not closed is ordinary text. Offsets are in UTF-16 code units.
/// @param botId the bot that bot commands are meant for; 0: none
im::content::Text readMarkup(const QString &markup, int botId);
