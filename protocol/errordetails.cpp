#include "protocol/errordetails.h"

#include "imlog/imlog.h"
#include "protocol/common_error.pb.h"

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

std::unique_ptr<google::protobuf::Message> errorDetail(int code, std::string_view bytes)
{
    if (code == im::SUCCESS)
        return nullptr;
    const google::protobuf::Message *prototype = errorDetailPrototype(code);
    const bool ownRecord = prototype != nullptr;
    if (!ownRecord) {
        if (bytes.empty())
            return nullptr;
        prototype = &im::SystemErrorData::default_instance();
    }

    std::unique_ptr<google::protobuf::Message> record(prototype->New());
    if (bytes.size() > INT_MAX || !record->ParseFromArray(bytes.data(), int(bytes.size()))) {
        ImLog::error(QStringLiteral("Error %1: its %2 detail bytes are no %3")
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
