#pragma once

class AccountBase;
class FileProvider;
class StickerProvider;

// The providers that the application has set for an account, or else defaults, which are made here.
// Null without an account.

FileProvider *fileProviderOf(AccountBase *account);
StickerProvider *stickerProviderOf(AccountBase *account);
