#pragma once

#include <QLoggingCategory>

// The log categories of these folders; the console options switch each.

/// "im.settingmodel": settings, directories and the data move, and how values are stored.
const QLoggingCategory &lcSettings();
/// "im.modelbase": everything else.
const QLoggingCategory &lcModel();
