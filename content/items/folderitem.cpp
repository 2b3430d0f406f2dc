#include "content/items/folderitem.h"

#include "content/innerfiledata.h"
#include "content/items/fileitem_p.h"

#include <functional>

namespace
{

/// Deeper ones exist on no disk: with names of one letter, a path would still be too long.
constexpr int deepest = 64;

using Visitor = std::function<void(const QVariantMap &file, const QString &path)>;

void visitFiles(const QVariantList &folders, const QString &parent, int depth, const Visitor &visit)
{
    if (depth >= deepest)
        return;
    for (const QVariant &element : folders) {
        const QVariantMap folder = element.toMap();
        const QString name = folder.value(QStringLiteral("name")).toString();
        const QString path = parent.isEmpty() ? name : parent + u'/' + name;
        for (const QVariant &file : folder.value(QStringLiteral("files")).toList())
            visit(file.toMap(), path);
        visitFiles(folder.value(QStringLiteral("folders")).toList(), path, depth + 1, visit);
    }
}

} // namespace

template <>
struct Fields<FolderItem> {
    using Base = FileItem;

    static constexpr std::tuple table{
        storedField<&FolderItem::m_folders, KEY("folders"), &FolderItem::foldersChanged>,
    };
};

CONSTRUCT_BY_FIELDS(FolderItem, FileItem, Folder)
STORE_BY_FIELDS(FolderItem, FileItem)

SET_BY_FIELD(FolderItem, setFolders, const QVariantList &, m_folders)

QList<QSharedPointer<InnerFileData>> FolderItem::innerFiles() const
{
    QList<QSharedPointer<InnerFileData>> files;
    visitFiles(m_folders, {}, 0, [&files](const QVariantMap &file, const QString &path) {
        QVariantMap map = file;
        map.insert(QStringLiteral("innerPath"), path);
        files.append(QSharedPointer<InnerFileData>::create(map));
    });
    return files;
}

int FolderItem::fileCount() const
{
    int count = 0;
    visitFiles(m_folders, {}, 0, [&count](const QVariantMap &, const QString &) { ++count; });
    return count;
}
