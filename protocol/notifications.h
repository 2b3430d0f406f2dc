#pragma once

#include "modelbase_export.h"

#include <google/protobuf/message.h>

/// Pushed notifications. Thread: any.
namespace protocol
{

/// The prototype of the record that a notification of this type (an im::notif::NotifType) carries,
/// or null when the type carries none or is unknown.
MODELBASE_EXPORT const google::protobuf::Message *notificationPrototype(int type);

} // namespace protocol
