#pragma once

#include "multimedia/mediareader_p.h"

namespace multimedia
{

bool isVideoFile(const QString &path);
/// Nothing, with a log line, on failure.
std::optional<VideoFrame> decodeFrame(const QString &path, int greatestSide);

} // namespace multimedia
