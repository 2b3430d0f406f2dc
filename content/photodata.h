#pragma once

#include "base/basefile.h"
#include "modelbase_export.h"
#include "modelbase_qml.h"

namespace im
{
class Photo;
namespace content
{
class FileInfo;
}
} // namespace im

/// The record of a profile or group photo.
///
/// Ownership: held by QSharedPointer; never deleted by QML. Thread: any, see BaseFile.
class MODELBASE_EXPORT PhotoData : public BaseFile
{
    Q_OBJECT
    MODELBASE_QML_TYPE
    Q_PROPERTY(QString fileName READ fileName NOTIFY fileNameChanged)
    Q_PROPERTY(quint8 percent READ percent WRITE setPercent NOTIFY percentChanged)

public:
    /// From a stored map, on top of `base` (which may be null): "aesKey" and "photoId", empty where
    /// it has none; "fileMd5" and "photoPath", a path or "file:" URL, where it has them. What
    /// serialize() has written is read, too: its "fileId" and "filePath" count where the photo's
    /// own keys are missing.
    PhotoData(const QVariantMap &map, const BaseFile *base = nullptr);
    /// Of the name only the extension is kept.
    explicit PhotoData(const im::content::FileInfo &info);
    explicit PhotoData(const im::Photo &photo);
    /// A photo that is about to be uploaded from `path`, with a fresh key.
    explicit PhotoData(const QString &path);
    ~PhotoData() override;

    /// The id, a dot, and the extension or "png".
    QString fileName() const override;
    /// Of the type that the record names, or of the path.
    QString fileExtension() const override;
    /// Of an upload or download, 0 to 100.
    quint8 percent() const;
    void setPercent(quint8 percent);

    using BaseFile::serialize;
    /// The base record's map with "fileExist", "percent" and "fileName"; also with "photoType"
    /// where the name does not tell the type, and with "encryptAlgorithm" where there is one.
    Q_INVOKABLE QVariantMap serialize() const;
    void serialize(QVariantMap &map) const override;
    void serialize(im::content::FileInfo *info) const;
    /// A size that the record has no room for is cut to the largest that it has.
    void serialize(im::Photo *photo) const;

Q_SIGNALS:
    void fileNameChanged(const QString &fileName);
    void percentChanged(quint8 percent);

protected:
    void emitChanges(quint16 changes) override;

private:
    enum OwnChange : quint16 { PercentChange = FirstOwnChange };

    void keepFromQml();

    QString m_type; // set by constructors only; as the protocol has it
    qint32 m_encryptAlgorithm = 0;
    quint8 m_percent = 0;
};
