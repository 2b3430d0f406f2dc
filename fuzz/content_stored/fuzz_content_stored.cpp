// Stored JSON -> item: every item can be written in both forms, and they agree.

#include "base/json.h"
#include "content/contentfactory.h"
#include "content/contentitem.h"
#include "support/contents.h"
#include "support/fuzzing.h"

#include <algorithm>

using fuzzing::check;
using fuzzing::recordOf;

namespace
{

using Make = QSharedPointer<ContentItem>(const std::string &, int, int, AccountBase *);

/// Negative effects exist neither in the stored form nor in the protocol.
bool hasEffectBelowZero(const ContentItem &item)
{
    const auto inner = item.innerItems();
    return item.effect() < 0 || std::any_of(inner.begin(), inner.end(), [](const auto &content) {
               return hasEffectBelowZero(*content);
           });
}

void roundTrip(Make *make, const std::string &json)
{
    AccountBase *account = fuzzing::accountOfInput();
    const auto item = make(json, 1, 1, account);
    if (!item)
        return;
    fuzzing::look(item);
    if (hasEffectBelowZero(*item))
        return;
    const std::string record = recordOf(item);
    const QByteArray stored = mapToJson(serializeContent(item));
    const auto again = make(stored.toStdString(), 1, 1, account);
    check(!again.isNull(), "what was stored can be read");
    check(recordOf(again) == record, "what was stored is the same item");
    check(mapToJson(serializeContent(again)) == stored, "it is stored the same way again");
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const std::string json(input.data(), size_t(input.size()));
    roundTrip(makeContentItem, json);
    roundTrip(restoreContent, json);
}
