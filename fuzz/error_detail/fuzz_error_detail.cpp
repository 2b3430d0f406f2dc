// What a failed call brings: any code with any bytes.

#include "protocol/common_error.pb.h"
#include "protocol/errordetails.h"
#include "support/fuzzing.h"

#include <fuzzer/FuzzedDataProvider.h>

using fuzzing::check;

namespace
{

int anyCode(FuzzedDataProvider &data)
{
    const auto *codes = im::Error_descriptor();
    if (data.ConsumeIntegralInRange<int>(0, 7) == 0)
        return data.ConsumeIntegral<int>();
    return codes->value(data.ConsumeIntegralInRange<int>(0, codes->value_count() - 1))->number();
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    FuzzedDataProvider data(reinterpret_cast<const uint8_t *>(input.data()), size_t(input.size()));
    const int code = anyCode(data);
    const std::string bytes = data.ConsumeRemainingBytesAsString();
    const auto record = protocol::errorDetail(code, bytes);
    if (!record)
        return;
    check(code != im::SUCCESS, "success carries nothing");
    const std::string written = record->SerializeAsString();
    const auto again = protocol::errorDetail(code, written);
    check(again && again->SerializeAsString() == written, "a record comes back");
}
