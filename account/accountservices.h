#pragma once

#include "modelbase_export.h"

#include <QByteArray>
#include <QString>

namespace im
{
class DeviceMessage;
}

/// Where an account's synchronised configuration is kept: JSON texts by name, shared by all of the
/// account's devices. By default the account keeps them in its own store; an application that talks
/// to a server sets its own service.
///
/// Thread: the thread of the account.
class MODELBASE_EXPORT ConfigurationService
{
public:
    virtual ~ConfigurationService() = default;

    /// The JSON text under `name`; empty when there is none.
    virtual QByteArray value(const QString &name) const = 0;
    /// Keeps the text and passes it on to the other devices. value() returns the saved text from
    /// now on, without waiting for the server.
    virtual void save(const QString &name, const QByteArray &json) = 0;
};

/// Handles the messages that the account's devices send each other (keys, read marks, patches). The
/// account holds it for the application, AccountBase::deviceMsgHandler(); nothing in the library
/// calls it.
class MODELBASE_EXPORT DeviceMessageHandler
{
public:
    virtual ~DeviceMessageHandler() = default;

    virtual void handle(const im::DeviceMessage &message) = 0;
};
