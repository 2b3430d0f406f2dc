#pragma once

#include "multimedia/mediareader_p.h"

namespace multimedia
{

/// Reads what AudioPlayer documents. Nothing, with a log line, on failure.
std::optional<AudioTags> readAudioTags(const QString &path, bool withPictures);

} // namespace multimedia
