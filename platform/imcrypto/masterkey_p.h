#pragma once

#include "imcrypto/masterkey.h"

#include <filesystem>
#include <functional>
#include <system_error>

namespace crypto
{

/// Gives a file a second name, unless the name is taken.
using Link = std::function<std::error_code(const std::filesystem::path &file,
                                           const std::filesystem::path &name)>;

/// As MasterKey::inFile(), on a file system with the given `link`.
MODELBASE_IMCRYPTO_EXPORT std::shared_ptr<MasterKey> keyFile(const QString &filePath, Link link);

} // namespace crypto
