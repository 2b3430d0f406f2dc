#pragma once

#include <QString>
#include <QStringList>

class ClientAccount;

/// A dialog as after years of use: messages of every kind, made from those in feeds.
namespace longhistory
{

/// Keeps `count` messages as a dialog of an account, in one transaction, measured as if received.
/// No two texts are equal. Throws a ClientError.
void generate(ClientAccount *account, const QString &dialogId, const QStringList &feeds,
              const QString &media, int count);

} // namespace longhistory
