// The details of a failed call: any code with any bytes.

#include "protocol/common_error.pb.h"
#include "protocol/errordetails.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

int anyCode(fuzzing::Pieces &data)
{
    const auto *codes = im::Error_descriptor();
    if (data.number(0, 7) == 0)
        return data.number();
    return codes->value(data.number(0, codes->value_count() - 1))->number();
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    fuzzing::Pieces data(input);
    const int code = anyCode(data);
    const QByteArrayView rest = data.rest();
    const std::string_view bytes(rest.data(), size_t(rest.size()));
    const auto record = protocol::errorDetail(code, bytes);
    if (!record)
        return;
    check(code != im::SUCCESS, "success carries nothing");
    const std::string written = record->SerializeAsString();
    const auto again = protocol::errorDetail(code, written);
    check(again && again->SerializeAsString() == written, "a record comes back");
}
