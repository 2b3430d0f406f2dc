#pragma once

#include "base/usertextblock.h"

inline bool isLink(const UserTextBlock &block)
{
    return block.type == TextEntityType::Url || block.type == TextEntityType::Hyperlink;
}
