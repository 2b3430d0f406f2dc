#pragma once

#include <QSharedPointer>

#include <string>

class AccountBase;
class ContentItem;

namespace fuzzing
{

/// The account that items are made for: its stickers are shared among the items of one input, and
/// with no earlier one's.
AccountBase *accountOfInput();

/// What an item sends.
std::string recordOf(const QSharedPointer<ContentItem> &item);

/// Looks at all that an item shows: its properties, its size, what its text refers to.
void look(const QSharedPointer<ContentItem> &item);

} // namespace fuzzing
