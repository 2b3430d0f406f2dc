// Protocol bytes -> item -> stored map -> item: the body sent equals the one received.

#include "base/json.h"
#include "base/usertextblock.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "protocol/message_content.pb.h"
#include "support/contents.h"
#include "support/fuzzing.h"

using fuzzing::check;
using fuzzing::recordOf;

namespace
{

// Format versions of contents, and their source.
constexpr int storedForm = 1;
constexpr int protocolForm = 2;
constexpr int chatMessages = 1;

} // namespace

void fuzzOne(QByteArrayView input)
{
    const std::string bytes(input.data(), size_t(input.size()));
    AccountBase *account = fuzzing::accountOfInput();
    const auto item = makeContentItem(bytes, protocolForm, chatMessages, account);
    if (!item)
        return;
    im::content::Content content;
    content.ParseFromString(bytes);
    const std::string record = recordOf(item);
    check(record == content.SerializeAsString(), "the body comes out as it came in");

    const auto received = makeContentItem(record, protocolForm, chatMessages, account);
    check(received && recordOf(received) == record, "what was sent is the same item");
    received->setContent(content);
    check(recordOf(received) == record, "an update with the same body changes nothing");
    fuzzing::look(item);
    check(recordOf(item) == record, "looking changes nothing");

    // In a text, or in one inside it: negative effects do not exist, and are not stored.
    if (content.DebugString().find("effect: -") != std::string::npos)
        return;
    const QMap<QString, QVariant> map = serializeContent(item);
    const auto stored = makeContentItem(map, chatMessages, account);
    check(stored && recordOf(stored) == record, "what was stored is the same item");
    const auto read =
        makeContentItem(mapToJson(map).toStdString(), storedForm, chatMessages, account);
    check(read && recordOf(read) == record, "what was stored as JSON is the same item");
    check(read->textEntity() == item->textEntity(), "so are its entities in memory");
}
