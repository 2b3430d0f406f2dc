#include "content/photodata.h"

#include "base/storedvalue.h"
#include "base/util.h"
#include "content/mediaplace_p.h"
#include "cryptobase/cryptoaes.h"
#include "protocol/common_data.pb.h"
#include "protocol/message_content.pb.h"

#include <QFileInfo>
#include <QJSEngine>
#include <QPointer>

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

constexpr int keySize = 32;

constexpr auto typeKey = [] { return QStringLiteral("photoType"); };
constexpr auto algorithmKey = [] { return QStringLiteral("encryptAlgorithm"); };

} // namespace

PhotoData::PhotoData(const QVariantMap &map, const BaseFile *base) : BaseFile(base)
{
    keepFromQml();
    StoredKeys keys = sourceKeys();
    for (const auto &[key, own] : {std::pair(&keys.id, QStringLiteral("photoId")),
                                   std::pair(&keys.path, QStringLiteral("photoPath"))}) {
        if (map.contains(own))
            *key = own;
    }
    setFileId({}); // which, as the key, are never those of the base
    setAesKey({});
    read(map, keys, false);
    const auto type = map.constFind(typeKey());
    m_type = type != map.constEnd() ? type->toString()
                                    : extensionOf(map.value(QStringLiteral("fileName")).toString());
    m_encryptAlgorithm = StoredValue::toInt32(map.value(algorithmKey()));
    if (map.contains(keys.path)) {
        const QString path = Util::toLocalFile(map.value(keys.path).toString());
        const QString place = findMediaFile(path);
        setFilePath(place.isEmpty() ? path : place);
        checkFilePath();
    }
    if (!fileExist() && (fileState() == Downloaded || fileState() == Uploaded)) {
        setFileState(Missing);
    }
}

PhotoData::PhotoData(const im::content::FileInfo &info)
    : BaseFile(Identity{Util::fromUtf8(info.id()), QByteArray::fromStdString(info.key()),
                        QByteArray::fromStdString(info.checksum()), info.size(), info.version()}),
      m_type(extensionOf(Util::fromUtf8(info.name())))
{
    keepFromQml();
}

PhotoData::PhotoData(const im::Photo &photo)
    : BaseFile(Identity{Util::fromUtf8(photo.file_id()), QByteArray::fromStdString(photo.key()),
                        QByteArray::fromStdString(photo.checksum()), photo.size()}),
      m_type(Util::fromUtf8(photo.type())), m_encryptAlgorithm(photo.encrypt_algorithm())
{
    keepFromQml();
    checkFilePath();
}

PhotoData::PhotoData(const QString &path)
{
    keepFromQml();
    const QString file = Util::toLocalFile(path);
    setAesKey(CryptoAES::createKey(keySize));
    setFilePath(file);
    setFileState(WaitingForUpload);
    m_type = extensionOf(QFileInfo(file).fileName());
    if (checkFilePath())
        setSize(QFileInfo(file).size());
}

PhotoData::~PhotoData() = default;

void PhotoData::keepFromQml()
{
    // The shared pointers own the record, whatever QML does with it.
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

QString PhotoData::fileName() const
{
    const QString extension = fileExtension();
    return fileId() + u'.' + (extension.isEmpty() ? QStringLiteral("png") : extension);
}

QString PhotoData::fileExtension() const
{
    return isValidExtension(m_type) ? m_type : QString();
}

quint8 PhotoData::percent() const
{
    const ReadLocker locker(m_mutex);
    return m_percent;
}

void PhotoData::setPercent(quint8 percent)
{
    assign(m_percent, std::min<quint8>(percent, 100), PercentChange);
}

QVariantMap PhotoData::serialize() const
{
    QVariantMap map;
    serialize(map);
    return map;
}

void PhotoData::serialize(QVariantMap &map) const
{
    const ReadLocker locker(m_mutex);
    BaseFile::serialize(map);
    map.insert(QStringLiteral("fileExist"), fileExist());
    map.insert(QStringLiteral("percent"), m_percent);
    map.insert(QStringLiteral("fileName"), fileName());
    if (extensionOf(fileName()) != m_type)
        map.insert(typeKey(), m_type);
    if (m_encryptAlgorithm != 0)
        map.insert(algorithmKey(), m_encryptAlgorithm);
}

void PhotoData::serialize(im::content::FileInfo *info) const
{
    const ReadLocker locker(m_mutex);
    info->set_id(fileId().toStdString());
    info->set_key(aesKey().toStdString());
    info->set_checksum(fileMd5().toStdString());
    info->set_name(fileName().toStdString());
    info->set_size(size());
    info->set_version(version());
}

void PhotoData::serialize(im::Photo *photo) const
{
    using Limits = std::numeric_limits<qint32>;
    const ReadLocker locker(m_mutex);
    photo->set_file_id(fileId().toStdString());
    photo->set_key(aesKey().toStdString());
    photo->set_checksum(fileMd5().toStdString());
    photo->set_type(m_type.toStdString());
    photo->set_size(qint32(std::clamp<qint64>(size(), Limits::min(), Limits::max())));
    photo->set_encrypt_algorithm(im::Photo::EncryptAlgorithm(m_encryptAlgorithm));
}

void PhotoData::emitChanges(quint16 changes)
{
    const QPointer alive(this);
    BaseFile::emitChanges(changes);
    if (alive && changes & IdChange)
        Q_EMIT fileNameChanged(fileName());
    if (alive && changes & PercentChange)
        Q_EMIT percentChanged(percent());
}
