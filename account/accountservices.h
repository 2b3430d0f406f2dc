#pragma once

#include "modelbase_export.h"

#include <QByteArray>
#include <QString>

namespace im
{
class DeviceMessage;
}

/// Where an account's synchronised configuration is kept: JSON texts by name, shared by all of the
/// account's devices. The account has a default that keeps them in its own store; an application
/// that talks to a server sets one of its own.
///
/// Thread: the thread of the account.
class MODELBASE_EXPORT ConfigurationService
{
public:
    virtual ~ConfigurationService() = default;

    /// The JSON text under `name`; empty when there is none.
    virtual QByteArray value(const QString &name) const = 0;
    /// Keeps the text and passes it on to the other devices. What was saved is what value() gives
    /// from now on; nobody waits for the server.
    virtual void save(const QString &name, const QByteArray &json) = 0;
};

/// What handles the messages that the account's devices send each other (keys, read marks,
/// patches). The account holds it for the application, AccountBase::deviceMsgHandler(); nothing in
/// the library calls it.
class MODELBASE_EXPORT DeviceMessageHandler
{
public:
    virtual ~DeviceMessageHandler() = default;

    virtual void handle(const im::DeviceMessage &message) = 0;
};
