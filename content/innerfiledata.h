#pragma once

#include "content/filedata.h"

/// A file inside of a folder or a group of files that was sent as one message.
class MODELBASE_EXPORT InnerFileData : public FileData
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QString innerPath READ innerPath CONSTANT)

public:
    /// From a stored map, as any file, and "innerPath".
    explicit InnerFileData(const QVariantMap &map, const BaseFile *base = nullptr);
    InnerFileData(const im::content::FileInfo &info, const QString &innerPath);
    explicit InnerFileData(const InnerFileData *other);

    /// Where in the folder it belongs, as people may see it: names with "/" between them, without
    /// the file's own. Empty at the top.
    QString innerPath() const;
    /// innerPath() and the file's name as they may be given to a file system: a relative path, each
    /// of whose names is safe and which never leads out of the folder.
    QString innerDiskPath() const;

    using FileData::serialize;
    void serialize(QVariantMap &map, bool thumbnail) const override;

private:
    const QString m_innerPath;
};
