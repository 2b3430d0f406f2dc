#pragma once

#include <QSet>

#include <string>

namespace im::account
{
class CreateAccountReq;
class SendCodeReq;
} // namespace im::account

/// A stand-in for the server, so that the sample needs no network: it answers an account's calls
/// from a script, always the same way. Both sides see bytes only, as on a wire.
class ScriptedServer
{
public:
    struct Answer {
        int code = 0;      ///< an im.Error
        std::string bytes; ///< the response to the call, or the details of the error
    };

    /// @param userId the user of the calling session; 0 before the sign-in
    Answer answer(int userId, int command, const std::string &request);

private:
    Answer sendCode(const im::account::SendCodeReq &request) const;
    Answer createAccount(const im::account::CreateAccountReq &request);
    Answer listDevices(int userId) const;
    Answer listDialogs(int userId) const;
    Answer lotteryDetail(const std::string &id) const;

    QSet<int> m_unlinked; // devices
};
