#include "client/scriptedserver.h"

#include "protocol/account_service.pb.h"
#include "protocol/callcatalogue.h"
#include "protocol/chat_service.pb.h"
#include "protocol/common_error.pb.h"
#include "protocol/connection.pb.h"
#include "protocol/user_service.pb.h"

#include <google/protobuf/text_format.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

namespace
{

struct Person {
    std::string_view phone;
    int userId;
    int deviceId; // this installation's
    std::string_view name;
    std::array<int, 2> unread; // messages, in the group and in a chat
};

constexpr std::array people{
    Person{"5550101", 1001, 10011, "Mira", {3, 2}},
    Person{"5550102", 1002, 10021, "Jonas", {4, 0}},
};
constexpr std::string_view rightCode = "246810";
constexpr qint64 now = 1'715'925'600'000; // ms since 1970, UTC
constexpr qint64 day = 86'400'000;

template <auto Member, typename Value>
const Person *find(const Value &value)
{
    const auto person = std::ranges::find(people, value, Member);
    return person != people.end() ? &*person : nullptr;
}

/// The results of the lotteries, in the text form of the protocol's records. Amounts are in
/// hundredths.
constexpr std::array lotteries{
    R"(id: "packet-1" total: 5 owner: 1001
       red_packet { amount: 8888 random: true drawn_count: 3 my_share { user_id: 1001 amount: 1234 }
                    results { user_id: 1003 amount: 4001 } results { user_id: 1001 amount: 1234 }
                    results { user_id: 1006 amount: 7 } })",
    R"(id: "prizes-1" total: 4 owner: 1006
       prize { quantity: [1, 1, 2] remaining_prize: 3 results { user_id: 1004 prize_index: 2 } })",
};

ScriptedServer::Answer success(const google::protobuf::Message &response = im::Empty())
{
    return {im::SUCCESS, response.SerializeAsString()};
}

ScriptedServer::Answer failure(int code)
{
    return {code, {}};
}

ScriptedServer::Answer failure(int code, const google::protobuf::Message &detail)
{
    return {code, detail.SerializeAsString()};
}

ScriptedServer::Answer failure(int code, std::string description)
{
    im::SystemErrorData detail;
    detail.set_desc(std::move(description));
    return failure(code, detail);
}

void fill(im::Device &device, int id, const char *model, const char *os, qint64 daysAgo)
{
    device.set_device_id(id);
    device.set_app_name("Sample client");
    device.set_device_model(model);
    device.set_os(os);
    device.set_timestamp(now - daysAgo * day);
    device.set_create_time(now - 400 * day);
    device.set_available(true);
}

} // namespace

ScriptedServer::Answer ScriptedServer::answer(int userId, int command, const std::string &bytes)
{
    const protocol::Call *call = protocol::callOf(command);
    if (!call)
        return failure(im::BAD_REQUEST, "no call has this code");
    const std::unique_ptr<google::protobuf::Message> record(call->request->New());
    if (!record->ParseFromString(bytes))
        return failure(im::BAD_REQUEST, "the request is no " + record->GetTypeName());

    switch (command) {
    case im::SEND_CODE:
        return sendCode(static_cast<const im::account::SendCodeReq &>(*record));
    case im::CREATE_ACCOUNT:
        return createAccount(static_cast<const im::account::CreateAccountReq &>(*record));
    case im::GET_TIME: {
        im::GetTimeResp response;
        response.set_timestamp(now);
        return success(response);
    }
    case im::AUTH: {
        const auto &auth = static_cast<const im::AuthReq &>(*record).sign_auth();
        const Person *person = find<&Person::userId>(auth.user_id());
        if (!person || person->deviceId != auth.device_id()
            || m_unlinked.contains(auth.device_id()))
            return failure(im::INVALID_AUTH__INVALID_DEVICE);
        return success(im::AuthResp());
    }
    default:
        break;
    }

    // All other calls need a sign-in.
    if (!find<&Person::userId>(userId))
        return failure(im::UNAUTHORIZED);
    switch (command) {
    case im::LIST_DEVICES:
        return listDevices(userId);
    case im::UNLINK_DEVICE:
        for (const int id : static_cast<const im::user::UnlinkDevicesReq &>(*record).device_ids())
            m_unlinked.insert(id);
        return success();
    case im::LIST_DIALOGS:
        return listDialogs(userId);
    case im::GET_LOTTERY_DETAIL:
        return lotteryDetail(
            static_cast<const im::chat::GetLotteryDetailReq &>(*record).lottery_id());
    case im::UPDATE_LAST_SEEN: {
        im::user::UpdateLastSeenResp response;
        response.set_timestamp(now);
        return success(response);
    }
    case im::DELETE_ACCOUNT:
        m_unlinked.insert(find<&Person::userId>(userId)->deviceId);
        return success();
    default:
        return failure(im::NOT_IMPLEMENTED,
                       std::string(call->service) + '.' + std::string(call->name)
                           + " is not in the script");
    }
}

ScriptedServer::Answer ScriptedServer::sendCode(const im::account::SendCodeReq &request) const
{
    if (find<&Person::phone>(request.phone()))
        return success();
    im::PhoneNoLockedErrorData detail;
    detail.set_cooldown(now + day);
    return failure(im::PHONE_NO_LOCKED, detail);
}

ScriptedServer::Answer ScriptedServer::createAccount(const im::account::CreateAccountReq &request)
{
    const Person *person = find<&Person::phone>(request.phone());
    if (!person || request.code() != rightCode)
        return failure(im::INVALID_CODE__WRONG_CODE);
    m_unlinked.remove(person->deviceId);
    im::account::CreateAccountResp response;
    response.mutable_user()->set_user_id(person->userId);
    response.mutable_user()->set_name(std::string(person->name));
    response.set_device_id(person->deviceId);
    return success(response);
}

ScriptedServer::Answer ScriptedServer::listDevices(int userId) const
{
    const int own = find<&Person::userId>(userId)->deviceId;
    im::user::ListDevicesResp response;
    response.set_device_number_limit(5);
    fill(*response.add_devices(), own, "Desktop", "Linux", 0);
    fill(*response.add_devices(), own + 1, "Telephone", "Android 14", 1);
    fill(*response.add_devices(), own + 2, "Old tablet", "Android 9", 200);
    im::Device &paper = *response.add_sealed_devices();
    fill(paper, own + 3, "Recovery sheet", "paper", 30);
    paper.set_sealed(true);
    auto &devices = *response.mutable_devices();
    devices.erase(std::remove_if(devices.begin(), devices.end(),
                                 [this](const im::Device &device) {
                                     return m_unlinked.contains(device.device_id());
                                 }),
                  devices.end());
    return success(response);
}

ScriptedServer::Answer ScriptedServer::lotteryDetail(const std::string &id) const
{
    for (const char *lottery : lotteries) {
        im::chat::GetLotteryDetailResp response;
        google::protobuf::TextFormat::ParseFromString(lottery, response.mutable_lottery());
        if (response.lottery().id() == id)
            return success(response);
    }
    return failure(im::BAD_REQUEST, "there is no such lottery");
}

ScriptedServer::Answer ScriptedServer::listDialogs(int userId) const
{
    const Person *person = find<&Person::userId>(userId);
    im::chat::ListDialogsResp response;
    for (const int unread : person->unread) {
        const bool isGroup = response.dialogs_size() == 0;
        im::Dialog &dialog = *response.add_dialogs();
        dialog.set_dialog_id(isGroup ? std::string("G-7001")
                                     : "C-" + std::to_string(userId) + "-1021");
        dialog.set_unread_count(unread);
    }
    return success(response);
}
