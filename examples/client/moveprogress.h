#pragma once

#include <QTextStream>

class AppDataMove;

/// Waits for a running move and shows its progress: a bar on a terminal, otherwise lines. True when
/// everything is at its new place.
bool showMove(AppDataMove *move, QTextStream &out);
