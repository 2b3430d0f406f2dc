#pragma once

#include <QTextStream>

class AppDataMove;

/// Waits for a move that runs and shows how far it is: a bar on a terminal, else lines. True when
/// everything is at its new place.
bool showMove(AppDataMove *move, QTextStream &out);
