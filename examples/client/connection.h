#pragma once

#include "protocol/common_data.pb.h"
#include "protocol/common_error.pb.h"

#include <QString>

#include <string>
#include <string_view>

class ScriptedServer;

/// How a call ended: true when it succeeded.
struct Reply {
    int code = im::SUCCESS; ///< an im.Error
    std::string detail;     ///< the bytes that go with an error

    explicit operator bool() const { return code == im::SUCCESS; }
    /// What the user can do about the error.
    QString text() const;
};

/// Takes the place of an application's network layer. It converts a call into its command code and
/// the bytes of its records and back, by the call catalogue; this one passes them to a
/// ScriptedServer, which answers at once.
class Connection
{
public:
    explicit Connection(ScriptedServer *server) : m_server(server) { }

    /// The user of this session; 0 before the sign-in.
    void setUserId(int userId) { m_userId = userId; }

    /// @param response filled when the call succeeds
    Reply call(std::string_view service, std::string_view name,
               const google::protobuf::Message &request, google::protobuf::Message &response) const;
    /// A call that answers with im.Empty.
    Reply call(std::string_view service, std::string_view name,
               const google::protobuf::Message &request) const;

private:
    ScriptedServer *const m_server;
    int m_userId = 0;
};
