#pragma once

#include <QtGlobal>

class ScriptedServer;

/// The model layer, from its start on the main thread to its orderly end. It needs an application
/// object, which must outlive it.
class ModelLayer
{
public:
    /// @param server the server of all accounts; must outlive this
    explicit ModelLayer(ScriptedServer *server);
    ~ModelLayer();

    Q_DISABLE_COPY_MOVE(ModelLayer)
};
