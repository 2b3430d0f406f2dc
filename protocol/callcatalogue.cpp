#include "protocol/callcatalogue.h"

#include "protocol/account_service.pb.h"
#include "protocol/chat_service.pb.h"
#include "protocol/connection.pb.h"
#include "protocol/contact_service.pb.h"
#include "protocol/feature_service.pb.h"
#include "protocol/file_service.pb.h"
#include "protocol/group_service.pb.h"
#include "protocol/key_service.pb.h"
#include "protocol/meeting_service.pb.h"
#include "protocol/misc_service.pb.h"
#include "protocol/note_service.pb.h"
#include "protocol/user_service.pb.h"
#include "protocol/user_settings.pb.h"
#include "protocol/wallpaper_service.pb.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace im
{
namespace
{

std::vector<protocol::Call> declaredCalls()
{
    return {
#define CALL(service, name, command, request, response)                                            \
    {command, service, name, &request::default_instance(), &response::default_instance()},
#include "protocol/calls.inc"
#undef CALL
    };
}

} // namespace
} // namespace im

namespace protocol
{
namespace
{

/// The calls again, sorted by another key. `Key` maps a call to something comparable.
template <auto Key>
class Index
{
public:
    explicit Index(const std::vector<Call> &calls)
    {
        m_calls.reserve(calls.size());
        for (const Call &call : calls)
            m_calls.push_back(&call);
        std::ranges::stable_sort(m_calls, {}, Key);
    }

    template <typename Value>
    std::span<const Call *const> find(const Value &value) const
    {
        const auto range = std::ranges::equal_range(m_calls, value, {}, Key);
        return {range.begin(), range.end()};
    }

private:
    std::vector<const Call *> m_calls;
};

std::tuple<std::string_view, std::string_view> nameOf(const Call *call)
{
    return {call->service, call->name};
}

// A record's descriptor is one object for the whole process, so its address identifies the kind.
std::uintptr_t kindOf(const google::protobuf::Message &record)
{
    return reinterpret_cast<std::uintptr_t>(record.GetDescriptor());
}

std::uintptr_t requestKind(const Call *call)
{
    return kindOf(*call->request);
}

std::uintptr_t responseKind(const Call *call)
{
    return kindOf(*call->response);
}

struct Catalogue {
    std::vector<Call> calls = im::declaredCalls();
    std::vector<std::span<const Call>> byCommand;
    Index<nameOf> byName;
    Index<requestKind> byRequest;
    Index<responseKind> byResponse;

    Catalogue() : byName(sorted(calls)), byRequest(calls), byResponse(calls)
    {
        byCommand.resize(std::size_t(calls.back().command) + 1);
        for (auto first = calls.begin(); first != calls.end();) {
            const auto last = std::find_if(
                first, calls.end(), [&](const Call &c) { return c.command != first->command; });
            byCommand[std::size_t(first->command)] = {first, last};
            first = last;
        }
    }

    static const std::vector<Call> &sorted(std::vector<Call> &calls)
    {
        std::ranges::stable_sort(calls, {}, &Call::command);
        return calls;
    }
};

const Catalogue &catalogue()
{
    static const Catalogue instance;
    return instance;
}

} // namespace

std::span<const Call> calls()
{
    return catalogue().calls;
}

std::span<const Call> callsOf(int command)
{
    const auto &table = catalogue().byCommand;
    if (command < 0 || std::size_t(command) >= table.size())
        return {};
    return table[std::size_t(command)];
}

const Call *callOf(int command)
{
    const auto found = callsOf(command);
    return found.empty() ? nullptr : found.data();
}

const Call *callOf(std::string_view service, std::string_view name)
{
    const auto found = catalogue().byName.find(std::tuple(service, name));
    return found.empty() ? nullptr : found.front();
}

std::span<const Call *const> callsTaking(const google::protobuf::Message &request)
{
    return catalogue().byRequest.find(kindOf(request));
}

std::span<const Call *const> callsReturning(const google::protobuf::Message &response)
{
    return catalogue().byResponse.find(kindOf(response));
}

} // namespace protocol
