#include "content/innerfiledata.h"

#include "base/util.h"

#include <QStringList>

InnerFileData::InnerFileData(const QVariantMap &map, const BaseFile *base)
    : FileData(map, ParseType::Source, base),
      m_innerPath(map.value(QStringLiteral("innerPath")).toString())
{
}

InnerFileData::InnerFileData(const im::content::FileInfo &info, const QString &innerPath)
    : FileData(info), m_innerPath(innerPath)
{
}

InnerFileData::InnerFileData(const InnerFileData *other)
    : FileData(other), m_innerPath(other ? other->m_innerPath : QString())
{
}

QString InnerFileData::innerPath() const
{
    return Util::shownFileName(m_innerPath);
}

QString InnerFileData::innerDiskPath() const
{
    QStringList names = m_innerPath.split(u'/', Qt::SkipEmptyParts);
    for (QString &name : names)
        name = Util::safeFileName(name);
    names.append(diskName());
    return names.join(u'/');
}

void InnerFileData::serialize(QVariantMap &map, bool thumbnail) const
{
    FileData::serialize(map, thumbnail);
    if (!m_innerPath.isEmpty() && !thumbnail)
        map.insert(QStringLiteral("innerPath"), m_innerPath);
}
