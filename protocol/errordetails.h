#pragma once

#include "modelbase_export.h"

#include <google/protobuf/message.h>

#include <memory>
#include <span>
#include <string_view>

/// The record beside the error code of a failed call. Error codes stay numbers (im::Error lists the
/// known ones; a server may send others). Every function may be called from any thread.
namespace protocol
{

/// The prototype of the record for an error code, or null when the code has none of its own. Any
/// failure may carry an im::SystemErrorData instead.
MODELBASE_EXPORT const google::protobuf::Message *errorDetailPrototype(int code);

/// The record in the detail bytes of a failed call, or null when there is none.
///
/// For a code with its own record the bytes are that record (no bytes are one whose fields all
/// have their defaults), unless they are an im::SystemErrorData: only a description, of printable
/// characters, which is not a dialog's id. For every other code, also unknown ones, they are an
/// im::SystemErrorData if they hold a description. Success has no record. Bytes that cannot be
/// parsed give null and one log line.
MODELBASE_EXPORT std::unique_ptr<google::protobuf::Message> errorDetail(int code,
                                                                        std::string_view bytes);

} // namespace protocol
