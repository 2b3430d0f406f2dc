#include "client/connection.h"

#include "client/scriptedserver.h"
#include "protocol/callcatalogue.h"
#include "protocol/errordetails.h"

#include <QDateTime>

#include <memory>

namespace
{

QString time(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

} // namespace

QString Reply::text() const
{
    const std::unique_ptr<google::protobuf::Message> record = protocol::errorDetail(code, detail);
    switch (code) {
    case im::INVALID_CODE__WRONG_CODE:
        return QStringLiteral("The code is wrong. Read it again, or ask for a new one.");
    case im::PHONE_NO_LOCKED:
        return QStringLiteral("Too many codes were sent to this number. Try again after %1.")
            .arg(time(record ? static_cast<im::PhoneNoLockedErrorData &>(*record).cooldown() : 0));
    case im::INVALID_AUTH__INVALID_DEVICE:
        return QStringLiteral("This device was unlinked from the account. Sign in again.");
    default:
        break;
    }
    const std::string &name = im::Error_Name(im::Error(code));
    QString text = QStringLiteral("The server answers %1")
                       .arg(name.empty() ? QString::number(code) : QString::fromStdString(name));
    if (const auto *system = dynamic_cast<const im::SystemErrorData *>(record.get()))
        text += QStringLiteral(": %1").arg(QString::fromStdString(system->desc()));
    else if (record)
        text += QStringLiteral(", with %1").arg(QString::fromStdString(record->ShortDebugString()));
    return text + u'.';
}

Reply Connection::call(std::string_view service, std::string_view name,
                       const google::protobuf::Message &request,
                       google::protobuf::Message &response) const
{
    const protocol::Call *call = protocol::callOf(service, name);
    Q_ASSERT(call && call->request->GetDescriptor() == request.GetDescriptor()
             && call->response->GetDescriptor() == response.GetDescriptor());
    const ScriptedServer::Answer answer =
        m_server->answer(m_userId, call->command, request.SerializeAsString());
    if (answer.code != im::SUCCESS)
        return {answer.code, answer.bytes};
    if (!response.ParseFromString(answer.bytes))
        return {im::INTERNAL_SERVER_ERROR, {}};
    return {};
}

Reply Connection::call(std::string_view service, std::string_view name,
                       const google::protobuf::Message &request) const
{
    im::Empty response;
    return call(service, name, request, response);
}
