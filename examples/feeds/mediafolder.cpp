#include "feeds/mediafolder.h"

#include "feeds/recordererror.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace
{

const QString idPrefix = QStringLiteral("feed-");

QByteArray contents(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw RecorderError(QStringLiteral("%1: %2").arg(path, file.errorString()));
    return file.readAll();
}

std::string hash(QCryptographicHash::Algorithm algorithm, const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, algorithm).toStdString();
}

} // namespace

MediaFolder::MediaFolder(const QString &path) : m_path(path.isEmpty() ? QString() : path + u'/') { }

im::content::FileInfo MediaFolder::record(const QString &name) const
{
    const QByteArray bytes = contents(m_path + name);
    im::content::FileInfo info;
    info.set_id((idPrefix + name).toStdString());
    info.set_key(hash(QCryptographicHash::Sha256, "key of " + name.toUtf8()));
    info.set_checksum(hash(QCryptographicHash::Md5, bytes));
    info.set_name(name.toStdString());
    info.set_size(bytes.size());
    return info;
}

std::string MediaFolder::thumbnail(const QString &name) const
{
    const QString path = m_path + QStringLiteral("thumbs/") + name + QStringLiteral(".jpg");
    return QFileInfo::exists(path) ? contents(path).toStdString() : std::string();
}

QString MediaFolder::pathOf(const QString &fileId) const
{
    const QString name = fileId.mid(idPrefix.size());
    const bool isOurs = fileId.startsWith(idPrefix) && QFileInfo(name).fileName() == name;
    return isOurs && !m_path.isEmpty() ? m_path + name : QString();
}
