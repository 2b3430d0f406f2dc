#pragma once

#include <QString>
#include <QStringList>

class ClientAccount;

/// A dialog as it is after years of use: messages of every kind, made of those in feeds.
namespace longhistory
{

/// Keeps `count` messages as a dialog of an account, in one transaction, measured as they were when
/// they came. No two texts are equal. Throws a ClientError.
void generate(ClientAccount *account, const QString &dialogId, const QStringList &feeds,
              const QString &media, int count);

} // namespace longhistory
