#pragma once

#include "modelbase_export.h"

#include <google/protobuf/message.h>

/// Pushed notifications. Thread: any.
namespace protocol
{

/// The prototype of the record for a notification of this type (an im::notif::NotifType), or null
/// when the type has none or is unknown.
MODELBASE_EXPORT const google::protobuf::Message *notificationPrototype(int type);

} // namespace protocol
