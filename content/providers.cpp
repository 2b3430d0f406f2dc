#include "content/providers_p.h"

#include "account/accountbase.h"
#include "account/defaultproviders_p.h"
#include "content/fileregistry.h"
#include "content/sharedstickers.h"

namespace
{

class OwnProviders : public DefaultProviders
{
public:
    FileProvider *files() override { return &m_files; }
    StickerProvider *stickers() override { return &m_stickers; }
    void clear() override
    {
        m_files.clear();
        m_stickers.clear();
    }

private:
    FileRegistry m_files;
    SharedStickers m_stickers;
};

std::unique_ptr<DefaultProviders> makeProviders()
{
    return std::make_unique<OwnProviders>();
}

} // namespace

FileProvider *fileProviderOf(AccountBase *account)
{
    if (!account)
        return nullptr;
    account->setDefaultProviders(&makeProviders);
    return account->fileProvider();
}

StickerProvider *stickerProviderOf(AccountBase *account)
{
    if (!account)
        return nullptr;
    account->setDefaultProviders(&makeProviders);
    return account->stickerProvider();
}
