#pragma once

class FileProvider;
class StickerProvider;

/// The defaults for the providers that an application may set. An account knows no contents: they
/// make this for the account when they need it.
class DefaultProviders
{
public:
    virtual ~DefaultProviders() = default;

    virtual FileProvider *files() = 0;
    virtual StickerProvider *stickers() = 0;
    /// Forgets everything, since another person has the account.
    virtual void clear() = 0;
};
