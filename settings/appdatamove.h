#pragma once

#include "modelbase_export.h"

#include <QObject>

#include <memory>

/// Moves the cache data directory (every account's media) to another place, in the background.
class MODELBASE_EXPORT AppDataMove : public QObject
{
    Q_OBJECT

public:
    explicit AppDataMove(QObject *parent);
    ~AppDataMove() override;

    /// The start-up step: goes on with a move that did not finish.
    void resume();
    /// Stops what runs, to be gone on with at the next start.
    void reset();
};
