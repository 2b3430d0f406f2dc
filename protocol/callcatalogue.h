#pragma once

#include "modelbase_export.h"
#include "protocol/common_code.pb.h"

#include <google/protobuf/message.h>

#include <span>
#include <string_view>

/// What the network layer needs to know of the services: which command code belongs to which call,
/// and the records of its request and response. The network layer itself frames code and bytes.
///
/// The tables are built once, on first use, and never change: every function may be called from any
/// thread, allocates nothing and builds no string.
namespace protocol
{

/// One call of one service.
struct Call {
    im::Command command;
    std::string_view service;                  ///< full name: "im.chat.DialogService"
    std::string_view name;                     ///< name within the service: "List"
    const google::protobuf::Message *request;  ///< prototype; `New()` gives an empty record
    const google::protobuf::Message *response; ///< prototype
};

/// All 319 calls, in ascending order of their codes.
MODELBASE_EXPORT std::span<const Call> calls();

/// The calls of a command code: one, or for LIST_RECENT_ACTIONS two (the second returns the newer
/// form of the answer); empty for codes without a call and for unknown numbers.
MODELBASE_EXPORT std::span<const Call> callsOf(int command);

/// The first call of a command code, or null.
MODELBASE_EXPORT const Call *callOf(int command);

/// The call of that name in that service, or null.
MODELBASE_EXPORT const Call *callOf(std::string_view service, std::string_view name);

/// The calls that take, or return, records of this kind: none, one, or several. Any record of the
/// kind will do, even an empty one.
MODELBASE_EXPORT std::span<const Call *const> callsTaking(const google::protobuf::Message &request);
MODELBASE_EXPORT std::span<const Call *const>
callsReturning(const google::protobuf::Message &response);

} // namespace protocol
