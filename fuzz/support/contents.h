#pragma once

#include <QSharedPointer>

#include <string>

class AccountBase;
class ContentItem;

namespace fuzzing
{

/// The account of the items: they share its stickers within one input, but not with earlier ones.
AccountBase *accountOfInput();

/// The bytes that an item sends.
std::string recordOf(const QSharedPointer<ContentItem> &item);

/// Reads everything that an item shows: its properties, its size, the ranges of its text.
void look(const QSharedPointer<ContentItem> &item);

} // namespace fuzzing
