#pragma once

#include <QSet>

#include <string>

namespace im::account
{
class CreateAccountReq;
class SendCodeReq;
} // namespace im::account

/// A stand-in for the server, so that the sample needs no network: it answers the calls that an
/// account makes, from a script, the same way each time. Both sides see bytes only, as on a wire.
class ScriptedServer
{
public:
    struct Answer {
        int code = 0;      ///< an im.Error
        std::string bytes; ///< the response that belongs to the call, or what goes with the error
    };

    /// @param userId whose session the call comes from; 0 before the sign-in
    Answer answer(int userId, int command, const std::string &request);

private:
    Answer sendCode(const im::account::SendCodeReq &request) const;
    Answer createAccount(const im::account::CreateAccountReq &request);
    Answer listDevices(int userId) const;
    Answer listDialogs(int userId) const;
    Answer lotteryDetail(const std::string &id) const;

    QSet<int> m_unlinked; // devices
};
