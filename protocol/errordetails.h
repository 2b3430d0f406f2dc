#pragma once

#include "modelbase_export.h"

#include <google/protobuf/message.h>

#include <memory>
#include <span>
#include <string_view>

/// What a failed call brings beside its error code. Error codes stay numbers (im::Error lists those
/// that this client knows; a server may send others). Every function may be called from any thread.
namespace protocol
{

/// The prototype of the record that goes with an error code, or null when the code has none of its
/// own. Any failure may carry an im::SystemErrorData instead.
MODELBASE_EXPORT const google::protobuf::Message *errorDetailPrototype(int code);

/// The record in the detail bytes of a failed call, or null when there is none.
///
/// For a code with a record of its own the bytes are that record (no bytes at all are one whose
/// fields all have their defaults), unless they are an im::SystemErrorData: a description alone, of
/// printable characters, that is no dialog's id. For every other code, unknown ones included, they
/// are an im::SystemErrorData when they hold a description. Success carries nothing. Bytes that do not
/// parse give null and one log line.
MODELBASE_EXPORT std::unique_ptr<google::protobuf::Message> errorDetail(int code,
                                                                        std::string_view bytes);

} // namespace protocol
