#include "settings/movemap_p.h"

#include "base/json.h"
#include "base/undying.h"
#include "base/util.h"
#include "core/logs_p.h"
#include "core/mediafolders_p.h"
#include "imlog/imlog.h"
#include "settings/foldermove_p.h"

#include <QCryptographicHash>
#include <QDir>
#include <QSet>

#include <algorithm>

namespace
{

constexpr auto modelTypeKey = [] { return QStringLiteral("modelType"); };
constexpr auto fileTypeKey = [] { return QStringLiteral("fileType"); };

constexpr int ordinaryMedia = 1;   // the only model type without a folder of its own
constexpr int lastModelType = 256; // types are powers of 2
constexpr int lastFileType = 13;

bool isMediaFolder(const QVariantMap &entry)
{
    const QList<MoveMap::MediaFolder> &folders = MoveMap::mediaFolders();
    return std::any_of(folders.cbegin(), folders.cend(), [&](const MoveMap::MediaFolder &folder) {
        return entry.value(modelTypeKey()) == folder.modelType
            && entry.value(fileTypeKey()) == folder.fileType;
    });
}

} // namespace

const QList<MoveMap::MediaFolder> &MoveMap::mediaFolders()
{
    static const auto &table = undying([] {
        QList<MediaFolder> folders;
        for (int modelType = ordinaryMedia; modelType <= lastModelType; modelType *= 2) {
            if (modelType != ordinaryMedia && MediaFolders::ofSource(modelType).isEmpty())
                continue;
            for (int fileType = 0; fileType <= lastFileType; ++fileType) {
                if (!MediaFolders::ofFileType(fileType).isEmpty()) {
                    folders.append(
                        {modelType, fileType, MediaFolders::path({}, modelType, fileType)});
                }
            }
        }
        return folders;
    }());
    return table;
}

QString MoveMap::accountFolder(const QString &id)
{
    return id + Util::separator();
}

QVariant MoveMap::toJsonText(const QVariantList &entries)
{
    return QString::fromUtf8(listToJson(entries));
}

QVariantList MoveMap::fromJsonText(const QVariant &text)
{
    return jsonToList(text.toString().toUtf8());
}

QVariantList MoveMap::surveyAccount(const QString &source, const QString &id, qint64 *bytes)
{
    QVariantList entries;
    QSet<QString> counted;
    for (const MediaFolder &folder : mediaFolders()) {
        const qint64 size = FolderMove::size(source, accountFolder(id) + folder.path);
        if (!counted.contains(folder.path)) {
            counted.insert(folder.path);
            *bytes += size;
        }
        entries.append(QVariantMap{{modelTypeKey(), folder.modelType},
                                   {fileTypeKey(), folder.fileType},
                                   {movedKey(), size == 0}});
    }
    return entries;
}

QVariantMap MoveMap::readAccounts(const QByteArray &info)
{
    const QVariantMap stored = jsonToMap(info);
    QVariantMap accounts;
    for (auto account = stored.cbegin(); account != stored.cend(); ++account) {
        const qint64 id = account.key().toLongLong();
        QVariantList entries = fromJsonText(account.value());
        entries.removeIf([](const QVariant &entry) { return !isMediaFolder(entry.toMap()); });
        if (id > 0 && QString::number(id) == account.key() && !entries.isEmpty())
            accounts.insert(account.key(), toJsonText(entries));
    }
    if (accounts.size() < stored.size())
        ImLog::error(lcSettings(), QStringLiteral("The stored state of a data move is damaged"));
    return accounts;
}

QString MoveMap::folderOf(const QVariantMap &entry)
{
    return MediaFolders::path({}, entry.value(modelTypeKey()).toInt(),
                              entry.value(fileTypeKey()).toInt());
}

QString MoveMap::nameOfOurs(const char *purpose, const QString &directory)
{
    const QByteArray place = QDir::cleanPath(QDir::fromNativeSeparators(directory)).toUtf8();
    return QStringLiteral(".modelbase-%1-%2")
        .arg(QLatin1String(purpose),
             QString::fromLatin1(
                 QCryptographicHash::hash(place, QCryptographicHash::Sha256).toHex().left(16)));
}

QString MoveMap::scratchFile(const QString &target, const QString &id)
{
    return target + accountFolder(id) + nameOfOurs("copy", target);
}
