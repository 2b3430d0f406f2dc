// Protocol bytes -> item -> stored map -> item: the body that goes out is the one that came in.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/fuzzing.h"

using fuzzing::check;

namespace
{

std::string recordOf(const QSharedPointer<ContentItem> &item)
{
    im::content::Content content;
    item->serialize(&content);
    return content.SerializeAsString();
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const std::string bytes(input.data(), size_t(input.size()));
    const auto item = makeContentItem(bytes, 2, 1, nullptr);
    if (!item)
        return;
    im::content::Content content;
    content.ParseFromString(bytes);
    const std::string record = recordOf(item);
    check(record == content.SerializeAsString(), "the body comes out as it came in");

    const auto received = makeContentItem(record, 2, 1, nullptr);
    check(received && recordOf(received) == record, "what was sent is the same item");

    // The stored form knows no effects below zero; the protocol has none.
    if (item->effect() < 0)
        return;
    const QMap<QString, QVariant> map = serializeContent(item);
    const auto stored = makeContentItem(map, 1, nullptr);
    check(stored && recordOf(stored) == record, "what was stored is the same item");
    const auto read = makeContentItem(mapToJson(map).toStdString(), 1, 1, nullptr);
    check(read && recordOf(read) == record, "what was stored as JSON is the same item");
    check(read->textEntity() == item->textEntity(), "so are its entities in memory");
}
