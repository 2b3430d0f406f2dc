#include "protocol/errordetails.h"

#include "imlog/imlog.h"
#include "protocol/common_error.pb.h"

#include <QByteArrayView>

#include <google/protobuf/io/coded_stream.h>

#include <algorithm>
#include <climits>

namespace protocol
{

const google::protobuf::Message *errorDetailPrototype(int code)
{
    switch (code) {
    case im::INVALID_AUTH__INVALID_TIMESTAMP:
        return &im::InvalidTimestampErrorData::default_instance();
    case im::KEY_EXPIRED:
    case im::INVALID_KEY_VER:
    case im::INVALID_KEY_ITER:
        return &im::InvalidKeyErrorData::default_instance();
    case im::MEMBERS_KEY_MISSING:
        return &im::MembersKeyMissingErrorData::default_instance();
    case im::INVALID_DEVICE_MESSAGE:
        return &im::InvalidDeviceMessageErrorData::default_instance();
    case im::DEVICE_MESSAGE_INCOMPLETE:
        return &im::DeviceMessageIncompleteErrorData::default_instance();
    case im::PHONE_NO_LOCKED:
        return &im::PhoneNoLockedErrorData::default_instance();
    case im::TEMPORARY_BANNED:
        return &im::TemporaryBannedErrorData::default_instance();
    case im::INVALID_USER_ID:
        return &im::InvalidUserIdErrorData::default_instance();
    case im::BATCH_LIMIT_EXCEEDED:
        return &im::BatchLimitExceededErrorData::default_instance();
    case im::DEVICE_LIMIT_EXCEEDED:
        return &im::DeviceLimitExceededErrorData::default_instance();
    case im::DIALOG_KEY_MISSING:
        return &im::DialogKeyMissingErrorData::default_instance();
    case im::GROUP_LIMIT_EXCEEDED:
        return &im::GroupLimitExceededErrorData::default_instance();
    case im::CAPTCHA_REQUIRED:
        return &im::CaptchaRequiredErrorData::default_instance();
    case im::RESET_COOLING_DOWN:
        return &im::ResetCoolingDownErrorData::default_instance();
    case im::NOT_READY:
        return &im::NotReadyErrorData::default_instance();
    case im::PASSWORD_LOCKED:
        return &im::PasswordLockedErrorData::default_instance();
    default:
        return nullptr;
    }
}

namespace
{

bool isLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// "G-7", "C-3-5": a letter, and numbers after dashes.
bool isDialogId(std::string_view text)
{
    return text.size() > 2 && isLetter(text[0]) && text[1] == '-'
        && text.find_first_not_of("0123456789-", 2) == std::string_view::npos;
}

/// Whether the bytes are an im::SystemErrorData rather than a record of the code's own: such a
/// record has numbers in it, or records with numbers, whose tags are control characters when read
/// as text. The bytes are not parsed, since that would log a message for invalid UTF-8.
bool isDescription(std::string_view bytes)
{
    constexpr google::protobuf::uint32 tag =
        im::SystemErrorData::kDescFieldNumber << 3 | 2; // of a field with a length
    google::protobuf::uint32 size = 0;
    google::protobuf::io::CodedInputStream input(
        reinterpret_cast<const google::protobuf::uint8 *>(bytes.data()),
        int(std::min<std::size_t>(bytes.size(), INT_MAX)));
    if (input.ReadTag() != tag || !input.ReadVarint32(&size)
        || size != bytes.size() - std::size_t(input.CurrentPosition()))
        return false;
    const std::string_view text = bytes.substr(bytes.size() - size);
    const auto isControl = [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; };
    const auto isText = [isControl](char c) {
        return !isControl(c) || c == '\n' || c == '\r' || c == '\t';
    };
    return !text.empty() && !isControl(text.front())
        && std::all_of(text.begin(), text.end(), isText)
        && QByteArrayView(text.data(), qsizetype(text.size())).isValidUtf8() && !isDialogId(text);
}

} // namespace

std::unique_ptr<google::protobuf::Message> errorDetail(int code, std::string_view bytes)
{
    if (code == im::SUCCESS)
        return nullptr;
    const google::protobuf::Message *prototype = errorDetailPrototype(code);
    const bool ownRecord = prototype != nullptr && !isDescription(bytes);
    if (!ownRecord) {
        if (bytes.empty())
            return nullptr;
        prototype = &im::SystemErrorData::default_instance();
    }

    std::unique_ptr<google::protobuf::Message> record(prototype->New());
    if (bytes.size() > INT_MAX || !record->ParseFromArray(bytes.data(), int(bytes.size()))) {
        ImLog::error(QStringLiteral("Cannot read the %2 detail bytes of error %1 as %3")
                         .arg(code)
                         .arg(bytes.size())
                         .arg(QString::fromStdString(prototype->GetTypeName())));
        return nullptr;
    }
    if (!ownRecord && static_cast<const im::SystemErrorData &>(*record).desc().empty())
        return nullptr;
    return record;
}

} // namespace protocol
