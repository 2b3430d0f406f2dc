#include "content/items/folderitem.h"

#include "content/changes_p.h"
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

FolderItem::FolderItem(int source, AccountBase *account) : FileItem(source, account)
{
    setType(Folder);
}

FolderItem::FolderItem(const QMap<QString, QVariant> &map, int source, AccountBase *account)
    : FileItem(map, source, account)
{
    Changes<FolderItem> changes(this);
    read(map, changes);
}

FolderItem::FolderItem(const im::content::Content &content, int source, AccountBase *account)
    : FileItem(content, source, account)
{
    setType(Folder);
}

FolderItem::FolderItem(const FolderItem *other) : FileItem(other), m_folders(other->m_folders) { }

void FolderItem::setFolders(const QVariantList &folders)
{
    Changes<FolderItem>(this).set(m_folders, folders, &FolderItem::foldersChanged);
}

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

void FolderItem::serialize(QMap<QString, QVariant> &map) const
{
    FileItem::serialize(map);
    map.insert(QStringLiteral("folders"), m_folders);
}

void FolderItem::read(const QMap<QString, QVariant> &map, Changes<FolderItem> &changes)
{
    changes.set(m_folders, map.value(QStringLiteral("folders")).toList(),
                &FolderItem::foldersChanged);
}

void FolderItem::deserialize(const QMap<QString, QVariant> &map)
{
    Changes<FolderItem> changes(this);
    read(map, changes);
    FileItem::deserialize(map);
}
