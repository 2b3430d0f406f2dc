#pragma once

#include "content/items/fileitem.h"

class InnerFileData;

/// A folder that was sent as one message.
///
/// The protocol has no body for folders: a folder travels as the archive that it was packed into,
/// in the body of a file, and arrives as a file. What was in it is known where it was packed, and
/// stays in the stored map there.
///
/// The stored map has "folders" after the keys of FileItem.
class MODELBASE_EXPORT FolderItem : public FileItem
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QVariantList folders READ folders WRITE setFolders NOTIFY foldersChanged)
    Q_PROPERTY(int fileCount READ fileCount NOTIFY foldersChanged)

public:
    FolderItem(const QMap<QString, QVariant> &map, int source, AccountBase *account);
    /// From the body of a file.
    FolderItem(const im::content::Content &content, int source, AccountBase *account);
    FolderItem(int source, AccountBase *account);
    explicit FolderItem(const FolderItem *other);

    /// What is in the folder: maps {"name": QString, "files": list of the stored maps of files,
    /// "folders": list of maps like this one}; the first level has the folders that were sent. Kept
    /// as it is, with whatever else it has.
    const QVariantList &folders() const { return m_folders; }
    void setFolders(const QVariantList &folders);
    /// The files in all folders, to a depth of 64. Made anew by each call.
    QList<QSharedPointer<InnerFileData>> innerFiles() const;
    int fileCount() const;

    using FileItem::serialize;
    void serialize(QMap<QString, QVariant> &map) const override;
    void deserialize(const QMap<QString, QVariant> &map) override;

Q_SIGNALS:
    void foldersChanged();

private:
    template <typename>
    friend struct Fields;

    QVariantList m_folders;
};
