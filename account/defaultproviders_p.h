#pragma once

class FileProvider;
class StickerProvider;

/// What an account has in place of the providers that its application may set. An account knows no
/// contents: they make it for the account when they need it.
class DefaultProviders
{
public:
    virtual ~DefaultProviders() = default;

    virtual FileProvider *files() = 0;
    virtual StickerProvider *stickers() = 0;
    /// Forgets everything: another person has the account.
    virtual void clear() = 0;
};
