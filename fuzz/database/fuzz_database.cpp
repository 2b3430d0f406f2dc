// An account's database file with any damage: it opens, keeps the readable rows, and works.

#include "storage/configstorage.h"
#include "storage/settingstorage.h"
#include "storage/userstorageprovider.h"
#include "support/fuzzing.h"

#include <QFile>

using fuzzing::check;
using storage::UserStorageProvider;

namespace
{

QStringList rowsOf(const UserStorageProvider &provider)
{
    QStringList rows;
    for (const auto &info : provider.settingStorage()->allInfos())
        rows.append(info.key);
    for (const auto &info : provider.bufferConfigStorage()->allInfos())
        rows.append(info.key);
    return rows;
}

} // namespace

void fuzzOne(QByteArrayView input)
{
    const QDir folder = fuzzing::folderWith(QStringLiteral("account.db"), input);
    UserStorageProvider provider;
    if (!provider.open(folder.path())) {
        check(provider.openFailure() == UserStorageProvider::OpenFailure::Newer,
              "only a newer program's file is refused");
        QFile file(folder.filePath(QStringLiteral("account.db")));
        check(file.open(QIODevice::ReadOnly) && file.readAll() == input, "it stays as it is");
        return;
    }
    if (provider.recovered()) {
        check(!folder.entryList({QStringLiteral("*.damaged-*")}).isEmpty(),
              "a damaged file is kept");
    }
    check(provider.settingStorage()->save({QStringLiteral("new"), 1, {}}), "a row can be saved");
    const QStringList rows = rowsOf(provider);
    check(rows.contains(QStringLiteral("new")), "it is there");
    provider.close();
    check(provider.open(folder.path()) && !provider.recovered() && rowsOf(provider) == rows,
          "what was opened opens again, as it was");
}
