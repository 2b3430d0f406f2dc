#include "support/contents.h"

#include "content/contentitem.h"
#include "content/sharedstickers.h"
#include "protocol/message_content.pb.h"
#include "support/fakeaccount.h"
#include "support/fuzzing.h"

#include <QMetaProperty>

#include <memory>

AccountBase *fuzzing::accountOfInput()
{
    static FakeAccount account;
    static std::unique_ptr<SharedStickers> stickers;
    stickers = std::make_unique<SharedStickers>();
    account.setStickerProvider(stickers.get());
    return &account;
}

std::string fuzzing::recordOf(const QSharedPointer<ContentItem> &item)
{
    im::content::Content content;
    item->serialize(&content);
    return content.SerializeAsString();
}

void fuzzing::look(const QSharedPointer<ContentItem> &item)
{
    const QMetaObject *type = item->metaObject();
    for (int i = 0; i < type->propertyCount(); ++i)
        type->property(i).read(item.data());
    item->mentionUsers();
    item->previewUrls(QStringLiteral("a.example"));
    // Measuring is slow, and a longer text finds no more faults than a short one.
    if (item->content().size() > 300)
        return;
    item->calcSize(400, 0, 0, ContentItem::CONTENT_CHANGED, false);
    check(item->contentWidth() >= 0 && item->contentHeight() >= 0, "no size is negative");
}
