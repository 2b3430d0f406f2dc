#pragma once

#include "protocol/message_content.pb.h"

#include <QString>

/// The text and the entities of a message in light markup; README.md lists the marks. Links,
/// addresses, tags, times and other texts that the library recognises by itself become entities,
/// too. A mark that is not closed is ordinary text. Offsets are in UTF-16 code units.
/// @param botId the bot that bot commands are meant for; 0: none
im::content::Text readMarkup(const QString &markup, int botId);
