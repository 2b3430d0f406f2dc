#pragma once

#include <QLoggingCategory>

// What the log lines of these folders belong to; the console options switch each.

/// "im.settingmodel": settings, directories and the data move, and how values are stored.
const QLoggingCategory &lcSettings();
/// "im.modelbase": everything else.
const QLoggingCategory &lcModel();
