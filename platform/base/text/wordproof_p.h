#pragma once

#include "base/base_export.h"
#include "base/text/wordlayout_p.h"

#include <QFont>
#include <QString>

#include <functional>
#include <vector>

/// The test that WordLayout must pass before a process uses it: lays out about twenty short texts,
/// those that the application's font can show, both ways. It takes a millisecond or two, once.
///
/// Thread: any; needs a QGuiApplication.
namespace WordProof
{

using Lines = std::vector<WordLayout::Line>;

/// The lines of a paragraph as QTextLayout makes them.
MODELBASE_BASE_EXPORT Lines fullLayout(const QString &paragraph, const QFont &font, double width);

/// False, with one log line that names the first difference, when WordLayout's result for a text
/// differs from that of `full`, or when it decides none.
MODELBASE_BASE_EXPORT bool
holds(const std::function<Lines(const QString &, const QFont &, double)> &full = fullLayout);

} // namespace WordProof
