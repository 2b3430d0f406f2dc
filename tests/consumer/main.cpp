// What an application does first: settings that survive, a received record that becomes an item.

#include <modelbase/account/threadmanager.h>
#include <modelbase/content/contentfactory.h>
#include <modelbase/content/contentitem.h>
#include <modelbase/content/items/callitem.h>
#include <modelbase/i18n/translations.h>
#include <modelbase/protocol/callcatalogue.h>
#include <modelbase/protocol/message_content.pb.h>
#include <modelbase/settings/appsettingmodel.h>

#include <QGuiApplication>

#include <cstdio>

namespace
{

/// Starts the settings, changes one when `write`, and gives its value.
int themeFontSize(bool write)
{
    ThreadManager::getInstance()->init();
    AppSettingModel *settings = AppSettingModel::instance();
    settings->loadGlobalData();
    if (write)
        settings->setThemeFontSize(17);
    const int size = settings->themeFontSize();
    AppSettingModel::releaseInstance();
    ThreadManager::getInstance()->quitAll();
    return size;
}

bool fail(const char *what)
{
    std::fprintf(stderr, "consumer: %s\n", what);
    return false;
}

bool run()
{
    if (themeFontSize(true) != 17 || themeFontSize(false) != 17)
        return fail("a setting did not survive");

    im::content::Content content;
    content.mutable_text()->set_text("hello");
    const auto item = makeContentItem(content.SerializeAsString(), 2, 1, nullptr);
    if (!item || item->content() != QString::fromLatin1("hello"))
        return fail("no item was made");
    item->calcSize(300, 0, 0, ContentItem::CONTENT_CHANGED, false);
    if (item->contentWidth() <= 0)
        return fail("the item has no size");
    AppSettingModel::instance()->setLanguage(QString::fromLatin1("zh_CN"), false);
    if (CallItem(1, nullptr).text() != QString::fromUtf8("通话"))
        return fail("a text is not translated");
    if (!protocol::callOf(im::LIST_DIALOGS))
        return fail("the catalogue is empty");
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    return run() ? 0 : 1;
}
