#pragma once

#include "modelbase_export.h"
#include "protocol/common_code.pb.h"

#include <google/protobuf/message.h>

#include <span>
#include <string_view>

/// What the network layer needs to know of the services: which command code stands for which call,
/// and which records go out and come back. How code and bytes are framed is its own affair.
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

/// The calls that a command code stands for: one, or for LIST_RECENT_ACTIONS two (the second
/// returns the newer form of the answer); none for codes that no call uses and for unknown numbers.
MODELBASE_EXPORT std::span<const Call> callsOf(int command);

/// The first call that a command code stands for, or null.
MODELBASE_EXPORT const Call *callOf(int command);

/// The call of that name in that service, or null.
MODELBASE_EXPORT const Call *callOf(std::string_view service, std::string_view name);

/// The calls that take, or return, records of this kind: none, one, or several. Any record of the
/// kind will do, an empty one too.
MODELBASE_EXPORT std::span<const Call *const> callsTaking(const google::protobuf::Message &request);
MODELBASE_EXPORT std::span<const Call *const>
callsReturning(const google::protobuf::Message &response);

} // namespace protocol
